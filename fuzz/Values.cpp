#include "Values.h"

#include "values/VariantConversion.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

namespace orvo::fuzz {

namespace {

using Wide = ExactNumber::Wide;

constexpr std::array<double, 24> Edges{0.0,          -0.0,
                                       0.5,          1.5,
                                       2.5,          -0.5,
                                       0.1,          255.0,
                                       255.5,        256.0,
                                       32767.0,      32767.5,
                                       32768.0,      65535.0,
                                       65536.0,      -32768.0,
                                       -32768.5,     2147483647.0,
                                       2147483648.0, 4294967295.0,
                                       4294967296.0, 9223372036854775807.0,
                                       1e15,         922337203685477.5807};

double TakeDouble(InputReader& input) {
  switch (input.Below(4)) {
    case 0:
      return Edges[input.Below(Edges.size())];
    case 1:
      return input.Number<std::int32_t>() / std::pow(10.0, static_cast<double>(input.Below(10)));
    case 2:
      return std::nextafter(Edges[input.Below(Edges.size())], input.Flag() ? 1e300 : -1e300);
    default:
      return input.Number<double>();
  }
}

std::string TakeText(InputReader& input) {
  constexpr std::string_view Numeric = "0123456789.eEdD+-& HhOofFaA\t";
  const bool isNumeric = input.Flag();
  std::string text = input.Text(40);
  if (isNumeric)
    for (char& each : text)
      each = Numeric[static_cast<unsigned char>(each) % Numeric.size()];
  return text;
}

template <class T>
SafeArray<T> TakeArray(InputReader& input) {
  std::vector<T> elements(input.Below(5));
  for (T& element : elements)
    element = input.Number<T>();
  return SafeArray<T>(std::move(elements), static_cast<std::int32_t>(input.Below(3)) - 1);
}

Wide PowerOfTen(int exponent) {
  Wide power = 1;
  while (exponent-- > 0)
    power *= 10;
  return power;
}

ExactNumber OfSigned(std::int64_t number) {
  const auto bits = static_cast<std::uint64_t>(number);
  return {number < 0, number < 0 ? 0 - bits : bits, 0};
}

std::string Trimmed(std::string text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<ExactNumber> ExactText(const std::string& text) {
  if (FormOf(text) != NumberForm::Decimal) return std::nullopt;
  ExactNumber number;
  int digits = 0;
  bool afterPoint = false;
  for (const char each : Trimmed(text)) {
    if (each == '-') number.negative = true;
    if (each == '+' || each == '-') continue;
    if (each == '.') {
      afterPoint = true;
      continue;
    }
    if (each < '0' || each > '9' || ++digits > 28) return std::nullopt;
    number.magnitude = 10 * number.magnitude + static_cast<unsigned>(each - '0');
    if (afterPoint) ++number.scale;
  }
  return number;
}

}  // namespace

Variant TakeScalar(InputReader& input) {
  switch (input.Below(18)) {
    case 0:
      return {};
    case 1:
      return Variant::Null();
    case 2:
      return input.Number<std::int16_t>();
    case 3:
      return input.Number<std::int32_t>();
    case 4:
      return input.Flag() ? static_cast<float>(TakeDouble(input)) : input.Number<float>();
    case 5:
      return TakeDouble(input);
    case 6:
      return Currency{input.Number<std::int64_t>()};
    case 7:
      return Date{TakeDouble(input)};
    case 8:
      return Variant(TakeText(input));
    case 9:
      return Variant(input.Flag());
    case 10:
      return ErrorCode{input.Number<std::int32_t>()};
    case 11: {
      Decimal decimal;
      decimal.scale = static_cast<std::uint8_t>(input.Below(29));
      decimal.negative = input.Flag();
      decimal.high = input.Flag() ? 0 : input.Number<std::uint32_t>();
      decimal.low = input.Number<std::uint64_t>();
      return decimal;
    }
    case 12:
      return input.Number<std::int8_t>();
    case 13:
      return input.Number<std::uint8_t>();
    case 14:
      return input.Number<std::uint16_t>();
    case 15:
      return input.Number<std::uint32_t>();
    case 16:
      return input.Number<std::int64_t>();
    default:
      return input.Number<std::uint64_t>();
  }
}

Variant TakeValue(InputReader& input) {
  switch (input.Below(12)) {
    case 0:
      return Variant::OfBytes(input.Bytes(input.Below(24)));
    case 1:
      return TakeArray<std::int16_t>(input);
    case 2:
      return TakeArray<double>(input);
    case 3: {
      std::vector<Variant> elements(input.Below(4));
      for (Variant& element : elements)
        element = TakeScalar(input);
      return SafeArray<Variant>(std::move(elements));
    }
    default:
      return TakeScalar(input);
  }
}

std::string Shown(const Variant& value) {
  std::string text = "kind " + std::to_string(static_cast<int>(value.Kind()));
  if (value.IsArray()) {
    text += " array from " + std::to_string(value.LowerBound()) + " [";
    for (std::size_t k = 0; k < value.ElementCount() && k < 40; ++k)
      text += Shown(value.ElementAt(k)) + ",";
    return text + "]";
  }
  char digits[64] = "";
  if (value.Is(VariantKind::R8) || value.Is(VariantKind::Date) || value.Is(VariantKind::R4))
    std::snprintf(digits, sizeof digits, " %.17g", static_cast<double>(FloatingValue(value).value_or(0)));
  if (value.Is(VariantKind::Error)) std::snprintf(digits, sizeof digits, " %d", value.Get<ErrorCode>().code);
  text += digits;
  try {
    text += " '" + ToText(value) + "'";
  } catch (const AutomationError&) {
    text += " without a text";
  }
  return text;
}

ExactNumber ExactNumber::Rounded(int decimals) const {
  if (decimals >= scale) return {negative, magnitude * PowerOfTen(decimals - scale), decimals};
  const Wide unit = PowerOfTen(scale - decimals);
  Wide whole = magnitude / unit;
  const Wide rest = magnitude % unit;
  if (rest > unit - rest || (rest == unit - rest && whole % 2 == 1)) ++whole;
  return {negative, whole, decimals};
}

int ExactNumber::Compare(const ExactNumber& a, const ExactNumber& b) {
  const bool aIsNegative = a.negative && !a.IsZero();
  const bool bIsNegative = b.negative && !b.IsZero();
  if (aIsNegative != bIsNegative) return aIsNegative ? -1 : 1;
  const auto part = [](const ExactNumber& number, bool whole) {
    const Wide unit = PowerOfTen(number.scale);
    return whole ? number.magnitude / unit : number.magnitude % unit * PowerOfTen(28 - number.scale);
  };
  int order = 0;
  for (const bool whole : {true, false})
    if (order == 0 && part(a, whole) != part(b, whole)) order = part(a, whole) < part(b, whole) ? -1 : 1;
  return aIsNegative ? -order : order;
}

std::optional<ExactNumber> ExactValue(const Variant& value) {
  if (value.IsArray()) return std::nullopt;
  switch (value.Kind()) {
    case VariantKind::I1:
      return OfSigned(value.Get<std::int8_t>());
    case VariantKind::I2:
      return OfSigned(value.Get<std::int16_t>());
    case VariantKind::I4:
      return OfSigned(value.Get<std::int32_t>());
    case VariantKind::I8:
      return OfSigned(value.Get<std::int64_t>());
    case VariantKind::UI1:
      return ExactNumber{false, value.Get<std::uint8_t>(), 0};
    case VariantKind::UI2:
      return ExactNumber{false, value.Get<std::uint16_t>(), 0};
    case VariantKind::UI4:
      return ExactNumber{false, value.Get<std::uint32_t>(), 0};
    case VariantKind::UI8:
      return ExactNumber{false, value.Get<std::uint64_t>(), 0};
    case VariantKind::Boolean:
      return OfSigned(value.Get<bool>() ? -1 : 0);
    case VariantKind::Currency: {
      ExactNumber number = OfSigned(value.Get<Currency>().scaled);
      number.scale = 4;
      return number;
    }
    case VariantKind::Decimal: {
      const auto decimal = value.Get<Decimal>();
      return ExactNumber{decimal.negative, Wide{decimal.high} << 64 | decimal.low, decimal.scale};
    }
    case VariantKind::String:
      return ExactText(std::string(value.Text()));
    default:
      return std::nullopt;
  }
}

std::optional<long double> FloatingValue(const Variant& value) {
  if (value.IsArray()) return std::nullopt;
  switch (value.Kind()) {
    case VariantKind::R4:
      return value.Get<float>();
    case VariantKind::R8:
      return value.Get<double>();
    case VariantKind::Date:
      return value.Get<Date>().days;
    case VariantKind::Currency:
    case VariantKind::Decimal:
    case VariantKind::String:
      return std::nullopt;
    default: {
      const std::optional<ExactNumber> exact = ExactValue(value);
      if (!exact) return std::nullopt;
      const auto magnitude = static_cast<long double>(static_cast<std::uint64_t>(exact->magnitude));
      return exact->negative ? -magnitude : magnitude;
    }
  }
}

NumberForm FormOf(const std::string& text) {
  const std::string number = Trimmed(text);
  std::size_t at = 0;
  const auto digits = [&](std::string_view allowed) {
    const std::size_t first = at;
    while (at < number.size() && allowed.find(number[at]) != std::string_view::npos)
      ++at;
    return at - first;
  };
  const auto skip = [&](std::string_view any) {
    if (at < number.size() && any.find(number[at]) != std::string_view::npos) {
      ++at;
      return true;
    }
    return false;
  };
  constexpr std::string_view Decimals = "0123456789";
  if (skip("&")) {
    const bool octal = at < number.size() && (number[at] == 'o' || number[at] == 'O');
    if (!skip("hHoO")) return NumberForm::None;
    return digits(octal ? "01234567" : "0123456789abcdefABCDEF") > 0 && at == number.size() ? NumberForm::Bits
                                                                                            : NumberForm::None;
  }
  skip("+-");
  std::size_t count = digits(Decimals);
  if (skip(".")) count += digits(Decimals);
  if (count == 0) return NumberForm::None;
  if (skip("eEdD")) {
    skip("+-");
    if (digits(Decimals) == 0) return NumberForm::None;
  }
  return at == number.size() ? NumberForm::Decimal : NumberForm::None;
}

double LibraryDouble(const std::string& text) {
  std::string number = Trimmed(text);
  for (char& each : number)
    if (each == 'd' || each == 'D') each = 'e';
  return std::strtod(number.c_str(), nullptr);
}

}  // namespace orvo::fuzz
