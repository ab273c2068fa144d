#include "unit/model/DataFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using SyncReads = DataFixture;

TEST_F(SyncReads, HandsBackTheClientValuesAndUpdatesTheItems) {
  HoldElevens();
  Start();
  EXPECT_EQ(SyncRead({1, 2, 3}), "[I2:11,I2:22,I2:33] [0,0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2,3],dimensions=[1,1,1])"));
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
  EXPECT_EQ(Elapsed(), 100);
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(SyncReads, KeepTheOrderOfTheHandlesAndLeaveOtherItemsAlone) {
  HoldElevens();
  Start();
  EXPECT_EQ(SyncRead({3, 1}), "[I2:33,I2:11] [0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[3,1],dimensions=[1,1])"));
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "Empty never", "I2:33 at 100"));
}

TEST_F(SyncReads, AHandleGivenTwiceIsReadTwice) {
  HoldElevens();
  Start();
  EXPECT_EQ(SyncRead({2, 2}), "[I2:22,I2:22] [0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[2,2],dimensions=[1,1])"));
}

TEST_F(SyncReads, ComeBackInTheBoundsOfTheHandlesWhateverBoundsTheOtherArraysHad) {
  HoldElevens();
  Start();
  struct Row {
    std::int32_t handles, values, errors;
    const char* expected;
  };
  const Row rows[] = {
      {0, 0, 0, "[I2:33,I2:11] [0,4]"},        {1, 0, 0, "1:[I2:33,I2:11] 1:[0,4]"},
      {0, 1, -3, "[I2:33,I2:11] [0,4]"},       {-3, -3, -3, "-3:[I2:33,I2:11] -3:[0,4]"},
      {-3, 1, 0, "-3:[I2:33,I2:11] -3:[0,4]"},
  };
  device.errors[1] = 4;
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.handles) + "," + std::to_string(row.values));
    Values values = Based(row.values, Values{Variant("old"), Variant("old"), Variant("old")});
    Handles errors = Based(row.errors, Handles{5});
    group->SyncRead(Based(row.handles, Handles{3, 1}), values, errors);
    // A position with an error keeps what the driver delivered.
    EXPECT_EQ(LogText(values) + " " + LogText(errors),
              std::string(row.expected).replace(std::string(row.expected).find("I2:11"), 5, "UI1[11,0]"));
    EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[3,1],dimensions=[1,1])"));
  }
}

TEST_F(SyncReads, FillAValuesArrayOfTheSameLengthInItsOwnBounds) {
  HoldElevens();
  Start();
  Values values = Based(5, Values{Variant("old"), Variant("old")});
  Handles errors = Based(7, Handles{1, 1});
  group->SyncRead(Based(-3, Handles{3, 1}), values, errors);
  EXPECT_EQ(LogText(values) + " " + LogText(errors), "5:[I2:33,I2:11] -3:[0,0]");
}

TEST_F(SyncReads, APositionWithAnErrorKeepsItsItemAndHandsBackWhatTheDriverDelivered) {
  HoldElevens();
  Start();
  SyncRead({1, 2, 3});
  device.values[1] = Word(1);
  device.values[2] = Word(2);
  device.errors[2] = 7;
  EXPECT_EQ(SyncRead({1, 2, 3}), "[I2:1,UI1[2,0],I2:33] [0,7,0]");
  EXPECT_THAT(States(), ElementsAre("I2:1 at 200", "I2:22 at 100", "I2:33 at 200"));
}

TEST_F(SyncReads, AllItemsOfACallBearOneTime) {
  HoldElevens();
  Start();
  Compiler().extract = [this](double, Variant&) { plant->platform.Jump(1s); };
  SyncRead({1, 2, 3});
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
}

TEST_F(SyncReads, HandBackWhatTheItemMakesOfTheDeviceValue) {
  device.values[1] = Word(0xFFFF);
  device.values[2] = Word(0x1234);
  device.values[3] = DoubleWord(0xFFFFFFFF);
  device.values[4] = Bytes({65, 0, 66, 0});
  device.values[5] = DoubleWord(0x3FC00000);
  device.values[6] = Bytes({1, 2, 3, 4});
  Start({"WO1", "WO2", "DW1", "ST000004", "FL1", "RA004"});
  Item(2)->PutBCD(true);
  EXPECT_EQ(SyncRead({1, 2, 3, 4, 5, 6}),
            "[R8:65535,I4:1234,R8:4294967295,String:\"AB\",R4:1.5,UI1[1,2,3,4]] [0,0,0,0,0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2,3,4,5,6],dimensions=[1,1,2,2,2,2])"));
  EXPECT_THAT(States(), ElementsAre("I2:-1 at 100", "I2:4660 at 100", "I4:-1 at 100", "UI1[65,0,66,0] at 100",
                                    "R4:1.5 at 100", "UI1[1,2,3,4] at 100"));
}

TEST_F(SyncReads, AnUnknownHandleRaisesTheItemsErrorAndNothingIsSent) {
  Start();
  Values values{Variant("old")};
  Handles errors{5};
  EXPECT_EQ(ErrorOf([&] {
              group->SyncRead({1, 7, 8}, values, errors);
            }),
            "-2147221498: Invalid Handle: 7: Group Name= GGroupHandle: 1");
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_EQ(LogText(values) + LogText(errors), "[String:\"old\"][5]");
}

TEST_F(SyncReads, AHandleThatVanishedBeforeDeliveryHasAnEmptyValueAtItsPlace) {
  HoldElevens();
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      plant->server->CloseCommunication();
      group->KELDataItems()->Remove(2);
      Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(33)}, {0, 0, 0});
      plant->server->OpenCommunication();
    });
  };
  EXPECT_EQ(SyncRead({1, 2, 3}), "[I2:11,Empty,I2:33] [0,0,0]");
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:33 at 100"));
}

TEST_F(SyncReads, AHandleThatWasGivenToAnotherItemMeanwhileCountsAsVanished) {
  HoldElevens();
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      plant->server->CloseCommunication();
      group->KELDataItems()->Remove(2);
      group->KELDataItems()->Add("WO9");
      Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(33)}, {0, 0, 0});
      plant->server->OpenCommunication();
    });
  };
  EXPECT_EQ(SyncRead({1, 2, 3}), "[I2:11,Empty,I2:33] [0,0,0]");
  EXPECT_EQ(StateOf(2), "Empty never");
}

TEST_F(SyncReads, TakeTheDriversArraysByPositionWhateverTheirBoundsAndLengths) {
  Start();
  struct Row {
    const char* name;
    Values values;
    Handles errors;
    const char* expected;
  };
  const Row rows[] = {
      {"other lower bounds", Based(1, Values{Word(1), Word(2), Word(3)}), Based(-3, Handles{0, 5, 0}),
       "[I2:1,UI1[2,0],I2:3] [0,5,0]"},
      {"too long", {Word(1), Word(2), Word(3), Word(4)}, {0, 0, 0, 5}, "[I2:1,I2:2,I2:3] [0,0,0]"},
      {"values too short", {Word(1)}, {0, 0, 0}, "[I2:1,Empty,Empty] [0,9,9]"},
      {"errors too short", {Word(1), Word(2), Word(3)}, {0}, "[I2:1,Empty,Empty] [0,9,9]"},
      {"both too short", {Word(1), Word(2)}, {0, 0}, "[I2:1,I2:2,Empty] [0,0,9]"},
      {"nothing at all", {}, {}, "[Empty,Empty,Empty] [9,9,9]"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Driver().during["ReadItems"] = [this, &row] {
      plant->platform.Post([this, &row] { Driver().Sink().AsyncReadComplete(row.values, row.errors); });
    };
    EXPECT_EQ(SyncRead({1, 2, 3}), row.expected);
  }
}

TEST_F(SyncReads, ADriverThatRefusesTheCallLeavesErrors99AndTheItems) {
  HoldElevens();
  Start();
  SyncRead({1, 2, 3});
  Refuse("ReadItems");
  EXPECT_EQ(SyncRead({1, 2, 3}), "[Empty,Empty,Empty] [99,99,99]");
  EXPECT_EQ(Elapsed(), 150);
  EXPECT_THAT(States(), ElementsAre("I2:11 at 100", "I2:22 at 100", "I2:33 at 100"));
  TakeAgain();
  EXPECT_EQ(SyncRead({2}), "[I2:22] [0]");
}

TEST_F(SyncReads, ALengthThatDoesNotCompileIsTreatedAsARefusedCallAndIsNeverSent) {
  Start();
  group->Items().ResizeItem(*Item(2), 32768);
  EXPECT_EQ(SyncRead({1, 2}), "[Empty,Empty] [99,99]");
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(SyncReads, APositionBeyond32767DoesNotCompile) {
  Start();
  Values values;
  Handles errors;
  group->SyncRead(Handles(32768, 0, 1), values, errors);
  EXPECT_EQ(errors, Handles(32768));
  TakeSent();
  group->SyncRead(Handles(32769, 0, 1), values, errors);
  EXPECT_EQ(errors, Handles(32769, 0, 99));
  EXPECT_EQ(values, Values(32769));
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(SyncReads, OtherRequestsAndTheirEventsGoOnDuringTheWait) {
  HoldElevens();
  Start();
  EXPECT_EQ(AsyncRead({2}), 1);
  EXPECT_EQ(SyncRead({1}), "[I2:11] [0]");
  EXPECT_THAT(TakeEvents(), ElementsAre("AsyncReadComplete 1 [2] [I2:22] [0]"));
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[2],dimensions=[1])",
                                      "ReadItems(addresses=[1],dimensions=[1])"));
}

using SyncReadAlls = DataFixture;

TEST_F(SyncReadAlls, ReplaceTheThreeArraysByTheItemsInTheirOrder) {
  HoldElevens();
  Start();
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [I2:11,I2:22,I2:33] [0,0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("ReadItems(addresses=[1,2,3],dimensions=[1,1,1])"));
}

TEST_F(SyncReadAlls, InItemModeSetNoTimeAndStoreAValueBesideAnError) {
  HoldElevens();
  Start();
  device.errors[2] = 7;
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [I2:11,I2:22,I2:33] [0,7,0]");
  EXPECT_THAT(States(), ElementsAre("I2:11 never", "I2:22 never", "I2:33 never"));
}

TEST_F(SyncReadAlls, FollowTheOrderOfTheCollectionNotOfTheHandles) {
  HoldElevens();
  AddGroup({"WO1", "WO2", "WO3"});
  group->KELDataItems()->Remove(1);
  group->KELDataItems()->Add("WO4");
  Open();
  EXPECT_EQ(SyncReadAll(), "[2,3,1] [I2:22,I2:33,I2:44] [0,0,0]");
}

TEST_F(SyncReadAlls, AnItemThatVanishedBeforeDeliveryHasAnEmptyValueAtItsPlace) {
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      plant->server->CloseCommunication();
      group->KELDataItems()->Remove(2);
      Driver().Sink().AsyncReadComplete({Word(11), Word(22), Word(33)}, {0, 0, 0});
      plant->server->OpenCommunication();
    });
  };
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [I2:11,Empty,I2:33] [0,0,0]");
  EXPECT_THAT(States(), ElementsAre("I2:11 never", "I2:33 never"));
}

TEST_F(SyncReadAlls, AFailedRequestHandsBackItsErrorAtEveryPositionAndChangesNothing) {
  HoldElevens();
  Start();
  SyncReadAll();
  device.silent = true;
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [Empty,Empty,Empty] [1,1,1]");
  EXPECT_THAT(States(), ElementsAre("I2:11 never", "I2:22 never", "I2:33 never"));
}

TEST_F(SyncReadAlls, ARefusedCallLeavesErrors99AndTheItems) {
  HoldElevens();
  Start();
  SyncReadAll();
  Refuse("ReadItems");
  EXPECT_EQ(SyncReadAll(), "[1,2,3] [Empty,Empty,Empty] [99,99,99]");
  EXPECT_THAT(States(), ElementsAre("I2:11 never", "I2:22 never", "I2:33 never"));
}

}  // namespace
}  // namespace orvo::testing
