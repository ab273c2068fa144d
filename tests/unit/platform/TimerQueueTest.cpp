#include "platform/TimerQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace orvo {
namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

// One pass at `now`; returns the timers whose ticks it took.
std::vector<std::int32_t> Pass(TimerQueue& queue, milliseconds now) {
  std::vector<std::int32_t> ids;
  while (const auto tick = queue.TakeDue(now, now)) {
    ids.push_back(tick->timerId);
    (*tick->callback)(tick->timerId);
  }
  return ids;
}

void Nothing(std::int32_t) {}

TEST(TimerQueue, HasNoDeadlineWithoutTimers) {
  TimerQueue queue;
  EXPECT_EQ(queue.NextDeadline(), std::nullopt);
  EXPECT_FALSE(queue.TakeDue(1000h, 1000h).has_value());
  EXPECT_EQ(queue.Count(), 0U);
}

TEST(TimerQueue, FirstDeadlineIsOnePeriodAfterTheStart) {
  TimerQueue queue;
  queue.Add(50ms, 7ms, Nothing);
  EXPECT_EQ(queue.NextDeadline(), 57ms);
  EXPECT_FALSE(queue.TakeDue(56ms, 56ms).has_value());
  EXPECT_TRUE(queue.TakeDue(57ms, 57ms).has_value());
}

TEST(TimerQueue, NextDeadlineIsTheEarliestOfAll) {
  TimerQueue queue;
  queue.Add(50ms, 0ms, Nothing);
  const std::int32_t early = queue.Add(20ms, 0ms, Nothing);
  EXPECT_EQ(queue.NextDeadline(), 20ms);
  queue.Kill(early);
  EXPECT_EQ(queue.NextDeadline(), 50ms);
}

TEST(TimerQueue, TicksComeInTheOrderOfTheirDeadlines) {
  TimerQueue queue;
  const std::int32_t late = queue.Add(30ms, 0ms, Nothing);
  const std::int32_t early = queue.Add(10ms, 0ms, Nothing);
  const std::int32_t middle = queue.Add(20ms, 0ms, Nothing);
  EXPECT_EQ(Pass(queue, 35ms), (std::vector{early, middle, late}));
}

TEST(TimerQueue, EqualDeadlinesComeInTheOrderOfTheirStart) {
  TimerQueue queue;
  const std::int32_t first = queue.Add(60ms, 0ms, Nothing);
  const std::int32_t second = queue.Add(30ms, 30ms, Nothing);
  const std::int32_t third = queue.Add(60ms, 0ms, Nothing);
  EXPECT_EQ(Pass(queue, 60ms), (std::vector{first, second, third}));
}

TEST(TimerQueue, EqualDeadlinesComeInTheOrderOfTheirStartAfterIdentifiersBeganAgain) {
  TimerQueue queue(3);
  queue.Add(1h, 0ms, Nothing);
  queue.Kill(queue.Add(1h, 0ms, Nothing));
  const std::int32_t first = queue.Add(30ms, 0ms, Nothing);
  const std::int32_t second = queue.Add(30ms, 0ms, Nothing);
  ASSERT_LT(second, first);
  EXPECT_EQ(Pass(queue, 30ms), (std::vector{first, second}));
}

TEST(TimerQueue, LateTicksBecomeOneAndThePhaseIsKept) {
  TimerQueue queue;
  const std::int32_t id = queue.Add(50ms, 3ms, Nothing);
  EXPECT_EQ(Pass(queue, 1000ms), std::vector{id});
  EXPECT_EQ(queue.NextDeadline(), 1003ms);
}

TEST(TimerQueue, NextDeadlineLiesAfterNowAlsoWhenADeadlineIsNow) {
  TimerQueue queue;
  const std::int32_t id = queue.Add(50ms, 0ms, Nothing);
  EXPECT_EQ(Pass(queue, 200ms), std::vector{id});
  EXPECT_EQ(queue.NextDeadline(), 250ms);
}

TEST(TimerQueue, NextDeadlineCountsFromTheTimeOfTheTickNotOfThePass) {
  TimerQueue queue;
  queue.Add(50ms, 0ms, Nothing);
  ASSERT_TRUE(queue.TakeDue(50ms, 180ms).has_value());
  EXPECT_EQ(queue.NextDeadline(), 200ms);
}

TEST(TimerQueue, IdentifiersArePositiveAndIncrease) {
  TimerQueue queue;
  std::int32_t last = 0;
  for (int i = 0; i < 100; ++i) {
    const std::int32_t id = queue.Add(10ms, 0ms, Nothing);
    EXPECT_GT(id, last);
    last = id;
    if (i % 2 == 0) queue.Kill(id);
  }
}

TEST(TimerQueue, IdentifiersBeginAgainAtOneBehindTheLargestAndSkipTimersAlive) {
  TimerQueue queue(4);
  for (std::int32_t id = 1; id <= 4; ++id)
    EXPECT_EQ(queue.Add(10ms, 0ms, Nothing), id);
  queue.Kill(1);
  queue.Kill(3);
  EXPECT_EQ(queue.Add(10ms, 0ms, Nothing), 1);
  EXPECT_EQ(queue.Add(10ms, 0ms, Nothing), 3);
}

TEST(TimerQueue, PeriodIsRaisedToOneMillisecondAndLoweredToTheLongest) {
  TimerQueue queue;
  const std::int32_t id = queue.Add(-5ms, 100ms, Nothing);
  EXPECT_EQ(queue.NextDeadline(), 101ms);
  queue.Kill(id);
  queue.Add(milliseconds::max(), 100ms, Nothing);
  EXPECT_EQ(queue.NextDeadline(), 100ms + TimerQueue::LongestPeriod);
}

TEST(TimerQueue, KillReturnsTheCallbackOnceAndIgnoresOtherIdentifiers) {
  TimerQueue queue;
  std::int32_t told = 0;
  const std::int32_t id = queue.Add(10ms, 0ms, [&](std::int32_t timerId) { told = timerId; });
  EXPECT_EQ(queue.Kill(id + 1), nullptr);
  EXPECT_EQ(queue.Kill(0), nullptr);
  EXPECT_EQ(queue.Kill(-1), nullptr);
  EXPECT_EQ(queue.Count(), 1U);
  const auto callback = queue.Kill(id);
  ASSERT_NE(callback, nullptr);
  (*callback)(77);
  EXPECT_EQ(told, 77);
  EXPECT_EQ(queue.Kill(id), nullptr);
  EXPECT_EQ(queue.Count(), 0U);
  EXPECT_EQ(Pass(queue, 100ms), std::vector<std::int32_t>{});
}

TEST(TimerQueue, CallbackThatKillsItsTimerLivesUntilItReturns) {
  TimerQueue queue;
  const auto held = std::make_shared<int>(5);
  std::weak_ptr<int> watch = held;
  int seen = 0;
  queue.Add(10ms, 0ms, [&queue, &seen, kept = held](std::int32_t id) {
    queue.Kill(id);
    seen = *kept;
  });
  Pass(queue, 10ms);
  EXPECT_EQ(seen, 5);
  EXPECT_EQ(queue.Count(), 0U);
  EXPECT_EQ(watch.use_count(), 1) << "the ended callback is still held";
}

TEST(TimerQueue, TimerStartedByACallbackWaitsForItsOwnDeadline) {
  TimerQueue queue;
  std::int32_t added = 0;
  const std::int32_t id = queue.Add(10ms, 0ms, [&](std::int32_t) {
    if (added == 0) added = queue.Add(1ms, 10ms, Nothing);
  });
  EXPECT_EQ(Pass(queue, 10ms), std::vector{id});
  EXPECT_EQ(Pass(queue, 11ms), std::vector{added});
}

TEST(TimerQueue, TimerKilledByAnEarlierCallbackOfThePassIsNotTaken) {
  TimerQueue queue;
  std::int32_t victim = 0;
  const std::int32_t killer = queue.Add(10ms, 0ms, [&](std::int32_t) { queue.Kill(victim); });
  victim = queue.Add(10ms, 0ms, Nothing);
  EXPECT_EQ(Pass(queue, 10ms), std::vector{killer});
}

TEST(TimerQueue, NestedPassTakesTheOthersAndTheRunningTimerOnlyWhenDueAgain) {
  TimerQueue queue;
  std::vector<std::int32_t> nestedAtOnce;
  std::vector<std::int32_t> nestedLater;
  bool nested = false;
  const std::int32_t outer = queue.Add(10ms, 0ms, [&](std::int32_t) {
    if (nested) return;
    nested = true;
    nestedAtOnce = Pass(queue, 10ms);
    nestedLater = Pass(queue, 20ms);
  });
  const std::int32_t other = queue.Add(10ms, 0ms, Nothing);
  EXPECT_EQ(Pass(queue, 10ms), std::vector{outer});
  EXPECT_EQ(nestedAtOnce, std::vector{other});
  EXPECT_EQ(nestedLater, (std::vector{outer, other}));
}

}  // namespace
}  // namespace orvo
