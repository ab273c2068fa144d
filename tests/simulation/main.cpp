// orvo_soak: simulated plants, seed after seed, for as long as one likes; the figures of the run, or the seed
// that failed and how to run it again.
#include "simulation/PlantSimulation.h"

#include <CLI/CLI.hpp>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

namespace orvo::testing {
namespace {

struct SoakOptions {
  std::uint64_t seeds = 1000;
  std::uint64_t firstSeed = 1;
  double hours = 1;
  std::uint64_t seed = 0;  // one alone, with its log; 0: not asked for
  bool canary = false;
};

constexpr std::array<const char*, 14> KindNames = {"",
                                                   "read items",
                                                   "write items",
                                                   "refresh items",
                                                   "read items, waiting",
                                                   "write items, waiting",
                                                   "read item, waiting",
                                                   "write item, waiting",
                                                   "",
                                                   "read group",
                                                   "write group",
                                                   "refresh group",
                                                   "read group, waiting",
                                                   "write group, waiting"};

// Kilobytes of memory that the process holds; 0 where that cannot be asked.
std::uint64_t ResidentKilobytes() {
  std::ifstream file("/proc/self/statm");
  std::uint64_t total = 0;
  std::uint64_t resident = 0;
  constexpr std::uint64_t kilobytesPerPage = 4;
  return file >> total >> resident ? resident * kilobytesPerPage : 0;
}

void Add(PlantResult& sum, const PlantResult& result) {
  sum.steps += result.steps;
  sum.actions += result.actions;
  sum.faults += result.faults;
  sum.servers += result.servers;
  const PlantTotals& totals = result.totals;
  for (std::size_t kind = 0; kind < KindNames.size(); ++kind) {
    sum.totals.made[kind] += totals.made[kind];
    sum.totals.delivered[kind] += totals.delivered[kind];
    sum.totals.notSent[kind] += totals.notSent[kind];
    sum.totals.cancelled[kind] += totals.cancelled[kind];
    sum.totals.abandoned[kind] += totals.abandoned[kind];
  }
  sum.totals.eventsExpected += totals.eventsExpected;
  sum.totals.eventsTold += totals.eventsTold;
  sum.totals.deliveredTwice += totals.deliveredTwice;
  sum.totals.strayAnswers += totals.strayAnswers;
  sum.totals.queueFull += totals.queueFull;
  sum.totals.syncTimeOuts += totals.syncTimeOuts;
}

void Print(const PlantResult& sum) {
  std::printf("steps %llu, actions of clients %llu, faults injected %llu, servers %llu\n",
              static_cast<unsigned long long>(sum.steps), static_cast<unsigned long long>(sum.actions),
              static_cast<unsigned long long>(sum.faults), static_cast<unsigned long long>(sum.servers));
  std::printf("events expected %llu, delivered %llu\n",
              static_cast<unsigned long long>(sum.totals.eventsExpected),
              static_cast<unsigned long long>(sum.totals.eventsTold));
  std::printf(
      "stray answers %llu, requests delivered twice by them %llu, full queues %llu, time-outs of callers "
      "%llu\n",
      static_cast<unsigned long long>(sum.totals.strayAnswers),
      static_cast<unsigned long long>(sum.totals.deliveredTwice),
      static_cast<unsigned long long>(sum.totals.queueFull),
      static_cast<unsigned long long>(sum.totals.syncTimeOuts));
  std::printf("%-22s %12s %12s %12s %12s %12s\n", "requests", "made", "delivered", "not sent", "cancelled",
              "abandoned");
  for (std::size_t kind = 0; kind < KindNames.size(); ++kind) {
    if (sum.totals.made[kind] == 0) continue;
    std::printf("%-22s %12llu %12llu %12llu %12llu %12llu\n", KindNames[kind],
                static_cast<unsigned long long>(sum.totals.made[kind]),
                static_cast<unsigned long long>(sum.totals.delivered[kind]),
                static_cast<unsigned long long>(sum.totals.notSent[kind]),
                static_cast<unsigned long long>(sum.totals.cancelled[kind]),
                static_cast<unsigned long long>(sum.totals.abandoned[kind]));
  }
}

int Soak(const SoakOptions& options) {
  const bool alone = options.seed != 0;
  const std::uint64_t first = alone ? options.seed : options.firstSeed;
  const std::uint64_t seeds = alone ? 1 : options.seeds;
  const auto length = std::chrono::milliseconds(static_cast<std::int64_t>(options.hours * 3'600'000.0));
  const auto start = std::chrono::steady_clock::now();
  PlantResult sum;
  const std::uint64_t memoryAtStart = ResidentKilobytes();
  std::uint64_t memoryAfterFirst = 0;
  for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
    PlantSimulation simulation({seed, length, alone ? &std::cout : nullptr, options.canary});
    const PlantResult result = simulation.Run();
    Add(sum, result);
    sum.hash = result.hash;
    if (!result.failure.empty()) {
      std::printf("%sseed %llu FAILED: %s\nreplay: ./run soak --seed %llu --hours %g%s\n",
                  alone ? "" : result.tail.c_str(), static_cast<unsigned long long>(seed),
                  result.failure.c_str(), static_cast<unsigned long long>(seed), options.hours,
                  options.canary ? " --canary" : "");
      std::fflush(stdout);
      return 1;
    }
    // After the first one: what every run needs is there by then.
    if (seed == first) memoryAfterFirst = ResidentKilobytes();
  }
  const double minutes =
      std::chrono::duration<double, std::ratio<60>>(std::chrono::steady_clock::now() - start).count();
  std::printf("%llu seeds from %llu on, %g virtual hours each, all as they must be\n",
              static_cast<unsigned long long>(seeds), static_cast<unsigned long long>(first), options.hours);
  Print(sum);
  std::printf("resident memory at the start %llu kB, after the first seed %llu kB, at the end %llu kB\n",
              static_cast<unsigned long long>(memoryAtStart), static_cast<unsigned long long>(memoryAfterFirst),
              static_cast<unsigned long long>(ResidentKilobytes()));
  std::printf("%.2f minutes, %.0f seeds per minute\n", minutes, static_cast<double>(seeds) / minutes);
  if (alone) std::printf("hash of the log %016llx\n", static_cast<unsigned long long>(sum.hash));
  return 0;
}

}  // namespace
}  // namespace orvo::testing

int main(int argc, char** argv) {
  orvo::testing::SoakOptions options;
  CLI::App app(
      "Simulated plants in virtual time, seed after seed; exit code 1 and the failing seed when one is wrong");
  app.add_option("--seeds", options.seeds, "how many seeds")->capture_default_str()->check(CLI::PositiveNumber);
  app.add_option("--first-seed", options.firstSeed, "the first of them")->capture_default_str();
  app.add_option("--hours", options.hours, "virtual hours per seed")
      ->capture_default_str()
      ->check(CLI::PositiveNumber);
  app.add_option("--seed", options.seed, "this seed alone, with every step as a line")
      ->check(CLI::PositiveNumber);
  app.add_flag("--canary", options.canary, "breaks a promise on purpose: the run must fail");
  CLI11_PARSE(app, argc, argv);
  return orvo::testing::Soak(options);
}
