// A message-only window through which other threads wake the message loop of the thread that made it.
//
// Whatever loop the thread runs, ours or the host's, hands the window its messages. Made and ended on the
// owning thread; Wake may be called by any thread, as long as the window lives. The window class belongs to
// this module and goes with the last window.
#pragma once

#include <windows.h>

#include <memory>

namespace orvo {

class WakeReceiver {
 public:
  WakeReceiver() = default;
  WakeReceiver(const WakeReceiver&) = delete;
  WakeReceiver& operator=(const WakeReceiver&) = delete;
  virtual ~WakeReceiver() = default;

  // On the owning thread, once for each Wake, from a message loop that is not ours. It may end the window. What
  // it throws is lost.
  virtual void Woken() = 0;
};

class WakeWindow {
 public:
  // Error 7 when the system has no window left.
  explicit WakeWindow(std::weak_ptr<WakeReceiver> receiver);
  WakeWindow(const WakeWindow&) = delete;
  WakeWindow& operator=(const WakeWindow&) = delete;
  ~WakeWindow();

  // Puts one message into the thread's queue; false when the queue is full.
  bool Wake() const noexcept;
  // Whether the message is one of Wake's.
  bool IsWake(const MSG& message) const noexcept;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) noexcept;

  const std::weak_ptr<WakeReceiver> receiver_;
  const HWND window_;
};

}  // namespace orvo
