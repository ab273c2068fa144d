// The simulated platform with a listener: who ticks, and when somebody reads the clock.
#pragma once

#include "platform/simulated/SimulatedPlatform.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace orvo::testing {

class PlatformListener {
 public:
  PlatformListener() = default;
  PlatformListener(const PlatformListener&) = delete;
  PlatformListener& operator=(const PlatformListener&) = delete;
  virtual ~PlatformListener() = default;

  // Around each timer's callback, ticks inside ticks included.
  virtual void TickBegins(std::int32_t timerId) = 0;
  virtual void TickEnds(std::int32_t timerId) = 0;
  // Somebody got this answer for the seconds since midnight.
  virtual void ClockRead(float seconds) = 0;
};

class HookedPlatform final : public ThreadPlatform {
 public:
  // The listener hears nothing before it is put and after null is put.
  void Listen(PlatformListener* listener) noexcept { listener_ = listener; }
  SimulatedPlatform& Time() noexcept { return inner_; }
  // Of a timer that was ever started.
  std::chrono::milliseconds PeriodOf(std::int32_t timerId) const { return periods_.at(timerId); }

  std::uint32_t TickCount() const override { return inner_.TickCount(); }
  float SecondsSinceMidnight() const override {
    const float seconds = inner_.SecondsSinceMidnight();
    if (listener_ != nullptr) listener_->ClockRead(seconds);
    return seconds;
  }
  Date LocalNow() const override { return inner_.LocalNow(); }
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override {
    const std::int32_t id =
        inner_.SetTimer(period, [this, callback = std::move(callback)](std::int32_t timerId) {
          if (listener_ != nullptr) listener_->TickBegins(timerId);
          callback(timerId);
          if (listener_ != nullptr) listener_->TickEnds(timerId);
        });
    periods_[id] = period;
    if (periods_.size() > PeriodsKept) periods_.erase(periods_.begin());
    return id;
  }
  void KillTimer(std::int32_t timerId) override { inner_.KillTimer(timerId); }
  void PumpOnce() override { inner_.PumpOnce(); }
  void WaitForWork(std::chrono::milliseconds atMost) override { inner_.WaitForWork(atMost); }
  void Post(std::function<void()> call) override { inner_.Post(std::move(call)); }

 private:
  static constexpr std::size_t PeriodsKept = 100'000;
  SimulatedPlatform inner_;
  PlatformListener* listener_ = nullptr;
  std::map<std::int32_t, std::chrono::milliseconds> periods_;
};

}  // namespace orvo::testing
