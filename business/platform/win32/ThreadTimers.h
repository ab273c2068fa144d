// The system's periodic timers without a window, with identifiers of our own: positive 32-bit numbers.
//
// Everything on the owning thread. A tick is delivered by whatever message loop the thread runs; the receiver
// of a timer that was stopped, or of timers that ended, hears nothing more.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace orvo {

class TimerReceiver {
 public:
  TimerReceiver() = default;
  TimerReceiver(const TimerReceiver&) = delete;
  TimerReceiver& operator=(const TimerReceiver&) = delete;
  virtual ~TimerReceiver() = default;

  // The receiver is held during the call, which may end the timers. What it throws is lost.
  virtual void TimerFired(std::int32_t timerId) = 0;
};

class ThreadTimers {
 public:
  explicit ThreadTimers(std::weak_ptr<TimerReceiver> receiver);
  ThreadTimers(const ThreadTimers&) = delete;
  ThreadTimers& operator=(const ThreadTimers&) = delete;
  ~ThreadTimers();

  // Error 7 when the system has no timer left. The period is limited to what the system takes (25 days).
  std::int32_t Start(std::chrono::milliseconds period);
  // An identifier that names none is ignored.
  void Stop(std::int32_t timerId) noexcept;
  // The timer of these whose tick the message is.
  std::optional<std::int32_t> TimerOf(const MSG& message) const;

 private:
  // Who receives the tick of which timer, for the whole process.
  struct Registry;
  static const std::shared_ptr<Registry>& TheRegistry();
  static void CALLBACK Fire(HWND window, UINT message, UINT_PTR systemId, DWORD time) noexcept;

  std::int32_t NextId() noexcept;

  const std::weak_ptr<TimerReceiver> receiver_;
  const std::shared_ptr<Registry> registry_;  // shared, as these timers may end after the process's own statics
  const DWORD thread_ = ::GetCurrentThreadId();
  std::int32_t lastId_ = 0;
  std::map<std::int32_t, UINT_PTR> systemIds_;
};

}  // namespace orvo
