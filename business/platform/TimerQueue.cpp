#include "platform/TimerQueue.h"

#include <algorithm>

namespace orvo {

std::int32_t TimerQueue::Add(Time period, Time now, Callback callback) {
  period = std::clamp(period, Time{1}, LongestPeriod);
  std::int32_t id = lastId_;
  do {
    id = id == largestId_ ? 1 : id + 1;
  } while (timers_.contains(id));
  const Place place{now + period, ++lastStart_};
  timers_.emplace(id, Timer{period, place, std::make_shared<const Callback>(std::move(callback))});
  schedule_.emplace(place, id);
  lastId_ = id;
  return id;
}

std::shared_ptr<const TimerQueue::Callback> TimerQueue::Kill(std::int32_t timerId) {
  const auto found = timers_.find(timerId);
  if (found == timers_.end()) return nullptr;
  std::shared_ptr<const Callback> callback = std::move(found->second.callback);
  schedule_.erase(found->second.place);
  timers_.erase(found);
  return callback;
}

std::optional<TimerQueue::Time> TimerQueue::NextDeadline() const {
  if (schedule_.empty()) return std::nullopt;
  return schedule_.begin()->first.first;
}

std::optional<TimerQueue::Tick> TimerQueue::TakeDue(Time dueBy, Time now) {
  if (schedule_.empty() || schedule_.begin()->first.first > dueBy) return std::nullopt;
  auto entry = schedule_.extract(schedule_.begin());
  const std::int32_t id = entry.mapped();
  Timer& timer = timers_.at(id);
  const Time deadline = timer.place.first;
  timer.place.first = deadline + ((std::max(now, dueBy) - deadline) / timer.period + 1) * timer.period;
  entry.key() = timer.place;
  schedule_.insert(std::move(entry));
  return Tick{id, timer.callback};
}

}  // namespace orvo
