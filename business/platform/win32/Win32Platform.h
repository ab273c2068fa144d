// The platform of a thread of Windows: timers of the system without a window, the thread's own message queue,
// local time of the system.
//
// The thread that makes it owns it, and ends it. Timers and posted calls run in any message loop of the thread:
// in PumpOnce and in the loop of the host, which shares the queue. PumpOnce hands all messages of the thread to
// their windows, those of the host too. The platform may end inside a callback of its own; what was posted is
// dropped then.
#pragma once

#include "platform/ThreadPlatform.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace orvo {

class Win32Platform final : public ThreadPlatform {
 public:
  // Error 7 when the system has no window left.
  Win32Platform();
  ~Win32Platform() override;

  std::uint32_t TickCount() const override;
  float SecondsSinceMidnight() const override;
  Date LocalNow() const override;
  // Error 7 when the system has no timer left.
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override;
  void KillTimer(std::int32_t timerId) override;
  // Posted calls and timers as in ThreadPlatform. Other messages: as many as were in the queue, within bounds,
  // so that a pass ends also when each message that is handled brings another.
  void PumpOnce() override;
  // Also returns when any other message is waiting.
  void WaitForWork(std::chrono::milliseconds atMost) override;
  void Post(std::function<void()> call) override;

  // `owner` is held for the length of every callback and every pass, so that the object to which this platform
  // belongs does not end inside one.
  void SetOwner(std::weak_ptr<void> owner);
  // A request to quit (WM_QUIT) that a pass took out of the queue is put back for the loop of the host. The
  // outermost caller of PumpOnce does this when its wait is over; during the wait it would end every pass at
  // once.
  void RestoreQuit();

 private:
  class State;

  // Shared with the callbacks that are running: it outlives the platform by the rest of them.
  const std::shared_ptr<State> state_;
};

}  // namespace orvo
