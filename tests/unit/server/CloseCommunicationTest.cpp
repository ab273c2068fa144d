// Closing communication, and what survives it.

#include "unit/server/ServerFixture.h"

#include <stdexcept>

namespace orvo::testing {
namespace {

class CloseCommunication : public ServerTest {};

TEST_F(CloseCommunication, StopsSpoolerAndGroupsThenClosesTheDriverThenChangesTheStatus) {
  BringTo(2);
  const auto group = Server().KELDataGroups()->Add();
  group->PutActive(true);
  Server().OpenCommunication();
  EXPECT_EQ(plant->platform.TimersAlive(), 2U);
  Driver().log.clear();
  Driver().logQuestions = true;
  Driver().during["CloseCommunication"] = [&] {
    EXPECT_EQ(plant->platform.TimersAlive(), 0U);
    EXPECT_EQ(TimerModule().TimerId(), 0);
    EXPECT_TRUE(TimerModule().ServerTerminating);
    EXPECT_EQ(group->TimerId(), -1);
    EXPECT_EQ(Server().ServerStatus(), 3);
  };
  Server().CloseCommunication();
  EXPECT_EQ(Driver().log, Log{"CloseCommunication()"});
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_TRUE(group->Active());
}

TEST_F(CloseCommunication, ADriverThatFailsToCloseIsIgnored) {
  BringTo(3);
  Driver().Fail("CloseCommunication", 1, "stuck", 1);
  EXPECT_EQ(ErrorOf([this] { Server().CloseCommunication(); }), "none");
  EXPECT_EQ(Server().ServerStatus(), 2);
  Server().OpenCommunication();
  Driver().during["CloseCommunication"] = [] { throw std::runtime_error("foreign"); };
  EXPECT_EQ(ErrorOf([this] { Server().CloseCommunication(); }), "none");
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(CloseCommunication, ANewServerStaysNotConfigured) {
  EXPECT_EQ(ErrorOf([this] { Server().CloseCommunication(); }), "none");
  EXPECT_EQ(Server().ServerStatus(), 1);
  BringTo(1);
  Server().CloseCommunication();
  EXPECT_EQ(Driver().log, Log{"CloseCommunication()"});
  EXPECT_EQ(Server().ServerStatus(), 1);
}

TEST_F(CloseCommunication, AtStatusTwoStopsSpoolerAndGroupsAndLeavesTheStatus) {
  BringTo(2);
  const auto group = Server().KELDataGroups()->Add();
  group->PutActive(true);
  Server().Spooler()->StartSpooler();
  Server().KELDataGroups()->StartGroups();
  EXPECT_EQ(plant->platform.TimersAlive(), 2U);
  Driver().log.clear();
  Server().CloseCommunication();
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  EXPECT_EQ(Driver().log, Log{"CloseCommunication()"});
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(CloseCommunication, AfterItTheConfigurationMayChangeAgain) {
  BringTo(3);
  Server().CloseCommunication();
  EXPECT_EQ(ErrorOf([this] {
              Server().PutTimeout(1);
              Server().PutWordIO(1);
              Server().SetDriverConfigurationFile("drivers.ini");
              Server().PutDeviceType(1);
            }),
            "none");
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(CloseCommunication, ALateTickOfTheStoppedSpoolerTimerSendsNothing) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  Server().OpenCommunication();
  const std::int32_t timer = TimerModule().TimerId();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  Server().CloseCommunication();
  Driver().log.clear();
  EXPECT_TRUE(plant->platform.DeliverLateTick(timer));
  EXPECT_TRUE(plant->platform.DeliverLateTick(timer));
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(CloseCommunication, QueuedRequestsSurviveItAndAreSentAfterTheNextOpen) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100", "WO102"});
  plant->AnswerByItself();
  Server().OpenCommunication();
  std::int32_t first = 0;
  std::int32_t second = 0;
  group->AsyncRead({1}, first);
  group->AsyncWrite({2}, {Variant(std::int16_t{5})}, second);
  Server().CloseCommunication();
  Driver().log.clear();
  plant->Advance(10min);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(plant->events, Log{});
  EXPECT_EQ(ErrorOf([&] { group->AsyncRead({1}, first); }), Own(errInvalidState, "Server isn't running"));
  Server().OpenCommunication();
  plant->Advance(300ms);
  EXPECT_EQ(Driver().log.size(), 3U);
  EXPECT_EQ(Driver().log[1], "ReadItems(addresses=[1],dimensions=[1])");
  EXPECT_EQ(Driver().log[2].substr(0, 42), "WriteItems(addresses=[2],dimensions=[1],va");
  EXPECT_EQ(plant->events, (Log{"AsyncReadComplete 1 [1] [I2:1] [0]", "AsyncWriteComplete 2 [2] [0]"}));
}

TEST_F(CloseCommunication, AnAnswerThatCameWhileItWasClosedIsDeliveredAfterTheNextOpen) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  Server().OpenCommunication();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  Server().CloseCommunication();
  Driver().Sink().AsyncReadComplete({Word(9)}, {0});
  plant->Advance(1min);
  EXPECT_EQ(plant->events, Log{});
  Server().OpenCommunication();
  plant->Advance(100ms);
  EXPECT_EQ(plant->events, Log{"AsyncReadComplete 1 [1] [I2:9] [0]"});
}

TEST_F(CloseCommunication, ARequestThatTheDriverNeverAnswersBlocksTheSpoolerBeyondTheNextOpen) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  Server().OpenCommunication();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  Server().CloseCommunication();
  Server().OpenCommunication();
  Driver().log.clear();
  group->AsyncRead({1}, id);
  plant->Advance(1min);
  EXPECT_EQ(Driver().log, Log{});
  Driver().Sink().AsyncReadComplete({Word(9)}, {0});
  plant->Advance(200ms);
  EXPECT_EQ(Driver().log, Log{"ReadItems(addresses=[1],dimensions=[1])"});
}

TEST_F(CloseCommunication, ActiveGroupsGoOnAfterTheNextOpen) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  group->PutUpdateRate(200);
  group->PutActive(true);
  plant->AnswerByItself();
  Server().OpenCommunication();
  plant->Advance(1s);
  EXPECT_EQ(plant->events, Log{"DataChange [1] [I2:1]"});
  Server().CloseCommunication();
  plant->Advance(1s);
  plant->Answer = [](double, std::int16_t) { return Word(77); };
  Server().OpenCommunication();
  plant->Advance(1s);
  EXPECT_EQ(plant->events, (Log{"DataChange [1] [I2:1]", "DataChange [1] [I2:77]"}));
}

TEST_F(CloseCommunication, InsideAnEventItStopsWhatIsLeftToDeliver) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  plant->AnswerByItself();
  Server().OpenCommunication();
  auto sink = std::make_shared<GroupEventLog>(plant->events, "second ");
  sink->handlers["AsyncReadComplete"] = [this] { Server().CloseCommunication(); };
  group->Events().Advise(sink);
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  group->AsyncRead({1}, id);
  plant->Advance(1s);
  EXPECT_EQ(plant->events,
            (Log{"AsyncReadComplete 1 [1] [I2:1] [0]", "second AsyncReadComplete 1 [1] [I2:1] [0]"}));
  EXPECT_EQ(Server().ServerStatus(), 2);
}

}  // namespace
}  // namespace orvo::testing
