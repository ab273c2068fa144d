// Seeds of a simulated plant, one virtual hour each, and the simulation itself: the same seed does the same.
#include "simulation/PlantSimulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <set>
#include <string>

namespace orvo::testing {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t Seeds = 100;
constexpr int Shares = 4;  // each a test of its own, so that they can run side by side

PlantResult RunSeed(std::uint64_t seed, std::chrono::milliseconds length) {
  PlantSimulation simulation({seed, length, nullptr, false});
  return simulation.Run();
}

class SimulatedPlant : public ::testing::TestWithParam<int> {};

TEST_P(SimulatedPlant, DoesForAnHourWhatItsModelDoes) {
  for (std::uint64_t seed = 1 + static_cast<std::uint64_t>(GetParam()); seed <= Seeds; seed += Shares) {
    std::cout << "seed " << seed << std::endl;
    const PlantResult result = RunSeed(seed, 1h);
    ASSERT_EQ(result.failure, "") << result.tail << "seed " << seed << ": replay: ./run soak --seed " << seed;
    EXPECT_GT(result.steps, 4000U) << seed;
    EXPECT_GT(result.actions, 500U) << seed;
    EXPECT_GT(result.totals.eventsTold, 100U) << seed;
    EXPECT_GT(result.faults, 20U) << seed;
  }
}

INSTANTIATE_TEST_SUITE_P(Shares, SimulatedPlant, ::testing::Range(0, Shares));

TEST(SimulationOfAPlant, DoesTheSameForTheSameSeedAndOtherThingsForOthers) {
  std::set<std::uint64_t> hashes;
  for (std::uint64_t seed = 1; seed <= 8; ++seed) {
    const PlantResult first = RunSeed(seed, 3min);
    const PlantResult second = RunSeed(seed, 3min);
    EXPECT_EQ(first.hash, second.hash) << seed;
    EXPECT_EQ(first.steps, second.steps) << seed;
    hashes.insert(first.hash);
  }
  EXPECT_EQ(hashes.size(), 8U);
}

TEST(SimulationOfAPlant, FailsTheSameWayEachTimeWhenAServerBreaksAPromise) {
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    const auto run = [seed] { return PlantSimulation({seed, 10min, nullptr, true}).Run(); };
    const PlantResult first = run();
    const PlantResult second = run();
    EXPECT_NE(first.failure, "") << seed;
    EXPECT_EQ(first.failure, second.failure) << seed;
    EXPECT_EQ(first.hash, second.hash) << seed;
    EXPECT_NE(first.tail.find("FAILED"), std::string::npos) << seed;
  }
}

}  // namespace
}  // namespace orvo::testing
