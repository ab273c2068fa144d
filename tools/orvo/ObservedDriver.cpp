#include "ObservedDriver.h"

#include <utility>

namespace orvo::client {

namespace {

template <class Call>
auto NotedIn(DriverLog& log, const char* operation, Call&& call) {
  try {
    return std::forward<Call>(call)();
  } catch (...) {
    log.NoteFailure(operation, CaughtError());
    throw;
  }
}

class ObservedDevice final : public DeviceObject {
 public:
  ObservedDevice(std::shared_ptr<DeviceObject> device, std::shared_ptr<DriverLog> log)
      : device_(std::move(device)), log_(std::move(log)) {}

  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override {
    return NotedIn(*log_, "CompileItemId", [&] {
      try {
        return device_->CompileItemId(ItemId, CompiledAddress, WordLength, ItemType);
      } catch (...) {
        log_->NoteRefusal(ItemId, CaughtError());
        throw;
      }
    });
  }
  void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Flag) override {
    NotedIn(*log_, "ExtractValue", [&] { device_->ExtractValue(CompiledAddress, Value, Flag); });
  }
  void ItemLoaded(const std::string& ItemId, double CompiledAddress, std::int32_t WordLength,
                  std::int32_t ItemType) override {
    NotedIn(*log_, "ItemLoaded", [&] { device_->ItemLoaded(ItemId, CompiledAddress, WordLength, ItemType); });
  }

 private:
  const std::shared_ptr<DeviceObject> device_;
  const std::shared_ptr<DriverLog> log_;
};

}  // namespace

ObservedDriver::ObservedDriver(std::shared_ptr<CommunicationDriver> driver, std::shared_ptr<DriverLog> log)
    : driver_(std::move(driver)), log_(std::move(log)) {}

template <class Call>
auto ObservedDriver::Noted(const char* operation, Call&& call) {
  return NotedIn(*log_, operation, std::forward<Call>(call));
}

void ObservedDriver::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  Noted("SetEventSink", [&] { driver_->SetEventSink(std::move(Sink)); });
}

void ObservedDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                                const SafeArray<std::int16_t>& Dimensions,
                                const SafeArray<Variant>& DATAValues) {
  Noted("WriteItems", [&] { driver_->WriteItems(CompiledAddresses, Dimensions, DATAValues); });
  log_->NoteSent();
}

void ObservedDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& Dimensions) {
  Noted("ReadItems", [&] { driver_->ReadItems(CompiledAddresses, Dimensions); });
  log_->NoteSent();
}

void ObservedDriver::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  Noted("WriteGroup", [&] { driver_->WriteGroup(GroupId, Buffer); });
  log_->NoteSent();
}

void ObservedDriver::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  Noted("ReadGroup", [&] { driver_->ReadGroup(GroupId, Buffer); });
  log_->NoteSent();
}

void ObservedDriver::OpenCommunication(bool Open) {
  Noted("OpenCommunication", [&] { driver_->OpenCommunication(Open); });
}

void ObservedDriver::CloseCommunication() {
  Noted("CloseCommunication", [&] { driver_->CloseCommunication(); });
}

float ObservedDriver::BootVersion() {
  return Noted("BootVersion", [&] { return driver_->BootVersion(); });
}

std::string ObservedDriver::BootDate() {
  return Noted("BootDate", [&] { return driver_->BootDate(); });
}

float ObservedDriver::FirmwareVersion() {
  return Noted("FirmwareVersion", [&] { return driver_->FirmwareVersion(); });
}

std::string ObservedDriver::BoardDescription() {
  return Noted("BoardDescription", [&] { return driver_->BoardDescription(); });
}

std::int32_t ObservedDriver::BoardStatus() {
  return Noted("BoardStatus", [&] { return driver_->BoardStatus(); });
}

std::int32_t ObservedDriver::CommunicationStatus() {
  return Noted("CommunicationStatus", [&] { return driver_->CommunicationStatus(); });
}

void ObservedDriver::DownloadFirmware(const std::string& FileName, std::int32_t Flag) {
  Noted("DownloadFirmware", [&] { driver_->DownloadFirmware(FileName, Flag); });
}

void ObservedDriver::DownloadProject(const std::string& FileName, std::int32_t Flag) {
  Noted("DownloadProject", [&] { driver_->DownloadProject(FileName, Flag); });
}

std::int32_t ObservedDriver::BaudRate() {
  return Noted("BaudRate", [&] { return driver_->BaudRate(); });
}

void ObservedDriver::PutBaudRate(std::int32_t NewValue) {
  Noted("PutBaudRate", [&] { driver_->PutBaudRate(NewValue); });
}

void ObservedDriver::Reserved18() {
  Noted("Reserved18", [&] { driver_->Reserved18(); });
}

bool ObservedDriver::SetConfigurationMode() {
  const bool accepted = Noted("SetConfigurationMode", [&] { return driver_->SetConfigurationMode(); });
  log_->NoteConfigurationMode(accepted);
  return accepted;
}

void ObservedDriver::SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) {
  Noted("SetGroupDefinition", [&] { driver_->SetGroupDefinition(GroupId, Define); });
}

std::int32_t ObservedDriver::GroupCapacity() {
  return Noted("GroupCapacity", [&] { return driver_->GroupCapacity(); });
}

void ObservedDriver::PutNetworkType(std::int32_t NewValue) {
  Noted("PutNetworkType", [&] { driver_->PutNetworkType(NewValue); });
}

void ObservedDriver::Reserved23() {
  Noted("Reserved23", [&] { driver_->Reserved23(); });
}

std::int16_t ObservedDriver::MinorVersion() {
  return Noted("MinorVersion", [&] { return driver_->MinorVersion(); });
}

std::int16_t ObservedDriver::MajorVersion() {
  return Noted("MajorVersion", [&] { return driver_->MajorVersion(); });
}

std::string ObservedDriver::Description() {
  return Noted("Description", [&] { return driver_->Description(); });
}

void ObservedDriver::PutComPortNumber(std::int32_t NewValue) {
  Noted("PutComPortNumber", [&] { driver_->PutComPortNumber(NewValue); });
}

std::int32_t ObservedDriver::ComPortNumber() {
  return Noted("ComPortNumber", [&] { return driver_->ComPortNumber(); });
}

void ObservedDriver::Reserved29() {
  Noted("Reserved29", [&] { driver_->Reserved29(); });
}

std::string ObservedDriver::ProjectName() {
  return Noted("ProjectName", [&] { return driver_->ProjectName(); });
}

void ObservedDriver::PutProjectName(const std::string& NewValue) {
  Noted("PutProjectName", [&] { driver_->PutProjectName(NewValue); });
}

bool ObservedDriver::GroupTransfer() {
  return Noted("GroupTransfer", [&] { return driver_->GroupTransfer(); });
}

bool ObservedDriver::CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) {
  return Noted("CheckVariable", [&] { return driver_->CheckVariable(TotalWordLength, ItemCount); });
}

void ObservedDriver::PutWordIO(std::int16_t NewValue) {
  Noted("PutWordIO", [&] { driver_->PutWordIO(NewValue); });
}

std::int16_t ObservedDriver::WordIO() {
  return Noted("WordIO", [&] { return driver_->WordIO(); });
}

void ObservedDriver::PutTimeout(std::int16_t NewValue) {
  Noted("PutTimeout", [&] { driver_->PutTimeout(NewValue); });
}

std::int16_t ObservedDriver::Timeout() {
  return Noted("Timeout", [&] { return driver_->Timeout(); });
}

bool ObservedDriver::FirmwareDownloadNeeded() {
  return Noted("FirmwareDownloadNeeded", [&] { return driver_->FirmwareDownloadNeeded(); });
}

bool ObservedDriver::ProjectDownloadNeeded() {
  return Noted("ProjectDownloadNeeded", [&] { return driver_->ProjectDownloadNeeded(); });
}

std::shared_ptr<DeviceObject> ObservedDriver::CreateDevice(const std::string& DeviceKind) {
  std::shared_ptr<DeviceObject> device =
      Noted("CreateDevice", [&] { return driver_->CreateDevice(DeviceKind); });
  if (!device) return nullptr;
  return std::make_shared<ObservedDevice>(std::move(device), log_);
}

}  // namespace orvo::client
