#include "Usage.h"

#include <tlhelp32.h>

namespace orvo::testing {

Usage Usage::Now() {
  Usage usage;
  // Wine does not count them.
  constexpr ULONG_PTR Most = 4096;
  for (ULONG_PTR handle = 4; handle < 4 * Most; handle += 4) {
    DWORD flags = 0;
    if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE) ++usage.handles;
  }

  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{};
  thread.dwSize = sizeof thread;
  for (BOOL found = Thread32First(snapshot, &thread); found != FALSE; found = Thread32Next(snapshot, &thread))
    if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++usage.threads;
  CloseHandle(snapshot);

  HANDLE heaps[64];
  const DWORD count = GetProcessHeaps(64, heaps);
  for (DWORD i = 0; i < count && i < 64; ++i) {
    if (HeapLock(heaps[i]) == FALSE) continue;
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry) != FALSE) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0) continue;
      ++usage.blocks;
      usage.bytes += entry.cbData;
    }
    HeapUnlock(heaps[i]);
  }
  return usage;
}

}  // namespace orvo::testing
