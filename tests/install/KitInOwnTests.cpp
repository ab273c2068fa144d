// The driver test kit as a driver's author has it in tests of his own.

#include "kit/DriverTestKit.h"
#include "platform/portable/DiskFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "simulated/SimulatedPanel.h"

#include <iostream>

int main() {
  orvo::SimulatedPlatform platform;
  orvo::DiskFiles files;
  orvo::kit::DriverTestPlan plan;
  plan.deviceKind = "PanelB";
  plan.items = {"WO100", "FL104"};
  orvo::kit::DriverTestKit kit(
      platform, files, [](orvo::DriverHost host) { return orvo::SimulatedPanel::Make(host); }, plan);
  int passed = 0;
  for (const orvo::kit::CheckResult& result : kit.Run()) {
    if (result.verdict == orvo::kit::Verdict::Failed)
      std::cout << result.check.name << ": " << result.detail << '\n';
    if (result.verdict == orvo::kit::Verdict::Passed) ++passed;
  }
  std::cout << "passed " << passed << '\n';
}
