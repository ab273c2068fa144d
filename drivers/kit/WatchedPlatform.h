// The platform that a driver under test gets: passes everything on and notes what the driver leaves behind.
//
// An exception that leaves a callback of the driver's is noted and goes no further, so that it is the driver's
// fault and not the end of the program. Called as a ThreadPlatform is: Post by any thread, the rest by the
// owner.
#pragma once

#include "platform/ThreadPlatform.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string>

namespace orvo::kit {

class WatchedPlatform final : public ThreadPlatform {
 public:
  explicit WatchedPlatform(ThreadPlatform& inner);
  ~WatchedPlatform() override;

  std::uint32_t TickCount() const override { return inner_.TickCount(); }
  float SecondsSinceMidnight() const override { return inner_.SecondsSinceMidnight(); }
  Date LocalNow() const override { return inner_.LocalNow(); }
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override;
  void KillTimer(std::int32_t timerId) override;
  void PumpOnce() override { inner_.PumpOnce(); }
  void WaitForWork(std::chrono::milliseconds atMost) override { inner_.WaitForWork(atMost); }
  void Post(std::function<void()> call) override;

  // Timers that were started and not stopped.
  std::size_t TimersAlive() const noexcept { return timers_.size(); }
  // The first exception that left a callback; empty when none did.
  const std::string& Escaped() const noexcept;
  // Nothing of the driver's runs any more: its timers are stopped, its waiting calls dropped, later ones too.
  void End();

 private:
  struct Calls;

  ThreadPlatform& inner_;
  std::set<std::int32_t> timers_;
  // Shared with what waits in the inner platform, which may outlive this object.
  const std::shared_ptr<Calls> calls_;
};

}  // namespace orvo::kit
