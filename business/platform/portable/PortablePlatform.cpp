#include "platform/portable/PortablePlatform.h"

#include "platform/LocalTime.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace orvo {

namespace {

constexpr std::chrono::milliseconds LongestRealWait = std::chrono::hours(24 * 365);

std::chrono::milliseconds WithinYear(std::chrono::milliseconds duration) {
  return std::clamp(duration, std::chrono::milliseconds{0}, LongestRealWait);
}

CivilTime LocalCivil() {
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const auto second = std::chrono::floor<std::chrono::seconds>(now);
  const std::time_t time = std::chrono::system_clock::to_time_t(second);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &time);
#else
  localtime_r(&time, &local);
#endif
  // A leap second, which automation dates lack, repeats the last second of its minute.
  return {local.tm_year + 1900,
          local.tm_mon + 1,
          local.tm_mday,
          local.tm_hour,
          local.tm_min,
          std::min(local.tm_sec, 59),
          static_cast<std::int32_t>((now - second).count())};
}

}  // namespace

PortablePlatform::PortablePlatform() = default;

PortablePlatform::~PortablePlatform() {
  queue_.Close();
}

std::chrono::milliseconds PortablePlatform::Now() const {
  return std::chrono::floor<std::chrono::milliseconds>(Steady::now() - start_);
}

std::uint32_t PortablePlatform::TickCount() const {
  const auto sinceBoot = std::chrono::floor<std::chrono::milliseconds>(Steady::now().time_since_epoch());
  return static_cast<std::uint32_t>(sinceBoot.count());
}

float PortablePlatform::SecondsSinceMidnight() const {
  return SecondsOfDay(LocalCivil());
}

Date PortablePlatform::LocalNow() const {
  return DateFromCivil(LocalCivil());
}

std::int32_t PortablePlatform::SetTimer(std::chrono::milliseconds period, TimerCallback callback) {
  return queue_.SetTimer(period, std::move(callback));
}

void PortablePlatform::KillTimer(std::int32_t timerId) {
  queue_.KillTimer(timerId);
}

void PortablePlatform::PumpOnce() {
  queue_.PumpOnce();
}

void PortablePlatform::WaitForWork(std::chrono::milliseconds atMost) {
  Steady::time_point until = Steady::now() + WithinYear(atMost);
  if (const auto deadline = queue_.NextDeadline()) until = std::min(until, start_ + *deadline);
  queue_.WaitForPost(until);
}

void PortablePlatform::Post(std::function<void()> call) {
  std::shared_ptr<const std::function<void()>> wake;
  if (std::this_thread::get_id() != owner_) {
    const std::lock_guard lock(wakeMutex_);
    wake = wake_;
  }
  queue_.Post(std::move(call));
  if (wake) (*wake)();
}

std::optional<std::chrono::milliseconds> PortablePlatform::NextDeadline() const {
  if (queue_.HasPosted()) return std::chrono::milliseconds{0};
  const auto deadline = queue_.NextDeadline();
  if (!deadline) return std::nullopt;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(start_ + *deadline - Steady::now());
  return std::max(left, std::chrono::milliseconds{0});
}

void PortablePlatform::OnPosted(std::function<void()> wake) {
  std::shared_ptr<const std::function<void()>> hook;
  if (wake) hook = std::make_shared<const std::function<void()>>(std::move(wake));
  const std::lock_guard lock(wakeMutex_);
  wake_.swap(hook);
}

void PortablePlatform::RunFor(std::chrono::milliseconds duration) {
  RunUntil([] { return false; }, duration);
}

bool PortablePlatform::RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const Steady::time_point end = Steady::now() + WithinYear(limit);
  while (!done()) {
    WaitForWork(std::chrono::ceil<std::chrono::milliseconds>(end - Steady::now()));
    PumpOnce();
    if (Steady::now() >= end) return done();
  }
  return true;
}

}  // namespace orvo
