#include "values/DecimalDigits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace orvo {

namespace {

constexpr int LargestScale = 28;
constexpr std::int64_t LongestMagnitude = 29;  // decimal digits of the largest 96-bit number

// A 96-bit number, lowest part first. 32-bit parts leave room for carries on every compiler.
using Magnitude = std::array<std::uint32_t, 3>;

// magnitude * factor + addend; false when that needs more than 96 bits.
bool MultiplyAdd(Magnitude& magnitude, std::uint32_t factor, std::uint32_t addend) noexcept {
  std::uint64_t carry = addend;
  for (std::uint32_t& part : magnitude) {
    carry += std::uint64_t{part} * factor;
    part = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
  return carry == 0;
}

// Divides by ten and returns the remainder.
std::uint32_t DivideByTen(Magnitude& magnitude) noexcept {
  std::uint64_t rest = 0;
  for (std::size_t i = magnitude.size(); i-- > 0;) {
    rest = (rest << 32) | magnitude[i];
    magnitude[i] = static_cast<std::uint32_t>(rest / 10);
    rest %= 10;
  }
  return static_cast<std::uint32_t>(rest);
}

DecimalDigits Normalised(bool negative, std::string digits, std::int64_t point) {
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return {};
  digits.erase(digits.find_last_not_of('0') + 1);
  digits.erase(0, first);
  return {negative, std::move(digits), point - static_cast<std::int64_t>(first)};
}

DecimalDigits Scaled(bool negative, std::string digits, int scale) {
  const auto point = static_cast<std::int64_t>(digits.size()) - scale;
  return Normalised(negative, std::move(digits), point);
}

// The double in scientific notation with so many digits after the first.
DecimalDigits Scientific(double value, int decimals) {
  std::array<char, 800> buffer;  // the longest exact double has 767 digits
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::scientific, decimals);
  return DigitsOf(ScanNumber({buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data())}));
}

}  // namespace

DecimalDigits DigitsOf(std::int64_t value) {
  if (value >= 0) return DigitsOf(static_cast<std::uint64_t>(value));
  return Scaled(true, std::to_string(0 - static_cast<std::uint64_t>(value)), 0);
}

DecimalDigits DigitsOf(std::uint64_t value) {
  return Scaled(false, std::to_string(value), 0);
}

DecimalDigits DigitsOf(Currency value) {
  DecimalDigits number = DigitsOf(value.scaled);
  if (!number.digits.empty()) number.point -= 4;
  return number;
}

DecimalDigits DigitsOf(const Decimal& value) {
  Magnitude magnitude{static_cast<std::uint32_t>(value.low), static_cast<std::uint32_t>(value.low >> 32),
                      value.high};
  std::string digits;
  while (magnitude != Magnitude{})
    digits.push_back(static_cast<char>('0' + DivideByTen(magnitude)));
  std::reverse(digits.begin(), digits.end());
  return Scaled(value.negative, std::move(digits), value.scale);
}

DecimalDigits DigitsOf(const ScannedNumber& number) {
  std::string digits(number.whole);
  digits.append(number.fraction);
  return Normalised(number.negative, std::move(digits),
                    static_cast<std::int64_t>(number.whole.size()) + number.exponent);
}

DecimalDigits DigitsOf(double value) {
  return Scientific(value, 766);
}

DecimalDigits RoundedDigits(double value, int significant) {
  return Scientific(value, significant - 1);
}

std::strong_ordering CompareDigits(const DecimalDigits& a, const DecimalDigits& b) {
  const auto sign = [](const DecimalDigits& number) {
    if (number.digits.empty()) return 0;
    return number.negative ? -1 : 1;
  };
  if (sign(a) != sign(b)) return sign(a) <=> sign(b);
  const DecimalDigits& large = a.negative ? b : a;
  const DecimalDigits& small = a.negative ? a : b;
  if (large.point != small.point) return large.point <=> small.point;
  return large.digits.compare(small.digits) <=> 0;
}

std::optional<Decimal> RoundToScale(const DecimalDigits& number, int scale) {
  const std::int64_t kept = number.point + scale;
  if (kept > LongestMagnitude) return std::nullopt;
  Magnitude magnitude{};
  std::string_view rest;
  if (kept >= 0) {
    const auto count = static_cast<std::size_t>(kept);
    for (std::size_t i = 0; i < count; ++i) {
      const char digit = i < number.digits.size() ? number.digits[i] : '0';
      if (!MultiplyAdd(magnitude, 10, static_cast<std::uint32_t>(digit - '0'))) return std::nullopt;
    }
    rest = std::string_view(number.digits).substr(std::min(count, number.digits.size()));
  }
  const bool isOdd = (magnitude[0] & 1) != 0;
  const bool roundsUp = rest > "5" || (rest == "5" && isOdd);
  if (roundsUp && !MultiplyAdd(magnitude, 1, 1)) return std::nullopt;

  Decimal decimal;
  decimal.scale = static_cast<std::uint8_t>(scale);
  decimal.negative = number.negative && magnitude != Magnitude{};
  decimal.high = magnitude[2];
  decimal.low = (std::uint64_t{magnitude[1]} << 32) | magnitude[0];
  return decimal;
}

std::optional<Decimal> NearestDecimal(const DecimalDigits& number) {
  const std::int64_t decimals = static_cast<std::int64_t>(number.digits.size()) - number.point;
  for (auto scale = static_cast<int>(std::clamp<std::int64_t>(decimals, 0, LargestScale)); scale >= 0; --scale)
    if (const auto decimal = RoundToScale(number, scale)) return decimal;
  return std::nullopt;
}

double NearestDouble(const DecimalDigits& number) {
  const std::string text = (number.negative ? "-." : ".") + number.digits + "0e" + std::to_string(number.point);
  return NearestDouble(ScanNumber(text));
}

std::string PlainText(const DecimalDigits& number) {
  if (number.digits.empty()) return "0";
  std::string text = number.negative ? "-" : "";
  const auto count = static_cast<std::int64_t>(number.digits.size());
  if (number.point <= 0) {
    text.append("0.").append(static_cast<std::size_t>(-number.point), '0').append(number.digits);
  } else if (number.point >= count) {
    text.append(number.digits).append(static_cast<std::size_t>(number.point - count), '0');
  } else {
    const auto whole = static_cast<std::size_t>(number.point);
    text.append(number.digits, 0, whole).append(".").append(number.digits, whole);
  }
  return text;
}

}  // namespace orvo
