// The platform on the standard library: steady clock, local time of the system, timers and posted calls.
//
// The thread that makes it owns it. An application without a loop of its own uses RunFor and RunUntil. One that
// has a loop waits in its own way until NextDeadline() has passed or the OnPosted hook was called, and then
// calls PumpOnce. The platform ends when no other thread can be inside Post any more.
#pragma once

#include "platform/MessageQueue.h"
#include "platform/ThreadPlatform.h"
#include "values/Dates.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace orvo {

class PortablePlatform final : public ThreadPlatform {
 public:
  PortablePlatform();
  ~PortablePlatform() override;

  std::uint32_t TickCount() const override;
  float SecondsSinceMidnight() const override;
  Date LocalNow() const override;
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override;
  void KillTimer(std::int32_t timerId) override;
  void PumpOnce() override;
  // `atMost` below 0 counts as 0; of more than a year, a year counts.
  void WaitForWork(std::chrono::milliseconds atMost) override;
  void Post(std::function<void()> call) override;

  // For a host with its own loop.

  // Time until the next pass has something to run: 0 when a posted call or a due timer is pending, else the
  // time to the next timer deadline, rounded up; nothing when there is no timer.
  std::optional<std::chrono::milliseconds> NextDeadline() const;
  // Has `wake` called after each Post of a thread other than the owner, on that thread; an empty function ends
  // this. It only wakes the host's loop: it must not throw, and threads may be inside it at the same time. A
  // thread inside Post may still call the former hook once while it is replaced.
  void OnPosted(std::function<void()> wake);

  // For an application without a loop. Both pump and wait in turn, and may be called from inside a callback.

  // Runs for `duration`; at least one pass.
  void RunFor(std::chrono::milliseconds duration);
  // Runs until `done` answers true, at most for `limit`; returns its last answer. `done` is asked at first,
  // when no pass may be needed at all, and after each pass: what it depends on is changed by a callback or a
  // posted call.
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

 private:
  using Steady = std::chrono::steady_clock;

  std::chrono::milliseconds Now() const;

  const std::thread::id owner_ = std::this_thread::get_id();
  const Steady::time_point start_ = Steady::now();
  MessageQueue queue_{[this] { return Now(); }};

  std::mutex wakeMutex_;  // guards wake_; not held while it is called
  std::shared_ptr<const std::function<void()>> wake_;
};

}  // namespace orvo
