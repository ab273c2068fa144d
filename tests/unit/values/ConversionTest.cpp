// Conversions: first which kind converts to which, then whole numbers and texts that are numbers, row by row.
#include "unit/values/ConversionRows.h"
#include "unit/values/RaisedNumber.h"
#include "values/AutomationObject.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {
namespace {

using namespace conversion;

constexpr Kind Kinds[] = {Kind::Empty, Kind::Null,     Kind::I2,      Kind::I4,      Kind::R4,
                          Kind::R8,    Kind::Currency, Kind::Date,    Kind::String,  Kind::Object,
                          Kind::Error, Kind::Boolean,  Kind::Variant, Kind::Decimal, Kind::I1,
                          Kind::UI1,   Kind::UI2,      Kind::UI4,     Kind::I8,      Kind::UI8};

struct MatrixRow {
  const char* name;
  Variant from;
  // One character per kind, in the order of Kinds: '.' converts, 'T' type mismatch (13), 'N' invalid use of
  // null (94).
  std::string_view expected;
};

// clang-format off
std::vector<MatrixRow> Matrix() {
  return {
      {"Empty",    Variant(),                  ".T.......TT.T......."},
      {"Null",     Variant::Null(),            "T.NNNNNNNTTNTNNNNNNN"},
      {"I2",       std::int16_t{1},            "TT.......TT.T......."},
      {"I4",       std::int32_t{1},            "TT.......TT.T......."},
      {"R4",       1.0F,                       "TT.......TT.T......."},
      {"R8",       1.0,                        "TT.......TT.T......."},
      {"Currency", Currency{10000},            "TT.......TT.T......."},
      {"Date",     Date{1},                    "TT.......TT.T......."},
      {"number",   "1",                        "TT.......TT.T......."},
      {"word",     "one",                      "TTTTTTTT.TTTTTTTTTTT"},
      {"no text",  "",                         "TTTTTTTT.TTTTTTTTTTT"},
      {"True",     "True",                     "TTTTTTTT.TT.TTTTTTTT"},
      {"a day",    "2024-02-29",               "TTTTTTTT.TTTTTTTTTTT"},
      {"Object",   Variant(std::shared_ptr<AutomationObject>()),
                                               "TTTTTTTTT.TTTTTTTTTT"},
      {"Error",    ErrorCode{1},               "TTTTTTTTTT.TTTTTTTTT"},
      {"Boolean",  true,                       "TT.......TT.T......."},
      {"Decimal",  Decimal{0, false, 0, 1},    "TT.......TT.T......."},
      {"I1",       std::int8_t{1},             "TT.......TT.T......."},
      {"UI1",      std::uint8_t{1},            "TT.......TT.T......."},
      {"UI2",      std::uint16_t{1},           "TT.......TT.T......."},
      {"UI4",      std::uint32_t{1},           "TT.......TT.T......."},
      {"I8",       std::int64_t{1},            "TT.......TT.T......."},
      {"UI8",      std::uint64_t{1},           "TT.......TT.T......."},
      {"I2()",     SafeArray<std::int16_t>{1}, "TTTTTTTTTTTTTTTTTTTT"},
      {"R8()",     SafeArray<double>{1},       "TTTTTTTTTTTTTTTTTTTT"},
      {"UI1()",    SafeArray<std::uint8_t>{1}, "TTTTTTTTTTTTTTTTTTTT"},
      {"String()", SafeArray<std::string>{"1"},"TTTTTTTTTTTTTTTTTTTT"},
      {"Variant()",SafeArray<Variant>{Variant(std::int16_t{1})},
                                               "TTTTTTTTTTTTTTTTTTTT"},
  };
}
// clang-format on

TEST(ChangeKind, ConvertsEachKindToEachOtherOrTellsWhyNot) {
  for (const MatrixRow& row : Matrix()) {
    ASSERT_EQ(row.expected.size(), std::size(Kinds)) << row.name;
    for (std::size_t i = 0; i < std::size(Kinds); ++i) {
      SCOPED_TRACE(std::string(row.name) + " to kind " + std::to_string(static_cast<int>(Kinds[i])));
      const std::int32_t expected = row.expected[i] == '.' ? 0 : row.expected[i] == 'T' ? 13 : 94;
      Variant value = row.from;
      EXPECT_EQ(RaisedNumber([&] { EXPECT_TRUE(ChangeKind(value, Kinds[i]).Is(Kinds[i])); }), expected);
      std::optional<Variant> direct;
      const std::int32_t directly = RaisedNumber([&] { direct = Direct(value, Kinds[i]); });
      if (direct.has_value()) {
        EXPECT_EQ(expected, 0);
        EXPECT_EQ(*direct, ChangeKind(value, Kinds[i]));
      } else if (directly != 0) {
        EXPECT_EQ(directly, expected);
      }
      EXPECT_EQ(value, row.from) << "the input has changed";
    }
  }
}

TEST(ChangeKind, ReturnsTheSameKindAsItIs) {
  const Variant rows[] = {Date{1e18}, Decimal{40, true, 1, 2}, Currency{-1}, "not a number",
                          std::numeric_limits<double>::infinity()};
  for (const Variant& value : rows)
    EXPECT_EQ(ChangeKind(value, value.Kind()), value);
  EXPECT_TRUE(std::isnan(ChangeKind(std::nan(""), Kind::R8).Get<double>()));
}

TEST(ToWhole, RoundsHalvesToEven) {
  Check({
      {0.5, Kind::I2, I2(0)},
      {1.5, Kind::I2, I2(2)},
      {2.5, Kind::I2, I2(2)},
      {-0.5, Kind::I2, I2(0)},
      {-1.5, Kind::I2, I2(-2)},
      {2.5F, Kind::I4, I4(2)},
      {3.5F, Kind::I4, I4(4)},
      {2.5000000000000004, Kind::I4, I4(3)},
      {"2.5", Kind::I4, I4(2)},
      {"2.500000000000000000000000000000000000001", Kind::I4, I4(3)},
      {"0.49999999999999999999999999999999999999", Kind::I4, I4(0)},
      {"3.5", Kind::I4, I4(4)},
      {"-2.5", Kind::I4, I4(-2)},
      {"-3.5", Kind::I8, std::int64_t{-4}},
      {Currency{25000}, Kind::I4, I4(2)},
      {Currency{25001}, Kind::I4, I4(3)},
      {Currency{-35000}, Kind::I4, I4(-4)},
      {Currency{4999}, Kind::I4, I4(0)},
      {Decimal{1, false, 0, 25}, Kind::I4, I4(2)},
      {Decimal{1, true, 0, 35}, Kind::I4, I4(-4)},
      {Decimal{28, false, 0, 1}, Kind::I4, I4(0)},
      {Date{2.5}, Kind::I4, I4(2)},
      {Date{-1.5}, Kind::I4, I4(-2)},
  });
}

TEST(ToWhole, TakesWhatFitsAndRaisesOverflowForTheNext) {
  Check({
      {I4(32767), Kind::I2, I2(32767)},
      {I4(32768), Kind::I2, Overflow},
      {I4(-32768), Kind::I2, I2(-32768)},
      {I4(-32769), Kind::I2, Overflow},
      {32767.4, Kind::I2, I2(32767)},
      {32767.5, Kind::I2, Overflow},
      {-32768.5, Kind::I2, I2(-32768)},
      {-32768.6, Kind::I2, Overflow},
      {"32767.5", Kind::I2, Overflow},
      {"-32768.5", Kind::I2, I2(-32768)},
      {2147483647.0, Kind::I4, I4(2147483647)},
      {2147483647.5, Kind::I4, Overflow},
      {-2147483648.0, Kind::I4, std::numeric_limits<std::int32_t>::min()},
      {std::uint32_t{4294967295U}, Kind::I4, Overflow},
      {I4(127), Kind::I1, std::int8_t{127}},
      {I4(128), Kind::I1, Overflow},
      {I4(-128), Kind::I1, std::int8_t{-128}},
      {I4(-129), Kind::I1, Overflow},
      {I4(255), Kind::UI1, std::uint8_t{255}},
      {I4(256), Kind::UI1, Overflow},
      {I4(-1), Kind::UI1, Overflow},
      {255.5, Kind::UI1, Overflow},
      {-0.5, Kind::UI1, std::uint8_t{0}},
      {-0.6, Kind::UI1, Overflow},
      {I4(65535), Kind::UI2, std::uint16_t{65535}},
      {I4(65536), Kind::UI2, Overflow},
      {4294967295.0, Kind::UI4, std::uint32_t{4294967295U}},
      {4294967296.0, Kind::UI4, Overflow},
      {9223372036854774784.0, Kind::I8, std::int64_t{9223372036854774784}},
      {9223372036854775808.0, Kind::I8, Overflow},
      {-9223372036854775808.0, Kind::I8, LeastI8},
      {-9223372036854777856.0, Kind::I8, Overflow},
      {9223372036854775808.0, Kind::UI8, std::uint64_t{9223372036854775808U}},
      {18446744073709551616.0, Kind::UI8, Overflow},
      {MostUI8, Kind::I8, Overflow},
      {LeastI8, Kind::UI8, Overflow},
      {"9223372036854775807", Kind::I8, MostI8},
      {"9223372036854775807.5", Kind::I8, Overflow},
      {"-9223372036854775808", Kind::I8, LeastI8},
      {"-9223372036854775809", Kind::I8, Overflow},
      {"18446744073709551615", Kind::UI8, MostUI8},
      {"18446744073709551616", Kind::UI8, Overflow},
      {"-0.4", Kind::UI8, std::uint64_t{0}},
      {"-1", Kind::UI8, Overflow},
      {Decimal{0, false, 0, MostUI8}, Kind::UI8, MostUI8},
      {Decimal{0, false, 1, 0}, Kind::UI8, Overflow},
      {Decimal{0, true, 0, std::uint64_t{1} << 63}, Kind::I8, LeastI8},
      {Decimal{0, false, 0, std::uint64_t{1} << 63}, Kind::I8, Overflow},
      {Decimal{0, true, 0, (std::uint64_t{1} << 63) + 1}, Kind::I8, Overflow},
      {std::nan(""), Kind::I4, Overflow},
      {Infinite, Kind::I8, Overflow},
      {-Infinite, Kind::UI1, Overflow},
      {"1e400", Kind::I4, Overflow},
      {"1e-400", Kind::I4, I4(0)},
      {"1e999999999999999999999", Kind::I8, Overflow},
  });
}

TEST(ToWhole, TakesTrueAsMinusOneWhichIsAllBitsOfAnUnsignedKind) {
  Check({
      {true, Kind::I1, std::int8_t{-1}},
      {true, Kind::I2, I2(-1)},
      {true, Kind::I4, I4(-1)},
      {true, Kind::I8, std::int64_t{-1}},
      {true, Kind::UI1, std::uint8_t{255}},
      {true, Kind::UI2, std::uint16_t{65535}},
      {true, Kind::UI4, std::uint32_t{4294967295U}},
      {true, Kind::UI8, MostUI8},
      {false, Kind::I4, I4(0)},
      {false, Kind::UI8, std::uint64_t{0}},
      {Variant(), Kind::I4, I4(0)},
  });
}

TEST(TextToNumber, ReadsDecimalNumbersAndNothingElse) {
  Check({
      {" \t12 ", Kind::I4, I4(12)},  {"+12", Kind::I4, I4(12)},
      {"1e2", Kind::I4, I4(100)},    {"1D2", Kind::I4, I4(100)},
      {"12.", Kind::I4, I4(12)},     {".5e1", Kind::R8, 5.0},
      {"0.1", Kind::R8, 0.1},        {"1.7976931348623157E+308", Kind::R8, std::numeric_limits<double>::max()},
      {"1e309", Kind::R8, Overflow}, {"-1e309", Kind::R8, Overflow},
      {"1e-400", Kind::R8, 0.0},     {".", Kind::R8, Mismatch},
      {"", Kind::R8, Mismatch},      {" ", Kind::R8, Mismatch},
      {"-", Kind::R8, Mismatch},     {"1 2", Kind::R8, Mismatch},
      {"- 1", Kind::R8, Mismatch},   {"1,5", Kind::R8, Mismatch},
      {"1,000", Kind::R8, Mismatch}, {"1e", Kind::R8, Mismatch},
      {"12 kg", Kind::R8, Mismatch}, {"$5", Kind::Currency, Mismatch},
      {"(5)", Kind::R8, Mismatch},   {"inf", Kind::R8, Mismatch},
      {"nan", Kind::R8, Mismatch},   {"0x10", Kind::R8, Mismatch},
      {"True", Kind::R8, Mismatch},  {std::string_view("1\0", 2), Kind::R8, Mismatch},
  });
}

TEST(TextToNumber, ReadsHexadecimalAndOctalBits) {
  Check({
      {"&HFF", Kind::I2, I2(255)},
      {" &hff ", Kind::I2, I2(255)},
      {"&O17", Kind::I4, I4(15)},
      {"&o17", Kind::I4, I4(15)},
      {"&H7FFF", Kind::I2, I2(32767)},
      {"&HFFFF", Kind::I2, I2(-1)},
      {"&HFFFF", Kind::I4, I4(65535)},
      {"&H10000", Kind::I2, Overflow},
      {"&HFF", Kind::I1, std::int8_t{-1}},
      {"&HFF", Kind::UI1, std::uint8_t{255}},
      {"&H100", Kind::UI1, Overflow},
      {"&HFFFFFFFF", Kind::I4, I4(-1)},
      {"&HFFFFFFFF", Kind::I8, std::int64_t{4294967295}},
      {"&HFFFFFFFF", Kind::R8, 4294967295.0},
      {"&HFFFFFFFFFFFFFFFF", Kind::I8, std::int64_t{-1}},
      {"&HFFFFFFFFFFFFFFFF", Kind::UI8, MostUI8},
      {"&HFFFFFFFFFFFFFFFF", Kind::Decimal, Decimal{0, false, 0, MostUI8}},
      {"&HFFFFFFFFFFFFFFFF", Kind::Currency, Overflow},
      {"&H10000000000000000", Kind::UI8, Overflow},
      {"&H10000000000000000", Kind::R8, Overflow},
      {"&H10", Kind::Currency, Currency{160000}},
      {"&H10", Kind::R4, 16.0F},
      {"&H10", Kind::Boolean, true},
      {"&H0", Kind::Boolean, false},
      {"&H", Kind::I4, Mismatch},
      {"&", Kind::I4, Mismatch},
      {"&HG", Kind::I4, Mismatch},
      {"&HFG", Kind::I4, Mismatch},
      {"&O8", Kind::I4, Mismatch},
      {"&B1", Kind::I4, Mismatch},
      {"&17", Kind::I4, Mismatch},
      {"&H-1", Kind::I4, Mismatch},
      {"&H+1", Kind::I4, Mismatch},
      {"&H 1", Kind::I4, Mismatch},
      {"-&H1", Kind::I4, Mismatch},
      {"&H1.5", Kind::I4, Mismatch},
  });
}

}  // namespace
}  // namespace orvo
