#include "kit/WatchedPlatform.h"

#include "errors/AutomationError.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

namespace orvo::kit {

// The calls themselves are kept here, so that they end with the session and not with the platform below: what
// they hold may use this platform while it dies.
struct WatchedPlatform::Calls {
  std::mutex mutex;  // guards what follows but for `escaped`; not held while foreign code runs
  bool ended = false;
  std::uint64_t lastNumber = 0;
  std::map<std::uint64_t, std::function<void()>> waiting;

  std::string escaped;  // owner's thread only

  template <class Callback>
  void Guarded(Callback&& callback) {
    try {
      callback();
    } catch (...) {
      const AutomationError caught = CaughtError();
      if (escaped.empty()) escaped = std::to_string(caught.Number()) + " (" + caught.Description() + ")";
    }
  }

  void RunPosted(std::uint64_t number) {
    std::function<void()> call;
    {
      const std::lock_guard lock(mutex);
      const auto found = waiting.find(number);
      if (found == waiting.end()) return;
      call = std::move(found->second);
      waiting.erase(found);
    }
    Guarded(call);
  }
};

WatchedPlatform::WatchedPlatform(ThreadPlatform& inner) : inner_(inner), calls_(std::make_shared<Calls>()) {}

WatchedPlatform::~WatchedPlatform() {
  End();
}

std::int32_t WatchedPlatform::SetTimer(std::chrono::milliseconds period, TimerCallback callback) {
  {
    const std::lock_guard lock(calls_->mutex);
    if (calls_->ended) return 0;
  }
  const std::int32_t timer =
      inner_.SetTimer(period, [calls = calls_, callback = std::move(callback)](std::int32_t timerId) {
        calls->Guarded([&] { callback(timerId); });
      });
  timers_.insert(timer);
  return timer;
}

void WatchedPlatform::KillTimer(std::int32_t timerId) {
  // Only its own: a number out of nowhere must not stop somebody else's timer.
  if (timers_.erase(timerId) != 0) inner_.KillTimer(timerId);
}

void WatchedPlatform::Post(std::function<void()> call) {
  std::uint64_t number = 0;
  {
    const std::lock_guard lock(calls_->mutex);
    if (calls_->ended || !call) return;
    number = ++calls_->lastNumber;
    calls_->waiting.emplace(number, std::move(call));
  }
  inner_.Post([calls = calls_, number] { calls->RunPosted(number); });
}

const std::string& WatchedPlatform::Escaped() const noexcept {
  return calls_->escaped;
}

void WatchedPlatform::End() {
  std::map<std::uint64_t, std::function<void()>> dropped;
  {
    const std::lock_guard lock(calls_->mutex);
    calls_->ended = true;
    dropped.swap(calls_->waiting);
  }
  dropped.clear();  // may end the driver, and so come back in
  while (!timers_.empty())
    KillTimer(*timers_.begin());
}

}  // namespace orvo::kit
