#include "unit/model/DataFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using SyncWrites = DataFixture;

TEST_F(SyncWrites, SendTheDeviceValuesAndStoreThemInTheItems) {
  Start();
  EXPECT_EQ(SyncWrite({1, 2, 3}, {Short(5), Short(6), "7"}), "[0,0,0]");
  EXPECT_THAT(TakeSent(),
              ElementsAre("WriteItems(addresses=[1,2,3],dimensions=[1,1,1],values=[I4:5,I4:6,I4:7])"));
  EXPECT_THAT(States(), ElementsAre("I4:5 at 100 written", "I4:6 at 100 written", "I4:7 at 100 written"));
  EXPECT_EQ(Elapsed(), 100);
  EXPECT_THAT(TakeEvents(), IsEmpty());
}

TEST_F(SyncWrites, LeaveTheCallersValuesAlone) {
  Start();
  const Values values{Short(5), "7"};
  SyncWrite({1, 2}, values);
  EXPECT_EQ(LogText(values), "[I2:5,String:\"7\"]");
}

TEST_F(SyncWrites, WalkEachArrayFromItsOwnLowerBoundAndReturnErrorsInTheBoundsOfTheHandles) {
  Start();
  device.errors[3] = 4;
  struct Row {
    std::int32_t handles, values, errors;
    const char* expected;
  };
  const Row rows[] = {{0, 0, 0, "[4,0]"},
                      {1, 0, -3, "1:[4,0]"},
                      {0, 1, 5, "[4,0]"},
                      {-3, 1, 0, "-3:[4,0]"},
                      {1, -3, 1, "1:[4,0]"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.handles) + "," + std::to_string(row.values));
    Handles errors = Based(row.errors, Handles{7, 7, 7});
    group->SyncWrite(Based(row.handles, Handles{3, 1}), Based(row.values, Values{Short(5), Short(6)}), errors);
    EXPECT_EQ(LogText(errors), row.expected);
    EXPECT_THAT(TakeSent(), ElementsAre("WriteItems(addresses=[3,1],dimensions=[1,1],values=[I4:5,I4:6])"));
  }
}

TEST_F(SyncWrites, APositionWithAnErrorKeepsItsItem) {
  Start();
  SyncWrite({1, 2}, {Short(5), Short(6)});
  device.errors[2] = 4;
  EXPECT_EQ(SyncWrite({2, 1, 3}, {Short(1), Short(2), Short(3)}), "[4,0,0]");
  EXPECT_THAT(States(), ElementsAre("I4:2 at 200 written", "I4:6 at 100 written", "I4:3 at 200 written"));
}

TEST_F(SyncWrites, AThirdValueThatCannotBeConvertedFailsWithItsPositionAndNothingIsWritten) {
  Start();
  struct Row {
    std::int32_t handles, values;
    const char* raised;
  };
  const Row rows[] = {{0, 0, "-2147221489: INVALID FORMAT Invalid format: index=2"},
                      {1, 0, "-2147221489: INVALID FORMAT Invalid format: index=3"},
                      {-3, 1, "-2147221489: INVALID FORMAT Invalid format: index=-1"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.raised);
    Handles errors{7};
    EXPECT_EQ(ErrorOf([&] {
                group->SyncWrite(Based(row.handles, Handles{1, 2, 3}),
                                 Based(row.values, Values{Short(1), Short(2), "no number"}), errors);
              }),
              row.raised);
    EXPECT_EQ(LogText(errors), "[7]");
  }
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
}

TEST_F(SyncWrites, TheFirstPositionThatIsWrongDecidesTheError) {
  Start();
  EXPECT_EQ(SyncWrite({1, 9}, {"no number", Short(1)}), "-2147221489: INVALID FORMAT Invalid format: index=0");
  EXPECT_EQ(SyncWrite({9, 1}, {Short(1), "no number"}),
            "-2147221498: Invalid Handle: 9: Group Name= GGroupHandle: 1");
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(SyncWrites, RefuseEveryValueThatTheItemCannotTake) {
  Start({"WO1", "BI1", "BY1", "RA004"});
  struct Row {
    const char* name;
    std::int32_t handle;
    Variant value;
  };
  const Row rows[] = {
      {"a boolean for a word", 1, true},
      {"a boolean for a bit", 2, true},
      {"two for a bit", 2, Short(2)},
      {"a negative word", 1, Short(-1)},
      {"a fraction", 1, 1.5},
      {"too large for a word", 1, std::int32_t{65536}},
      {"too large for a byte", 3, Short(256)},
      {"a number beyond a byte for raw bytes", 4, Variant(SafeArray<std::int32_t>{1, 256})},
      {"a negative number for raw bytes", 4, Variant(SafeArray<std::int32_t>{-1})},
      {"a fraction for raw bytes", 4, Variant(SafeArray<double>{1.5})},
      {"texts for raw bytes", 4, Variant(SafeArray<std::string>{"1"})},
      {"no object", 1, Variant(std::shared_ptr<AutomationObject>())},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(SyncWrite({row.handle}, {row.value}), "-2147221489: INVALID FORMAT Invalid format: index=0");
    EXPECT_EQ(SyncWriteAll({row.handle}, {row.value}), "-2147221489: INVALID FORMAT Invalid format: index=0");
    EXPECT_EQ(ErrorNumberOf([&] { AsyncWrite({row.handle}, {row.value}); }), errInvalidFormat);
    std::int32_t id = -1;
    EXPECT_EQ(ErrorNumberOf([&] { group->AsyncWriteAll({row.handle}, {row.value}, id); }), errInvalidFormat);
    EXPECT_EQ(id, -1);
  }
  plant->Advance(1s);
  EXPECT_THAT(TakeSent(), IsEmpty());
}

TEST_F(SyncWrites, SendEachKindOfItemInItsDeviceForm) {
  Start({"WO1", "WO2", "DW1", "ST000004", "FL1", "RA004"});
  Item(2)->PutBCD(true);
  EXPECT_EQ(
      SyncWrite({1, 2, 3, 4, 5, 6}, {Variant(), Short(1234), 4294967295.0, "A", "1.5", Bytes({1, 2, 3, 4})}),
      "[0,0,0,0,0,0]");
  EXPECT_THAT(
      TakeSent(),
      ElementsAre("WriteItems(addresses=[1,2,3,4,5,6],dimensions=[1,1,2,2,2,2],values=[I4:0,I4:1234,I4:-1,"
                  "UI1[65,32,32,32],R4:1.5,UI1[1,2,3,4]])"));
}

TEST_F(SyncWrites, TakeWholeNumbersOfAnyKindForBytes) {
  Start({"RA004", "ST000004"});
  const SafeArray<Variant> mixed({Short(1), std::int32_t{255}, 3.0, std::uint8_t{0}});
  EXPECT_EQ(SyncWrite({1, 2}, {mixed, SafeArray<std::int32_t>{65, 66}}), "[0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("WriteItems(addresses=[1,2],dimensions=[2,2],values=[UI1[1,255,3,0],"
                                      "UI1[65,66,32,32]])"));
}

TEST_F(SyncWrites, WhatWasWrittenIsReadAsTheClientValue) {
  Start({"DW1", "ST000004"});
  SyncWrite({1, 2}, {4294967295.0, "AB"});
  EXPECT_EQ(LogText(Item(1)->USERValue()), "R8:4294967295");
  EXPECT_EQ(LogText(Item(2)->USERValue()), "String:\"AB  \"");
  EXPECT_EQ(SyncRead({1, 2}), "[R8:4294967295,String:\"AB  \"] [0,0]");
}

TEST_F(SyncWrites, ADriverThatRefusesTheCallLeavesErrors99AndTheItems) {
  Start();
  SyncWrite({1}, {Short(5)});
  Refuse("WriteItems");
  EXPECT_EQ(SyncWrite({1, 2}, {Short(1), Short(2)}), "[99,99]");
  EXPECT_THAT(States(), ElementsAre("I4:5 at 100 written", "Empty never", "Empty never"));
}

TEST_F(SyncWrites, AFailedRequestHandsBackItsErrorAtEveryPositionInTheBoundsOfTheHandles) {
  Start();
  device.silent = true;
  EXPECT_EQ(SyncWrite(Based(1, Handles{1, 2}), {Short(1), Short(2)}), "1:[1,1]");
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
  // The answer that comes too late is nobody's.
  Driver().Sink().AsyncWriteComplete({0, 0});
  plant->Advance(1s);
  EXPECT_THAT(States(), ElementsAre("Empty never", "Empty never", "Empty never"));
}

TEST_F(SyncWrites, TakeTheDriversErrorsByPosition) {
  Start();
  struct Row {
    const char* name;
    Handles errors;
    const char* expected;
  };
  const Row rows[] = {{"other lower bound", Based(-3, Handles{0, 5, 0}), "[0,5,0]"},
                      {"too long", {0, 0, 0, 5}, "[0,0,0]"},
                      {"too short", {0}, "[0,9,9]"},
                      {"nothing at all", {}, "[9,9,9]"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Driver().during["WriteItems"] = [this, &row] {
      plant->platform.Post([this, &row] { Driver().Sink().AsyncWriteComplete(row.errors); });
    };
    EXPECT_EQ(SyncWrite({1, 2, 3}, {Short(1), Short(2), Short(3)}), row.expected);
  }
}

TEST_F(SyncWrites, AHandleThatVanishedBeforeDeliveryIsPassedOver) {
  Start();
  Driver().during["WriteItems"] = [this] {
    plant->platform.Post([this] {
      plant->server->CloseCommunication();
      group->KELDataItems()->Remove(1);
      Driver().Sink().AsyncWriteComplete({0, 0});
      plant->server->OpenCommunication();
    });
  };
  EXPECT_EQ(SyncWrite({1, 2}, {Short(5), Short(6)}), "[0,0]");
  EXPECT_THAT(States(), ElementsAre("I4:6 at 100 written", "Empty never"));
}

TEST_F(SyncWrites, ValuesBeyondTheHandlesAreIgnored) {
  Start();
  EXPECT_EQ(SyncWrite({1}, {Short(5), "no number"}), "[0]");
  EXPECT_THAT(TakeSent(), ElementsAre("WriteItems(addresses=[1],dimensions=[1],values=[I4:5])"));
}

TEST_F(SyncWrites, AHandleGivenTwiceKeepsTheLastValue) {
  Start();
  EXPECT_EQ(SyncWrite({2, 2}, {Short(5), Short(6)}), "[0,0]");
  EXPECT_EQ(StateOf(2), "I4:6 at 100 written");
}

TEST_F(SyncWrites, AllItemsOfACallBearOneTime) {
  Start();
  EXPECT_EQ(SyncWriteAll({1, 3}, {Short(5), Short(6)}), "[0,0]");
  EXPECT_THAT(TakeSent(), ElementsAre("WriteItems(addresses=[1,3],dimensions=[1,1],values=[I4:5,I4:6])"));
  EXPECT_THAT(States(), ElementsAre("I4:5 at 100 written", "Empty never", "I4:6 at 100 written"));
}

}  // namespace
}  // namespace orvo::testing
