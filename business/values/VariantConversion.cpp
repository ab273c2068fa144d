#include "values/VariantConversion.h"

#include "values/Dates.h"
#include "values/DecimalDigits.h"
#include "values/NumberVisit.h"
#include "values/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace orvo {

namespace {

// An integer type, booleans excepted.
template <class T>
concept Whole = std::integral<T> && !std::is_same_v<T, bool>;

[[noreturn]] void RaiseOverflow() {
  RaiseRuntimeError(RuntimeError::Overflow);
}

// The value of what had to fit and may not have.
template <class T>
T Fitting(const std::optional<T>& value) {
  if (!value.has_value()) RaiseOverflow();
  return *value;
}

template <Whole T>
T WholeFromDecimal(const Decimal& rounded) {
  if (rounded.high != 0) RaiseOverflow();
  if (!rounded.negative) {
    if (!std::in_range<T>(rounded.low)) RaiseOverflow();
    return static_cast<T>(rounded.low);
  }
  if (rounded.low > std::uint64_t{1} << 63) RaiseOverflow();
  const auto negated = static_cast<std::int64_t>(0 - rounded.low);
  if (!std::in_range<T>(negated)) RaiseOverflow();
  return static_cast<T>(negated);
}

template <Whole T>
struct ToWhole {
  T operator()(Whole auto value) const {
    if (!std::in_range<T>(value)) RaiseOverflow();
    return static_cast<T>(value);
  }
  // kept: true sets every bit of an unsigned kind as well (255 as a byte), it is no overflow.
  T operator()(bool value) const { return static_cast<T>(value ? -1 : 0); }
  T operator()(float value) const { return (*this)(static_cast<double>(value)); }
  T operator()(double value) const {
    const double rounded = RoundHalfToEven(value);
    const double limit = std::ldexp(1.0, std::numeric_limits<T>::digits);
    if (!(rounded < limit && rounded >= (std::is_signed_v<T> ? -limit : 0.0))) RaiseOverflow();
    return static_cast<T>(rounded);
  }
  T operator()(Currency value) const { return FromDigits(DigitsOf(value)); }
  T operator()(const Decimal& value) const { return FromDigits(DigitsOf(value)); }
  T operator()(const NumberText& text) const {
    if (!text.isBits) return FromDigits(DigitsOf(text.decimal));
    // kept: "&H" and "&O" digits spell the bits of the kind that is asked for, so "&HFFFF" is -1 as a 16-bit
    // number.
    using Bits = std::make_unsigned_t<T>;
    if (!std::in_range<Bits>(text.bits)) RaiseOverflow();
    return static_cast<T>(static_cast<Bits>(text.bits));
  }

 private:
  static T FromDigits(const DecimalDigits& number) {
    return WholeFromDecimal<T>(Fitting(RoundToScale(number, 0)));
  }
};

template <Whole T>
T To(const Variant& value) {
  return VisitNumber(value, ToWhole<T>{});
}

struct ToDouble {
  double operator()(Whole auto value) const { return static_cast<double>(value); }
  double operator()(bool value) const { return value ? -1.0 : 0.0; }
  double operator()(float value) const { return value; }
  double operator()(double value) const { return value; }
  double operator()(Currency value) const { return NearestDouble(DigitsOf(value)); }
  double operator()(const Decimal& value) const { return NearestDouble(DigitsOf(value)); }
  double operator()(const NumberText& text) const {
    if (text.isBits) return static_cast<double>(text.bits);
    const double value = NearestDouble(text.decimal);
    if (std::isinf(value)) RaiseOverflow();
    return value;
  }
};

struct ToSingle {
  float operator()(float value) const { return value; }
  float operator()(Whole auto value) const { return static_cast<float>(value); }
  float operator()(auto value) const {
    const double wide = ToDouble{}(value);
    if (std::fabs(wide) > double{std::numeric_limits<float>::max()}) RaiseOverflow();
    return static_cast<float>(wide);
  }
};

// The digits of a number that becomes currency or a decimal. Error 6 for infinities and NaN.
struct ToDigits {
  int significant;  // of a double; 0 takes its exact value

  DecimalDigits operator()(Whole auto value) const {
    if constexpr (std::is_signed_v<decltype(value)>)
      return DigitsOf(std::int64_t{value});
    else
      return DigitsOf(std::uint64_t{value});
  }
  DecimalDigits operator()(bool value) const { return DigitsOf(std::int64_t{value ? -1 : 0}); }
  DecimalDigits operator()(float value) const { return FromDouble(value, significant == 0 ? 0 : 7); }
  DecimalDigits operator()(double value) const { return FromDouble(value, significant); }
  DecimalDigits operator()(Currency value) const { return DigitsOf(value); }
  DecimalDigits operator()(const Decimal& value) const { return DigitsOf(value); }
  DecimalDigits operator()(const NumberText& text) const {
    return text.isBits ? DigitsOf(text.bits) : DigitsOf(text.decimal);
  }

 private:
  static DecimalDigits FromDouble(double value, int digits) {
    if (!std::isfinite(value)) RaiseOverflow();
    return digits == 0 ? DigitsOf(value) : RoundedDigits(value, digits);
  }
};

Decimal ToDecimal(const Variant& value) {
  if (value.Is(VariantKind::Decimal)) return value.Get<Decimal>();
  // kept: a double counts with its 15 significant digits here, so 0.1 becomes exactly 0.1.
  return Fitting(NearestDecimal(VisitNumber(value, ToDigits{15})));
}

bool EqualsWithoutCase(std::string_view text, std::string_view lower) {
  return FoldCase(text) == lower;
}

std::string FloatText(double value, int significant) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  const DecimalDigits number = RoundedDigits(value, significant);
  if (number.digits.empty() || (number.point > -4 && number.point <= significant)) return PlainText(number);
  DecimalDigits mantissa = number;
  mantissa.point = 1;
  const std::int64_t exponent = number.point - 1;
  const std::string digits = std::to_string(exponent < 0 ? -exponent : exponent);
  return PlainText(mantissa) + (exponent < 0 ? "E-" : "E+") + (digits.size() < 2 ? "0" : "") + digits;
}

struct ToTextOf {
  std::string operator()(Whole auto value) const { return std::to_string(value); }
  std::string operator()(bool value) const { return value ? "True" : "False"; }
  std::string operator()(float value) const { return FloatText(value, 7); }
  std::string operator()(double value) const { return FloatText(value, 15); }
  std::string operator()(Currency value) const { return PlainText(DigitsOf(value)); }
  std::string operator()(const Decimal& value) const { return PlainText(DigitsOf(value)); }
};

}  // namespace

NumberText ParseNumberText(std::string_view text) {
  const std::string_view trimmed = TrimBlanks(text);
  NumberText number;
  if (trimmed.size() > 2 && trimmed[0] == '&') {
    const char letter = trimmed[1];
    const int base = letter == 'H' || letter == 'h' ? 16 : letter == 'O' || letter == 'o' ? 8 : 0;
    if (base == 0) RaiseRuntimeError(RuntimeError::TypeMismatch);
    number.isBits = true;
    const char* const end = trimmed.data() + trimmed.size();
    const auto [last, error] = std::from_chars(trimmed.data() + 2, end, number.bits, base);
    if (last != end) RaiseRuntimeError(RuntimeError::TypeMismatch);
    if (error != std::errc{}) RaiseOverflow();
    return number;
  }
  number.decimal = ScanNumber(trimmed);
  if (number.decimal.length == 0 || number.decimal.length != trimmed.size())
    RaiseRuntimeError(RuntimeError::TypeMismatch);
  return number;
}

std::int16_t ToI2(const Variant& value) {
  return To<std::int16_t>(value);
}
std::int32_t ToI4(const Variant& value) {
  return To<std::int32_t>(value);
}
std::int64_t ToI8(const Variant& value) {
  return To<std::int64_t>(value);
}
float ToR4(const Variant& value) {
  return VisitNumber(value, ToSingle{});
}
double ToR8(const Variant& value) {
  return VisitNumber(value, ToDouble{});
}

bool ToBoolean(const Variant& value) {
  if (value.Is(VariantKind::String)) {
    const std::string_view word = TrimBlanks(value.Text());
    if (EqualsWithoutCase(word, "true")) return true;
    if (EqualsWithoutCase(word, "false")) return false;
  }
  return ToR8(value) != 0;
}

Currency ToCurrency(const Variant& value) {
  if (value.Is(VariantKind::Currency)) return value.Get<Currency>();
  return {WholeFromDecimal<std::int64_t>(Fitting(RoundToScale(VisitNumber(value, ToDigits{0}), 4)))};
}

Date ToDate(const Variant& value) {
  if (value.Is(VariantKind::Date)) return value.Get<Date>();
  const Date date{ToR8(value)};
  if (!IsDateInRange(date)) RaiseOverflow();
  return date;
}

std::string ToText(const Variant& value) {
  if (value.Is(VariantKind::String)) return std::string(value.Text());
  if (value.IsEmpty()) return {};
  if (value.Is(VariantKind::Date)) return DateText(value.Get<Date>());
  return VisitNumber(value, ToTextOf{});
}

Variant ChangeKind(const Variant& value, VariantKind kind) {
  if (value.Is(kind)) return value;
  switch (kind) {
    case VariantKind::I2:
      return ToI2(value);
    case VariantKind::I4:
      return ToI4(value);
    case VariantKind::R4:
      return ToR4(value);
    case VariantKind::R8:
      return ToR8(value);
    case VariantKind::Currency:
      return ToCurrency(value);
    case VariantKind::Date:
      return ToDate(value);
    case VariantKind::String:
      return ToText(value);
    case VariantKind::Boolean:
      return ToBoolean(value);
    case VariantKind::Decimal:
      return ToDecimal(value);
    case VariantKind::I1:
      return To<std::int8_t>(value);
    case VariantKind::UI1:
      return To<std::uint8_t>(value);
    case VariantKind::UI2:
      return To<std::uint16_t>(value);
    case VariantKind::UI4:
      return To<std::uint32_t>(value);
    case VariantKind::I8:
      return ToI8(value);
    case VariantKind::UI8:
      return To<std::uint64_t>(value);
    case VariantKind::Empty:
    case VariantKind::Null:
    case VariantKind::Object:
    case VariantKind::Error:
    case VariantKind::Variant:
      break;
  }
  RaiseRuntimeError(RuntimeError::TypeMismatch);
}

}  // namespace orvo
