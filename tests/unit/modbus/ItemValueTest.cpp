#include "FailureText.h"
#include "modbus/ItemValue.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <string>
#include <vector>

namespace orvo::modbus {
namespace {

using testing::LogText;
using Registers = std::vector<std::uint16_t>;

Address ItemAt(ItemKind kind, std::int32_t bit = 0) {
  return {kind, Area::HoldingRegisters, 5, bit};
}

std::string ReadText(ItemKind kind, const ByteOrder& order, const Registers& registers) {
  return LogText(ValueOfRegisters(ItemAt(kind), order, registers));
}

Registers Written(ItemKind kind, const ByteOrder& order, std::int32_t dimension, const Variant& value) {
  return ImageOfValue(ItemAt(kind), order, dimension, value).registers;
}

std::string RefusalText(const Address& item, std::int32_t dimension, const Variant& value) {
  return FailureText([&] { ImageOfValue(item, {}, dimension, value); });
}

constexpr ByteOrder WordsExchanged{LongOrder::abcd, PairOrder::ba, PairOrder::ab};
constexpr ByteOrder TextExchanged{LongOrder::abcd, PairOrder::ab, PairOrder::ba};

// 0x11223344 and 1.5 (0x3FC00000) as the registers of a device of each order.
struct LongRow {
  LongOrder order;
  Registers number;
  Registers single;
};
const std::vector<LongRow>& LongRows() {
  static const std::vector<LongRow> rows{
      {LongOrder::abcd, {0x1122, 0x3344}, {0x3FC0, 0x0000}},
      {LongOrder::cdab, {0x3344, 0x1122}, {0x0000, 0x3FC0}},
      {LongOrder::badc, {0x2211, 0x4433}, {0xC03F, 0x0000}},
      {LongOrder::dcba, {0x4433, 0x2211}, {0x0000, 0xC03F}},
  };
  return rows;
}

TEST(ModbusItemValue, A32BitItemIsReadInEachOrder) {
  for (const LongRow& row : LongRows()) {
    SCOPED_TRACE(static_cast<int>(row.order));
    const ByteOrder order{row.order, PairOrder::ba, PairOrder::ba};
    EXPECT_EQ(ReadText(ItemKind::DoubleWord, order, row.number), "UI1[68,51,34,17]");
    EXPECT_EQ(ReadText(ItemKind::Single, order, row.single), "UI1[0,0,192,63]");
  }
}

TEST(ModbusItemValue, A32BitItemIsWrittenInEachOrder) {
  for (const LongRow& row : LongRows()) {
    SCOPED_TRACE(static_cast<int>(row.order));
    const ByteOrder order{row.order, PairOrder::ba, PairOrder::ba};
    EXPECT_EQ(Written(ItemKind::DoubleWord, order, 2, std::int32_t{0x11223344}), row.number);
    EXPECT_EQ(Written(ItemKind::Single, order, 2, 1.5F), row.single);
  }
}

TEST(ModbusItemValue, A16BitItemIsReadInBothOrders) {
  for (const ItemKind kind : {ItemKind::Bit, ItemKind::Byte, ItemKind::Word}) {
    EXPECT_EQ(ReadText(kind, {}, {0x1234}), "UI1[52,18]");
    EXPECT_EQ(ReadText(kind, WordsExchanged, {0x1234}), "UI1[18,52]");
    EXPECT_EQ(ReadText(kind, TextExchanged, {0x1234}), "UI1[52,18]");
  }
}

TEST(ModbusItemValue, AWordIsWrittenInBothOrders) {
  EXPECT_EQ(Written(ItemKind::Word, {}, 1, std::int32_t{0x1234}), Registers{0x1234});
  EXPECT_EQ(Written(ItemKind::Word, WordsExchanged, 1, std::int32_t{0x1234}), Registers{0x3412});
  EXPECT_EQ(ImageOfValue(ItemAt(ItemKind::Word), WordsExchanged, 1, std::int32_t{0x1234}).mask, 0xFFFF);
}

TEST(ModbusItemValue, TextsAndBytesAreReadAsTheyTravelButForTheOrderOfText) {
  const Registers registers{0x4142, 0x4300};
  EXPECT_EQ(ReadText(ItemKind::String, {}, registers), "UI1[65,66,67,0]");
  EXPECT_EQ(ReadText(ItemKind::String, TextExchanged, registers), "UI1[66,65,0,67]");
  EXPECT_EQ(ReadText(ItemKind::String, WordsExchanged, registers), "UI1[65,66,67,0]");
  EXPECT_EQ(ReadText(ItemKind::Raw, {}, registers), "UI1[65,66,67,0]");
  EXPECT_EQ(ReadText(ItemKind::Raw, {LongOrder::dcba, PairOrder::ba, PairOrder::ba}, registers),
            "UI1[65,66,67,0]");
}

TEST(ModbusItemValue, TextsAndBytesAreWrittenUpToTheirLengthWithZerosBehind) {
  const Variant three = Variant::OfBytes(std::array<std::uint8_t, 3>{65, 66, 67});
  EXPECT_EQ(Written(ItemKind::String, {}, 2, three), (Registers{0x4142, 0x4300}));
  EXPECT_EQ(Written(ItemKind::String, TextExchanged, 2, three), (Registers{0x4241, 0x0043}));
  EXPECT_EQ(Written(ItemKind::Raw, TextExchanged, 2, three), (Registers{0x4142, 0x4300}));
  EXPECT_EQ(Written(ItemKind::Raw, {}, 3, three), (Registers{0x4142, 0x4300, 0}));
  EXPECT_EQ(Written(ItemKind::Raw, {}, 1, Variant(SafeArray<std::uint8_t>({9, 8}, 1))), Registers{0x0908});
  EXPECT_EQ(Written(ItemKind::String, {}, 1, Variant::OfBytes({})), Registers{0});
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Raw), 1, three), "10:The item has room for 2 bytes, not for 3");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::String), 1, three), "10:The item has room for 2 bytes, not for 3");
}

TEST(ModbusItemValue, TheByteBehindAnOddSizeIsReadAndWrittenAs0) {
  const std::vector<std::uint16_t> registers{0x4142, 0x4344};
  for (const ItemKind kind : {ItemKind::String, ItemKind::Raw}) {
    Address item = ItemAt(kind);
    item.odd = true;
    EXPECT_EQ(ValueOfRegisters(item, {}, registers),
              Variant::OfBytes(std::vector<std::uint8_t>{65, 66, 67, 0}));
    const RegisterImage image =
        ImageOfValue(item, {}, 2, Variant::OfBytes(std::vector<std::uint8_t>{97, 98, 99, 32}));
    EXPECT_EQ(image.registers, (Registers{0x6162, 0x6300}));
    EXPECT_EQ(image.mask, 0xFFFF);
  }
  Address exchanged = ItemAt(ItemKind::String);
  exchanged.odd = true;
  EXPECT_EQ(ValueOfRegisters(exchanged, TextExchanged, registers),
            Variant::OfBytes(std::vector<std::uint8_t>{66, 65, 68, 0}));
  EXPECT_EQ(
      ImageOfValue(exchanged, TextExchanged, 2, Variant::OfBytes(std::vector<std::uint8_t>{97, 98, 99, 32}))
          .registers,
      (Registers{0x6261, 0x0063}));
}

TEST(ModbusItemValue, TheLongestTextComesBack) {
  std::vector<std::uint8_t> bytes(2 * static_cast<std::size_t>(LongestItem));
  for (std::size_t k = 0; k < bytes.size(); ++k)
    bytes[k] = static_cast<std::uint8_t>(k + 7);
  for (const ByteOrder& order : {ByteOrder{}, TextExchanged}) {
    const RegisterImage image =
        ImageOfValue(ItemAt(ItemKind::String), order, LongestItem, Variant::OfBytes(bytes));
    EXPECT_EQ(image.mask, 0xFFFF);
    EXPECT_EQ(ValueOfRegisters(ItemAt(ItemKind::String), order, image.registers), Variant::OfBytes(bytes));
  }
}

TEST(ModbusItemValue, ABitOrByteSetsItsBitsInTheRegisterAsTheyTravel) {
  struct Row {
    ItemKind kind;
    std::int32_t bit;
    std::int32_t value;
    PairOrder words;
    std::uint16_t mask;
    std::uint16_t word;
  };
  constexpr ItemKind bit = ItemKind::Bit;
  constexpr ItemKind byte = ItemKind::Byte;
  const std::vector<Row> rows{
      {bit, 0, 1, PairOrder::ab, 0x0001, 0x0001},     {bit, 0, 1, PairOrder::ba, 0x0100, 0x0100},
      {bit, 15, 1, PairOrder::ab, 0x8000, 0x8000},    {bit, 15, 1, PairOrder::ba, 0x0080, 0x0080},
      {bit, 8, 0, PairOrder::ab, 0x0100, 0x0000},     {bit, 8, 0, PairOrder::ba, 0x0001, 0x0000},
      {byte, 0, 0xAB, PairOrder::ab, 0x00FF, 0x00AB}, {byte, 0, 0xAB, PairOrder::ba, 0xFF00, 0xAB00},
      {byte, 8, 0xAB, PairOrder::ab, 0xFF00, 0xAB00}, {byte, 8, 0xAB, PairOrder::ba, 0x00FF, 0x00AB},
      {byte, 8, 0, PairOrder::ab, 0xFF00, 0x0000},
  };
  for (const Row& row : rows) {
    const RegisterImage image =
        ImageOfValue(ItemAt(row.kind, row.bit), {LongOrder::abcd, row.words, PairOrder::ab}, 1, row.value);
    SCOPED_TRACE(std::to_string(row.bit) + " of words " + std::to_string(static_cast<int>(row.words)));
    EXPECT_EQ(image.registers, Registers{row.word});
    EXPECT_EQ(image.mask, row.mask);
  }
}

TEST(ModbusItemValue, EveryBitAndByteComesBackInBothOrders) {
  for (const PairOrder words : {PairOrder::ab, PairOrder::ba}) {
    const ByteOrder order{LongOrder::abcd, words, PairOrder::ab};
    for (std::int32_t place = 0; place < 16; ++place) {
      const Address item = ItemAt(place % 8 == 0 ? ItemKind::Byte : ItemKind::Bit, place);
      const std::int32_t value = item.kind == ItemKind::Bit ? 1 : 0x5A;
      const RegisterImage image = ImageOfValue(item, order, 1, value);
      const Variant delivered = ValueOfRegisters(item, order, image.registers);
      const auto word = static_cast<std::uint16_t>(delivered.Bytes()[0] | delivered.Bytes()[1] << 8);
      EXPECT_EQ(BitOrByteOfWord(item, word), value) << place;
      EXPECT_EQ(BitOrByteOfWord(item, static_cast<std::uint16_t>(~word)), item.kind == ItemKind::Bit ? 0 : 0xA5)
          << place;
    }
  }
}

TEST(ModbusItemValue, ACoilIsAWordOf0Or1) {
  EXPECT_EQ(LogText(ValueOfBit(true)), "UI1[1,0]");
  EXPECT_EQ(LogText(ValueOfBit(false)), "UI1[0,0]");
  EXPECT_TRUE(BitOfValue(std::int32_t{1}));
  EXPECT_TRUE(BitOfValue(std::int32_t{-2}));
  EXPECT_FALSE(BitOfValue(std::int32_t{0}));
  EXPECT_FALSE(BitOfValue(Variant()));
  EXPECT_FALSE(BitOfValue(Variant::Null()));
  EXPECT_TRUE(BitOfValue(true));
  EXPECT_EQ(FailureText([] { BitOfValue("1"); }), "10:The item takes numbers only");
}

TEST(ModbusItemValue, EmptyAndNullAreZeros) {
  for (const Variant& nothing : {Variant(), Variant::Null()}) {
    EXPECT_EQ(Written(ItemKind::Bit, {}, 1, nothing), Registers{0});
    EXPECT_EQ(Written(ItemKind::Byte, {}, 1, nothing), Registers{0});
    EXPECT_EQ(Written(ItemKind::Word, {}, 1, nothing), Registers{0});
    EXPECT_EQ(Written(ItemKind::DoubleWord, {}, 2, nothing), (Registers{0, 0}));
    EXPECT_EQ(Written(ItemKind::Single, {}, 2, nothing), (Registers{0, 0}));
    EXPECT_EQ(Written(ItemKind::String, {}, 2, nothing), (Registers{0, 0}));
    EXPECT_EQ(Written(ItemKind::Raw, {}, 3, nothing), (Registers{0, 0, 0}));
  }
}

TEST(ModbusItemValue, ANumberOfEveryKindIsTaken) {
  const std::vector<Variant> sevens{std::int8_t{7},
                                    std::int16_t{7},
                                    std::int32_t{7},
                                    std::int64_t{7},
                                    std::uint8_t{7},
                                    std::uint16_t{7},
                                    std::uint32_t{7},
                                    std::uint64_t{7},
                                    7.0F,
                                    7.0,
                                    Currency{70000},
                                    Decimal{0, false, 0, 7}};
  for (const Variant& seven : sevens) {
    SCOPED_TRACE(static_cast<int>(seven.Kind()));
    EXPECT_EQ(Written(ItemKind::Bit, {}, 1, seven), Registers{1});
    EXPECT_EQ(Written(ItemKind::Byte, {}, 1, seven), Registers{7});
    EXPECT_EQ(Written(ItemKind::Word, {}, 1, seven), Registers{7});
    EXPECT_EQ(Written(ItemKind::DoubleWord, {}, 2, seven), (Registers{0, 7}));
    EXPECT_EQ(Written(ItemKind::Single, {}, 2, seven), (Registers{0x40E0, 0}));
  }
  EXPECT_EQ(Written(ItemKind::Bit, {}, 1, true), Registers{1});
  EXPECT_EQ(Written(ItemKind::Word, {}, 1, true), Registers{0xFFFF});
  EXPECT_EQ(Written(ItemKind::Byte, {}, 1, false), Registers{0});
  EXPECT_EQ(Written(ItemKind::Single, {}, 2, true), (Registers{0xBF80, 0}));
}

TEST(ModbusItemValue, AValueOfEveryOtherKindIsRefused) {
  SafeArray<Variant> variants(1);
  variants.Edit()[0] = std::int32_t{7};
  const std::vector<Variant> others{"7",
                                    "",
                                    Date{7},
                                    ErrorCode{7},
                                    Variant(std::shared_ptr<AutomationObject>()),
                                    SafeArray<std::int32_t>(1),
                                    variants};
  for (const Variant& other : others) {
    SCOPED_TRACE(static_cast<int>(other.Kind()));
    for (const ItemKind kind : {ItemKind::Bit, ItemKind::Byte, ItemKind::Word})
      EXPECT_EQ(RefusalText(ItemAt(kind), 1, other), "10:The item takes numbers only");
    for (const ItemKind kind : {ItemKind::DoubleWord, ItemKind::Single})
      EXPECT_EQ(RefusalText(ItemAt(kind), 2, other), "10:The item takes numbers only");
    for (const ItemKind kind : {ItemKind::String, ItemKind::Raw})
      EXPECT_EQ(RefusalText(ItemAt(kind), 2, other), "10:The item takes byte arrays only");
  }
  const Variant bytes = Variant::OfBytes(std::array<std::uint8_t, 2>{7, 0});
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Word), 1, bytes), "10:The item takes numbers only");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Single), 2, bytes), "10:The item takes numbers only");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::String), 2, std::int32_t{7}), "10:The item takes byte arrays only");
}

TEST(ModbusItemValue, TheEndsOfEachRangeAreTakenAndWhatLiesBeyondIsRefused) {
  struct Row {
    ItemKind kind;
    double value;
    Registers registers;  // empty: refused
  };
  const std::vector<Row> rows{
      {ItemKind::Byte, 0, {0}},
      {ItemKind::Byte, 255, {255}},
      {ItemKind::Byte, -1, {}},
      {ItemKind::Byte, 256, {}},
      {ItemKind::Byte, 255.5, {}},  // rounds to 256
      {ItemKind::Byte, 255.4, {255}},
      {ItemKind::Byte, -0.5, {0}},
      {ItemKind::Word, -32768, {0x8000}},
      {ItemKind::Word, -32769, {}},
      {ItemKind::Word, 65535, {0xFFFF}},
      {ItemKind::Word, 65536, {}},
      {ItemKind::Word, 2.5, {2}},
      {ItemKind::Word, 3.5, {4}},
      {ItemKind::Word, -2.5, {0xFFFE}},
      {ItemKind::DoubleWord, -2147483648.0, {0x8000, 0}},
      {ItemKind::DoubleWord, -2147483649.0, {}},
      {ItemKind::DoubleWord, 4294967295.0, {0xFFFF, 0xFFFF}},
      {ItemKind::DoubleWord, 4294967296.0, {}},
      {ItemKind::DoubleWord, 70000.5, {1, 0x1170}},
      {ItemKind::Bit, 0.5, {0}},
      {ItemKind::Bit, 0.6, {1}},
      {ItemKind::Bit, -5, {1}},
      {ItemKind::Bit, 1e300, {1}},
      {ItemKind::Bit, -1e300, {1}},
      {ItemKind::Bit, std::numeric_limits<double>::infinity(), {1}},
      {ItemKind::Bit, std::numeric_limits<double>::quiet_NaN(), {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.value));
    const std::int32_t dimension = row.kind == ItemKind::DoubleWord ? 2 : 1;
    Registers written;
    const std::string failure = FailureText([&] { written = Written(row.kind, {}, dimension, row.value); });
    EXPECT_EQ(failure.substr(0, 3), row.registers.empty() ? "10:" : "0:");
    EXPECT_EQ(written, row.registers);
  }
}

TEST(ModbusItemValue, WhatNoWholeNumberIsIsRefusedWithItsReason) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Byte), 1, 1e300), "10:The item takes 0..255, not 1E+300");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Word), 1, -infinity), "10:The item takes -32768..65535, not -inf");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Word), 1, true), "0:");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Byte), 1, true), "10:The item takes 0..255, not True");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::DoubleWord), 2, std::numeric_limits<std::uint64_t>::max()),
            "10:The item takes -2147483648..4294967295, not 18446744073709551615");
  for (const Variant& none : {Variant(nothing), Variant(std::numeric_limits<float>::quiet_NaN())}) {
    for (const ItemKind kind : {ItemKind::Bit, ItemKind::Byte, ItemKind::Word})
      EXPECT_EQ(RefusalText(ItemAt(kind), 1, none),
                "10:An item of whole numbers does not take what is no number (NaN)");
    EXPECT_EQ(RefusalText(ItemAt(ItemKind::DoubleWord), 2, none),
              "10:An item of whole numbers does not take what is no number (NaN)");
  }
}

TEST(ModbusItemValue, ASingleTakesWhatLiesInItsRange) {
  const auto bits = [](const Variant& value) {
    const Registers pair = Written(ItemKind::Single, {}, 2, value);
    return std::bit_cast<float>(static_cast<std::uint32_t>(pair[0]) << 16 | pair[1]);
  };
  EXPECT_EQ(bits(0.1), 0.1F);
  EXPECT_EQ(bits(double{std::numeric_limits<float>::max()}), std::numeric_limits<float>::max());
  EXPECT_EQ(bits(1e-300), 0.0F);
  EXPECT_EQ(bits(std::numeric_limits<float>::infinity()), std::numeric_limits<float>::infinity());
  EXPECT_NE(bits(std::numeric_limits<float>::quiet_NaN()), bits(std::numeric_limits<float>::quiet_NaN()));
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Single), 2, 1e300),
            "10:The item takes singles, 1E+300 is too large for one");
  EXPECT_EQ(RefusalText(ItemAt(ItemKind::Single), 2, -std::numeric_limits<double>::infinity()),
            "10:The item takes singles, -inf is too large for one");
}

}  // namespace
}  // namespace orvo::modbus
