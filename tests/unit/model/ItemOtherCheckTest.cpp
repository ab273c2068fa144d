// Which client values string, float and raw items take, what they hand on, and what is sent for it.
#include "unit/model/ItemFormatFixture.h"

namespace orvo::testing {
namespace {

const Variant AnObject = std::shared_ptr<AutomationObject>();
constexpr const char* No = "-";

struct TextRow {
  const char* name;
  Variant value;
  const char* none;  // data size 0
  const char* two;
  const char* ten;
};
const std::vector<TextRow> TextRows{
    {"String", "ABCDE", R"(String:"")", R"(String:"AB")", R"(String:"ABCDE")"},
    {"String of ten", "ABCDEFGHIJ", R"(String:"")", R"(String:"AB")", R"(String:"ABCDEFGHIJ")"},
    {"String of eleven", "ABCDEFGHIJK", R"(String:"")", R"(String:"AB")", R"(String:"ABCDEFGHIJ")"},
    {"String empty", "", R"(String:"")", R"(String:"")", R"(String:"")"},
    {"String of umlauts", "ÄÖÜ", R"(String:"")", R"(String:"ÄÖ")", R"(String:"ÄÖÜ")"},
    {"I2", I2(-123), R"(String:"")", R"(String:"-1")", R"(String:"-123")"},
    {"I4", I4(123456), R"(String:"")", R"(String:"12")", R"(String:"123456")"},
    {"R4", 1.5F, R"(String:"")", R"(String:"1.")", R"(String:"1.5")"},
    {"R8", 0.1, R"(String:"")", R"(String:"0.")", R"(String:"0.1")"},
    {"Currency", Cy(125000), R"(String:"")", R"(String:"12")", R"(String:"12.5")"},
    {"Date", Date{2}, R"(String:"")", R"(String:"19")", R"(String:"1900-01-01")"},
    {"Boolean true", true, R"(String:"")", R"(String:"Tr")", R"(String:"True")"},
    {"Boolean false", false, R"(String:"")", R"(String:"Fa")", R"(String:"False")"},
    {"UI1", UI1(65), R"(String:"")", R"(String:"65")", R"(String:"65")"},
    {"Decimal", Decimal{1, false, 0, 125}, R"(String:"")", R"(String:"12")", R"(String:"12.5")"},
    {"I1", std::int8_t{-5}, R"(String:"")", R"(String:"-5")", R"(String:"-5")"},
    {"UI2", std::uint16_t{40000}, R"(String:"")", R"(String:"40")", R"(String:"40000")"},
    {"UI4", std::uint32_t{4294967295}, R"(String:"")", R"(String:"42")", R"(String:"4294967295")"},
    {"I8", std::int64_t{-42}, R"(String:"")", R"(String:"-4")", R"(String:"-42")"},
    {"UI8", std::uint64_t{42}, R"(String:"")", R"(String:"42")", R"(String:"42")"},
    {"Empty", Variant(), "Empty", "Empty", "Empty"},
    {"Null", Variant::Null(), "Null", "Null", "Null"},
    {"Bytes", Bytes({65, 66, 67}), "UI1[65,66,67]", "UI1[65,66,67]", "UI1[65,66,67]"},
    {"Error", ErrorCode{1}, No, No, No},
    {"Object", AnObject, No, No, No},
    {"Array of I2", SafeArray<std::int16_t>{65}, "UI1[65]", "UI1[65]", "UI1[65]"},
    {"Array of Variant", SafeArray<Variant>{I2(65)}, "UI1[65]", "UI1[65]", "UI1[65]"},
    {"Array of text", SafeArray<std::string>{"65"}, No, No, No},
    {"Array with a number beyond a byte", SafeArray<std::int16_t>{65, 256}, No, No, No},
};

TEST(ItemTextCheck, EachKindOfValueBecomesTextCutToTheDataSize) {
  for (const TextRow& row : TextRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Checked(LooseItem("ST12345", ItemTypeString, 5).item, row.value), row.none);
    EXPECT_EQ(Checked(LooseItem("ST123452", ItemTypeString, 5).item, row.value), row.two);
    EXPECT_EQ(Checked(LooseItem("ST1234510", ItemTypeString, 5).item, row.value), row.ten);
  }
}

TEST(ItemTextCheck, TheItemsTypeDecidesNotItsTypeCode) {
  EXPECT_EQ(Checked(LooseItem("WO1", ItemTypeString, 5).item, Variant("ABC")), R"(String:"AB")");
  EXPECT_EQ(Checked(LooseItem("ST1234510", ItemTypeFloat, 2).item, Variant("1.5")), "R4:1.5");
}

struct FloatRow {
  const char* name;
  Variant value;
  const char* handedOn;
};
const std::vector<FloatRow> FloatRows{
    {"I2", I2(-5), "R4:-5"},
    {"I4", I4(16777217), "R4:16777216"},
    {"R4", 1.5F, "R4:1.5"},
    {"R4 negative", -1.5F, "R4:-1.5"},
    {"R4 infinite", std::numeric_limits<float>::infinity(), "R4:inf"},
    {"R4 no number", std::numeric_limits<float>::quiet_NaN(), "R4:nan"},
    {"UI1", UI1(200), "R4:200"},
    {"R8", 0.1, "R4:0.1"},
    {"R8 beyond a single", 1e300, No},
    {"Currency", Cy(25000), "R4:2.5"},
    {"String", "2.5", "R4:2.5"},
    {"String with exponent", " -1e3 ", "R4:-1000"},
    {"String empty", "", No},
    {"String no number", "abc", No},
    {"String beyond a single", "1E39", No},
    {"I1", std::int8_t{-5}, "R4:-5"},
    {"UI2", std::uint16_t{40000}, "R4:40000"},
    {"UI4", std::uint32_t{4294967295}, "R4:4294967296"},
    {"I8", std::int64_t{-42}, "R4:-42"},
    {"UI8", std::uint64_t{42}, "R4:42"},
    {"Boolean", true, No},
    {"Date", Date{1}, No},
    {"Decimal", Decimal{0, false, 0, 1}, No},
    {"Object", AnObject, No},
    {"Error", ErrorCode{1}, No},
    {"Bytes", Bytes({0, 0, 128, 63}), No},
    {"Array of R4", SafeArray<float>{1.5F}, No},
    {"Array of Variant", SafeArray<Variant>{1.5F}, No},
};

TEST(ItemFloatCheck, EachKindOfValueIsHandedOnAsASingle) {
  const LooseItem loose("FL1", ItemTypeFloat, 2);
  for (const FloatRow& row : FloatRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Checked(loose.item, row.value), row.handedOn);
    EXPECT_EQ(Sent(loose.item, row.value), row.handedOn);
  }
}

TEST(ItemFloatCheck, EmptyAndNullAreZero) {
  const LooseItem loose("FL1", ItemTypeFloat, 2);
  EXPECT_EQ(Sent(loose.item, Variant()), "R4:0");
  EXPECT_EQ(Sent(loose.item, Variant::Null()), "R4:0");
}

TEST(ItemRawCheck, ByteArraysAreTakenUpToTheLargerOfTheDataSizeAndTheWords) {
  const LooseItem bySize("RA125", ItemTypeRaw, 2);
  EXPECT_EQ(Checked(bySize.item, Bytes({1, 2, 3, 4, 5})), "UI1[1,2,3,4,5]");
  EXPECT_EQ(Checked(bySize.item, Bytes({1, 2, 3, 4, 5, 6})), No);
  const LooseItem byWords("RA125", ItemTypeRaw, 3);
  EXPECT_EQ(Checked(byWords.item, Bytes({1, 2, 3, 4, 5, 6})), "UI1[1,2,3,4,5,6]");
  EXPECT_EQ(Checked(byWords.item, Bytes({1, 2, 3, 4, 5, 6, 7})), No);
  EXPECT_EQ(Checked(byWords.item, Bytes({1})), "UI1[1]");
  EXPECT_EQ(Checked(byWords.item, Bytes({})), "UI1[]");
}

TEST(ItemRawCheck, EmptyNullAndWholeNumbersOfAByteAreTakenOtherArraysAndObjectsAreNot) {
  const LooseItem loose("RA1210", ItemTypeRaw, 5);
  EXPECT_EQ(Checked(loose.item, Variant()), "Empty");
  EXPECT_EQ(Checked(loose.item, Variant::Null()), "Null");
  EXPECT_EQ(Checked(loose.item, AnObject), No);
  EXPECT_EQ(Checked(loose.item, SafeArray<std::int16_t>{1, 255}), "UI1[1,255]");
  EXPECT_EQ(Checked(loose.item, SafeArray<Variant>{UI1(1), I4(2), 3.0}), "UI1[1,2,3]");
  EXPECT_EQ(Checked(loose.item, SafeArray<std::int16_t>{-1}), No);
  EXPECT_EQ(Checked(loose.item, SafeArray<double>{0.5}), No);
  EXPECT_EQ(Checked(loose.item, SafeArray<Variant>{Variant("1")}), No);
  EXPECT_EQ(Checked(loose.item, SafeArray<Variant>{Variant(SafeArray<std::int16_t>{1})}), No);
}

TEST(ItemRawCheck, ScalarsAreNotTaken) {
  const LooseItem loose("RA1210", ItemTypeRaw, 5);
  for (const Variant& value :
       {I2(1), I4(1), UI1(1), Variant(1.0), Variant("1"), Variant(true), Variant(Date{1})})
    EXPECT_EQ(Checked(loose.item, value), No) << LogText(value);
}

TEST(ItemOtherTypeCheck, AnItemOfAnUnknownTypeTakesEmptyAndNullOnly) {
  for (const std::int32_t type : {-1, 4}) {
    const LooseItem loose("WO1", type, 1);
    EXPECT_EQ(Checked(loose.item, Variant()), "Empty");
    EXPECT_EQ(Checked(loose.item, Variant::Null()), "Null");
    for (const Variant& value : {I2(1), Variant("1"), Bytes({1})})
      EXPECT_EQ(Checked(loose.item, value), No) << LogText(value);
  }
}

// What is sent for a value that was checked already.
std::string Raw(LooseItem& loose, const Variant& checked) {
  return LogText(loose.item.RawValue(checked));
}

TEST(ItemRawValue, WithoutBcdTheValueIsSentUnchanged) {
  for (const std::int32_t type : {ItemTypeInteger, ItemTypeFloat, ItemTypeRaw}) {
    LooseItem loose("WO1", type, 1);
    for (const Variant& value : {I4(-1), I2(7), Variant(1.5F), Variant(2.5), Bytes({1, 2, 3}), Variant("x")})
      EXPECT_EQ(loose.item.RawValue(value), value) << LogText(value);
    loose.item.PutSigned(true);
    EXPECT_EQ(Raw(loose, I4(-1)), "I4:-1") << "the sign plays no part";
  }
}

TEST(ItemRawValue, ABcdItemIsSentTheIntegerItselfNotItsDigits) {
  LooseItem loose("WO1", ItemTypeInteger, 1);
  loose.item.PutBCD(true);
  EXPECT_EQ(Raw(loose, I4(1234)), "I4:1234");
  EXPECT_EQ(Sent(loose.item, I2(1234)), "I4:1234");
  EXPECT_EQ(Raw(loose, Variant(2.5)), "I4:2");
  EXPECT_EQ(Raw(loose, Variant("77")), "I4:77");
  for (const std::int32_t value : {0, 9, 10, 9999, 65535, -1, 2147483647})
    EXPECT_EQ(EncodeBCD(value), value);
}

TEST(ItemRawValue, ABcdOptionTurnsTheValueOfAFloatItemIntoAnInteger) {
  LooseItem loose("FL1", ItemTypeFloat, 2);
  loose.item.PutBCD(true);
  EXPECT_EQ(Sent(loose.item, Variant(3.5)), "I4:4");
  EXPECT_EQ(Sent(loose.item, Variant(4.5)), "I4:4");
}

TEST(ItemRawValue, ATextIsPaddedWithBlanksAndCutToTheItemsWords) {
  LooseItem loose("ST1234520", ItemTypeString, 4);
  EXPECT_EQ(Sent(loose.item, Variant("AB")), "UI1[65,66,32,32,32,32,32,32]");
  EXPECT_EQ(Sent(loose.item, Variant("ABCDEFGHIJKL")), "UI1[65,66,67,68,69,70,71,72]");
  EXPECT_EQ(Sent(loose.item, Variant("")), "UI1[32,32,32,32,32,32,32,32]");
  EXPECT_EQ(Sent(loose.item, I2(12)), "UI1[49,50,32,32,32,32,32,32]");
  loose.item.PutBCD(true);
  EXPECT_EQ(Sent(loose.item, Variant("12")), "UI1[49,50,32,32,32,32,32,32]") << "BCD is for the other types";
}

TEST(ItemRawValue, ATextsCharactersAreWindows1252) {
  LooseItem loose("ST1234510", ItemTypeString, 3);
  EXPECT_EQ(Sent(loose.item, Variant("€Äÿ")), "UI1[128,196,255,32,32,32]");
  EXPECT_EQ(Sent(loose.item, Variant("Ω1")), "UI1[63,49,32,32,32,32]");
}

TEST(ItemRawValue, BytesOfATextItemArePaddedWithBlanksAndCut) {
  LooseItem loose("ST1234510", ItemTypeString, 2);
  EXPECT_EQ(Raw(loose, Bytes({1, 0})), "UI1[1,0,32,32]");
  EXPECT_EQ(Raw(loose, Bytes({1, 2, 3, 4, 5})), "UI1[1,2,3,4]");
  EXPECT_EQ(Raw(loose, Bytes({})), "UI1[32,32,32,32]");
}

TEST(ItemRawValue, AnythingElseOfATextItemIsAllZero) {
  LooseItem loose("ST1234510", ItemTypeString, 2);
  for (const Variant& value : {Variant(), Variant::Null(), I4(65), Variant(1.5), Variant(true)})
    EXPECT_EQ(Raw(loose, value), "UI1[0,0,0,0]") << LogText(value);
  EXPECT_EQ(Sent(loose.item, Variant()), "UI1[0,0,0,0]");
  EXPECT_EQ(Sent(loose.item, Variant::Null()), "UI1[0,0,0,0]");
}

TEST(ItemRawValue, ATextItemWithoutWordsIsSentNoBytes) {
  LooseItem loose("ST1234510", ItemTypeString, 0);
  EXPECT_EQ(Sent(loose.item, Variant("AB")), "UI1[]");
}

}  // namespace
}  // namespace orvo::testing
