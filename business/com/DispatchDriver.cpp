#include "com/DispatchDriver.h"

#include "IORVOBusiness_h.h"
#include "com/DispatchDevice.h"
#include "com/DriverSink.h"
#include "com/SlotDevice.h"
#include "com/VariantCodec.h"
#include "values/VariantConversion.h"

namespace orvo::com {

using Arguments = NamedObject::Arguments;

namespace {

[[noreturn]] void RaiseNoDevice() {
  RaiseRuntimeError(RuntimeError::TypeMismatch, "the answer of CreateDevice is no device object");
}

}  // namespace

void DispatchDriver::SetEventSink(std::shared_ptr<orvo::IEventNotify> Sink) {
  Arguments arguments;
  driver_.Do(L"SetEventSink", arguments.Add(SinkByName(std::move(Sink))));
}

void DispatchDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                                const SafeArray<std::int16_t>& Dimensions,
                                const SafeArray<Variant>& DATAValues) {
  Arguments arguments;
  driver_.Do(L"WriteItems",
             arguments.Add(Variant(CompiledAddresses)).Add(Variant(Dimensions)).Add(Variant(DATAValues)));
}

void DispatchDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& Dimensions) {
  Arguments arguments;
  driver_.Do(L"ReadItems", arguments.Add(Variant(CompiledAddresses)).Add(Variant(Dimensions)));
}

void DispatchDriver::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  Arguments arguments;
  driver_.Do(L"WriteGroup", arguments.Add(GroupId).Add(Variant(Buffer)));
}

void DispatchDriver::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  Arguments arguments;
  driver_.Do(L"ReadGroup", arguments.Add(GroupId).Add(Variant(Buffer)));
}

void DispatchDriver::OpenCommunication(bool Open) {
  Arguments arguments;
  driver_.Do(L"OpenCommunication", arguments.Add(Variant(Open)));
}

void DispatchDriver::CloseCommunication() {
  driver_.Do(L"CloseCommunication");
}

float DispatchDriver::BootVersion() {
  return driver_.AskAs(ToR4, L"BootVersion");
}

std::string DispatchDriver::BootDate() {
  return driver_.AskAs(ToText, L"BootDate");
}

float DispatchDriver::FirmwareVersion() {
  return driver_.AskAs(ToR4, L"FirmwareVersion");
}

std::string DispatchDriver::BoardDescription() {
  return driver_.AskAs(ToText, L"BoardDescription");
}

std::int32_t DispatchDriver::BoardStatus() {
  return driver_.AskAs(ToI4, L"BoardStatus");
}

std::int32_t DispatchDriver::CommunicationStatus() {
  return driver_.AskAs(ToI4, L"CommunicationStatus");
}

void DispatchDriver::DownloadFirmware(const std::string& FileName, std::int32_t Flag) {
  Arguments arguments;
  driver_.Do(L"DownloadFirmware", arguments.Add(Variant(FileName)).Add(Flag));
}

void DispatchDriver::DownloadProject(const std::string& FileName, std::int32_t Flag) {
  Arguments arguments;
  driver_.Do(L"DownloadProject", arguments.Add(Variant(FileName)).Add(Flag));
}

std::int32_t DispatchDriver::BaudRate() {
  return driver_.AskAs(ToI4, L"BaudRate");
}

void DispatchDriver::PutBaudRate(std::int32_t NewValue) {
  driver_.Put(L"BaudRate", NewValue);
}

bool DispatchDriver::SetConfigurationMode() {
  return driver_.AskAs(ToBoolean, L"SetConfigurationMode");
}

void DispatchDriver::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  Arguments arguments;
  driver_.Do(L"SetGroupDefinition", arguments.Add(GroupId).Add(Define));
}

std::int32_t DispatchDriver::GroupCapacity() {
  return driver_.AskAs(ToI4, L"GroupCapacity");
}

void DispatchDriver::PutNetworkType(std::int32_t NewValue) {
  driver_.Put(L"NetworkType", NewValue);
}

std::int16_t DispatchDriver::MinorVersion() {
  return driver_.AskAs(ToI2, L"MinorVersion");
}

std::int16_t DispatchDriver::MajorVersion() {
  return driver_.AskAs(ToI2, L"MajorVersion");
}

std::string DispatchDriver::Description() {
  return driver_.AskAs(ToText, L"Description");
}

void DispatchDriver::PutComPortNumber(std::int32_t NewValue) {
  driver_.Put(L"ComPortNumber", NewValue);
}

std::int32_t DispatchDriver::ComPortNumber() {
  return driver_.AskAs(ToI4, L"ComPortNumber");
}

std::string DispatchDriver::ProjectName() {
  return driver_.AskAs(ToText, L"ProjectName");
}

void DispatchDriver::PutProjectName(const std::string& NewValue) {
  driver_.Put(L"ProjectName", NewValue);
}

bool DispatchDriver::GroupTransfer() {
  return driver_.AskAs(ToBoolean, L"GroupTransfer");
}

bool DispatchDriver::CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) {
  Arguments arguments;
  return driver_.AskAs(ToBoolean, L"CheckVariable", arguments.Add(TotalWordLength).Add(ItemCount));
}

void DispatchDriver::PutWordIO(std::int16_t NewValue) {
  driver_.Put(L"WordIO", NewValue);
}

std::int16_t DispatchDriver::WordIO() {
  return driver_.AskAs(ToI2, L"WordIO");
}

void DispatchDriver::PutTimeout(std::int16_t NewValue) {
  driver_.Put(L"Timeout", NewValue);
}

std::int16_t DispatchDriver::Timeout() {
  return driver_.AskAs(ToI2, L"Timeout");
}

bool DispatchDriver::FirmwareDownloadNeeded() {
  return driver_.AskAs(ToBoolean, L"FirmwareDownloadNeeded");
}

bool DispatchDriver::ProjectDownloadNeeded() {
  return driver_.AskAs(ToBoolean, L"ProjectDownloadNeeded");
}

std::shared_ptr<DeviceObject> DispatchDriver::CreateDevice(const std::string& DeviceKind) {
  Arguments arguments;
  OwnedVariant answer;
  driver_.Ask(L"CreateDevice", arguments.Add(Variant(DeviceKind)), answer.Get());
  const VARIANT& value = Dereferenced(answer.Value());
  if (V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL) return nullptr;
  if (V_VT(&value) != VT_DISPATCH && V_VT(&value) != VT_UNKNOWN) RaiseNoDevice();
  const ComPtr<IUnknown> object(V_UNKNOWN(&value));
  if (!object) return nullptr;
  if (auto device = object.Query<::IDeviceObject>()) return std::make_shared<SlotDevice>(std::move(device));
  if (auto device = object.Query<IDispatch>()) return std::make_shared<DispatchDevice>(std::move(device));
  RaiseNoDevice();
}

}  // namespace orvo::com
