#include "spooler/ReentrancyLock.h"

#include "errors/modConstant.h"

#include <cmath>

namespace orvo {

bool ReentrancyLock::Take(ThreadPlatform& platform) {
  if (!taken_) {
    taken_ = true;
    return true;
  }
  const float start = platform.SecondsSinceMidnight();
  for (;;) {
    platform.PumpOnce();
    if (!taken_) {
      taken_ = true;
      return true;
    }
    // kept: the difference is absolute, so a wait across midnight breaks the lock at once.
    if (std::abs(platform.SecondsSinceMidnight() - start) > LockBreakSeconds) {
      taken_ = false;
      return false;
    }
    platform.WaitForWork(MinimumTimerPeriod);  // a short wait: the clock may pass midnight or be set meanwhile
  }
}

}  // namespace orvo
