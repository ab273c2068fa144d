// How a list of places becomes requests.

#include "modbus/ReadPlan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace orvo::modbus {

namespace {

using Places = std::vector<Span>;

Span WordPlace(std::int32_t address) {
  return {Area::HoldingRegisters, address, 1};
}
Span WordPlaces(std::int32_t address, std::int32_t count) {
  return {Area::HoldingRegisters, address, count};
}
Places WordsInARow(std::int32_t first, std::int32_t count) {
  Places places;
  for (std::int32_t k = 0; k < count; ++k)
    places.push_back(WordPlace(first + k));
  return places;
}

// "4:0+125" for each block.
std::string BlocksOf(const Places& places, const Obstacles& obstacles = {}, std::int32_t gap = 16) {
  std::string text;
  for (const ReadBlock& block : PlanReads(places, gap, obstacles)) {
    if (!text.empty()) text += ' ';
    text += std::string(1, DigitOf(block.span.area)) + ':' + std::to_string(block.span.start) + '+' +
            std::to_string(block.span.count);
  }
  return text;
}

// What every plan must be, whatever the places are.
void ExpectSoundPlan(const Places& places, std::int32_t gap, const std::vector<ReadBlock>& blocks) {
  std::vector<int> served(places.size());
  for (const ReadBlock& block : blocks) {
    ASSERT_LE(block.span.count, MostRead(block.span.area));
    ASSERT_FALSE(block.items.empty());
    std::int32_t end = block.span.start;
    for (const std::size_t item : block.items) {
      ++served[item];
      ASSERT_EQ(places[item].area, block.span.area);
      ASSERT_GE(places[item].start, block.span.start);
      ASSERT_LE(places[item].start - end, GapOf(block.span.area, gap));
      end = std::max(end, places[item].End());
    }
    ASSERT_EQ(end, block.span.End()) << "a block is no longer than its items";
    ASSERT_EQ(places[block.items.front()].start, block.span.start);
  }
  EXPECT_EQ(std::count(served.begin(), served.end(), 1), static_cast<std::ptrdiff_t>(served.size()))
      << "each item is in one block";
}

// The smallest number of blocks by trying every way to share few places out.
std::size_t LeastBlocks(const Places& places, std::int32_t gap) {
  std::size_t least = places.size();
  std::vector<std::size_t> share(places.size());
  const auto fits = [&](std::size_t block) {
    Places own;
    for (std::size_t k = 0; k < places.size(); ++k)
      if (share[k] == block) own.push_back(places[k]);
    std::sort(own.begin(), own.end(), [](const Span& a, const Span& b) {
      return std::pair(a.area, a.start) < std::pair(b.area, b.start);
    });
    std::int32_t end = own.front().End();
    for (const Span& place : own) {
      if (place.area != own.front().area || place.start - end > GapOf(place.area, gap)) return false;
      end = std::max(end, place.End());
    }
    return end - own.front().start <= MostRead(own.front().area);
  };
  const auto assign = [&](const auto& self, std::size_t k, std::size_t blocks) -> void {
    if (blocks >= least) return;
    if (k == places.size()) {
      for (std::size_t block = 0; block < blocks; ++block)
        if (!fits(block)) return;
      least = blocks;
      return;
    }
    for (share[k] = 0; share[k] <= blocks; ++share[k])
      self(self, k + 1, std::max(blocks, share[k] + 1));
  };
  assign(assign, 0, 0);
  return least;
}

Places RandomPlaces(std::mt19937& dice, std::size_t count, std::int32_t reach) {
  const auto below = [&](std::int32_t end) {
    return std::uniform_int_distribution<std::int32_t>(0, end - 1)(dice);
  };
  Places places;
  for (std::size_t k = 0; k < count; ++k) {
    const auto area = static_cast<Area>(below(4));
    std::int32_t length = 1;
    if (!HoldsBits(area)) length = below(3) == 0 ? 1 + below(123) : 1 + below(2);
    places.push_back({area, below(HoldsBits(area) ? 16 * reach : reach), length});
  }
  return places;
}

}  // namespace

TEST(ReadPlan, AnEmptyListNeedsNoRequest) {
  EXPECT_EQ(BlocksOf({}), "");
}

TEST(ReadPlan, AThousandRegistersInARowAreEightRequests) {
  EXPECT_EQ(BlocksOf(WordsInARow(0, 1000)),
            "4:0+125 4:125+125 4:250+125 4:375+125 4:500+125 4:625+125 4:750+125 4:875+125");
}

TEST(ReadPlan, NeighboursShareARequestUpToTheGap) {
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(27)}), "4:10+18");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(28)}), "4:10+1 4:28+1");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(12)}, {}, 0), "4:10+1 4:12+1");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(11)}, {}, 0), "4:10+2");
}

TEST(ReadPlan, OfBitsTheGapIsSixteenTimesAsLargeAndTheLimitTwoThousand) {
  const auto coil = [](std::int32_t address) { return Span{Area::Coils, address, 1}; };
  EXPECT_EQ(BlocksOf({coil(0), coil(257)}), "0:0+258");
  EXPECT_EQ(BlocksOf({coil(0), coil(258)}), "0:0+1 0:258+1");
  Places all;
  for (std::int32_t k = 0; k < 4001; ++k)
    all.push_back(coil(k));
  EXPECT_EQ(BlocksOf(all), "0:0+2000 0:2000+2000 0:4000+1");
}

TEST(ReadPlan, AreasNeverShareARequest) {
  EXPECT_EQ(BlocksOf({{Area::HoldingRegisters, 0, 1},
                      {Area::InputRegisters, 0, 1},
                      {Area::DiscreteInputs, 0, 1},
                      {Area::Coils, 0, 1}}),
            "0:0+1 1:0+1 3:0+1 4:0+1");
}

TEST(ReadPlan, APlaceIsNeverDivided) {
  EXPECT_EQ(BlocksOf({WordPlaces(0, 123), WordPlaces(123, 2)}), "4:0+125");
  EXPECT_EQ(BlocksOf({WordPlaces(0, 124), WordPlaces(124, 2)}), "4:0+124 4:124+2");
  EXPECT_EQ(BlocksOf({WordPlace(0), WordPlaces(3, 123)}), "4:0+1 4:3+123");
}

TEST(ReadPlan, EqualAndOverlappingPlacesAreReadOnce) {
  const Places places{WordPlace(5), WordPlaces(5, 2), WordPlace(5), WordPlaces(4, 3), WordPlace(6)};
  const auto blocks = PlanReads(places, 16, {});
  ASSERT_EQ(blocks.size(), 1U);
  EXPECT_EQ(blocks[0].span, WordPlaces(4, 3));
  EXPECT_EQ(blocks[0].items, (std::vector<std::size_t>{3, 0, 2, 1, 4}));
}

TEST(ReadPlan, APlaceThatOverlapsABlockWithoutFittingBeginsItsOwn) {
  EXPECT_EQ(BlocksOf({WordPlace(0), WordPlaces(16, 84), WordPlaces(90, 100), WordPlace(95), WordPlace(190)}),
            "4:0+100 4:90+101");
}

TEST(ReadPlan, TheOrderOfTheListMakesNoDifference) {
  Places places = WordsInARow(0, 300);
  std::mt19937 dice(1);
  std::shuffle(places.begin(), places.end(), dice);
  EXPECT_EQ(BlocksOf(places), "4:0+125 4:125+125 4:250+50");
}

TEST(ReadPlan, NoBlockReachesOverACut) {
  Obstacles obstacles;
  obstacles.PutCut(Area::HoldingRegisters, 20);
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(20)}, obstacles), "4:10+1 4:20+1");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(21)}, obstacles), "4:10+1 4:21+1");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlace(19)}, obstacles), "4:10+10");
  EXPECT_EQ(BlocksOf({WordPlace(20), WordPlace(30)}, obstacles), "4:20+11");
  EXPECT_EQ(BlocksOf({{Area::InputRegisters, 10, 1}, {Area::InputRegisters, 20, 1}}, obstacles), "3:10+11");
  EXPECT_EQ(BlocksOf({WordPlace(10), WordPlaces(19, 2)}, obstacles), "4:10+1 4:19+2")
      << "an item that reaches over it itself is still read, but not with those before it";
}

TEST(ReadPlan, OverlappingPlacesAreKeptApartWhereTheSecondBeginsAtACut) {
  Obstacles obstacles;
  obstacles.PutCut(Area::HoldingRegisters, 20);
  EXPECT_EQ(BlocksOf({WordPlaces(10, 20), WordPlaces(20, 20)}, obstacles), "4:10+20 4:20+20");
  EXPECT_EQ(BlocksOf({WordPlaces(10, 20), WordPlaces(20, 5)}, obstacles), "4:10+20")
      << "it costs nothing where it lies inside";
}

TEST(ReadPlan, ALonelyPlaceHasARequestOfItsOwnAndIsNotBridged) {
  Obstacles obstacles;
  obstacles.PutAlone(WordPlace(15));
  EXPECT_EQ(BlocksOf(WordsInARow(10, 10), obstacles), "4:10+5 4:15+1 4:16+4");
  EXPECT_EQ(BlocksOf({WordPlace(14), WordPlace(16)}, obstacles), "4:14+1 4:16+1")
      << "also when nobody asks for it";
  EXPECT_EQ(BlocksOf({WordPlace(15), WordPlace(15)}, obstacles), "4:15+1") << "equal places share it";
  EXPECT_EQ(BlocksOf({WordPlace(13), WordPlaces(15, 2), WordPlace(17)}, obstacles), "4:13+5")
      << "an item that holds it may be readable still";
}

TEST(ReadPlan, WhatLiesInsideALonelyPlaceIsReadWithItsNeighbours) {
  Obstacles obstacles;
  obstacles.PutAlone(WordPlaces(10, 2));
  EXPECT_EQ(BlocksOf({WordPlace(9), WordPlace(10), WordPlaces(10, 2), WordPlace(12), WordPlace(13)}, obstacles),
            "4:9+2 4:10+2 4:12+2");
}

TEST(ReadPlan, WhatIsForgottenIsNoObstacleAnyMore) {
  Obstacles obstacles;
  EXPECT_EQ(obstacles.Version(), 0U);
  obstacles.PutAlone(WordPlace(15));
  obstacles.PutAlone(WordPlace(15));
  EXPECT_EQ(obstacles.Version(), 1U) << "nothing new";
  obstacles.Forget(WordPlace(15));
  EXPECT_EQ(obstacles.Version(), 2U);
  obstacles.Forget(WordPlace(15));
  EXPECT_EQ(obstacles.Version(), 2U);
  EXPECT_EQ(BlocksOf(WordsInARow(10, 10), obstacles), "4:10+10");
  obstacles.PutCut(Area::HoldingRegisters, 12);
  obstacles.ForgetNextCut();
  EXPECT_EQ(obstacles.Version(), 4U);
  EXPECT_EQ(BlocksOf(WordsInARow(10, 10), obstacles), "4:10+10");
}

TEST(ReadPlan, NoWayToShareOutPlacesNeedsFewerRequests) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 dice(seed);
  for (int round = 0; round < 400; ++round) {
    const Places places = RandomPlaces(dice, 1 + dice() % 7, 260);
    const std::int32_t gap = round % 2 == 0 ? 16 : static_cast<std::int32_t>(dice() % 125);
    const auto blocks = PlanReads(places, gap, {});
    ExpectSoundPlan(places, gap, blocks);
    ASSERT_EQ(blocks.size(), LeastBlocks(places, gap)) << "round " << round;
  }
}

TEST(ReadPlan, LargeListsKeepTheRules) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 dice(seed);
  for (int round = 0; round < 6; ++round) {
    const Places places = RandomPlaces(dice, 3000, round % 2 == 0 ? 3000 : 60000);
    const std::int32_t gap = static_cast<std::int32_t>(dice() % 125);
    ExpectSoundPlan(places, gap, PlanReads(places, gap, {}));
  }
}

TEST(ReadPlan, AHundredThousandItemsArePlanned) {
  Places places;
  for (std::int32_t k = 0; k < 100000; ++k)
    places.push_back(k < 50000 ? WordPlace(k) : Span{Area::InputRegisters, k - 50000, 1});
  EXPECT_EQ(PlanReads(places, 16, {}).size(), 800U);
}

}  // namespace orvo::modbus
