#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/ReentrancyLock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using ms = std::chrono::milliseconds;

// Ten seconds past midnight: there a single tells the milliseconds apart.
constexpr CivilTime EarlyMorning{2024, 1, 15, 0, 0, 10, 0};

void At(SimulatedPlatform& platform, ms when, std::function<void()> call) {
  platform.SetTimer(when, [&platform, call = std::move(call)](std::int32_t timerId) {
    platform.KillTimer(timerId);
    call();
  });
}

TEST(ReentrancyLock, AFreeLockIsTakenAtOnceWithoutPumping) {
  SimulatedPlatform platform;
  bool pumped = false;
  platform.Post([&] { pumped = true; });
  ReentrancyLock lock;
  EXPECT_FALSE(lock.IsTaken());
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_TRUE(lock.IsTaken());
  EXPECT_FALSE(pumped);
  EXPECT_EQ(platform.Now(), ms(0));
  lock.Release();
  EXPECT_FALSE(lock.IsTaken());
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(0));
}

TEST(ReentrancyLock, AWaiterPumpsAndTakesTheLockAsSoonAsItIsFree) {
  SimulatedPlatform platform;
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  platform.Post([&] { lock.Release(); });
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_TRUE(lock.IsTaken());
  EXPECT_EQ(platform.Now(), ms(0));
  At(platform, ms(700), [&] { lock.Release(); });
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(700));
}

TEST(ReentrancyLock, AHeldLockIsBrokenAfterMoreThanTwoSecondsAndIsLeftFree) {
  SimulatedPlatform platform(EarlyMorning);
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  EXPECT_FALSE(lock.Take(platform));
  EXPECT_GT(platform.Now(), ms(2000));
  EXPECT_LT(platform.Now(), ms(2100));
  EXPECT_FALSE(lock.IsTaken());
  const ms broken = platform.Now();
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), broken);
}

TEST(ReentrancyLock, TwoSecondsMustBeExceededBeforeTheLockIsBroken) {
  struct Row {
    const char* name;
    CivilTime start;
    ms lookedAt;    // something happens then, and the waiter looks
    ms releasedAt;  // the holder lets go
    bool taken;
  };
  // At noon a single counts in steps of 1/256 second: 43202.001 is still 43202.
  const std::vector<Row> rows{
      {"just below", EarlyMorning, ms(1999), ms(2000), true},
      {"exactly two seconds", EarlyMorning, ms(2000), ms(2001), true},
      {"just above", EarlyMorning, ms(2001), ms(2002), false},
      {"exactly two seconds at noon", SimulatedPlatform::DefaultStart, ms(2000), ms(2001), true},
      {"above by less than a single tells at noon", SimulatedPlatform::DefaultStart, ms(2001), ms(2002), true},
      {"above at noon", SimulatedPlatform::DefaultStart, ms(2004), ms(2005), false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    SimulatedPlatform platform(row.start);
    ReentrancyLock lock;
    ASSERT_TRUE(lock.Take(platform));
    At(platform, row.lookedAt, [] {});
    At(platform, row.releasedAt, [&] { lock.Release(); });
    EXPECT_EQ(lock.Take(platform), row.taken);
    EXPECT_EQ(platform.Now(), row.taken ? row.releasedAt : row.lookedAt);
    EXPECT_EQ(lock.IsTaken(), row.taken);
  }
}

TEST(ReentrancyLock, AWaitAcrossMidnightBreaksTheLockAtOnce) {
  SimulatedPlatform platform(CivilTime{2024, 1, 15, 23, 59, 59, 600});
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  At(platform, ms(399), [] {});
  At(platform, ms(400), [] {});
  At(platform, ms(401), [&] { lock.Release(); });
  EXPECT_FALSE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(400));
  EXPECT_FALSE(lock.IsTaken());
}

TEST(ReentrancyLock, AClockThatIsSetBackByMoreThanTwoSecondsBreaksTheLock) {
  SimulatedPlatform platform;
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  At(platform, ms(100), [&] { platform.PutLocalTime({2024, 1, 15, 11, 59, 57, 0}); });
  EXPECT_FALSE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(100));
}

TEST(ReentrancyLock, AClockThatIsSetBackByOneSecondMakesTheWaitOneSecondLonger) {
  SimulatedPlatform platform(EarlyMorning);
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  At(platform, ms(100), [&] { platform.PutLocalTime({2024, 1, 15, 0, 0, 9, 100}); });
  At(platform, ms(3000), [&] { lock.Release(); });
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(3000));
}

TEST(ReentrancyLock, ALockThatChangesHandsInsideOnePumpStaysHeldForTheWaiter) {
  SimulatedPlatform platform;
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  At(platform, ms(500), [&] {
    lock.Release();
    EXPECT_TRUE(lock.Take(platform));
  });
  At(platform, ms(900), [&] { lock.Release(); });
  EXPECT_TRUE(lock.Take(platform));
  EXPECT_EQ(platform.Now(), ms(900));
}

TEST(ReentrancyLock, AWaiterInsideAWaiterBreaksTheLockForBoth) {
  SimulatedPlatform platform(EarlyMorning);
  ReentrancyLock lock;
  ASSERT_TRUE(lock.Take(platform));
  std::vector<std::string> ends;
  At(platform, ms(500), [&] { ends.push_back(lock.Take(platform) ? "inner taken" : "inner broken"); });
  // The outer one looks again only when the inner one is back: the lock is free by then.
  ends.push_back(lock.Take(platform) ? "outer taken" : "outer broken");
  EXPECT_EQ(ends, (std::vector<std::string>{"inner broken", "outer taken"}));
  EXPECT_GT(platform.Now(), ms(2500));
}

}  // namespace
}  // namespace orvo::testing
