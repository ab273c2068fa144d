// An exchange that runs out of memory, at each place where it asks for some. This program's operator new is the
// one below.

#include "ExchangeFixture.h"

#include <cstdlib>
#include <new>

// The thread sanitizer has an operator new that does not give way to another one.
#if defined(__SANITIZE_THREAD__)
#define ORVO_OWN_NEW 0
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORVO_OWN_NEW 0
#endif
#endif
#if !defined(ORVO_OWN_NEW)
#define ORVO_OWN_NEW 1
#endif

namespace orvo::modbus {

namespace {

// Of this thread: how many allocations still succeed; below 0 all of them.
thread_local int allocationsLeft = -1;

[[maybe_unused]] void* AllocateForTests(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

using ExchangeMemoryTest = ExchangeTest;

TEST_F(ExchangeMemoryTest, AListThatRanOutOfMemoryIsReadRightTheNextTime) {
  if (ORVO_OWN_NEW == 0) GTEST_SKIP() << "the thread sanitizer does not let a test run out of memory";
  Requests before = WordsAt(500, 20);
  Requests items = WordsAt(0, 40);
  items.push_back(WordAt(200));
  device.holes.insert({Area::HoldingRegisters, 7});
  const std::vector<std::pair<std::size_t, std::int32_t>> errors{{7, BadValue}};
  bool failed = true;
  for (int most = 0; failed; ++most) {
    Exchange fresh(device, options);
    ASSERT_EQ(Wrong(before, fresh.Read(before)), "");
    device.TakeLog();
    failed = false;
    allocationsLeft = most;
    try {
      fresh.Read(items);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    allocationsLeft = -1;
    ASSERT_EQ(Wrong(items, fresh.Read(items), errors), "") << "after " << most << " allocations";
    ASSERT_EQ(Wrong(before, fresh.Read(before)), "") << "after " << most << " allocations";
    ASSERT_TRUE(failed || most > 20) << "the first allocations are never all there are";
  }
}

}  // namespace

}  // namespace orvo::modbus

#if ORVO_OWN_NEW

void* operator new(std::size_t size) {
  return orvo::modbus::AllocateForTests(size);
}

// Sorting asks in this way, and goes on without.
void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*nothrow*/) noexcept {
  std::free(memory);
}

#endif
