// The contract of a communication driver as checks, for whoever writes a driver.
//
//     orvo::PortablePlatform platform;
//     orvo::DiskFiles files;
//     orvo::kit::DriverTestKit kit(platform, files, [](orvo::DriverHost host) { return Make(host); }, plan);
//     for (const orvo::kit::CheckResult& result : kit.Run()) ...
//
// It needs no test framework. Every check makes a driver of its own, so that what one has upset does not reach
// the next; a check whose ground is gone (no reads when communication does not open) is not applicable then.
// Time passes on the platform: real time on a real one, none at all on a simulated one. A driver that crashes
// or never returns takes the program with it.
//
// Everything happens on the thread that owns the platform. Drivers are given a platform that watches them: it
// lives as long as the kit, so the kit must not end before the threads of a driver that leaves some behind.
#pragma once

#include "kit/CheckResult.h"
#include "kit/DriverTestPlan.h"
#include "spooler/DriverRegistry.h"

#include <functional>
#include <memory>
#include <vector>

namespace orvo::kit {

class WatchedPlatform;

class DriverTestKit {
 public:
  using Report = std::function<void(const CheckResult& result)>;

  // Error 5 for a plan without items. Platform and files outlive the kit.
  DriverTestKit(ThreadPlatform& platform, Files& files, DriverRegistry::Factory factory, DriverTestPlan plan);
  DriverTestKit(const DriverTestKit&) = delete;
  DriverTestKit& operator=(const DriverTestKit&) = delete;
  ~DriverTestKit();

  // All checks, in the order in which they run.
  static std::vector<CheckInfo> Checks();

  // Runs them all and returns their results in order; each is reported as soon as it is known.
  std::vector<CheckResult> Run(const Report& report = {});

 private:
  ThreadPlatform& platform_;
  Files& files_;
  const DriverRegistry::Factory factory_;
  const DriverTestPlan plan_;
  // Kept until the end: a thread that a driver left behind may still post.
  std::vector<std::unique_ptr<WatchedPlatform>> watched_;
};

}  // namespace orvo::kit
