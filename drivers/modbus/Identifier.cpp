#include "modbus/Identifier.h"

#include "modbus/Complaint.h"
#include "modbus/Reference.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace orvo::modbus {

namespace {

struct CodeRow {
  std::string_view code;
  ItemKind kind;
  std::int32_t wordLength;  // 0: from the identifier
  std::int32_t itemType;
  std::string_view example;
};

constexpr std::array<CodeRow, 7> CodeRows{{
    {"BI", ItemKind::Bit, 1, 0, "BI40001.3"},
    {"BY", ItemKind::Byte, 1, 0, "BY40001"},
    {"WO", ItemKind::Word, 1, 0, "WO40001"},
    {"DW", ItemKind::DoubleWord, 2, 0, "DW40001"},
    {"FL", ItemKind::Single, 2, 2, "FL40001"},
    {"ST", ItemKind::String, 0, 1, "ST4000110"},
    {"RA", ItemKind::Raw, 0, 3, "RA0316"},
}};

constexpr std::int32_t LongestSize = 2 * LongestItem;  // characters or bytes

const CodeRow& FindCode(std::string_view itemId, Complaint& complaint) {
  const std::string_view code = itemId.substr(0, 2);
  const auto find = [](std::string_view wanted) {
    return std::find_if(CodeRows.begin(), CodeRows.end(),
                        [wanted](const CodeRow& row) { return row.code == wanted; });
  };
  const auto* const row = find(code);
  if (row != CodeRows.end()) {
    complaint.PutExample(row->example);
    return *row;
  }
  complaint.PutExample("WO40001");
  if (itemId.empty()) complaint.Raise("it is empty");
  std::string upper(code);
  for (char& letter : upper)
    if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
  const auto* const meant = find(upper);
  if (meant != CodeRows.end()) {
    complaint.PutExample(meant->example);
    complaint.Raise("the type code '" + std::string(code) + "' must be upper-case");
  }
  complaint.Raise("the type code '" + std::string(code) + "' is none of BI, BY, WO, DW, FL, ST, RA");
}

// Takes one identifier apart; `rest` is what follows the type code.
class IdentifierFields {
 public:
  IdentifierFields(const CodeRow& row, std::string_view rest, Complaint& complaint)
      : row_(row), rest_(rest), complaint_(complaint) {}

  Identifier Parse(const RawBlocks& blocks) {
    Identifier parsed{{row_.kind, Area::HoldingRegisters, 0, 0, false}, row_.wordLength, row_.itemType};
    switch (row_.kind) {
      case ItemKind::Bit:
        PutReference(parsed, TakeTo('.'));
        parsed.address.bit = RegisterBit(parsed.address.area);
        break;
      case ItemKind::Byte:
        PutRegister(parsed, TakeTo('.'));
        parsed.address.bit = ByteBit();
        break;
      case ItemKind::String:
        PutRegister(parsed, TakeShortReference());
        PutSize(parsed);
        break;
      case ItemKind::Raw:
        PutBlock(parsed, blocks);
        break;
      default:
        if (rest_.find('.') != std::string_view::npos)
          complaint_.Raise("'" + std::string(rest_.substr(rest_.find('.'))) +
                           "' is too much, only BI and BY name bits");
        PutRegister(parsed, rest_);
    }
    if (!parsed.address.Place(parsed.wordLength))
      complaint_.Raise("its " + std::to_string(parsed.wordLength) + " registers from " +
                       Reference{parsed.address.area, parsed.address.address}.Text() +
                       " on reach past the last one, " + Reference{parsed.address.area, AreaSize - 1}.Text());
    return parsed;
  }

 private:
  // What stands before `mark`, or all.
  std::string_view TakeTo(char mark) {
    const std::string_view taken = rest_.substr(0, rest_.find(mark));
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view Take(std::size_t count) {
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view TakeShortReference() {
    constexpr std::size_t length = 5;
    if (!rest_.empty() && rest_.size() < length)
      complaint_.Raise("the reference '" + std::string(rest_) +
                       "' is too short, it has 5 characters and the size behind them");
    return Take(length);
  }

  void PutReference(Identifier& parsed, std::string_view text) const {
    const Reference reference = Reference::Parse(text, complaint_);
    parsed.address.area = reference.area;
    parsed.address.address = reference.address;
  }
  void PutRegister(Identifier& parsed, std::string_view text) const {
    PutReference(parsed, text);
    const Area area = parsed.address.area;
    if (HoldsBits(area))
      complaint_.Raise("the reference '" + std::string(text) + "' names a " + std::string(NameOf(area)) + ", " +
                       std::string(row_.code) + " needs a register");
  }
  void PutBlock(Identifier& parsed, const RawBlocks& blocks) {
    const std::string_view number = Take(2);
    if (number.size() < 2 || !IsDigits(number))
      complaint_.Raise("the block number needs 2 digits, here '" + std::string(number) + "'");
    const auto block = blocks.find(10 * (number[0] - '0') + (number[1] - '0'));
    if (block == blocks.end()) {
      const std::string option = "block" + std::string(number);
      complaint_.PutExample({});
      complaint_.Raise("the connection does not say where raw block " + std::string(number) +
                       " begins; add an option to it like " + option + "=40100");
    }
    parsed.address.area = block->second.area;
    parsed.address.address = block->second.address;
    PutSize(parsed);
  }
  void PutSize(Identifier& parsed) const {
    const std::int32_t size = complaint_.Number("the size", rest_, 3, 1, LongestSize);
    parsed.wordLength = (size + 1) / 2;
    parsed.address.odd = size % 2 != 0;
  }

  // The bit behind the '.'; 0 in areas of bits, which have none.
  std::int32_t RegisterBit(Area area) const {
    if (HoldsBits(area)) {
      if (rest_.empty()) return 0;
      complaint_.PutExample(area == Area::Coils ? "BI00001" : "BI10001");
      complaint_.Raise("a " + std::string(NameOf(area)) + " has no bits, '" + std::string(rest_) +
                       "' is too much");
    }
    if (rest_.empty()) complaint_.Raise("the bit number after a '.' is missing");
    return BitNumber();
  }
  std::int32_t ByteBit() const {
    if (rest_.empty()) return 0;
    complaint_.PutExample("BY40001.8");
    const std::int32_t bit = BitNumber();
    if (bit != 0 && bit != 8)
      complaint_.Raise("the bit number " + std::to_string(bit) +
                       " is neither 0, the low byte, nor 8, the high byte");
    return bit;
  }
  std::int32_t BitNumber() const { return complaint_.Number("the bit number", rest_.substr(1), 2, 0, 15); }

  const CodeRow& row_;
  std::string_view rest_;
  Complaint& complaint_;
};

}  // namespace

Identifier Identifier::Parse(std::string_view itemId, const RawBlocks& blocks) {
  Complaint complaint("Item identifier", itemId);
  const CodeRow& row = FindCode(itemId, complaint);
  return IdentifierFields(row, itemId.substr(2), complaint).Parse(blocks);
}

}  // namespace orvo::modbus
