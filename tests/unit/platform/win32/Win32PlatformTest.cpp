// What the platform of Windows has beyond the pump of all platforms (PumpTest.cpp): the queue that it shares
// with its host, its end inside its own callbacks, the real clocks.
//
// Limits of minutes stand for "never": a test that reaches one is stopped by the test runner.
#include "platform/win32/Win32Platform.h"
#include "unit/platform/win32/HostWindow.h"

#include <gtest/gtest.h>
#include <oleauto.h>

#include <atomic>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orvo {
namespace {

using namespace std::chrono_literals;
using Log = std::vector<std::string>;

class System : public testing::Test {
 protected:
  // Pumps and waits until `done` answers true.
  template <class Done>
  void PumpUntil(Done&& done) {
    while (!done()) {
      platform_->WaitForWork(10min);
      platform_->PumpOnce();
    }
  }
  void PostNote(const std::string& text) {
    platform_->Post([this, text] { log_.push_back(text); });
  }
  // Waits until a tick of ten milliseconds is due, and leaves it to the next pass.
  void WaitOneTick() {
    const std::int32_t id = platform_->SetTimer(10ms, [](std::int32_t) {});
    platform_->WaitForWork(10min);
    platform_->KillTimer(id);
  }

  Log log_;
  std::unique_ptr<Win32Platform> platform_ = std::make_unique<Win32Platform>();
};

TEST_F(System, TimersRunInTheLoopOfTheHost) {
  int ticks = 0;
  platform_->SetTimer(10ms, [&](std::int32_t) { ++ticks; });
  const DWORD begin = ::GetTickCount();
  RunHostLoop([&] { return ticks == 5; });
  EXPECT_GE(::GetTickCount() - begin, 30U);  // the counter itself moves in steps of up to 16 ms
}

TEST_F(System, PostedCallsRunInTheLoopOfTheHostInTheirOrder) {
  for (const char* const text : {"a", "b", "c"})
    PostNote(text);
  RunHostLoop([&] { return log_.size() == 3; });
  EXPECT_EQ(log_, (Log{"a", "b", "c"}));
}

TEST_F(System, LoopInsideAPostedCallFindsTheOthers) {
  platform_->Post([this] {
    log_.push_back("begin");
    RunHostLoop([this] { return log_.size() == 3; });
    log_.push_back("end");
  });
  PostNote("a");
  PostNote("b");
  RunHostLoop([&] { return log_.size() == 4; });
  EXPECT_EQ(log_, (Log{"begin", "a", "b", "end"}));
}

TEST_F(System, CallThatAPassLeavesRunsInTheLoopOfTheHost) {
  platform_->Post([this] { PostNote("later"); });
  platform_->PumpOnce();
  EXPECT_TRUE(log_.empty());
  RunHostLoop([&] { return !log_.empty(); });
  EXPECT_EQ(log_, Log{"later"});
}

TEST_F(System, MoreCallsThanAQueueHoldsMessagesAllRun) {
  int calls = 0;
  for (int i = 0; i < 20000; ++i)
    platform_->Post([&] { ++calls; });
  platform_->PumpOnce();
  EXPECT_EQ(calls, 20000);
}

TEST_F(System, MessagesOfTheHostAreHandledByThePass) {
  const HostWindow window([this](UINT) { log_.push_back("host"); });
  window.Post();
  platform_->PumpOnce();
  EXPECT_EQ(log_, Log{"host"});
}

TEST_F(System, PassEndsWhenEachMessageBringsAnotherAndTheTimersAreNotStarved) {
  const HostWindow* endless = nullptr;
  const HostWindow window([&](UINT) { endless->Post(); });
  endless = &window;
  window.Post();
  int ticks = 0;
  platform_->SetTimer(10ms, [&](std::int32_t) { ++ticks; });
  while (ticks < 5)
    platform_->PumpOnce();
}

TEST_F(System, PassEndsWhenACallbackTakesLongerThanItsPeriodAndNoTimerIsStarved) {
  int slow = 0;
  int other = 0;
  platform_->SetTimer(10ms, [&](std::int32_t) {
    ++slow;
    StayBusy(25);
  });
  platform_->SetTimer(10ms, [&](std::int32_t) { ++other; });
  for (int passes = 0; passes < 10; ++passes) {
    const int before = slow;
    WaitOneTick();
    platform_->PumpOnce();
    EXPECT_LE(slow, before + 1);
  }
  EXPECT_GE(slow, 9);
  EXPECT_GE(other, 9);
}

TEST_F(System, PassEndsWhenATimerOfTheHostTakesLongerThanItsPeriod) {
  int ticks = 0;
  const HostWindow window([&](UINT) {
    ++ticks;
    StayBusy(25);
  });
  ::SetTimer(window.Handle(), 7, 10, nullptr);
  WaitOneTick();
  platform_->PumpOnce();
  EXPECT_GE(ticks, 1);
  EXPECT_LE(ticks, 3);
  ::KillTimer(window.Handle(), 7);
}

TEST_F(System, NestedPumpRunsATimerInsideItsOwnCallback) {
  int depth = 0;
  int deepest = 0;
  platform_->SetTimer(10ms, [&](std::int32_t) {
    deepest = std::max(deepest, ++depth);
    if (depth < 3) PumpUntil([&] { return deepest == 3; });
    --depth;
  });
  PumpUntil([&] { return deepest == 3; });
  EXPECT_EQ(depth, 0);
}

TEST_F(System, QuitIsKeptDoesNotEndTheWaitingAndIsPutBack) {
  ::PostQuitMessage(42);
  platform_->PumpOnce();
  const DWORD begin = ::GetTickCount();
  platform_->WaitForWork(100ms);
  EXPECT_GE(::GetTickCount() - begin, 80U) << "the quit is still in the queue";
  PostNote("goes on");
  platform_->PumpOnce();
  EXPECT_EQ(log_, Log{"goes on"});

  platform_->RestoreQuit();
  platform_->RestoreQuit();
  MSG message{};
  ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 42U);
  EXPECT_FALSE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) << "it is put back once";
}

TEST_F(System, QuitTakenInsideACallbackIsPutBackForTheLoopThatRanIt) {
  int passes = 0;
  const auto pass = [&] {
    ::PostQuitMessage(5);
    platform_->PumpOnce();
    ++passes;
  };
  platform_->Post(pass);
  MSG message{};
  while (::GetMessageW(&message, nullptr, 0, 0) != FALSE)
    ::DispatchMessageW(&message);
  EXPECT_EQ(message.wParam, 5U);
  platform_->SetTimer(10ms, [&](std::int32_t id) {
    platform_->KillTimer(id);
    pass();
  });
  while (::GetMessageW(&message, nullptr, 0, 0) != FALSE)
    ::DispatchMessageW(&message);
  EXPECT_EQ(message.wParam, 5U);
  EXPECT_EQ(passes, 2);
}

TEST_F(System, QuitThatAPlatformKeepsIsPutBackWhenItEnds) {
  ::PostQuitMessage(7);
  platform_->PumpOnce();
  platform_.reset();
  MSG message{};
  ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
}

TEST_F(System, PlatformMayEndInsideItsOwnTimer) {
  for (const bool inPass : {true, false}) {
    platform_ = std::make_unique<Win32Platform>();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> seen = held;
    platform_->SetTimer(10ms, [this, held](std::int32_t) {
      platform_.reset();
      log_.push_back("alive " + std::to_string(held.use_count()));
    });
    held.reset();
    if (inPass) {
      platform_->WaitForWork(10min);
      platform_->PumpOnce();
    } else {
      RunHostLoop([&] { return platform_ == nullptr; });
    }
    EXPECT_EQ(platform_, nullptr);
    EXPECT_TRUE(seen.expired()) << "the callback ends with its last call";
  }
  EXPECT_EQ(log_, (Log{"alive 1", "alive 1"}));
}

TEST_F(System, PlatformMayEndInsideAPostedCallAndTheOthersAreDropped) {
  for (const bool inPass : {true, false}) {
    platform_ = std::make_unique<Win32Platform>();
    platform_->Post([this] { platform_.reset(); });
    PostNote("dropped");
    if (inPass) {
      platform_->PumpOnce();
    } else {
      RunHostLoop([&] { return platform_ == nullptr; });
    }
    EXPECT_EQ(platform_, nullptr);
  }
  EXPECT_TRUE(log_.empty());
}

TEST_F(System, OwnerIsHeldDuringCallbacksAndPasses) {
  for (const bool inPass : {true, false}) {
    // The home of the platform, which goes with the last reference.
    auto home = std::make_shared<std::unique_ptr<Win32Platform>>(std::make_unique<Win32Platform>());
    const std::weak_ptr<void> seen = home;
    bool ticked = false;
    (*home)->SetOwner(home);
    (*home)->SetTimer(10ms, [&](std::int32_t) {
      home.reset();
      EXPECT_FALSE(seen.expired());
      ticked = true;
    });
    Win32Platform& platform = **home;
    if (inPass) {
      platform.WaitForWork(10min);
      platform.PumpOnce();
    } else {
      RunHostLoop([&] { return ticked; });
    }
    EXPECT_TRUE(ticked);
    EXPECT_TRUE(seen.expired());
  }
}

TEST_F(System, ExceptionsEndInTheCallback) {
  int ticks = 0;
  platform_->SetTimer(10ms, [&](std::int32_t) {
    ++ticks;
    throw std::runtime_error("tick");
  });
  platform_->Post([] { throw std::runtime_error("call in a pass"); });
  PumpUntil([&] { return ticks == 1; });
  platform_->Post([] { throw std::runtime_error("call in a loop"); });
  RunHostLoop([&] { return ticks == 3; });
}

TEST_F(System, TwoPlatformsOfOneThreadKeepTheirTimersAndCallsApart) {
  Win32Platform second;
  bool own = false;
  bool other = false;
  const std::int32_t first = platform_->SetTimer(10ms, [&](std::int32_t) { own = true; });
  EXPECT_EQ(second.SetTimer(10ms, [&](std::int32_t) { other = true; }), first);
  second.KillTimer(first);
  second.Post([this] { log_.push_back("second"); });
  PumpUntil([&] { return own; });
  EXPECT_EQ(log_, Log{"second"}) << "its message was in the queue of the thread";
  platform_->KillTimer(first);
  WaitOneTick();
  platform_->PumpOnce();
  EXPECT_FALSE(other);
}

TEST_F(System, PlatformsOfDifferentThreadsDoNotMeet) {
  std::vector<std::thread> threads;
  std::atomic<int> ticks = 0;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      Win32Platform platform;
      const DWORD own = ::GetCurrentThreadId();
      int left = 5;
      platform.SetTimer(10ms, [&](std::int32_t) {
        if (::GetCurrentThreadId() == own) ++ticks;
        --left;
      });
      while (left > 0) {
        platform.WaitForWork(10min);
        platform.PumpOnce();
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(ticks, 20);
}

TEST_F(System, PostOfAnotherThreadWakesAWaitingOwner) {
  std::thread other([this] { PostNote("posted"); });
  PumpUntil([&] { return !log_.empty(); });
  other.join();
}

TEST_F(System, WaitingUsesNoProcessorTime) {
  const auto processorTime = [] {
    FILETIME ignored{};
    FILETIME kernel{};
    FILETIME user{};
    ::GetThreadTimes(::GetCurrentThread(), &ignored, &ignored, &kernel, &user);
    return kernel.dwLowDateTime + user.dwLowDateTime;  // units of 100 ns
  };
  platform_->SetTimer(1h, [](std::int32_t) {});
  platform_->PumpOnce();
  const DWORD before = processorTime();
  const DWORD begin = ::GetTickCount();
  platform_->WaitForWork(300ms);
  EXPECT_GE(::GetTickCount() - begin, 280U);
  EXPECT_LT(processorTime() - before, 1000000U);
}

TEST_F(System, WindowClassGoesWithTheLastPlatform) {
  WNDCLASSEXW found{};
  found.cbSize = sizeof found;
  const auto isThere = [&] {
    return ::GetClassInfoExW(::GetModuleHandleW(nullptr), L"ORVOBusiness.Wake", &found) != FALSE;
  };
  {
    const Win32Platform second;
    EXPECT_TRUE(isThere());
  }
  EXPECT_TRUE(isThere());
  platform_.reset();
  EXPECT_FALSE(isThere());
}

TEST_F(System, ClocksAreThoseOfTheSystem) {
  const DWORD before = ::GetTickCount();
  const std::uint32_t count = platform_->TickCount();
  EXPECT_LE(count - before, ::GetTickCount() - before);

  SYSTEMTIME local{};
  double day = 0;
  double seconds = 0;
  do {  // again when midnight came between
    day = std::floor(platform_->LocalNow().days);
    ::GetLocalTime(&local);
    seconds = platform_->SecondsSinceMidnight();
  } while (day != std::floor(platform_->LocalNow().days));
  double systemDays = 0;
  ::SystemTimeToVariantTime(&local, &systemDays);
  EXPECT_EQ(day, std::floor(systemDays));
  EXPECT_NEAR(seconds, (local.wHour * 60.0 + local.wMinute) * 60.0 + local.wSecond, 2.0);
}

}  // namespace
}  // namespace orvo
