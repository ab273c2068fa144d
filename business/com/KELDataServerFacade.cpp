#include "com/KELDataServerFacade.h"

#include "com/Arguments.h"

namespace orvo::com {

KELDataServerFacade::KELDataServerFacade(std::shared_ptr<orvo::KELDataServer> core)
    : SourceFacade(std::move(core), CLSID_KELDataServer, "ORVOBusiness.KELDataServer") {}

ComPtr<IUnknown> KELDataServerFacade::New() {
  return FacadeOfAny(orvo::KELDataServer::Create(ThreadHome::Current()->Environment()));
}

HRESULT KELDataServerFacade::get_MinorVersion(short* Result) {
  return Answer(Result, [&] { return Object()->MinorVersion(); });
}

HRESULT KELDataServerFacade::get_MajorVersion(short* Result) {
  return Answer(Result, [&] { return Object()->MajorVersion(); });
}

HRESULT KELDataServerFacade::get_Description(BSTR* Result) {
  return Answer(Result, [&] { return Object()->Description(); });
}

HRESULT KELDataServerFacade::get_DeviceName(BSTR* Result) {
  return Answer(Result, [&] { return Object()->DeviceName(); });
}

HRESULT KELDataServerFacade::get_BootVersion(float* Result) {
  return Answer(Result, [&] { return Object()->BootVersion(); });
}

HRESULT KELDataServerFacade::get_BootDate(BSTR* Result) {
  return Answer(Result, [&] { return Object()->BootDate(); });
}

HRESULT KELDataServerFacade::get_FirmwareVersion(float* Result) {
  return Answer(Result, [&] { return Object()->FirmwareVersion(); });
}

HRESULT KELDataServerFacade::get_BoardDescription(BSTR* Result) {
  return Answer(Result, [&] { return Object()->BoardDescription(); });
}

HRESULT KELDataServerFacade::get_BoardStatus(LONG* Result) {
  return Answer(Result, [&] { return Object()->BoardStatus(); });
}

HRESULT KELDataServerFacade::get_CommunicationStatus(LONG* Result) {
  return Answer(Result, [&] { return Object()->CommunicationStatus(); });
}

HRESULT KELDataServerFacade::get_ServerStatus(LONG* Result) {
  return Answer(Result, [&] { return Object()->ServerStatus(); });
}

HRESULT KELDataServerFacade::get_KELDataGroups(_KELDataGroups** Result) {
  return Answer(Result, [&] { return Object()->KELDataGroups(); });
}

HRESULT KELDataServerFacade::get_AutoDownloadFirmware(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->AutoDownloadFirmware(); });
}

HRESULT KELDataServerFacade::get_AutoDownloadProject(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->AutoDownloadProject(); });
}

HRESULT KELDataServerFacade::get_WordIO(short* Result) {
  return Answer(Result, [&] { return Object()->WordIO(); });
}

HRESULT KELDataServerFacade::get_Timeout(short* Result) {
  return Answer(Result, [&] { return Object()->Timeout(); });
}

HRESULT KELDataServerFacade::get_ComPortNumber(LONG* Result) {
  return Answer(Result, [&] { return Object()->ComPortNumber(); });
}

HRESULT KELDataServerFacade::put_ComPortNumber(LONG NewValue) {
  return Call([&] { Object()->PutComPortNumber(NewValue); });
}

HRESULT KELDataServerFacade::get_ProjectName(BSTR* Result) {
  return Answer(Result, [&] { return Object()->ProjectName(); });
}

HRESULT KELDataServerFacade::put_ProjectName(BSTR NewValue) {
  return Call([&] { Object()->PutProjectName(TextOf(NewValue)); });
}

HRESULT KELDataServerFacade::get_BaudRate(LONG* Result) {
  return Answer(Result, [&] { return Object()->BaudRate(); });
}

HRESULT KELDataServerFacade::put_BaudRate(LONG NewValue) {
  return Call([&] { Object()->PutBaudRate(NewValue); });
}

HRESULT KELDataServerFacade::put_DeviceType(LONG NewValue) {
  return Call([&] { Object()->PutDeviceType(NewValue); });
}

HRESULT KELDataServerFacade::get_DeviceType(LONG* Result) {
  return Answer(Result, [&] { return Object()->DeviceType(); });
}

HRESULT KELDataServerFacade::put_WordIO(short NewValue) {
  return Call([&] { Object()->PutWordIO(NewValue); });
}

HRESULT KELDataServerFacade::put_Timeout(short NewValue) {
  return Call([&] { Object()->PutTimeout(NewValue); });
}

HRESULT KELDataServerFacade::put_AutoDownloadFirmware(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutAutoDownloadFirmware(NewValue != VARIANT_FALSE); });
}

HRESULT KELDataServerFacade::put_AutoDownloadProject(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutAutoDownloadProject(NewValue != VARIANT_FALSE); });
}

HRESULT KELDataServerFacade::LoadConfigurationFromFile(BSTR FileName, VARIANT bIgnoreErrors) {
  return Call([&] { Object()->LoadConfigurationFromFile(TextOf(FileName), OptionalValue(bIgnoreErrors)); });
}

HRESULT KELDataServerFacade::SaveConfigurationToFile(BSTR FileName) {
  return Call([&] { Object()->SaveConfigurationToFile(TextOf(FileName)); });
}

HRESULT KELDataServerFacade::OpenCommunication() {
  return Call([&] { Object()->OpenCommunication(); });
}

HRESULT KELDataServerFacade::CloseCommunication() {
  return Call([&] { Object()->CloseCommunication(); });
}

HRESULT KELDataServerFacade::SetDriverConfigurationFile(BSTR FileName) {
  return Call([&] { Object()->SetDriverConfigurationFile(TextOf(FileName)); });
}

HRESULT KELDataServerFacade::DownloadFirmware(BSTR FileName) {
  return Call([&] { Object()->DownloadFirmware(TextOf(FileName)); });
}

HRESULT KELDataServerFacade::DownloadProject(BSTR FileName) {
  return Call([&] { Object()->DownloadProject(TextOf(FileName)); });
}

}  // namespace orvo::com
