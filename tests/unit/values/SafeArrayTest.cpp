#include "unit/values/RaisedNumber.h"
#include "values/AutomationObject.h"
#include "values/SafeArray.h"
#include "values/Variant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo {
namespace {

using Numbers = SafeArray<std::int32_t>;

std::vector<std::int32_t> Content(const Numbers& array) {
  return {array.View().begin(), array.View().end()};
}

TEST(SafeArray, IsEmptyWithZeroAsLowerBoundWhenNew) {
  const Numbers array;
  EXPECT_TRUE(array.IsEmpty());
  EXPECT_EQ(array.Size(), 0U);
  EXPECT_EQ(array.LowerBound(), 0);
  EXPECT_EQ(array.UpperBound(), -1);
  EXPECT_TRUE(array.View().empty());
  EXPECT_FALSE(array.IsShared());
}

TEST(SafeArray, CountsFromItsLowerBound) {
  struct Row {
    std::int32_t lower;
    std::int32_t upper;
  };
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  for (const Row& row : {Row{0, 2}, Row{1, 3}, Row{-5, -3}, Row{most - 2, most}, Row{least, least + 2}}) {
    SCOPED_TRACE(row.lower);
    Numbers array({10, 20, 30}, row.lower);
    EXPECT_EQ(array.LowerBound(), row.lower);
    EXPECT_EQ(array.UpperBound(), row.upper);
    EXPECT_EQ(array.At(row.lower), 10);
    EXPECT_EQ(array.At(row.upper), 30);
    array.Put(row.lower + 1, 21);
    EXPECT_EQ(Content(array), (std::vector<std::int32_t>{10, 21, 30}));
  }
}

TEST(SafeArray, RefusesIndexesOutsideItsBoundsAndStaysAsItWas) {
  for (const std::int32_t lower : {0, 1, -5}) {
    Numbers array({10, 20, 30}, lower);
    const std::int32_t outside[] = {lower - 1, lower + 3, std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max()};
    for (const std::int32_t index : outside) {
      SCOPED_TRACE(std::to_string(lower) + ", " + std::to_string(index));
      EXPECT_EQ(RaisedNumber([&] { array.At(index); }), 9);
      EXPECT_EQ(RaisedNumber([&] { array.Put(index, 1); }), 9);
      EXPECT_EQ(Content(array), (std::vector<std::int32_t>{10, 20, 30}));
    }
  }
  Numbers empty;
  EXPECT_EQ(RaisedNumber([&] { empty.At(0); }), 9);
  EXPECT_EQ(RaisedNumber([&] { empty.Put(0, 1); }), 9);
}

TEST(SafeArray, SharesElementsWithACopyUntilOneIsWritten) {
  Numbers original{1, 2, 3};
  Numbers copy = original;
  EXPECT_TRUE(original.IsShared());
  EXPECT_TRUE(copy.IsShared());
  EXPECT_EQ(copy.View().data(), original.View().data());

  copy.Put(0, 9);
  EXPECT_FALSE(original.IsShared());
  EXPECT_FALSE(copy.IsShared());
  EXPECT_EQ(Content(original), (std::vector<std::int32_t>{1, 2, 3}));
  EXPECT_EQ(Content(copy), (std::vector<std::int32_t>{9, 2, 3}));
}

TEST(SafeArray, KeepsCopiesIndependentWhateverChanges) {
  struct Row {
    const char* name;
    std::function<void(Numbers&)> change;
  };
  const Row rows[] = {
      {"Put", [](Numbers& array) { array.Put(1, 7); }},
      {"Edit", [](Numbers& array) { array.Edit()[2] = 7; }},
      {"Append", [](Numbers& array) { array.Append(7); }},
      {"grow", [](Numbers& array) { array.Resize(5); }},
      {"shrink", [](Numbers& array) { array.Resize(1); }},
      {"empty", [](Numbers& array) { array.Resize(0); }},
      {"Rebase", [](Numbers& array) { array.Rebase(1); }},
      {"assign", [](Numbers& array) { array = Numbers{4}; }},
      {"move away", [](Numbers& array) { const Numbers taken = std::move(array); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Numbers original{1, 2, 3};
    const Numbers kept = original;
    Numbers changed = original;
    row.change(changed);
    EXPECT_FALSE(changed == original);
    EXPECT_EQ(Content(original), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_EQ(original.LowerBound(), 0);
    EXPECT_EQ(kept, original);
  }
}

TEST(SafeArray, WritesInPlaceWhenItIsTheOnlyHolder) {
  Numbers array{1, 2, 3};
  const auto* elements = array.View().data();
  array.Put(0, 4);
  EXPECT_EQ(array.Edit().data(), elements);
  EXPECT_EQ(array.At(0), 4);
}

TEST(SafeArray, SurvivesAssignmentToItselfAndIsEmptyAfterAMove) {
  Numbers array({1, 2}, 3);
  const Numbers& same = array;
  array = same;
  EXPECT_EQ(array, Numbers({1, 2}, 3));

  const Numbers taken = std::move(array);
  EXPECT_EQ(taken, Numbers({1, 2}, 3));
  EXPECT_EQ(array, Numbers());  // NOLINT: the state after a move is part of the contract
  array.Append(5);
  EXPECT_EQ(array, Numbers{5});
}

TEST(SafeArray, RebasesWithoutTouchingItsElements) {
  Numbers array{1, 2, 3};
  const Numbers copy = array;
  array.Rebase(-1);
  EXPECT_EQ(array.At(-1), 1);
  EXPECT_EQ(array.UpperBound(), 1);
  EXPECT_TRUE(array.IsShared());
  EXPECT_EQ(copy.LowerBound(), 0);
}

TEST(SafeArray, ResizesAtItsUpperEndAndKeepsTheLowerBound) {
  Numbers array({1, 2, 3}, 1);
  array.Resize(5);
  EXPECT_EQ(array, Numbers({1, 2, 3, 0, 0}, 1));
  array.Resize(2);
  EXPECT_EQ(array, Numbers({1, 2}, 1));
  array.Resize(0);
  EXPECT_TRUE(array.IsEmpty());
  EXPECT_EQ(array.LowerBound(), 1);
  EXPECT_EQ(array.UpperBound(), 0);
  array.Resize(1);
  EXPECT_EQ(array, Numbers(std::vector<std::int32_t>{0}, 1));
}

TEST(SafeArray, AppendsToAnEmptyArray) {
  SafeArray<std::string> array;
  array.Append("one");
  array.Append("two");
  EXPECT_EQ(array, (SafeArray<std::string>{"one", "two"}));
}

TEST(SafeArray, IsFilledWithTheGivenValue) {
  EXPECT_EQ(Numbers(3, 1, 7), Numbers({7, 7, 7}, 1));
  EXPECT_EQ(Numbers(std::size_t{2}), (Numbers{0, 0}));
}

TEST(SafeArray, EqualsOnlyAnArrayWithTheSameBoundsAndElements) {
  EXPECT_TRUE(Numbers({1, 2}, 1) == Numbers({1, 2}, 1));
  EXPECT_FALSE(Numbers({1, 2}, 1) == Numbers({1, 2}, 0));
  EXPECT_FALSE(Numbers({1, 2}) == Numbers({1, 3}));
  EXPECT_FALSE(Numbers({1, 2}) == Numbers({1, 2, 3}));
  EXPECT_FALSE(Numbers({1, 2, 3}) == Numbers({1, 2}));
}

// Calls back when it ends, as a client's object may.
class Farewell : public AutomationObject {
 public:
  explicit Farewell(std::function<void()> onEnd) : onEnd_(std::move(onEnd)) {}
  ~Farewell() override { onEnd_(); }

 private:
  std::function<void()> onEnd_;
};

TEST(SafeArray, IsWholeWhenTheEndOfAnElementCallsBackIn) {
  struct Row {
    const char* name;
    std::function<void(SafeArray<Variant>&)> change;
    std::size_t sizeSeen;
  };
  const Row rows[] = {
      {"shrink", [](SafeArray<Variant>& array) { array.Resize(1); }, 1},
      {"empty", [](SafeArray<Variant>& array) { array.Resize(0); }, 0},
      {"assign", [](SafeArray<Variant>& array) { array = SafeArray<Variant>(); }, 0},
      {"Put", [](SafeArray<Variant>& array) { array.Put(1, std::int32_t{5}); }, 2},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    SafeArray<Variant> array(2);
    int ends = 0;
    array.Put(0, "kept");
    array.Put(1, Variant(std::make_shared<Farewell>([&] {
                ++ends;
                EXPECT_EQ(array.Size(), row.sizeSeen);
                for (const Variant& element : array.View())
                  EXPECT_FALSE(element.Is(VariantKind::Object));
                array.Append("from the callback");
              })));
    row.change(array);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(array.Size(), row.sizeSeen + 1);
    EXPECT_EQ(array.At(array.UpperBound()), Variant("from the callback"));
  }
  EXPECT_EQ(AutomationObject::LiveCount(), 0);
}

}  // namespace
}  // namespace orvo
