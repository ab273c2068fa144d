#include "support/ScriptedDriver.h"

#include "errors/AutomationError.h"

#include <array>
#include <charconv>
#include <utility>

namespace orvo::testing {

namespace {

template <class Number>
std::string NumberText(Number number) {
  std::array<char, 40> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return {text.data(), end};
}

template <class Element, class Text>
std::string ListText(const SafeArray<Element>& list, Text&& text) {
  std::string line = "[";
  for (const Element& element : list.View()) {
    if (line.size() > 1) line += ',';
    line += text(element);
  }
  return line + ']';
}

template <class Element>
std::string NumberList(const SafeArray<Element>& list) {
  return ListText(list, [](Element element) { return NumberText(element); });
}

std::string RequestText(const SafeArray<double>& addresses, const SafeArray<std::int16_t>& dimensions) {
  return "addresses=" + NumberList(addresses) + ",dimensions=" + NumberList(dimensions);
}

std::string GroupText(std::int32_t groupId, const SafeArray<std::uint8_t>& buffer) {
  return "groupId=" + NumberText(groupId) + ",buffer=" + NumberList(buffer);
}

}  // namespace

std::string LogText(const Variant& value) {
  if (value.IsByteArray()) return "UI1" + NumberList(SafeArray<std::uint8_t>(value.Array<std::uint8_t>()));
  const auto kind = NumberText(static_cast<int>(value.Kind()));
  if (value.IsArray()) return "array of kind " + kind;
  switch (value.Kind()) {
    case VariantKind::Empty:
      return "Empty";
    case VariantKind::Null:
      return "Null";
    case VariantKind::I2:
      return "I2:" + NumberText(value.Get<std::int16_t>());
    case VariantKind::I4:
      return "I4:" + NumberText(value.Get<std::int32_t>());
    case VariantKind::R4:
      return "R4:" + NumberText(value.Get<float>());
    case VariantKind::R8:
      return "R8:" + NumberText(value.Get<double>());
    case VariantKind::UI1:
      return "UI1:" + NumberText(value.Get<std::uint8_t>());
    case VariantKind::Currency:
      return "Currency:" + NumberText(value.Get<Currency>().scaled);
    case VariantKind::Date:
      return "Date:" + NumberText(value.Get<Date>().days);
    case VariantKind::Boolean:
      return value.Get<bool>() ? "Boolean:true" : "Boolean:false";
    case VariantKind::String:
      return "String:\"" + std::string(value.Text()) + '"';
    default:
      return "kind " + kind;
  }
}

void ScriptedDriver::Fail(const std::string& operation, std::int32_t number, const std::string& text,
                          int times) {
  failures_.insert_or_assign(operation, Failure{number, text, times});
}

void ScriptedDriver::StopFailing(const std::string& operation) {
  failures_.erase(operation);
}

IEventNotify& ScriptedDriver::Sink() const {
  if (!sink_) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return *sink_;
}

void ScriptedDriver::Called(const std::string& operation, const std::string& arguments) {
  log.push_back(operation + '(' + arguments + ')');
  HookAndFail(operation);
}

void ScriptedDriver::Asked(const std::string& question, const std::string& arguments) {
  if (logQuestions) log.push_back(question + '(' + arguments + ')');
  HookAndFail(question);
}

void ScriptedDriver::HookAndFail(const std::string& operation) {
  if (const auto hook = during.find(operation); hook != during.end() && hook->second) {
    const std::function<void()> held = hook->second;  // the hook may replace itself
    held();
  }
  const auto found = failures_.find(operation);
  if (found == failures_.end()) return;
  const Failure failure = found->second;
  if (failure.times != Always && --found->second.times <= 0) failures_.erase(found);
  throw AutomationError(failure.number, failure.text);
}

void ScriptedDriver::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  Called("SetEventSink", Sink ? "" : "null");
  sink_ = std::move(Sink);
}

void ScriptedDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                                const SafeArray<std::int16_t>& Dimensions,
                                const SafeArray<Variant>& DATAValues) {
  lastAddresses = CompiledAddresses;
  lastDimensions = Dimensions;
  lastValues = DATAValues;
  Called("WriteItems", RequestText(CompiledAddresses, Dimensions) + ",values=" +
                           ListText(DATAValues, [](const Variant& value) { return LogText(value); }));
}

void ScriptedDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& Dimensions) {
  lastAddresses = CompiledAddresses;
  lastDimensions = Dimensions;
  Called("ReadItems", RequestText(CompiledAddresses, Dimensions));
}

void ScriptedDriver::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  lastGroupId = GroupId;
  lastBuffer = Buffer;
  Called("WriteGroup", GroupText(GroupId, Buffer));
}

void ScriptedDriver::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  lastGroupId = GroupId;
  lastBuffer = Buffer;
  Called("ReadGroup", GroupText(GroupId, Buffer));
}

void ScriptedDriver::OpenCommunication(bool Open) {
  Called("OpenCommunication", Open ? "true" : "false");
}
void ScriptedDriver::CloseCommunication() {
  Called("CloseCommunication", "");
}

float ScriptedDriver::BootVersion() {
  Asked("BootVersion");
  return bootVersion;
}

std::string ScriptedDriver::BootDate() {
  Asked("BootDate");
  return bootDate;
}

float ScriptedDriver::FirmwareVersion() {
  Asked("FirmwareVersion");
  return firmwareVersion;
}

std::string ScriptedDriver::BoardDescription() {
  Asked("BoardDescription");
  return boardDescription;
}

std::int32_t ScriptedDriver::BoardStatus() {
  Asked("BoardStatus");
  return boardStatus;
}

std::int32_t ScriptedDriver::CommunicationStatus() {
  Asked("CommunicationStatus");
  return communicationStatus;
}

void ScriptedDriver::DownloadFirmware(const std::string& FileName, std::int32_t Flag) {
  Called("DownloadFirmware", FileName + ',' + NumberText(Flag));
}

void ScriptedDriver::DownloadProject(const std::string& FileName, std::int32_t Flag) {
  Called("DownloadProject", FileName + ',' + NumberText(Flag));
}

std::int32_t ScriptedDriver::BaudRate() {
  Asked("BaudRate");
  return baudRate;
}

void ScriptedDriver::PutBaudRate(std::int32_t NewValue) {
  Called("PutBaudRate", NumberText(NewValue));
  baudRate = NewValue;
}

void ScriptedDriver::Reserved18() {
  Called("Reserved18", "");
}

bool ScriptedDriver::SetConfigurationMode() {
  Called("SetConfigurationMode", "");
  return configurationModeAccepted;
}

void ScriptedDriver::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  Called("SetGroupDefinition", NumberText(GroupId) + ',' + NumberText(Define));
}

std::int32_t ScriptedDriver::GroupCapacity() {
  Asked("GroupCapacity");
  return groupCapacity;
}

void ScriptedDriver::PutNetworkType(std::int32_t NewValue) {
  Called("PutNetworkType", NumberText(NewValue));
  networkType = NewValue;
}

void ScriptedDriver::Reserved23() {
  Called("Reserved23", "");
}

std::int16_t ScriptedDriver::MinorVersion() {
  Asked("MinorVersion");
  return minorVersion;
}

std::int16_t ScriptedDriver::MajorVersion() {
  Asked("MajorVersion");
  return majorVersion;
}

std::string ScriptedDriver::Description() {
  Asked("Description");
  return description;
}

void ScriptedDriver::PutComPortNumber(std::int32_t NewValue) {
  Called("PutComPortNumber", NumberText(NewValue));
  comPortNumber = NewValue;
}

std::int32_t ScriptedDriver::ComPortNumber() {
  Asked("ComPortNumber");
  return comPortNumber;
}

void ScriptedDriver::Reserved29() {
  Called("Reserved29", "");
}

std::string ScriptedDriver::ProjectName() {
  Asked("ProjectName");
  return projectName;
}

void ScriptedDriver::PutProjectName(const std::string& NewValue) {
  Called("PutProjectName", NewValue);
  projectName = NewValue;
}

bool ScriptedDriver::GroupTransfer() {
  Asked("GroupTransfer");
  return groupTransfer;
}

bool ScriptedDriver::CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) {
  Asked("CheckVariable", NumberText(TotalWordLength) + ',' + NumberText(ItemCount));
  return checkVariable ? checkVariable(TotalWordLength, ItemCount) : variableFits;
}

void ScriptedDriver::PutWordIO(std::int16_t NewValue) {
  Called("PutWordIO", NumberText(NewValue));
  wordIO = NewValue;
}

std::int16_t ScriptedDriver::WordIO() {
  Asked("WordIO");
  return wordIO;
}

void ScriptedDriver::PutTimeout(std::int16_t NewValue) {
  Called("PutTimeout", NumberText(NewValue));
  timeout = NewValue;
}

std::int16_t ScriptedDriver::Timeout() {
  Asked("Timeout");
  return timeout;
}

bool ScriptedDriver::FirmwareDownloadNeeded() {
  Asked("FirmwareDownloadNeeded");
  return firmwareDownloadNeeded;
}

bool ScriptedDriver::ProjectDownloadNeeded() {
  Asked("ProjectDownloadNeeded");
  return projectDownloadNeeded;
}

std::shared_ptr<DeviceObject> ScriptedDriver::CreateDevice(const std::string& DeviceKind) {
  Called("CreateDevice", DeviceKind);
  if (!deviceKinds.contains(DeviceKind)) return nullptr;
  auto device = std::make_shared<ScriptedDevice>();
  if (prepareDevice) prepareDevice(*device);
  lastDevice_ = device;
  return device;
}

}  // namespace orvo::testing
