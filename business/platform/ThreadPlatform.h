// Everything that a server needs of its thread: clock, timers, message pump. One object per thread.
//
// All functions but Post are called on the owning thread. Timers behave like the thread timers of a windowing
// system: periodic, at least 10 ms, late ticks coalesced into one, delivered only by the pump; a nested pump
// can run a timer's callback inside itself; the tick of a timer that was killed after it came due can still
// arrive.
#pragma once

#include "platform/ThreadModules.h"
#include "values/Variant.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace orvo {

inline constexpr std::chrono::milliseconds MinimumTimerPeriod{10};

class ThreadPlatform {
 public:
  using TimerCallback = std::function<void(std::int32_t timerId)>;

  ThreadPlatform() = default;
  ThreadPlatform(const ThreadPlatform&) = delete;
  ThreadPlatform& operator=(const ThreadPlatform&) = delete;
  virtual ~ThreadPlatform() = default;

  // Milliseconds of the system tick counter; wraps at 2^32.
  virtual std::uint32_t TickCount() const = 0;
  // Local time of day in seconds, 0 up to 86400, in single precision; falls back to 0 at midnight.
  virtual float SecondsSinceMidnight() const = 0;
  // Local date and time.
  virtual Date LocalNow() const = 0;

  // Starts a periodic timer and returns its identifier (positive, not used again soon). A period below
  // MinimumTimerPeriod is raised to it. The callback must not throw.
  virtual std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) = 0;
  // Stops the timer; an identifier that names none is ignored.
  virtual void KillTimer(std::int32_t timerId) = 0;

  // One pass of the message pump: runs the calls that were posted before the pass began, in their order, then
  // each timer that is due, once, in the order of their deadlines (equal ones in the order of their start). May
  // be called from inside a callback.
  virtual void PumpOnce() = 0;
  // Blocks, without using the processor, until a posted call or a due timer is pending, at most for `atMost`.
  // Runs nothing.
  virtual void WaitForWork(std::chrono::milliseconds atMost) = 0;
  // Has `call` run on the owning thread by a later pass of its pump. The one function that other threads may
  // call. `call` must not throw. Calls that are still waiting when the platform ends are dropped.
  virtual void Post(std::function<void()> call) = 0;

  // The state of `Module` that belongs to this thread; made with *this at the first call.
  template <class Module>
  Module& ModuleState() {
    return modules_.Get<Module>(*this);
  }

 private:
  ThreadModules modules_;
};

}  // namespace orvo
