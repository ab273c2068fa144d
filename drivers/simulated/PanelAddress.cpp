#include "simulated/PanelAddress.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelMemory.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace orvo {

namespace {

constexpr std::int32_t BitFactor = 0x10000;
constexpr std::int32_t KindFactor = 0x100000;
constexpr std::int32_t RawStart = 0x8000;
constexpr std::int32_t RawBlockSize = 256;
constexpr std::int32_t RawBlocks = 100;

struct KindRow {
  std::string_view code;
  PanelItemKind kind;
  std::int32_t wordLength;  // 0: from the identifier
  std::int32_t itemType;
  bool evenAddress;
  std::string_view example;
};

// Row k describes the kind k.
constexpr std::array<KindRow, 7> Kinds{{
    {"BI", PanelItemKind::Bit, 1, 0, true, "BI100.3"},
    {"BY", PanelItemKind::Byte, 1, 0, false, "BY101"},
    {"WO", PanelItemKind::Word, 1, 0, true, "WO100"},
    {"DW", PanelItemKind::DoubleWord, 2, 0, true, "DW100"},
    {"FL", PanelItemKind::Single, 2, 2, true, "FL100"},
    {"ST", PanelItemKind::String, 0, 1, false, "ST0020010"},
    {"RA", PanelItemKind::Raw, 0, 3, false, "RA0316"},
}};

[[noreturn]] void Refuse(std::string_view itemId, std::string_view wrong, std::string_view example) {
  throw AutomationError(PanelBadValue, "Item identifier '" + std::string(itemId) + "': " + std::string(wrong) +
                                           "; write it like " + std::string(example));
}

bool IsDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Reads the fields of one identifier from left to right.
class FieldReader {
 public:
  FieldReader(std::string_view itemId, const KindRow& row)
      : itemId_(itemId), rest_(itemId.substr(2)), row_(row) {}

  [[noreturn]] void Refuse(const std::string& wrong) const { orvo::Refuse(itemId_, wrong, row_.example); }

  // Up to the first character that `end` is, or all that is left; 1 to `most` digits, at most `maximum`.
  std::int32_t Number(const std::string& what, std::size_t most, std::int32_t minimum, std::int32_t maximum,
                      std::string_view end = {}) {
    const std::string_view digits = rest_.substr(0, rest_.find_first_of(end));
    rest_.remove_prefix(digits.size());
    return Value(what, digits, most, minimum, maximum);
  }
  // Exactly `count` digits.
  std::int32_t Fixed(const std::string& what, std::size_t count, std::int32_t maximum) {
    const std::string_view digits = rest_.substr(0, count);
    if (digits.size() < count || !IsDigits(digits))
      Refuse("the " + what + " needs " + std::to_string(count) + " digits, here '" + std::string(digits) + "'");
    rest_.remove_prefix(count);
    return Value(what, digits, count, 0, maximum);
  }
  // Steps over `mark` when it comes next.
  bool Skip(char mark) {
    if (!rest_.starts_with(mark)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void RequireInside(std::int32_t address, std::int32_t bytes) const {
    if (address + bytes > PanelMemory::Size)
      Refuse("its " + std::to_string(bytes) + " bytes from " + std::to_string(address) +
             " on reach past the last byte 65535");
  }

 private:
  std::int32_t Value(const std::string& what, std::string_view digits, std::size_t most, std::int32_t minimum,
                     std::int32_t maximum) const {
    if (digits.empty()) Refuse("the " + what + " is missing");
    if (!IsDigits(digits)) Refuse("the " + what + " '" + std::string(digits) + "' is no decimal number");
    if (digits.size() > most)
      Refuse("the " + what + " '" + std::string(digits) + "' has more than " + std::to_string(most) +
             " digits");
    std::int32_t value = 0;
    for (const char digit : digits)
      value = value * 10 + (digit - '0');
    if (value < minimum || value > maximum)
      Refuse("the " + what + " " + std::to_string(value) + " is not within " + std::to_string(minimum) + ".." +
             std::to_string(maximum));
    return value;
  }

  std::string_view itemId_;
  std::string_view rest_;
  const KindRow& row_;
};

const KindRow& FindKind(std::string_view itemId) {
  const std::string_view code = itemId.substr(0, 2);
  const auto row =
      std::find_if(Kinds.begin(), Kinds.end(), [code](const KindRow& row) { return row.code == code; });
  if (row != Kinds.end()) return *row;
  if (itemId.empty()) Refuse(itemId, "it is empty", "WO100");
  std::string upper(code);
  for (char& letter : upper)
    if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
  const auto meant =
      std::find_if(Kinds.begin(), Kinds.end(), [&](const KindRow& row) { return row.code == upper; });
  if (meant != Kinds.end())
    Refuse(itemId, "the type code '" + std::string(code) + "' must be upper-case", meant->example);
  Refuse(itemId, "the type code '" + std::string(code) + "' is none of BI, BY, WO, DW, FL, ST, RA", "WO100");
}

}  // namespace

double PanelAddress::Encode() const noexcept {
  return address + bit * BitFactor + (static_cast<std::int32_t>(kind) + 1) * KindFactor;
}

std::optional<PanelAddress> PanelAddress::Decode(double compiledAddress) noexcept {
  constexpr auto kindCount = static_cast<std::int32_t>(Kinds.size());
  if (!(compiledAddress >= KindFactor && compiledAddress < (kindCount + 1) * KindFactor)) return std::nullopt;
  const auto number = static_cast<std::int32_t>(compiledAddress);
  if (number != compiledAddress) return std::nullopt;

  const KindRow& row = Kinds[static_cast<std::size_t>(number / KindFactor - 1)];
  const PanelAddress decoded{row.kind, number % BitFactor, number / BitFactor % (KindFactor / BitFactor)};
  if (decoded.bit != 0 && decoded.kind != PanelItemKind::Bit) return std::nullopt;
  if (row.evenAddress && decoded.address % 2 != 0) return std::nullopt;
  if (decoded.WordAddress() + 2 * std::max(row.wordLength, 1) > PanelMemory::Size) return std::nullopt;
  if (decoded.kind == PanelItemKind::Raw) {
    const std::int32_t offset = decoded.address - RawStart;
    if (offset < 0 || offset % RawBlockSize != 0 || offset / RawBlockSize >= RawBlocks) return std::nullopt;
  }
  return decoded;
}

PanelIdentifier PanelIdentifier::Parse(std::string_view itemId) {
  const KindRow& row = FindKind(itemId);
  FieldReader fields(itemId, row);
  PanelIdentifier parsed{{row.kind, 0, 0}, row.wordLength, row.itemType};
  std::int32_t& address = parsed.address.address;
  switch (row.kind) {
    case PanelItemKind::String:
      address = fields.Fixed("address", 5, PanelMemory::Size - 1);
      parsed.wordLength = (fields.Number("size", 3, 1, 255) + 1) / 2;
      break;
    case PanelItemKind::Raw:
      address = RawStart + RawBlockSize * fields.Fixed("block number", 2, RawBlocks - 1);
      parsed.wordLength = (fields.Number("size", 3, 1, RawBlockSize) + 1) / 2;
      break;
    default:
      address = fields.Number("address", 5, 0, PanelMemory::Size - 1,
                              row.kind == PanelItemKind::Bit ? std::string_view(".") : std::string_view());
      if (row.evenAddress && address % 2 != 0)
        fields.Refuse("the address " + std::to_string(address) + " is odd, it must be even");
  }
  if (row.kind == PanelItemKind::Bit) {
    if (!fields.Skip('.')) fields.Refuse("the bit number after a '.' is missing");
    parsed.address.bit = fields.Number("bit number", 2, 0, 15);
  }
  fields.RequireInside(parsed.address.WordAddress(), 2 * parsed.wordLength);
  return parsed;
}

}  // namespace orvo
