#include "SpoolerFixture.h"

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

class SpoolerTimer : public SpoolerFixture {
 protected:
  // From now on the driver answers at once, by a message, and the journal has the time of each step.
  void WatchTimes() {
    driver->during["ReadItems"] = [this] {
      journal.back() = Stamp() + "sent";
      platform.Post([this] { Complete(); });
    };
    events->handlers["ReadRequestComplete"] = [this] { journal.back() = Stamp() + journal.back(); };
  }
  std::string Stamp() const { return std::to_string(platform.Now().count()) + " "; }
  void Stop() {
    spooler->StopSpooler();
    EXPECT_EQ(platform.TimersAlive(), 0U);
  }
};

TEST_F(SpoolerTimer, TicksEvery50MillisecondsSendAndDeliverInTurn) {
  WatchTimes();
  for (int k = 0; k < 3; ++k)
    Queue(RT_ReadItemSync);
  spooler->StartSpooler();
  EXPECT_GT(timer.TimerId(), 0);
  platform.Advance(ms(400));
  EXPECT_EQ(journal, (Log{"50 sent", "100 ReadRequestComplete 1", "150 sent", "200 ReadRequestComplete 2",
                          "250 sent", "300 ReadRequestComplete 3"}));
  Stop();
  EXPECT_EQ(timer.TimerId(), 0);
}

TEST_F(SpoolerTimer, AtMostOneResultIsDeliveredIn100Milliseconds) {
  for (int k = 0; k < 3; ++k)
    spooler->AddDeliver(Make(RT_ReadItemSync));
  WatchTimes();
  spooler->StartSpooler();
  platform.Advance(ms(500));
  EXPECT_EQ(journal,
            (Log{"100 ReadRequestComplete 0", "200 ReadRequestComplete 0", "300 ReadRequestComplete 0"}));
  Stop();
}

TEST_F(SpoolerTimer, StartTwiceThenStopOnceLeavesNoTimer) {
  spooler->StartSpooler();
  const std::int32_t id = timer.TimerId();
  platform.Advance(ms(20));
  spooler->StartSpooler();
  EXPECT_EQ(timer.TimerId(), id);
  EXPECT_EQ(platform.TimersAlive(), 1U);
  spooler->StopSpooler();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(timer.TimerId(), 0);
  EXPECT_TRUE(timer.ServerTerminating);
  Queue(RT_ReadItemSync);
  platform.Advance(ms(1000));
  EXPECT_EQ(journal, Log{});
  spooler->StopSpooler();  // once more does no harm
}

TEST_F(SpoolerTimer, ATickThatWasOnItsWayWhenTheTimerStoppedCallsNothingAndKeepsThePhase) {
  spooler->StartSpooler();
  const std::int32_t id = timer.TimerId();
  spooler->StopSpooler();
  Queue(RT_ReadItemSync);
  bool pumped = false;
  platform.Post([&] { pumped = true; });
  EXPECT_TRUE(platform.DeliverLateTick(id));
  EXPECT_EQ(journal, Log{});
  EXPECT_FALSE(pumped);
  EXPECT_EQ(platform.TimersAlive(), 0U);
  WatchTimes();
  spooler->StartSpooler();
  EXPECT_FALSE(timer.ServerTerminating);
  platform.Advance(ms(50));  // still the phase that sends
  EXPECT_EQ(journal, (Log{"50 sent"}));
  Stop();
}

TEST_F(SpoolerTimer, ThePhaseGoesOnAcrossStopAndStart) {
  WatchTimes();
  spooler->StartSpooler();
  platform.Advance(ms(50));
  spooler->StopSpooler();
  spooler->AddDeliver(Make(RT_ReadItemSync));
  Queue(RT_ReadItemSync);
  spooler->StartSpooler();
  platform.Advance(ms(50));
  EXPECT_EQ(journal, (Log{"100 ReadRequestComplete 0"}));
  Stop();
}

TEST_F(SpoolerTimer, ServerTerminatingMakesTheNextTickKillItsTimer) {
  Queue(RT_ReadItemSync);
  spooler->StartSpooler();
  timer.ServerTerminating = true;
  platform.Advance(ms(200));
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(journal, Log{});
  // A later start runs again.
  WatchTimes();
  timer.RegisterSpooler(spooler);
  EXPECT_FALSE(timer.ServerTerminating);
  spooler->StartSpooler();
  platform.Advance(ms(50));
  EXPECT_EQ(journal, (Log{"250 sent"}));
  Stop();
}

TEST_F(SpoolerTimer, WithoutARegisteredSpoolerATickKillsItsTimer) {
  spooler->StartSpooler();
  EXPECT_TRUE(timer.UnregisterSpooler(*spooler));
  EXPECT_FALSE(timer.UnregisterSpooler(*spooler));
  Queue(RT_ReadItemSync);
  platform.Advance(ms(50));
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(journal, Log{});
}

TEST_F(SpoolerTimer, RegisteringClearsServerTerminatingAndReplacesAnEarlierSpooler) {
  const auto second = DataRequests::Create(platform);
  second->PutDataComm(driver);
  TakeJournal();
  spooler->StopSpooler();
  EXPECT_TRUE(timer.ServerTerminating);
  timer.RegisterSpooler(second);
  EXPECT_FALSE(timer.ServerTerminating);
  EXPECT_TRUE(timer.IsRegistered(*second));
  EXPECT_FALSE(timer.IsRegistered(*spooler));
  EXPECT_FALSE(timer.UnregisterSpooler(*spooler));
  Queue(RT_ReadItemSync);
  second->AddRequest(Make(RT_WriteItemSync));
  timer.Start();
  platform.Advance(ms(300));
  EXPECT_EQ(journal, (Log{"WriteItems(addresses=[55],dimensions=[2],values=[I4:5,I4:6])"}));
  Stop();
}

TEST_F(SpoolerTimer, TheEndOfAnEarlierSpoolerLeavesTheLaterOnesTimerAlone) {
  auto second = DataRequests::Create(platform);
  timer.RegisterSpooler(second);
  timer.Start();
  spooler.reset();
  EXPECT_EQ(platform.TimersAlive(), 1U);
  EXPECT_TRUE(timer.IsRegistered(*second));
  EXPECT_FALSE(timer.ServerTerminating);
  second.reset();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(timer.TimerId(), 0);
}

TEST_F(SpoolerTimer, ANestedTickWhileARequestIsBeingSentDoesNothingAndKeepsThePhase) {
  WatchTimes();
  Queue(RT_ReadItemSync);
  spooler->AddDeliver(Make(RT_WriteItemSync));
  int nested = 0;
  driver->during["ReadItems"] = [&] {
    journal.back() = Stamp() + "sent";
    platform.Jump(ms(50));
    platform.SetTimer(ms(10), [&](std::int32_t id) {
      platform.KillTimer(id);
      ++nested;
    });
    platform.Jump(ms(10));
    platform.PumpOnce();
    journal.push_back(Stamp() + "send ends");
  };
  events->handlers["WriteRequestComplete"] = [&] { journal.back() = Stamp() + journal.back(); };
  spooler->StartSpooler();
  platform.Advance(ms(200));
  EXPECT_EQ(nested, 1);  // the pump did run timers
  // The tick at 100 (run at 110) was a no-op, so the one at 150 delivers.
  EXPECT_EQ(journal, (Log{"50 sent", "110 send ends", "150 WriteRequestComplete 0"}));
  Stop();
}

TEST_F(SpoolerTimer, ANestedTickWhileAResultIsBeingDeliveredDoesNothingAndKeepsThePhase) {
  WatchTimes();
  Queue(RT_ReadItemSync);
  Queue(RT_ReadItemSync);
  spooler->AddDeliver(Make(RT_WriteItemSync));
  spooler->AddDeliver(Make(RT_WriteItemSync));
  events->handlers["WriteRequestComplete"] = [&] {
    journal.back() = Stamp() + journal.back();
    platform.Jump(ms(130));  // the ticks of 150 and 200 come as one
    platform.PumpOnce();
    journal.push_back(Stamp() + "delivery ends");
  };
  spooler->StartSpooler();
  platform.Advance(ms(160));
  EXPECT_EQ(platform.Now(), ms(230));
  platform.Advance(ms(20));
  EXPECT_EQ(journal, (Log{"50 sent", "100 WriteRequestComplete 0", "230 delivery ends", "250 sent"}));
  Stop();
}

TEST_F(SpoolerTimer, ATickPumpsBeforeItLooksAtThePhase) {
  Queue(RT_ReadItemSync);
  spooler->AddDeliver(Make(RT_WriteItemSync));
  events->handlers["WriteRequestComplete"] = [&] { journal.back() = Stamp() + journal.back(); };
  spooler->StartSpooler();
  driver->during["ReadItems"] = [&] { journal.back() = Stamp() + "sent"; };
  bool first = true;
  // Due together with the spooler's tick and after it: runs in the tick's own pump, and lets the next tick come
  // due inside.
  platform.SetTimer(ms(50), [&](std::int32_t id) {
    if (!first) return platform.KillTimer(id);
    first = false;
    platform.Jump(ms(50));
    platform.PumpOnce();
    journal.push_back(Stamp() + "pump ends");
  });
  platform.Advance(ms(50));
  EXPECT_EQ(journal, (Log{"100 sent", "100 pump ends", "100 WriteRequestComplete 0"}));
  platform.Advance(ms(200));
  Stop();
}

TEST_F(SpoolerTimer, StartClearsTheGuardsOfATickThatNeverCameBack) {
  WatchTimes();
  Queue(RT_ReadItemSync);
  Queue(RT_ReadItemSync);
  bool nested = false;
  driver->during["ReadItems"] = [&] {
    journal.back() = Stamp() + "sent";
    Complete();
    if (std::exchange(nested, true)) return;
    spooler->StartSpooler();  // the guard of this very tick
    platform.Jump(ms(50));
    platform.PumpOnce();
    journal.push_back(Stamp() + "send ends");
  };
  spooler->StartSpooler();
  platform.Advance(ms(50));
  // The completed request made room: the nested tick sends the next.
  EXPECT_EQ(journal, (Log{"50 sent", "100 sent", "100 send ends"}));
  Stop();
}

TEST_F(SpoolerTimer, StartClearsTheGuardOfADeliveryToo) {
  spooler->AddDeliver(Make(RT_WriteItemSync));
  std::vector<ms> stalls;
  const auto pumpOneTick = [&] {
    platform.Jump(ms(50));
    stalls.push_back(TimeOf([&] { platform.PumpOnce(); }));
  };
  events->handlers["WriteRequestComplete"] = [&] {
    pumpOneTick();            // guarded: does nothing
    spooler->StartSpooler();  // now the nested tick tries to deliver, and waits for the lock
    pumpOneTick();
  };
  spooler->StartSpooler();
  platform.Advance(ms(100));
  ASSERT_EQ(stalls.size(), 2U);
  EXPECT_EQ(stalls[0], ms(0));
  EXPECT_TRUE(IsBrokenLock(stalls[1]));
  Stop();
}

TEST_F(SpoolerTimer, ATickAfterTheSpoolersEndKillsItsTimer) {
  spooler->StartSpooler();
  const std::int32_t id = timer.TimerId();
  spooler.reset();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_TRUE(platform.DeliverLateTick(id));
  EXPECT_TRUE(timer.ServerTerminating);
}

TEST_F(SpoolerTimer, TheSpoolerMayEndInsideItsOwnTick) {
  for (const bool sending : {true, false}) {
    SCOPED_TRACE(sending ? "sending" : "delivering");
    spooler = DataRequests::Create(platform);
    spooler->PutDataComm(driver);
    spooler->Events().Advise(events);
    timer.RegisterSpooler(spooler);
    TakeJournal();
    driver->during["ReadItems"] = [&] {
      if (sending) spooler.reset();
    };
    events->handlers["WriteRequestComplete"] = [&] { spooler.reset(); };
    Queue(RT_ReadItemSync);
    Queue(RT_ReadItemSync);
    spooler->AddDeliver(Make(RT_WriteItemSync));
    spooler->StartSpooler();
    platform.Advance(ms(300));
    EXPECT_EQ(spooler, nullptr);
    EXPECT_EQ(platform.TimersAlive(), 0U);
    EXPECT_EQ(journal,
              sending ? Log{"ReadItems(addresses=[55],dimensions=[2])"} : Log{"WriteRequestComplete 0"});
    EXPECT_EQ(timer.TimerId(), 0);
  }
}

}  // namespace
}  // namespace orvo::testing
