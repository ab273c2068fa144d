#include "com/ModuleRuntime.h"

#include <pthread.h>
#include <windows.h>

// The thread library's part of the module's thread notifications.
extern "C" PIMAGE_TLS_CALLBACK __xl_f;

namespace __gnu_cxx {
// Frees the memory that is set aside for exceptions without memory.
void __freeres() noexcept;
}  // namespace __gnu_cxx

namespace {

DWORD threadIndex = TLS_OUT_OF_INDEXES;  // the one that the thread library took
bool unloading = false;

// Runs before all that uses threads: the index that is free now is the one that the thread library takes.
__attribute__((constructor(101))) void NoteThreadIndex() {
  const DWORD next = TlsAlloc();
  if (next == TLS_OUT_OF_INDEXES) return;
  TlsFree(next);
  pthread_self();
  // Empty when another thread was faster: then the index stays unknown.
  if (TlsGetValue(next) != nullptr) threadIndex = next;
}

// Runs after all destructors of the module.
__attribute__((destructor(101))) void EndRuntime() {
  if (!unloading) return;
  __gnu_cxx::__freeres();
  __xl_f(nullptr, DLL_THREAD_DETACH, nullptr);
  if (threadIndex != TLS_OUT_OF_INDEXES) TlsFree(threadIndex);
}

}  // namespace

namespace orvo::com {

void EndRuntimeWithModule() noexcept {
  unloading = true;
}

}  // namespace orvo::com
