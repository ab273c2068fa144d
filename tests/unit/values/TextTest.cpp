#include "unit/values/RaisedNumber.h"
#include "values/Text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {
namespace {

using namespace std::string_view_literals;

constexpr double InfiniteNumber = std::numeric_limits<double>::infinity();

struct LengthRow {
  const char* name;
  std::string_view text;
  std::size_t units;
};
constexpr LengthRow LengthRows[] = {
    {"nothing", "", 0},
    {"ASCII", "abc", 3},
    {"a zero character", "a\0b"sv, 3},
    {"two bytes", "\xC3\xA4", 1},
    {"three bytes", "\xE2\x82\xAC", 1},
    {"last of the basic plane", "\xEF\xBF\xBF", 1},
    {"first beyond it", "\xF0\x90\x80\x80", 2},
    {"last of all", "\xF4\x8F\xBF\xBF", 2},
    {"mixed", "a\xC3\xA4\xF0\x9F\x98\x80z", 5},
    {"lone continuation", "\x80", 1},
    {"lead without rest", "\xC3", 1},
    {"cut three bytes", "\xE2\x82", 2},
    {"cut four bytes", "\xF0\x9F\x98", 3},
    {"lead before ASCII", "\xC3z", 2},
    {"overlong slash", "\xC0\xAF", 2},
    {"overlong three bytes", "\xE0\x80\xAF", 3},
    {"overlong four bytes", "\xF0\x80\x80\xAF", 4},
    {"first surrogate", "\xED\xA0\x80", 3},
    {"last surrogate", "\xED\xBF\xBF", 3},
    {"before the surrogates", "\xED\x9F\xBF", 1},
    {"behind the surrogates", "\xEE\x80\x80", 1},
    {"beyond the last", "\xF4\x90\x80\x80", 4},
    {"impossible bytes", "\xFE\xFF\xF5", 3},
};

TEST(Utf16Length, CountsUnitsAndOneForEachOffendingByte) {
  for (const LengthRow& row : LengthRows)
    EXPECT_EQ(Utf16Length(row.text), row.units) << row.name;
}

TEST(LeftUnits, IsTheWholeTextFromItsLengthOn) {
  for (const LengthRow& row : LengthRows) {
    SCOPED_TRACE(row.name);
    const auto units = static_cast<std::int64_t>(row.units);
    EXPECT_EQ(LeftUnits(row.text, units), row.text);
    EXPECT_EQ(LeftUnits(row.text, units + 1), row.text);
    EXPECT_EQ(LeftUnits(row.text, std::numeric_limits<std::int64_t>::max()), row.text);
    EXPECT_EQ(LeftUnits(row.text, 0), "");
    if (units > 0) {
      EXPECT_LT(LeftUnits(row.text, units - 1).size(), row.text.size());
    }
  }
}

TEST(LeftUnits, LeavesOutACharacterThatWouldBeCut) {
  constexpr std::string_view text = "a\xF0\x9F\x98\x80z";
  EXPECT_EQ(LeftUnits(text, 1), "a");
  EXPECT_EQ(LeftUnits(text, 2), "a");
  EXPECT_EQ(LeftUnits(text, 3), "a\xF0\x9F\x98\x80");
  EXPECT_EQ(LeftUnits(text, 4), text);
  EXPECT_EQ(LeftUnits("\xE2\x82z", 1), "\xE2");
}

TEST(LeftUnits, RefusesANegativeCount) {
  EXPECT_EQ(RaisedNumber([] { LeftUnits("abc", -1); }), 5);
  EXPECT_EQ(RaisedNumber([] { LeftUnits("", std::numeric_limits<std::int64_t>::min()); }), 5);
}

TEST(FromUnit, CountsFromOne) {
  constexpr std::string_view text = "a\xF0\x9F\x98\x80z\xFF";
  EXPECT_EQ(FromUnit(text, 0), text);
  EXPECT_EQ(FromUnit(text, 1), text);
  EXPECT_EQ(FromUnit(text, 2), text.substr(1));
  EXPECT_EQ(FromUnit(text, 3), "z\xFF") << "the second half of a character cannot stand alone";
  EXPECT_EQ(FromUnit(text, 4), "z\xFF");
  EXPECT_EQ(FromUnit(text, 5), "\xFF");
  EXPECT_EQ(FromUnit(text, 6), "");
  EXPECT_EQ(FromUnit(text, std::numeric_limits<std::size_t>::max()), "");
  EXPECT_EQ(FromUnit("", 1), "");
}

struct FoldRow {
  const char* name;
  std::string_view text;
  std::string_view folded;
};
constexpr FoldRow FoldRows[] = {
    {"ASCII", "Speed_01 [AZ@`{]", "speed_01 [az@`{]"},
    {"Latin", "\xC3\x84\xC3\x96\xC3\x9C", "\xC3\xA4\xC3\xB6\xC3\xBC"},
    {"multiplication sign between letters", "\xC3\x97", "\xC3\x97"},
    {"y with diaeresis from another block", "\xC5\xB8", "\xC3\xBF"},
    {"capital I with dot stays", "\xC4\xB0", "\xC4\xB0"},
    {"dotless i stays", "\xC4\xB1", "\xC4\xB1"},
    {"capital I is i", "I", "i"},
    {"sharp s stays", "\xC3\x9F", "\xC3\x9F"},
    {"capital sharp s", "\xE1\xBA\x9E", "\xC3\x9F"},
    {"sigma", "\xCE\xA3", "\xCF\x83"},
    {"final sigma", "\xCF\x82", "\xCF\x83"},
    {"Kelvin sign", "\xE2\x84\xAA", "k"},
    {"Angstrom sign", "\xE2\x84\xAB", "\xC3\xA5"},
    {"micro sign", "\xC2\xB5", "\xCE\xBC"},
    {"long s", "\xC5\xBF", "s"},
    {"Latin Extended, capital", "\xC4\x80", "\xC4\x81"},
    {"Latin Extended, small", "\xC4\x81", "\xC4\x81"},
    {"Cyrillic", "\xD0\x96\xD0\x81", "\xD0\xB6\xD1\x91"},
    {"alpha with prosgegrammeni", "\xE1\xBE\x88", "\xE1\xBE\x80"},
    {"ligature stays", "\xEF\xAC\x81", "\xEF\xAC\x81"},
    {"small Cherokee folds to the capital", "\xEA\xAD\xB0", "\xE1\x8E\xA0"},
    {"Deseret beyond the basic plane", "\xF0\x90\x90\x80", "\xF0\x90\x90\xA8"},
    {"last fold of the table", "\xF0\x9E\xA4\xA1", "\xF0\x9E\xA5\x83"},
    {"ill-formed bytes", "A\xFF\xC3Z\xED\xA0\x80", "a\xFF\xC3z\xED\xA0\x80"},
};

TEST(FoldCase, GivesTheSimpleFold) {
  for (const FoldRow& row : FoldRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FoldCase(row.text), row.folded);
    EXPECT_EQ(FoldCase(row.folded), row.folded);
  }
}

TEST(Windows1252, RoundTripsAll256Codes) {
  std::vector<std::uint8_t> codes;
  for (int code = 0; code < 256; ++code)
    codes.push_back(static_cast<std::uint8_t>(code));
  const std::string text = DecodeWindows1252(codes);
  EXPECT_EQ(Utf16Length(text), 256U);
  EXPECT_EQ(EncodeWindows1252(text), codes);

  std::set<std::string> characters;
  for (const std::uint8_t code : codes) {
    std::string character;
    AppendWindows1252(character, code);
    EXPECT_TRUE(characters.insert(character).second) << int{code};
    EXPECT_EQ(EncodeWindows1252(character), std::vector<std::uint8_t>{code});
  }
}

TEST(Windows1252, HasItsOwnCharactersBetween80And9F) {
  struct Row {
    std::uint8_t code;
    std::string_view text;
  };
  constexpr Row rows[] = {
      {0x7F, "\x7F"},         {0x80, "\xE2\x82\xAC"}, {0x81, "\xC2\x81"},     {0x82, "\xE2\x80\x9A"},
      {0x83, "\xC6\x92"},     {0x84, "\xE2\x80\x9E"}, {0x85, "\xE2\x80\xA6"}, {0x86, "\xE2\x80\xA0"},
      {0x87, "\xE2\x80\xA1"}, {0x88, "\xCB\x86"},     {0x89, "\xE2\x80\xB0"}, {0x8A, "\xC5\xA0"},
      {0x8B, "\xE2\x80\xB9"}, {0x8C, "\xC5\x92"},     {0x8D, "\xC2\x8D"},     {0x8E, "\xC5\xBD"},
      {0x8F, "\xC2\x8F"},     {0x90, "\xC2\x90"},     {0x91, "\xE2\x80\x98"}, {0x92, "\xE2\x80\x99"},
      {0x93, "\xE2\x80\x9C"}, {0x94, "\xE2\x80\x9D"}, {0x95, "\xE2\x80\xA2"}, {0x96, "\xE2\x80\x93"},
      {0x97, "\xE2\x80\x94"}, {0x98, "\xCB\x9C"},     {0x99, "\xE2\x84\xA2"}, {0x9A, "\xC5\xA1"},
      {0x9B, "\xE2\x80\xBA"}, {0x9C, "\xC5\x93"},     {0x9D, "\xC2\x9D"},     {0x9E, "\xC5\xBE"},
      {0x9F, "\xC5\xB8"},     {0xA0, "\xC2\xA0"},     {0xFF, "\xC3\xBF"},
  };
  for (const Row& row : rows) {
    std::string text = "<";
    AppendWindows1252(text, row.code);
    EXPECT_EQ(text, std::string("<").append(row.text)) << int{row.code};
  }
}

TEST(Windows1252, ReplacesWhatItLacksUnitByUnit) {
  struct Row {
    const char* name;
    std::string_view text;
    std::string_view bytes;
  };
  constexpr Row rows[] = {
      {"nothing", "", ""},
      {"Greek", "a\xCE\xA9z", "a?z"},
      {"control code that the table gives away", "\xC2\x80", "?"},
      {"beyond the basic plane", "a\xF0\x9F\x98\x80z", "a??z"},
      {"ill-formed byte stays", "a\xFFz", "a\xFFz"},
      {"euro", "\xE2\x82\xAC", "\x80"},
  };
  for (const Row& row : rows) {
    const std::vector<std::uint8_t> bytes = EncodeWindows1252(row.text);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), row.bytes) << row.name;
    EXPECT_EQ(bytes.size(), Utf16Length(row.text)) << row.name;
  }
}

TEST(TrimBlanks, TakesBlanksAndTabsOffBothEndsOnly) {
  EXPECT_EQ(TrimBlanks(" \t a \t b\t "), "a \t b");
  EXPECT_EQ(TrimBlanks(" \t "), "");
  EXPECT_EQ(TrimBlanks(""), "");
  EXPECT_EQ(TrimBlanks("\r\na\r\n"), "\r\na\r\n");
  EXPECT_EQ(TrimBlanks("\xC2\xA0 a"), "\xC2\xA0 a");
}

struct NumberRow {
  std::string_view text;
  double leading;
  bool isWhole;  // the text is nothing but this number
};
const NumberRow NumberRows[] = {
    {"", 0, false},
    {"0", 0, true},
    {"12", 12, true},
    {"+12", 12, true},
    {"-12.5", -12.5, true},
    {"  \t-12.5", -12.5, true},
    {"12.5 \t", 12.5, true},
    {"12.5 kg", 12.5, false},
    {"12,5", 12, false},
    {".5", 0.5, true},
    {"-.5", -0.5, true},
    {"5.", 5, true},
    {".", 0, false},
    {"-", 0, false},
    {"+.", 0, false},
    {"+-5", 0, false},
    {"- 5", 0, false},
    {"1 2", 1, false},
    {"1. 5", 1, false},
    {"1.2.3", 1.2, false},
    {"1e3", 1000, true},
    {"1E+3", 1000, true},
    {"1e-3", 0.001, true},
    {"1d3", 1000, true},
    {"1.5D-3", 0.0015, true},
    {".5e1", 5, true},
    {"5.e1", 50, true},
    {"1e", 1, false},
    {"1e+", 1, false},
    {"1ex", 1, false},
    {"1e 3", 1, false},
    {"1e3.5", 1000, false},
    {"e3", 0, false},
    {".e3", 0, false},
    {"abc", 0, false},
    {"x12", 0, false},
    {"inf", 0, false},
    {"-nan", 0, false},
    {"0x10", 0, false},
    {"&HFF", 0, false},
    {"\n5", 0, false},
    {"0.1", 0.1, true},
    {"9007199254740993", 9007199254740992.0, true},
    {"1.7976931348623157e308", std::numeric_limits<double>::max(), true},
    {"4.9406564584124654e-324", std::numeric_limits<double>::denorm_min(), true},
    {"1e309", InfiniteNumber, true},
    {"-1e309", -InfiniteNumber, true},
    {"1d99999999999999999999999", InfiniteNumber, true},
    {"0.000001e400", InfiniteNumber, true},
    {"1e-400", 0, true},
    {"1000000e-400", 0, true},
    {"1e-99999999999999999999999", 0, true},
    {"0e99999999999999999999999", 0, true},
};

TEST(LeadingNumber, ReadsAsFarAsItMakesANumber) {
  for (const NumberRow& row : NumberRows)
    EXPECT_EQ(LeadingNumber(row.text), row.leading) << row.text;
}

TEST(ParseDecimal, TakesTheWholeTextOrNothing) {
  for (const NumberRow& row : NumberRows) {
    SCOPED_TRACE(row.text);
    const std::optional<double> number = ParseDecimal(row.text);
    ASSERT_EQ(number.has_value(), row.isWhole);
    if (row.isWhole) {
      EXPECT_EQ(*number, row.leading);
    }
  }
}

TEST(ParseDecimal, ReadsThousandsOfDigits) {
  EXPECT_EQ(ParseDecimal(std::string(400, '9')), InfiniteNumber);
  EXPECT_EQ(ParseDecimal("0." + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(ParseDecimal("0." + std::string(400, '0') + "1e10"), 0.0);
  EXPECT_EQ(ParseDecimal(std::string(5000, '0') + "7"), 7.0);
  EXPECT_EQ(ParseDecimal("1" + std::string(5000, '0') + "d-5000"), 1.0);
}

TEST(RoundToI4, RoundsHalvesToEvenWithin32Bits) {
  struct Row {
    double value;
    std::int32_t rounded;
  };
  constexpr Row rows[] = {
      {0, 0},
      {-0.0, 0},
      {0.5, 0},
      {1.5, 2},
      {2.5, 2},
      {-0.5, 0},
      {-1.5, -2},
      {-2.5, -2},
      {0.49999999999999994, 0},
      {0.51, 1},
      {-0.51, -1},
      {2.4999999999999996, 2},
      {-2.51, -3},
      {1e-320, 0},
      {-1e-320, 0},
      {123.7, 124},
      {2147483647.4999998, 2147483647},
      {-2147483648.0, std::numeric_limits<std::int32_t>::min()},
      {-2147483648.5, std::numeric_limits<std::int32_t>::min()},
  };
  for (const Row& row : rows)
    EXPECT_EQ(RoundToI4(row.value), row.rounded) << row.value;
}

TEST(RoundToI4, RefusesWhatIsOutside32Bits) {
  const double outside[] = {2147483647.5, 2147483648.0,   -2147483648.5000005, -2147483649.0, 1e300,
                            -1e300,       InfiniteNumber, -InfiniteNumber,     std::nan("")};
  for (const double value : outside)
    EXPECT_EQ(RaisedNumber([&] { RoundToI4(value); }), 6) << value;
}

}  // namespace
}  // namespace orvo
