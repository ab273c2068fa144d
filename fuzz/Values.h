// Values that a fuzz input describes, and the numbers in them as exactly as they can be said: what conversions
// are compared with.
#pragma once

#include "InputReader.h"
#include "values/Variant.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvo::fuzz {

// Any scalar, or an array of bytes, of numbers or of values.
Variant TakeValue(InputReader& input);
Variant TakeScalar(InputReader& input);
// Kind and content, for messages.
std::string Shown(const Variant& value);

// The value as (-1)^negative * magnitude / 10^scale; scale is 0 to 28.
struct ExactNumber {
  __extension__ using Wide = unsigned __int128;
  bool negative = false;
  Wide magnitude = 0;
  int scale = 0;

  // Rounded to so many decimals (not more than 28), halves to even.
  ExactNumber Rounded(int decimals) const;
  // Less than 0, 0, more than 0.
  static int Compare(const ExactNumber& a, const ExactNumber& b);
  bool IsZero() const noexcept { return magnitude == 0; }
};

// Of integers, booleans (true is -1), currency, decimals and texts of at most 28 digits without an exponent;
// nothing for other values.
std::optional<ExactNumber> ExactValue(const Variant& value);
// Of integers, booleans, floating-point numbers and dates.
std::optional<long double> FloatingValue(const Variant& value);

enum class NumberForm { None, Decimal, Bits };
// What kind of number a text spells: sign, digits with a point, exponent; or "&H" and "&O" with digits.
NumberForm FormOf(const std::string& text);
// The nearest double of a text of the decimal form, as the C library reads it.
double LibraryDouble(const std::string& text);

}  // namespace orvo::fuzz
