#include "unit/values/RaisedNumber.h"
#include "values/Dates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>

namespace orvo {

static bool operator==(const CivilTime& a, const CivilTime& b) {
  const auto fields = [](const CivilTime& t) {
    return std::tie(t.year, t.month, t.day, t.hour, t.minute, t.second, t.millisecond);
  };
  return fields(a) == fields(b);
}

static void PrintTo(const CivilTime& t, std::ostream* out) {
  *out << t.year << '-' << t.month << '-' << t.day << ' ' << t.hour << ':' << t.minute << ':' << t.second << '.'
       << t.millisecond;
}

namespace {

struct DateRow {
  double days;
  CivilTime civil;
  const char* text;
};
constexpr DateRow DateRows[] = {
    {0, {1899, 12, 30, 0, 0, 0, 0}, "00:00:00"},
    {0.25, {1899, 12, 30, 6, 0, 0, 0}, "06:00:00"},
    {1, {1899, 12, 31, 0, 0, 0, 0}, "1899-12-31"},
    {2.5, {1900, 1, 1, 12, 0, 0, 0}, "1900-01-01 12:00:00"},
    {-1, {1899, 12, 29, 0, 0, 0, 0}, "1899-12-29"},
    {-1.25, {1899, 12, 29, 6, 0, 0, 0}, "1899-12-29 06:00:00"},
    {-1.75, {1899, 12, 29, 18, 0, 0, 0}, "1899-12-29 18:00:00"},
    {60, {1900, 2, 28, 0, 0, 0, 0}, "1900-02-28"},
    {61, {1900, 3, 1, 0, 0, 0, 0}, "1900-03-01"},
    {36584, {2000, 2, 28, 0, 0, 0, 0}, "2000-02-28"},
    {36585, {2000, 2, 29, 0, 0, 0, 0}, "2000-02-29"},
    {36586, {2000, 3, 1, 0, 0, 0, 0}, "2000-03-01"},
    {25569, {1970, 1, 1, 0, 0, 0, 0}, "1970-01-01"},
    {45351.999988425923, {2024, 2, 29, 23, 59, 59, 0}, "2024-02-29 23:59:59"},
    {-657434, {100, 1, 1, 0, 0, 0, 0}, "0100-01-01"},
    {-657434.5, {100, 1, 1, 12, 0, 0, 0}, "0100-01-01 12:00:00"},
    {2958465, {9999, 12, 31, 0, 0, 0, 0}, "9999-12-31"},
    {2958465.5, {9999, 12, 31, 12, 0, 0, 0}, "9999-12-31 12:00:00"},
};

TEST(Dates, AreCivilTimesAndTexts) {
  for (const DateRow& row : DateRows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(CivilFromDate(Date{row.days}), row.civil);
    EXPECT_EQ(DateText(Date{row.days}), row.text);
    EXPECT_NEAR(DateFromCivil(row.civil).days, row.days, 1e-9);
  }
}

TEST(Dates, CountTheTimeOfDayForwardOnDayZeroWhateverTheSign) {
  EXPECT_EQ(CivilFromDate(Date{-0.25}), CivilFromDate(Date{0.25}));
  EXPECT_EQ(DateText(Date{-0.25}), "06:00:00");
}

TEST(Dates, RoundToTheNearestMillisecond) {
  constexpr double millisecond = 1.0 / 86'400'000;
  struct RoundingRow {
    double days;
    CivilTime civil;
  };
  constexpr RoundingRow rows[] = {
      {1 + 0.4 * millisecond, {1899, 12, 31, 0, 0, 0, 0}},
      {1 + 0.6 * millisecond, {1899, 12, 31, 0, 0, 0, 1}},
      {2 - 0.4 * millisecond, {1900, 1, 1, 0, 0, 0, 0}},
      {2 - 0.6 * millisecond, {1899, 12, 31, 23, 59, 59, 999}},
      {-1 - 0.6 * millisecond, {1899, 12, 29, 0, 0, 0, 1}},
      {-2 + 0.4 * millisecond, {1899, 12, 30, 0, 0, 0, 0}},
      {-3 + 0.4 * millisecond, {1899, 12, 29, 0, 0, 0, 0}},
  };
  for (const RoundingRow& row : rows)
    EXPECT_EQ(CivilFromDate(Date{row.days}), row.civil) << row.days;
}

TEST(Dates, AreWrittenToTheNearestSecond) {
  EXPECT_EQ(DateText(DateFromCivil({2024, 5, 6, 7, 8, 9, 499})), "2024-05-06 07:08:09");
  EXPECT_EQ(DateText(DateFromCivil({2024, 5, 6, 7, 8, 9, 501})), "2024-05-06 07:08:10");
  EXPECT_EQ(DateText(DateFromCivil({2024, 5, 6, 23, 59, 59, 999})), "2024-05-07");
  EXPECT_EQ(DateText(DateFromCivil({2024, 5, 6, 0, 0, 0, 1})), "2024-05-06");
}

TEST(Dates, RoundTripEveryDayAndSomeMilliseconds) {
  for (std::int32_t day = -657434; day <= 2958465; day += 97) {
    for (const std::int32_t milliseconds : {0, 1, 43'200'000, 86'399'999}) {
      const double fraction = milliseconds / 86'400'000.0;
      const CivilTime civil = CivilFromDate(Date{day < 0 ? day - fraction : day + fraction});
      ASSERT_EQ(((civil.hour * 60 + civil.minute) * 60 + civil.second) * 1000 + civil.millisecond, milliseconds)
          << day;
      ASSERT_EQ(CivilFromDate(DateFromCivil(civil)), civil) << day;
    }
  }
}

TEST(Dates, RefuseWhatLiesOutsideTheYears100To9999) {
  constexpr double outside[] = {-657435,
                                -657435.5,
                                2958466,
                                1e18,
                                -1e18,
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()};
  for (const double days : outside) {
    SCOPED_TRACE(days);
    EXPECT_FALSE(IsDateInRange(Date{days}));
    EXPECT_EQ(RaisedNumber([&] { CivilFromDate(Date{days}); }), 6);
    EXPECT_EQ(RaisedNumber([&] { DateText(Date{days}); }), 6);
  }
  EXPECT_TRUE(IsDateInRange(Date{-657434.999}));
  EXPECT_TRUE(IsDateInRange(Date{2958465.999}));
  EXPECT_EQ(RaisedNumber([] { CivilFromDate(Date{std::nextafter(2958466.0, 0.0)}); }), 6)
      << "rounds into the year 10000";
}

TEST(Dates, RefuseCivilTimesThatDoNotExist) {
  constexpr CivilTime rows[] = {
      {2023, 2, 29, 0, 0, 0, 0},  {1900, 2, 29, 0, 0, 0, 0}, {2024, 4, 31, 0, 0, 0, 0},
      {2024, 0, 1, 0, 0, 0, 0},   {2024, 13, 1, 0, 0, 0, 0}, {2024, 1, 0, 0, 0, 0, 0},
      {2024, 1, 32, 0, 0, 0, 0},  {2024, 1, -1, 0, 0, 0, 0}, {2024, 1, 1, 24, 0, 0, 0},
      {2024, 1, 1, -1, 0, 0, 0},  {2024, 1, 1, 0, 60, 0, 0}, {2024, 1, 1, 0, -1, 0, 0},
      {2024, 1, 1, 0, 0, 60, 0},  {2024, 1, 1, 0, 0, -1, 0}, {2024, 1, 1, 0, 0, 0, 1000},
      {2024, 1, 1, 0, 0, 0, -1},  {99, 12, 31, 0, 0, 0, 0},  {10000, 1, 1, 0, 0, 0, 0},
      {-2024, 1, 1, 0, 0, 0, 0},  {67560, 1, 1, 0, 0, 0, 0}, {2024, 257, 1, 0, 0, 0, 0},
      {2024, 1, 257, 0, 0, 0, 0},
  };
  for (const CivilTime& civil : rows)
    EXPECT_EQ(RaisedNumber([&] { DateFromCivil(civil); }), 5) << testing::PrintToString(civil);
  EXPECT_EQ(RaisedNumber([] { DateFromCivil({2000, 2, 29, 23, 59, 59, 999}); }), 0);
}

}  // namespace
}  // namespace orvo
