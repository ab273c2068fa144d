// DataRequests towards automation clients and, as the event sink IEventNotify, towards COM drivers.
//
// It does not keep the spooler: a driver holds its sink for as long as it lives, and the spooler holds the
// driver.
#pragma once

#include "IORVOBusiness_h.h"
#include "ORVOBusiness_h.h"
#include "com/EventSinks.h"
#include "com/Facade.h"
#include "spooler/DataRequests.h"

namespace orvo::com {

class DataRequestsFacade final : public SourceFacade<orvo::DataRequests, SpoolerEvents, SpoolerSink,
                                                     ::_DataRequests, ::__DataRequests, ::IEventNotify> {
 public:
  explicit DataRequestsFacade(std::shared_ptr<orvo::DataRequests> core);

  STDMETHODIMP StartSpooler() override;
  STDMETHODIMP StopSpooler() override;
  STDMETHODIMP putref_DataComm(IDispatch* NewValue) override;
  STDMETHODIMP AddRequest(_DataRequest** aDataReq, LONG* Result) override;
  STDMETHODIMP AddDeliver(_DataRequest** aDataReq) override;
  STDMETHODIMP Clear() override;
  STDMETHODIMP ProcessNext() override;
  STDMETHODIMP DeliverNext() override;
  STDMETHODIMP DownloadFirmware(BSTR FileName, VARIANT_BOOL* Result) override;
  STDMETHODIMP DownloadProject(BSTR FileName, VARIANT_BOOL* Result) override;
  STDMETHODIMP AsyncCancel(LONG* TransactionId) override;

  STDMETHODIMP AsyncReadComplete(SAFEARRAY** DATAValues, SAFEARRAY** ItemErrors) override;
  STDMETHODIMP AsyncReadGroupComplete(SAFEARRAY** Buffer, LONG* Error) override;
  STDMETHODIMP AsyncWriteComplete(SAFEARRAY** ItemErrors) override;
  STDMETHODIMP AsyncWriteGroupComplete(LONG* Error) override;
  STDMETHODIMP DownloadFirmwareComplete() override;
  STDMETHODIMP DownloadFirmwareInProgress(short* Percent) override;
  STDMETHODIMP DownloadProjectComplete() override;
  STDMETHODIMP DownloadProjectInProgress(short* Percent) override;
};

}  // namespace orvo::com
