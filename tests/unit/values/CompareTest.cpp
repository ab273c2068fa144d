// Comparison: first which kinds compare at all, then values, each row in both directions.
#include "unit/values/RaisedNumber.h"
#include "values/AutomationObject.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace orvo {
namespace {

constexpr double InfiniteDouble = std::numeric_limits<double>::infinity();
constexpr std::int64_t LeastI8 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t MostI8 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t MostUI8 = std::numeric_limits<std::uint64_t>::max();

Comparison Reverse(Comparison comparison) {
  if (comparison == Comparison::Less) return Comparison::Greater;
  return comparison == Comparison::Greater ? Comparison::Less : comparison;
}

struct CompareRow {
  const char* name;
  Variant a;
  Variant b;
  Comparison expected;
};

void CheckComparisons(const std::vector<CompareRow>& rows) {
  for (const CompareRow& row : rows) {
    SCOPED_TRACE(row.name);
    const Variant a = row.a;
    const Variant b = row.b;
    EXPECT_EQ(Compare(a, b), row.expected);
    EXPECT_EQ(Compare(b, a), Reverse(row.expected));
    EXPECT_EQ(a, row.a) << "the input has changed";
    EXPECT_EQ(b, row.b) << "the input has changed";
  }
}

std::vector<Variant> NumbersOfValueOne() {
  return {std::int8_t{1},
          std::uint8_t{1},
          std::int16_t{1},
          std::uint16_t{1},
          std::int32_t{1},
          std::uint32_t{1},
          std::int64_t{1},
          std::uint64_t{1},
          1.0F,
          1.0,
          Currency{10000},
          Date{1},
          Decimal{0, false, 0, 1},
          Decimal{3, false, 0, 1000}};
}

TEST(Compare, TakesNumbersOfAnyKindByTheirValue) {
  for (const Variant& a : NumbersOfValueOne()) {
    for (const Variant& b : NumbersOfValueOne()) {
      SCOPED_TRACE(std::to_string(static_cast<int>(a.Kind())) + ", " +
                   std::to_string(static_cast<int>(b.Kind())));
      EXPECT_EQ(Compare(a, b), Comparison::Equal);
    }
    SCOPED_TRACE(std::to_string(static_cast<int>(a.Kind())));
    EXPECT_EQ(Compare(a, Variant()), Comparison::Greater);
    EXPECT_EQ(Compare(Variant(), a), Comparison::Less);
    EXPECT_EQ(Compare(a, true), Comparison::Greater);
    EXPECT_EQ(Compare(a, false), Comparison::Greater);
    EXPECT_EQ(Compare(a, "1"), Comparison::Less);
    EXPECT_EQ(Compare("1", a), Comparison::Greater);
    EXPECT_EQ(Compare(a, ""), Comparison::Less);
    EXPECT_EQ(Compare(a, Variant::Null()), Comparison::Null);
    EXPECT_EQ(Compare(a, 1.5), Comparison::Less);
    EXPECT_EQ(Compare(a, std::int16_t{-2}), Comparison::Greater);
    EXPECT_EQ(Compare(a, Decimal{4, false, 0, 9999}), Comparison::Greater);
  }
}

TEST(Compare, EmptyEqualsZeroAndTheEmptyText) {
  CheckComparisons({
      {"Empty", Variant(), Variant(), Comparison::Equal},
      {"0", Variant(), std::int16_t{0}, Comparison::Equal},
      {"0.0", Variant(), -0.0, Comparison::Equal},
      {"False", Variant(), false, Comparison::Equal},
      {"True", Variant(), true, Comparison::Greater},
      {"currency", Variant(), Currency{0}, Comparison::Equal},
      {"decimal", Variant(), Decimal{7, true, 0, 0}, Comparison::Equal},
      {"day 0", Variant(), Date{0}, Comparison::Equal},
      {"negative", Variant(), -1.0, Comparison::Greater},
      {"empty text", Variant(), "", Comparison::Equal},
      {"text", Variant(), " ", Comparison::Less},
      {"text 0", Variant(), "0", Comparison::Less},
  });
}

TEST(Compare, TakesTextsByTheirCodePointsAndExactCase) {
  CheckComparisons({
      {"equal", "Speed", "Speed", Comparison::Equal},
      {"case", "Speed", "speed", Comparison::Less},
      {"prefix", "Speed", "Speed1", Comparison::Less},
      {"as texts", "10", "9", Comparison::Less},
      {"umlaut", "z", "\xC3\xA4", Comparison::Less},
      {"beyond the basic plane", "\xEF\xBF\xBD", "\xF0\x90\x80\x80", Comparison::Less},
      {"zero character", std::string("a\0b", 3), std::string("a\0c", 3), Comparison::Less},
      {"long texts", std::string(40, 'x'), std::string(39, 'x') + "y", Comparison::Less},
      {"digits are no number", "1", "1.0", Comparison::Less},
      {"number first", 1e300, "", Comparison::Less},
      {"boolean first", true, "True", Comparison::Less},
      {"date first", Date{1}, "0", Comparison::Less},
  });
}

TEST(Compare, TakesBooleansAsMinusOneAndZero) {
  CheckComparisons({
      {"True and False", true, false, Comparison::Less},
      {"True and -1", true, std::int16_t{-1}, Comparison::Equal},
      {"True and 1", true, std::int16_t{1}, Comparison::Less},
      {"True and -1.0", true, -1.0, Comparison::Equal},
      {"True and currency", true, Currency{-10000}, Comparison::Equal},
      {"True and the largest byte", true, std::uint8_t{255}, Comparison::Less},
      {"False and 0", false, 0.0, Comparison::Equal},
  });
}

TEST(Compare, IsExactWhereDoublesAreNot) {
  const Decimal most{0, false, 0xFFFFFFFF, MostUI8};
  CheckComparisons({
      {"I8 just above a double", std::int64_t{9007199254740993}, 9007199254740992.0, Comparison::Greater},
      {"I8 equal to a double", std::int64_t{9007199254740992}, 9007199254740992.0, Comparison::Equal},
      {"largest I8", MostI8, 9223372036854775808.0, Comparison::Less},
      {"least I8", LeastI8, -9223372036854775808.0, Comparison::Equal},
      {"largest UI8", MostUI8, 18446744073709551616.0, Comparison::Less},
      {"UI8 and I8", MostUI8, std::int64_t{-1}, Comparison::Greater},
      {"UI8 and the largest I8", static_cast<std::uint64_t>(MostI8), MostI8, Comparison::Equal},
      {"I8 and a half", std::int64_t{-1}, -1.5, Comparison::Greater},
      {"decimal tenth and double tenth", Decimal{1, false, 0, 1}, 0.1, Comparison::Less},
      {"decimal half and double half", Decimal{1, false, 0, 5}, 0.5, Comparison::Equal},
      {"currency tenth and decimal tenth", Currency{1000}, Decimal{28, false, 0x33B2E3C, 0x9FD0803CE8000000U},
       Comparison::Equal},
      {"currency tenth and a decimal just above", Currency{1000},
       Decimal{28, false, 0x33B2E3C, 0x9FD0803CE8000001U}, Comparison::Less},
      {"currency and currency", Currency{MostI8}, Currency{MostI8 - 1}, Comparison::Greater},
      {"currency and double", Currency{25000}, 2.5, Comparison::Equal},
      {"currency and I8", Currency{MostI8}, std::int64_t{922337203685477}, Comparison::Greater},
      {"negative currency", Currency{LeastI8}, Currency{LeastI8 + 1}, Comparison::Less},
      {"largest decimal and double", most, 79228162514264337593543950336.0, Comparison::Less},
      {"negative decimals", Decimal{2, true, 0, 15}, Decimal{1, true, 0, 1}, Comparison::Less},
      {"least decimal and denormal double", Decimal{28, false, 0, 1}, 5e-324, Comparison::Greater},
      {"zeros with a sign", Decimal{1, true, 0, 0}, Decimal{0, false, 0, 0}, Comparison::Equal},
      {"single and double", 0.1F, 0.1, Comparison::Greater},
      {"date and number", Date{1.5}, std::int32_t{1}, Comparison::Greater},
  });
}

TEST(Compare, TakesInfinitiesBeyondEveryNumber) {
  CheckComparisons({
      {"I8", MostI8, InfiniteDouble, Comparison::Less},
      {"I8 from below", LeastI8, -InfiniteDouble, Comparison::Greater},
      {"UI8", MostUI8, InfiniteDouble, Comparison::Less},
      {"decimal", Decimal{0, true, 0xFFFFFFFF, 0}, -InfiniteDouble, Comparison::Greater},
      {"double", std::numeric_limits<double>::max(), InfiniteDouble, Comparison::Less},
      {"itself", InfiniteDouble, InfiniteDouble, Comparison::Equal},
  });
}

TEST(Compare, GivesLessForWhateverHasToDoWithNaN) {
  const Variant nan = std::nan("");
  const Variant others[] = {0.0,
                            1.0F,
                            InfiniteDouble,
                            std::int64_t{0},
                            MostUI8,
                            Currency{0},
                            Decimal{},
                            true,
                            nan,
                            Variant(),
                            std::numeric_limits<float>::quiet_NaN()};
  for (const Variant& other : others) {
    EXPECT_EQ(Compare(nan, other), Comparison::Less) << static_cast<int>(other.Kind());
    EXPECT_EQ(Compare(other, nan), Comparison::Less) << static_cast<int>(other.Kind());
  }
  EXPECT_EQ(Compare(nan, "nan"), Comparison::Less);
  EXPECT_EQ(Compare("nan", nan), Comparison::Greater);
}

TEST(Compare, GivesNullWhenEitherIsNull) {
  const Variant others[] = {Variant(), Variant::Null(), std::int16_t{0}, "", false, Date{0}, ErrorCode{1}};
  for (const Variant& other : others) {
    EXPECT_EQ(Compare(Variant::Null(), other), Comparison::Null);
    EXPECT_EQ(Compare(other, Variant::Null()), Comparison::Null);
  }
}

TEST(Compare, RefusesArraysObjectsAndErrorsBesideOtherKinds) {
  const Variant refused[] = {SafeArray<double>{1}, SafeArray<std::uint8_t>{1}, SafeArray<Variant>(),
                             Variant(std::shared_ptr<AutomationObject>())};
  const Variant others[] = {Variant(), Variant::Null(),      std::int16_t{0},
                            "",        SafeArray<double>{1}, ErrorCode{1}};
  for (const Variant& value : refused) {
    for (const Variant& other : others) {
      EXPECT_EQ(RaisedNumber([&] { Compare(value, other); }), 13);
      EXPECT_EQ(RaisedNumber([&] { Compare(other, value); }), 13);
    }
  }
  const Variant besideErrors[] = {Variant(), std::int32_t{5}, "5", false};
  for (const Variant& other : besideErrors) {
    EXPECT_EQ(RaisedNumber([&] { Compare(ErrorCode{5}, other); }), 13);
    EXPECT_EQ(RaisedNumber([&] { Compare(other, ErrorCode{5}); }), 13);
  }
}

TEST(Compare, TakesTwoErrorValuesByTheirCodes) {
  CheckComparisons({
      {"equal", ErrorCode{5}, ErrorCode{5}, Comparison::Equal},
      {"less", ErrorCode{-5}, ErrorCode{5}, Comparison::Less},
  });
}

}  // namespace
}  // namespace orvo
