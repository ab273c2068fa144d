#include "platform/win32/WakeWindow.h"

#include "errors/AutomationError.h"
#include "errors/ErrorHandling.h"

#include <mutex>

namespace orvo {

namespace {

constexpr const wchar_t* ClassName = L"ORVOBusiness.Wake";
constexpr UINT WakeMessage = WM_APP;

// The module that this code is part of, which may be a library: the class must go before the code does.
HINSTANCE OwnModule() noexcept {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&OwnModule),
                       &module);  // the flag makes the name an address
  return module;
}

std::mutex& ClassMutex() {
  static std::mutex mutex;
  return mutex;
}
int classUsers = 0;  // guarded by ClassMutex

void RegisterUse(WNDPROC procedure) {
  const std::lock_guard lock(ClassMutex());
  if (classUsers == 0) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = OwnModule();
    windowClass.lpszClassName = ClassName;
    // Left over where a thread ended without its windows: it then names the same procedure.
    if (::RegisterClassExW(&windowClass) == 0 && ::GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
      RaiseRuntimeError(RuntimeError::OutOfMemory, "the window class that wakes message loops");
  }
  ++classUsers;
}

void UnregisterUse() noexcept {
  const std::lock_guard lock(ClassMutex());
  if (--classUsers == 0) ::UnregisterClassW(ClassName, OwnModule());
}

HWND MakeWindow(WNDPROC procedure) {
  RegisterUse(procedure);
  const HWND window =
      ::CreateWindowExW(0, ClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, OwnModule(), nullptr);
  if (window != nullptr) return window;
  UnregisterUse();
  RaiseRuntimeError(RuntimeError::OutOfMemory, "a window that wakes the message loop");
}

}  // namespace

WakeWindow::WakeWindow(std::weak_ptr<WakeReceiver> receiver)
    : receiver_(std::move(receiver)), window_(MakeWindow(&Procedure)) {
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

WakeWindow::~WakeWindow() {
  // A foreign thread cannot destroy the window, but it can make it deaf.
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  ::DestroyWindow(window_);
  UnregisterUse();
}

bool WakeWindow::Wake() const noexcept {
  return ::PostMessageW(window_, WakeMessage, 0, 0) != FALSE;
}

bool WakeWindow::IsWake(const MSG& message) const noexcept {
  return message.hwnd == window_ && message.message == WakeMessage;
}

LRESULT CALLBACK WakeWindow::Procedure(HWND window, UINT message, WPARAM first, LPARAM second) noexcept {
  if (message != WakeMessage) return ::DefWindowProcW(window, message, first, second);
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a window keeps the pointer to its object as a number
  const auto* const self = reinterpret_cast<const WakeWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return 0;
  if (const std::shared_ptr<WakeReceiver> receiver = self->receiver_.lock())
    Suppressed([&] { receiver->Woken(); });
  return 0;
}

}  // namespace orvo
