// The real clocks and the real blocking; the pump itself is tested in PumpTest.cpp.
//
// Limits of hours stand for "never": a test that reaches one is stopped by the test runner.
#include "platform/portable/PortablePlatform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

namespace orvo {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

// The system's local time as automation date, to the second, by another way than the platform's.
double SystemDays() {
  const std::time_t now = std::time(nullptr);
  const std::tm local = *std::localtime(&now);
  return DateFromCivil({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                        local.tm_sec, 0})
      .days;
}

TEST(Portable, TickCountFollowsTheSteadyClockInMilliseconds) {
  const PortablePlatform platform;
  const auto counter = [] {
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<milliseconds>(Steady::now().time_since_epoch()).count());
  };
  const std::uint32_t before = counter();
  const std::uint32_t count = platform.TickCount();
  const std::uint32_t after = counter();
  EXPECT_LE(count - before, after - before);
}

TEST(Portable, LocalNowIsTheSystemsLocalTime) {
  const PortablePlatform platform;
  const double before = SystemDays();
  const double now = platform.LocalNow().days;
  const double after = SystemDays();
  constexpr double Second = 1.0 / 86400;
  EXPECT_GE(now, before - 1E-9);
  EXPECT_LT(now, after + Second + 1E-9);
}

TEST(Portable, SecondsSinceMidnightAreTheTimeOfDayOfLocalNow) {
  const PortablePlatform platform;
  double before = 0;
  double after = 0;
  float seconds = 0;
  do {  // again when midnight came between
    before = platform.LocalNow().days;
    seconds = platform.SecondsSinceMidnight();
    after = platform.LocalNow().days;
  } while (std::floor(before) != std::floor(after));
  constexpr double SinglePrecision = 0.01;
  EXPECT_GE(seconds, (before - std::floor(before)) * 86400 - SinglePrecision);
  EXPECT_LE(seconds, (after - std::floor(after)) * 86400 + SinglePrecision);
}

TEST(Portable, TimerIsNotDueBeforeItsPeriodHasPassed) {
  PortablePlatform platform;
  bool ticked = false;
  const Steady::time_point start = Steady::now();
  platform.SetTimer(1ms, [&](std::int32_t) { ticked = true; });
  EXPECT_TRUE(platform.RunUntil([&] { return ticked; }, 1h));
  EXPECT_GE(Steady::now() - start, MinimumTimerPeriod - 1ms);
}

TEST(Portable, PostOfAnotherThreadWakesAWaitingOwner) {
  PortablePlatform platform;
  std::atomic<bool> waiting = false;
  bool ran = false;
  std::thread other([&] {
    waiting.wait(false);
    platform.Post([&] { ran = true; });
  });
  waiting = true;
  waiting.notify_one();
  const Steady::time_point start = Steady::now();
  platform.WaitForWork(1h);
  EXPECT_LT(Steady::now() - start, 1min);
  other.join();
  EXPECT_FALSE(ran);
  platform.PumpOnce();
  EXPECT_TRUE(ran);
}

TEST(Portable, WaitingUsesNoProcessorTime) {
#ifdef _WIN32
  GTEST_SKIP() << "std::clock of Windows counts the time that has passed, not the processor's";
#endif
  PortablePlatform platform;
  platform.SetTimer(1h, [](std::int32_t) {});
  const std::clock_t before = std::clock();
  platform.WaitForWork(60ms);
  const double seconds = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
  EXPECT_LT(seconds, 0.015);  // a loop that asks again and again gets more, also on a busy machine
}

TEST(Portable, NextDeadlineIsNothingWithoutTimersAndZeroWhenWorkIsPending) {
  PortablePlatform platform;
  EXPECT_EQ(platform.NextDeadline(), std::nullopt);
  platform.Post([] {});
  EXPECT_EQ(platform.NextDeadline(), 0ms);
  platform.PumpOnce();
  EXPECT_EQ(platform.NextDeadline(), std::nullopt);
  platform.SetTimer(10ms, [](std::int32_t) {});
  platform.WaitForWork(1h);
  EXPECT_EQ(platform.NextDeadline(), 0ms);
}

TEST(Portable, NextDeadlineIsTheTimeToTheEarliestTimer) {
  PortablePlatform platform;
  platform.SetTimer(2h, [](std::int32_t) {});
  const std::int32_t early = platform.SetTimer(1h, [](std::int32_t) {});
  ASSERT_TRUE(platform.NextDeadline().has_value());
  EXPECT_LE(*platform.NextDeadline(), 1h);
  EXPECT_GT(*platform.NextDeadline(), 59min);
  platform.KillTimer(early);
  EXPECT_GT(*platform.NextDeadline(), 119min);
}

TEST(Portable, HookIsCalledForEachPostOfAnotherThreadAfterTheCallWaits) {
  PortablePlatform platform;
  std::vector<std::thread::id> callers;
  std::vector<milliseconds> deadlines;
  platform.OnPosted([&] {
    callers.push_back(std::this_thread::get_id());
    deadlines.push_back(platform.NextDeadline().value_or(-1ms));
  });
  platform.Post([] {});
  EXPECT_TRUE(callers.empty()) << "the owner's own call needs no wake-up";
  platform.PumpOnce();
  std::thread other([&] {
    platform.Post([] {});
    platform.Post([] {});
  });
  const std::thread::id otherId = other.get_id();
  other.join();
  EXPECT_EQ(callers, (std::vector{otherId, otherId}));
  EXPECT_EQ(deadlines, (std::vector{0ms, 0ms}));
}

TEST(Portable, HookCanBeReplacedAndRemovedAndMayPost) {
  PortablePlatform platform;
  int first = 0;
  int second = 0;
  int calls = 0;
  const auto postElsewhere = [&] { std::thread([&] { platform.Post([&] { ++calls; }); }).join(); };
  platform.OnPosted([&] { ++first; });
  platform.OnPosted([&] {
    if (++second == 1) platform.Post([&] { ++calls; });
  });
  postElsewhere();
  platform.OnPosted({});
  postElsewhere();
  platform.PumpOnce();
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 2);
  EXPECT_EQ(calls, 3);
}

TEST(Portable, RunForPumpsUntilItsTimeHasPassed) {
  PortablePlatform platform;
  int ticks = 0;
  bool posted = false;
  platform.SetTimer(10ms, [&](std::int32_t) { ++ticks; });
  platform.Post([&] { posted = true; });
  const Steady::time_point start = Steady::now();
  platform.RunFor(25ms);
  EXPECT_GE(Steady::now() - start, 25ms);
  EXPECT_TRUE(posted);
  EXPECT_GE(ticks, 1);
  // Timers count whole milliseconds of the platform, so a period can be up to one shorter on the finer clock.
  EXPECT_LE(ticks, (Steady::now() - start + 1ms) / 10ms);
}

TEST(Portable, RunForZeroPumpsOnce) {
  PortablePlatform platform;
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    platform.Post(again);
  };
  platform.Post(again);
  platform.RunFor(0ms);
  EXPECT_EQ(runs, 1);
}

TEST(Portable, RunUntilPumpsNothingWhenItIsDoneAtFirst) {
  PortablePlatform platform;
  bool ran = false;
  platform.Post([&] { ran = true; });
  EXPECT_TRUE(platform.RunUntil([] { return true; }, 1h));
  EXPECT_FALSE(ran);
}

TEST(Portable, RunUntilEndsWithThePassThatMakesItTrueOrWithTheLimit) {
  PortablePlatform platform;
  int runs = 0;
  platform.Post([&] {
    ++runs;
    platform.Post([&] { ++runs; });
  });
  EXPECT_TRUE(platform.RunUntil([&] { return runs == 1; }, 1h));
  EXPECT_EQ(runs, 1);
  EXPECT_FALSE(platform.RunUntil([&] { return runs == 3; }, 2ms));
  EXPECT_EQ(runs, 2);
}

TEST(Portable, RunUntilWorksInsideACallback) {
  PortablePlatform platform;
  bool inner = false;
  bool outer = false;
  platform.SetTimer(10ms, [&](std::int32_t id) {
    platform.KillTimer(id);
    platform.Post([&] { inner = true; });
    outer = platform.RunUntil([&] { return inner; }, 1h);
  });
  EXPECT_TRUE(platform.RunUntil([&] { return outer; }, 1h));
}

}  // namespace
}  // namespace orvo
