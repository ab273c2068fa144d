#include "com/SlotDriver.h"

#include "com/DriverSink.h"
#include "com/SlotCall.h"
#include "com/SlotDevice.h"
#include "com/VariantCodec.h"

namespace orvo::com {

void SlotDriver::SetEventSink(std::shared_ptr<orvo::IEventNotify> Sink) {
  const ComPtr<::IEventNotify> face = SinkBySlot(std::move(Sink));
  CallSlot(driver_, &Driver::SetEventSink, face.Get());
}

void SlotDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                            const SafeArray<std::int16_t>& Dimensions, const SafeArray<Variant>& DATAValues) {
  OwnedSafeArray addresses = NewArray(CompiledAddresses);
  OwnedSafeArray dimensions = NewArray(Dimensions);
  OwnedSafeArray values = NewArray(DATAValues);
  CallSlot(driver_, &Driver::WriteItems, addresses.Address(), dimensions.Address(), values.Address());
}

void SlotDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                           const SafeArray<std::int16_t>& Dimensions) {
  OwnedSafeArray addresses = NewArray(CompiledAddresses);
  OwnedSafeArray dimensions = NewArray(Dimensions);
  CallSlot(driver_, &Driver::ReadItems, addresses.Address(), dimensions.Address());
}

void SlotDriver::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  LONG group = GroupId;
  OwnedSafeArray buffer = NewArray(Buffer);
  CallSlot(driver_, &Driver::WriteGroup, &group, buffer.Address());
}

void SlotDriver::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  LONG group = GroupId;
  OwnedSafeArray buffer = NewArray(Buffer);
  CallSlot(driver_, &Driver::ReadGroup, &group, buffer.Address());
}

void SlotDriver::OpenCommunication(bool Open) {
  CallSlot(driver_, &Driver::OpenCommunication, Open ? VARIANT_TRUE : VARIANT_FALSE);
}

void SlotDriver::CloseCommunication() {
  CallSlot(driver_, &Driver::CloseCommunication);
}

float SlotDriver::BootVersion() {
  return AskSlot(driver_, &Driver::get_BootVersion);
}

std::string SlotDriver::BootDate() {
  return AskSlot(driver_, &Driver::get_BootDate);
}

float SlotDriver::FirmwareVersion() {
  return AskSlot(driver_, &Driver::get_FirmwareVersion);
}

std::string SlotDriver::BoardDescription() {
  return AskSlot(driver_, &Driver::get_BoardDescription);
}

std::int32_t SlotDriver::BoardStatus() {
  return AskSlot(driver_, &Driver::get_BoardStatus);
}

std::int32_t SlotDriver::CommunicationStatus() {
  return AskSlot(driver_, &Driver::get_CommunicationStatus);
}

void SlotDriver::DownloadFirmware(const std::string& FileName, std::int32_t Flag) {
  const Bstr file(FileName);
  CallSlot(driver_, &Driver::DownloadFirmware, file.Get(), Flag);
}

void SlotDriver::DownloadProject(const std::string& FileName, std::int32_t Flag) {
  const Bstr file(FileName);
  CallSlot(driver_, &Driver::DownloadProject, file.Get(), Flag);
}

std::int32_t SlotDriver::BaudRate() {
  return AskSlot(driver_, &Driver::get_BaudRate);
}

void SlotDriver::PutBaudRate(std::int32_t NewValue) {
  CallSlot(driver_, &Driver::put_BaudRate, NewValue);
}

bool SlotDriver::SetConfigurationMode() {
  return AskSlot(driver_, &Driver::SetConfigurationMode) != VARIANT_FALSE;
}

void SlotDriver::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  CallSlot(driver_, &Driver::SetGroupDefinition, GroupId, Define);
}

std::int32_t SlotDriver::GroupCapacity() {
  return AskSlot(driver_, &Driver::get_GroupCapacity);
}

void SlotDriver::PutNetworkType(std::int32_t NewValue) {
  CallSlot(driver_, &Driver::put_NetworkType, NewValue);
}

std::int16_t SlotDriver::MinorVersion() {
  return AskSlot(driver_, &Driver::get_MinorVersion);
}

std::int16_t SlotDriver::MajorVersion() {
  return AskSlot(driver_, &Driver::get_MajorVersion);
}

std::string SlotDriver::Description() {
  return AskSlot(driver_, &Driver::get_Description);
}

void SlotDriver::PutComPortNumber(std::int32_t NewValue) {
  CallSlot(driver_, &Driver::put_ComPortNumber, NewValue);
}

std::int32_t SlotDriver::ComPortNumber() {
  return AskSlot(driver_, &Driver::get_ComPortNumber);
}

std::string SlotDriver::ProjectName() {
  return AskSlot(driver_, &Driver::get_ProjectName);
}

void SlotDriver::PutProjectName(const std::string& NewValue) {
  const Bstr name(NewValue);
  CallSlot(driver_, &Driver::put_ProjectName, name.Get());
}

bool SlotDriver::GroupTransfer() {
  return AskSlot(driver_, &Driver::get_GroupTransfer) != VARIANT_FALSE;
}

bool SlotDriver::CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) {
  VARIANT_BOOL fits = VARIANT_FALSE;
  CallSlot(driver_, &Driver::CheckVariable, TotalWordLength, ItemCount, &fits);
  return fits != VARIANT_FALSE;
}

void SlotDriver::PutWordIO(std::int16_t NewValue) {
  CallSlot(driver_, &Driver::put_WordIO, NewValue);
}

std::int16_t SlotDriver::WordIO() {
  return AskSlot(driver_, &Driver::get_WordIO);
}

void SlotDriver::PutTimeout(std::int16_t NewValue) {
  CallSlot(driver_, &Driver::put_Timeout, NewValue);
}

std::int16_t SlotDriver::Timeout() {
  return AskSlot(driver_, &Driver::get_Timeout);
}

bool SlotDriver::FirmwareDownloadNeeded() {
  return AskSlot(driver_, &Driver::get_FirmwareDownloadNeeded) != VARIANT_FALSE;
}

bool SlotDriver::ProjectDownloadNeeded() {
  return AskSlot(driver_, &Driver::get_ProjectDownloadNeeded) != VARIANT_FALSE;
}

std::shared_ptr<DeviceObject> SlotDriver::CreateDevice(const std::string& DeviceKind) {
  const Bstr kind(DeviceKind);
  ComPtr<::IDeviceObject> device;
  CallSlot(driver_, &Driver::CreateDevice, kind.Get(), device.Put());
  if (!device) return nullptr;
  return std::make_shared<SlotDevice>(std::move(device));
}

}  // namespace orvo::com
