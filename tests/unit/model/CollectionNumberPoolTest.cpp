#include "model/NumberPool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

constexpr std::int32_t Largest = std::numeric_limits<std::int32_t>::max();

TEST(NumberPool, AnEmptyPoolOffersOne) {
  const NumberPool pool;
  EXPECT_EQ(pool.LowestFree(), 1);
  EXPECT_FALSE(pool.Contains(1));
}

// Each row: what is done to an empty pool (negative: released), the lowest free number then, and what is used.
struct PoolRow {
  std::vector<std::int32_t> steps;
  std::int32_t lowestFree;
  std::vector<std::int32_t> used;
};

TEST(NumberPool, OffersTheLowestNumberThatIsNotInUse) {
  const std::vector<PoolRow> rows{
      {{1}, 2, {1}},
      {{2}, 1, {2}},
      {{2, 1}, 3, {1, 2}},
      {{1, 2, 3}, 4, {1, 2, 3}},
      {{1, 3, 2}, 4, {1, 2, 3}},
      {{1, 3}, 2, {1, 3}},
      {{5, 3, 1, 2}, 4, {1, 2, 3, 5}},
      {{5, 3, 1, 2, 4}, 6, {1, 2, 3, 4, 5}},
      {{1, 2, 3, -2}, 2, {1, 3}},
      {{1, 2, 3, -1}, 1, {2, 3}},
      {{1, 2, 3, -3}, 3, {1, 2}},
      {{1, 2, 3, -3, -1}, 1, {2}},
      {{1, -1}, 1, {}},
      {{1, 2, 3, 4, 5, -3, -2}, 2, {1, 4, 5}},
      {{1, 1}, 2, {1}},
      {{1, 2, 2, 1}, 3, {1, 2}},
      {{-1}, 1, {}},
      {{1, -2}, 2, {1}},
      {{1, 2, 3, -2, -2}, 2, {1, 3}},
      {{Largest}, 1, {Largest}},
      {{Largest - 1, Largest}, 1, {Largest - 1, Largest}},
      {{Largest, Largest - 1, -Largest}, 1, {Largest - 1}},
      {{Largest - 2, Largest - 1, Largest, -(Largest - 1)}, 1, {Largest - 2, Largest}},
  };
  for (std::size_t k = 0; k < rows.size(); ++k) {
    SCOPED_TRACE("row " + std::to_string(k));
    const PoolRow& row = rows[k];
    NumberPool pool;
    for (const std::int32_t step : row.steps) {
      if (step > 0)
        pool.Take(step);
      else
        pool.Release(-step);
    }
    EXPECT_EQ(pool.LowestFree(), row.lowestFree);
    const std::set<std::int32_t> used(row.used.begin(), row.used.end());
    for (const std::int32_t number : {1, 2, 3, 4, 5, 6, Largest - 2, Largest - 1, Largest})
      EXPECT_EQ(pool.Contains(number), used.contains(number)) << number;
  }
}

TEST(NumberPool, ClearingFreesEveryNumber) {
  NumberPool pool;
  for (const std::int32_t number : {1, 2, 7})
    pool.Take(number);
  pool.Clear();
  EXPECT_EQ(pool.LowestFree(), 1);
  EXPECT_FALSE(pool.Contains(7));
}

TEST(NumberPool, AgreesWithASetOfNumbersWhateverIsTakenAndReleased) {
  const std::uint32_t seed = std::random_device{}();
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  NumberPool pool;
  std::set<std::int32_t> used;
  for (int step = 0; step < 20000; ++step) {
    const auto number = static_cast<std::int32_t>(random() % 40 + 1);
    if (random() % 2 == 0) {
      pool.Take(number);
      used.insert(number);
    } else {
      pool.Release(number);
      used.erase(number);
    }
    std::int32_t lowest = 1;
    while (used.contains(lowest))
      ++lowest;
    ASSERT_EQ(pool.LowestFree(), lowest) << "step " << step;
    for (std::int32_t probe = 0; probe <= 41; ++probe)
      ASSERT_EQ(pool.Contains(probe), used.contains(probe)) << "step " << step << ", number " << probe;
  }
}

}  // namespace
}  // namespace orvo::testing
