#include "kit/DriverTestKit.h"

#include "errors/AutomationError.h"
#include "kit/Checks.h"
#include "kit/WatchedPlatform.h"

#include <algorithm>
#include <map>
#include <utility>

namespace orvo::kit {

namespace {

// In the order in which they run: what others need comes first.
std::vector<Check> AllChecks() {
  std::vector<Check> all;
  for (const auto group : {DeviceChecks(), CommunicationChecks(), PropertyChecks(), ReadChecks(), WriteChecks(),
                           SequenceChecks(), EndChecks(), GroupChecks(), DownloadChecks()})
    all.insert(all.end(), group.begin(), group.end());
  return all;
}

// The first of the names in `needs` whose check has not passed; empty when all have.
std::string_view MissingGround(std::string_view needs, const std::map<std::string_view, Verdict>& verdicts) {
  while (!needs.empty()) {
    const std::string_view name = needs.substr(0, needs.find(' '));
    needs.remove_prefix(std::min(name.size() + 1, needs.size()));
    const auto found = verdicts.find(name);
    if (found == verdicts.end() || found->second != Verdict::Passed) return name;
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
  std::map<std::string_view, Verdict> verdicts;
  for (const Check& check : AllChecks()) {
    CheckResult result{check.info, Verdict::Passed, ""};
    if (const std::string_view missing = MissingGround(check.needs, verdicts); !missing.empty()) {
      result.verdict = Verdict::NotApplicable;
      result.detail = "it builds on " + std::string(missing) + ", which has not passed";
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
    verdicts.emplace(check.info.name, result.verdict);
    if (report) report(result);
    results.push_back(std::move(result));
  }
  return results;
}

}  // namespace orvo::kit
