// orvo_modbus_cuts: the Modbus driver on a line that is cut and spoilt every few seconds, for as long as one
// likes. Every value is judged; the exit code is 0 without a finding, 1 with one.

#include "kit/ThreadCount.h"
#include "modbus/cuts/CutLine.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

using orvo::modbus_test::CutLine;

std::ptrdiff_t OpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// Sanitizers keep what was freed for long; they tell of leaks themselves.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool JudgesMemory = false;
#else
constexpr bool JudgesMemory = true;
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool JudgesMemory = false;
#else
constexpr bool JudgesMemory = true;
#endif
constexpr long MostGrowth = 4096;  // kB, in whatever time

void RunOnce(bool serial, std::uint64_t seed, std::chrono::milliseconds pause, std::chrono::milliseconds time) {
  const auto threads = orvo::kit::ThreadCount();
  const std::ptrdiff_t files = OpenFiles();
  {
    CutLine line(serial, seed, pause);
    line.Run(time);
    const CutLine::Counts& counts = line.Counted();
    std::cout << (serial ? "RTU" : "TCP") << ": " << counts.requests << " requests, each answered once; "
              << counts.values << " right values, " << line.Connections() << " connections\n";
    std::cout << "  memory grew by " << counts.growth << " kB after the first quarter\n";
    if (JudgesMemory && counts.growth > MostGrowth) throw std::runtime_error("memory grows");
    for (const auto& [error, count] : counts.errors)
      std::cout << "  items with " << error << ": " << count << '\n';
    for (const auto& [disturbance, count] : counts.disturbances)
      std::cout << "  " << disturbance << ": " << count << '\n';
  }
  if (orvo::kit::ThreadCount() != threads) throw std::runtime_error("threads have stayed");
  if (OpenFiles() != files) throw std::runtime_error("open files have stayed");
  std::cout << std::flush;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("The Modbus driver on a line that is cut and spoilt every few seconds; every value is judged.");
  double minutes = 1;
  std::uint64_t seed = std::random_device()();
  int pause = 2000;
  std::string kind = "both";
  app.add_option("--minutes", minutes, "how long, for each kind of line")->check(CLI::PositiveNumber);
  app.add_option("--pause", pause, "mean milliseconds between two disturbances")->check(CLI::Range(100, 60000));
  app.add_option("--seed", seed, "of the disturbances and requests; printed");
  app.add_option("--line", kind, "tcp, rtu or both")->check(CLI::IsMember({"tcp", "rtu", "both"}));
  CLI11_PARSE(app, argc, argv);
  std::cout << "seed " << seed << std::endl;
  try {
    const std::chrono::milliseconds time(static_cast<std::int64_t>(minutes * 60'000));
    for (const bool serial : {false, true})
      if (kind == "both" || (kind == "rtu") == serial)
        RunOnce(serial, seed, std::chrono::milliseconds(pause), time);
  } catch (const std::exception& error) {
    std::cerr << "FOUND with seed " << seed << ": " << error.what() << '\n';
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
