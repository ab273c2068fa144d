// From the raw value to the client's, for every type of item.
#include "unit/model/ItemFixture.h"
#include "unit/model/ItemFormatFixture.h"

#include <cfenv>
#include <random>

namespace orvo::testing {
namespace {

class ItemReadFormat : public ItemFixture {
 protected:
  // The client value of `raw`.
  std::string Client(const Variant& raw) {
    item->SetDATAValue(raw);
    return LogText(item->USERValue());
  }
  std::string Data() const { return LogText(item->DATAValue()); }
  // Adds an item and remembers what its device is asked to extract.
  void Use(const std::string& itemId, std::int32_t type, std::int32_t words) {
    item = AddItem(itemId, type, words);
    Device().extract = [this](double address, Variant& value) {
      EXPECT_EQ(address, 7.0);
      extracted.push_back(LogText(value));
    };
  }
  Log extracted;
};

TEST_F(ItemReadFormat, AnItemNeverReadIsEmptyWhateverItsTypeAndTheDeviceIsNotAsked) {
  for (const std::int32_t type : {-1, 0, 1, 2, 3, 4}) {
    Use("WO1", type, 2);
    EXPECT_EQ(LogText(item->USERValue()), "Empty");
    EXPECT_EQ(Data(), "Empty");
  }
  EXPECT_EQ(extracted, Log{});
}

struct IntegerRow {
  const char* itemId;
  std::int32_t words;
  Variant raw;
  char option;  // S signed, B BCD, or blank
  const char* client;
  const char* data;
};
const std::vector<IntegerRow> IntegerRows{
    {"WO1", 1, Word(0x1234), ' ', "I2:4660", "I2:4660"},
    {"WO1", 1, Word(0x7FFF), ' ', "I2:32767", "I2:32767"},
    {"WO1", 1, Word(0xFFFF), ' ', "R8:65535", "I2:-1"},
    {"WO1", 1, Word(0x8000), ' ', "R8:32768", "I2:-32768"},
    {"WO1", 1, Word(0xFFFF), 'S', "I2:-1", "I2:-1"},
    {"WO1", 1, Word(0x1234), 'S', "I2:4660", "I2:4660"},
    {"WO1", 1, Word(0x1234), 'B', "I4:1234", "I2:4660"},
    {"WO1", 1, Word(0x0018), 'B', "I4:28", "I2:24"},
    {"WO1", 1, Word(0x0012), 'B', "I4:12", "I2:18"},
    // A negative word is no BCD number: the unsigned rule comes first.
    {"WO1", 1, Word(0x9999), 'B', "R8:39321", "I2:-26215"},
    {"BY1", 1, Word(0xFFFF), ' ', "R8:255", "I2:-1"},
    {"BY1", 1, Word(0xFFFE), 'S', "I2:-2", "I2:-2"},
    {"BY1", 1, Word(0x00FF), ' ', "I2:255", "I2:255"},
    {"BI1", 1, Word(0xFFFF), ' ', "R8:0", "I2:-1"},
    {"BI1", 1, Word(0xFFFF), 'S', "I2:-1", "I2:-1"},
    {"BI1", 1, Word(1), ' ', "I2:1", "I2:1"},
    {"??1", 1, Word(0xFFFD), ' ', "R8:-2", "I2:-3"},
    {"DW1", 2, DoubleWord(0x12345678), ' ', "I4:305419896", "I4:305419896"},
    {"DW1", 2, DoubleWord(0xFFFFFFFF), ' ', "R8:4294967295", "I4:-1"},
    {"DW1", 2, DoubleWord(0x80000000), ' ', "R8:2147483648", "I4:-2147483648"},
    {"DW1", 2, DoubleWord(0xFFFFFFFF), 'S', "I4:-1", "I4:-1"},
    {"DW1", 2, DoubleWord(0x00011234), 'B', "I4:1234", "I4:70196"},
    {"DW1", 2, DoubleWord(0x7FFF9999), 'B', "I4:11109", "I4:2147457433"},
    // The words decide how many bytes are read, the data size what is added to a negative number.
    {"DW1", 1, Word(0xFFFF), ' ', "R8:4294967295", "I2:-1"},
    {"WO1", 2, DoubleWord(0xFFFFFFFF), ' ', "R8:65535", "I4:-1"},
    {"WO1", 2, DoubleWord(0xFFFEEE90), ' ', "R8:-4464", "I4:-70000"},
    {"WO1", 1, Bytes({1, 2, 3, 4}), ' ', "I2:513", "I2:513"},
    {"DW1", 2, Bytes({1, 2, 3, 4, 5}), ' ', "I4:67305985", "I4:67305985"},
    // Numbers are not decoded.
    {"WO1", 1, I2(-1), ' ', "R8:65535", "I2:-1"},
    {"WO1", 1, I4(65535), ' ', "I4:65535", "I4:65535"},
    {"DW1", 2, I4(-1), ' ', "R8:4294967295", "I4:-1"},
    {"DW1", 2, Variant(-1.0), ' ', "R8:4294967295", "R8:-1"},
    {"WO1", 1, Variant(65535.0), 'S', "R8:65535", "R8:65535"},
    {"WO1", 1, Variant(4660.0), 'B', "I4:1234", "R8:4660"},
    {"WO1", 0, I2(5), ' ', "I2:5", "I2:5"},
    {"WO1", 3, I2(5), ' ', "I2:5", "I2:5"},
};

TEST_F(ItemReadFormat, IntegerItemsByTypeCodeWordsRawValueAndOption) {
  for (const IntegerRow& row : IntegerRows) {
    SCOPED_TRACE(std::string(row.itemId) + " words " + std::to_string(row.words) + " " + LogText(row.raw) +
                 " " + row.option);
    Use(row.itemId, ItemTypeInteger, row.words);
    if (row.option == 'S') item->PutSigned(true);
    if (row.option == 'B') item->PutBCD(true);
    EXPECT_EQ(Client(row.raw), row.client);
    EXPECT_EQ(Data(), row.data);
    EXPECT_EQ(extracted, (Log{row.data}));
    extracted.clear();
    EXPECT_EQ(LogText(item->USERValue()), row.client) << "the same when it is asked again";
    EXPECT_EQ(extracted, (Log{row.data}));
    extracted.clear();
  }
}

TEST_F(ItemReadFormat, AWordOfAllOnesIs65535UnlessItIsSigned) {
  Use("WO1", ItemTypeInteger, 1);
  EXPECT_EQ(Client(Word(0xFFFF)), "R8:65535");
  item->PutSigned(true);
  EXPECT_EQ(Client(Word(0xFFFF)), "I2:-1");
}

TEST_F(ItemReadFormat, ABcdWordOf1234HexIs1234AndOf18HexIs28) {
  Use("WO1", ItemTypeInteger, 1);
  item->PutBCD(true);
  EXPECT_EQ(Client(Word(0x1234)), "I4:1234");
  EXPECT_EQ(Client(Word(0x0018)), "I4:28");
}

TEST_F(ItemReadFormat, ATextOfTheBytes65And0And66IsAB) {
  Use("ST123452", ItemTypeString, 2);
  EXPECT_EQ(Client(Bytes({65, 0, 66})), R"(String:"AB")");
}

TEST_F(ItemReadFormat, TheDeviceGetsTheAddressAndTheNumberAndTheThirdArgumentZero) {
  Use("WO1", ItemTypeInteger, 1);
  Client(Word(5));
  EXPECT_EQ(Device().log, (Log{"ExtractValue(7)"}));
}

TEST_F(ItemReadFormat, WhatTheDeviceExtractsIsTheClientsValueAndTheNumberStaysInTheItem) {
  item = AddItem("BI1", ItemTypeInteger, 1);
  Device().extract = [](double, Variant& value) { value = I2(value.Get<std::int16_t>() >> 3 & 1); };
  EXPECT_EQ(Client(Word(8)), "I2:1");
  EXPECT_EQ(Data(), "I2:8");
  EXPECT_EQ(Client(Word(7)), "I2:0");
}

TEST_F(ItemReadFormat, AValueOfAnyKindFromTheDeviceIsHandedOnAsItIs) {
  item = AddItem("BY1", ItemTypeInteger, 1);
  Variant answer;
  Device().extract = [&](double, Variant& value) { value = answer; };
  for (const Variant& value : {Variant(std::uint8_t{200}), Variant(1.5), I4(70000), Variant(2.0F)}) {
    answer = value;
    EXPECT_EQ(Client(Word(8)), LogText(value));
  }
  answer = -1.0;
  EXPECT_EQ(Client(Word(8)), "R8:255");
  answer = std::int16_t{-255};
  EXPECT_EQ(Client(Word(8)), "R8:1");
}

TEST_F(ItemReadFormat, BcdAppliesToTheExtractedValueAndRoundsIt) {
  item = AddItem("WO1", ItemTypeInteger, 1);
  item->PutBCD(true);
  Device().extract = [](double, Variant& value) { value = 4660.5; };
  EXPECT_EQ(Client(Word(8)), "I4:1234");
}

TEST_F(ItemReadFormat, EachStepOfAConversionCanBeSeen) {
  const auto steps = [&](const Variant& raw) {
    ClientValueSteps seen;
    item->SetDATAValue(raw);
    const std::string client = LogText(item->ClientValue(&seen));
    return LogText(seen.decoded) + " " + LogText(seen.extracted) + " " + LogText(seen.withoutSign) + " " +
           LogText(seen.fromBCD) + " " + client;
  };
  item = AddItem("WO1", ItemTypeInteger, 1);
  EXPECT_EQ(steps(Word(0xFFFE)), "I2:-2 I2:-2 R8:65534 Empty R8:65534");
  item->PutSigned(true);
  EXPECT_EQ(steps(Word(0xFFFE)), "I2:-2 I2:-2 Empty Empty I2:-2");
  item->PutBCD(true);
  EXPECT_EQ(steps(Word(0x0018)), "I2:24 I2:24 Empty I4:28 I4:28");
  item = AddItem("BI1", ItemTypeInteger, 1);
  Device().extract = [](double, Variant& value) { value = I2(value.Get<std::int16_t>() >> 3 & 1); };
  EXPECT_EQ(steps(Word(8)), "I2:8 I2:1 Empty Empty I2:1");
  Device().extract = {};
  item = AddItem("FL1", ItemTypeFloat, 2);
  EXPECT_EQ(steps(DoubleWord(0xC0200000)), "R4:-2.5 R4:-2.5 Empty Empty R4:-2.5");
  item = AddItem("ST000012", ItemTypeString, 1);
  EXPECT_EQ(steps(Bytes({65, 66})), "Empty Empty Empty Empty String:\"AB\"");
  EXPECT_EQ(steps(Variant()), "Empty Empty Empty Empty Empty");
}

TEST_F(ItemReadFormat, OtherWordLengthsLeaveTheArrayToTheDevice) {
  for (const std::int32_t words : {-1, 0, 3, 4}) {
    SCOPED_TRACE(words);
    item = AddItem("WO1", ItemTypeInteger, words);
    extracted.clear();
    Device().extract = [this](double, Variant& value) {
      extracted.push_back(LogText(value));
      value = I2(-3);
    };
    EXPECT_EQ(Client(Bytes({1, 2, 3, 4})), "R8:65533");
    EXPECT_EQ(extracted, (Log{"UI1[1,2,3,4]"}));
    EXPECT_EQ(Data(), "UI1[1,2,3,4]");
  }
}

TEST_F(ItemReadFormat, AFailureOfTheDeviceIsAnInternalErrorAndTheDecodedNumberStays) {
  item = AddItem("WO1", ItemTypeInteger, 1);
  Device().extract = [](double, Variant&) { throw AutomationError(4, "line broken"); };
  item->SetDATAValue(Word(5));
  const std::string text = ErrorOf([&] { item->USERValue(); });
  EXPECT_TRUE(text.starts_with("-2147221490: INTERNAL ERROR, please contact support. code4:line broken\r\n:"))
      << text;
  EXPECT_EQ(Data(), "I2:5");
}

TEST_F(ItemReadFormat, TheDeviceMayLetGoOfTheItemWhileItExtracts) {
  item = AddItem("WO1", ItemTypeInteger, 1);
  items->Remove(1);
  Device().extract = [this](double, Variant& value) {
    item.reset();
    value = I2(-1);
  };
  KELDataItem& read = *item;
  read.SetDATAValue(Word(5));
  EXPECT_EQ(LogText(read.USERValue()), "R8:65535");
}

TEST_F(ItemReadFormat, WithoutADeviceObjectIntegersAndFloatsHaveNoClientValue) {
  item = AddItem("WO1", ItemTypeInteger, 1);
  const auto text = AddItem("ST123454", ItemTypeString, 2);
  EXPECT_EQ(ErrorNumberOf([&] { plant->server->PutDeviceType(9); }), errInvalidDeviceType);
  item->SetDATAValue(Word(5));
  const std::string message = ErrorOf([&] { item->USERValue(); });
  EXPECT_TRUE(message.starts_with("-2147221490: INTERNAL ERROR, please contact support. code91:")) << message;
  text->SetDATAValue(Bytes({65}));
  EXPECT_EQ(LogText(text->USERValue()), R"(String:"A")");
}

TEST_F(ItemReadFormat, AnArrayTooShortForTheNumberIsAnErrorAndStays) {
  for (const std::int32_t words : {1, 2}) {
    item = AddItem("DW1", ItemTypeInteger, words);
    item->SetDATAValue(Bytes({1}));
    EXPECT_EQ(ErrorNumberOf([&] { item->USERValue(); }), errInternal);
    EXPECT_EQ(Data(), "UI1[1]");
  }
}

TEST_F(ItemReadFormat, TextsAreReadFromUpToOneByteMoreThanTheDataSizeAndZerosAreSkipped) {
  struct Row {
    const char* itemId;
    Variant raw;
    const char* client;
  };
  const std::vector<Row> rows{
      {"ST123452", Bytes({65, 0, 66}), R"(String:"AB")"},
      {"ST1234510", Bytes({65, 0, 66}), R"(String:"AB")"},
      {"ST123452", Bytes({65, 66, 67, 68}), R"(String:"ABC")"},
      {"ST123452", Bytes({65, 66, 0, 68}), R"(String:"AB")"},
      {"ST123451", Bytes({65, 0, 66}), R"(String:"A")"},
      {"ST12345", Bytes({65, 66}), R"(String:"A")"},
      {"ST123454", Bytes({65, 66}), R"(String:"AB")"},
      {"ST123454", Bytes({}), R"(String:"")"},
      {"ST123454", Bytes({0, 0}), R"(String:"")"},
      {"ST123454", Bytes({65, 32, 32}), R"(String:"A  ")"},
      {"ST123454", Bytes({128, 228, 255}), R"(String:"€äÿ")"},
      {"ST123452", Variant(SafeArray<std::uint8_t>(std::vector<std::uint8_t>{65, 66, 67}, 1)),
       R"(String:"AB")"},
      {"ST123452", Variant("HELLO"), R"(String:"HE")"},
      {"ST12345", Variant("HELLO"), R"(String:"")"},
      {"ST1234510", Variant("HELLO"), R"(String:"HELLO")"},
      {"ST123452", Variant("äöü"), R"(String:"äö")"},
      {"ST123452", I4(65), "Empty"},
      {"ST123452", Variant::Null(), "Empty"},
      {"ST123452", Variant(SafeArray<std::int16_t>{65}), "Empty"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.itemId) + " " + LogText(row.raw));
    Use(row.itemId, ItemTypeString, 2);
    EXPECT_EQ(Client(row.raw), row.client);
    EXPECT_EQ(item->DATAValue(), row.raw) << "the raw value stays";
  }
  EXPECT_EQ(extracted, Log{}) << "the device is not asked";
}

TEST_F(ItemReadFormat, AFloatIsDecodedOnceAndPassedThroughTheDevice) {
  Use("FL1", ItemTypeFloat, 2);
  item->PutBCD(true);
  EXPECT_EQ(Client(DoubleWord(0xC0200000)), "R4:-2.5") << "neither sign nor BCD count";
  EXPECT_EQ(Data(), "R4:-2.5");
  EXPECT_EQ(Client(Bytes({0, 0, 128, 63, 9, 9})), "R4:1");
  EXPECT_EQ(Client(Variant(3.25)), "R8:3.25");
  EXPECT_EQ(Data(), "R8:3.25");
  EXPECT_EQ(extracted, (Log{"R4:-2.5", "R4:1", "R8:3.25"}));
  Device().extract = [](double, Variant& value) { value = 8.5; };
  EXPECT_EQ(Client(Variant(3.25)), "R8:8.5");
  EXPECT_EQ(Data(), "R8:3.25");
}

TEST_F(ItemReadFormat, AFloatItemOfAnotherLengthPassesItsBytesThroughTheDevice) {
  for (const std::int32_t words : {0, 1, 3}) {
    extracted.clear();
    Use("FL1", ItemTypeFloat, words);
    EXPECT_EQ(Client(Bytes({0, 0, 128, 63})), "UI1[0,0,128,63]");
    EXPECT_EQ(Data(), "UI1[0,0,128,63]");
    EXPECT_EQ(extracted, (Log{"UI1[0,0,128,63]"}));
  }
}

TEST_F(ItemReadFormat, ARawItemsValueIsHandedOnUnchanged) {
  Use("RA1210", ItemTypeRaw, 5);
  item->PutBCD(true);
  for (const Variant& raw : {Bytes({1, 0, 255}), Bytes({}), I4(-5), Variant("text"), Variant(1.5)}) {
    EXPECT_EQ(Client(raw), LogText(raw));
    EXPECT_EQ(item->DATAValue(), raw);
  }
  EXPECT_EQ(extracted, Log{});
}

TEST_F(ItemReadFormat, AnyOtherTypeOfItemIsEmpty) {
  for (const std::int32_t type : {-1, 4, 5, 2147483647}) {
    Use("WO1", type, 1);
    EXPECT_EQ(Client(Word(5)), "Empty");
    EXPECT_EQ(Data(), "UI1[5,0]");
  }
  EXPECT_EQ(extracted, Log{});
}

// v / divisor to the nearest integer, halves to the even one, in whole numbers.
std::int64_t Quotient(std::int64_t v, std::int64_t divisor) {
  std::int64_t down = v / divisor;
  std::int64_t rest = v % divisor;
  if (rest < 0) {
    rest += divisor;
    --down;
  }
  if (2 * rest > divisor || (2 * rest == divisor && down % 2 != 0)) ++down;
  return down;
}

std::int64_t ExpectedBcd(std::int32_t v) {
  std::int64_t sum = 0;
  for (std::int64_t divisor = 1, weight = 1; divisor <= 4096; divisor *= 16, weight *= 10)
    sum += weight * (Quotient(v, divisor) & 15);
  return sum;
}

TEST(ItemBcd, RoundingOfTheQuotientCarriesIntoTheNextDigit) {
  const std::vector<std::pair<std::int32_t, std::int32_t>> rows{
      {0, 0},        {0x1, 1},      {0x8, 8},       {0x9, 19},       {0x12, 12},
      {0x18, 28},    {0x28, 28},    {0x38, 48},     {0x1234, 1234},  {0x0080, 80},
      {0x0088, 188}, {0x0098, 208}, {0x7FFF, 8015}, {0x11234, 1234}, {0xFFFF, 15},
  };
  for (const auto& [value, decoded] : rows)
    EXPECT_EQ(DecodeBCD(value), decoded) << std::hex << value;
}

TEST(ItemBcd, TheHostsRoundingModePlaysNoPart) {
  const int before = std::fegetround();
  for (const int mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    const std::int32_t carried = DecodeBCD(0x18);
    const std::int32_t even = DecodeBCD(0x28);
    const std::int32_t low = DecodeBCD(0x13);
    std::fesetround(before);
    EXPECT_EQ(carried, 28) << mode;
    EXPECT_EQ(even, 28) << mode;
    EXPECT_EQ(low, 13) << mode;
  }
}

TEST(ItemBcd, DecodingAgreesWithWholeNumberArithmeticForAll16BitValuesAndAMillionOthers) {
  for (std::int32_t value = -70000; value <= 70000; ++value)
    ASSERT_EQ(DecodeBCD(value), ExpectedBcd(value)) << value;
  constexpr std::uint32_t Seed = 20240115;
  std::mt19937 random(Seed);
  for (int round = 0; round < 1000000; ++round) {
    const auto value = static_cast<std::int32_t>(random());
    ASSERT_EQ(DecodeBCD(value), ExpectedBcd(value)) << value << " seed " << Seed;
  }
  for (const std::int32_t value : {2147483647, -2147483647 - 1})
    EXPECT_EQ(DecodeBCD(value), ExpectedBcd(value)) << value;
}

}  // namespace
}  // namespace orvo::testing
