#include "com/DriverExport.h"

#include "com/Arguments.h"
#include "com/DeviceExport.h"
#include "com/ScriptBytes.h"
#include "com/SlotSink.h"

namespace orvo::com {

DriverExport::DriverExport(std::shared_ptr<CommunicationDriver> driver, const char* source)
    : DispatchObject(source), driver_(std::move(driver)) {}

DriverExport::~DriverExport() {
  const std::weak_ptr<CommunicationDriver> driver = std::exchange(driver_, nullptr);
  if (driver.expired()) return;
  // An answer that is on its way through the message loop holds the driver. It stands on this thread's
  // platform, which stays until the loop has come past it.
  try {
    Home().Platform().Post([home = Home().shared_from_this()] {});
  } catch (...) {
    // Without memory for the message the answer is lost.
  }
}

HRESULT DriverExport::SetEventSink(::IEventNotify* Sink) {
  return Call([&] {
    if (Sink == nullptr) return driver_->SetEventSink(nullptr);
    // A caller by name may pass any object.
    auto sink = ComPtr<IUnknown>(Sink).Query<::IEventNotify>();
    if (!sink) RaiseRuntimeError(RuntimeError::TypeMismatch, "the object is no event sink");
    driver_->SetEventSink(std::make_shared<SlotSink>(std::move(sink)));
  });
}

HRESULT DriverExport::WriteItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions,
                                 SAFEARRAY** DATAValues) {
  return Call([&] {
    driver_->WriteItems(ArrayArgumentOf<double>(CompiledAddresses), ArrayArgumentOf<std::int16_t>(Dimensions),
                        WithBytes(ArrayArgumentOf<Variant>(DATAValues)));
  });
}

HRESULT DriverExport::ReadItems(SAFEARRAY** CompiledAddresses, SAFEARRAY** Dimensions) {
  return Call([&] {
    driver_->ReadItems(ArrayArgumentOf<double>(CompiledAddresses), ArrayArgumentOf<std::int16_t>(Dimensions));
  });
}

HRESULT DriverExport::WriteGroup(LONG* GroupId, SAFEARRAY** Buffer) {
  return Call([&] { driver_->WriteGroup(Referred(GroupId), ArrayArgumentOf<std::uint8_t>(Buffer)); });
}

HRESULT DriverExport::ReadGroup(LONG* GroupId, SAFEARRAY** Buffer) {
  return Call([&] { driver_->ReadGroup(Referred(GroupId), ArrayArgumentOf<std::uint8_t>(Buffer)); });
}

HRESULT DriverExport::OpenCommunication(VARIANT_BOOL Open) {
  return Call([&] { driver_->OpenCommunication(Open != VARIANT_FALSE); });
}

HRESULT DriverExport::CloseCommunication() {
  return Call([&] { driver_->CloseCommunication(); });
}

HRESULT DriverExport::get_BootVersion(float* Result) {
  return Answer(Result, [&] { return driver_->BootVersion(); });
}

HRESULT DriverExport::get_BootDate(BSTR* Result) {
  return Answer(Result, [&] { return driver_->BootDate(); });
}

HRESULT DriverExport::get_FirmwareVersion(float* Result) {
  return Answer(Result, [&] { return driver_->FirmwareVersion(); });
}

HRESULT DriverExport::get_BoardDescription(BSTR* Result) {
  return Answer(Result, [&] { return driver_->BoardDescription(); });
}

HRESULT DriverExport::get_BoardStatus(LONG* Result) {
  return Answer(Result, [&] { return driver_->BoardStatus(); });
}

HRESULT DriverExport::get_CommunicationStatus(LONG* Result) {
  return Answer(Result, [&] { return driver_->CommunicationStatus(); });
}

HRESULT DriverExport::DownloadFirmware(BSTR FileName, LONG Flag) {
  return Call([&] { driver_->DownloadFirmware(TextOf(FileName), Flag); });
}

HRESULT DriverExport::DownloadProject(BSTR FileName, LONG Flag) {
  return Call([&] { driver_->DownloadProject(TextOf(FileName), Flag); });
}

HRESULT DriverExport::get_BaudRate(LONG* Result) {
  return Answer(Result, [&] { return driver_->BaudRate(); });
}

HRESULT DriverExport::put_BaudRate(LONG NewValue) {
  return Call([&] { driver_->PutBaudRate(NewValue); });
}

HRESULT DriverExport::Reserved18() {
  return E_NOTIMPL;
}

HRESULT DriverExport::SetConfigurationMode(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return driver_->SetConfigurationMode(); });
}

HRESULT DriverExport::SetGroupDefinition(LONG GroupId, LONG Define) {
  return Call([&] { driver_->SetGroupDefinition(GroupId, Define); });
}

HRESULT DriverExport::get_GroupCapacity(LONG* Result) {
  return Answer(Result, [&] { return driver_->GroupCapacity(); });
}

HRESULT DriverExport::put_NetworkType(LONG NewValue) {
  return Call([&] { driver_->PutNetworkType(NewValue); });
}

HRESULT DriverExport::Reserved23() {
  return E_NOTIMPL;
}

HRESULT DriverExport::get_MinorVersion(short* Result) {
  return Answer(Result, [&] { return driver_->MinorVersion(); });
}

HRESULT DriverExport::get_MajorVersion(short* Result) {
  return Answer(Result, [&] { return driver_->MajorVersion(); });
}

HRESULT DriverExport::get_Description(BSTR* Result) {
  return Answer(Result, [&] { return driver_->Description(); });
}

HRESULT DriverExport::put_ComPortNumber(LONG NewValue) {
  return Call([&] { driver_->PutComPortNumber(NewValue); });
}

HRESULT DriverExport::get_ComPortNumber(LONG* Result) {
  return Answer(Result, [&] { return driver_->ComPortNumber(); });
}

HRESULT DriverExport::Reserved29() {
  return E_NOTIMPL;
}

HRESULT DriverExport::get_ProjectName(BSTR* Result) {
  return Answer(Result, [&] { return driver_->ProjectName(); });
}

HRESULT DriverExport::put_ProjectName(BSTR NewValue) {
  return Call([&] { driver_->PutProjectName(TextOf(NewValue)); });
}

HRESULT DriverExport::get_GroupTransfer(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return driver_->GroupTransfer(); });
}

HRESULT DriverExport::CheckVariable(LONG TotalWordLength, LONG ItemCount, VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return driver_->CheckVariable(TotalWordLength, ItemCount); });
}

HRESULT DriverExport::put_WordIO(short NewValue) {
  return Call([&] { driver_->PutWordIO(NewValue); });
}

HRESULT DriverExport::get_WordIO(short* Result) {
  return Answer(Result, [&] { return driver_->WordIO(); });
}

HRESULT DriverExport::put_Timeout(short NewValue) {
  return Call([&] { driver_->PutTimeout(NewValue); });
}

HRESULT DriverExport::get_Timeout(short* Result) {
  return Answer(Result, [&] { return driver_->Timeout(); });
}

HRESULT DriverExport::get_FirmwareDownloadNeeded(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return driver_->FirmwareDownloadNeeded(); });
}

HRESULT DriverExport::get_ProjectDownloadNeeded(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return driver_->ProjectDownloadNeeded(); });
}

HRESULT DriverExport::CreateDevice(BSTR DeviceKind, ::IDeviceObject** Result) {
  return Answer(Result, [&] {
    std::shared_ptr<DeviceObject> device = driver_->CreateDevice(TextOf(DeviceKind));
    return device ? ComPtr<::IDeviceObject>(new DeviceExport(std::move(device), Source()))
                  : ComPtr<::IDeviceObject>();
  });
}

}  // namespace orvo::com
