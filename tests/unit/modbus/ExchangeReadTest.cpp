// Reading lists of items: what is asked, and what each item gets.

#include "ExchangeFixture.h"

#include <algorithm>
#include <bit>
#include <random>

namespace orvo::modbus {

namespace {

class ExchangeReadTest : public ExchangeTest {
 public:
  void Hole(std::int32_t address, Area area = Area::HoldingRegisters) { device.holes.insert({area, address}); }
  // Reads once more and gives what was asked for.
  Asked NextCycle(const Requests& items) {
    device.TakeLog();
    exchange.Read(items);
    return device.TakeLog();
  }
};

const Answer NothingCame{Answer::Kind::NoAnswer, 0, "nothing came"};

TEST_F(ExchangeReadTest, AThousandWordsInARowAreEightRequests) {
  const Requests items = WordsAt(0, 1000);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+125", "read 4:125+125", "read 4:250+125", "read 4:375+125",
                                     "read 4:500+125", "read 4:625+125", "read 4:750+125", "read 4:875+125"}));
}

TEST_F(ExchangeReadTest, ItemsOfEveryKindAndAreaFindTheirPlaceInTheAnswers) {
  const Requests items{CoilAt(3),
                       ItemAt(ItemKind::Word, Area::InputRegisters, 9),
                       ItemAt(ItemKind::Single, Area::HoldingRegisters, 65534, 2),
                       TextAt(100, 123),
                       ItemAt(ItemKind::DoubleWord, Area::HoldingRegisters, 90, 2),
                       ItemAt(ItemKind::Raw, Area::InputRegisters, 7, 3),
                       BitAt(95, 7),
                       ItemAt(ItemKind::Byte, Area::HoldingRegisters, 96, 1, 8),
                       ItemAt(ItemKind::Bit, Area::DiscreteInputs, 65535),
                       CoilAt(0)};
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 0:0+4", "read 1:65535+1", "read 3:7+3", "read 4:90+7",
                                     "read 4:100+123", "read 4:65534+2"}));
}

TEST_F(ExchangeReadTest, EqualItemsShareAnAnswer) {
  const Requests items{WordAt(5), WordAt(7), WordAt(5), BitAt(5, 3), WordAt(5)};
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), Asked{"read 4:5+3"});
}

TEST_F(ExchangeReadTest, WhatIsNoItemFailsAloneAndIsNotAsked) {
  Requests items{WordAt(5), WordAt(6), WordAt(7), WordAt(8), WordAt(65535), WordAt(65534)};
  items[1].compiledAddress = 0;
  items[2].dimension = 2;
  items[3].compiledAddress += 0.5;
  items[4] = ItemAt(ItemKind::DoubleWord, Area::HoldingRegisters, 65535, 2);
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{1, BadValue}, {2, BadValue}, {3, BadValue}, {4, BadValue}}),
            "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:5+1", "read 4:65534+1"}));
  EXPECT_EQ(Wrong({}, exchange.Read({})), "");
  EXPECT_EQ(device.TakeLog(), Asked{});
}

TEST_F(ExchangeReadTest, AnotherListIsPlannedAnew) {
  EXPECT_EQ(Wrong(WordsAt(0, 3), exchange.Read(WordsAt(0, 3))), "");
  EXPECT_EQ(Wrong(WordsAt(1, 3), exchange.Read(WordsAt(1, 3))), "");
  EXPECT_EQ(Wrong(WordsAt(1, 2), exchange.Read(WordsAt(1, 2))), "");
  const Requests longer{TextAt(1, 1), WordAt(2)};
  const Requests longest{TextAt(1, 4), WordAt(2)};
  EXPECT_EQ(Wrong(longer, exchange.Read(longer)), "");
  EXPECT_EQ(Wrong(longest, exchange.Read(longest)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+3", "read 4:1+3", "read 4:1+2", "read 4:1+2", "read 4:1+4"}));
}

TEST_F(ExchangeReadTest, OneBadAddressFailsAlone) {
  const Requests items = WordsAt(0, 8);
  Hole(5);
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{5, BadValue}}), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+8", "read 4:0+4", "read 4:4+4", "read 4:4+2", "read 4:4+1",
                                     "read 4:5+1", "read 4:6+2"}));
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+5", "read 4:6+2", "read 4:5+1"}));
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{5, BadValue}}), "");
}

TEST_F(ExchangeReadTest, ABadAddressIsAskedForInEachCycleAndJoinsItsNeighboursWhenItAnswers) {
  const Requests items = WordsAt(0, 8);
  Hole(5);
  exchange.Read(items);
  device.holes.clear();
  device.TakeLog();
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+5", "read 4:6+2", "read 4:5+1"}));
  EXPECT_EQ(NextCycle(items), Asked{"read 4:0+8"});
}

TEST_F(ExchangeReadTest, AGapThatCannotBeReadIsFoundFirst) {
  const Requests items{WordAt(0), WordAt(1), WordAt(3), WordAt(10), WordAt(11), WordAt(12)};
  Hole(6);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+13", "read 4:0+4", "read 4:10+3"}));
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+4", "read 4:10+3"}));
}

TEST_F(ExchangeReadTest, WhatThePlanBringsTogetherNewIsTriedInTheSameCycle) {
  // Two gaps that cannot be read: the second explains all refusals, so the first shows only when the next plan
  // is tried.
  const Requests items{WordAt(0), WordAt(10), WordAt(22)};
  Hole(5);
  Hole(15);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(),
            (Asked{"read 4:0+23", "read 4:0+11", "read 4:0+1", "read 4:10+1", "read 4:22+1", "read 4:10+13"}));
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+1", "read 4:10+1", "read 4:22+1"}));
}

TEST_F(ExchangeReadTest, ADeviceOfShorterRequestsGetsThem) {
  const Requests items = WordsAt(0, 100);
  device.mostRegisters = 50;
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+50", "read 4:50+50"}));
}

TEST_F(ExchangeReadTest, ARefusedItemThatOverlapsAReadableOneFailsAlone) {
  const Requests items{WordAt(9), WordAt(10), ItemAt(ItemKind::DoubleWord, Area::HoldingRegisters, 10, 2),
                       WordAt(12), WordAt(13)};
  Hole(11);
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{2, BadValue}}), "");
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:9+2", "read 4:12+2", "read 4:10+2"}));
}

TEST_F(ExchangeReadTest, BadBitsFailAlone) {
  const Requests items{CoilAt(0), CoilAt(100), CoilAt(101), CoilAt(102)};
  Hole(101, Area::Coils);
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{2, BadValue}}), "");
  EXPECT_EQ(NextCycle(items), (Asked{"read 0:0+101", "read 0:102+1", "read 0:101+1"}));
}

TEST_F(ExchangeReadTest, ADeviceThatFailsForAMomentIsNotAskedInPartsForEver) {
  const Requests items = WordsAt(0, 4);
  device.script[0] = FakeDevice::Refusal(4);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+4", "read 4:0+2", "read 4:2+2", "read 4:0+4"}));
  device.script.clear();
  EXPECT_EQ(NextCycle(items), Asked{"read 4:0+4"});
}

TEST_F(ExchangeReadTest, ADeviceThatFailsOverAGapIsAskedInParts) {
  const Requests items{WordAt(0), WordAt(10)};
  device.holeException = 4;
  Hole(5);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+11", "read 4:0+1", "read 4:10+1", "read 4:0+11"}));
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+1", "read 4:10+1"}));
}

TEST_F(ExchangeReadTest, WhatWasLearnedServesOnTheNextConnectionToo) {
  const Requests items{WordAt(0), WordAt(10)};
  Hole(5);
  exchange.Read(items);
  ++device.connections;
  EXPECT_EQ(NextCycle(items), (Asked{"read 4:0+1", "read 4:10+1"}));
}

TEST_F(ExchangeReadTest, EachExceptionHasItsError) {
  struct Row {
    std::uint8_t exception;
    const char* errors;
    std::size_t requests;
  };
  for (const Row& row : std::vector<Row>{{1, "10 10 0", 2},
                                         {5, "1 1 0", 2},
                                         {6, "1 1 0", 2},
                                         {7, "0 0 0", 5},
                                         {8, "0 0 0", 5},
                                         {9, "0 0 0", 5},
                                         {0, "0 0 0", 5},
                                         {10, "5 5 5", 1},
                                         {11, "3 3 5", 1},
                                         {12, "0 0 0", 5},
                                         {255, "0 0 0", 5},
                                         {2, "0 0 0", 4},
                                         {3, "0 0 0", 4},
                                         {4, "0 0 0", 5}}) {
    FakeDevice answering;
    answering.script[0] = FakeDevice::Refusal(row.exception);
    Exchange fresh(answering, options);
    EXPECT_EQ(ErrorsOf(fresh.Read(Requests{WordAt(0), WordAt(1), WordAt(100)})), row.errors)
        << "exception " << int{row.exception};
    EXPECT_EQ(answering.log.size(), row.requests) << "exception " << int{row.exception};
  }
  for (const std::uint8_t exception : std::vector<std::uint8_t>{2, 3, 4}) {
    device.script[device.log.size()] = FakeDevice::Refusal(exception);
    EXPECT_EQ(ErrorsOf(exchange.Read(Requests{WordAt(0)})), exception == 4 ? "4" : "10");
  }
}

TEST_F(ExchangeReadTest, AfterAnAnswerThatIsMissingOrWrongNothingMoreIsAsked) {
  const Requests items{WordAt(0), WordAt(100), WordAt(1), WordAt(200)};
  struct Row {
    Answer::Kind kind;
    const char* errors;
  };
  for (const Row& row : std::vector<Row>{{Answer::Kind::NoAnswer, "0 3 0 5"},
                                         {Answer::Kind::Wrong, "0 4 0 5"},
                                         {Answer::Kind::Broken, "0 5 0 5"}}) {
    FakeDevice answering;
    answering.script[1] = {row.kind, 0, "by script"};
    Exchange fresh(answering, options);
    EXPECT_EQ(ErrorsOf(fresh.Read(items)), row.errors);
    EXPECT_EQ(answering.TakeLog(), (Asked{"read 4:0+2", "read 4:100+1"}));
    answering.script.clear();
    EXPECT_EQ(Wrong(items, fresh.Read(items)), "");
  }
}

TEST_F(ExchangeReadTest, ALineThatFailsInADivisionEndsItAndTeachesNothing) {
  const Requests items = WordsAt(0, 8);
  device.script[0] = FakeDevice::Refusal(2);
  device.script[2] = NothingCame;
  EXPECT_EQ(ErrorsOf(exchange.Read(items)), "0 0 0 0 3 3 3 3");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+8", "read 4:0+4", "read 4:4+4"}));
  device.script = {{0, FakeDevice::Refusal(2)}, {1, NothingCame}};
  EXPECT_EQ(ErrorsOf(exchange.Read(items)), "3 3 3 3 5 5 5 5");
  device.TakeLog();
  device.script.clear();
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), Asked{"read 4:0+8"});
}

TEST_F(ExchangeReadTest, ALineThatFailsWhileThePlanIsTriedTakesNoValueAway) {
  const Requests items{WordAt(0), WordAt(10), WordAt(22)};
  Hole(15);
  device.script[5] = NothingCame;  // the trial, see above
  device.script[1] = FakeDevice::Refusal(2);
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.log.size(), 6U);
}

TEST_F(ExchangeReadTest, ALineThatFailsWhileThePlanIsTriedEndsTheTrials) {
  const Requests items{WordAt(0), WordAt(10), WordAt(22), WordAt(1000), WordAt(1010), WordAt(1022)};
  for (const std::int32_t address : {5, 15, 1005, 1015})
    Hole(address);
  device.script[10] = NothingCame;
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.log.size(), 11U);
  EXPECT_EQ(device.log.back(), "read 4:10+13");
}

TEST_F(ExchangeReadTest, ABlockThatWasNotReadIsNotTriedOnceMore) {
  const Requests items{WordAt(0), WordAt(10), WordAt(200)};
  Hole(5);
  device.script[3] = FakeDevice::Refusal(6);
  EXPECT_EQ(ErrorsOf(exchange.Read(items)), "0 0 1");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+11", "read 4:0+1", "read 4:10+1", "read 4:200+1"}));
}

TEST_F(ExchangeReadTest, GapsThatShrinkDoNotMakeTheDivisionSlow) {
  Requests items;
  std::int32_t address = 0;
  for (std::int32_t gap = 14; gap >= 0; --gap) {
    items.push_back(WordAt(address));
    address += 1 + gap;
  }
  Hole(address - 1);
  EXPECT_EQ(Wrong(items, exchange.Read(items), {{items.size() - 1, BadValue}}), "");
  EXPECT_LE(device.log.size(), 17U);
}

TEST_F(ExchangeReadTest, RandomHolesCostTheirItemsOnly) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 dice(seed);
  const auto below = [&](std::int32_t end) {
    return std::uniform_int_distribution<std::int32_t>(0, end - 1)(dice);
  };
  for (int round = 0; round < 200; ++round) {
    FakeDevice holed;
    const std::int32_t reach = 100 + below(900);
    for (std::int32_t k = below(20); k > 0; --k)
      holed.holes.insert({static_cast<Area>(below(4)), below(reach)});
    Requests items;
    for (std::int32_t k = 1 + below(300); k > 0; --k) {
      const auto area = static_cast<Area>(below(4));
      if (HoldsBits(area))
        items.push_back(ItemAt(ItemKind::Bit, area, below(reach)));
      else if (below(4) == 0)
        items.push_back(ItemAt(ItemKind::Raw, area, below(reach), 1 + below(below(8) == 0 ? 123 : 4)));
      else
        items.push_back(ItemAt(ItemKind::Word, area, below(reach)));
    }
    std::vector<std::pair<std::size_t, std::int32_t>> errors;
    std::set<std::pair<double, std::int32_t>> bad;
    std::vector<Span> places;
    for (std::size_t k = 0; k < items.size(); ++k) {
      const Address address = Address::Decode(items[k].compiledAddress).value_or(Address());
      const Span place{address.area, address.address, items[k].dimension};
      places.push_back(place);
      const auto hole = holed.holes.lower_bound({place.area, place.start});
      if (hole == holed.holes.end() || hole->first != place.area || hole->second >= place.End()) continue;
      errors.emplace_back(k, BadValue);
      bad.insert({Address{ItemKind::Raw, place.area, place.start}.Encode(), place.count});
    }

    Exchange reader(holed, options);
    device.holes = holed.holes;  // Wrong() compares with the tables only
    const std::size_t blocks = PlanReads(places, options.gap, {}).size();
    const std::size_t trouble = 1 + bad.size() + holed.holes.size();
    // Two times the depth of the divisions for each place in trouble, and the trials behind them; what one
    // list's budget does not cover goes to the next ones.
    const std::size_t most = trouble * 5 * static_cast<std::size_t>(std::bit_width(items.size()));
    const std::size_t mostCycles = 2 + most / (ItemReader::MostBesides - ItemReader::LonelyShare);
    std::size_t cycles = 0;
    Asked before;
    for (Asked now; cycles == 0 || now != before; ++cycles) {
      ASSERT_LT(cycles, mostCycles) << "round " << round;
      before = now;
      const ItemResults results = reader.Read(items);
      now = holed.TakeLog();
      EXPECT_LE(now.size(), blocks + most) << "round " << round;
      if (now.size() < ItemReader::MostBesides) {
        ASSERT_EQ(Wrong(items, results, errors), "") << "round " << round;
      }
    }

    ASSERT_EQ(Wrong(items, reader.Read(items), errors), "") << "round " << round;
    const Asked second = holed.TakeLog();
    std::set<std::string> refused;
    for (const std::string& request : second) {
      int digit = 0;
      Span span;
      ASSERT_EQ(std::sscanf(request.c_str(), "read %d:%d+%d", &digit, &span.start, &span.count), 3);
      span.area = static_cast<Area>(digit < 2 ? digit : digit - 1);
      const auto hole = holed.holes.lower_bound({span.area, span.start});
      if (hole == holed.holes.end() || hole->first != span.area || hole->second >= span.End()) continue;
      EXPECT_TRUE(refused.insert(request).second) << request << " was asked twice in round " << round;
    }
    // Nothing is refused any more but the items that cannot be read, each once.
    EXPECT_EQ(refused.size(), bad.size()) << "round " << round;
    ASSERT_EQ(Wrong(items, reader.Read(items), errors), "");
    EXPECT_EQ(holed.TakeLog(), second) << "round " << round;
  }
}

TEST_F(ExchangeReadTest, OneBadAddressAmongMostItemsCostsLogarithmicallyManyRequests) {
  for (std::int32_t address = 0; address < 125; ++address) {
    FakeDevice holed;
    holed.holes.insert({Area::HoldingRegisters, address});
    Exchange reader(holed, options);
    reader.Read(WordsAt(0, 125));
    EXPECT_LE(holed.log.size(), 15U) << address;
  }
  Requests coils;
  for (std::int32_t address = 0; address < 2000; ++address)
    coils.push_back(CoilAt(address));
  Hole(1234, Area::Coils);
  exchange.Read(coils);
  EXPECT_LE(device.log.size(), 23U);
}

TEST_F(ExchangeReadTest, AHundredThousandItemsAreReadWithoutFurtherWork) {
  Requests items = WordsAt(0, 50000);
  for (std::int32_t address = 0; address < 50000; ++address)
    items.push_back(ItemAt(ItemKind::Word, Area::InputRegisters, address));
  Hole(777);
  EXPECT_EQ(ErrorsOf(exchange.Read(items)).find("10"), 2U * 777);
  EXPECT_LE(device.TakeLog().size(), 800U + 16U);
  EXPECT_EQ(NextCycle(items).size(), 802U);
}

}  // namespace

}  // namespace orvo::modbus
