#include "platform/LocalTime.h"

#include <algorithm>

namespace orvo {

float SecondsOfDay(const CivilTime& time) noexcept {
  const double seconds = (time.hour * 60.0 + time.minute) * 60.0 + time.second + time.millisecond / 1000.0;
  // The last milliseconds of the day round to 86400 in single precision, a time that no day has.
  constexpr float LastOfDay = 86400.0F - 1.0F / 128;
  return std::min(static_cast<float>(seconds), LastOfDay);
}

}  // namespace orvo
