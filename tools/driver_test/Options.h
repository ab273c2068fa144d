// The command line of orvo-driver-test.
#pragma once

#include "kit/DriverTestPlan.h"

#include <optional>
#include <string>
#include <vector>

namespace orvo::driver_test {

enum ExitCode : int {
  AllPassed = 0,
  SomeFailed = 1,
  NothingTested = 2,  // a wrong command line, no such driver, a library that is refused
};

struct Options {
  std::string progId;
  std::vector<std::string> folders;  // before those of the environment
  bool list = false;                 // the checks, without a driver
  kit::DriverTestPlan plan;
};

// The options, or the exit code with which the program ends now (help was printed, or what is wrong). Error 5,
// 53, 75 when the driver configuration file cannot be used.
struct ParsedOptions {
  Options options;
  std::optional<int> exitCode;
};
ParsedOptions ParseOptions(int argc, char** argv);

}  // namespace orvo::driver_test
