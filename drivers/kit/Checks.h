// The checks, in groups; DriverTestKit runs them.
#pragma once

#include "kit/CheckResult.h"
#include "kit/DriverSession.h"

#include <span>
#include <string_view>

namespace orvo::kit {

struct Check {
  CheckInfo info;
  // Names of earlier checks, separated by blanks: when one of them has not passed, this one has no ground.
  std::string_view needs;
  // Returns: passed. Throws CheckFailed or NotApplicable.
  void (*run)(DriverSession& session);
};

std::span<const Check> DeviceChecks();
std::span<const Check> PropertyChecks();
std::span<const Check> CommunicationChecks();
std::span<const Check> ReadChecks();
std::span<const Check> WriteChecks();
std::span<const Check> SequenceChecks();
std::span<const Check> SessionChecks();
std::span<const Check> GroupChecks();
std::span<const Check> EndChecks();
std::span<const Check> DownloadChecks();

}  // namespace orvo::kit
