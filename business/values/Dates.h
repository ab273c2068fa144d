// Automation dates: days since 1899-12-30 in local time, the time of day as fraction (for negative days the
// fraction still counts forward from midnight).
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <string>

namespace orvo {

struct CivilTime {
  std::int32_t year = 1899;
  std::int32_t month = 12;  // 1..12
  std::int32_t day = 30;    // 1..31
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  std::int32_t second = 0;
  std::int32_t millisecond = 0;
};

// Whether the date lies in the years 100..9999 (false for NaN).
bool IsDateInRange(Date date) noexcept;
// Error 5 for a civil time that does not exist or lies outside the years 100..9999.
Date DateFromCivil(const CivilTime& civil);
// To the nearest millisecond. Error 6 outside the years 100..9999.
CivilTime CivilFromDate(Date date);
// "YYYY-MM-DD hh:mm:ss" to the nearest second, the date alone at midnight, the time alone on day 0 ("00:00:00"
// for midnight of day 0). Error 6 outside the years 100..9999.
std::string DateText(Date date);

}  // namespace orvo
