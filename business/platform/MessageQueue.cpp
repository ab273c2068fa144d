#include "platform/MessageQueue.h"

#include <algorithm>
#include <utility>

namespace orvo {

std::int32_t MessageQueue::SetTimer(std::chrono::milliseconds period, ThreadPlatform::TimerCallback callback) {
  return timers_.Add(std::max(period, MinimumTimerPeriod), now_(), std::move(callback));
}

std::shared_ptr<const ThreadPlatform::TimerCallback> MessageQueue::KillTimer(std::int32_t timerId) {
  return timers_.Kill(timerId);
}

void MessageQueue::Post(std::function<void()> call) {
  if (!call) return;
  const std::lock_guard lock(mutex_);
  if (closed_) return;  // `call` ends with the argument, after the lock
  calls_.push_back({lastNumber_ + 1, std::move(call)});
  ++lastNumber_;
  posted_.notify_one();  // under the lock: the owner may end the queue as soon as it sees the call
}

void MessageQueue::PumpOnce() {
  std::uint64_t last = 0;
  {
    const std::lock_guard lock(mutex_);
    last = lastNumber_;
  }
  while (const std::function<void()> call = TakePosted(last))
    call();

  const std::chrono::milliseconds dueBy = now_();
  while (const std::optional<TimerQueue::Tick> tick = timers_.TakeDue(dueBy, now_()))
    (*tick->callback)(tick->timerId);
}

std::function<void()> MessageQueue::TakePosted(std::uint64_t last) {
  const std::lock_guard lock(mutex_);
  if (calls_.empty() || calls_.front().number > last) return {};
  std::function<void()> call = std::move(calls_.front().run);
  calls_.pop_front();
  return call;
}

bool MessageQueue::HasPosted() const {
  const std::lock_guard lock(mutex_);
  return !calls_.empty();
}

bool MessageQueue::HasWork() const {
  if (HasPosted()) return true;
  const std::optional<std::chrono::milliseconds> deadline = timers_.NextDeadline();
  return deadline.has_value() && *deadline <= now_();
}

void MessageQueue::WaitForPost(std::chrono::steady_clock::time_point until) {
  std::unique_lock lock(mutex_);
  posted_.wait_until(lock, until, [this] { return !calls_.empty(); });
}

void MessageQueue::Close() {
  std::deque<PostedCall> dropped;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(calls_);
  }
  dropped.clear();
  while (timers_.Count() > 0) {
    // Taken out before they end: what a callback holds may stop other timers while it dies.
    const TimerQueue ended = std::exchange(timers_, TimerQueue());
  }
}

}  // namespace orvo
