// What a device may cost that keeps silent to addresses or refuses more than it answers, and for how long
// something learned of it holds.

#include "ExchangeFixture.h"
#include "modbus/Silences.h"

#include <algorithm>

namespace orvo::modbus {

namespace {

class ExchangeLimitsTest : public ExchangeTest {
 public:
  void Silent(std::int32_t address) { device.silentAt.insert({Area::HoldingRegisters, address}); }
  void Refuse(std::int32_t first, std::int32_t count) {
    for (std::int32_t address = first; address < first + count; ++address)
      device.holes.insert({Area::HoldingRegisters, address});
  }
  std::string ErrorsOfCycle(const Requests& items) { return ErrorsOf(exchange.Read(items)); }
  // How often a request for this was asked since the log was taken.
  std::ptrdiff_t Times(const std::string& request) const {
    return std::count(device.log.begin(), device.log.end(), request);
  }
};

// Four blocks, one word each.
const Requests FourBlocks{WordAt(0), WordAt(100), WordAt(200), WordAt(300)};

TEST_F(ExchangeLimitsTest, ASilentAddressTakesNothingButItsBlockAwayFromTheSecondCycleOn) {
  Silent(100);
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "0 3 5 5");
  device.TakeLog();
  for (int cycle = 0; cycle < 3; ++cycle) {
    EXPECT_EQ(Wrong(FourBlocks, exchange.Read(FourBlocks), {{1, NoAnswer}}), "");
    EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+1", "read 4:200+1", "read 4:300+1", "read 4:100+1"}));
  }
  device.silentAt.clear();
  EXPECT_EQ(Wrong(FourBlocks, exchange.Read(FourBlocks)), "");
  EXPECT_EQ(device.TakeLog().back(), "read 4:100+1");
  EXPECT_EQ(Wrong(FourBlocks, exchange.Read(FourBlocks)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+1", "read 4:100+1", "read 4:200+1", "read 4:300+1"}))
      << "it answered, so it has its place again";
}

TEST_F(ExchangeLimitsTest, TwoSilentBlocksAreAskedInTurn) {
  Silent(0);
  Silent(200);
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "3 5 5 5");
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "5 0 3 5");
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "3 0 5 0");
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "5 0 3 0");
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "3 0 5 0");
  device.silentAt.erase({Area::HoldingRegisters, 200});
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "3 0 0 0");
  device.silentAt.clear();
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "0 0 0 0");
}

TEST_F(ExchangeLimitsTest, WhatKeptSilentIsRememberedBeyondTheConnectionAndForEachList) {
  Silent(100);
  const Requests other{WordAt(99), WordAt(100), WordAt(400)};
  EXPECT_EQ(ErrorsOfCycle(FourBlocks), "0 3 5 5");
  ++device.connections;
  EXPECT_EQ(ErrorsOfCycle(other), "3 3 0") << "another block with the same address";
  ++device.connections;
  for (int cycle = 0; cycle < 3; ++cycle) {
    EXPECT_EQ(ErrorsOfCycle(FourBlocks), "0 3 0 0");
    EXPECT_EQ(ErrorsOfCycle(other), "3 3 0");
  }
}

TEST_F(ExchangeLimitsTest, AGatewayThatDoesNotReachADeviceAndAConnectionThatEndsAtAnAddressCountAsSilence) {
  Answer ended{Answer::Kind::Broken, 0, "ended"};
  ended.mayHaveArrived = true;
  for (const Answer& answer : {FakeDevice::Refusal(10), FakeDevice::Refusal(11), ended}) {
    FakeDevice answering;
    answering.script[0] = answer;
    Exchange fresh(answering, options);
    fresh.Read(FourBlocks);
    answering.TakeLog();
    answering.script.clear();
    EXPECT_EQ(ErrorsOf(fresh.Read(FourBlocks)), "0 0 0 0");
    EXPECT_EQ(answering.log.back(), "read 4:0+1") << "exception " << int{answer.exception};
  }
  FakeDevice away;
  away.script[0] = {Answer::Kind::Broken, 0, "not connected"};
  Exchange fresh(away, options);
  fresh.Read(FourBlocks);
  away.TakeLog();
  away.script.clear();
  fresh.Read(FourBlocks);
  EXPECT_EQ(away.log.front(), "read 4:0+1") << "nothing went out, so nothing is known of it";
}

TEST_F(ExchangeLimitsTest, TheHalfOfARefusedBlockThatKeepsSilentDoesNotStarveTheOther) {
  const Requests items = WordsAt(0, 8);
  Silent(1);
  device.holeException = 2;
  Refuse(5, 1);
  device.script[0] = FakeDevice::Refusal(2);
  EXPECT_EQ(ErrorsOfCycle(items), "3 3 3 3 5 5 5 5");
  device.TakeLog();
  device.script[0] = FakeDevice::Refusal(2);
  EXPECT_EQ(ErrorsOfCycle(items), "3 3 3 3 0 10 0 0");
}

TEST_F(ExchangeLimitsTest, TheOldestOfTooManySilencesIsForgotten) {
  Silences silences;
  const auto place = [](std::size_t k) { return Span{Area::Coils, static_cast<std::int32_t>(k), 1}; };
  for (std::size_t k = 0; k <= Silences::Most; ++k)
    silences.Put(place(k));
  EXPECT_EQ(silences.RankOf(place(0)), 0U);
  EXPECT_EQ(silences.RankOf(place(1)), 1U);
  silences.Put(place(1));
  EXPECT_EQ(silences.RankOf(place(1)), Silences::Most) << "the newest now";
  EXPECT_EQ(silences.RankOf({Area::Coils, 2, 5}), 5U - 0U) << "the newest that it touches";
  EXPECT_EQ(silences.RankOf({Area::DiscreteInputs, 2, 5}), 0U);
  silences.Forget({Area::Coils, 0, 1000});
  EXPECT_TRUE(silences.IsEmpty());
}

TEST_F(ExchangeLimitsTest, FiveHundredRefusedWordsCostABoundedNumberOfRequestsAndComeBackWhenTheyAnswer) {
  const Requests items = WordsAt(0, 500);
  Refuse(0, 500);
  std::string refused = "10";
  for (int k = 1; k < 500; ++k)
    refused += " 10";
  for (int cycle = 0; cycle < 40; ++cycle) {
    ASSERT_EQ(ErrorsOfCycle(items), refused) << "cycle " << cycle;
    // Each item is in at most one block, and the blocks grow by cuts only where a division stopped.
    ASSERT_LE(device.TakeLog().size(), 4U + 64U + 60U) << "cycle " << cycle;
  }
  ErrorsOfCycle(items);
  EXPECT_EQ(device.TakeLog().size(), 64U) << "all of them are known: asked in turn";
  device.holes.clear();
  int cycles = 0;
  while (!Wrong(items, exchange.Read(items)).empty()) {
    ASSERT_LE(device.TakeLog().size(), 64U + 125U);
    ASSERT_LT(++cycles, 10);
  }
}

TEST_F(ExchangeLimitsTest, RefusedWordsAreAskedForInTurnAndKeepTheErrorThatTheyHadLast) {
  const Requests items = WordsAt(0, 200);
  Refuse(0, 200);
  for (int cycle = 0; cycle < 30; ++cycle)
    exchange.Read(items);
  device.TakeLog();
  device.holeException = 4;
  std::size_t failed = 0;
  for (std::size_t cycle = 1; cycle <= 4; ++cycle) {
    const ItemResults results = exchange.Read(items);
    failed = static_cast<std::size_t>(std::count(results.errors.begin(), results.errors.end(), WrongAnswer));
    EXPECT_EQ(failed, std::min<std::size_t>(64 * cycle, 200)) << "the others still have what they had";
    EXPECT_EQ(std::count(results.errors.begin(), results.errors.end(), BadValue),
              static_cast<std::ptrdiff_t>(200 - failed));
  }
}

TEST_F(ExchangeLimitsTest, AmongRefusedWordsThoseThatCanBeReadAreFoundWithinSomeCycles) {
  Requests items = WordsAt(0, 500);
  std::vector<std::pair<std::size_t, std::int32_t>> errors;
  for (std::int32_t address = 0; address < 500; ++address) {
    if (address % 3 == 0) continue;
    Refuse(address, 1);
    errors.emplace_back(address, BadValue);
  }
  int cycles = 0;
  while (!Wrong(items, exchange.Read(items), errors).empty())
    ASSERT_LT(++cycles, 40);
  EXPECT_EQ(Wrong(items, exchange.Read(items), errors), "") << "and stay so";
}

TEST_F(ExchangeLimitsTest, ALongWayToTheTroubleIsNotGoneAgainAndAgainInVain) {
  // Refused words leave half of the budget to divisions, less than it takes from here to the last coil.
  Requests items;
  std::vector<std::pair<std::size_t, std::int32_t>> errors;
  for (std::int32_t k = 0; k < 40; ++k) {
    errors.emplace_back(items.size(), BadValue);
    items.push_back(WordAt(100 * k));
    Refuse(100 * k, 1);
  }
  exchange.Read(items);
  for (std::int32_t k = 0; k < 1000; ++k)
    items.push_back(CoilAt(2 * k));
  errors.emplace_back(items.size() - 1, BadValue);
  device.holes.insert({Area::Coils, 1998});
  int cycles = 0;
  while (!Wrong(items, exchange.Read(items), errors).empty())
    ASSERT_LT(++cycles, 6);
}

TEST_F(ExchangeLimitsTest, WordsThatAnswerAgainDoNotWaitForTheEndOfManyDivisions) {
  Requests items;
  for (std::int32_t k = 0; k < 40; ++k) {
    items.push_back(WordAt(10000 + 100 * k));
    Refuse(10000 + 100 * k, 1);
  }
  exchange.Read(items);
  device.holes.clear();
  Refuse(0, 500);
  for (std::int32_t address = 0; address < 500; ++address)
    items.push_back(WordAt(address));
  exchange.Read(items);
  const ItemResults results = exchange.Read(items);
  EXPECT_EQ(std::count(results.errors.begin(), results.errors.begin() + 40, NoError), 40);
}

TEST_F(ExchangeLimitsTest, ACutIsForgottenInTheEndAndLearnedAgainWhereItHolds) {
  const Requests items{WordAt(0), WordAt(10), WordAt(1000), WordAt(1010)};
  Refuse(5, 1);
  Refuse(1005, 1);
  exchange.Read(items);
  device.holes.erase({Area::HoldingRegisters, 1005});
  for (std::uint64_t read = 0; read < 4 * ItemReader::ReadsPerCut; ++read)
    ASSERT_EQ(Wrong(items, exchange.Read(items)), "") << "no value is the price of it";
  device.TakeLog();
  exchange.Read(items);
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+1", "read 4:10+1", "read 4:1000+11"}))
      << "each cut has its turn";
}

TEST_F(ExchangeLimitsTest, OnConnectionsThatLastForOneListEachBlockIsLearnedToo) {
  Requests items;
  for (std::int32_t block = 0; block < 8; ++block) {
    for (std::int32_t word = 0; word < 100; ++word)
      items.push_back(WordAt(1000 * block + word));
    Refuse(1000 * block + 37, 1);
  }
  for (int cycle = 0; cycle < 40; ++cycle) {
    ++device.connections;
    exchange.Read(items);
  }
  device.TakeLog();
  const ItemResults results = exchange.Read(items);
  EXPECT_EQ(std::count(results.errors.begin(), results.errors.end(), NoError), 8 * 99);
  EXPECT_LE(device.TakeLog().size(), 8U * 3 + 4) << "the two parts and the bad word of each block";
}

TEST_F(ExchangeLimitsTest, WhatIsLearnedOnTwoConnectionsIsNotLearned) {
  const Requests items{WordAt(0), WordAt(10), WordAt(200)};
  Refuse(5, 1);
  device.reconnects = {1};
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+11", "read 4:0+1", "read 4:10+1", "read 4:200+1"}));
  device.reconnects.clear();
  device.holes.clear();
  exchange.Read(items);
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+11", "read 4:200+1"})) << "another device may have refused it";
}

TEST_F(ExchangeLimitsTest, WhatWasLearnedServesOnWhenTheConnectionChangesInsideAList) {
  const Requests items{WordAt(0), WordAt(10), WordAt(200)};
  Refuse(5, 1);
  exchange.Read(items);
  device.TakeLog();
  device.reconnects = {2};
  EXPECT_EQ(Wrong(items, exchange.Read(items)), "");
  device.holes.clear();
  device.reconnects.clear();
  device.TakeLog();
  exchange.Read(items);
  EXPECT_EQ(device.TakeLog(), (Asked{"read 4:0+1", "read 4:10+1", "read 4:200+1"}));
}

TEST_F(ExchangeLimitsTest, ListsInTurnHaveTheirOwnItems) {
  std::vector<Requests> lists;
  for (std::int32_t k = 0; k < 12; ++k)
    lists.push_back(WordsAt(10 * k, 3 + k));
  for (int cycle = 0; cycle < 3; ++cycle)
    for (const Requests& items : lists)
      ASSERT_EQ(Wrong(items, exchange.Read(items)), "");
  Refuse(40, 1);
  for (int cycle = 0; cycle < 3; ++cycle)
    for (std::size_t k = 0; k < 4; ++k)
      ASSERT_EQ(Wrong(lists[k], exchange.Read(lists[k])), "");
  EXPECT_EQ(Wrong(lists[4], exchange.Read(lists[4]), {{0, BadValue}}), "");
}

}  // namespace

}  // namespace orvo::modbus
