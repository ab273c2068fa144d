#include "platform/simulated/SimulatedPlatform.h"

#include "platform/LocalTime.h"

#include <algorithm>
#include <optional>

namespace orvo {

namespace {

constexpr std::chrono::milliseconds LongestVirtualWait = std::chrono::hours(24 * 365);

std::chrono::milliseconds SinceEpoch(const CivilTime& time) {
  const auto date = std::chrono::year(time.year) / static_cast<int>(time.month) / static_cast<int>(time.day);
  return std::chrono::local_days(date).time_since_epoch() + std::chrono::hours(time.hour) +
         std::chrono::minutes(time.minute) + std::chrono::seconds(time.second) +
         std::chrono::milliseconds(time.millisecond);
}

}  // namespace

SimulatedPlatform::SimulatedPlatform(const CivilTime& localTime, std::uint32_t tickCount)
    : tickCountAtZero_(tickCount) {
  PutLocalTime(localTime);
}

SimulatedPlatform::~SimulatedPlatform() {
  queue_.Close();
  while (!killed_.empty()) {
    const auto last = std::exchange(killed_, {});  // their end may stop timers
  }
}

std::uint32_t SimulatedPlatform::TickCount() const {
  return static_cast<std::uint32_t>(tickCountAtZero_ + static_cast<std::uint64_t>(now_.count()));
}

float SimulatedPlatform::SecondsSinceMidnight() const {
  return SecondsOfDay(LocalCivil());
}

Date SimulatedPlatform::LocalNow() const {
  return DateFromCivil(LocalCivil());
}

CivilTime SimulatedPlatform::LocalCivil() const {
  const std::chrono::milliseconds local = localAtZero_ + now_;
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date{std::chrono::local_days(day)};
  const std::chrono::hh_mm_ss<std::chrono::milliseconds> time{local - day};
  return {static_cast<int>(date.year()),
          static_cast<std::int32_t>(static_cast<unsigned>(date.month())),
          static_cast<std::int32_t>(static_cast<unsigned>(date.day())),
          static_cast<std::int32_t>(time.hours().count()),
          static_cast<std::int32_t>(time.minutes().count()),
          static_cast<std::int32_t>(time.seconds().count()),
          static_cast<std::int32_t>(time.subseconds().count())};
}

std::int32_t SimulatedPlatform::SetTimer(std::chrono::milliseconds period, TimerCallback callback) {
  return queue_.SetTimer(period, std::move(callback));
}

void SimulatedPlatform::KillTimer(std::int32_t timerId) {
  std::shared_ptr<const TimerCallback> callback = queue_.KillTimer(timerId);
  if (!callback) return;
  killed_.emplace_back(timerId, std::move(callback));
  if (killed_.size() <= LateTicksKept) return;
  const auto oldest = std::move(killed_.front());  // its end may stop timers: the list is whole then
  killed_.pop_front();
}

void SimulatedPlatform::PumpOnce() {
  queue_.PumpOnce();
}

void SimulatedPlatform::WaitForWork(std::chrono::milliseconds atMost) {
  if (queue_.HasWork()) return;
  std::chrono::milliseconds target =
      now_ + std::clamp(atMost, std::chrono::milliseconds{0}, LongestVirtualWait);
  if (const auto deadline = queue_.NextDeadline()) target = std::min(target, *deadline);
  now_ = target;
}

void SimulatedPlatform::Post(std::function<void()> call) {
  queue_.Post(std::move(call));
}

void SimulatedPlatform::PutLocalTime(const CivilTime& localTime) {
  DateFromCivil(localTime);  // refuses what does not exist
  localAtZero_ = SinceEpoch(localTime) - now_;
}

void SimulatedPlatform::PutTickCount(std::uint32_t tickCount) noexcept {
  tickCountAtZero_ = static_cast<std::uint32_t>(tickCount - static_cast<std::uint64_t>(now_.count()));
}

void SimulatedPlatform::Advance(std::chrono::milliseconds duration) {
  const std::chrono::milliseconds target = now_ + std::max(duration, std::chrono::milliseconds{0});
  if (queue_.HasWork()) PumpUntilQuiet();
  while (true) {
    const std::optional<std::chrono::milliseconds> deadline = queue_.NextDeadline();
    if (!deadline || *deadline >= target) break;
    now_ = std::max(now_, *deadline);
    PumpUntilQuiet();
  }
  now_ = std::max(now_, target);
  PumpUntilQuiet();
}

void SimulatedPlatform::PumpUntilQuiet() {
  for (int pass = 0; pass < PassesPerStop; ++pass) {
    PumpOnce();
    if (!queue_.HasPosted()) return;
  }
}

void SimulatedPlatform::Jump(std::chrono::milliseconds duration) {
  now_ += std::max(duration, std::chrono::milliseconds{0});
}

bool SimulatedPlatform::DeliverLateTick(std::int32_t timerId) {
  const auto found = std::find_if(killed_.rbegin(), killed_.rend(),
                                  [timerId](const auto& entry) { return entry.first == timerId; });
  if (found == killed_.rend()) return false;
  const std::shared_ptr<const TimerCallback> callback = found->second;
  (*callback)(timerId);
  return true;
}

}  // namespace orvo
