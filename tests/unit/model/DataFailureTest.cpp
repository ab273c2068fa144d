#include "unit/model/DataFixture.h"

#include <utility>

namespace orvo::testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using RequestFailures = DataFixture;

// Every read and write of the group, by name.
std::vector<std::pair<const char*, std::function<void(KELDataGroup&)>>> DataMethods() {
  return {{"the guard alone", [](KELDataGroup& group) { group.RequireRunning(); }},
          {"SyncRead",
           [](KELDataGroup& group) {
             Values values;
             Handles errors;
             group.SyncRead({77}, values, errors);
           }},
          {"SyncReadAll",
           [](KELDataGroup& group) {
             Handles handles, errors;
             Values values;
             group.SyncReadAll(handles, values, errors);
           }},
          {"SyncWrite",
           [](KELDataGroup& group) {
             Handles errors;
             group.SyncWrite({77}, {"x"}, errors);
           }},
          {"SyncWriteAll",
           [](KELDataGroup& group) {
             Handles errors;
             group.SyncWriteAll({77}, {"x"}, errors);
           }},
          {"AsyncRead",
           [](KELDataGroup& group) {
             std::int32_t id = 0;
             group.AsyncRead({77}, id);
           }},
          {"AsyncReadAll",
           [](KELDataGroup& group) {
             std::int32_t id = 0;
             group.AsyncReadAll(id);
           }},
          {"AsyncWrite",
           [](KELDataGroup& group) {
             std::int32_t id = 0;
             group.AsyncWrite({77}, {"x"}, id);
           }},
          {"AsyncWriteAll",
           [](KELDataGroup& group) {
             std::int32_t id = 0;
             group.AsyncWriteAll({77}, {"x"}, id);
           }},
          {"AsyncCancel", [](KELDataGroup& group) { group.AsyncCancel(1); }}};
}

TEST_F(RequestFailures, EveryMethodIsRefusedBeforeAnythingElseWhileTheServerIsNotRunning) {
  AddGroup({"WO1"});
  TakeSent();
  for (const auto& method : DataMethods())
    EXPECT_EQ(ErrorOf([&] { method.second(*group); }), "-2147221503: Invalid State: Server isn't running")
        << method.first;
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(RequestFailures, EveryMethodIsRefusedOnAServerThatWasNeverConfigured) {
  Plant fresh;
  const auto freshGroup = fresh.server->KELDataGroups()->Add();
  for (const auto& method : DataMethods())
    EXPECT_EQ(ErrorOf([&] { method.second(*freshGroup); }), "-2147221503: Invalid State: Server isn't running")
        << method.first;
}

TEST_F(RequestFailures, EveryMethodOfAGroupWithoutServerRaisesAnInternalError) {
  Start();
  plant->server.reset();
  for (const auto& method : DataMethods())
    EXPECT_THAT(ErrorOf([&] { method.second(*group); }),
                StartsWith("-2147221490: INTERNAL ERROR, please contact support. code91:"))
        << method.first;
}

TEST_F(RequestFailures, ABusySpoolerFailsTheCallAtOnceWithError1) {
  HoldElevens();
  Start();
  SyncRead({1, 2, 3});
  device.silent = true;
  AsyncRead({1});
  plant->Advance(50ms);
  TakeSent();
  EXPECT_EQ(SyncRead({1, 2}), "[Empty,Empty] [1,1]");
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [Empty,Empty,Empty] [1,1,1]");
  EXPECT_EQ(SyncWrite(Based(1, Handles{1, 2}), {"5", "6"}), "1:[1,1]");
  EXPECT_EQ(SyncWriteAll(Based(1, Handles{1, 2}), {"5", "6"}), "1:[1,1]");
  EXPECT_EQ(Elapsed(), 150);
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
  Driver().Sink().AsyncReadComplete({Word(1)}, {0});
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());  // none of them was queued
}

TEST_F(RequestFailures, ACallInsideTheWaitOfAnotherFailsAtOnceAndTheOtherGoesOn) {
  HoldElevens();
  Start();
  std::vector<std::string> nested;
  plant->platform.Post([&] {
    nested = {SyncRead({2}), SyncReadAll(), SyncWrite({1}, {"5"})};
    EXPECT_EQ(Elapsed(), 0);
  });
  EXPECT_EQ(SyncRead({1}), "[I2:11] [0]");
  EXPECT_THAT(nested, ElementsAre("[Empty] [1]", "[1,2,3] [Empty,Empty,Empty] [1,1,1]", "[1]"));
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1],dimensions=[1])"));
}

TEST_F(RequestFailures, ACallFromADataChangeHandlerWhileAnotherWaitsFailsAtOnce) {
  HoldElevens();
  AddGroup({"WO1", "WO2"});
  group->PutUpdateRate(60000);
  group->PutActive(true);
  Open();
  std::string nested;
  std::int64_t before = 0;
  sink->handlers["DataChange"] = [&] {
    before = Elapsed();
    nested = SyncRead({2});
    EXPECT_EQ(Elapsed(), before);
  };
  plant->Advance(60000ms);  // the refresh is queued
  EXPECT_EQ(SyncRead({1}), "[I2:11] [0]");
  EXPECT_EQ(nested, "[Empty] [1]");
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2] [I2:11,I2:22]"));
}

TEST_F(RequestFailures, ASilentDeviceFailsTheCallAfterSlightlyMoreThanTenSeconds) {
  Start();
  device.silent = true;
  EXPECT_EQ(SyncRead(Based(-3, Handles{1, 2})), "-3:[Empty,Empty] -3:[1,1]");
  EXPECT_GT(Elapsed(), 10000);
  EXPECT_LT(Elapsed(), 10100);
}

TEST_F(RequestFailures, ATimedOutCallThatWasNotYetSentIsNeverSent) {
  Start();
  // Nothing is sent while the spooler's timer does not run; the wait goes on.
  plant->server->Spooler()->StopSpooler();
  EXPECT_EQ(SyncRead({1}), "[Empty] [1]");
  plant->server->Spooler()->StartSpooler();
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(RequestFailures, TheAnswerOfATimedOutReadChangesNothing) {
  HoldElevens();
  Start();
  device.silent = true;
  EXPECT_EQ(SyncRead({1}), "[Empty] [1]");
  Driver().Sink().AsyncReadComplete({Word(11)}, {0});
  plant->Advance(1s);
  EXPECT_EQ(StateOf(1), "Empty never");
  device.silent = false;
  EXPECT_EQ(SyncRead({1}), "[I2:11] [0]");
}

TEST_F(RequestFailures, ALateAnswerOfAnEarlierCallEndsTheWaitingOneWithError1) {
  HoldElevens();
  Start();
  device.silent = true;
  EXPECT_EQ(SyncRead({1}), "[Empty] [1]");
  device.silent = false;
  Driver().Sink().AsyncReadComplete({Word(11)}, {0});
  const std::int64_t before = Elapsed();
  EXPECT_EQ(SyncRead({2}), "[Empty] [1]");
  EXPECT_LT(Elapsed() - before, 200);
  plant->Advance(1s);
  EXPECT_EQ(StateOf(2), "Empty never");
  EXPECT_EQ(SyncRead({3}), "[I2:33] [0]");
}

TEST_F(RequestFailures, AFullQueueGivesItsNumberToSynchronousCallsAndRaisesInAsynchronousOnes) {
  Start();
  for (std::int32_t id = 1; id <= 999; ++id)
    ASSERT_EQ(AsyncRead({1}), id);
  EXPECT_EQ(SyncRead({1, 2}), "[Empty,Empty] [-2147221492,-2147221492]");
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [Empty,Empty,Empty] [-2147221492,-2147221492,-2147221492]");
  EXPECT_EQ(SyncWrite(Based(1, Handles{1}), {"5"}), "1:[-2147221492]");
  EXPECT_EQ(Elapsed(), 0);
  std::int32_t id = -1;
  const char* const full = "-2147221492: Queue full: ";
  EXPECT_EQ(ErrorOf([&] { group->AsyncRead({1}, id); }), full);
  EXPECT_EQ(ErrorOf([&] { group->AsyncReadAll(id); }), full);
  EXPECT_EQ(ErrorOf([&] { group->AsyncWrite({1}, {"5"}, id); }), full);
  EXPECT_EQ(ErrorOf([&] { group->AsyncWriteAll({1}, {"5"}, id); }), full);
  EXPECT_EQ(id, -1);
  EXPECT_THAT(States(), Each("Empty never"));
  plant->Advance(100ms * 999);
  EXPECT_EQ(TakeEvents().size(), 999U);
  EXPECT_EQ(SyncRead({1}), "[I2:1] [0]");
}

TEST_F(RequestFailures, AFullQueueKeepsTheRefreshTrying) {
  AddGroup({"WO1"});
  group->PutUpdateRate(60000);
  group->PutActive(true);
  Open();
  plant->server->Spooler()->StopSpooler();
  for (std::int32_t id = 1; id <= 999; ++id)
    AsyncRead({1});
  plant->Advance(60s);
  EXPECT_FALSE(group->RefreshPending());
  plant->server->Spooler()->StartSpooler();
  plant->Advance(180s);
  EXPECT_THAT(TakeEvents(), ::testing::Contains("DataChange [1] [I2:1]"));
}

TEST_F(RequestFailures, AFailedConversionOfAReadValueTouchesOnlyItsPosition) {
  HoldElevens();
  Start();
  Compiler().extract = [](double address, Variant&) {
    if (address == 2) throw AutomationError(1234, "no value");
  };
  EXPECT_EQ(SyncRead({1, 2, 3}), "[I2:11,Empty,I2:33] [0,1234,0]");
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [I2:11,Empty,I2:33] [0,1234,0]");
  AsyncRead({1, 2, 3});
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 3 [1,2,3] [I2:11,Empty,I2:33] [0,1234,0]"));
}

TEST_F(RequestFailures, AWriteWithFewerValuesThanHandlesIsRefusedAndNothingIsSent) {
  Start();
  EXPECT_EQ(SyncWrite({1, 2}, {"5"}),
            "-2147221490: INTERNAL ERROR, please contact support. code9:Subscript out of range\r\n"
            ":DataGroup.SyncWrite(GroupName=G");
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

}  // namespace
}  // namespace orvo::testing
