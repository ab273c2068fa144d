// The time-out of a synchronous request, and what comes late.

#include "platform/portable/PortablePlatform.h"
#include "unit/server/SynchronousFixture.h"

#include <ctime>

namespace orvo::testing {
namespace {

class SynchronousTimeout : public SynchronousTest {
 protected:
  // A read that nobody answers, and how long it took.
  std::chrono::milliseconds Unanswered() {
    const auto begin = plant->platform.Now();
    const auto request = RunRead();
    EXPECT_EQ(request->Error(), 1);
    EXPECT_FALSE(Pending());
    return plant->platform.Now() - begin;
  }
  void AdvanceTo(std::chrono::milliseconds time) { plant->Advance(time - plant->platform.Now()); }
};

TEST_F(SynchronousTimeout, ARequestThatIsNeverAnsweredReturnsSlightlyAfterTenSecondsWithOne) {
  Open();
  const auto begin = plant->platform.Now();
  EXPECT_EQ(Read().substr(0, 19), "[Empty,Empty] [1,1]");
  const auto took = plant->platform.Now() - begin;
  EXPECT_GT(took, 10000ms);
  EXPECT_LE(took, 10050ms);
  EXPECT_EQ(Driver().log, Log{ReadOfBoth});
  EXPECT_EQ(plant->events, Log{});
  EXPECT_FALSE(Pending());
  EXPECT_TRUE(Server().Spooler()->IsBusy());
}

TEST_F(SynchronousTimeout, DoesNotFollowTheTimeoutProperty) {
  for (const std::int16_t timeout : {std::int16_t{0}, std::int16_t{1}, std::int16_t{32767}}) {
    SCOPED_TRACE(timeout);
    group.reset();
    StartAt(SimulatedPlatform::DefaultStart);
    BringTo(2);
    Server().PutTimeout(timeout);
    Open();
    const auto took = Unanswered();
    EXPECT_GT(took, 10000ms);
    EXPECT_LE(took, 10050ms);
  }
}

TEST_F(SynchronousTimeout, AnAnswerThatIsDeliveredAtExactlyTenSecondsIsInTime) {
  Open();
  plant->AnswerByItself(9930ms);
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 10000");
}

TEST_F(SynchronousTimeout, ARequestStillQueuedIsCancelledAndNeverSent) {
  Open();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  const auto request = RunRead();
  EXPECT_EQ(request->Error(), 1);
  EXPECT_EQ(request->TransactionId(), 2);
  Driver().Sink().AsyncReadComplete({Word(5)}, {0});
  plant->Advance(1s);
  EXPECT_EQ(Driver().log, Log{"ReadItems(addresses=[1],dimensions=[1])"});
  EXPECT_EQ(plant->events, Log{"AsyncReadComplete 1 [1] [I2:5] [0]"});
  plant->AnswerByItself();
  EXPECT_EQ(Read().substr(0, 17), "[I2:1,I2:2] [0,0]");
}

TEST_F(SynchronousTimeout, PumpsOnceMoreAfterTheFlagWasCleared) {
  Open();
  std::string latest;
  // What the pass that finds the time over posts is left for one more pass.
  const std::int32_t timer = plant->platform.SetTimer(
      10ms, [&](std::int32_t) { plant->platform.Post([&] { latest = Pending() ? "pending" : "released"; }); });
  EXPECT_GT(Unanswered(), 10s);
  EXPECT_EQ(latest, "released");
  plant->platform.KillTimer(timer);
}

TEST_F(SynchronousTimeout, AnAnswerThatIsDeliveredInThePassThatFindsTheTimeOverComesTooLate) {
  Open();
  At(60ms, [this] { Answer(7, 8); });
  At(70ms, [this] { plant->platform.Jump(11s); });  // the application stalls; the next tick delivers
  EXPECT_EQ(Read().substr(0, 19), "[Empty,Empty] [1,1]");
  EXPECT_FALSE(Pending());
  EXPECT_FALSE(Server().Spooler()->IsBusy());
  EXPECT_TRUE(group->KELDataItems()->Item(1)->DATAValue().IsEmpty());
}

TEST_F(SynchronousTimeout, AnAnswerThatIsDeliveredInThePassAfterTheTimeWasLookedAtIsInTimeHoweverLate) {
  Open();
  At(60ms, [this] { Answer(7, 8); });
  // What a pass posts is left for the next one; that is the one after the look at the time.
  At(70ms, [this] { plant->platform.Post([this] { plant->platform.Jump(11s); }); });
  EXPECT_EQ(Read(), "[I2:7,I2:8] [0,0] 11070");
}

TEST_F(SynchronousTimeout, AWaitBegunFiveSecondsBeforeMidnightHasNoTimeout) {
  StartAt({2024, 1, 15, 23, 59, 55, 0});
  Open();
  plant->AnswerByItself(60s);
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 60100");
  plant->platform.PutLocalTime({2024, 1, 15, 23, 59, 55, 0});
  plant->AnswerByItself(20min);
  EXPECT_EQ(Read().substr(0, 17), "[I2:1,I2:2] [0,0]");
}

TEST_F(SynchronousTimeout, AWaitThatEndsJustBeforeMidnightTimesOutAsEver) {
  StartAt({2024, 1, 15, 23, 59, 49, 0});
  Open();
  const auto took = Unanswered();
  EXPECT_GT(took, 10000ms);
  EXPECT_LE(took, 10100ms);
}

TEST_F(SynchronousTimeout, AClockSetForwardEndsTheWaitAndOneSetBackProlongsIt) {
  Open();
  At(1000ms, [this] { plant->platform.PutLocalTime({2024, 1, 15, 13, 0, 0, 0}); });
  EXPECT_EQ(Unanswered(), 1000ms);
  Answer(1, 2);
  plant->Advance(200ms);
  At(1000ms, [this] { plant->platform.PutLocalTime({2024, 1, 15, 12, 59, 0, 0}); });
  EXPECT_GT(Unanswered(), 60s);
}

TEST_F(SynchronousTimeout, ALateAnswerOfAnEarlierCallEndsTheNextOneWhichIsCancelledUnsent) {
  Open();
  Unanswered();
  AdvanceTo(10060ms);  // the next tick, at 10100, delivers
  Answer(7, 8);
  const auto second = RunRead();
  EXPECT_EQ(second->Error(), 1);
  EXPECT_EQ(second->TransactionId(), 2);
  EXPECT_EQ(plant->platform.Now(), 10100ms);
  EXPECT_FALSE(Pending());
  plant->AnswerByItself();
  plant->Advance(100ms);
  EXPECT_EQ(Driver().log, Log{ReadOfBoth});
  EXPECT_EQ(Read().substr(0, 17), "[I2:1,I2:2] [0,0]");
}

TEST_F(SynchronousTimeout, ALateAnswerOfAnEarlierCallEndsTheNextOneAlsoWhenThatWasSentAlready) {
  Open();
  Unanswered();
  AdvanceTo(10110ms);  // the next tick, at 10150, sends; the one after it delivers
  Answer(7, 8);
  const auto second = RunRead();
  EXPECT_EQ(second->Error(), 1);
  EXPECT_EQ(plant->platform.Now(), 10200ms);
  EXPECT_EQ(Driver().log, (Log{ReadOfBoth, ReadOfBoth}));
  EXPECT_EQ(Read(), "[Empty,Empty] [1,1] 0");  // the second is still in flight
  Answer(9, 9);
  plant->Advance(200ms);
  plant->AnswerByItself();
  EXPECT_EQ(Read().substr(0, 17), "[I2:1,I2:2] [0,0]");
}

TEST_F(SynchronousTimeout, ALateAnswerWithoutAWaitingCallerChangesNothing) {
  Open();
  Unanswered();
  Answer(7, 8);
  plant->Advance(200ms);
  EXPECT_FALSE(Pending());
  EXPECT_EQ(plant->events, Log{});
  EXPECT_TRUE(group->KELDataItems()->Item(1)->DATAValue().IsEmpty());
}

TEST_F(SynchronousTimeout, ACallInsideADeliveryBlocksAndBreaksTheLockAndItsRequestIsSentLater) {
  Open();
  plant->AnswerByItself();
  auto sink = std::make_shared<GroupEventLog>(plant->events, "inside ");
  std::string nested;
  sink->handlers["AsyncReadComplete"] = [&] {
    sink->handlers.clear();
    nested = Read();
  };
  group->Events().Advise(sink);
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(100ms);
  EXPECT_EQ(nested.substr(0, 19), "[Empty,Empty] [1,1]");
  const std::int64_t took = std::stoll(nested.substr(20));
  EXPECT_GT(took, 12000);
  EXPECT_LE(took, 12150);
  EXPECT_EQ(Driver().log, Log{"ReadItems(addresses=[1],dimensions=[1])"});
  plant->Advance(1s);
  EXPECT_EQ(Driver().log, (Log{"ReadItems(addresses=[1],dimensions=[1])", ReadOfBoth}));
  EXPECT_EQ(Read().substr(0, 17), "[I2:1,I2:2] [0,0]");
}

TEST_F(SynchronousTimeout, ClosingCommunicationDuringTheWaitLeavesItToItsTimeout) {
  Open();
  plant->platform.Post([this] { Server().CloseCommunication(); });
  const auto took = Unanswered();
  EXPECT_GT(took, 10000ms);
  EXPECT_LE(took, 10200ms);
  EXPECT_EQ(Server().ServerStatus(), 2);
  Driver().log.clear();
  Server().OpenCommunication();
  plant->Advance(1s);
  EXPECT_EQ(Driver().log, Log{"OpenCommunication(true)"});  // the request was cancelled
}

// Counts what passes through to a simulated platform.
class CountingPlatform final : public ThreadPlatform {
 public:
  explicit CountingPlatform(SimulatedPlatform& inner) : inner_(inner) {}
  int pumps = 0;
  int waits = 0;

  std::uint32_t TickCount() const override { return inner_.TickCount(); }
  float SecondsSinceMidnight() const override { return inner_.SecondsSinceMidnight(); }
  Date LocalNow() const override { return inner_.LocalNow(); }
  std::int32_t SetTimer(std::chrono::milliseconds period, TimerCallback callback) override {
    return inner_.SetTimer(period, std::move(callback));
  }
  void KillTimer(std::int32_t timerId) override { inner_.KillTimer(timerId); }
  void PumpOnce() override {
    ++pumps;
    inner_.PumpOnce();
  }
  void WaitForWork(std::chrono::milliseconds atMost) override {
    ++waits;
    EXPECT_GT(atMost, 0ms);
    inner_.WaitForWork(atMost);
  }
  void Post(std::function<void()> call) override { inner_.Post(std::move(call)); }

 private:
  SimulatedPlatform& inner_;
};

TEST_F(SynchronousTimeout, TheWaitPumpsAFewTimesPerTickAndWaitsInBetween) {
  CountingPlatform counting(plant->platform);
  const auto server = KELDataServer::Create({counting, plant->files, plant->drivers});
  server->SetDriverConfigurationFile("drivers.ini");
  server->PutDeviceType(2);
  const auto own = server->KELDataGroups()->Add();
  own->KELDataItems()->Add("WO100");
  server->OpenCommunication();
  counting.pumps = 0;
  EXPECT_EQ(server->RunRead(*own, {1})->Error(), 1);
  EXPECT_GT(plant->platform.Now(), 10s);
  EXPECT_GE(counting.pumps, 200);   // ten seconds of ticks every 50 ms were run
  EXPECT_LE(counting.pumps, 1100);  // and hardly more than those
  EXPECT_GE(counting.waits, 200);
}

TEST_F(SynchronousTimeout, TheWaitOnTheRealClockUsesHardlyAnyProcessorTime) {
#ifdef _WIN32
  GTEST_SKIP() << "std::clock of Windows counts the time that has passed, not the processor's";
#endif
  PortablePlatform platform;
  const auto server = KELDataServer::Create({platform, plant->files, plant->drivers});
  server->SetDriverConfigurationFile("drivers.ini");
  server->PutDeviceType(2);
  const auto own = server->KELDataGroups()->Add();
  own->KELDataItems()->Add("WO100");
  server->OpenCommunication();
  Driver().during["ReadItems"] = [&] {
    platform.SetTimer(250ms, [&](std::int32_t timerId) {
      platform.KillTimer(timerId);
      Driver().Sink().AsyncReadComplete({Word(5)}, {0});
    });
  };
  const std::clock_t processorBegin = std::clock();
  EXPECT_EQ(server->RunRead(*own, {1})->Error(), 0);
  const double processorSeconds = static_cast<double>(std::clock() - processorBegin) / CLOCKS_PER_SEC;
  // The answer comes after 250 ms: a wait that asks again and again would use most of them.
  EXPECT_LT(processorSeconds, 0.1);
}

}  // namespace
}  // namespace orvo::testing
