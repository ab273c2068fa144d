// Reads and writes with a driver that transfers a whole group as one block of bytes.

#include "unit/model/DataChangeFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WholeGroups : public ChangeFixture {
 protected:
  WholeGroups() { Driver().groupTransfer = true; }

  // Items one behind the other in a block of zeros; the group's identifier on the device is 5.
  void Lay(std::initializer_list<const char*> itemIds) {
    AddGroup(itemIds);
    std::int32_t offset = 0;
    for (const auto& item : group->KELDataItems()->NewEnum()) {
      item->SetItemGroupBufferOffset(offset);
      offset += 2 * item->ItemWordLength();
    }
    group->SetCompiledBufferDimension(offset);
    group->SetGroupId(5);
    device.image.assign(static_cast<std::size_t>(offset), 0);
  }
  void StartLaid(std::initializer_list<const char*> itemIds = {"WO1", "WO2"}) {
    Lay(itemIds);
    Open();
  }
  void StartActiveLaid() {
    Lay({"WO1", "WO2"});
    group->PutUpdateRate(1000);
    group->PutActive(true);
    Open();
    plant->Advance(500ms);
  }
  std::int32_t AsyncReadAll() {
    std::int32_t transactionId = -1;
    group->AsyncReadAll(transactionId);
    return transactionId;
  }
  std::int32_t AsyncWriteAll(const Handles& handles, const Values& values) {
    std::int32_t transactionId = -1;
    group->AsyncWriteAll(handles, values, transactionId);
    return transactionId;
  }
};

TEST_F(WholeGroups, ASynchronousReadTakesEveryItemOutOfTheBlock) {
  StartLaid({"WO1", "DW1", "FL1", "ST000004", "RA004", "WO2"});
  device.image = {1, 2, 0xFF, 0xFF, 0xFF, 0xFF, 0x3F, 0xC0, 0, 0, 65, 0, 66, 0, 1, 2, 3, 4, 0xFF, 0xFF};
  EXPECT_EQ(SyncReadAll(),
            "[1,2,3,4,5,6] [R8:258,R8:4294967295,R4:1.5,String:\"AB\",UI1[1,2,3,4],R8:65535] [0,0,0,0,0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("SetGroupDefinition(5,-1)",
                                      "ReadGroup(groupId=5,buffer=[0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0])"));
  EXPECT_THAT(States(), ElementsAre("R8:258 never", "R8:-1 never", "R4:1.5 never", "UI1[65,0,66,0] never",
                                    "UI1[1,2,3,4] never", "R8:65535 never"));
  EXPECT_EQ(LogText(Variant(group->CompiledBuffer())),
            "UI1[0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0]");  // the group's own bytes stay
}

TEST_F(WholeGroups, AFailedSynchronousReadGivesItsErrorToEveryItemWithHandles0) {
  StartLaid();
  device.image = {0, 1, 0, 2};
  SyncReadAll();
  device.groupError = 7;
  device.image = {0, 3, 0, 4};
  EXPECT_EQ(SyncReadAll(), "[0,0] [Empty,Empty] [7,7]");
  EXPECT_THAT(States(), ElementsAre("R8:1 never", "R8:2 never"));
}

TEST_F(WholeGroups, ASynchronousRequestThatNeverReachesTheDeviceEndsWith99) {
  StartLaid();
  Refuse("ReadGroup");
  Refuse("WriteGroup");
  EXPECT_EQ(SyncReadAll(), "[0,0] [Empty,Empty] [99,99]");
  EXPECT_EQ(SyncWriteAll(Based(1, Handles{1, 2}), {"5", "6"}), "1:[99,99]");
  EXPECT_EQ(Elapsed(), 150);
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
  TakeAgain();
  EXPECT_EQ(SyncReadAll(), "[1,2] [R8:0,R8:0] [0,0]");
}

TEST_F(WholeGroups, WithoutADefinitionOnTheDeviceASynchronousRequestEndsWith99) {
  StartLaid();
  Driver().Fail("SetGroupDefinition", 5, "no room");
  EXPECT_EQ(SyncReadAll(), "[0,0] [Empty,Empty] [99,99]");
  EXPECT_EQ(SyncWriteAll({1}, {"5"}), "[99]");
  EXPECT_THAT(TakeSent(), ElementsAre("SetGroupDefinition(5,-1)", "SetGroupDefinition(5,-1)"));
}

TEST_F(WholeGroups, ASilentDeviceOrABusySpoolerGivesError1) {
  StartLaid();
  device.silent = true;
  EXPECT_EQ(SyncReadAll(), "[0,0] [Empty,Empty] [1,1]");
  EXPECT_GT(Elapsed(), 10000);
  const std::int64_t before = Elapsed();
  EXPECT_EQ(SyncReadAll(), "[0,0] [Empty,Empty] [1,1]");
  EXPECT_EQ(SyncWriteAll(Based(-3, Handles{2, 1}), {"5", "6"}), "-3:[1,1]");
  EXPECT_EQ(Elapsed(), before);
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
}

TEST_F(WholeGroups, ASynchronousWriteSendsTheWholeBlockWithTheValuesInTheirPlaces) {
  Lay({"WO1", "DW1", "FL1", "ST000004", "RA004"});
  Open();
  EXPECT_EQ(SyncWriteAll({1, 2, 3, 4, 5}, {"258", 4294967295.0, 1.5, "A", Bytes({1, 2, 3, 4})}), "[0,0,0,0,0]");
  EXPECT_THAT(TakeSent(),
              ElementsAre("SetGroupDefinition(5,-1)",
                          "WriteGroup(groupId=5,buffer=[1,2,255,255,255,255,63,192,0,0,65,32,32,32,1,2,3,4])"));
  EXPECT_THAT(States(), ElementsAre("R8:258 at 100 written", "R8:-1 at 100 written", "R4:1.5 at 100 written",
                                    "UI1[65,32,32,32] at 100 written", "UI1[1,2,3,4] at 100 written"));
  EXPECT_EQ(group->CompiledBuffer(), SafeArray<std::uint8_t>(18));
}

TEST_F(WholeGroups, AWriteOfSomeItemsLeavesTheOtherPlacesOfTheBlockAndTheOtherItems) {
  StartLaid();
  EXPECT_EQ(SyncWriteAll(Based(-3, Handles{2}), Based(1, Values{"258"})), "-3:[0]");
  EXPECT_THAT(TakeSent(), ElementsAre("SetGroupDefinition(5,-1)", "WriteGroup(groupId=5,buffer=[0,0,1,2])"));
  EXPECT_THAT(States(), ElementsAre("Empty never", "R8:258 at 100 written"));
}

TEST_F(WholeGroups, AFailedWriteGivesItsErrorToEveryHandleAndChangesNoItem) {
  StartLaid();
  device.groupError = 7;
  EXPECT_EQ(SyncWriteAll(Based(1, Handles{2, 1}), {"5", "6"}), "1:[7,7]");
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
}

TEST_F(WholeGroups, AValueThatCannotBeConvertedFailsWithItsPositionAndNothingIsSent) {
  StartLaid();
  const char* const raised = "-2147221489: INVALID FORMAT Invalid format: index=2";
  EXPECT_EQ(SyncWriteAll(Based(1, Handles{1, 2}), {"5", "no number"}), raised);
  std::int32_t id = -1;
  EXPECT_EQ(ErrorOf([&] { group->AsyncWriteAll(Based(1, Handles{1, 2}), {"5", "no number"}, id); }), raised);
  EXPECT_EQ(ErrorOf([&] {
              group->AsyncWriteAll({1, 9}, {"5", "6"}, id);
            }),
            "-2147221498: Invalid Handle: 9: Group Name= GGroupHandle: 1");
  EXPECT_EQ(id, -1);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(WholeGroups, SyncReadAndSyncWriteStayInItemMode) {
  HoldElevens();
  StartLaid();
  EXPECT_EQ(SyncRead({1}), "[I2:11] [0]");
  EXPECT_EQ(SyncWrite({2}, {"5"}), "[0]");
  AsyncRead({1});
  plant->Advance(100ms);
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1],dimensions=[1])",
                                      "WriteItems(addresses=[2],dimensions=[1],values=[I4:5])",
                                      "ReadItems(addresses=[1],dimensions=[1])"));
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 3 [1] [I2:11] [0]"));
}

TEST_F(WholeGroups, AnAsynchronousReadReportsWithAsyncReadAllCompleteAndStampsTheItems) {
  StartLaid();
  device.image = {0, 1, 0, 2};
  EXPECT_EQ(AsyncReadAll(), 1);
  plant->Advance(100ms);
  EXPECT_THAT(TakeSent(), ElementsAre("SetGroupDefinition(5,-1)", "ReadGroup(groupId=5,buffer=[0,0,0,0])"));
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadAllComplete 1 [1,2] [R8:1,R8:2] [0,0]"));
  EXPECT_THAT(States(), ElementsAre("R8:1 at 100", "R8:2 at 100"));
}

TEST_F(WholeGroups, AFailedAsynchronousReadReportsItsErrorForEveryItemAndChangesNone) {
  StartLaid();
  device.image = {0, 1, 0, 2};
  device.groupError = 7;
  AsyncReadAll();
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadAllComplete 1 [1,2] [Empty,Empty] [7,7]"));
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
}

TEST_F(WholeGroups, AnAsynchronousWriteReportsWithAsyncWriteAllComplete) {
  StartLaid();
  EXPECT_EQ(AsyncWriteAll(Based(1, Handles{2, 1}), {"258", "5"}), 1);
  EXPECT_EQ(AsyncWriteAll({2}, {"7"}), 2);
  plant->Advance(200ms);
  EXPECT_THAT(TakeSent(), ElementsAre("SetGroupDefinition(5,-1)", "WriteGroup(groupId=5,buffer=[0,5,1,2])",
                                      "WriteGroup(groupId=5,buffer=[0,0,0,7])"));
  EXPECT_THAT(TakeEvents(),
              ElementsAre("AsyncWriteAllComplete 1 [2,1] [0,0]", "AsyncWriteAllComplete 2 [2] [0]"));
  EXPECT_THAT(States(), ElementsAre("R8:5 at 100 written", "R8:7 at 200 written"));
}

TEST_F(WholeGroups, AFailedAsynchronousWriteReportsItsErrorForEveryHandleAndChangesNoItem) {
  StartLaid();
  device.groupError = 7;
  AsyncWriteAll({2, 1}, {"258", "5"});
  plant->Advance(100ms);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncWriteAllComplete 1 [2,1] [7,7]"));
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
}

TEST_F(WholeGroups, AnItemThatGotTheHandleOfAnotherMeanwhileTakesNothingOfItsWrite) {
  StartLaid();
  AsyncWriteAll({1, 2}, {"258", "5"});
  plant->server->CloseCommunication();
  group->KELDataItems()->Remove(2);
  EXPECT_EQ(group->KELDataItems()->Add("WO9")->Handle(), 2);
  plant->server->OpenCommunication();
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncWriteAllComplete 1 [1,2] [0,0]"));
  EXPECT_THAT(States(), ElementsAre("R8:258 at 100 written", "Empty never"));
}

TEST_F(WholeGroups, RefusedAsynchronousRequestsAreDroppedWithoutAnEvent) {
  StartLaid();
  Refuse("ReadGroup");
  Driver().Fail("WriteGroup", 3, "line down");
  device.silent = true;
  AsyncReadAll();
  AsyncWriteAll({1}, {"5"});
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
}

TEST_F(WholeGroups, ReadAllOfAnEmptyGroupQueuesNothing) {
  StartLaid({});
  EXPECT_EQ(AsyncReadAll(), -1);
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(WholeGroups, QueuedRequestsCanBeCancelled) {
  StartLaid();
  AsyncReadAll();
  AsyncWriteAll({1}, {"5"});
  group->AsyncCancel(1);
  group->AsyncCancel(2);
  plant->Advance(1s);
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncCancelComplete 1 True", "AsyncCancelComplete 2 True"));
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(WholeGroups, LastUseTickIsSetBeforeTheEvents) {
  StartLaid();
  std::vector<std::uint32_t> seen;
  const auto note = [&] { seen.push_back(group->LastUseTick() - SimulatedPlatform::DefaultTickCount); };
  sink->handlers["AsyncReadAllComplete"] = note;
  sink->handlers["AsyncWriteAllComplete"] = note;
  AsyncReadAll();
  AsyncWriteAll({1}, {"5"});
  plant->Advance(200ms);
  EXPECT_THAT(seen, ElementsAre(100U, 200U));
}

TEST_F(WholeGroups, ARefreshReportsWhatDiffersFromTheItems) {
  StartActiveLaid();
  device.image = {0, 1, 0, 2};
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2] [R8:1,R8:2]"));
  EXPECT_THAT(States(), ElementsAre("R8:1 at 1100", "R8:2 at 1100"));
  EXPECT_THAT(Round(), IsEmpty());
  device.image = {0, 1, 0, 3};
  EXPECT_THAT(Round(), ElementsAre("DataChange [2] [R8:3]"));
  EXPECT_THAT(States(), ElementsAre("R8:1 at 1100", "R8:3 at 3100"));
  // What a read stored is the measure here: it is not reported again.
  device.image = {0, 9, 0, 3};
  EXPECT_EQ(SyncReadAll(), "[1,2] [R8:9,R8:3] [0,0]");
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(WholeGroups, ARefreshSendsTheGroupsOwnBlockAndEndsItsPendingState) {
  StartActiveLaid();
  std::vector<bool> pending;
  std::vector<std::uint32_t> ticks;
  sink->handlers["DataChange"] = [&] {
    pending.push_back(group->RefreshPending());
    ticks.push_back(group->LastUseTick() - SimulatedPlatform::DefaultTickCount);
  };
  Round();
  EXPECT_THAT(TakeSent(), ElementsAre("ReadGroup(groupId=5,buffer=[0,0,0,0])"));
  EXPECT_THAT(pending, ElementsAre(true));
  EXPECT_THAT(ticks, ElementsAre(1050U));  // the driver's answer sets it, the delivery later again
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick() - SimulatedPlatform::DefaultTickCount, 1100U);
}

TEST_F(WholeGroups, AFailedRefreshReportsNothingAndTheNextTickTriesAgain) {
  StartActiveLaid();
  device.image = {0, 1, 0, 2};
  device.groupError = 7;
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never"));
  device.groupError = 0;
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2] [R8:1,R8:2]"));
}

TEST_F(WholeGroups, ARefreshThatNeverReachesTheDeviceEndsItsPendingState) {
  StartActiveLaid();
  Refuse("ReadGroup");
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_FALSE(group->RefreshPending());
  TakeAgain();
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2] [R8:0,R8:0]"));
}

TEST_F(WholeGroups, WithoutSubscriptionItemsAreUpdatedWithoutEvents) {
  StartActiveLaid();
  group->PutSubscribed(false);
  device.image = {0, 1, 0, 2};
  EXPECT_THAT(Round(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("R8:1 at 1100", "R8:2 at 1100"));
  AsyncReadAll();
  AsyncWriteAll({2}, {"5"});
  plant->Advance(400ms);
  EXPECT_THAT(TakeEvents(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("R8:1 at 1600", "R8:5 at 1700 written"));
}

TEST_F(WholeGroups, AnItemIsReportedOnceMoreAfterAWrite) {
  StartActiveLaid();
  Round();
  EXPECT_EQ(SyncWriteAll({1}, {"5"}), "[0]");
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [R8:5]"));
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(WholeGroups, TheModeIsAskedForEachCall) {
  HoldElevens();
  StartLaid();
  Driver().groupTransfer = false;
  EXPECT_EQ(SyncReadAll(), "[1,2] [I2:11,I2:22] [0,0]");
  Driver().groupTransfer = true;
  EXPECT_EQ(SyncReadAll(), "[1,2] [R8:0,R8:0] [0,0]");
  // A question that fails counts as answered no.
  Driver().Fail("GroupTransfer", 5, "no answer");
  EXPECT_EQ(SyncReadAll(), "[1,2] [I2:11,I2:22] [0,0]");
}

}  // namespace
}  // namespace orvo::testing
