// A platform with virtual time, for tests and simulations: nothing happens by itself and nothing ever blocks.
//
// Time stands still but for Advance, Jump and WaitForWork. The same calls give the same run. One thread, Post
// aside: a test with other threads ends them before it expects their calls, because waiting costs no real time.
// Callbacks may call every function here; virtual time never runs backwards.
#pragma once

#include "platform/MessageQueue.h"
#include "platform/ThreadPlatform.h"
#include "values/Dates.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

namespace orvo {

class SimulatedPlatform final : public ThreadPlatform {
 public:
  // Monday noon, and a tick count that is no special number.
  static constexpr CivilTime DefaultStart{2024, 1, 15, 12, 0, 0, 0};
  static constexpr std::uint32_t DefaultTickCount = 100000;

  // Error 5 for a local time that does not exist.
  explicit SimulatedPlatform(const CivilTime& localTime = DefaultStart,
                             std::uint32_t tickCount = DefaultTickCount);
  ~SimulatedPlatform() override;

  std::uint32_t TickCount() const override;
  float SecondsSinceMidnight() const override;
  // Error 5 after the year 9999.
  Date LocalNow() const override;
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override;
  void KillTimer(std::int32_t timerId) override;
  void PumpOnce() override;
  // Returns at once when a posted call or a due timer is pending; otherwise moves time to the next deadline, or
  // by `atMost` (of which more than a year counts as a year) when that is earlier.
  void WaitForWork(std::chrono::milliseconds atMost) override;
  void Post(std::function<void()> call) override;

  // Sets the clocks as a user does: running timers are not affected. PutLocalTime: error 5 for a local time
  // that does not exist; then nothing changes.
  void PutLocalTime(const CivilTime& localTime);
  void PutTickCount(std::uint32_t tickCount) noexcept;

  // An application that pumps all the time for `duration` (0 or longer): stops at each deadline on the way and
  // at the end, and pumps there until no posted call is left. A call that posts itself again and again is cut
  // off after PassesPerStop passes and goes on at the next stop.
  // When a callback advances further than this call was to go, time stays there.
  void Advance(std::chrono::milliseconds duration);
  static constexpr int PassesPerStop = 1000;

  // An application that is stalled for `duration` (0 or longer): time moves, nothing runs.
  void Jump(std::chrono::milliseconds duration);

  // Calls the callback of a timer that was killed, as does a tick that was already under way. Returns false,
  // and does nothing, when `timerId` was never killed or is not among the last LateTicksKept that were. Their
  // callbacks, and what these hold, stay alive until then.
  bool DeliverLateTick(std::int32_t timerId);
  static constexpr std::size_t LateTicksKept = 1000;

  // Virtual time since the platform was made.
  std::chrono::milliseconds Now() const noexcept { return now_; }
  std::size_t TimersAlive() const noexcept { return queue_.TimersAlive(); }

 private:
  CivilTime LocalCivil() const;
  void PumpUntilQuiet();

  std::chrono::milliseconds now_{0};
  std::chrono::milliseconds localAtZero_{0};  // local time at now_ == 0, since 1970-01-01
  std::uint32_t tickCountAtZero_ = 0;
  std::deque<std::pair<std::int32_t, std::shared_ptr<const TimerCallback>>> killed_;  // oldest first
  MessageQueue queue_{[this] { return now_; }};
};

}  // namespace orvo
