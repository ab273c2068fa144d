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

TEST_F(ExchangeWriteTest, EachEndOfARequestHasItsErrorAndNothingThatMayHaveHappenedIsSentTwice) {
  struct Row {
    Answer answer;
    const char* errors;
    std::size_t requests;
  };
  const auto end = [](Answer::Kind kind) { return Answer{kind, 0, "by script"}; };
  Answer brokenBehind = end(Answer::Kind::Broken);
  brokenBehind.mayHaveArrived = true;
  for (const Row& row : std::vector<Row>{{brokenBehind, "3 3 5", 1},
                                         {FakeDevice::Refusal(5), "1 1 0", 2},
                                         {FakeDevice::Refusal(6), "1 1 0", 2},
                                         {FakeDevice::Refusal(7), "4 4 0", 2},
                                         {FakeDevice::Refusal(8), "4 4 0", 2},
                                         {FakeDevice::Refusal(99), "4 4 0", 2},
                                         {FakeDevice::Refusal(10), "5 5 5", 1},
                                         {FakeDevice::Refusal(11), "3 3 5", 1},
                                         {FakeDevice::Refusal(0), "4 4 0", 2},
                                         {FakeDevice::Refusal(4), "4 4 0", 2},
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
  ++device.connections;
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

TEST_F(ExchangeWriteTest, ADeviceThatRefusesAnAddressOrValueOfARunGetsItsItemsSinglyAndOneThatFailedDoesNot) {
  for (const int exception : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 255}) {
    FakeDevice answering;
    answering.script[0] = FakeDevice::Refusal(static_cast<std::uint8_t>(exception));
    Exchange fresh(answering, options);
    fresh.Write(Requests{Word(0, 1), Word(1, 2)});
    const bool divided = exception >= 1 && exception <= 3;
    EXPECT_EQ(answering.log.size(), divided ? 3U : 1U) << "exception " << exception;
  }
}

TEST_F(ExchangeWriteTest, ADeviceThatKnowsOnlyRequestsForOneGetsOneAtATime) {
  device.knowsSeveral = false;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1)})), "0");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 4:10+1 = 0001", "one 4:10 = 0001"}));
  const Requests items{Word(20, 1), Word(21, 2),
                       With(ItemAt(ItemKind::DoubleWord, Area::HoldingRegisters, 22, 2), Variant(3)),
                       Word(24, 4)};
  EXPECT_EQ(ErrorsOf(exchange.Write(items)), "0 0 10 0") << "an item is never torn";
  EXPECT_EQ(device.TakeLog(),
            (Asked{"one 4:20 = 0001", "one 4:21 = 0002", "write 4:22+2 = 0000 0003", "one 4:24 = 0004"}));
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Coil(7, true), Coil(8, false)})), "0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 0:7+2 = 1 0", "write 0:7+1 = 1", "one 0:7 = 1", "one 0:8 = 0"}));
  EXPECT_EQ(Holding(24), 4);
  ++device.connections;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1)})), "0");
  EXPECT_EQ(device.TakeLog(), (Asked{"write 4:10+1 = 0001", "one 4:10 = 0001"}))
      << "until the line is connected anew";
}

TEST_F(ExchangeWriteTest, ADeviceThatKnowsNoWritesRefusesThemAndIsAskedAnewEachTime) {
  device.knowsSeveral = device.knowsOne = false;
  for (int cycle = 0; cycle < 2; ++cycle) {
    EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1), Word(20, 2)})), "10 10");
    EXPECT_EQ(device.TakeLog(),
              (Asked{"write 4:10+1 = 0001", "one 4:10 = 0001", "write 4:20+1 = 0002", "one 4:20 = 0002"}));
  }
}

TEST_F(ExchangeWriteTest, ARequestForOneThatIsRefusedForItsAddressIsNotSentAsAnother) {
  device.knowsSeveral = false;
  device.protectedAt.insert({Area::HoldingRegisters, 10});
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(9, 1)})), "0");
  device.TakeLog();
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(10, 1)})), "10");
  EXPECT_EQ(device.TakeLog(), Asked{"one 4:10 = 0001"});
}

TEST_F(ExchangeWriteTest, ABitGoesIntoADeviceThatKnowsNeitherMasksNorRequestsForSeveral) {
  device.knowsMask = device.knowsSeveral = false;
  device.Put(Area::HoldingRegisters, 10, 0xA5A5);
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Bit(10, 3, 1)})), "0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"mask 4:10 keep FFFD set 0002", "read 4:10+1", "write 4:10+1 = A5A7",
                                     "one 4:10 = A5A7", "read 4:10+1", "one 4:10 = A5AF"}));
}

TEST_F(ExchangeWriteTest, WhatWasLearnedOfADeviceDoesNotHoldForTheNextConnection) {
  device.knowsMask = device.knowsSeveral = false;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "0");
  device.TakeLog();
  ++device.connections;
  device.knowsMask = device.knowsSeveral = true;
  device.knowsOne = false;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 3, 1), Word(20, 5)})), "0 0");
  EXPECT_EQ(device.TakeLog(), (Asked{"mask 4:10 keep FFF7 set 0008", "write 4:20+1 = 0005"}));
}

TEST_F(ExchangeWriteTest, AConnectionMadeInsideAListTakesAwayWhatWasLearned) {
  device.knowsMask = false;
  device.reconnects = {3};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Bit(11, 1, 1), Bit(12, 1, 1)})), "0 0 0");
  Asked kinds;
  for (const std::string& request : device.TakeLog())
    kinds.push_back(request.substr(0, request.find_first_of("+k")));
  EXPECT_EQ(kinds, (Asked{"mas", "read 4:10", "write 4:10", "read 4:11", "mas", "read 4:11", "write 4:11",
                          "read 4:12", "write 4:12"}));
}

TEST_F(ExchangeWriteTest, ABitIsNotReadOnOneConnectionAndWrittenOnTheNext) {
  device.knowsMask = false;
  device.reconnects = {2};
  const std::uint16_t before = Holding(10);
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1), Word(11, 5)})), "5 5");
  EXPECT_EQ(device.log.size(), 3U) << "mask, read, and what did not go out";
  EXPECT_EQ(Holding(10), before);
  device.TakeLog();
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(11, 5)})), "0") << "later requests connect again";
  device.reconnects = {1};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Word(11, 6)})), "0");
}

TEST_F(ExchangeWriteTest, ARegisterReadOnANewConnectionIsNotWrittenBackBeforeTheMaskRequestWasTriedThere) {
  device.knowsMask = false;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "0");
  device.TakeLog();
  device.knowsMask = true;
  device.reconnects = {0};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 3, 1)})), "0");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:10+1", "mask 4:10 keep FFF7 set 0008"}));
  // A server that ends the connection behind each answer.
  device.knowsMask = false;
  device.reconnects = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 4, 1)})), "5");
  EXPECT_LE(device.log.size(), 5U);
}

TEST_F(ExchangeWriteTest, TheReadingOfAWriteThatBreaksHasChangedNothing) {
  device.knowsMask = false;
  Answer broken{Answer::Kind::Broken, 0, "gone"};
  broken.mayHaveArrived = true;
  device.script[1] = broken;
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "5");
  device.TakeLog();
  device.script = {{1, broken}};
  EXPECT_EQ(ErrorsOf(exchange.Write(Requests{Bit(10, 1, 1)})), "3") << "its writing may have";
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
