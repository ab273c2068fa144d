// Periodic timers without a clock: every function is told the time, in milliseconds since an arbitrary start.
//
// One thread. Time must not run backwards between calls. Each operation is O(log n) in the number of timers.
// The queue never calls a callback; it hands it out, so a callback may call any function here, itself included.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>

namespace orvo {

class TimerQueue {
 public:
  using Time = std::chrono::milliseconds;
  using Callback = std::function<void(std::int32_t timerId)>;

  // A tick that is to be delivered. It shares the callback, which so outlives a timer that is killed meanwhile.
  struct Tick {
    std::int32_t timerId;
    std::shared_ptr<const Callback> callback;
  };

  // Identifiers run from 1 to `largestId`; fewer timers than that may be alive at a time.
  explicit TimerQueue(std::int32_t largestId = std::numeric_limits<std::int32_t>::max()) noexcept
      : largestId_(largestId) {}

  // Starts a timer whose first deadline is `now` + `period`, and returns its identifier: positive, increasing,
  // after the largest one again from 1, never that of a timer alive. A period below 1 ms is raised to it, one
  // above LongestPeriod is lowered to it.
  std::int32_t Add(Time period, Time now, Callback callback);
  // Ends the timer and returns its callback; null when there is no such timer.
  std::shared_ptr<const Callback> Kill(std::int32_t timerId);

  // The earliest deadline; nothing when there is no timer.
  std::optional<Time> NextDeadline() const;
  std::size_t Count() const noexcept { return timers_.size(); }

  // Takes the tick of the first timer with a deadline up to `dueBy`: the earliest deadline, of equal ones the
  // timer that was started first. Nothing when none is due. The timer's next deadline is the first one after
  // `now` that is whole periods away from the one taken: late ticks become one, the phase is kept. A pass calls
  // this with the time of its start as `dueBy` until there is nothing more: because `now` >= `dueBy`, each
  // timer is taken once in a pass, however passes are nested.
  std::optional<Tick> TakeDue(Time dueBy, Time now);

  static constexpr Time LongestPeriod = std::chrono::hours(24 * 36525);

 private:
  using Place = std::pair<Time, std::uint64_t>;  // deadline, start number
  struct Timer {
    Time period;
    Place place;
    std::shared_ptr<const Callback> callback;
  };

  std::int32_t largestId_;
  std::int32_t lastId_ = 0;
  std::uint64_t lastStart_ = 0;
  std::unordered_map<std::int32_t, Timer> timers_;
  std::map<Place, std::int32_t> schedule_;
};

}  // namespace orvo
