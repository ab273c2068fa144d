// Which client values integer items take, and what they hand on: every kind of value against every data size.
#include "unit/model/ItemFormatFixture.h"

namespace orvo::testing {
namespace {

struct IntegerRow {
  const char* name;
  Variant value;
  const char* bit;
  const char* byte;
  const char* word;
  const char* doubleWord;
};
constexpr const char* No = "-";

const Variant AnObject = std::shared_ptr<AutomationObject>();

const std::vector<IntegerRow> Unsigned{
    {"Empty", Variant(), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"Null", Variant::Null(), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"I2 0", I2(0), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"I2 1", I2(1), "I4:1", "I4:1", "I4:1", "I4:1"},
    {"I2 2", I2(2), No, "I4:2", "I4:2", "I4:2"},
    {"I2 255", I2(255), No, "I4:255", "I4:255", "I4:255"},
    {"I2 256", I2(256), No, No, "I4:256", "I4:256"},
    {"I2 32767", I2(32767), No, No, "I4:32767", "I4:32767"},
    {"I2 -1", I2(-1), No, No, No, No},
    {"I2 -32768", I2(-32768), No, No, No, No},
    {"UI1 0", UI1(0), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"UI1 1", UI1(1), "I4:1", "I4:1", "I4:1", "I4:1"},
    {"UI1 2", UI1(2), No, "I4:2", "I4:2", "I4:2"},
    {"UI1 255", UI1(255), No, "I4:255", "I4:255", "I4:255"},
    {"I4 0", I4(0), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"I4 1", I4(1), "I4:1", "I4:1", "I4:1", "I4:1"},
    {"I4 2", I4(2), No, "I4:2", "I4:2", "I4:2"},
    {"I4 255", I4(255), No, "I4:255", "I4:255", "I4:255"},
    {"I4 256", I4(256), No, No, "I4:256", "I4:256"},
    {"I4 65535", I4(65535), No, No, "I4:65535", "I4:65535"},
    {"I4 65536", I4(65536), No, No, No, "I4:65536"},
    {"I4 most", I4(2147483647), No, No, No, "I4:2147483647"},
    {"I4 -1", I4(-1), No, No, No, No},
    {"R4 1", 1.0F, "I4:1", "I4:1", "I4:1", "I4:1"},
    {"R4 1.5", 1.5F, No, No, No, No},
    {"R4 65535", 65535.0F, No, No, "I4:65535", "I4:65535"},
    {"R4 2^31", 2147483648.0F, No, No, No, "I4:-2147483648"},
    {"R4 2^32", 4294967296.0F, No, No, No, No},
    {"R8 0", 0.0, "I4:0", "I4:0", "I4:0", "I4:0"},
    {"R8 -0", -0.0, "I4:0", "I4:0", "I4:0", "I4:0"},
    {"R8 0.5", 0.5, No, No, No, No},
    {"R8 1", 1.0, "I4:1", "I4:1", "I4:1", "I4:1"},
    {"R8 1.0000001", 1.0000001, No, No, No, No},
    {"R8 255", 255.0, No, "I4:255", "I4:255", "I4:255"},
    {"R8 256", 256.0, No, No, "I4:256", "I4:256"},
    {"R8 -1", -1.0, No, No, No, No},
    {"R8 2147483648", 2147483648.0, No, No, No, "I4:-2147483648"},
    {"R8 4294967295", 4294967295.0, No, No, No, "I4:-1"},
    {"R8 4294967296", 4294967296.0, No, No, No, No},
    {"R8 1E300", 1e300, No, No, No, No},
    {"R8 infinite", Infinite, No, No, No, No},
    {"R8 no number", NotANumber, No, No, No, No},
    {"Currency 1", Cy(10000), "I4:1", "I4:1", "I4:1", "I4:1"},
    {"Currency 1.0001", Cy(10001), No, No, No, No},
    {"Currency 256", Cy(2560000), No, No, "I4:256", "I4:256"},
    {"Currency 4294967295", Cy(42949672950000), No, No, No, "I4:-1"},
    {"Currency -1", Cy(-10000), No, No, No, No},
    {"String 1", "1", "I4:1", "I4:1", "I4:1", "I4:1"},
    {"String with blanks", " 12 ", No, "I4:12", "I4:12", "I4:12"},
    {"String 1E2", "1E2", No, "I4:100", "I4:100", "I4:100"},
    {"String &HFF", "&HFF", No, "I4:255", "I4:255", "I4:255"},
    {"String 1.5", "1.5", No, No, No, No},
    {"String -1", "-1", No, No, No, No},
    {"String 4294967295", "4294967295", No, No, No, "I4:-1"},
    {"String 4294967296", "4294967296", No, No, No, No},
    {"String empty", "", No, No, No, No},
    {"String no number", "abc", No, No, No, No},
    {"String True", "True", No, No, No, No},
    {"I1 1", std::int8_t{1}, "I4:1", "I4:1", "I4:1", "I4:1"},
    {"I1 -1", std::int8_t{-1}, No, No, No, No},
    {"UI2 2", std::uint16_t{2}, No, "I4:2", "I4:2", "I4:2"},
    {"UI2 65535", std::uint16_t{65535}, No, No, "I4:65535", "I4:65535"},
    {"UI4 65536", std::uint32_t{65536}, No, No, No, "I4:65536"},
    {"UI4 most", std::uint32_t{4294967295}, No, No, No, "I4:-1"},
    {"I8 255", std::int64_t{255}, No, "I4:255", "I4:255", "I4:255"},
    {"I8 4294967296", std::int64_t{4294967296}, No, No, No, No},
    {"I8 -1", std::int64_t{-1}, No, No, No, No},
    {"UI8 4294967295", std::uint64_t{4294967295}, No, No, No, "I4:-1"},
    {"UI8 most", std::numeric_limits<std::uint64_t>::max(), No, No, No, No},
    {"Boolean false", false, No, No, No, No},
    {"Boolean true", true, No, No, No, No},
    {"Date", Date{1}, No, No, No, No},
    {"Decimal", Decimal{0, false, 0, 1}, No, No, No, No},
    {"Error", ErrorCode{1}, No, No, No, No},
    {"Object", AnObject, No, No, No, No},
    {"Bytes", Bytes({1}), No, No, No, No},
    {"Bytes none", Bytes({}), No, No, No, No},
    {"Array of I2", SafeArray<std::int16_t>{1}, No, No, No, No},
    {"Array of Variant", SafeArray<Variant>{I2(1)}, No, No, No, No},
};

const std::vector<IntegerRow> Signed{
    {"Empty", Variant(), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"Null", Variant::Null(), "I4:0", "I4:0", "I4:0", "I4:0"},
    {"I2 1", I2(1), "I4:1", "I4:1", "I4:1", "I4:1"},
    {"I2 -1", I2(-1), No, No, "I4:-1", "I4:-1"},
    {"I2 -32768", I2(-32768), No, No, "I4:-32768", "I4:-32768"},
    {"I2 256", I2(256), No, No, "I4:256", "I4:256"},
    {"UI1 255", UI1(255), No, "I4:255", "I4:255", "I4:255"},
    {"I4 -1", I4(-1), No, No, "I4:-1", "I4:-1"},
    {"I4 255", I4(255), No, "I4:255", "I4:255", "I4:255"},
    {"I4 256", I4(256), No, No, "I4:256", "I4:256"},
    {"I4 32767", I4(32767), No, No, "I4:32767", "I4:32767"},
    {"I4 32768", I4(32768), No, No, No, "I4:32768"},
    {"I4 -32768", I4(-32768), No, No, "I4:-32768", "I4:-32768"},
    {"I4 -32769", I4(-32769), No, No, No, "I4:-32769"},
    {"I4 least", I4(-2147483648LL), No, No, No, "I4:-2147483648"},
    {"R4 -1", -1.0F, No, No, "I4:-1", "I4:-1"},
    {"R8 2147483647", 2147483647.0, No, No, No, "I4:2147483647"},
    {"R8 2147483648", 2147483648.0, No, No, No, No},
    {"R8 -2147483648", -2147483648.0, No, No, No, "I4:-2147483648"},
    {"R8 -2147483649", -2147483649.0, No, No, No, No},
    {"R8 -0.5", -0.5, No, No, No, No},
    {"Currency -1", Cy(-10000), No, No, "I4:-1", "I4:-1"},
    {"String -32769", "-32769", No, No, No, "I4:-32769"},
    {"String 4294967295", "4294967295", No, No, No, No},
    {"I1 -1", std::int8_t{-1}, No, No, "I4:-1", "I4:-1"},
    {"UI2 40000", std::uint16_t{40000}, No, No, No, "I4:40000"},
    {"UI4 most", std::uint32_t{4294967295}, No, No, No, No},
    {"I8 -32768", std::int64_t{-32768}, No, No, "I4:-32768", "I4:-32768"},
    {"I8 -2147483649", std::int64_t{-2147483649}, No, No, No, No},
    {"UI8 32768", std::uint64_t{32768}, No, No, No, "I4:32768"},
    {"Boolean true", true, No, No, No, No},
    {"Date", Date{-1}, No, No, No, No},
    {"Decimal", Decimal{0, true, 0, 1}, No, No, No, No},
    {"Error", ErrorCode{-1}, No, No, No, No},
    {"Object", AnObject, No, No, No, No},
    {"Bytes", Bytes({255, 255}), No, No, No, No},
};

void Check(const std::vector<IntegerRow>& rows, bool isSigned) {
  for (const IntegerRow& row : rows) {
    const auto handedOn = [&](const char* itemId, std::int32_t words) {
      LooseItem loose(itemId, ItemTypeInteger, words);
      loose.item.PutSigned(isSigned);
      return Checked(loose.item, row.value);
    };
    SCOPED_TRACE(row.name);
    EXPECT_EQ(handedOn("BI1", 1), row.bit);
    EXPECT_EQ(handedOn("BY1", 1), row.byte);
    EXPECT_EQ(handedOn("WO1", 1), row.word);
    EXPECT_EQ(handedOn("DW1", 2), row.doubleWord);
    EXPECT_EQ(handedOn("", 0), row.bit) << "no type code: data size 0";
  }
}

TEST(ItemIntegerCheck, EachKindOfValueForAnUnsignedItem) {
  Check(Unsigned, false);
}

TEST(ItemIntegerCheck, EachKindOfValueForASignedItem) {
  Check(Signed, true);
}

TEST(ItemIntegerCheck, ABcdItemIsCheckedAsAnUnsignedOne) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  loose.item.PutBCD(true);
  EXPECT_EQ(Checked(loose.item, I4(9999)), "I4:9999");
  EXPECT_EQ(Checked(loose.item, I4(65535)), "I4:65535") << "more than four digits are not refused";
  EXPECT_EQ(Checked(loose.item, I4(-1)), "-");
}

TEST(ItemIntegerCheck, ADataSizeWithoutARangeTakesShortIntegersOnly) {
  const LooseItem loose("RA123", ItemTypeInteger, 2);
  EXPECT_EQ(Checked(loose.item, I2(32767)), "I4:32767");
  EXPECT_EQ(Checked(loose.item, UI1(255)), "I4:255");
  EXPECT_EQ(Checked(loose.item, I4(1)), "-");
  EXPECT_EQ(Checked(loose.item, Variant(1.0)), "-");
}

TEST(ItemIntegerCheck, TheWordLengthPlaysNoPart) {
  for (const std::int32_t words : {0, 1, 2, 3}) {
    LooseItem loose("WO1", ItemTypeInteger, words);
    EXPECT_EQ(Checked(loose.item, I4(65535)), "I4:65535");
    EXPECT_EQ(Checked(loose.item, I4(65536)), "-");
  }
}

TEST(ItemIntegerCheck, CheckingChangesNeitherTheItemNorTheValue) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  loose.item.SetDATAValue(I2(3));
  const Variant value("12");
  loose.item.CheckClientValue(value);
  EXPECT_EQ(LogText(value), "String:\"12\"");
  EXPECT_EQ(LogText(loose.item.DATAValue()), "I2:3");
}

}  // namespace
}  // namespace orvo::testing
