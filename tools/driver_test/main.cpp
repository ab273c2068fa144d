// orvo-driver-test: the driver test kit as a program.

#include "Options.h"
#include "errors/AutomationError.h"
#include "kit/DriverTestKit.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "platform/portable/SystemLibraries.h"
#include "spooler/DriverLibraries.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>

namespace orvo::driver_test {

namespace {

std::size_t NameWidth() {
  std::size_t width = 0;
  for (const kit::CheckInfo& check : kit::DriverTestKit::Checks())
    width = std::max(width, check.name.size());
  return width;
}

void PrintChecks() {
  const auto width = static_cast<int>(NameWidth());
  for (const kit::CheckInfo& check : kit::DriverTestKit::Checks())
    std::cout << std::left << std::setw(width) << check.name << "  " << check.asks << '\n';
}

const char* VerdictText(kit::Verdict verdict) {
  switch (verdict) {
    case kit::Verdict::Passed:
      return "passed";
    case kit::Verdict::Failed:
      return "FAILED";
    default:
      return "-     ";
  }
}

// Line by line as they come: a driver that takes the program with it has its last check on the screen.
void PrintResult(const kit::CheckResult& result, std::size_t width) {
  std::cout << VerdictText(result.verdict) << "  ";
  if (result.detail.empty()) {
    std::cout << result.check.name;
  } else {
    std::cout << std::left << std::setw(static_cast<int>(width)) << result.check.name << "  " << result.detail;
    if (result.verdict == kit::Verdict::Failed) std::cout << "; asked: " << result.check.asks;
  }
  std::cout << std::endl;
}

int Test(const Options& options) {
  PortablePlatform platform;
  DiskFiles files;
  SystemLibraries loader;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  const char* const variable = std::getenv(DriverLibraries::PathVariable);
  std::vector<std::string> folders = options.folders;
  for (const std::string& folder :
       DriverLibraries::SearchPath(variable, {SystemLibraries::NextToProgram(ORVO_DRIVER_FOLDER)}))
    folders.push_back(folder);
  const DriverLibraries libraries(loader, std::move(folders));
  DriverRegistry registry;
  libraries.PlugInto(registry);
  try {
    registry.Create(options.progId, {platform, files});
  } catch (const AutomationError& error) {
    // A library that cannot be had is no failed check; a factory that fails is one.
    if (error.Number() == static_cast<std::int32_t>(RuntimeError::CannotCreateObject)) throw;
  }

  kit::DriverTestKit kit(
      platform, files, [&](DriverHost host) { return registry.Create(options.progId, host); }, options.plan);
  const std::size_t width = NameWidth();
  const auto results = kit.Run([&](const kit::CheckResult& result) { PrintResult(result, width); });
  const auto count = [&](kit::Verdict verdict) {
    return std::count_if(results.begin(), results.end(),
                         [&](const kit::CheckResult& result) { return result.verdict == verdict; });
  };
  std::cout << results.size() << " checks: " << count(kit::Verdict::Passed) << " passed, "
            << count(kit::Verdict::Failed) << " failed, " << count(kit::Verdict::NotApplicable)
            << " not applicable\n";
  return count(kit::Verdict::Failed) == 0 ? AllPassed : SomeFailed;
}

int Main(int argc, char** argv) {
  const auto [options, exitCode] = ParseOptions(argc, argv);
  if (exitCode) return *exitCode;
  if (!options.list) return Test(options);
  PrintChecks();
  return AllPassed;
}

}  // namespace

}  // namespace orvo::driver_test

int main(int argc, char** argv) {
  try {
    return orvo::driver_test::Main(argc, argv);
  } catch (const orvo::AutomationError& error) {
    std::cerr << "orvo-driver-test: error " << error.Number() << ": " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "orvo-driver-test: " << error.what() << '\n';
  }
  return orvo::driver_test::NothingTested;
}
