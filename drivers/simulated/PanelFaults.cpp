#include "simulated/PanelFaults.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"

#include <unordered_set>
#include <utility>

namespace orvo {

namespace {

constexpr double DrawRange = 4294967296.0;  // of std::mt19937, which answers 32 bits

bool IsAboutTheAnswer(PanelFaultAction action) noexcept {
  return action >= PanelFaultAction::Delay && action <= PanelFaultAction::Long;
}

}  // namespace

void PanelFaults::FailNext(PanelOperation operation, std::int32_t number, std::string text, int times) {
  if (times < 1) return;
  PanelFault fault;
  fault.operation = operation;
  fault.number = number;
  fault.text = std::move(text);
  fault.times = static_cast<std::uint64_t>(times);
  Add(std::move(fault));
}

void PanelFaults::RemoveIf(const std::function<bool(const PanelFault&)>& fits) {
  std::erase_if(rules_, [&](const Rule& rule) { return !rule.scripted && fits(rule.fault); });
}

void PanelFaults::PutScript(std::uint32_t seed, std::span<const PanelFault> faults) {
  std::erase_if(rules_, [](const Rule& rule) { return rule.scripted; });
  for (const PanelFault& fault : faults)
    rules_.push_back({fault, true});
  random_.seed(seed);
}

bool PanelFaults::Hits(Rule& rule, bool wanted) {
  ++rule.seen;
  const PanelFault& fault = rule.fault;
  if (!wanted || rule.seen <= fault.after) return false;
  if (fault.chance < 100 && static_cast<double>(random_()) / DrawRange * 100 >= fault.chance) return false;
  ++rule.hits;
  return true;
}

std::optional<PanelFault> PanelFaults::First(const std::function<bool(const PanelFault&)>& fits) {
  std::optional<PanelFault> first;
  for (Rule& rule : rules_)
    if (fits(rule.fault) && Hits(rule, !first)) first = rule.fault;
  ForgetUsedUp();
  return first;
}

void PanelFaults::ForgetUsedUp() {
  std::erase_if(rules_,
                [](const Rule& rule) { return rule.fault.times != 0 && rule.hits >= rule.fault.times; });
}

bool PanelFaults::Judge(PanelOperation operation) {
  const auto fault = First([operation](const PanelFault& rule) {
    return rule.operation == operation &&
           (rule.action == PanelFaultAction::Fail || rule.action == PanelFaultAction::Refuse);
  });
  if (!fault) return false;
  if (fault->action == PanelFaultAction::Fail) throw AutomationError(fault->number, fault->text);
  if (operation >= PanelOperation::WriteItems && operation <= PanelOperation::ReadGroup)
    throw AutomationError(PanelBusy,
                          "The panel is busy and refuses " + std::string(PanelOperationName(operation)));
  return true;
}

PanelAnswerPlan PanelFaults::Plan(PanelOperation operation, std::span<const double> items) {
  PanelAnswerPlan plan;
  if (rules_.empty()) return plan;
  const std::unordered_set<double> contained(items.begin(), items.end());
  for (Rule& rule : rules_) {
    const std::optional<double> item = rule.fault.item;
    if (item ? !contained.contains(*item) : rule.fault.operation != operation) continue;
    if (IsAboutTheAnswer(rule.fault.action)) {
      if (Hits(rule, !plan.fault)) plan.fault = rule.fault;
    } else if (item && rule.fault.action == PanelFaultAction::Fail) {
      if (Hits(rule, !plan.itemErrors.contains(*item))) plan.itemErrors.emplace(*item, rule.fault.number);
    }
  }
  ForgetUsedUp();
  return plan;
}

bool PanelFaults::RefusesItem(double item) {
  return First([item](const PanelFault& rule) {
           return rule.item == item && rule.action == PanelFaultAction::Refuse;
         })
      .has_value();
}

std::optional<PanelFaultAction> PanelFaults::AtBlock(PanelOperation download, std::size_t block) {
  const auto fault = First([download, block](const PanelFault& rule) {
    return !rule.item && (!rule.operation || *rule.operation == download) && rule.count == block &&
           rule.action >= PanelFaultAction::Break;
  });
  if (!fault) return std::nullopt;
  return fault->action;
}

}  // namespace orvo
