#include "values/Dates.h"

#include "errors/AutomationError.h"

#include <chrono>
#include <cmath>

namespace orvo {

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr sys_days DayZero = std::chrono::year{1899} / 12 / 30;
constexpr std::int64_t FirstDay = (sys_days{std::chrono::year{100} / 1 / 1} - DayZero).count();
constexpr std::int64_t LastDay = (sys_days{std::chrono::year{9999} / 12 / 31} - DayZero).count();
constexpr std::int64_t MillisecondsPerDay = 86'400'000;
constexpr std::int64_t SecondsPerDay = 86'400;

struct SplitDate {
  std::int64_t day;   // since day 0
  std::int64_t time;  // parts of the day since midnight
};

// The date to the nearest of the day's `parts`. Error 6 outside the years 100..9999.
SplitDate Split(Date date, std::int64_t parts) {
  if (!IsDateInRange(date)) RaiseRuntimeError(RuntimeError::Overflow);
  const double whole = std::trunc(date.days);
  const double fraction = std::fabs(date.days - whole);
  SplitDate split{static_cast<std::int64_t>(whole),
                  static_cast<std::int64_t>(std::floor(fraction * static_cast<double>(parts) + 0.5))};
  if (split.time >= parts) {
    split.time = 0;
    if (++split.day > LastDay) RaiseRuntimeError(RuntimeError::Overflow);
  }
  return split;
}

year_month_day CalendarDay(std::int64_t day) noexcept {
  return year_month_day{DayZero + days{static_cast<days::rep>(day)}};
}

bool IsWithin(std::int32_t value, std::int32_t low, std::int32_t high) noexcept {
  return value >= low && value <= high;
}

// Appends a number that is not negative, filled up with zeros on the left.
void AppendPadded(std::string& text, std::int64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  if (digits.size() < width) text.append(width - digits.size(), '0');
  text.append(digits);
}

}  // namespace

bool IsDateInRange(Date date) noexcept {
  const double whole = std::trunc(date.days);
  return whole >= static_cast<double>(FirstDay) && whole <= static_cast<double>(LastDay);
}

Date DateFromCivil(const CivilTime& civil) {
  const year_month_day calendar{std::chrono::year{civil.year},
                                std::chrono::month{static_cast<unsigned>(civil.month)},
                                std::chrono::day{static_cast<unsigned>(civil.day)}};
  const bool exists = IsWithin(civil.year, 100, 9999) && IsWithin(civil.month, 1, 12) &&
                      IsWithin(civil.day, 1, 31) && calendar.ok() && IsWithin(civil.hour, 0, 23) &&
                      IsWithin(civil.minute, 0, 59) && IsWithin(civil.second, 0, 59) &&
                      IsWithin(civil.millisecond, 0, 999);
  if (!exists) RaiseRuntimeError(RuntimeError::InvalidProcedureCall);
  const auto day = static_cast<double>((sys_days{calendar} - DayZero).count());
  const std::int64_t seconds = (std::int64_t{civil.hour} * 60 + civil.minute) * 60 + civil.second;
  const double fraction =
      static_cast<double>(seconds * 1000 + civil.millisecond) / static_cast<double>(MillisecondsPerDay);
  return {day < 0 ? day - fraction : day + fraction};
}

CivilTime CivilFromDate(Date date) {
  const SplitDate split = Split(date, MillisecondsPerDay);
  const year_month_day calendar = CalendarDay(split.day);
  CivilTime civil;
  civil.year = static_cast<int>(calendar.year());
  civil.month = static_cast<std::int32_t>(static_cast<unsigned>(calendar.month()));
  civil.day = static_cast<std::int32_t>(static_cast<unsigned>(calendar.day()));
  civil.hour = static_cast<std::int32_t>(split.time / 3'600'000);
  civil.minute = static_cast<std::int32_t>(split.time / 60'000 % 60);
  civil.second = static_cast<std::int32_t>(split.time / 1000 % 60);
  civil.millisecond = static_cast<std::int32_t>(split.time % 1000);
  return civil;
}

std::string DateText(Date date) {
  const SplitDate split = Split(date, SecondsPerDay);
  std::string text;
  if (split.day != 0) {
    const year_month_day calendar = CalendarDay(split.day);
    AppendPadded(text, static_cast<int>(calendar.year()), 4);
    AppendPadded(text.append("-"), static_cast<unsigned>(calendar.month()), 2);
    AppendPadded(text.append("-"), static_cast<unsigned>(calendar.day()), 2);
    if (split.time == 0) return text;
    text.append(" ");
  }
  AppendPadded(text, split.time / 3600, 2);
  AppendPadded(text.append(":"), split.time / 60 % 60, 2);
  AppendPadded(text.append(":"), split.time % 60, 2);
  return text;
}

}  // namespace orvo
