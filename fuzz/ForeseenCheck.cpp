#include "ForeseenCheck.h"

#include "Property.h"
#include "Values.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace orvo::fuzz {

namespace {

constexpr std::int32_t RefusedAsTooLarge = 6;
constexpr std::int32_t RefusedAsOfWrongKind = 13;

bool IsNothing(const Variant& value) {
  return value.IsEmpty() || value.IsNull();
}

bool IsWholeOrFloating(VariantKind kind) {
  switch (kind) {
    case VariantKind::I1:
    case VariantKind::I2:
    case VariantKind::I4:
    case VariantKind::I8:
    case VariantKind::UI1:
    case VariantKind::UI2:
    case VariantKind::UI4:
    case VariantKind::UI8:
    case VariantKind::R4:
    case VariantKind::R8:
      return true;
    default:
      return false;
  }
}

// The nearest double of a number, an amount or a text; 6 or 13 when there is none.
ForeseenCheck ForeseenDouble(const Variant& value) {
  if (IsWholeOrFloating(value.Kind())) return {0, static_cast<double>(*FloatingValue(value))};
  if (value.Is(VariantKind::Currency)) return {0, LibraryDouble(ToText(value))};
  if (!value.Is(VariantKind::String)) return {RefusedAsOfWrongKind, {}};
  const std::string text(value.Text());
  switch (FormOf(text)) {
    case NumberForm::None:
      return {RefusedAsOfWrongKind, {}};
    case NumberForm::Decimal: {
      const double number = LibraryDouble(text);
      return std::isinf(number) ? ForeseenCheck{RefusedAsTooLarge, {}} : ForeseenCheck{0, number};
    }
    default: {
      double number = 0;  // the target of conversions knows what bits mean
      const std::int32_t refusal = NumberOf([&] { number = ToR8(value); });
      return {refusal, number};
    }
  }
}

ForeseenCheck ForeseenSingle(const Variant& value) {
  if (IsNothing(value)) return {0, 0.0F};
  if (value.IsArray()) return {RefusedAsOfWrongKind, {}};
  if (value.Is(VariantKind::R4)) return {0, value.Get<float>()};
  const ForeseenCheck wide = ForeseenDouble(value);
  if (wide.refusal != 0) return wide;
  const auto number = wide.value.Get<double>();
  if (std::fabs(number) > double{std::numeric_limits<float>::max()}) return {RefusedAsTooLarge, {}};
  return {0, static_cast<float>(number)};
}

ForeseenCheck ForeseenInteger(const KELDataItem& item, const Variant& value) {
  if (IsNothing(value)) return {0, std::int32_t{0}};
  if (value.IsArray()) return {RefusedAsOfWrongKind, {}};
  const std::int32_t size = item.DataSize();
  if (value.Is(VariantKind::I2)) {
    const std::int32_t number = value.Get<std::int16_t>();
    const bool refused = (number < 0 && !item.Signed()) || (size == 0 && number != 0 && number != 1) ||
                         (size == 1 && (number < 0 || number > 255));
    return {refused ? RefusedAsTooLarge : 0, number};
  }
  if (value.Is(VariantKind::UI1)) {
    const std::int32_t number = value.Get<std::uint8_t>();
    return {size == 0 && number > 1 ? RefusedAsTooLarge : 0, number};
  }
  const ForeseenCheck wide = ForeseenDouble(value);
  if (wide.refusal != 0) return wide;
  const auto number = wide.value.Get<double>();
  double low = 0;
  double high = size == 0 ? 1 : size == 1 ? 255 : size == 2 ? 65535 : 4294967295.0;
  if (item.Signed() && size >= 2) {
    low = size == 2 ? -32768 : -2147483648.0;
    high = size == 2 ? 32767 : 2147483647.0;
  }
  const bool hasRange = size == 0 || size == 1 || size == 2 || size == 4;
  if (!hasRange || !(number == std::floor(number)) || number < low || number > high)
    return {RefusedAsTooLarge, {}};
  // A double word above the signed range is the same 32 bits.
  const std::int64_t whole = static_cast<std::int64_t>(number);
  return {0, static_cast<std::int32_t>(whole > 2147483647 ? whole - 4294967296 : whole)};
}

// A list as bytes: each number whole and within a byte; the first that is not tells why.
ForeseenCheck ForeseenBytes(const Variant& list) {
  if (list.IsByteArray()) return {0, list};
  std::vector<std::uint8_t> bytes;
  for (std::size_t k = 0; k < list.ElementCount(); ++k) {
    const Variant element = list.ElementAt(k);
    if (element.IsArray() || !IsWholeOrFloating(element.Kind())) return {RefusedAsOfWrongKind, {}};
    const long double number = *FloatingValue(element);
    if (!(number == std::floor(number))) return {RefusedAsOfWrongKind, {}};
    if (number < 0 || number > 255) return {RefusedAsTooLarge, {}};
    bytes.push_back(static_cast<std::uint8_t>(number));
  }
  return {0, Variant::OfBytes(bytes)};
}

ForeseenCheck ForeseenText(const KELDataItem& item, const Variant& value) {
  if (IsNothing(value)) return {0, value};
  if (value.IsArray()) return ForeseenBytes(value);
  if (value.Is(VariantKind::Object) || value.Is(VariantKind::Error)) return {RefusedAsOfWrongKind, {}};
  // A date beyond the calendar has no text.
  std::string text;
  const std::int32_t refusal = NumberOf([&] { text = ToText(value); });
  if (refusal != 0) return {value.Is(VariantKind::Date) ? RefusedAsTooLarge : 0, {}};
  return {0, Variant(Beginning(text, item.DataSize()))};
}

ForeseenCheck ForeseenRaw(const KELDataItem& item, const Variant& value) {
  if (IsNothing(value)) return {0, value};
  if (!value.IsArray()) return {RefusedAsOfWrongKind, {}};
  const std::int64_t longest = std::max<std::int64_t>(item.DataSize(), 2 * std::int64_t{item.ItemWordLength()});
  if (static_cast<std::int64_t>(value.ElementCount()) > longest) return {RefusedAsTooLarge, {}};
  return ForeseenBytes(value);
}

}  // namespace

ForeseenCheck Foresee(const KELDataItem& item, const Variant& value) {
  switch (item.ItemType()) {
    case ItemTypeInteger:
      return ForeseenInteger(item, value);
    case ItemTypeString:
      return ForeseenText(item, value);
    case ItemTypeFloat:
      return ForeseenSingle(value);
    case ItemTypeRaw:
      return ForeseenRaw(item, value);
    default:
      return {IsNothing(value) ? 0 : RefusedAsOfWrongKind, value};
  }
}

bool IsSameSingle(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

bool IsHandedOnAs(const Variant& checked, const Variant& foreseen) {
  if (checked.Is(VariantKind::R4) && foreseen.Is(VariantKind::R4))
    return IsSameSingle(checked.Get<float>(), foreseen.Get<float>());
  return checked == foreseen;
}

std::string Beginning(const std::string& text, std::int64_t units) {
  std::size_t at = 0;
  while (at < text.size()) {
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (at + length > text.size() || !IsWellFormedUtf8(text.substr(at, length))) length = 1;
    units -= length == 4 ? 2 : 1;
    if (units < 0) break;
    at += length;
  }
  return text.substr(0, at);
}

}  // namespace orvo::fuzz
