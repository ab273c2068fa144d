// One run of the driver test kit in virtual time, and what it found.
#pragma once

#include "kit/DriverTestKit.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {

class KitRun {
 public:
  SimulatedPlatform platform;
  MemoryFiles files;
  kit::DriverTestPlan plan;

  void Run(DriverRegistry::Factory factory) {
    kit::DriverTestKit kit(platform, files, std::move(factory), plan);
    results = kit.Run();
  }

  // Names of the checks with this verdict, in order, separated by blanks.
  std::string Names(kit::Verdict verdict) const {
    std::string names;
    for (const kit::CheckResult& result : results) {
      if (result.verdict == verdict) names += (names.empty() ? "" : " ") + std::string(result.check.name);
    }
    return names;
  }
  std::string Failed() const { return Names(kit::Verdict::Failed); }
  // What was seen by the check of that name.
  std::string Detail(const std::string& name) const {
    for (const kit::CheckResult& result : results) {
      if (result.check.name == name) return result.detail;
    }
    return "there is no check '" + name + "'";
  }

  std::vector<kit::CheckResult> results;
};

}  // namespace orvo::testing
