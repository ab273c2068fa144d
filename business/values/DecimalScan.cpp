#include "values/DecimalScan.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

namespace orvo {

namespace {

constexpr bool IsDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

// The digits that `text` has from `position` on; moves `position` behind them.
std::string_view TakeDigits(std::string_view text, std::size_t& position) noexcept {
  const std::size_t first = position;
  while (position < text.size() && IsDigit(text[position]))
    ++position;
  return text.substr(first, position - first);
}

bool TakeSign(std::string_view text, std::size_t& position) noexcept {
  if (position == text.size() || (text[position] != '+' && text[position] != '-')) return false;
  return text[position++] == '-';
}

// Whether the number, if it is no zero, has digits before its decimal point once the exponent is applied.
bool IsLarge(const ScannedNumber& number) noexcept {
  const std::size_t leading = number.whole.find_first_not_of('0');
  if (leading != std::string_view::npos)
    return static_cast<std::int64_t>(number.whole.size() - leading) + number.exponent > 0;
  const std::size_t zeros = number.fraction.find_first_not_of('0');
  return zeros != std::string_view::npos && number.exponent > static_cast<std::int64_t>(zeros);
}

}  // namespace

ScannedNumber ScanNumber(std::string_view text) noexcept {
  ScannedNumber number;
  std::size_t position = 0;
  number.negative = TakeSign(text, position);
  const std::size_t first = position;
  number.whole = TakeDigits(text, position);
  if (position < text.size() && text[position] == '.') {
    ++position;
    number.fraction = TakeDigits(text, position);
  }
  if (number.whole.empty() && number.fraction.empty()) return {};
  number.length = position;

  if (position < text.size() && std::string_view("eEdD").find(text[position]) != std::string_view::npos) {
    const bool d = text[position] == 'd' || text[position] == 'D';
    ++position;
    const bool negative = TakeSign(text, position);
    const std::string_view digits = TakeDigits(text, position);
    if (!digits.empty()) {
      std::int64_t exponent = 0;
      for (const char digit : digits) {
        exponent = exponent * 10 + (digit - '0');
        if (exponent > ExponentLimit) exponent = ExponentLimit;
      }
      number.exponent = negative ? -exponent : exponent;
      number.hasExponentD = d;
      number.length = position;
    }
  }
  number.magnitude = text.substr(first, number.length - first);
  return number;
}

double NearestDouble(const ScannedNumber& number) noexcept {
  std::string rewritten;
  std::string_view text = number.magnitude;
  if (number.hasExponentD) {
    rewritten = text;
    rewritten[rewritten.find_first_of("dD")] = 'e';
    text = rewritten;
  }
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range)
    value = IsLarge(number) ? std::numeric_limits<double>::infinity() : 0.0;
  return number.negative ? -value : value;
}

double RoundHalfToEven(double value) noexcept {
  const double below = std::floor(value);
  const double rest = value - below;  // exact; NaN for what has no fraction to round
  if (rest > 0.5) return below + 1;
  if (rest == 0.5) return std::fmod(below, 2) == 0 ? below : below + 1;
  return std::isinf(value) ? value : below;
}

}  // namespace orvo
