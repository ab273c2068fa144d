// Exact decimal numbers of any length: what conversions and comparisons of currency, decimals and texts compute
// with. Internal to this folder.
#pragma once

#include "values/DecimalScan.h"
#include "values/Variant.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

namespace orvo {

// The number 0.d1d2d3... times ten to the power `point`. Neither end of `digits` is a zero; 0 has no digits, no
// sign and point 0.
struct DecimalDigits {
  bool negative = false;
  std::string digits;
  std::int64_t point = 0;
};

DecimalDigits DigitsOf(std::int64_t value);
DecimalDigits DigitsOf(std::uint64_t value);
DecimalDigits DigitsOf(Currency value);
DecimalDigits DigitsOf(const Decimal& value);
DecimalDigits DigitsOf(const ScannedNumber& number);
// The exact value of a finite double, however many digits that takes.
DecimalDigits DigitsOf(double value);
// A finite double rounded to so many significant digits (1..17).
DecimalDigits RoundedDigits(double value, int significant);

std::strong_ordering CompareDigits(const DecimalDigits& a, const DecimalDigits& b);

// The number with `scale` decimals (0..28), halves to even; nothing when the magnitude needs more than 96 bits.
std::optional<Decimal> RoundToScale(const DecimalDigits& number, int scale);
// The number with as many decimals as it has and as 96 bits and a scale of 28 allow; nothing when it is too
// large.
std::optional<Decimal> NearestDecimal(const DecimalDigits& number);
// The nearest double; infinite beyond its range.
double NearestDouble(const DecimalDigits& number);

// All digits, a point only before decimals: "-0.05", "1200".
std::string PlainText(const DecimalDigits& number);

}  // namespace orvo
