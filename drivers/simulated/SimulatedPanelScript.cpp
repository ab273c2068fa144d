// Scripts and scripted faults of the simulated panel.
#include "errors/AutomationError.h"
#include "simulated/PanelDevice.h"
#include "simulated/SimulatedPanel.h"

#include <utility>

namespace orvo {

void SimulatedPanel::LoadScript(std::string_view name, std::string_view text) {
  Apply(PanelScript::Parse(name, text));
}

void SimulatedPanel::Apply(PanelScript script) {
  PanelOptions options = script.Applied(base_);
  signals_ = PanelSignals(options.signals);
  options_ = std::move(options);
  script_ = std::move(script);
  faults_->PutScript(script_.seed, script_.faults);
  scriptStartMs_ = Elapsed();
  PutMemory();
}

void SimulatedPanel::PutMemory() {
  memory_ = PanelMemory();
  script_.PutMemory(memory_);
}

void SimulatedPanel::Restart() {
  PutMemory();
  definitions_.clear();
  configurationMode_ = false;
}

std::shared_ptr<DeviceObject> SimulatedPanel::CreateDevice(const std::string& DeviceKind) {
  const auto self = shared_from_this();
  faults_->Count(PanelOperation::CreateDevice);
  const std::size_t mark = DeviceKind.find('?');
  const std::string kind = DeviceKind.substr(0, mark);
  if (mark != std::string::npos) {
    const std::string fileName = DeviceKind.substr(mark + 1);
    if (fileName.empty())
      throw AutomationError(PanelBadValue, "The device kind '" + DeviceKind +
                                               "' names no panel script after the '?'; write it like " + kind +
                                               "?plant.panel");
    std::string text;
    try {
      text = files_.ReadWhole(fileName);
    } catch (const AutomationError& error) {
      throw AutomationError(PanelBadValue,
                            "The panel script '" + fileName + "' cannot be read: " + error.Description());
    }
    PanelScript script = PanelScript::Parse(fileName, text);
    if (!script.Applied(base_).deviceKinds.contains(kind)) return nullptr;
    Apply(std::move(script));
  }
  if (faults_->Judge(PanelOperation::CreateDevice)) return nullptr;
  if (!options_.deviceKinds.contains(kind)) return nullptr;
  return std::make_shared<PanelDevice>(faults_);
}

// --- The control face's own faults.

void SimulatedPanel::Replace(PanelFault fault, bool present) {
  faults_->RemoveIf([&](const PanelFault& earlier) {
    return earlier.operation == fault.operation && earlier.item == fault.item && earlier.action == fault.action;
  });
  if (present) faults_->Add(std::move(fault));
}

void SimulatedPanel::PutItemFault(const std::string& identifier, std::int32_t error) {
  PanelFault fault;
  fault.item = PanelIdentifier::Parse(identifier).address.Encode();
  fault.number = error;
  Replace(std::move(fault), error != 0);
}

void SimulatedPanel::CutLink(bool cut) noexcept {
  cut_ = cut;
  if (cut && request_) request_->lost = true;
}

void SimulatedPanel::RefuseConfigurationMode(bool refuse) {
  PanelFault fault;
  fault.operation = PanelOperation::SetConfigurationMode;
  fault.action = PanelFaultAction::Refuse;
  Replace(std::move(fault), refuse);
}

void SimulatedPanel::PutNextDownload(PanelFaultAction action, std::optional<std::size_t> block) {
  faults_->RemoveIf([&](const PanelFault& earlier) {
    return !earlier.operation && !earlier.item && earlier.action == action &&
           (earlier.count != 0) == block.has_value();
  });
  if (block && *block == 0) return;  // there is none
  PanelFault fault;
  fault.action = action;
  fault.count = block.value_or(0);
  fault.times = 1;
  faults_->Add(std::move(fault));
}

void SimulatedPanel::FailDownloadAtBlock(std::size_t block) {
  PutNextDownload(PanelFaultAction::Break, block);
}

void SimulatedPanel::CorruptDownloadBlock(std::size_t block) {
  PutNextDownload(PanelFaultAction::Corrupt, block);
}

void SimulatedPanel::CorruptDownloadedImage() {
  PutNextDownload(PanelFaultAction::Corrupt, std::nullopt);
}

}  // namespace orvo
