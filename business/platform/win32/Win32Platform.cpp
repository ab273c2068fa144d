#include "platform/win32/Win32Platform.h"

#include "errors/ErrorHandling.h"
#include "platform/LocalTime.h"
#include "platform/win32/ThreadTimers.h"
#include "platform/win32/WakeWindow.h"
#include "values/Dates.h"

#include <algorithm>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace orvo {

namespace {

// Messages of one kind that a pass handles. A queue that is never empty must not keep it for ever.
constexpr int MessagesPerPass = 200;

CivilTime LocalCivilTime() {
  SYSTEMTIME local{};
  ::GetLocalTime(&local);
  return {local.wYear,   local.wMonth,  local.wDay,         local.wHour,
          local.wMinute, local.wSecond, local.wMilliseconds};
}

// Whether the tick `time` is later than `since`; ticks wrap.
bool IsLater(DWORD time, DWORD since) noexcept {
  return static_cast<std::int32_t>(time - since) > 0;
}

}  // namespace

class Win32Platform::State final : public TimerReceiver,
                                   public WakeReceiver,
                                   public std::enable_shared_from_this<State> {
 public:
  // The first step after the making, as the window and the timers refer to it weakly.
  void Open();
  // From now on nothing of this runs.
  void Close() noexcept;

  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback);
  void KillTimer(std::int32_t timerId);
  void PumpOnce();
  void WaitForWork(std::chrono::milliseconds atMost);
  void Post(std::function<void()> call);
  void SetOwner(std::weak_ptr<void> owner) { owner_ = std::move(owner); }
  void RestoreQuit() noexcept;

  void TimerFired(std::int32_t timerId) override;
  void Woken() override;

 private:
  // A callback or a pass is running. A callback that the host's own loop ran gives back what passes inside it
  // took from that loop.
  class Running {
   public:
    enum class Restores { Yes, No };
    explicit Running(State& state, Restores restores = Restores::Yes) noexcept
        : state_(state), restores_(restores) {
      ++state_.depth_;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() {
      if (--state_.depth_ == 0 && restores_ == Restores::Yes) state_.RestoreQuit();
    }

   private:
    State& state_;
    const Restores restores_;
  };
  struct PostedCall {
    std::uint64_t number;
    std::function<void()> run;
  };
  // The timers that have fired in a pass.
  struct FiredTimers {
    std::set<std::int32_t> own;
    std::set<std::pair<HWND, UINT_PTR>> ofHost;
  };

  std::uint64_t LastPosted() const;
  bool HasPosted() const;
  // The oldest waiting call with a number up to `last`; empty when there is none.
  std::function<void()> TakePosted(std::uint64_t last);
  // Sees to it that a message stands in the queue as long as calls are waiting; under the lock.
  void WakeForWaiting();

  void RunPosted();
  void RunOwed(FiredTimers& fired);
  // False when the message shows that a timer is due again and again, faster than its ticks are handled.
  bool Handle(const MSG& message, FiredTimers& fired);

  // The owning thread only.
  std::weak_ptr<void> owner_;
  bool closed_ = false;
  int depth_ = 0;            // callbacks and passes that are running, one inside the other
  std::optional<int> quit_;  // exit code of a WM_QUIT that was taken out
  std::optional<ThreadTimers> timers_;
  std::map<std::int32_t, std::shared_ptr<const TimerCallback>> callbacks_;
  // Timers whose next tick came within the pass that had run them: it is run by the next pass.
  std::set<std::int32_t> owed_;

  mutable std::mutex mutex_;  // guards what follows; never held while foreign code runs
  std::unique_ptr<WakeWindow> window_;
  std::deque<PostedCall> calls_;
  std::uint64_t lastNumber_ = 0;
  bool waking_ = false;  // a message of ours stands in the queue
};

void Win32Platform::State::Open() {
  timers_.emplace(weak_from_this());
  window_ = std::make_unique<WakeWindow>(weak_from_this());
}

void Win32Platform::State::Close() noexcept {
  closed_ = true;
  RestoreQuit();
  timers_.reset();
  std::unique_ptr<WakeWindow> window;
  std::deque<PostedCall> dropped;
  {
    const std::lock_guard lock(mutex_);
    window.swap(window_);
    dropped.swap(calls_);
  }
  // What the callbacks hold may come back to this platform while it dies, and finds it closed.
  std::map<std::int32_t, std::shared_ptr<const TimerCallback>> ended;
  ended.swap(callbacks_);
}

std::int32_t Win32Platform::State::SetTimer(std::chrono::milliseconds period, TimerCallback callback) {
  auto shared = std::make_shared<const TimerCallback>(std::move(callback));
  if (closed_) return 1;  // a name for a timer that never ticks, asked for by something that is dying
  const std::int32_t timerId = timers_->Start(std::max(period, MinimumTimerPeriod));
  try {
    callbacks_.emplace(timerId, std::move(shared));
  } catch (...) {
    timers_->Stop(timerId);
    throw;
  }
  return timerId;
}

void Win32Platform::State::KillTimer(std::int32_t timerId) {
  if (timers_) timers_->Stop(timerId);
  owed_.erase(timerId);
  const auto ended =
      callbacks_.extract(timerId);  // what the callback holds may stop other timers while it dies
}

void Win32Platform::State::TimerFired(std::int32_t timerId) {
  const std::shared_ptr<void> owner = owner_.lock();
  const Running running(*this);
  owed_.erase(timerId);
  const auto found = callbacks_.find(timerId);
  if (found == callbacks_.end()) return;
  const std::shared_ptr<const TimerCallback> callback = found->second;
  Suppressed([&] { (*callback)(timerId); });
}

void Win32Platform::State::Post(std::function<void()> call) {
  if (!call) return;
  const std::lock_guard lock(mutex_);
  if (!window_) return;  // `call` ends with the argument, after the lock
  calls_.push_back({lastNumber_ + 1, std::move(call)});
  ++lastNumber_;
  WakeForWaiting();
}

void Win32Platform::State::WakeForWaiting() {
  if (!window_ || calls_.empty() || waking_) return;
  // A full queue takes no message; then the next pass or the next call posted wakes.
  waking_ = window_->Wake();
}

std::uint64_t Win32Platform::State::LastPosted() const {
  const std::lock_guard lock(mutex_);
  return lastNumber_;
}

bool Win32Platform::State::HasPosted() const {
  const std::lock_guard lock(mutex_);
  return !calls_.empty();
}

std::function<void()> Win32Platform::State::TakePosted(std::uint64_t last) {
  const std::lock_guard lock(mutex_);
  if (calls_.empty() || calls_.front().number > last) return {};
  std::function<void()> call = std::move(calls_.front().run);
  calls_.pop_front();
  return call;
}

void Win32Platform::State::Woken() {
  const std::shared_ptr<void> owner = owner_.lock();
  const Running running(*this);
  {
    const std::lock_guard lock(mutex_);
    waking_ = false;
  }
  const std::function<void()> call = TakePosted(LastPosted());
  {
    // Before the call: a loop inside it must find the others.
    const std::lock_guard lock(mutex_);
    WakeForWaiting();
  }
  if (call) Suppressed(call);
}

void Win32Platform::State::RunPosted() {
  const std::uint64_t last = LastPosted();
  while (const std::function<void()> call = TakePosted(last))
    Suppressed(call);
}

void Win32Platform::State::RunOwed(FiredTimers& fired) {
  const std::set<std::int32_t> owed = owed_;
  for (const std::int32_t timerId : owed) {
    if (!owed_.contains(timerId)) continue;
    fired.own.insert(timerId);
    TimerFired(timerId);
  }
}

bool Win32Platform::State::Handle(const MSG& message, FiredTimers& fired) {
  if (message.message == WM_QUIT) {
    quit_ = static_cast<int>(message.wParam);
    return true;
  }
  {
    // The calls for which the message stands were run by this pass, or belong to the next.
    const std::lock_guard lock(mutex_);
    if (window_ && window_->IsWake(message)) {
      waking_ = false;
      return true;
    }
  }
  bool again = false;
  if (const std::optional<std::int32_t> own = timers_ ? timers_->TimerOf(message) : std::nullopt) {
    if (!fired.own.insert(*own).second) return owed_.insert(*own).second;
  } else if (message.message == WM_TIMER) {
    again = !fired.ofHost.insert({message.hwnd, message.wParam}).second;  // it has this tick, but no third one
  }
  ::TranslateMessage(&message);
  ::DispatchMessageW(&message);
  return !again;
}

void Win32Platform::State::PumpOnce() {
  // This state, and with it what the callbacks below need, may lose its platform inside any of them.
  const std::shared_ptr<State> self = shared_from_this();
  const std::shared_ptr<void> owner = owner_.lock();
  const Running running(*this, Running::Restores::No);
  const DWORD begin = ::GetTickCount();
  RunPosted();
  FiredTimers fired;
  RunOwed(fired);

  MSG message{};
  for (int count = 0; !closed_ && count < MessagesPerPass; ++count) {
    if (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == FALSE || !Handle(message, fired)) break;
    // A message that was sent after the pass began belongs to the next. (A timer's tick bears the time of its
    // taking.)
    if (message.message != WM_TIMER && IsLater(message.time, begin)) break;
  }
  // The system hands out ticks only when nothing else is waiting: a queue that is never empty would starve the
  // timers.
  for (int count = 0; !closed_ && count < MessagesPerPass; ++count) {
    if (::PeekMessageW(&message, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE) == FALSE || !Handle(message, fired))
      break;
  }
  const std::lock_guard lock(mutex_);
  WakeForWaiting();
}

void Win32Platform::State::WaitForWork(std::chrono::milliseconds atMost) {
  if (HasPosted() || !owed_.empty()) return;
  using Count = std::chrono::milliseconds::rep;
  constexpr Count LongestWait = 0x7FFFFFFF;
  const auto wait = static_cast<DWORD>(std::clamp<Count>(atMost.count(), 0, LongestWait));
  // Also for a message that has been seen before and not taken out.
  ::MsgWaitForMultipleObjectsEx(0, nullptr, wait, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

void Win32Platform::State::RestoreQuit() noexcept {
  if (!quit_) return;
  ::PostQuitMessage(*quit_);
  quit_.reset();
}

Win32Platform::Win32Platform() : state_(std::make_shared<State>()) {
  state_->Open();
}

Win32Platform::~Win32Platform() {
  state_->Close();
}

std::uint32_t Win32Platform::TickCount() const {
  return ::GetTickCount();
}

float Win32Platform::SecondsSinceMidnight() const {
  return SecondsOfDay(LocalCivilTime());
}

Date Win32Platform::LocalNow() const {
  return DateFromCivil(LocalCivilTime());
}

std::int32_t Win32Platform::SetTimer(std::chrono::milliseconds period, TimerCallback callback) {
  return state_->SetTimer(period, std::move(callback));
}

void Win32Platform::KillTimer(std::int32_t timerId) {
  state_->KillTimer(timerId);
}

void Win32Platform::PumpOnce() {
  state_->PumpOnce();
}

void Win32Platform::WaitForWork(std::chrono::milliseconds atMost) {
  state_->WaitForWork(atMost);
}

void Win32Platform::Post(std::function<void()> call) {
  state_->Post(std::move(call));
}

void Win32Platform::SetOwner(std::weak_ptr<void> owner) {
  state_->SetOwner(std::move(owner));
}

void Win32Platform::RestoreQuit() {
  state_->RestoreQuit();
}

}  // namespace orvo
