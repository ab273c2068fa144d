// A driver whose calls come back into the system while it works on items: conversions, compilations, handles
// that change their item.

#include "conformance/DriverReentrancyTest.h"

#include "errors/modIDataErrors.h"

#include <functional>
#include <vector>

namespace orvo::testing {
namespace {

using DriverReentrancy = DriverReentrancyTest;

// Twenty bytes, more than a value holds in itself; the first two are the word.
Variant LongBytes(std::uint16_t word) {
  std::vector<std::uint8_t> bytes(20, 0xEE);
  bytes[0] = static_cast<std::uint8_t>(word & 0xFF);
  bytes[1] = static_cast<std::uint8_t>(word >> 8);
  return Variant::OfBytes(bytes);
}

TEST_F(DriverReentrancy, AConversionThatSwitchesTheGroupOffAndOnKeepsEveryItemOfTheRefresh) {
  plant->Configure();
  std::uint16_t first = 11;
  plant->Answer = [&](double address, std::int16_t) {
    return LongBytes(static_cast<std::uint16_t>(first + address));
  };
  plant->AnswerByItself();
  const std::shared_ptr<KELDataGroup> group = AddWords({"WO1", "WO2"});
  group->PutUpdateRate(300);
  group->PutActive(true);
  Server().OpenCommunication();
  int switches = 0;
  Device().extract = [&](double, Variant&) {
    ++switches;
    group->PutActive(false);
    group->PutActive(true);
  };
  Advance(500ms);
  EXPECT_EQ(plant->events, (Log{"DataChange [1,2] [I2:12,I2:13]"}));
  EXPECT_EQ(switches, 2);
  EXPECT_EQ(Server().ServerStatus(), 3);
  plant->events.clear();
  first = 21;
  Advance(500ms);
  ASSERT_FALSE(plant->events.empty());
  EXPECT_EQ(plant->events.front(), "DataChange [1,2] [I2:22,I2:23]");
}

// A request of item 2 that outlives it: "WO9" has its handle when the request comes to its end.
class HandleGivenAway : public DriverReentrancyTest {
 protected:
  void Start() {
    plant->Configure();
    group = AddWords({"WO1", "WO2"});
    Server().OpenCommunication();
  }
  void TearDown() override {
    group.reset();
    DriverReentrancyTest::TearDown();
  }
  // Communication is closed, `meanwhile` happens, item 2 becomes "WO9", communication is open again.
  void GiveAway(const std::function<void()>& meanwhile = [] {}) {
    Server().CloseCommunication();
    meanwhile();
    group->KELDataItems()->Remove(2);
    ASSERT_EQ(group->KELDataItems()->Add("WO9")->Handle(), 2);
    Server().OpenCommunication();
  }
  void ExpectNewItemUntouched() {
    const std::shared_ptr<KELDataItem> item = group->KELDataItems()->Item(2);
    EXPECT_EQ(item->ItemId(), "WO9");
    EXPECT_EQ(LogText(item->DATAValue()), "Empty");
    EXPECT_EQ(item->TimeStamp(), Date{});
    EXPECT_FALSE(item->WriteDone());
  }
  std::shared_ptr<KELDataGroup> group;
};

TEST_F(HandleGivenAway, AReadThatWasAnsweredBringsTheNewItemNothing) {
  Start();
  std::int32_t id = 0;
  group->AsyncRead({2}, id);
  Advance(100ms);
  ASSERT_EQ(Calls("ReadItems"), 1);
  GiveAway([&] { Driver().Sink().AsyncReadComplete({Word(7)}, {0}); });
  Advance(200ms);
  EXPECT_EQ(plant->events, (Log{"AsyncReadComplete 1 [2] [Empty] [0]"}));
  ExpectNewItemUntouched();
}

TEST_F(HandleGivenAway, AWriteThatWasAnsweredDoesNotMarkTheNewItemWritten) {
  Start();
  std::int32_t id = 0;
  group->AsyncWrite({2}, {"5"}, id);
  Advance(100ms);
  ASSERT_EQ(Calls("WriteItems"), 1);
  GiveAway([&] { Driver().Sink().AsyncWriteComplete({0}); });
  Advance(200ms);
  EXPECT_EQ(plant->events, (Log{"AsyncWriteComplete 1 [2] [0]"}));
  ExpectNewItemUntouched();
}

TEST_F(HandleGivenAway, AWriteThatStillWaitsIsSentWithoutTheNewItemsAddress) {
  Start();
  std::int32_t id = 0;
  group->AsyncWrite({1, 2}, {"5", "6"}, id);
  GiveAway();
  Advance(100ms);
  ASSERT_EQ(Calls("WriteItems"), 1);
  EXPECT_TRUE(Driver().log.back().starts_with("WriteItems(addresses=[1,0],dimensions=[1,0],"))
      << Driver().log.back();
  Driver().Sink().AsyncWriteComplete({0, 0});
  Advance(200ms);
  EXPECT_EQ(plant->events, (Log{"AsyncWriteComplete 1 [1,2] [0,0]"}));
  EXPECT_TRUE(group->KELDataItems()->Item(1)->WriteDone());
  ExpectNewItemUntouched();
}

TEST_F(HandleGivenAway, ARefreshThatWasAnsweredReportsEmptyAndTheNextOneReportsTheNewItem) {
  Start();
  group->PutUpdateRate(300);
  group->PutActive(true);
  Advance(450ms);
  ASSERT_EQ(Calls("ReadItems"), 1);
  GiveAway([&] { Driver().Sink().AsyncReadComplete({Word(6), Word(7)}, {0, 0}); });
  Advance(200ms);
  EXPECT_EQ(plant->events, (Log{"DataChange [1,2] [I2:6,Empty]"}));
  ExpectNewItemUntouched();
  plant->events.clear();
  Advance(300ms);
  ASSERT_EQ(Calls("ReadItems"), 2);
  Driver().Sink().AsyncReadComplete({Word(6), Word(7)}, {0, 0});
  Advance(100ms);
  EXPECT_EQ(plant->events, (Log{"DataChange [2] [I2:7]"}));
}

TEST_F(HandleGivenAway, ASynchronousReadBringsItsCallerEmptyAndTheNewItemNothing) {
  Start();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] { GiveAway([&] { Driver().Sink().AsyncReadComplete({Word(7)}, {0}); }); });
  };
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({2}, values, errors);
  EXPECT_EQ(LogText(values) + LogText(errors), "[Empty][0]");
  ExpectNewItemUntouched();
}

// A whole-group read whose first conversion takes item 2 away.
class ItemTakenAway : public DriverReentrancyTest {
 protected:
  std::shared_ptr<KELDataGroup> Start() {
    plant->Configure();
    Driver().groupTransfer = true;
    const std::shared_ptr<KELDataGroup> group = AddWords({"WO1", "WO2", "WO3"});
    Driver().during["ReadGroup"] = [this] {
      plant->platform.Post([this] { Driver().Sink().AsyncReadGroupComplete({0, 41, 0, 42, 0, 43}, 0); });
    };
    Device().extract = [this, items = group.get()](double address, Variant&) {
      if (address != 1 || items->ItemCount() != 3) return;
      Server().CloseCommunication();
      items->KELDataItems()->Remove(2);
    };
    Server().OpenCommunication();
    return group;
  }
};

TEST_F(ItemTakenAway, TheEventOfAnAsynchronousReadKeepsHandlesValuesAndErrorsTogether) {
  const std::shared_ptr<KELDataGroup> group = Start();
  std::int32_t id = 0;
  group->AsyncReadAll(id);
  Advance(500ms);
  EXPECT_EQ(plant->events, (Log{"AsyncReadAllComplete 1 [1,3] [R8:41,R8:43] [0,0]"}));
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(ItemTakenAway, TheResultsOfASynchronousReadKeepHandlesValuesAndErrorsTogether) {
  const std::shared_ptr<KELDataGroup> group = Start();
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncReadAll(handles, values, errors);
  EXPECT_EQ(LogText(handles) + LogText(values) + LogText(errors), "[1,3][R8:41,R8:43][0,0]");
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(DriverReentrancy, ARefusedItemWhoseNameWasTakenOverLeavesTheOtherItemAlone) {
  plant->Configure();
  const std::shared_ptr<KELDataGroup> group = AddWords({});
  Log sizes;
  Driver().checkVariable = [&](std::int32_t words, std::int32_t count) {
    sizes.push_back(std::to_string(words) + " words of " + std::to_string(count));
    if (sizes.size() != 1) return true;
    group->KELDataItems()->RemoveByName("X");
    group->KELDataItems()->Add("DW2", Variant("X"));
    return false;
  };
  EXPECT_EQ(ErrorNumberOf([&] { group->KELDataItems()->Add("WO1", Variant("X")); }), errInvalidItemId);
  ASSERT_EQ(group->KELDataItems()->Count(), 1);
  EXPECT_EQ(group->KELDataItems()->ItemByName("X")->ItemId(), "DW2");
  group->KELDataItems()->Add("WO3");
  EXPECT_EQ(sizes, (Log{"1 words of 1", "2 words of 1", "3 words of 2"}));
}

TEST_F(DriverReentrancy, ItemsWithoutANameAddedWithinEachOtherGetDifferentNames) {
  plant->Configure();
  const std::shared_ptr<KELDataGroup> group = AddWords({});
  bool nested = false;
  Device().compile = [&](const std::string&, double& address, std::int32_t& words, std::int32_t& type) {
    if (!nested) {
      nested = true;
      group->KELDataItems()->Add("WO2");
    }
    address = 1;
    words = 1;
    type = 0;
    return true;
  };
  group->KELDataItems()->Add("WO1");
  Log items;
  for (const std::shared_ptr<KELDataItem>& item : group->KELDataItems()->NewEnum())
    items.push_back(std::to_string(item->Handle()) + " " + item->ItemName() + " " + item->ItemId());
  EXPECT_EQ(items, (Log{"1 Item_1 WO2", "2 Item_2 WO1"}));
}

TEST_F(DriverReentrancy, AnAnswerThatComesWhileAWholeGroupReadIsGivenUpChangesNothing) {
  plant->Configure();
  Driver().groupTransfer = true;
  const std::shared_ptr<KELDataGroup> group = AddWords({"WO1", "WO2"});
  Server().OpenCommunication();
  bool returned = false;
  bool answered = false;
  // Due after the ten seconds and before the wait looks at the clock again: the call that it posts runs in the
  // pump that follows that look.
  plant->platform.SetTimer(10005ms, [&](std::int32_t timerId) {
    plant->platform.KillTimer(timerId);
    plant->platform.Post([&] {
      answered = !returned;
      Driver().Sink().AsyncReadGroupComplete({0, 41, 0, 42}, 0);
    });
  });
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncReadAll(handles, values, errors);
  returned = true;
  EXPECT_TRUE(answered);
  EXPECT_EQ(plant->platform.Now(), 10005ms);
  EXPECT_EQ(LogText(handles) + LogText(values) + LogText(errors), "[0,0][Empty,Empty][1,1]");
  Advance(1s);
  for (const std::shared_ptr<KELDataItem>& item : group->KELDataItems()->NewEnum()) {
    EXPECT_EQ(LogText(item->DATAValue()), "Empty");
    EXPECT_EQ(item->TimeStamp(), Date{});
  }
}

}  // namespace
}  // namespace orvo::testing
