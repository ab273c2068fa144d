#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/modGroupsSpooler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using ms = std::chrono::milliseconds;
using Ids = std::vector<std::int32_t>;

class Receiver final : public IExecuteTimerTick {
 public:
  Ids ticks;
  std::function<void(std::int32_t&)> during;
  void Execute(std::int32_t& lTimerId) override {
    ticks.push_back(lTimerId);
    if (during) during(lTimerId);
  }
};

class GroupTimers : public ::testing::Test {
 protected:
  GroupTimers() { timers.RegisterReceiver(receiver); }
  SimulatedPlatform platform;
  modGroupsSpooler& timers = platform.ModuleState<modGroupsSpooler>();
  std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>();
};

TEST_F(GroupTimers, EachTimerTicksAtItsOwnRateWithItsOwnId) {
  const std::int32_t slow = timers.StartTimer(300);
  const std::int32_t fast = timers.StartTimer(200);
  EXPECT_GT(slow, 0);
  EXPECT_GT(fast, 0);
  EXPECT_NE(slow, fast);
  platform.Advance(ms(199));
  EXPECT_EQ(receiver->ticks, Ids{});
  platform.Advance(ms(651));
  // At 600 both are due: the earlier tick pumps, and the later one runs inside it.
  EXPECT_EQ(receiver->ticks, (Ids{fast, slow, fast, fast, slow, fast}));
  EXPECT_EQ(platform.TimersAlive(), 2U);  // a tick does not kill its own timer
}

TEST_F(GroupTimers, AnIntervalBelowTenMillisecondsIsTen) {
  for (const std::int32_t interval : {9, 1, 0, -5}) {
    SCOPED_TRACE(interval);
    receiver->ticks.clear();
    const std::int32_t id = timers.StartTimer(interval);
    platform.Advance(ms(9));
    EXPECT_EQ(receiver->ticks, Ids{});
    platform.Advance(ms(11));
    EXPECT_EQ(receiver->ticks, (Ids{id, id}));
    timers.StopTimer(id);
  }
}

TEST_F(GroupTimers, EachStartGrowsTheTableByAnElementThatStays0) {
  EXPECT_EQ(timers.TimerTable(), (Ids{0}));
  const std::int32_t id = timers.StartTimer(100);
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0}));
  timers.StartTimer(100);
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0, 0}));
  timers.StopTimer(id);  // is not found there
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0, 0}));
  timers.StopTimer(0);  // is found at the lower bound, which stays
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0, 0}));
  timers.RegisterReceiver(receiver);
  EXPECT_EQ(timers.TimerTable(), (Ids{0}));
}

TEST_F(GroupTimers, AStoppedTimerTicksNoMoreAndTheOthersGoOn) {
  const std::int32_t one = timers.StartTimer(100);
  const std::int32_t two = timers.StartTimer(100);
  timers.StopTimer(one);
  timers.StopTimer(one);
  timers.StopTimer(-1);
  platform.Advance(ms(250));
  EXPECT_EQ(receiver->ticks, (Ids{two, two}));
}

TEST_F(GroupTimers, ATickThatWasOnItsWayIsHandedOnAllTheSame) {
  const std::int32_t id = timers.StartTimer(100);
  timers.StopTimer(id);
  EXPECT_TRUE(platform.DeliverLateTick(id));
  EXPECT_EQ(receiver->ticks, (Ids{id}));
}

TEST_F(GroupTimers, AfterTheReceiversEndEachTimerDiesWithItsNextTick) {
  timers.StartTimer(100);
  timers.StartTimer(200);
  timers.EndReceiver(*receiver);
  EXPECT_EQ(timers.TimerTable(), (Ids{0}));
  EXPECT_EQ(platform.TimersAlive(), 2U);  // the table never learnt their ids
  platform.Advance(ms(100));
  EXPECT_EQ(platform.TimersAlive(), 1U);
  platform.Advance(ms(100));
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(receiver->ticks, Ids{});
}

TEST_F(GroupTimers, OnlyTheRegisteredReceiverCanEndItsRegistration) {
  const auto second = std::make_shared<Receiver>();
  timers.StartTimer(100);
  timers.EndReceiver(*second);
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0}));
  timers.RegisterReceiver(second);
  EXPECT_EQ(timers.TimerTable(), (Ids{0}));
  const std::int32_t id = timers.StartTimer(1000);
  timers.EndReceiver(*receiver);
  EXPECT_EQ(timers.TimerTable(), (Ids{0, 0}));
  platform.Advance(ms(1000));
  EXPECT_EQ(receiver->ticks, Ids{});
  EXPECT_EQ(second->ticks.size(), 11U);  // a timer of the earlier receiver's time goes on
  EXPECT_EQ(std::count(second->ticks.begin(), second->ticks.end(), id), 1);
}

TEST_F(GroupTimers, AReceiverThatDiedGetsNoTickAndTheTimersDie) {
  timers.StartTimer(100);
  receiver.reset();
  platform.Advance(ms(100));
  EXPECT_EQ(platform.TimersAlive(), 0U);
}

TEST_F(GroupTimers, WhatTheReceiverThrowsOrStoresInTheIdIsIgnored) {
  const std::int32_t id = timers.StartTimer(100);
  const std::int32_t other = timers.StartTimer(1000);
  receiver->during = [&](std::int32_t& lTimerId) {
    lTimerId = other;
    throw std::runtime_error("inside");
  };
  platform.Advance(ms(250));
  EXPECT_EQ(receiver->ticks, (Ids{id, id}));
  EXPECT_EQ(platform.TimersAlive(), 2U);
}

TEST_F(GroupTimers, ATickPumpsOnceBeforeItLooksForTheReceiver) {
  const std::int32_t id = timers.StartTimer(100);
  platform.Jump(ms(100));
  platform.Post([&] { platform.Post([&] { timers.EndReceiver(*receiver); }); });
  platform.PumpOnce();  // the message, then the tick with the message of the message
  EXPECT_EQ(receiver->ticks, Ids{});
  EXPECT_EQ(platform.TimersAlive(), 0U);
  timers.Tick(id);
  EXPECT_EQ(receiver->ticks, Ids{});
}

TEST_F(GroupTimers, AReceiverMayEndInsideItsOwnTick) {
  timers.StartTimer(100);
  receiver->during = [&](std::int32_t&) {
    timers.EndReceiver(*receiver);
    receiver.reset();
  };
  platform.Advance(ms(200));
  EXPECT_EQ(receiver, nullptr);
  EXPECT_EQ(platform.TimersAlive(), 0U);
}

TEST_F(GroupTimers, EachThreadHasItsOwn) {
  SimulatedPlatform otherThread;
  auto& others = otherThread.ModuleState<modGroupsSpooler>();
  timers.StartTimer(100);
  EXPECT_NE(&others, &timers);
  EXPECT_EQ(others.TimerTable(), (Ids{0}));
  EXPECT_EQ(&platform.ModuleState<modGroupsSpooler>(), &timers);
}

TEST(TimerTickInterface, TheClassItselfDoesNothing) {
  IExecuteTimerTick tick;
  std::int32_t id = 5;
  tick.Execute(id);
  EXPECT_EQ(id, 5);
}

}  // namespace
}  // namespace orvo::testing
