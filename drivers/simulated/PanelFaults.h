// The faults of the simulated panel: one list of rules, fed by the panel's script and by its control face, and
// how often each operation was called.
//
// Rules are asked in the order in which they were added; the first one that hits decides, and the others only
// count what they have seen. Failures and refusals are decided when an operation is called; the other faults of
// reads and writes when the request was taken. Item errors are decided by themselves: they do not stand in the
// way of a rule for the answer as a whole. A rule that is used up is forgotten.
#pragma once

#include "simulated/PanelFault.h"
#include "simulated/PanelOperation.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace orvo {

// What becomes of the answer to one request.
struct PanelAnswerPlan {
  std::optional<PanelFault> fault;                      // Delay, Never, Twice, Late, Short or Long
  std::unordered_map<double, std::int32_t> itemErrors;  // by compiled address

  bool Is(PanelFaultAction action) const noexcept { return fault && fault->action == action; }
  std::int32_t ErrorOf(double item) const {
    const auto found = itemErrors.find(item);
    return found == itemErrors.end() ? 0 : found->second;
  }
};

class PanelFaults {
 public:
  // --- The control face.

  // The next `times` calls of `operation` fail with `number` and `text`, after the failures scripted earlier
  // for it are used up. A `times` below 1 scripts nothing.
  void FailNext(PanelOperation operation, std::int32_t number, std::string text, int times = 1);
  // How often `operation` was called, failed calls included.
  int Calls(PanelOperation operation) const noexcept { return calls_[static_cast<std::size_t>(operation) - 1]; }
  void Add(PanelFault fault) { rules_.push_back({std::move(fault), false}); }
  // Takes back what was added; a script's faults stay.
  void RemoveIf(const std::function<bool(const PanelFault&)>& fits);

  // Takes the place of the faults of the script before; all that it counts starts at 0. What was added by the
  // control face stays.
  void PutScript(std::uint32_t seed, std::span<const PanelFault> faults);

  // --- The panel asks.

  // Called by each operation before it does anything: counts it, then judges it.
  bool Enter(PanelOperation operation) {
    Count(operation);
    return Judge(operation);
  }
  void Count(PanelOperation operation) noexcept { ++calls_[static_cast<std::size_t>(operation) - 1]; }
  // Throws the failure that hits the call, 1 for a read or write that is refused. Returns whether another
  // operation is refused.
  bool Judge(PanelOperation operation);
  // The request was taken.
  PanelAnswerPlan Plan(PanelOperation operation, std::span<const double> items);
  // Whether the item's identifier is refused.
  bool RefusesItem(double item);
  // What hits block `block` of a download: Break, Restart or Corrupt. Block 0 is the image as a whole.
  std::optional<PanelFaultAction> AtBlock(PanelOperation download, std::size_t block);

 private:
  struct Rule {
    PanelFault fault;
    bool scripted;
    std::uint64_t seen = 0;
    std::uint64_t hits = 0;
  };

  // Counts what the rule has seen and, when it is `wanted`, what it hits. Returns whether it hits.
  bool Hits(Rule& rule, bool wanted);
  // Asks every rule for which `fits`; the fault of the first that hits.
  std::optional<PanelFault> First(const std::function<bool(const PanelFault&)>& fits);
  void ForgetUsedUp();

  std::array<int, PanelOperationCount> calls_{};
  std::vector<Rule> rules_;
  std::mt19937 random_;  // NOLINT(cert-msc51-cpp, cert-msc32-c): a run is to be repeatable
};

}  // namespace orvo
