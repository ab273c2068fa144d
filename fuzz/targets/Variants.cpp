// Conversions and comparisons of variants. Properties, by the kind that is asked for:
// - any: the kind that was asked for, or error 6, 13 or 94; the same kind comes back as it is; Null is 94
// - integers: the nearest integer, halves to even, of the value as it exactly is; outside the kind's range
//   error 6
// - boolean: what is not 0 is true
// - double, single: the nearest one of a text, and of a number that fits; beyond the range error 6
// - currency: exactly rounded to four decimals
// - decimal: exact for exact kinds; the 15 digits of a double
// - text: an integer, currency and decimal come back the same; 15 digits of a double and 7 of a single, as the
//   C library rounds them
// - date: comes back the same from a double; its text is its civil time to the second
//
// Comparison: the exact order of the values, the other way round the other way, transitive; NaN is less on
// either side.
#include "Property.h"
#include "Targets.h"
#include "Values.h"
#include "values/Dates.h"
#include "values/VariantConversion.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace orvo::fuzz {

namespace {

using Wide = ExactNumber::Wide;

struct IntegerRow {
  VariantKind kind;
  int bits;
  bool isSigned;
};
constexpr std::array<IntegerRow, 8> Integers{{{VariantKind::I1, 8, true},
                                              {VariantKind::I2, 16, true},
                                              {VariantKind::I4, 32, true},
                                              {VariantKind::I8, 64, true},
                                              {VariantKind::UI1, 8, false},
                                              {VariantKind::UI2, 16, false},
                                              {VariantKind::UI4, 32, false},
                                              {VariantKind::UI8, 64, false}}};
constexpr std::array<VariantKind, 15> ScalarKinds{
    VariantKind::I1,       VariantKind::I2,   VariantKind::I4,     VariantKind::I8,      VariantKind::UI1,
    VariantKind::UI2,      VariantKind::UI4,  VariantKind::UI8,    VariantKind::R4,      VariantKind::R8,
    VariantKind::Currency, VariantKind::Date, VariantKind::String, VariantKind::Boolean, VariantKind::Decimal};

bool IsNaN(const Variant& value) {
  const std::optional<long double> number = FloatingValue(value);
  return number && std::isnan(*number);
}

// The value converted; nothing, and the error number in `number`, when it is refused.
std::optional<Variant> Converted(const Variant& value, VariantKind kind, std::int32_t& number) {
  Variant result;
  number = NumberOf([&] { result = ChangeKind(value, kind); });
  if (number != 0) {
    Demand(number == 6 || number == 13 || number == 94, "a conversion fails with 6, 13 or 94",
           [&] { return Shown(value) + " fails with " + std::to_string(number); });
    return std::nullopt;
  }
  Demand(result.Is(kind), "a conversion gives the kind that was asked for", [&] { return Shown(result); });
  return result;
}

std::string Pair(const Variant& from, const std::optional<Variant>& to, std::int32_t number = 0) {
  return Shown(from) + " to " + (to ? Shown(*to) : "error " + std::to_string(number));
}

// The integer that a value is nearest to; nothing for values that this reading does not cover.
std::optional<ExactNumber> NearestInteger(const Variant& value) {
  if (const std::optional<ExactNumber> exact = ExactValue(value)) return exact->Rounded(0);
  const std::optional<long double> floating = FloatingValue(value);
  if (!floating || !std::isfinite(*floating) || std::fabs(*floating) > 1e25L) return std::nullopt;
  const long double whole = std::nearbyint(*floating);
  return ExactNumber{whole < 0, static_cast<Wide>(std::fabs(whole)), 0};
}

void CheckInteger(const Variant& value, const IntegerRow& row) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, row.kind, number);
  if (value.Is(VariantKind::Boolean)) {
    const std::uint64_t ones = row.bits == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << row.bits) - 1;
    const std::optional<ExactNumber> found = result ? ExactValue(*result) : std::nullopt;
    const ExactNumber expected{row.isSigned, row.isSigned ? 1 : ones, 0};
    Demand(found && (value.Get<bool>() ? ExactNumber::Compare(*found, expected) == 0 : found->IsZero()),
           "true has all bits set", [&] { return Pair(value, result, number); });
    return;
  }
  if (FloatingValue(value) && !std::isfinite(*FloatingValue(value)))
    Demand(number == 6, "no integer is infinite", [&] { return Pair(value, result, number); });
  const std::optional<ExactNumber> nearest = NearestInteger(value);
  if (!nearest) return;
  const Wide limit = Wide{1} << (row.isSigned ? row.bits - 1 : row.bits);
  const bool fits = nearest->negative && !nearest->IsZero() ? row.isSigned && nearest->magnitude <= limit
                                                            : nearest->magnitude < limit;
  Demand(result.has_value() == fits && (fits || number == 6), "an integer that does not fit is error 6",
         [&] { return Pair(value, result, number); });
  if (fits)
    Demand(ExactNumber::Compare(*ExactValue(*result), *nearest) == 0,
           "an integer is the nearest, halves to even", [&] { return Pair(value, result); });
}

void CheckDouble(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::R8, number);
  if (const auto floating = FloatingValue(value)) {
    Demand(result && (result->Get<double>() == static_cast<double>(*floating) || IsNaN(value)),
           "a number is the nearest double", [&] { return Pair(value, result, number); });
  } else if (value.Is(VariantKind::String)) {
    const std::string text(value.Text());
    const NumberForm form = FormOf(text);
    if (form == NumberForm::None)
      Demand(number == 13, "a text that is no number is error 13", [&] { return Pair(value, result, number); });
    if (form != NumberForm::Decimal) return;
    const double library = LibraryDouble(text);
    Demand(std::isinf(library) ? number == 6 : result && result->Get<double>() == library,
           "a text is the nearest double", [&] { return Pair(value, result, number); });
  } else if (const auto exact = ExactValue(value)) {
    std::string digits = ToText(value);
    Demand(result && result->Get<double>() == LibraryDouble(digits), "an exact number is the nearest double",
           [&] { return Pair(value, result, number); });
  }
}

void CheckSingle(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::R4, number);
  std::int32_t wideNumber = 0;
  const std::optional<Variant> wide = Converted(value, VariantKind::R8, wideNumber);
  if (!wide) {
    Demand(number == wideNumber, "what is no double is no single", [&] { return Pair(value, result, number); });
    return;
  }
  const double exact = wide->Get<double>();
  if (std::fabs(exact) > double{std::numeric_limits<float>::max()} && !value.Is(VariantKind::R4)) {
    Demand(number == 6, "beyond the range of a single is error 6", [&] { return Pair(value, result, number); });
    return;
  }
  const auto difference = static_cast<double>(result ? result->Get<float>() : 0.0F) - exact;
  Demand(result && (std::isnan(exact) || std::isinf(exact) ||
                    std::fabs(difference) <=
                        std::fabs(exact) * 6e-8 + double{std::numeric_limits<float>::denorm_min()}),
         "a single is near", [&] { return Pair(value, result, number); });
}

void CheckCurrency(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::Currency, number);
  std::optional<ExactNumber> expected;
  if (const auto exact = ExactValue(value)) {
    // More decimals than the value has would leave the wide number.
    if (exact->magnitude < Wide{1} << 100) expected = exact->Rounded(4);
  } else if (const auto floating = FloatingValue(value); floating && std::fabs(*floating) < 1e20L) {
    const long double scaled = std::nearbyint(*floating * 10000);  // exact: 53 bits and 14 fit into 64
    expected = ExactNumber{scaled < 0, static_cast<Wide>(std::fabs(scaled)), 4};
  }
  if (!expected) return;
  const Wide limit = Wide{1} << 63;
  const bool fits = expected->negative ? expected->magnitude <= limit : expected->magnitude < limit;
  Demand(result.has_value() == fits && (fits || number == 6), "currency that does not fit is error 6",
         [&] { return Pair(value, result, number); });
  if (fits)
    Demand(ExactNumber::Compare(*ExactValue(*result), *expected) == 0, "currency is rounded to four decimals",
           [&] { return Pair(value, result); });
}

void CheckDecimal(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::Decimal, number);
  if (const auto exact = ExactValue(value)) {
    if (exact->magnitude >> 96 == 0)
      Demand(result && ExactNumber::Compare(*ExactValue(*result), *exact) == 0,
             "an exact number is an exact decimal", [&] { return Pair(value, result, number); });
    return;
  }
  const auto floating = FloatingValue(value);
  if (!floating || !(std::fabs(*floating) > 1e-12L && std::fabs(*floating) < 1e28L)) return;
  char digits[64];
  std::snprintf(digits, sizeof digits, "%.*e", value.Is(VariantKind::R4) ? 6 : 14,
                static_cast<double>(*floating));
  Demand(result && LibraryDouble(ToText(*result)) == LibraryDouble(digits),
         "a decimal has a double's leading digits", [&] { return Pair(value, result, number); });
}

void CheckText(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::String, number);
  if (value.Is(VariantKind::R8) || value.Is(VariantKind::R4)) {
    const auto wide = static_cast<double>(*FloatingValue(value));
    if (!std::isfinite(wide)) return;
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.*g", value.Is(VariantKind::R4) ? 7 : 15, wide);
    Demand(result && LibraryDouble(std::string(result->Text())) == LibraryDouble(digits),
           "a text has a number's leading digits", [&] { return Pair(value, result, number); });
  } else if (ExactValue(value) && !value.Is(VariantKind::String) && !value.Is(VariantKind::Boolean)) {
    std::int32_t backNumber = 0;
    const std::optional<Variant> back = result ? Converted(*result, value.Kind(), backNumber) : std::nullopt;
    Demand(back && ExactNumber::Compare(*ExactValue(*back), *ExactValue(value)) == 0,
           "an exact number comes back from its text", [&] { return Pair(value, result, number); });
  }
}

// A date as a number that grows with time.
double Linear(double days) {
  return std::trunc(days) + std::fabs(days - std::trunc(days));
}

void CheckDate(const Variant& value) {
  if (!value.Is(VariantKind::Date)) {
    std::int32_t number = 0;
    const std::optional<Variant> result = Converted(value, VariantKind::Date, number);
    if (result)
      Demand(IsDateInRange(result->Get<Date>()) && ToR8(*result) == ToR8(value),
             "a date is a double within its range", [&] { return Pair(value, result); });
    return;
  }
  const auto date = value.Get<Date>();
  std::string text;
  const std::int32_t number = NumberOf([&] { text = ToText(value); });
  if (!IsDateInRange(date)) {
    Demand(number == 6, "a date beyond the calendar has no text", [&] { return Shown(value); });
    return;
  }
  if (number == 6) {  // the last half second of all
    Demand(date.days > 2958465.99999, "a date within the calendar has a text", [&] { return Shown(value); });
    return;
  }
  CivilTime read;
  int count = std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &read.year, &read.month, &read.day, &read.hour,
                          &read.minute, &read.second);
  if (count != 3 && count != 6) {
    read = CivilTime();
    count = std::sscanf(text.c_str(), "%d:%d:%d", &read.hour, &read.minute, &read.second);
    Demand(count == 3 && std::trunc(date.days) == 0, "only day 0 is left out of a date's text", text);
  }
  const Date back = DateFromCivil(read);
  Demand(std::fabs(Linear(back.days) - Linear(date.days)) <= 0.5 / 86400 + 1e-9,
         "a date's text is its time to the second",
         [&] { return Shown(value) + " reads as " + std::to_string(back.days); });
  CivilTime civil;
  if (NumberOf([&] { civil = CivilFromDate(date); }) != 0) return;
  const CivilTime again = CivilFromDate(DateFromCivil(civil));
  Demand(again.day == civil.day && again.hour == civil.hour && again.millisecond == civil.millisecond &&
             again.year == civil.year && again.second == civil.second,
         "a civil time comes back from its date", [&] { return Shown(value); });
}

void CheckBoolean(const Variant& value) {
  std::int32_t number = 0;
  const std::optional<Variant> result = Converted(value, VariantKind::Boolean, number);
  if (const auto exact = ExactValue(value))
    Demand(result && result->Get<bool>() == !exact->IsZero(), "what is not 0 is true",
           [&] { return Pair(value, result, number); });
  else if (const auto floating = FloatingValue(value))
    Demand(result && result->Get<bool>() == (*floating != 0), "what is not 0 is true",
           [&] { return Pair(value, result, number); });
}

void CheckConversions(const Variant& value) {
  for (const VariantKind kind : ScalarKinds) {
    std::int32_t number = 0;
    const std::optional<Variant> result = Converted(value, kind, number);
    if (value.IsNull()) Demand(number == 94, "Null converts to nothing: 94");
    if (value.IsArray() || value.Is(VariantKind::Error))
      Demand(number == 13, "arrays and errors convert to nothing: 13", [&] { return Shown(value); });
    if (value.Is(kind))
      Demand(result && (*result == value || IsNaN(value)), "the same kind comes back as it is",
             [&] { return Pair(value, result, number); });
  }
  if (value.IsArray() || value.IsNull() || value.IsEmpty() || value.Is(VariantKind::Error)) return;
  for (const IntegerRow& row : Integers)
    CheckInteger(value, row);
  CheckDouble(value);
  CheckSingle(value);
  CheckCurrency(value);
  CheckDecimal(value);
  CheckText(value);
  CheckDate(value);
  CheckBoolean(value);
}

bool IsComparable(const Variant& value) {
  return !value.IsArray() && !value.Is(VariantKind::Error) && !value.IsNull() && !IsNaN(value);
}

// -1, 0, 1 as the values exactly are; nothing where this reading does not cover them.
std::optional<int> ExactOrder(const Variant& a, const Variant& b) {
  const bool aIsText = a.Is(VariantKind::String);
  const bool bIsText = b.Is(VariantKind::String);
  if (a.IsEmpty() || b.IsEmpty()) return std::nullopt;
  if (aIsText && bIsText) return a.Text() < b.Text() ? -1 : a.Text() == b.Text() ? 0 : 1;
  if (aIsText || bIsText) return aIsText ? 1 : -1;
  const auto exactA = ExactValue(a);
  const auto exactB = ExactValue(b);
  if (exactA && exactB) return ExactNumber::Compare(*exactA, *exactB);
  const auto floatingA = FloatingValue(a);
  const auto floatingB = FloatingValue(b);
  if (!floatingA || !floatingB) return std::nullopt;
  return *floatingA < *floatingB ? -1 : *floatingA == *floatingB ? 0 : 1;
}

int Number(Comparison comparison) {
  return comparison == Comparison::Less ? -1 : comparison == Comparison::Equal ? 0 : 1;
}

void CheckComparison(const Variant& a, const Variant& b) {
  Comparison forward{};
  Comparison backward{};
  const std::int32_t failed = NumberOf([&] { forward = Compare(a, b); });
  Demand(failed == NumberOf([&] { backward = Compare(b, a); }) && (failed == 0 || failed == 13),
         "a comparison fails on either side with 13", [&] { return Shown(a) + " and " + Shown(b); });
  if (failed != 0) return;
  if (a.IsNull() || b.IsNull()) {
    Demand(forward == Comparison::Null && backward == Comparison::Null, "what is compared with Null is Null");
    return;
  }
  if (IsNaN(a) || IsNaN(b)) {
    if (!a.Is(VariantKind::String) && !b.Is(VariantKind::String))
      Demand(forward == Comparison::Less && backward == Comparison::Less, "NaN is less on either side",
             [&] { return Shown(a) + " and " + Shown(b); });
    return;
  }
  Demand(Number(forward) == -Number(backward), "a comparison is the same the other way round",
         [&] { return Shown(a) + " and " + Shown(b); });
  if (const auto order = ExactOrder(a, b))
    Demand(Number(forward) == *order, "values compare as they exactly are",
           [&] { return Shown(a) + " and " + Shown(b); });
}

void CheckTransitive(const Variant& a, const Variant& b, const Variant& c) {
  for (const Variant* value : {&a, &b, &c})
    if (!IsComparable(*value) || value->IsEmpty()) return;
  if (Number(Compare(a, b)) <= 0 && Number(Compare(b, c)) <= 0)
    Demand(Number(Compare(a, c)) <= 0, "comparisons are transitive",
           [&] { return Shown(a) + ", " + Shown(b) + ", " + Shown(c); });
}

}  // namespace

void Variants(InputReader& input) {
  const std::array<Variant, 3> values{TakeValue(input), TakeValue(input), TakeValue(input)};
  for (const Variant& value : values) {
    CheckConversions(value);
    if (!value.IsArray() && !IsNaN(value))
      Demand(value == Variant(value) && value.Unshared() == value, "a copy is the same",
             [&] { return Shown(value); });
  }
  for (const Variant& a : values)
    for (const Variant& b : values) {
      CheckComparison(a, b);
      for (const Variant& c : values)
        CheckTransitive(a, b, c);
    }
}

}  // namespace orvo::fuzz
