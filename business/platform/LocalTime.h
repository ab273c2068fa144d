// The time of day as every platform reports it.
#pragma once

#include "values/Dates.h"

namespace orvo {

// Seconds since midnight in single precision: 0 up to the last single below 86400.
float SecondsOfDay(const CivilTime& time) noexcept;

}  // namespace orvo
