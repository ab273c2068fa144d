// Conversions to the kinds that are no whole numbers, row by row.
#include "unit/values/ConversionRows.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace orvo {
namespace {

using namespace conversion;

TEST(ToReal, KeepsTheNearestValue) {
  constexpr double mostR4 = std::numeric_limits<float>::max();
  Check({
      {std::uint8_t{200}, Kind::R8, 200.0},
      {std::int64_t{9007199254740993}, Kind::R8, 9007199254740992.0},
      {MostUI8, Kind::R8, 18446744073709551616.0},
      {0.1F, Kind::R8, static_cast<double>(0.1F)},
      {Currency{1}, Kind::R8, 0.0001},
      {Currency{-123456}, Kind::R8, -12.3456},
      {Currency{MostI8}, Kind::R8, 922337203685477.5807},
      {Decimal{1, false, 0, 1}, Kind::R8, 0.1},
      {Decimal{28, true, 0, 1}, Kind::R8, -1e-28},
      {Decimal{0, false, 0, 0}, Kind::R8, 0.0},
      {MostDecimal, Kind::R8, 79228162514264337593543950335.0},
      {true, Kind::R8, -1.0},
      {Variant(), Kind::R8, 0.0},
      {Date{-1.25}, Kind::R8, -1.25},
      {0.1, Kind::R4, 0.1F},
      {std::int32_t{16777217}, Kind::R4, 16777216.0F},
      {Decimal{1, false, 0, 1}, Kind::R4, 0.1F},
      {true, Kind::R4, -1.0F},
      {mostR4, Kind::R4, std::numeric_limits<float>::max()},
      {mostR4 * 1.0000001, Kind::R4, Overflow},
      {-mostR4 * 1.0000001, Kind::R4, Overflow},
      {"3.5e38", Kind::R4, Overflow},
      {"1e-60", Kind::R4, 0.0F},
      {Infinite, Kind::R4, Overflow},
  });
  EXPECT_TRUE(std::isnan(ToR4(std::nan(""))));
}

TEST(ToBooleanValue, IsTrueForEverythingButZero) {
  Check({
      {I2(0), Kind::Boolean, false},
      {I2(2), Kind::Boolean, true},
      {0.1, Kind::Boolean, true},
      {-0.0, Kind::Boolean, false},
      {std::nan(""), Kind::Boolean, true},
      {Currency{1}, Kind::Boolean, true},
      {Decimal{28, false, 0, 1}, Kind::Boolean, true},
      {Decimal{5, true, 0, 0}, Kind::Boolean, false},
      {Date{0}, Kind::Boolean, false},
      {Variant(), Kind::Boolean, false},
      {"0", Kind::Boolean, false},
      {"0.1", Kind::Boolean, true},
      {"True", Kind::Boolean, true},
      {" fALSE\t", Kind::Boolean, false},
      {"TRUE", Kind::Boolean, true},
      {"Truer", Kind::Boolean, Mismatch},
      {"yes", Kind::Boolean, Mismatch},
      {"", Kind::Boolean, Mismatch},
      {"1e400", Kind::Boolean, Overflow},
  });
}

TEST(ToCurrencyValue, IsExactAndRoundsToFourDecimals) {
  Check({
      {"922337203685477.5807", Kind::Currency, Currency{MostI8}},
      {"922337203685477.58074", Kind::Currency, Currency{MostI8}},
      {"922337203685477.58075", Kind::Currency, Overflow},
      {"-922337203685477.5808", Kind::Currency, Currency{LeastI8}},
      {"-922337203685477.58081", Kind::Currency, Currency{LeastI8}},
      {"-922337203685477.5809", Kind::Currency, Overflow},
      {"0.00005", Kind::Currency, Currency{0}},
      {"0.00015", Kind::Currency, Currency{2}},
      {"0.000050000000000000000000000000000000001", Kind::Currency, Currency{1}},
      {"-0.00006", Kind::Currency, Currency{-1}},
      {0.0001, Kind::Currency, Currency{1}},
      {0.25, Kind::Currency, Currency{2500}},
      {0.00003051757812500, Kind::Currency, Currency{0}},
      {0.1F, Kind::Currency, Currency{1000}},
      {900000000000000.125, Kind::Currency, Currency{9000000000000001250}},
      {922337203685477.5, Kind::Currency, Currency{9223372036854775000}},
      {922337203685478.0, Kind::Currency, Overflow},
      {-922337203685477.625, Kind::Currency, Overflow},
      {std::nan(""), Kind::Currency, Overflow},
      {Infinite, Kind::Currency, Overflow},
      {1e-300, Kind::Currency, Currency{0}},
      {1e300, Kind::Currency, Overflow},
      {std::int64_t{922337203685477}, Kind::Currency, Currency{9223372036854770000}},
      {std::int64_t{922337203685478}, Kind::Currency, Overflow},
      {LeastI8, Kind::Currency, Overflow},
      {Decimal{5, false, 0, 25}, Kind::Currency, Currency{2}},
      {Decimal{5, false, 0, 35}, Kind::Currency, Currency{4}},
      {Decimal{5, true, 0, 26}, Kind::Currency, Currency{-3}},
      {MostDecimal, Kind::Currency, Overflow},
      {true, Kind::Currency, Currency{-10000}},
      {Variant(), Kind::Currency, Currency{0}},
  });
}

TEST(ToDecimalValue, IsExactWithin96BitsAnd28Decimals) {
  Check({
      {"79228162514264337593543950335", Kind::Decimal, MostDecimal},
      {"79228162514264337593543950335.4", Kind::Decimal, MostDecimal},
      {"79228162514264337593543950335.5", Kind::Decimal, Overflow},
      {"79228162514264337593543950336", Kind::Decimal, Overflow},
      {"-7.9228162514264337593543950335", Kind::Decimal, Decimal{28, true, 0xFFFFFFFF, MostUI8}},
      {"7.9228162514264337593543950336", Kind::Decimal, Decimal{27, false, 0x19999999, 0x999999999999999AU}},
      {"1.50", Kind::Decimal, Decimal{1, false, 0, 15}},
      {"-0", Kind::Decimal, Decimal{}},
      {"0.000", Kind::Decimal, Decimal{}},
      {"1e-28", Kind::Decimal, Decimal{28, false, 0, 1}},
      {"-1e-29", Kind::Decimal, Decimal{28, false, 0, 0}},
      {"5.1e-29", Kind::Decimal, Decimal{28, false, 0, 1}},
      {"1e3", Kind::Decimal, Decimal{0, false, 0, 1000}},
      {"1e29", Kind::Decimal, Overflow},
      {MostUI8, Kind::Decimal, Decimal{0, false, 0, MostUI8}},
      {LeastI8, Kind::Decimal, Decimal{0, true, 0, std::uint64_t{1} << 63}},
      {Currency{-15000}, Kind::Decimal, Decimal{1, true, 0, 15}},
      {0.1, Kind::Decimal, Decimal{1, false, 0, 1}},
      {1.0 / 3, Kind::Decimal, Decimal{15, false, 0, 333333333333333}},
      {0.1F, Kind::Decimal, Decimal{1, false, 0, 1}},
      {1e28, Kind::Decimal, Decimal{0, false, 0x204FCE5E, 0x3E25026110000000U}},
      {1e29, Kind::Decimal, Overflow},
      {std::nan(""), Kind::Decimal, Overflow},
      {true, Kind::Decimal, Decimal{0, true, 0, 1}},
      {Variant(), Kind::Decimal, Decimal{}},
  });
}

TEST(ToDateValue, IsANumberOfDaysWithinTheCalendar) {
  Check({
      {I2(2), Kind::Date, Date{2}},
      {"2.5", Kind::Date, Date{2.5}},
      {-657434.0, Kind::Date, Date{-657434}},
      {-657435.0, Kind::Date, Overflow},
      {2958465.75, Kind::Date, Date{2958465.75}},
      {2958466.0, Kind::Date, Overflow},
      {std::nan(""), Kind::Date, Overflow},
      {Variant(), Kind::Date, Date{0}},
      {"2024-02-29", Kind::Date, Mismatch},
  });
}

TEST(ToTextValue, WritesEachKindAsAutomationDoes) {
  Check({
      {Variant(), Kind::String, ""},
      {"as it is ", Kind::String, "as it is "},
      {true, Kind::String, "True"},
      {false, Kind::String, "False"},
      {std::int8_t{-128}, Kind::String, "-128"},
      {std::uint8_t{65}, Kind::String, "65"},
      {I2(-32768), Kind::String, "-32768"},
      {std::uint16_t{65535}, Kind::String, "65535"},
      {std::numeric_limits<std::int32_t>::min(), Kind::String, "-2147483648"},
      {std::uint32_t{4294967295U}, Kind::String, "4294967295"},
      {LeastI8, Kind::String, "-9223372036854775808"},
      {MostUI8, Kind::String, "18446744073709551615"},
      {Currency{0}, Kind::String, "0"},
      {Currency{1}, Kind::String, "0.0001"},
      {Currency{-15000}, Kind::String, "-1.5"},
      {Currency{10000000}, Kind::String, "1000"},
      {Currency{MostI8}, Kind::String, "922337203685477.5807"},
      {Currency{LeastI8}, Kind::String, "-922337203685477.5808"},
      {MostDecimal, Kind::String, "79228162514264337593543950335"},
      {Decimal{28, true, 0, 1}, Kind::String, "-0.0000000000000000000000000001"},
      {Decimal{2, false, 0, 150}, Kind::String, "1.5"},
      {Decimal{3, true, 0, 0}, Kind::String, "0"},
      {Decimal{0, false, 0, 1200}, Kind::String, "1200"},
      {Date{36585.5}, Kind::String, "2000-02-29 12:00:00"},
      {Date{36585}, Kind::String, "2000-02-29"},
      {Date{0.5}, Kind::String, "12:00:00"},
      {Date{1e9}, Kind::String, Overflow},
  });
}

TEST(ToTextValue, WritesDoublesWithFifteenAndSinglesWithSevenDigits) {
  Check({
      {0.0, Kind::String, "0"},
      {-0.0, Kind::String, "0"},
      {0.1, Kind::String, "0.1"},
      {-3.5, Kind::String, "-3.5"},
      {100.0, Kind::String, "100"},
      {1.0 / 3, Kind::String, "0.333333333333333"},
      {2.0 / 3, Kind::String, "0.666666666666667"},
      {0.1 + 0.2, Kind::String, "0.3"},
      {123456789012345.0, Kind::String, "123456789012345"},
      {999999999999999.0, Kind::String, "999999999999999"},
      {999999999999999.9, Kind::String, "1E+15"},
      {1e15, Kind::String, "1E+15"},
      {1.5e15, Kind::String, "1.5E+15"},
      {1e20, Kind::String, "1E+20"},
      {-1.25e100, Kind::String, "-1.25E+100"},
      {1e-5, Kind::String, "1E-05"},
      {0.00001234, Kind::String, "1.234E-05"},
      {0.0001, Kind::String, "0.0001"},
      {0.00012345, Kind::String, "0.00012345"},
      {0.00009999999999999999, Kind::String, "0.0001"},
      {std::numeric_limits<double>::max(), Kind::String, "1.79769313486232E+308"},
      {std::numeric_limits<double>::denorm_min(), Kind::String, "4.94065645841247E-324"},
      {std::nan(""), Kind::String, "nan"},
      {-std::nan(""), Kind::String, "nan"},
      {Infinite, Kind::String, "inf"},
      {-Infinite, Kind::String, "-inf"},
      {0.1F, Kind::String, "0.1"},
      {1234567.0F, Kind::String, "1234567"},
      {16777216.0F, Kind::String, "1.677722E+07"},
      {1e-5F, Kind::String, "1E-05"},
      {1.0F / 3, Kind::String, "0.3333333"},
      {std::numeric_limits<float>::infinity(), Kind::String, "inf"},
      {std::numeric_limits<float>::quiet_NaN(), Kind::String, "nan"},
  });
}

}  // namespace
}  // namespace orvo
