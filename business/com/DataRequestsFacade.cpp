#include "com/DataRequestsFacade.h"

#include "com/Arguments.h"
#include "com/DriverImport.h"

namespace orvo::com {

DataRequestsFacade::DataRequestsFacade(std::shared_ptr<orvo::DataRequests> core)
    : SourceFacade(std::move(core), CLSID_DataRequests, "ORVOBusiness.DataRequests", Keeps::Nothing) {}

HRESULT DataRequestsFacade::StartSpooler() {
  return Call([&] { Object()->StartSpooler(); });
}

HRESULT DataRequestsFacade::StopSpooler() {
  return Call([&] { Object()->StopSpooler(); });
}

HRESULT DataRequestsFacade::putref_DataComm(IDispatch* NewValue) {
  return Call([&] { Object()->PutDataComm(ImportDriver(ComPtr<IUnknown>(NewValue))); });
}

HRESULT DataRequestsFacade::AddRequest(_DataRequest** aDataReq, LONG* Result) {
  return Answer(Result, [&] { return Object()->AddRequest(CoreOf<orvo::DataRequest>(Referred(aDataReq))); });
}

HRESULT DataRequestsFacade::AddDeliver(_DataRequest** aDataReq) {
  return Call([&] { Object()->AddDeliver(CoreOf<orvo::DataRequest>(Referred(aDataReq))); });
}

HRESULT DataRequestsFacade::Clear() {
  return Call([&] { Object()->Clear(); });
}

HRESULT DataRequestsFacade::ProcessNext() {
  return Call([&] { Object()->ProcessNext(); });
}

HRESULT DataRequestsFacade::DeliverNext() {
  return Call([&] { Object()->DeliverNext(); });
}

HRESULT DataRequestsFacade::DownloadFirmware(BSTR FileName, VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->DownloadFirmware(TextOf(FileName)); });
}

HRESULT DataRequestsFacade::DownloadProject(BSTR FileName, VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->DownloadProject(TextOf(FileName)); });
}

HRESULT DataRequestsFacade::AsyncCancel(LONG* TransactionId) {
  return Call([&] { Object()->AsyncCancel(Referred(TransactionId)); });
}

HRESULT DataRequestsFacade::AsyncReadComplete(SAFEARRAY** DATAValues, SAFEARRAY** ItemErrors) {
  return Call([&] {
    Object()->AsyncReadComplete(ArrayArgumentOf<Variant>(DATAValues),
                                ArrayArgumentOf<std::int32_t>(ItemErrors));
  });
}

HRESULT DataRequestsFacade::AsyncReadGroupComplete(SAFEARRAY** Buffer, LONG* Error) {
  return Call(
      [&] { Object()->AsyncReadGroupComplete(ArrayArgumentOf<std::uint8_t>(Buffer), Referred(Error)); });
}

HRESULT DataRequestsFacade::AsyncWriteComplete(SAFEARRAY** ItemErrors) {
  return Call([&] { Object()->AsyncWriteComplete(ArrayArgumentOf<std::int32_t>(ItemErrors)); });
}

HRESULT DataRequestsFacade::AsyncWriteGroupComplete(LONG* Error) {
  return Call([&] { Object()->AsyncWriteGroupComplete(Referred(Error)); });
}

HRESULT DataRequestsFacade::DownloadFirmwareComplete() {
  return Call([&] { Object()->DownloadFirmwareComplete(); });
}

HRESULT DataRequestsFacade::DownloadFirmwareInProgress(short* Percent) {
  return Call([&] { Object()->DownloadFirmwareInProgress(Referred(Percent)); });
}

HRESULT DataRequestsFacade::DownloadProjectComplete() {
  return Call([&] { Object()->DownloadProjectComplete(); });
}

HRESULT DataRequestsFacade::DownloadProjectInProgress(short* Percent) {
  return Call([&] { Object()->DownloadProjectInProgress(Referred(Percent)); });
}

}  // namespace orvo::com
