// What every platform with a pump of its own has in common: posted calls, timers, and the pass over both.
//
// Post may be called by any thread, everything else by the owning thread. The queue's clock counts milliseconds
// since an arbitrary start and never runs backwards.
#pragma once

#include "platform/ThreadPlatform.h"
#include "platform/TimerQueue.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace orvo {

class MessageQueue {
 public:
  using Clock = std::function<std::chrono::milliseconds()>;

  explicit MessageQueue(Clock now) : now_(std::move(now)) {}
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  // As in ThreadPlatform.
  std::int32_t SetTimer(std::chrono::milliseconds period, ThreadPlatform::TimerCallback callback);
  // As in ThreadPlatform; returns the callback of the timer that was stopped, or null.
  std::shared_ptr<const ThreadPlatform::TimerCallback> KillTimer(std::int32_t timerId);
  // As in ThreadPlatform; an empty function is ignored.
  void Post(std::function<void()> call);
  // As in ThreadPlatform. What is due is decided when the posted calls have run. A nested pass takes the posted
  // calls that the outer one has not begun; the outer one then finds fewer.
  void PumpOnce();

  bool HasPosted() const;
  // Whether the next pass runs anything.
  bool HasWork() const;
  // The earliest timer deadline, on the queue's clock; nothing without a timer.
  std::optional<std::chrono::milliseconds> NextDeadline() const { return timers_.NextDeadline(); }
  std::size_t TimersAlive() const noexcept { return timers_.Count(); }

  // Blocks until a posted call is waiting or `until` has come.
  void WaitForPost(std::chrono::steady_clock::time_point until);

  // Drops waiting calls and timers, and from now on every call that is posted. A platform closes its queue
  // first of all when it ends: what the dropped calls hold may use the platform while it dies.
  void Close();

 private:
  struct PostedCall {
    std::uint64_t number;
    std::function<void()> run;
  };
  // The oldest waiting call with a number up to `last`; empty when there is none.
  std::function<void()> TakePosted(std::uint64_t last);

  const Clock now_;
  TimerQueue timers_;

  mutable std::mutex mutex_;  // guards what follows; never held while foreign code runs
  std::condition_variable posted_;
  std::deque<PostedCall> calls_;
  std::uint64_t lastNumber_ = 0;
  bool closed_ = false;
};

}  // namespace orvo
