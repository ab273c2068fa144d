#include "ItemArgument.h"

#include "ExitCode.h"
#include "model/KELDataItem.h"
#include "values/Text.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvo::client {

namespace {

std::vector<std::uint8_t> ParseBytes(std::string_view text, const std::string& id) {
  constexpr std::string_view separators = ", ";
  std::vector<std::uint8_t> bytes;
  while (!text.empty()) {
    if (separators.find(text.front()) != std::string_view::npos) {
      text.remove_prefix(1);
      continue;
    }
    const std::string_view digits = text.substr(0, text.find_first_of(separators));
    std::uint8_t byte = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (error != std::errc() || end != digits.data() + digits.size())
      throw UsageError(id + "=: '" + std::string(digits) +
                       "' is no byte in hexadecimal; a raw item takes bytes such as A0,A1,FF");
    bytes.push_back(byte);
    text.remove_prefix(digits.size());
  }
  return bytes;
}

// "0x1234".
std::optional<std::uint32_t> ParseHexadecimal(std::string_view text) {
  constexpr std::string_view prefix = "0x";
  if (!text.starts_with(prefix) || text.size() == prefix.size()) return std::nullopt;
  text.remove_prefix(prefix.size());
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

ItemArgument ItemArgument::Parse(std::string_view text) {
  const std::size_t equals = text.find('=');
  const bool named = equals != std::string_view::npos;
  const std::string_view identifier = named ? text.substr(equals + 1) : text;
  const std::size_t colon = identifier.find(':');
  ItemArgument item;
  if (named) item.name = text.substr(0, equals);
  item.id = identifier.substr(0, colon);
  const std::string_view option =
      colon == std::string_view::npos ? std::string_view() : identifier.substr(colon + 1);
  item.isSigned = option == "signed";
  item.isBCD = option == "bcd";
  const bool understood = colon == std::string_view::npos || item.isSigned || item.isBCD;
  if (item.id.empty() || !understood || (named && item.name.empty()))
    throw UsageError("'" + std::string(text) + "' is no item: an item is ID, ID:signed or ID:bcd");
  return item;
}

Assignment Assignment::Parse(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos)
    throw UsageError("'" + std::string(text) + "' is not ITEM=VALUE, for example WO104:signed=-5");
  return {ItemArgument::Parse(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

Variant Assignment::ValueFor(const KELDataItem& item) const {
  switch (item.ItemType()) {
    case ItemTypeRaw:
      return Variant::OfBytes(ParseBytes(value, item.ItemId()));
    case ItemTypeInteger:
    case ItemTypeFloat:
      if (const std::optional<double> number = ParseDecimal(value)) return *number;
      if (const std::optional<std::uint32_t> number = ParseHexadecimal(value))
        return static_cast<double>(*number);
      return value;
    default:
      return value;
  }
}

std::string IdentifierText(const KELDataItem& item) {
  const char* option = item.Signed() ? " signed" : item.BCD() ? " BCD" : "";
  return item.ItemId() + option;
}

const char* ItemTypeText(std::int32_t itemType) {
  switch (itemType) {
    case ItemTypeInteger:
      return "integer";
    case ItemTypeString:
      return "string";
    case ItemTypeFloat:
      return "floating point";
    case ItemTypeRaw:
      return "raw";
    default:
      return "unknown";
  }
}

}  // namespace orvo::client
