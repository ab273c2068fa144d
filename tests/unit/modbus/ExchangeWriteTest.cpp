// Writing lists of items: what is sent, and what each item gets.

#include "ExchangeFixture.h"

#include <array>

namespace orvo::modbus {

namespace {

class ExchangeWriteTest : public ExchangeTest {
 public:
  static ItemRequest Word(std::int32_t address, std::int32_t value) {
    return With(WordAt(address), Variant(value));
  }
  static ItemRequest Coil(std::int32_t address, bool value) { return With(CoilAt(address), Variant(value)); }
  static ItemRequest Bit(std::int32_t address, std::int32_t bit, std::int32_t value) {
    return With(BitAt(address, bit), Variant(value));
  }
  static ItemRequest Byte(std::int32_t address, std::int32_t bit, std::int32_t value) {
    return With(ItemAt(ItemKind::Byte, Area::HoldingRegisters, address, 1, bit), Variant(value));
  }
  std::uint16_t Holding(std::int32_t address) const { return device.Register(Area::HoldingRegisters, address); }
};

TEST_F(ExchangeWriteTest, NeighboursShareARequestInTheOrderOfTheList) {
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1), Word(11, 2), Word(5, 3), Word(6, 4), Word(12, 5)})),
            "0 0 0 0 0");
  EXPECT_EQ(device.TakeLog(),
            (Asked{"write 4:10+2 = 0001 0002", "write 4:5+2 = 0003 0004", "write 4:12+1 = 0005"}));
  EXPECT_EQ(ErrorsOf(exchange.Write({})), "");
  EXPECT_EQ(device.TakeLog(), Asked{});
}

TEST_F(ExchangeWriteTest, TheLastOfTwoWritesOfOneItemIsWhatStays) {
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1), Word(10, 2)})), "0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 4:10+1 = 0001", "write 4:10+1 = 0002"}));
}

TEST_F(ExchangeWriteTest, ItemsOfEveryKindTravelInTheirOrder) {
  const std::array<std::uint8_t, 3> bytes{'a', 'b', 'c'};
  const Requests items{Word(10, 0x1234),
                       With(ItemAt(ItemKind::DoubleWord, Area::HoldingRegisters, 11, 2), Variant(0x01020304)),
                       With(ItemAt(ItemKind::Single, Area::HoldingRegisters, 13, 2), Variant(1.0F)),
                       With(TextAt(15, 2), Variant::OfBytes(bytes)),
                       With(ItemAt(ItemKind::Raw, Area::HoldingRegisters, 17, 1), Variant()),
                       Coil(7, true),
                       Coil(8, false),
                       Coil(9, true)};
  EXPECT_EQ(ErrorsOf(exchange.Write(items)), "0 0 0 0 0 0 0 0");
  EXPECT_EQ(device.TakeLog(),
            (Asked{"write 4:10+8 = 1234 0102 0304 3F80 0000 6162 6300 0000", "write 0:7+3 = 1 0 1"}));
}

TEST_F(ExchangeWriteTest, WhatAnItemDoesNotTakeFailsAloneAndIsNotSent) {
  Requests items{Word(10, 1),
                 Word(11, 70000),
                 Word(12, 2),
                 With(ItemAt(ItemKind::Word, Area::InputRegisters, 13), Variant(3)),
                 With(ItemAt(ItemKind::Bit, Area::DiscreteInputs, 14), Variant(true)),
                 With(WordAt(15), Variant("text")),
                 Word(16, 1),
                 Word(17, 1),
                 Coil(18, true),
                 With(CoilAt(19), Variant("text")),
                 Byte(20, 0, 256)};
  items[6].compiledAddress = 1;
  items[7].dimension = 2;
  EXPECT_EQ(ErrorsOf(exchange.Write(items)), "0 10 0 10 10 10 10 10 0 10 10");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 4:10+1 = 0001", "write 4:12+1 = 0002", "write 0:18+1 = 1"}));
}

TEST_F(ExchangeWriteTest, ARefusedRunIsSentItemByItem) {
  device.protectedAt.insert({Area::HoldingRegisters, 11});
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1), Word(11, 2), Word(12, 3), Word(20, 4)})), "0 10 0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 4:10+3 = 0001 0002 0003", "write 4:10+1 = 0001",
                                     "write 4:11+1 = 0002", "write 4:12+1 = 0003", "write 4:20+1 = 0004"}));
  device.protectedAt = {{Area::Coils, 1}};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Coil(0, true), Coil(1, true)})), "0 10");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 0:0+2 = 1 1", "write 0:0+1 = 1", "write 0:1+1 = 1"}));
}

TEST_F(ExchangeWriteTest, ALineThatFailsInARefusedRunLeavesTheRestUnsent) {
  device.script[0] = FakeDevice::Refusal(2);
  device.script[2] = {Answer::Kind::NoAnswer, 0, "nothing came"};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1), Word(11, 2), Word(12, 3), Word(20, 4)})), "0 3 5 5");
  EXPECT_EQ(device.TakeLog(),
            (Asked{"write 4:10+3 = 0001 0002 0003", "write 4:10+1 = 0001", "write 4:11+1 = 0002"}));
}

TEST_F(ExchangeWriteTest, EachEndOfARequestHasItsErrorAndNothingIsSentTwice) {
  struct Row {
    Answer answer;
    const char* errors;
    std::size_t requests;
  };
  const auto end = [](Answer::Kind kind) { return Answer{kind, 0, "by script"}; };
  for (const Row& row : std::vector<Row>{{FakeDevice::Refusal(1), "10 10 0", 2},
                                         {FakeDevice::Refusal(5), "1 1 0", 2},
                                         {FakeDevice::Refusal(6), "1 1 0", 2},
                                         {FakeDevice::Refusal(7), "4 4 0", 2},
                                         {FakeDevice::Refusal(8), "4 4 0", 2},
                                         {FakeDevice::Refusal(99), "4 4 0", 2},
                                         {FakeDevice::Refusal(10), "5 5 5", 1},
                                         {FakeDevice::Refusal(11), "3 3 5", 1},
                                         {FakeDevice::Refusal(4), "0 0 0", 4},
                                         {end(Answer::Kind::NoAnswer), "3 3 5", 1},
                                         {end(Answer::Kind::Wrong), "4 4 5", 1},
                                         {end(Answer::Kind::Broken), "5 5 5", 1}}) {
    FakeDevice answering;
    answering.script[0] = row.answer;
    Exchange fresh(answering, options);
    Requests items{Word(0, 1), Word(1, 2), Word(100, 3)};
    EXPECT_EQ(ErrorsOf(fresh.Write(items)), row.errors) << "exception " << int{row.answer.exception};
    EXPECT_EQ(answering.log.size(), row.requests) << "exception " << int{row.answer.exception};
  }
  // What is none of these is known before anything is sent.
  device.script[0] = end(Answer::Kind::NoAnswer);
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(0, 1), Word(50, 70000)})), "3 10");
}

TEST_F(ExchangeWriteTest, BitsAndBytesOfARegisterLeaveTheOthersAlone) {
  device.Put(Area::HoldingRegisters, 10, 0xA5A5);
  EXPECT_EQ(
      ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Bit(10, 15, 0), Byte(10, 8, 0x3C), Byte(11, 0, 7)})),
      "0 0 0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"mask 4:10 keep FFFD set 0002", "mask 4:10 keep 7FFF set 0000",
                                     "mask 4:10 keep 00FF set 3C00", "mask 4:11 keep FF00 set 0007"}));
  EXPECT_EQ(Holding(10), 0x3CA7);
}

TEST_F(ExchangeWriteTest, WithoutMaskRequestsARegisterIsReadChangedAndWrittenBack) {
  device.knowsMask = false;
  device.Put(Area::HoldingRegisters, 10, 0xA5A5);
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "0");
  EXPECT_EQ(device.TakeLog(), (Asked{"mask 4:10 keep FFFD set 0002", "read 4:10+1", "write 4:10+1 = A5A7"}));
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 0, 0), Byte(10, 8, 0)})), "0 0");
  EXPECT_EQ(device.TakeLog(),
            (Asked{"read 4:10+1", "write 4:10+1 = A5A6", "read 4:10+1", "write 4:10+1 = 00A6"}))
      << "it is remembered";
  exchange.Forget();
  device.knowsMask = true;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 3, 1)})), "0");
  EXPECT_EQ(device.TakeLog(), Asked{"mask 4:10 keep FFF7 set 0008"}) << "until the line is connected anew";
}

TEST_F(ExchangeWriteTest, WhereOnlyMaskRequestsAreWantedNothingElseIsSent) {
  options.bits = BitWriting::Mask;
  device.knowsMask = false;
  Exchange strict(device, options);
  EXPECT_EQ(ErrorsOf(strict.Write(Requests{Bit(10, 1, 1), Word(11, 5)})), "10 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"mask 4:10 keep FFFD set 0002", "write 4:11+1 = 0005"}));
}

TEST_F(ExchangeWriteTest, ARegisterThatCannotBeReadBackFails) {
  device.knowsMask = false;
  device.script[1] = FakeDevice::Refusal(2);
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Word(11, 5)})), "10 0");
  device.TakeLog();
  device.script = {{0, {Answer::Kind::Broken, 0, "gone"}}};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Word(11, 5)})), "5 5");
  EXPECT_EQ(device.TakeLog(), Asked{"read 4:10+1"});
}

TEST_F(ExchangeWriteTest, ARefusedMaskRequestIsNoReasonForAnotherKind) {
  device.protectedAt.insert({Area::HoldingRegisters, 10});
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "10");
  EXPECT_EQ(device.TakeLog(), Asked{"mask 4:10 keep FFFD set 0002"});
}

TEST_F(ExchangeWriteTest, WhatWasWrittenIsWhatIsRead) {
  Requests items;
  for (std::int32_t k = 0; k < 400; ++k)
    items.push_back(k < 300 ? Word(k, 65535 - k) : Coil(k, k % 3 == 0));
  exchange.Write(items);
  EXPECT_EQ(device.TakeLog().size(), 4U);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(Holding(299), 65535 - 299);
}

}  // namespace

}  // namespace orvo::modbus
