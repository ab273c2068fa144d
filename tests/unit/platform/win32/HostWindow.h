// What a host application has beside the platform: a window of its own, and a message loop.
#pragma once

#include <windows.h>

#include <functional>
#include <utility>

namespace orvo {

class HostWindow {
 public:
  // The window hands its posted messages (WM_USER) and its timers' ticks (WM_TIMER) to `handler`.
  explicit HostWindow(std::function<void(UINT message)> handler) : handler_(std::move(handler)) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &Procedure;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = L"HostWindow";
    ::RegisterClassW(&windowClass);
    window_ = ::CreateWindowW(L"HostWindow", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance,
                              nullptr);
    ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;
  ~HostWindow() {
    ::DestroyWindow(window_);
    ::UnregisterClassW(L"HostWindow", ::GetModuleHandleW(nullptr));
  }

  HWND Handle() const { return window_; }
  void Post() const { ::PostMessageW(window_, WM_USER, 0, 0); }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    const auto* const self = reinterpret_cast<const HostWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self == nullptr || (message != WM_USER && message != WM_TIMER))
      return ::DefWindowProcW(window, message, first, second);
    self->handler_(message);
    return 0;
  }

  const std::function<void(UINT message)> handler_;
  HWND window_ = nullptr;
};

// The loop of an application, until `done` answers true after a message.
inline void RunHostLoop(const std::function<bool()>& done) {
  MSG message{};
  while (!done() && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
}

// Keeps the thread busy until the tick counter has moved by `milliseconds`.
inline void StayBusy(DWORD milliseconds) {
  const DWORD begin = ::GetTickCount();
  while (::GetTickCount() - begin < milliseconds) {
  }
}

}  // namespace orvo
