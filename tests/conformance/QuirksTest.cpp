// Behaviour that is easily got wrong, one test each. (The rules of waits inside deliveries, of cancelling and
// of comparing are in the tests of the group's data methods.)

#include "errors/modIDataErrors.h"
#include "support/AnsweringDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Quirks : public ::testing::Test {
 protected:
  Quirks() {
    plant->Configure();
    device.Serve(*plant);
    group = plant->server->KELDataGroups()->Add("G");
    item = group->KELDataItems()->Add("WO1");
    group->PutSubscribed(true);
    plant->Watch(*group);
    plant->driver->log.clear();
  }
  void TearDown() override {
    item.reset();
    group.reset();
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore_);
  }
  std::int32_t AsyncRead() {
    std::int32_t id = -1;
    group->AsyncRead({1}, id);
    return id;
  }

 private:
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();

 protected:
  AnsweringDevice device;
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<KELDataItem> item;
};

TEST_F(Quirks, AFailedOpenLeavesStatus3WithTheSpoolerRunning) {
  plant->driver->Fail("OpenCommunication", 4, "no line");
  plant->server->OpenCommunication();
  EXPECT_EQ(plant->server->ServerStatus(), 3);
  AsyncRead();
  plant->Advance(100ms);
  EXPECT_THAT(plant->events, ElementsAre("AsyncReadComplete 1 [1] [I2:1] [0]"));
}

TEST_F(Quirks, ARefusedConfigurationModeSkipsBothDownloadsButOpens) {
  plant->driver->firmwareDownloadNeeded = plant->driver->projectDownloadNeeded = true;
  plant->driver->configurationModeAccepted = false;
  plant->server->PutAutoDownloadFirmware(true);
  plant->server->PutAutoDownloadProject(true);
  plant->server->OpenCommunication();
  EXPECT_THAT(plant->driver->log, ElementsAre("SetConfigurationMode()", "OpenCommunication(true)"));
  EXPECT_EQ(plant->server->ServerStatus(), 3);
}

TEST_F(Quirks, OnlyOneOutstandingIdKeepsANewRequestOut) {
  plant->server->OpenCommunication();
  device.silent = true;
  for (std::int32_t id = 1; id <= 900; ++id)
    ASSERT_EQ(AsyncRead(), id);
  plant->Advance(50ms);  // 1 is in flight, 2 to 900 wait
  // Finished but not delivered, 1 is the id that counts; after its delivery it is the one in flight.
  device.silent = false;
  for (std::int32_t id = 901; id <= 999; ++id)
    ASSERT_EQ(AsyncRead(), id);
  EXPECT_EQ(ErrorOf([&] { AsyncRead(); }), "-2147221492: Queue full: ");
  plant->driver->Sink().AsyncReadComplete({Word(1)}, {0});
  plant->Advance(50ms);  // 1 is delivered and still counts as the latest that was sent
  EXPECT_EQ(ErrorOf([&] { AsyncRead(); }), "-2147221492: Queue full: ");
  plant->Advance(50ms);  // 2 is in flight: 1 is free again, though 3 to 999 still wait
  EXPECT_EQ(AsyncRead(), 1);
  EXPECT_EQ(ErrorOf([&] { AsyncRead(); }), "-2147221492: Queue full: ");
}

TEST_F(Quirks, AReadOfTheGroupSendsTheGroupsBufferOfThatMomentAWriteTheRequests) {
  plant->driver->groupTransfer = true;
  group->SetCompiledBufferDimension(2);
  plant->server->OpenCommunication();
  std::int32_t id = 0;
  group->AsyncReadAll(id);
  group->AsyncWriteAll({1}, {"258"}, id);
  group->SetCompiledBufferDimension(4);
  plant->driver->log.clear();
  plant->Advance(200ms);
  EXPECT_THAT(plant->driver->log,
              ElementsAre("SetGroupDefinition(0,-1)", "ReadGroup(groupId=0,buffer=[0,0,0,0])",
                          "WriteGroup(groupId=0,buffer=[1,2])"));
}

TEST_F(Quirks, GroupsMayBeAddedAtStatus1And2ItemsAtStatus2Only) {
  Plant fresh;
  const auto early = fresh.server->KELDataGroups()->Add();
  EXPECT_EQ(ErrorOf([&] { early->KELDataItems()->Add("WO1"); }),
            "-2147221503: Invalid State: Server not stopped");
  EXPECT_EQ(ErrorOf([&] { early->KELDataItems()->RemoveAll(); }),
            "-2147221503: Invalid State: Server not stopped");
  fresh.server->KELDataGroups()->RemoveAll();

  EXPECT_EQ(ErrorNumberOf([&] { plant->server->KELDataGroups()->Add(); }), 0);
  EXPECT_EQ(ErrorNumberOf([&] { group->KELDataItems()->Add("WO2"); }), 0);
  plant->server->OpenCommunication();
  EXPECT_EQ(ErrorOf([&] { plant->server->KELDataGroups()->Add(); }),
            "-2147221503: Invalid State: Server is running");
  EXPECT_EQ(ErrorOf([&] { group->KELDataItems()->Add("WO3"); }),
            "-2147221503: Invalid State: Server not stopped");
}

TEST_F(Quirks, ANameInAnotherCaseCollidesDifferentlyForGroupsAndItems) {
  EXPECT_EQ(ErrorNumberOf([&] { plant->server->KELDataGroups()->Add("g"); }), 457);
  EXPECT_EQ(ErrorNumberOf([&] { group->KELDataItems()->Add("WO2", "item_1"); }), errInvalidItemId);
  EXPECT_EQ(ErrorNumberOf([&] { group->KELDataItems()->AddCompiled("item_1"); }), errInternal);
  EXPECT_EQ(plant->server->KELDataGroups()->Count(), 1);
  EXPECT_EQ(group->KELDataItems()->Count(), 1);
}

TEST_F(Quirks, ActivePutToItsOwnValueDoesNothingAtAll) {
  plant->server->OpenCommunication();
  group->PutActive(true);
  const std::int32_t timerId = group->TimerId();
  plant->driver->groupCapacity = 0;  // nothing may be active any more
  plant->driver->logQuestions = true;
  plant->driver->log.clear();
  EXPECT_EQ(ErrorNumberOf([&] { group->PutActive(true); }), 0);
  EXPECT_THAT(plant->driver->log, IsEmpty());
  EXPECT_EQ(group->TimerId(), timerId);
}

TEST_F(Quirks, ReadingUSERValueRewritesDATAValue) {
  item->SetDATAValue(Word(0x1234));
  EXPECT_EQ(LogText(item->DATAValue()), "UI1[52,18]");
  EXPECT_EQ(LogText(item->USERValue()), "I2:4660");
  EXPECT_EQ(LogText(item->DATAValue()), "I2:4660");
}

TEST_F(Quirks, ABooleanIsRefusedEvenByABitItem) {
  const auto bit = group->KELDataItems()->Add("BI1");
  plant->server->OpenCommunication();
  std::int32_t error = 0;
  EXPECT_EQ(ErrorOf([&] { bit->SyncWrite(true, error); }), "-2147221489: INVALID FORMAT Format not correct");
  EXPECT_EQ(ErrorNumberOf([&] { bit->SyncWrite(std::int16_t{1}, error); }), 0);
}

TEST_F(Quirks, OpenRequestsSurviveACloseAndAreSentAfterTheNextOpen) {
  plant->server->OpenCommunication();
  AsyncRead();
  plant->server->CloseCommunication();
  plant->Advance(10s);
  EXPECT_THAT(plant->events, IsEmpty());
  plant->server->OpenCommunication();
  plant->Advance(100ms);
  EXPECT_THAT(plant->events, ElementsAre("AsyncReadComplete 1 [1] [I2:1] [0]"));
}

TEST_F(Quirks, TheTimeoutPropertyDoesNotBoundTheWait) {
  plant->server->PutTimeout(1);
  plant->server->OpenCommunication();
  device.silent = true;
  const auto before = plant->platform.Now();
  Variant value;
  std::int32_t error = 0;
  item->SyncRead(value, error);
  EXPECT_EQ(error, 1);
  EXPECT_GT(plant->platform.Now() - before, 10s);
}

}  // namespace
}  // namespace orvo::testing
