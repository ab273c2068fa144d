#include "platform/win32/ThreadTimers.h"

#include "errors/AutomationError.h"
#include "errors/ErrorHandling.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <utility>

namespace orvo {

// A timer's callback is told no context, so the receiver is found by the thread and the system's identifier.
// One map for the process: a library that can be unloaded must not leave destructors with the threads that it
// ran on.
struct ThreadTimers::Registry {
  using Key = std::pair<DWORD, UINT_PTR>;
  struct Target {
    std::weak_ptr<TimerReceiver> receiver;
    std::int32_t timerId = 0;
  };

  std::optional<Target> Find(UINT_PTR systemId) {
    const std::lock_guard lock(mutex);
    const auto found = targets.find({::GetCurrentThreadId(), systemId});
    if (found == targets.end()) return std::nullopt;
    return found->second;
  }

  std::mutex mutex;  // not held while a receiver runs
  std::map<Key, Target> targets;
};

const std::shared_ptr<ThreadTimers::Registry>& ThreadTimers::TheRegistry() {
  static const std::shared_ptr<Registry> registry = std::make_shared<Registry>();
  return registry;
}

void CALLBACK ThreadTimers::Fire(HWND /*window*/, UINT /*message*/, UINT_PTR systemId,
                                 DWORD /*time*/) noexcept {
  Suppressed([&] {
    const auto target = TheRegistry()->Find(systemId);
    if (!target) return;
    if (const std::shared_ptr<TimerReceiver> receiver = target->receiver.lock())
      receiver->TimerFired(target->timerId);
  });
}

ThreadTimers::ThreadTimers(std::weak_ptr<TimerReceiver> receiver)
    : receiver_(std::move(receiver)), registry_(TheRegistry()) {}

ThreadTimers::~ThreadTimers() {
  while (!systemIds_.empty())
    Stop(systemIds_.begin()->first);
}

std::int32_t ThreadTimers::NextId() noexcept {
  do {
    lastId_ = lastId_ == std::numeric_limits<std::int32_t>::max() ? 1 : lastId_ + 1;
  } while (systemIds_.contains(lastId_));
  return lastId_;
}

std::int32_t ThreadTimers::Start(std::chrono::milliseconds period) {
  const auto limited =
      std::clamp<std::chrono::milliseconds::rep>(period.count(), USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
  const std::int32_t timerId = NextId();
  // Room first: what follows the system's timer must not fail.
  const auto place = systemIds_.emplace(timerId, 0).first;
  const UINT_PTR systemId = ::SetTimer(nullptr, 0, static_cast<UINT>(limited), &Fire);
  if (systemId == 0) {
    systemIds_.erase(place);
    RaiseRuntimeError(RuntimeError::OutOfMemory, "a timer of the system");
  }
  place->second = systemId;
  try {
    const std::lock_guard lock(registry_->mutex);
    // A timer that its thread left behind may have had this number.
    registry_->targets.insert_or_assign({thread_, systemId}, Registry::Target{receiver_, timerId});
  } catch (...) {
    ::KillTimer(nullptr, systemId);
    systemIds_.erase(place);
    throw;
  }
  return timerId;
}

void ThreadTimers::Stop(std::int32_t timerId) noexcept {
  const auto found = systemIds_.find(timerId);
  if (found == systemIds_.end()) return;
  ::KillTimer(nullptr, found->second);
  {
    const std::lock_guard lock(registry_->mutex);
    registry_->targets.erase({thread_, found->second});
  }
  systemIds_.erase(found);
}

std::optional<std::int32_t> ThreadTimers::TimerOf(const MSG& message) const {
  if (message.message != WM_TIMER || message.hwnd != nullptr) return std::nullopt;
  const auto target = registry_->Find(message.wParam);
  const auto same = [&](const auto& other) {
    return !receiver_.owner_before(other) && !other.owner_before(receiver_);
  };
  if (!target || !same(target->receiver)) return std::nullopt;
  return target->timerId;
}

}  // namespace orvo
