#include "errors/AutomationError.h"
#include "platform/simulated/SimulatedPlatform.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

class Simulated : public testing::Test {
 protected:
  // What ran, and when in virtual milliseconds.
  using Log = std::vector<std::pair<std::int64_t, std::string>>;

  void Note(const std::string& text) { log_.emplace_back(platform_.Now().count(), text); }
  std::int32_t StartNote(milliseconds period, const std::string& text) {
    return platform_.SetTimer(period, [this, text](std::int32_t) { Note(text); });
  }

  Log log_;
  SimulatedPlatform platform_;
};

TEST_F(Simulated, NothingMovesByItself) {
  StartNote(10ms, "timer");
  platform_.PumpOnce();
  EXPECT_EQ(platform_.Now(), 0ms);
  EXPECT_TRUE(log_.empty());
}

TEST_F(Simulated, AdvanceVisitsEveryDeadlineOnTheWayAndEndsAtTheTarget) {
  StartNote(20ms, "a");
  StartNote(30ms, "b");
  platform_.Advance(65ms);
  EXPECT_EQ(log_, (Log{{20, "a"}, {30, "b"}, {40, "a"}, {60, "a"}, {60, "b"}}));
  EXPECT_EQ(platform_.Now(), 65ms);
}

TEST_F(Simulated, AdvancePumpsAtTheEndAlsoWhenADeadlineIsThere) {
  StartNote(50ms, "timer");
  platform_.Advance(50ms);
  EXPECT_EQ(log_, (Log{{50, "timer"}}));
}

TEST_F(Simulated, AdvanceRunsPostedCallsAtTheTimeOfTheirPosting) {
  platform_.Post([this] {
    Note("one");
    platform_.Post([this] { Note("two"); });
  });
  const std::int32_t id = platform_.SetTimer(20ms, [this](std::int32_t timerId) {
    platform_.KillTimer(timerId);
    platform_.Post([this] { Note("three"); });
  });
  EXPECT_GT(id, 0);
  platform_.Advance(100ms);
  EXPECT_EQ(log_, (Log{{0, "one"}, {0, "two"}, {20, "three"}}));
}

TEST_F(Simulated, AdvanceByZeroPumpsAndNegativeDurationsCountAsZero) {
  platform_.Post([this] { Note("one"); });
  platform_.Advance(0ms);
  platform_.Post([this] { Note("two"); });
  platform_.Advance(-10ms);
  platform_.Jump(-10ms);
  EXPECT_EQ(log_, (Log{{0, "one"}, {0, "two"}}));
  EXPECT_EQ(platform_.Now(), 0ms);
}

TEST_F(Simulated, AdvanceCutsOffACallThatPostsItselfAgainAndAgain) {
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    platform_.Post(again);
  };
  platform_.Post(again);
  platform_.Advance(1ms);
  EXPECT_EQ(runs, 2 * SimulatedPlatform::PassesPerStop);
  EXPECT_EQ(platform_.Now(), 1ms);
}

TEST_F(Simulated, JumpRunsNothingAndTheLateTicksBecomeOneInPhase) {
  StartNote(50ms, "timer");
  platform_.Jump(1020ms);
  EXPECT_TRUE(log_.empty());
  EXPECT_EQ(platform_.Now(), 1020ms);
  platform_.PumpOnce();
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{1020, "timer"}}));
  platform_.Advance(80ms);
  EXPECT_EQ(log_, (Log{{1020, "timer"}, {1050, "timer"}, {1100, "timer"}}));
}

TEST_F(Simulated, AdvanceAfterAJumpFirstRunsWhatIsLate) {
  StartNote(50ms, "timer");
  platform_.Jump(70ms);
  platform_.Advance(40ms);
  EXPECT_EQ(log_, (Log{{70, "timer"}, {100, "timer"}}));
}

TEST_F(Simulated, PeriodsBelowTenMillisecondsAreRaisedToIt) {
  for (const milliseconds period : {9ms, 1ms, 0ms, -5ms}) {
    log_.clear();
    const milliseconds start = platform_.Now();
    const std::int32_t id = StartNote(period, "timer");
    platform_.Advance(25ms);
    platform_.KillTimer(id);
    EXPECT_EQ(log_, (Log{{(start + 10ms).count(), "timer"}, {(start + 20ms).count(), "timer"}}))
        << period.count();
  }
}

TEST_F(Simulated, LateTimersRunInTheOrderOfTheirDeadlinesAndEqualOnesOfTheirStart) {
  StartNote(60ms, "third");
  StartNote(20ms, "first");
  StartNote(30ms, "second");
  platform_.Jump(30ms);
  StartNote(30ms, "fourth");
  platform_.Jump(40ms);
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{70, "first"}, {70, "second"}, {70, "third"}, {70, "fourth"}}));
}

TEST_F(Simulated, CallbackMayKillItsOwnTimer) {
  const auto held = std::make_shared<std::string>("timer");
  platform_.SetTimer(10ms, [this, held](std::int32_t id) {
    platform_.KillTimer(id);
    Note(*held);
  });
  platform_.Advance(100ms);
  EXPECT_EQ(log_, (Log{{10, "timer"}}));
  EXPECT_EQ(platform_.TimersAlive(), 0U);
}

TEST_F(Simulated, CallbackMayKillADueTimerBeforeItsTurn) {
  std::int32_t victim = 0;
  platform_.SetTimer(10ms, [&](std::int32_t) { platform_.KillTimer(victim); });
  victim = StartNote(10ms, "victim");
  platform_.Advance(30ms);
  EXPECT_TRUE(log_.empty());
}

TEST_F(Simulated, CallbackMayReplaceItsOwnTimer) {
  platform_.SetTimer(10ms, [this](std::int32_t id) {
    platform_.KillTimer(id);
    StartNote(30ms, "new");
  });
  platform_.Advance(75ms);
  EXPECT_EQ(log_, (Log{{40, "new"}, {70, "new"}}));
}

TEST_F(Simulated, NestedPumpRunsOtherDueTimersButNotTheRunningOne) {
  platform_.SetTimer(10ms, [this](std::int32_t) {
    Note("begin");
    platform_.PumpOnce();
    Note("end");
  });
  StartNote(10ms, "other");
  platform_.Advance(10ms);
  EXPECT_EQ(log_, (Log{{10, "begin"}, {10, "other"}, {10, "end"}}));
}

TEST_F(Simulated, NestedPumpRunsTheRunningTimerInsideItselfWhenItIsDueAgain) {
  int depth = 0;
  platform_.SetTimer(10ms, [&](std::int32_t) {
    Note("begin " + std::to_string(++depth));
    if (depth == 1) {
      platform_.Jump(10ms);
      platform_.PumpOnce();
    }
    Note("end " + std::to_string(depth--));
  });
  platform_.Jump(10ms);
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{10, "begin 1"}, {20, "begin 2"}, {20, "end 2"}, {20, "end 1"}}));
}

TEST_F(Simulated, TimerThatComesDueWhileAPassRunsWaitsForTheNextPass) {
  platform_.SetTimer(10ms, [this](std::int32_t id) {
    platform_.KillTimer(id);
    platform_.Jump(10ms);
  });
  StartNote(20ms, "later");
  platform_.Jump(10ms);
  platform_.PumpOnce();
  EXPECT_TRUE(log_.empty());
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{20, "later"}}));
}

TEST_F(Simulated, TickDelayedByAnotherCallbackIsNotDueAgainAtOnce) {
  platform_.SetTimer(10ms, [this](std::int32_t id) {
    platform_.KillTimer(id);
    platform_.Jump(45ms);
  });
  StartNote(10ms, "delayed");
  platform_.Jump(10ms);
  platform_.PumpOnce();
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{55, "delayed"}}));
  platform_.Advance(5ms);
  EXPECT_EQ(log_, (Log{{55, "delayed"}, {60, "delayed"}}));
}

TEST_F(Simulated, TimerThatComesDueWhilePostedCallsRunBelongsToTheSamePass) {
  StartNote(10ms, "timer");
  platform_.Post([this] { platform_.Jump(10ms); });
  platform_.PumpOnce();
  EXPECT_EQ(log_, (Log{{10, "timer"}}));
}

TEST_F(Simulated, CallbackMayAdvanceAndTimeNeverRunsBack) {
  platform_.SetTimer(100ms, [this](std::int32_t id) {
    platform_.KillTimer(id);
    platform_.Advance(200ms);
    Note("waited");
  });
  StartNote(70ms, "other");
  platform_.Advance(150ms);
  EXPECT_EQ(log_, (Log{{70, "other"}, {140, "other"}, {210, "other"}, {280, "other"}, {300, "waited"}}));
  EXPECT_EQ(platform_.Now(), 300ms);
}

TEST_F(Simulated, CallbackMayPumpAndWaitUntilSomethingHappens) {
  bool answered = false;
  platform_.SetTimer(50ms, [&](std::int32_t id) {
    platform_.KillTimer(id);
    while (!answered) {
      platform_.PumpOnce();
      platform_.WaitForWork(10s);
    }
    Note("synchronous call ends");
  });
  platform_.SetTimer(120ms, [&](std::int32_t) { platform_.Post([&] { answered = true; }); });
  platform_.Advance(60ms);
  EXPECT_EQ(log_, (Log{{240, "synchronous call ends"}}));
}

TEST_F(Simulated, WaitingReturnsAtOnceWhenWorkIsPending) {
  StartNote(10ms, "timer");
  platform_.Jump(10ms);
  platform_.WaitForWork(5s);
  EXPECT_EQ(platform_.Now(), 10ms);
  platform_.PumpOnce();
  platform_.Post([] {});
  platform_.WaitForWork(5s);
  EXPECT_EQ(platform_.Now(), 10ms);
}

TEST_F(Simulated, WaitingMovesToTheDeadlineOrTheLimitWhicheverIsEarlierAndRunsNothing) {
  StartNote(50ms, "timer");
  platform_.WaitForWork(1ms);
  EXPECT_EQ(platform_.Now(), 1ms);
  platform_.WaitForWork(0ms);
  platform_.WaitForWork(-1ms);
  EXPECT_EQ(platform_.Now(), 1ms);
  platform_.WaitForWork(5s);
  EXPECT_EQ(platform_.Now(), 50ms);
  EXPECT_TRUE(log_.empty());
}

TEST_F(Simulated, WaitingWithoutTimersMovesByTheLimitAtMostAYear) {
  platform_.WaitForWork(7s);
  EXPECT_EQ(platform_.Now(), 7s);
  platform_.WaitForWork(milliseconds::max());
  EXPECT_EQ(platform_.Now(), 7s + 24h * 365);
}

TEST_F(Simulated, LateTickOfAKilledTimerArrives) {
  std::int32_t told = 0;
  const std::int32_t id = platform_.SetTimer(10ms, [&](std::int32_t timerId) { told = timerId; });
  EXPECT_FALSE(platform_.DeliverLateTick(id)) << "the timer is alive";
  platform_.KillTimer(id);
  platform_.Advance(1s);
  EXPECT_EQ(told, 0);
  EXPECT_TRUE(platform_.DeliverLateTick(id));
  EXPECT_EQ(told, id);
  EXPECT_EQ(platform_.TimersAlive(), 0U);
  EXPECT_FALSE(platform_.DeliverLateTick(id + 1));
}

TEST_F(Simulated, LateTicksOfTheLastThousandKilledTimersAreKept) {
  const auto held = std::make_shared<int>(0);
  const std::int32_t oldest = platform_.SetTimer(10ms, [held](std::int32_t) { ++*held; });
  platform_.KillTimer(oldest);
  std::int32_t second = 0;
  for (std::size_t i = 0; i < SimulatedPlatform::LateTicksKept; ++i) {
    const std::int32_t id = StartNote(10ms, "late");
    platform_.KillTimer(id);
    if (i == 0) second = id;
  }
  EXPECT_FALSE(platform_.DeliverLateTick(oldest));
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_TRUE(platform_.DeliverLateTick(second));
  EXPECT_EQ(log_, (Log{{0, "late"}}));
}

TEST_F(Simulated, LateTickMayUseThePlatform) {
  const std::int32_t id = platform_.SetTimer(10ms, [this](std::int32_t timerId) {
    platform_.KillTimer(timerId);
    for (std::size_t i = 0; i < SimulatedPlatform::LateTicksKept; ++i)
      platform_.KillTimer(platform_.SetTimer(10ms, [](std::int32_t) {}));
    Note("still whole");
  });
  platform_.KillTimer(id);
  EXPECT_TRUE(platform_.DeliverLateTick(id));
  EXPECT_EQ(log_, (Log{{0, "still whole"}}));
}

TEST_F(Simulated, CountsTheTimersAlive) {
  EXPECT_EQ(platform_.TimersAlive(), 0U);
  const std::int32_t id = StartNote(10ms, "a");
  StartNote(10ms, "b");
  EXPECT_EQ(platform_.TimersAlive(), 2U);
  platform_.KillTimer(id);
  platform_.KillTimer(id);
  EXPECT_EQ(platform_.TimersAlive(), 1U);
}

TEST(SimulatedClock, TickCountFollowsTimeAndWrapsBehind32Bits) {
  SimulatedPlatform platform(SimulatedPlatform::DefaultStart, 0xFFFFFFF0U);
  EXPECT_EQ(platform.TickCount(), 0xFFFFFFF0U);
  platform.Jump(15ms);
  EXPECT_EQ(platform.TickCount(), 0xFFFFFFFFU);
  platform.Jump(1ms);
  EXPECT_EQ(platform.TickCount(), 0U);
  platform.Jump(49h * 24);
  EXPECT_EQ(platform.TickCount(), 4233600000U);
  platform.Jump(24h);
  EXPECT_EQ(platform.TickCount(), 4233600000U + 86400000U);
}

TEST(SimulatedClock, TickCountCanBePutAtAnyTime) {
  SimulatedPlatform platform;
  platform.Jump(1h);
  platform.PutTickCount(5);
  EXPECT_EQ(platform.TickCount(), 5U);
  platform.Jump(2ms);
  EXPECT_EQ(platform.TickCount(), 7U);
}

TEST(SimulatedClock, SecondsSinceMidnightFallToZeroAtMidnight) {
  SimulatedPlatform platform({2024, 2, 28, 23, 59, 59, 500});
  EXPECT_EQ(platform.SecondsSinceMidnight(), 86399.5F);
  platform.Jump(499ms);
  EXPECT_LT(platform.SecondsSinceMidnight(), 86400.0F);
  EXPECT_GT(platform.SecondsSinceMidnight(), 86399.98F);
  platform.Jump(1ms);
  EXPECT_EQ(platform.SecondsSinceMidnight(), 0.0F);
  platform.Jump(1h + 2min + 3s + 250ms);
  EXPECT_EQ(platform.SecondsSinceMidnight(), 3723.25F);
}

TEST(SimulatedClock, LocalDateRollsOverAtMidnightAndKnowsLeapYears) {
  SimulatedPlatform platform({2024, 2, 28, 23, 59, 59, 999});
  EXPECT_EQ(platform.LocalNow(), DateFromCivil({2024, 2, 28, 23, 59, 59, 999}));
  platform.Jump(1ms);
  EXPECT_EQ(platform.LocalNow(), DateFromCivil({2024, 2, 29}));
  EXPECT_EQ(platform.LocalNow(), Date{45351.0});
  platform.Jump(24h);
  EXPECT_EQ(platform.LocalNow(), DateFromCivil({2024, 3, 1}));
  platform.PutLocalTime({2024, 12, 31, 23, 59, 59, 0});
  platform.Jump(1s);
  EXPECT_EQ(platform.LocalNow(), DateFromCivil({2025, 1, 1}));
}

TEST(SimulatedClock, DatesBeforeTheFirstDayOfAutomationDatesWork) {
  SimulatedPlatform platform({1899, 12, 29, 18, 0, 0, 0});
  EXPECT_EQ(platform.LocalNow(), Date{-1.75});
  EXPECT_EQ(platform.SecondsSinceMidnight(), 64800.0F);
  platform.Jump(6h);
  EXPECT_EQ(platform.LocalNow(), Date{0.0});
}

TEST(SimulatedClock, PuttingTheLocalTimeLeavesTimersAndTheTickCountAlone) {
  SimulatedPlatform platform;
  int ticks = 0;
  platform.SetTimer(50ms, [&](std::int32_t) { ++ticks; });
  platform.Advance(30ms);
  platform.PutLocalTime({2030, 6, 1, 0, 0, 1, 0});
  EXPECT_EQ(platform.SecondsSinceMidnight(), 1.0F);
  EXPECT_EQ(platform.TickCount(), SimulatedPlatform::DefaultTickCount + 30);
  platform.Advance(20ms);
  EXPECT_EQ(ticks, 1);
}

TEST(SimulatedClock, RefusesALocalTimeThatDoesNotExistAndKeepsTheOldOne) {
  SimulatedPlatform platform({2024, 5, 6, 7, 8, 9, 0});
  try {
    platform.PutLocalTime({2023, 2, 29});
    ADD_FAILURE() << "accepted";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.Number(), 5);
  }
  EXPECT_EQ(platform.LocalNow(), DateFromCivil({2024, 5, 6, 7, 8, 9, 0}));
  EXPECT_THROW(SimulatedPlatform({2024, 13, 1}), AutomationError);
}

}  // namespace
}  // namespace orvo
