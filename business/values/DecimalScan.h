// Reading of decimal numbers in texts, shared by the text helpers and the conversions. Internal to this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvo {

// A number as it stands in a text. The views point into that text.
struct ScannedNumber {
  bool negative = false;
  std::string_view whole;      // digits before the point
  std::string_view fraction;   // digits after it; at least one of the two has a digit
  std::string_view magnitude;  // everything after the sign: digits, point and exponent
  std::int64_t exponent = 0;   // power of ten, held within +-ExponentLimit
  bool hasExponentD = false;   // the exponent letter is d or D
  std::size_t length = 0;      // characters read, sign included; 0 when there is no number
};

// Beyond it every number that fits into memory is far outside, or far below, the range of every kind.
inline constexpr std::int64_t ExponentLimit = 1'000'000'000'000'000;

// Reads the longest number that `text` starts with: sign, digits, fraction, exponent (letters e, E, d, D). No
// blanks.
ScannedNumber ScanNumber(std::string_view text) noexcept;

// The nearest double; infinite beyond the range of a double, 0 below it (both with the number's sign).
double NearestDouble(const ScannedNumber& number) noexcept;

// Nearest whole number, halves to even, in whatever rounding mode the host has left the processor.
double RoundHalfToEven(double value) noexcept;

}  // namespace orvo
