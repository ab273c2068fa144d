// When a periodic refresh counts a device value as changed.

#include "unit/model/DataChangeFixture.h"

namespace orvo::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RefreshComparisons : public ChangeFixture {
 protected:
  // Whether a second refresh that brings `now` after `earlier` reports the item.
  bool Reports(const Variant& earlier, const Variant& now) {
    device.values[1] = earlier;
    group->PutActive(false);
    group->PutActive(true);
    plant->Advance(1100ms);
    EXPECT_EQ(TakeEvents().size(), 1U) << "every position counts as empty after a new start";
    device.values[1] = now;
    plant->Advance(1000ms);
    const std::size_t reported = TakeEvents().size();
    EXPECT_FALSE(group->RefreshPending());
    EXPECT_EQ(LogText(Item(1)->DATAValue()), LogText(reported == 0 ? earlier : now));
    return reported == 1;
  }
};

Variant Numbers(SafeArray<std::int32_t> elements, std::int32_t lowerBound = 0) {
  elements.Rebase(lowerBound);
  return {std::move(elements)};
}

TEST_F(RefreshComparisons, FollowTheRulesOfVariants) {
  StartActive({"RA004"});
  struct Row {
    const char* name;
    Variant earlier, now;
    bool changed;
  };
  const Row rows[] = {
      {"the same number", Short(5), Short(5), false},
      {"another number", Short(5), Short(6), true},
      {"the same number of another kind", Short(5), 5.0, false},
      {"a whole and a fraction", Short(5), 5.5, true},
      {"0 and Empty", Short(0), {}, false},
      {"an empty text and Empty", "", {}, false},
      {"5 and Empty", Short(5), {}, true},
      {"a text and Empty", "a", {}, true},
      {"Empty is never a previous value", {}, {}, true},
      {"Empty and 0", {}, Short(0), true},
      {"a number and its text", Short(5), "5", true},
      {"a text and its number", "5", Short(5), true},
      {"the same text", "ab", "ab", false},
      {"another case", "ab", "AB", true},
      {"true and -1", true, Short(-1), false},
      {"true and 1", true, Short(1), true},
      {"Null and Null", Variant::Null(), Variant::Null(), false},
      {"Null and a number", Variant::Null(), Short(5), true},
      {"a number and Null", Short(5), Variant::Null(), true},
      {"the same error value", ErrorCode{5}, ErrorCode{5}, false},
      {"another error value", ErrorCode{5}, ErrorCode{6}, true},
      {"an error value and a number", ErrorCode{5}, Short(5), true},
      {"a number and an error value", Short(5), ErrorCode{5}, true},
      {"the same bytes", Bytes({1, 2}), Bytes({1, 2}), false},
      {"another first byte", Bytes({1, 2}), Bytes({3, 2}), true},
      {"another last byte", Bytes({1, 2}), Bytes({1, 3}), true},
      {"more bytes", Bytes({1, 2}), Bytes({1, 2, 3}), true},
      {"fewer bytes", Bytes({1, 2}), Bytes({1}), true},
      {"no bytes and no bytes", Bytes({}), Bytes({}), false},
      {"no bytes and a number", Bytes({}), Short(5), true},
      {"bytes and a number", Bytes({5, 0}), Short(5), true},
      {"a number and bytes", Short(5), Bytes({5, 0}), true},
      {"bytes and Empty", Bytes({0}), {}, true},
      {"equal elements", Numbers({1, 2}), Numbers({1, 2}), false},
      {"one other element", Numbers({1, 2}), Numbers({1, 3}), true},
      {"more elements", Numbers({1, 2}), Numbers({1, 2, 3}), true},
      {"fewer elements", Numbers({1, 2}), Numbers({1}), true},
      {"an earlier bound that ends later", Numbers({1}, 1), Numbers({1, 2}), true},
      {"equal elements of another kind", Numbers({1, 2}), Bytes({1, 2}), false},
      {"the same elements from another bound", Numbers({1, 2}), Numbers({1, 2}, 1), true},
      {"a bound that ends alike", Numbers({1, 2}), Numbers({2}, 1), true},
      {"Empty equals 0 among elements", Variant(SafeArray<Variant>{Short(0)}), Variant(SafeArray<Variant>{{}}),
       false},
      {"Null among elements", Variant(SafeArray<Variant>{Variant::Null()}),
       Variant(SafeArray<Variant>{Variant::Null()}), false},
      {"an error value among elements", Variant(SafeArray<Variant>{Short(5)}),
       Variant(SafeArray<Variant>{Variant(ErrorCode{5})}), true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Reports(row.earlier, row.now), row.changed);
  }
}

TEST_F(RefreshComparisons, AnObjectIsReportedEachTimeAndDoesNotEndTheRefreshes) {
  StartActive({"RA004"});
  device.values[1] = Variant(std::shared_ptr<AutomationObject>());
  EXPECT_EQ(Round().size(), 1U);
  EXPECT_EQ(Round().size(), 1U);
  device.values[1] = Short(5);
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [I2:5]"));
}

TEST_F(RefreshComparisons, TheMeasureIsWhatTheLatestRefreshBroughtNotWhatTheItemDecoded) {
  device.values[1] = Word(5);
  StartActive({"WO1"});
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [I2:5]"));
  device.values[1] = Short(5);  // the same client value in another form: bytes before, a number now
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [I2:5]"));
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(RefreshComparisons, AnItemThatBringsEmptyIsReportedEachTime) {
  device.values[1] = Variant();
  StartActive({"WO1", "WO2"});
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2] [Empty,I2:2]"));
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [Empty]"));
  device.values[1] = Short(0);
  EXPECT_THAT(Round(), ElementsAre("DataChange [1] [I2:0]"));
  device.values[1] = Variant();
  EXPECT_THAT(Round(), IsEmpty());
}

TEST_F(RefreshComparisons, PositionsThatTheDriversArraysDoNotReachAreEmptyAndExtraOnesIgnored) {
  StartActive();
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] { Driver().Sink().AsyncReadComplete({Word(1)}, {0}); });
  };
  EXPECT_THAT(Round(), ElementsAre("DataChange [1,2,3] [I2:1,Empty,Empty]"));
  Driver().during["ReadItems"] = [this] {
    plant->platform.Post([this] {
      Values values{Word(1), Word(2), Word(3), Word(4)};
      Driver().Sink().AsyncReadComplete(Based(-3, values), Based(1, Handles{0, 0, 0, 0}));
    });
  };
  EXPECT_THAT(Round(), ElementsAre("DataChange [2,3] [I2:2,I2:3]"));
}

}  // namespace
}  // namespace orvo::testing
