#include "kit/DriverTestKit.h"

#include "errors/AutomationError.h"
#include "kit/Checks.h"
#include "kit/WatchedPlatform.h"

#include <algorithm>
#include <string>
#include <utility>

namespace orvo::kit {

namespace {

// In the order in which they run: what others need comes first.
std::vector<Check> AllChecks() {
  std::vector<Check> all;
  for (const auto group : {DeviceChecks(), CommunicationChecks(), PropertyChecks(), ReadChecks(), WriteChecks(),
                           SequenceChecks(), EndChecks(), SessionChecks(), GroupChecks(), DownloadChecks()})
    all.insert(all.end(), group.begin(), group.end());
  return all;
}

// Why a check that needs others has no ground; empty when they have all passed.
std::string MissingGround(std::string_view needs, const std::vector<CheckResult>& results) {
  while (!needs.empty()) {
    const std::string_view name = needs.substr(0, needs.find(' '));
    needs.remove_prefix(std::min(name.size() + 1, needs.size()));
    const auto found = std::find_if(results.begin(), results.end(),
                                    [&](const CheckResult& result) { return result.check.name == name; });
    if (found == results.end()) return "it builds on " + std::string(name) + ", which has not run";
    if (found->verdict == Verdict::Failed) return "it builds on " + std::string(name) + ", which failed";
    if (found->verdict == Verdict::NotApplicable) return found->detail;
  }
  return {};
}

}  // namespace

DriverTestKit::DriverTestKit(ThreadPlatform& platform, Files& files, DriverRegistry::Factory factory,
                             DriverTestPlan plan)
    : platform_(platform), files_(files), factory_(std::move(factory)), plan_(std::move(plan)) {
  if (plan_.items.empty())
    RaiseRuntimeError(RuntimeError::InvalidProcedureCall, "the plan of a driver test names no item");
}

DriverTestKit::~DriverTestKit() = default;

std::vector<CheckInfo> DriverTestKit::Checks() {
  std::vector<CheckInfo> infos;
  for (const Check& check : AllChecks())
    infos.push_back(check.info);
  return infos;
}

std::vector<CheckResult> DriverTestKit::Run(const Report& report) {
  std::vector<CheckResult> results;
  for (const Check& check : AllChecks()) {
    CheckResult result{check.info, Verdict::Passed, ""};
    if (std::string missing = MissingGround(check.needs, results); !missing.empty()) {
      result.verdict = Verdict::NotApplicable;
      result.detail = std::move(missing);
    } else {
      WatchedPlatform& platform = *watched_.emplace_back(std::make_unique<WatchedPlatform>(platform_));
      try {
        DriverSession session(platform, files_, factory_, plan_);
        check.run(session);
      } catch (const CheckFailed& failed) {
        result.verdict = Verdict::Failed;
        result.detail = failed.seen;
      } catch (const NotApplicable& cause) {
        result.verdict = Verdict::NotApplicable;
        result.detail = cause.reason;
      } catch (...) {
        result.verdict = Verdict::Failed;
        result.detail = "it broke off with " + CaughtText();
      }
    }
    if (report) report(result);
    results.push_back(std::move(result));
  }
  return results;
}

}  // namespace orvo::kit
