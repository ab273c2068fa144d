#include "unit/model/DataChangeFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using DataChanges = ChangeFixture;

TEST_F(DataChanges, TheFirstRefreshReportsEveryItemAndAnUnchangedDeviceNothingMore) {
  HoldElevens();
  StartActive();
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2,3],dimensions=[1,1,1])",
                                      "ReadItems(addresses=[1,2,3],dimensions=[1,1,1])",
                                      "ReadItems(addresses=[1,2,3],dimensions=[1,1,1])"));
}

TEST_F(DataChanges, LaterRefreshesReportAndStampOnlyWhatChanged) {
  HoldElevens();
  StartActive();
  Round();
  EXPECT_THAT(States(), ElementsAre("I2:11 at 1100", "I2:22 at 1100", "I2:33 at 1100"));
  device.values[1] = Word(5);
  device.values[3] = Word(6);
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,3] [I2:5,I2:6]"));
  EXPECT_THAT(States(), ElementsAre("I2:5 at 2100", "I2:22 at 1100", "I2:6 at 2100"));
  device.values[2] = Word(7);
  EXPECT_THAT(Round(), ElementsAre("DataChange [2] [I2:7]"));
}

TEST_F(DataChanges, WithoutSubscriptionItemsAreUpdatedAndTheChangeIsNotReportedLater) {
  HoldElevens();
  StartActive();
  group->PutSubscribed(false);
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("I2:11 at 1100", "I2:22 at 1100", "I2:33 at 1100"));
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 1100);
  group->PutSubscribed(true);
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(DataChanges, LastUseTickAndRefreshPendingChangeAfterTheEvent) {
  HoldElevens();
  StartActive();
  struct Seen {
    bool pending;
    std::uint32_t tick;
    bool operator==(const Seen&) const = default;
  };
  std::vector<Seen> seen;
  sink->handlers["DataChange"] = [&] { seen.push_back({group->RefreshPending(), group->LastUseTick()}); };
  Round();
  device.values[1] = Word(5);
  Round();
  const std::uint32_t start = SimulatedPlatform::DefaultTickCount;
  EXPECT_EQ(seen, (std::vector<Seen>{{true, 0}, {true, start + 1100}}));
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick(), start + 2100);
}

TEST_F(DataChanges, ARefreshWithoutAChangeAlsoSetsTheTickAndEndsThePendingState) {
  StartActive();
  Round();
  plant->Advance(500ms);
  EXPECT_TRUE(group->RefreshPending());
  plant->Advance(100ms);
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 2100);
}

TEST_F(DataChanges, ErrorsOfSingleItemsDoNotMatter) {
  HoldElevens();
  StartActive();
  device.errors[2] = 7;
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
  device.values[2] = Word(5);
  EXPECT_THAT(Round(), ElementsAre("DataChange [2] [I2:5]"));
  device.errors.clear();
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(DataChanges, WhatAReadStoresInTheItemDoesNotCountAsAPreviousValue) {
  HoldElevens();
  StartActive();
  Round();
  device.values[1] = Word(5);
  EXPECT_EQ(SyncRead({1}), "[I2:5] [0]");
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [I2:5]"));
}

TEST_F(DataChanges, AllItemsOfARefreshBearOneTime) {
  StartActive();
  Compiler().extract = [this](double, Variant&) { plant->platform.Jump(10ms); };
  plant->Advance(600ms);
  EXPECT_THAT(States(), ElementsAre("I2:1 at 1100", "I2:2 at 1100", "I2:3 at 1100"));
}

TEST_F(DataChanges, AfterInactiveAndActiveAgainEveryPositionIsReported) {
  HoldElevens();
  StartActive();
  Round();
  group->PutActive(false);
  EXPECT_THAT(Round(), IsEmpty());
  group->PutActive(true);
  plant->Advance(1100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
  plant->Advance(1000ms);
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(DataChanges, AfterANewUpdateRateEveryPositionIsReported) {
  HoldElevens();
  StartActive();
  Round();
  group->PutUpdateRate(2000);
  plant->Advance(2100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
}

TEST_F(DataChanges, ActivePutToItsOwnValueForgetsNothing) {
  HoldElevens();
  StartActive();
  Round();
  group->PutActive(true);
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(DataChanges, ARefreshThatIsUnderWayWhileTheGroupIsSwitchedReportsOnce) {
  HoldElevens();
  StartActive();
  Round();
  plant->Advance(520ms);  // queued at 2000, not yet sent
  group->PutActive(false);
  group->PutActive(true);
  plant->Advance(5s);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
}

TEST_F(DataChanges, ClosingAndOpeningDoesNotForgetThePreviousValues) {
  HoldElevens();
  StartActive();
  Round();
  plant->server->CloseCommunication();
  device.values[2] = Word(5);
  plant->Advance(5s);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  plant->server->OpenCommunication();
  plant->Advance(1100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [2] [I2:5]"));
}

TEST_F(DataChanges, AnotherItemAtAPositionIsReportedThoughTheValueIsTheSame) {
  for (double address = 1; address < 5; ++address)
    device.values[address] = Word(11);
  StartActive();
  Round();
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(2);
  plant->server->OpenCommunication();
  plant->Advance(1100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [3] [I2:11]"));
}

TEST_F(DataChanges, ANewItemUnderAnOldHandleAtItsOldPositionIsReported) {
  for (double address = 1; address < 5; ++address)
    device.values[address] = Word(11);
  StartActive();
  Round();
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(3);
  EXPECT_EQ(group->KELDataItems()->Add("WO9")->Handle(), 3);
  plant->server->OpenCommunication();
  plant->Advance(1100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [3] [I2:11]"));
  EXPECT_EQ(LogText(Item(3)->DATAValue()), "I2:11");
}

TEST_F(DataChanges, AnItemThatIsAddedWhileRunningIsReportedAlone) {
  HoldElevens();
  StartActive();
  Round();
  const auto added = group->KELDataItems()->AddCompiled("Late");
  device.values[0] = Variant(std::int16_t{5});  // an item without an identifier has the address 0
  EXPECT_THAT(Round(), ElementsAre("DataChange [4] [I2:5]"));
  EXPECT_THAT(TakeSent(), ::testing::Contains("ReadItems(addresses=[1,2,3,0],dimensions=[1,1,1,0])"));
}

TEST_F(DataChanges, AHandleThatVanishedBeforeDeliveryIsReportedWithAnEmptyValue) {
  HoldElevens();
  StartActive();
  device.silent = true;
  plant->Advance(550ms);
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(2);
  Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(33)}, {0, 0, 0});
  plant->server->OpenCommunication();
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:11,Empty,I2:33]"));
}

TEST_F(DataChanges, AHandleThatWasGivenToAnotherItemMeanwhileCountsAsVanishedAndIsReportedNext) {
  HoldElevens();
  StartActive();
  Round();
  device.silent = true;
  device.values[3] = Word(5);
  plant->Advance(550ms);
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(3);
  EXPECT_EQ(group->KELDataItems()->Add("WO4")->Handle(), 3);
  Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(5)}, {0, 0, 0});
  device.silent = false;
  device.values[4] = Word(5);
  plant->server->OpenCommunication();
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [3] [Empty]"));
  EXPECT_EQ(StateOf(3), "Empty never");
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [3] [I2:5]"));
}

TEST_F(DataChanges, ARefusedRefreshIsForgottenWithoutAnEventAndTheNextTickTriesAgain) {
  HoldElevens();
  StartActive();
  Refuse("ReadItems");
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick(), 0U);
  TakeAgain();
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
}

TEST_F(DataChanges, ACancelledRefreshIsForgottenWithoutAnEventAndTheNextTickTriesAgain) {
  HoldElevens();
  StartActive();
  plant->Advance(510ms);  // queued with the id 1
  group->AsyncCancel(1);
  plant->Advance(490ms);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:11,I2:22,I2:33]"));
}

TEST_F(DataChanges, WhileARefreshIsOutstandingFurtherTicksQueueNothing) {
  HoldElevens();
  StartActive();
  device.silent = true;
  plant->Advance(10s);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2,3],dimensions=[1,1,1])"));
  EXPECT_TRUE(group->RefreshPending());
  device.silent = false;
  Driver().Sink().AsyncReadComplete({Word(1), Word(2), Word(3)}, {0, 0, 0});
  plant->Advance(200ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2,3] [I2:1,I2:2,I2:3]"));
}

TEST_F(DataChanges, AGroupWithoutItemsQueuesNothing) {
  StartActive({});
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_FALSE(group->RefreshPending());
}

TEST_F(DataChanges, SeveralGroupsReportTheirOwnItems) {
  HoldElevens();
  AddGroup({"WO1", "WO2"});
  group->PutUpdateRate(1000);
  group->PutActive(true);
  const auto other = plant->server->KELDataGroups()->Add("H");
  other->KELDataItems()->Add("WO2");
  other->PutSubscribed(true);
  other->PutUpdateRate(2010);
  other->PutActive(true);
  plant->Watch(*other, "H.");
  Open();
  plant->Advance(1500ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("DataChange [1,2] [I2:11,I2:22]"));
  device.values[2] = Word(5);
  EXPECT_THAT(Round(), ElementsAre("DataChange [2] [I2:5]", "H.DataChange [1] [I2:5]"));
  device.values[2] = Word(6);
  EXPECT_THAT(Round(), ElementsAre("DataChange [2] [I2:6]"));
  EXPECT_THAT(Round(), ElementsAre("H.DataChange [1] [I2:6]"));
}

TEST_F(DataChanges, ValuesBesideAFailedConversionAreEmptyAndTheOthersAreReported) {
  HoldElevens();
  StartActive();
  Compiler().extract = [](double address, Variant&) {
    if (address == 2) throw AutomationError(1234, "no value");
  };
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:11,Empty,I2:33]"));
  EXPECT_FALSE(group->RefreshPending());
}

}  // namespace
}  // namespace orvo::testing
