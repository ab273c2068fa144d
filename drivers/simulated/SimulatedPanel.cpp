#include "simulated/SimulatedPanel.h"

#include "errors/AutomationError.h"
#include "errors/modConstant.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvo {

namespace {

constexpr std::string_view OptionsScriptName = "PanelOptions::script";

}  // namespace

void RegisterSimulatedPanel(DriverRegistry& registry, PanelOptions options,
                            std::function<void(std::shared_ptr<SimulatedPanel>)> made) {
  // What is wrong fails here, not at each making.
  static_cast<void>(PanelSignals(options.signals));
  static_cast<void>(PanelScript::Parse(OptionsScriptName, options.script));
  registry.Register(SimulatedPanel::ProgId,
                    [options = std::move(options), made = std::move(made)](DriverHost host) {
                      auto panel = SimulatedPanel::Make(host, options);
                      if (made) made(panel);
                      return panel;
                    });
}

std::shared_ptr<SimulatedPanel> SimulatedPanel::Make(DriverHost host, PanelOptions options) {
  return std::make_shared<SimulatedPanel>(Passkey{}, host, std::move(options));
}

SimulatedPanel::SimulatedPanel(Passkey /*key*/, DriverHost host, PanelOptions options)
    : platform_(host.platform),
      files_(host.files),
      base_(std::move(options)),
      options_(base_),
      signals_(base_.signals),
      faults_(std::make_shared<PanelFaults>()),
      lastTick_(platform_.TickCount()) {
  if (!base_.script.empty()) Apply(PanelScript::Parse(OptionsScriptName, base_.script));
}

SimulatedPanel::~SimulatedPanel() {
  StopTimer();
  for (const auto& [timerId, completion] : lateAnswers_)
    platform_.KillTimer(timerId);
}

int SimulatedPanel::Definitions(std::int32_t groupId) const {
  return static_cast<int>(std::count(definitions_.begin(), definitions_.end(), groupId));
}

int SimulatedPanel::Definitions() const {
  return static_cast<int>(definitions_.size());
}

void SimulatedPanel::RequireClosed(std::string_view what) const {
  if (open_) throw AutomationError(PanelWrongState, std::string(what) + " while communication is open");
}

void SimulatedPanel::Tell(const Completion& call) {
  const std::shared_ptr<IEventNotify> sink = sink_;  // the handler may replace it
  if (!sink) return;
  try {
    call(*sink);
  } catch (...) {
    ++failedCallbacks_;  // there is nobody to pass it on to
  }
}

void SimulatedPanel::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  faults_->Enter(PanelOperation::SetEventSink);
  sink_ = std::move(Sink);
}

void SimulatedPanel::OpenCommunication(bool Open) {
  faults_->Enter(PanelOperation::OpenCommunication);
  if (!Open) throw AutomationError(PanelBadValue, "OpenCommunication takes true only");
  if (downloading_) throw AutomationError(PanelWrongState, "OpenCommunication inside a download");
  open_ = true;
  configurationMode_ = false;
}

void SimulatedPanel::CloseCommunication() {
  faults_->Enter(PanelOperation::CloseCommunication);
  if (!std::exchange(open_, false) || !request_) return;
  if (request_->plan.Is(PanelFaultAction::Never)) {
    request_.reset();
    return;
  }
  request_->lost = true;
  StopTimer();
  PostAnswer();
}

float SimulatedPanel::BootVersion() {
  faults_->Enter(PanelOperation::BootVersion);
  return options_.bootVersion;
}

std::string SimulatedPanel::BootDate() {
  faults_->Enter(PanelOperation::BootDate);
  return options_.bootDate;
}

float SimulatedPanel::FirmwareVersion() {
  faults_->Enter(PanelOperation::FirmwareVersion);
  return options_.firmwareVersion;
}

std::string SimulatedPanel::BoardDescription() {
  faults_->Enter(PanelOperation::BoardDescription);
  return options_.boardDescription;
}

std::int32_t SimulatedPanel::BoardStatus() {
  faults_->Enter(PanelOperation::BoardStatus);
  if (options_.boardStatus) return *options_.boardStatus;
  return configurationMode_ ? BoardInConfigurationMode : BoardReady;
}

std::int32_t SimulatedPanel::CommunicationStatus() {
  faults_->Enter(PanelOperation::CommunicationStatus);
  if (options_.communicationStatus) return *options_.communicationStatus;
  if (!open_) return LinkClosed;
  return IsCut() ? LinkCut : LinkOpen;
}

std::int32_t SimulatedPanel::BaudRate() {
  faults_->Enter(PanelOperation::BaudRate);
  return options_.baudRate;
}

void SimulatedPanel::PutBaudRate(std::int32_t NewValue) {
  faults_->Enter(PanelOperation::PutBaudRate);
  RequireClosed("The baud rate does not change");
  if (!IsPanelBaudRate(NewValue))
    throw AutomationError(PanelBadValue, "The panel has no baud rate " + std::to_string(NewValue));
  Put(&PanelOptions::baudRate, NewValue);
}

void SimulatedPanel::Reserved18() {
  faults_->Enter(PanelOperation::Reserved18);
}

bool SimulatedPanel::SetConfigurationMode() {
  if (faults_->Enter(PanelOperation::SetConfigurationMode)) return false;
  configurationMode_ = true;
  return true;
}

void SimulatedPanel::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  faults_->Enter(PanelOperation::SetGroupDefinition);
  const std::string group = "group " + std::to_string(GroupId);
  if (Define == DefineOnDevice) {
    if (options_.groupCapacity < 1)
      throw AutomationError(PanelBadValue, "No room to define " + group + ": the panel holds no groups");
    while (Definitions() >= options_.groupCapacity)
      definitions_.pop_front();
    definitions_.push_back(GroupId);
  } else if (Define == ReleaseOnDevice) {
    // The newest one, as forgotten ones are older: they stay the first to give up.
    const auto newest = std::find(definitions_.rbegin(), definitions_.rend(), GroupId);
    if (newest == definitions_.rend())
      throw AutomationError(PanelBadValue, "The panel holds no definition of " + group + " to release");
    definitions_.erase(std::next(newest).base());
  } else {
    throw AutomationError(
        PanelBadValue, "A definition is made with -1 or released with 0, not with " + std::to_string(Define));
  }
}

std::int32_t SimulatedPanel::GroupCapacity() {
  faults_->Enter(PanelOperation::GroupCapacity);
  return options_.groupCapacity;
}

void SimulatedPanel::PutNetworkType(std::int32_t NewValue) {
  faults_->Enter(PanelOperation::PutNetworkType);
  Put(&PanelOptions::networkType, NewValue);
}

void SimulatedPanel::Reserved23() {
  faults_->Enter(PanelOperation::Reserved23);
}

std::int16_t SimulatedPanel::MinorVersion() {
  faults_->Enter(PanelOperation::MinorVersion);
  return options_.minorVersion;
}

std::int16_t SimulatedPanel::MajorVersion() {
  faults_->Enter(PanelOperation::MajorVersion);
  return options_.majorVersion;
}

std::string SimulatedPanel::Description() {
  faults_->Enter(PanelOperation::Description);
  return options_.description;
}

void SimulatedPanel::PutComPortNumber(std::int32_t NewValue) {
  faults_->Enter(PanelOperation::PutComPortNumber);
  RequireClosed("The port does not change");
  if (NewValue < 1 || NewValue > 255)
    throw AutomationError(PanelBadValue, "Port " + std::to_string(NewValue) + " is not within 1..255");
  Put(&PanelOptions::comPortNumber, NewValue);
}

std::int32_t SimulatedPanel::ComPortNumber() {
  faults_->Enter(PanelOperation::ComPortNumber);
  return options_.comPortNumber;
}

void SimulatedPanel::Reserved29() {
  faults_->Enter(PanelOperation::Reserved29);
}

std::string SimulatedPanel::ProjectName() {
  faults_->Enter(PanelOperation::ProjectName);
  return options_.projectName;
}

void SimulatedPanel::PutProjectName(const std::string& NewValue) {
  faults_->Enter(PanelOperation::PutProjectName);
  Put(&PanelOptions::projectName, NewValue);
}

bool SimulatedPanel::GroupTransfer() {
  faults_->Enter(PanelOperation::GroupTransfer);
  return options_.groupTransfer;
}

bool SimulatedPanel::CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) {
  if (faults_->Enter(PanelOperation::CheckVariable)) return false;
  return TotalWordLength >= 0 && TotalWordLength <= options_.maximumGroupWords && ItemCount >= 0 &&
         ItemCount <= options_.maximumGroupItems;
}

void SimulatedPanel::PutWordIO(std::int16_t NewValue) {
  faults_->Enter(PanelOperation::PutWordIO);
  Put(&PanelOptions::wordIO, NewValue);
}

std::int16_t SimulatedPanel::WordIO() {
  faults_->Enter(PanelOperation::WordIO);
  return options_.wordIO;
}

void SimulatedPanel::PutTimeout(std::int16_t NewValue) {
  faults_->Enter(PanelOperation::PutTimeout);
  if (NewValue < 0)
    throw AutomationError(PanelBadValue, "A time-out of " + std::to_string(NewValue) + " ms is below 0");
  Put(&PanelOptions::timeout, NewValue);
}

std::int16_t SimulatedPanel::Timeout() {
  faults_->Enter(PanelOperation::Timeout);
  return options_.timeout;
}

}  // namespace orvo
