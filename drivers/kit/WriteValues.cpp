#include "kit/WriteValues.h"

#include "values/Text.h"
#include "values/VariantConversion.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvo::kit {

namespace {

[[noreturn]] void RejectValue(const CompiledItem& item, const std::string& value, const std::string& why) {
  throw CheckFailed{"'" + value + "' cannot be written to '" + item.id + "': " + why};
}

Variant NumberToWrite(const CompiledItem& item, const std::string& value) {
  const auto number = ParseDecimal(value);
  if (!number) RejectValue(item, value, "it is no number");
  if (item.type == Single) return static_cast<float>(*number);
  // A double word above the signed range travels as the same 32 bits.
  if (*number != std::floor(*number) || *number < -2147483648.0 || *number > 4294967295.0)
    RejectValue(item, value, "it is no whole number of 32 bits");
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(*number)));
}

int DigitOf(char character) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto lower =
      static_cast<char>(character >= 'A' && character <= 'F' ? character - 'A' + 'a' : character);
  const std::size_t place = digits.find(lower);
  return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

Variant BytesToWrite(const CompiledItem& item, const std::string& value) {
  std::vector<std::uint8_t> bytes;
  int high = -1;
  for (const char character : value) {
    if (character == ' ') continue;
    const int digit = DigitOf(character);
    if (digit < 0) RejectValue(item, value, "it is no row of bytes such as A0 A1");
    if (high >= 0) bytes.push_back(static_cast<std::uint8_t>(16 * high + digit));
    high = high < 0 ? digit : -1;
  }
  if (high >= 0) RejectValue(item, value, "it ends in half a byte");
  if (bytes.size() > static_cast<std::size_t>(item.words) * 2)
    RejectValue(item, value, "it is longer than the item");
  return Variant::OfBytes(bytes);
}

// What the system hands to a driver: a 32-bit integer, a single, or bytes; texts filled up with blanks.
Variant ValueToWrite(const CompiledItem& item, const std::string& value) {
  if (item.type == Integer || item.type == Single) return NumberToWrite(item, value);
  if (item.type == Raw) return BytesToWrite(item, value);
  std::vector<std::uint8_t> bytes = EncodeWindows1252(value);
  const auto length = static_cast<std::size_t>(item.words) * 2;
  if (bytes.size() > length) RejectValue(item, value, "it is longer than the item");
  constexpr std::uint8_t blank = 32;
  bytes.resize(length, blank);
  return Variant::OfBytes(bytes);
}

}  // namespace

std::vector<std::pair<CompiledItem, Variant>> ItemsToWrite(DriverSession& session) {
  if (session.Plan().writes.empty()) throw NotApplicable{"no value is given that may be written"};
  std::vector<std::pair<CompiledItem, Variant>> items;
  for (const auto& [id, value] : session.Plan().writes) {
    const CompiledItem item = session.Compile(id);
    items.emplace_back(item, ValueToWrite(item, value));
  }
  return items;
}

}  // namespace orvo::kit
