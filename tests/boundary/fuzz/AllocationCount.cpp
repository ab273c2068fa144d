#include "AllocationCount.h"

#include <windows.h>
// windows.h comes first.
#include <objidl.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace orvo::testing {

namespace {

std::atomic<std::int64_t> blocks{0};
std::atomic<std::int64_t> automationBlocks{0};

// Lives as long as the process.
class Spy final : public IMallocSpy {
 public:
  virtual ~Spy() = default;

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = iid == __uuidof(IUnknown) || iid == __uuidof(IMallocSpy) ? this : nullptr;
    return *result == nullptr ? E_NOINTERFACE : S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 1; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }

  STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) override { return size; }
  STDMETHODIMP_(void*) PostAlloc(void* block) override {
    if (block != nullptr) ++automationBlocks;
    return block;
  }
  STDMETHODIMP_(void*) PreFree(void* block, WINBOOL watched) override {
    if (block != nullptr && watched) --automationBlocks;
    return block;
  }
  STDMETHODIMP_(void) PostFree(WINBOOL) override {}
  STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** changed, WINBOOL) override {
    *changed = block;
    return size;
  }
  STDMETHODIMP_(void*) PostRealloc(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(void*) PreGetSize(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, WINBOOL) override { return size; }
  STDMETHODIMP_(void*) PreDidAlloc(void* block, WINBOOL) override { return block; }
  STDMETHODIMP_(int) PostDidAlloc(void*, WINBOOL, int allocated) override { return allocated; }
  STDMETHODIMP_(void) PreHeapMinimize() override {}
  STDMETHODIMP_(void) PostHeapMinimize() override {}
};

}  // namespace

bool WatchAutomationMemory() {
  // Strings that are kept for the next one of their size would count as in use.
  using SetNoCache = void(STDAPICALLTYPE*)();
  const HMODULE automation = LoadLibraryW(L"oleaut32.dll");
  const auto setNoCache = reinterpret_cast<SetNoCache>(
      reinterpret_cast<void*>(automation == nullptr ? nullptr : GetProcAddress(automation, "SetOaNoCache")));
  if (setNoCache == nullptr) return false;
  setNoCache();
  static Spy spy;
  return SUCCEEDED(CoRegisterMallocSpy(&spy));
}

std::int64_t BlocksInUse() noexcept {
  return blocks;
}

std::int64_t AutomationBlocksInUse() noexcept {
  return automationBlocks;
}

}  // namespace orvo::testing

void* operator new(std::size_t size) {
  void* const block = size > orvo::testing::LargestBlock ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++orvo::testing::blocks;
  return block;
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  --orvo::testing::blocks;
  std::free(block);
}

void operator delete[](void* block) noexcept {
  operator delete(block);
}

void operator delete(void* block, std::size_t) noexcept {
  operator delete(block);
}

void operator delete[](void* block, std::size_t) noexcept {
  operator delete(block);
}
