#include "MessagePump.h"

#include <windows.h>

namespace orvo::testing {

void PumpPending() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

void PumpFor(std::chrono::milliseconds time) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + time;
  PumpPending();
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) return;
    MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(left.count()), QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    PumpPending();
  }
}

}  // namespace orvo::testing
