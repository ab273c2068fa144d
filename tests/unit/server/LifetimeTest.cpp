// The beginning and the end of a server, and more than one of them on a thread.

#include "unit/server/SynchronousFixture.h"

namespace orvo::testing {
namespace {

class Lifetime : public SynchronousTest {
 protected:
  // A second server, with a driver of its own, that reads the same configuration.
  std::shared_ptr<KELDataServer> Another() {
    plant->drivers.Register("Other.Channel", [this](DriverHost) { return other; });
    plant->files.PutFile("other.ini", "[Drivers]\nDataCommunication=Other.Channel\n1=PanelA\n");
    auto server = KELDataServer::Create(plant->Environment());
    server->SetDriverConfigurationFile("other.ini");
    server->PutDeviceType(1);
    return server;
  }
  void AnswerOther() {
    other->during["ReadItems"] = [this] {
      const std::size_t count = other->lastAddresses.Size();
      other->Sink().AsyncReadComplete(SafeArray<Variant>(count, 0, Word(9)), SafeArray<std::int32_t>(count));
    };
  }

  std::shared_ptr<ScriptedDriver> other = std::make_shared<ScriptedDriver>();
};

// Runs a function at its own end.
class AtEnd {
 public:
  explicit AtEnd(std::function<void()> act) : act_(std::move(act)) {}
  AtEnd(const AtEnd&) = delete;
  AtEnd& operator=(const AtEnd&) = delete;
  ~AtEnd() { act_(); }

 private:
  std::function<void()> act_;
};

template <class Sink>
std::shared_ptr<Sink> EndingWith(Log& log, std::function<void()> act) {
  return std::shared_ptr<Sink>(new Sink(log), [act = std::move(act)](Sink* sink) {
    act();
    delete sink;
  });
}

TEST_F(Lifetime, ANewServerPublishesItsSpoolerAndTakesBackTheStop) {
  EXPECT_TRUE(TimerModule().IsRegistered(*Server().Spooler()));
  EXPECT_FALSE(TimerModule().ServerTerminating);
  EXPECT_FALSE(Pending());
  TimerModule().ServerTerminating = true;
  TimerModule().SyncRequestPending = true;
  const auto second = KELDataServer::Create(plant->Environment());
  EXPECT_FALSE(TimerModule().ServerTerminating);
  EXPECT_TRUE(Pending());  // a caller that waits goes on waiting
  EXPECT_TRUE(TimerModule().IsRegistered(*second->Spooler()));
  EXPECT_FALSE(TimerModule().IsRegistered(*Server().Spooler()));
}

TEST_F(Lifetime, TheEndStopsTheSpoolerAndReleasesSpoolerGroupsDeviceAndDriverInThisOrder) {
  Driver().prepareDevice = [this](ScriptedDevice& device) {
    const auto end = std::make_shared<AtEnd>([this] { plant->events.push_back("device"); });
    device.extract = [end](double, Variant&) {};
  };
  BringTo(2);
  auto end = std::make_shared<AtEnd>([this] { plant->events.push_back("driver"); });
  Driver().during["never"] = [end] {};
  Server().KELDataGroups()->Add()->Events().Advise(EndingWith<GroupEventLog>(plant->events, [this] {
    EXPECT_TRUE(TimerModule().ServerTerminating);
    plant->events.push_back("groups");
  }));
  Server().Spooler()->Events().Advise(EndingWith<SpoolerEventLog>(plant->events, [this] {
    EXPECT_TRUE(TimerModule().ServerTerminating);
    EXPECT_EQ(TimerModule().TimerId(), 0);
    plant->events.push_back("spooler");
  }));
  Server().OpenCommunication();
  Driver().log.clear();
  Driver().during["CloseCommunication"] = [this] { plant->events.push_back("closed"); };
  end.reset();
  plant->driver.reset();
  EXPECT_EQ(plant->events, Log{});
  plant->server.reset();
  EXPECT_EQ(plant->events, (Log{"spooler", "groups", "device", "driver"}));
}

TEST_F(Lifetime, TheEndStopsTheSpoolerAlsoWhileSomebodyHoldsIt) {
  Open();
  const auto spooler = Server().Spooler();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->server.reset();
  EXPECT_TRUE(TimerModule().ServerTerminating);
  EXPECT_EQ(TimerModule().TimerId(), 0);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  plant->Advance(1s);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(Lifetime, TheEndOfAnOpenServerLeavesNoTimerAndCallsTheDriverNoMore) {
  BringTo(2);
  for (int k = 0; k < 3; ++k) {
    const auto active = plant->AddGroup({"WO100"});
    active->PutUpdateRate(200);
    active->PutActive(true);
  }
  plant->AnswerByItself();
  Server().OpenCommunication();
  plant->Advance(1s);
  EXPECT_EQ(plant->platform.TimersAlive(), 4U);
  plant->events.clear();
  Driver().log.clear();
  plant->server.reset();
  EXPECT_EQ(TimerModule().TimerId(), 0);
  plant->Advance(1s);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(plant->events, Log{});
}

TEST_F(Lifetime, ALateSpoolerTickAfterTheEndDoesNothing) {
  Open();
  const std::int32_t timer = TimerModule().TimerId();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->server.reset();
  EXPECT_TRUE(plant->platform.DeliverLateTick(timer));
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(Lifetime, RequestsInEveryStageEndWithTheServer) {
  Open();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  Driver().Sink().AsyncReadComplete({Word(1)}, {0});  // waits for delivery
  group->AsyncRead({2}, id);
  group->AsyncRead({1}, id);
  Server().Spooler()->ProcessNext();  // in flight, and one waits behind it
  group.reset();
  plant->server.reset();
  EXPECT_EQ(plant->events, Log{});
}

TEST_F(Lifetime, ADriverThatOutlivesTheServerGetsNinetyOneFromItsSink) {
  Open();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  plant->server.reset();
  ASSERT_TRUE(Driver().HasSink());
  EXPECT_EQ(ErrorNumberOf([this] { Answer(1, 2); }), 91);
  EXPECT_EQ(ErrorNumberOf([this] { Driver().Sink().DownloadFirmwareInProgress(1); }), 91);
  EXPECT_EQ(ErrorNumberOf([this] { Driver().Sink().DownloadProjectComplete(); }), 91);
}

TEST_F(Lifetime, WhatAClientStillHoldsTellsThatTheServerIsGone) {
  Open();
  const auto groups = Server().KELDataGroups();
  plant->server.reset();
  EXPECT_EQ(groups->Parent(), nullptr);
  EXPECT_EQ(group->Parent(), nullptr);
  EXPECT_EQ(group->KELDataItems()->Count(), 2);
  EXPECT_EQ(ErrorOf([this] { Read(); }).substr(0, 70),
            Own(errInternal, "91:Object variable or With block variable not set").substr(0, 70));
}

TEST_F(Lifetime, TheLastReleaseInsideAGroupsEventIsSafe) {
  Open();
  plant->AnswerByItself();
  const std::weak_ptr<KELDataServer> server = plant->server;
  auto sink = std::make_shared<GroupEventLog>(plant->events, "last ");
  sink->handlers["AsyncReadComplete"] = [this] {
    group.reset();
    plant->server.reset();
  };
  group->Events().Advise(sink);
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  group->AsyncRead({2}, id);
  plant->Advance(1s);
  EXPECT_TRUE(server.expired());
  EXPECT_EQ(plant->events,
            (Log{"AsyncReadComplete 1 [1] [I2:1] [0]", "last AsyncReadComplete 1 [1] [I2:1] [0]"}));
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(Lifetime, TheLastReleaseInsideADriverCallIsSafe) {
  for (const char* operation : {"BaudRate", "PutTimeout", "CreateDevice", "PutNetworkType", "SetEventSink",
                                "OpenCommunication", "CloseCommunication"}) {
    SCOPED_TRACE(operation);
    StartAt(SimulatedPlatform::DefaultStart);
    BringTo(2);
    const std::weak_ptr<KELDataServer> server = plant->server;
    KELDataServer* const raw = plant->server.get();
    Driver().during[operation] = [&] {
      plant->server.reset();
      EXPECT_FALSE(server.expired());  // the call holds what it uses
    };
    const std::string name = operation;
    if (name == "BaudRate") raw->BaudRate();
    if (name == "PutTimeout") raw->PutTimeout(5);
    if (name == "CreateDevice") raw->PutDeviceType(1);
    if (name == "PutNetworkType" || name == "SetEventSink") raw->SetDriverConfigurationFile("drivers.ini");
    if (name == "OpenCommunication") raw->OpenCommunication();
    if (name == "CloseCommunication") raw->CloseCommunication();
    EXPECT_TRUE(server.expired());
    EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  }
}

TEST_F(Lifetime, AServerAfterTheEndOfAnotherOneWorks) {
  Open();
  Driver().log.clear();
  group.reset();
  plant->server.reset();
  plant->server = KELDataServer::Create(plant->Environment());
  plant->events.clear();
  plant->AnswerByItself();
  Open();
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 100");
}

TEST_F(Lifetime, TheEndOfAServerLeavesTheOneThatFollowedItRunning) {
  Open();
  const auto second = Another();
  const auto refreshed = second->KELDataGroups()->Add();
  refreshed->KELDataItems()->Add("WO300");
  refreshed->PutSubscribed(true);
  plant->Watch(*refreshed, "second ");
  refreshed->PutUpdateRate(200);
  refreshed->PutActive(true);
  AnswerOther();
  second->OpenCommunication();
  const std::int32_t timer = TimerModule().TimerId();
  group.reset();
  plant->server.reset();
  EXPECT_TRUE(TimerModule().IsRegistered(*second->Spooler()));
  EXPECT_FALSE(TimerModule().ServerTerminating);
  EXPECT_EQ(TimerModule().TimerId(), timer);
  plant->Advance(1s);
  EXPECT_EQ(plant->events, Log{"second DataChange [1] [I2:9]"});
  EXPECT_EQ(second->RunRead(*refreshed, {1})->Error(), 0);
}

TEST_F(Lifetime, TheEndOfTheRegisteredServerLeavesTheOlderOneWithoutTicksButWhole) {
  Open();
  plant->AnswerByItself();
  auto second = Another();
  second->OpenCommunication();
  second.reset();
  EXPECT_TRUE(TimerModule().ServerTerminating);
  EXPECT_EQ(TimerModule().TimerId(), 0);
  EXPECT_FALSE(TimerModule().IsRegistered(*Server().Spooler()));
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  Server().OpenCommunication();
  plant->Advance(1s);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  EXPECT_EQ(plant->events, Log{});
  Server().CloseCommunication();
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(Lifetime, OneCallerMayWaitPerThreadWhateverItsServer) {
  Open();
  const auto second = Another();
  const auto own = second->KELDataGroups()->Add();
  own->KELDataItems()->Add("WO300");
  second->OpenCommunication();
  AnswerOther();
  std::int32_t nested = -1;
  plant->platform.Post([&] { nested = Server().RunRead(*group, {1})->Error(); });
  EXPECT_EQ(second->RunRead(*own, {1})->Error(), 0);
  EXPECT_EQ(nested, 1);
}

TEST_F(Lifetime, ManyServersOneAfterTheOtherLeaveNothing) {
  const std::int64_t before = AutomationObject::LiveCount();
  for (int k = 0; k < 20; ++k) {
    Open();
    std::int32_t id = 0;
    group->AsyncRead({1}, id);
    plant->Advance(50ms);
    group.reset();
    plant->server = KELDataServer::Create(plant->Environment());
  }
  EXPECT_EQ(AutomationObject::LiveCount(), before);
}

}  // namespace
}  // namespace orvo::testing
