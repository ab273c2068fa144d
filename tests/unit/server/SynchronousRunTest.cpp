// Running a synchronous request: how it ends well, and when it is refused at once.

#include "unit/server/SynchronousFixture.h"

#include <stdexcept>

namespace orvo::testing {
namespace {

class SynchronousRun : public SynchronousTest {};

TEST_F(SynchronousRun, ReturnsWithTheAnswerAsSoonAsItIsDelivered) {
  Open();
  plant->AnswerByItself(300ms);
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 400");  // sent at 50, answered at 350, delivered at 400
  EXPECT_EQ(Driver().log, Log{ReadOfBoth});
  EXPECT_FALSE(Pending());
  EXPECT_EQ(plant->events, Log{});
}

TEST_F(SynchronousRun, TheFlagIsSetWhileACallerWaitsAndNobodyElseSeesItsCompletion) {
  Open();
  plant->AnswerByItself();
  bool during = false;
  Driver().during["ReadItems"] = [&, answer = Driver().during["ReadItems"]] {
    during = Pending();
    answer();
  };
  EXPECT_FALSE(Pending());
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 100");
  EXPECT_TRUE(during);
  EXPECT_FALSE(Pending());
  EXPECT_EQ(plant->events, Log{});
}

TEST_F(SynchronousRun, IsRefusedAtOnceWhileARequestIsInFlight) {
  Open();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  ASSERT_TRUE(Server().Spooler()->IsBusy());
  EXPECT_EQ(Read(), "[Empty,Empty] [1,1] 0");
  const auto request = RunRead();
  EXPECT_EQ(request->Error(), 1);
  EXPECT_EQ(request->TransactionId(), 0);  // it was never queued
  EXPECT_FALSE(Pending());
  Driver().Sink().AsyncReadComplete({Word(5)}, {0});
  plant->Advance(1s);
  EXPECT_EQ(plant->events, Log{"AsyncReadComplete 1 [1] [I2:5] [0]"});
  EXPECT_EQ(Driver().log, Log{"ReadItems(addresses=[1],dimensions=[1])"});
}

TEST_F(SynchronousRun, ABusySpoolerRefusesAlsoWhenNobodyWaitsAndKeepsTheFlagOfOneWhoDoes) {
  Open();
  std::string nested;
  Driver().during["ReadItems"] = [&] {
    Driver().during.clear();
    At(100ms, [&] {
      nested = Read();
      EXPECT_TRUE(Pending());
      Answer(7, 8);
    });
  };
  EXPECT_EQ(Read(), "[I2:7,I2:8] [0,0] 200");
  EXPECT_EQ(nested, "[Empty,Empty] [1,1] 0");
}

TEST_F(SynchronousRun, ASecondCallerIsRefusedAtOnceWhileTheFirstWaitsEvenBeforeItsRequestIsSent) {
  Open();
  plant->AnswerByItself();
  std::string nested;
  plant->platform.Post([&] {
    EXPECT_FALSE(Server().Spooler()->IsBusy());
    const auto request = RunRead();
    EXPECT_EQ(request->Error(), 1);
    EXPECT_EQ(request->TransactionId(), 0);
    nested = Read();
    EXPECT_TRUE(Pending());  // still the first caller's
  });
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 100");
  EXPECT_EQ(nested, "[Empty,Empty] [1,1] 0");
  EXPECT_EQ(Driver().log, Log{ReadOfBoth});
}

TEST_F(SynchronousRun, EveryFormOfASecondCallIsRefusedWhileOneWaits) {
  Open();
  plant->AnswerByItself();
  Log nested;
  plant->platform.Post([&] {
    SafeArray<std::int32_t> handles;
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    group->SyncReadAll(handles, values, errors);
    nested.push_back(LogText(values) + " " + LogText(errors));
    group->SyncWrite({2, 1}, {Variant(std::int16_t{5}), Variant(std::int16_t{6})}, errors);
    nested.push_back(LogText(errors));
    group->SyncWriteAll({2, 1}, {Variant(std::int16_t{5}), Variant(std::int16_t{6})}, errors);
    nested.push_back(LogText(errors));
    const auto item = group->KELDataItems()->Item(1);
    Variant value;
    std::int32_t error = 0;
    item->SyncRead(value, error);
    nested.push_back(std::to_string(error));
    item->SyncWrite(Variant(std::int16_t{5}), error);
    nested.push_back(std::to_string(error));
  });
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 100");
  EXPECT_EQ(nested, (Log{"[Empty,Empty] [1,1]", "[1,1]", "[1,1]", "1", "1"}));
}

TEST_F(SynchronousRun, AFullQueueGivesItsErrorNumberAndReleasesTheFlag) {
  Open();
  std::int32_t id = 0;
  for (int k = 0; k < 999; ++k)
    group->AsyncRead({1}, id);
  EXPECT_EQ(id, 999);
  const std::string full = std::to_string(static_cast<std::int32_t>(errQueueFull));
  EXPECT_EQ(Read(), "[Empty,Empty] [" + full + "," + full + "] 0");
  EXPECT_FALSE(Pending());
  const auto request = RunRead();
  EXPECT_EQ(request->Error(), errQueueFull);
  EXPECT_EQ(request->TransactionId(), 0);
}

// Makes a synchronous read from inside its own end.
class CallsAtItsEnd final : public AutomationObject {
 public:
  explicit CallsAtItsEnd(std::function<void()> call) : call_(std::move(call)) {}
  ~CallsAtItsEnd() override { call_(); }

 private:
  std::function<void()> call_;
};

TEST_F(SynchronousRun, ARequestThatCouldNotBeQueuedEndsWithOneWhenTheLockIsBrokenAndReleasesTheFlag) {
  Open();
  Server().Spooler()->StopSpooler();  // no tick breaks the lock before the read does
  std::shared_ptr<DataRequest> outcome;
  {
    const auto request = DataRequest::Create();
    request->PutRequestType(RT_ReadGroupItemsAsync);
    request->SetDATAValues({Variant(
        std::shared_ptr<AutomationObject>(std::make_shared<CallsAtItsEnd>([&] { outcome = RunRead(); })))});
    Server().Spooler()->AddRequest(request);
  }
  Server().Spooler()->Clear();  // the record ends in there, under the lock, and its value with it
  ASSERT_NE(outcome, nullptr);
  EXPECT_EQ(outcome->Error(), 1);
  EXPECT_EQ(outcome->TransactionId(), 0);
  EXPECT_FALSE(Pending());
  EXPECT_GT(plant->platform.Now(), 2000ms);
  EXPECT_LE(plant->platform.Now(), 2100ms);
}

TEST_F(SynchronousRun, ACallThatTheDriverRefusesHasErrorNinetyNinePerItemAtOnce) {
  Open();
  Driver().Fail("ReadItems", 1, "no line");
  const auto request = RunRead();
  EXPECT_EQ(request->Error(), 0);
  EXPECT_EQ(LogText(request->Errors()), "[99,99]");
  EXPECT_FALSE(Pending());
  plant->Advance(50ms);
  EXPECT_EQ(Read(), "[Empty,Empty] [99,99] 50");
  EXPECT_EQ(Driver().log, (Log{ReadOfBoth, ReadOfBoth}));
  Driver().StopFailing("ReadItems");
  plant->AnswerByItself();
  plant->Advance(50ms);
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 100");
}

TEST_F(SynchronousRun, AWriteThatTheDriverRefusesHasErrorNinetyNinePerItem) {
  Open();
  Driver().Fail("WriteItems", 1, "no line");
  SafeArray<std::int32_t> errors;
  group->SyncWrite({2, 1}, {Variant(std::int16_t{5}), Variant(std::int16_t{6})}, errors);
  EXPECT_EQ(LogText(errors), "[99,99]");
  EXPECT_TRUE(group->KELDataItems()->Item(1)->DATAValue().IsEmpty());
}

TEST_F(SynchronousRun, SingleItemCallsThatTheDriverRefusesHaveErrorNinetyNine) {
  Open();
  Driver().Fail("WriteItems", 1, "no line");
  Driver().Fail("ReadItems", 1, "no line");
  const auto item = group->KELDataItems()->Item(2);
  Variant value("kept");
  std::int32_t error = 0;
  item->SyncRead(value, error);
  EXPECT_EQ(error, 99);
  EXPECT_EQ(LogText(value), "String:\"kept\"");
  error = 0;
  item->SyncWrite(Variant(std::int16_t{5}), error);
  EXPECT_EQ(error, 99);
  EXPECT_EQ(Driver().log,
            (Log{"ReadItems(addresses=[2],dimensions=[1])", "WriteItems(addresses=[2],dimensions=[1],values=[" +
                                                                LogText(Driver().lastValues.At(0)) + "])"}));
}

TEST_F(SynchronousRun, WholeGroupCallsThatTheDriverRefusesHaveRequestErrorNinetyNine) {
  BringTo(2);
  group = plant->AddGroup({"WO100", "WO102"});
  group->SetCompiledBufferDimension(4);
  Driver().groupTransfer = true;
  Server().OpenCommunication();
  for (const char* failing : {"ReadGroup", "WriteGroup", "SetGroupDefinition"}) {
    SCOPED_TRACE(failing);
    Server().KELDataGroups()->UndefineGroup(group);
    Driver().Fail(failing, 1, "no line");
    EXPECT_EQ(Server().RunReadAll(*group)->Error(), failing == std::string("WriteGroup") ? 1 : 99);
    Driver().StopFailing(failing);
    if (Server().Spooler()->IsBusy()) Driver().Sink().AsyncReadGroupComplete({1, 0, 2, 0}, 0);
    Driver().Fail(failing, 1, "no line");
    plant->Advance(200ms);
    const auto written = Server().RunWriteAll(*group, {1, 2, 3, 4});
    EXPECT_EQ(written->Error(), failing == std::string("ReadGroup") ? 1 : 99);
    Driver().StopFailing(failing);
    if (Server().Spooler()->IsBusy()) Driver().Sink().AsyncWriteGroupComplete(0);
    plant->Advance(200ms);
    EXPECT_FALSE(Pending());
  }
}

TEST_F(SynchronousRun, AForeignExceptionOfTheDriverCountsAsRefused) {
  Open();
  Driver().during["ReadItems"] = [] { throw std::runtime_error("foreign"); };
  EXPECT_EQ(Read(), "[Empty,Empty] [99,99] 50");
}

TEST_F(SynchronousRun, AnAnswerWithinTheDriversOwnCallIsTaken) {
  Open();
  Driver().during["ReadItems"] = [this] { Answer(3, 4); };
  EXPECT_EQ(Read(), "[I2:3,I2:4] [0,0] 100");
}

TEST_F(SynchronousRun, TimersAndEventsOfOtherGroupsGoOnDuringTheWait) {
  BringTo(2);
  group = plant->AddGroup({"WO100", "WO102"});
  const auto moving = Server().KELDataGroups()->Add();
  moving->KELDataItems()->Add("WO200");
  moving->PutSubscribed(true);
  plant->Watch(*moving, "moving ");
  moving->PutUpdateRate(200);
  moving->PutActive(true);
  plant->AnswerByItself();
  Server().OpenCommunication();
  bool asked = false;
  const auto answer = Driver().during["ReadItems"];
  Driver().during["ReadItems"] = [&] {
    if (Driver().lastAddresses.Size() == 1) return answer();
    asked = true;
    At(1000ms, [&] { Answer(1, 2); });
  };
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 1100");
  EXPECT_TRUE(asked);
  // The group's timer went on meanwhile: its refresh, queued behind the read, is sent and delivered next.
  plant->Advance(50ms);
  EXPECT_EQ(plant->events, Log{});
  plant->Advance(50ms);
  EXPECT_EQ(plant->events, Log{"moving DataChange [1] [I2:3]"});
}

TEST_F(SynchronousRun, RequestsThatWereQueuedBeforeItGoFirst) {
  Open();
  plant->AnswerByItself();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 200");
  EXPECT_EQ(Driver().log, (Log{"ReadItems(addresses=[1],dimensions=[1])", ReadOfBoth}));
  EXPECT_EQ(plant->events, Log{"AsyncReadComplete 1 [1] [I2:1] [0]"});
}

TEST_F(SynchronousRun, TheWaitItselfHoldsTheServer) {
  Open();
  const std::weak_ptr<KELDataServer> server = plant->server;
  plant->AnswerByItself(200ms);
  plant->platform.Post([&] {
    plant->server.reset();
    EXPECT_FALSE(server.expired());
  });
  EXPECT_EQ(RunRead()->Error(), 0);
  EXPECT_TRUE(server.expired());
}

TEST_F(SynchronousRun, TheLastReleaseOfTheServerDuringTheWaitLetsTheCallReturn) {
  Open();
  const std::weak_ptr<KELDataServer> server = plant->server;
  plant->AnswerByItself(200ms);
  plant->platform.Post([this] { plant->server.reset(); });
  EXPECT_EQ(Read(), "[I2:1,I2:2] [0,0] 300");
  EXPECT_TRUE(server.expired());
  EXPECT_EQ(ErrorNumberOf([this] { Read(); }), errInternal);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

}  // namespace
}  // namespace orvo::testing
