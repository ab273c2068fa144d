// The command line of orvo-modbus-plan.
#pragma once

#include "Configuration.h"

#include <optional>

namespace orvo::modbus_plan {

enum ExitCode { KeepsUp = 0, DoesNotKeepUp = 1, NoPlan = 2 };

struct Options {
  Source source;
  double latency = 5;  // ms
  bool json = false;
};

struct ParsedOptions {
  Options options;
  std::optional<int> exitCode;  // set: nothing more to do
};

// Prints help and complaints itself.
ParsedOptions ParseOptions(int argc, char** argv);

}  // namespace orvo::modbus_plan
