// DataRequest towards automation clients.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/Facade.h"
#include "spooler/DataRequest.h"

namespace orvo::com {

class DataRequestFacade final : public Facade<orvo::DataRequest, ::_DataRequest> {
 public:
  explicit DataRequestFacade(std::shared_ptr<orvo::DataRequest> core);

  STDMETHODIMP get_PriorReq(_DataRequest** Result) override;
  STDMETHODIMP putref_PriorReq(_DataRequest* NewValue) override;
  STDMETHODIMP get_NextReq(_DataRequest** Result) override;
  STDMETHODIMP putref_NextReq(_DataRequest* NewValue) override;
  STDMETHODIMP get_RequestType(::ReqType* Result) override;
  STDMETHODIMP put_RequestType(::ReqType NewValue) override;
  STDMETHODIMP get_ReqGroup(_KELDataGroup** Result) override;
  STDMETHODIMP putref_ReqGroup(_KELDataGroup* NewValue) override;
  STDMETHODIMP get_ReqItem(_KELDataItem** Result) override;
  STDMETHODIMP putref_ReqItem(_KELDataItem* NewValue) override;
  STDMETHODIMP get_TransactionId(LONG* Result) override;
  STDMETHODIMP put_TransactionId(LONG NewValue) override;
  STDMETHODIMP get_TickSent(LONG* Result) override;
  STDMETHODIMP put_TickSent(LONG NewValue) override;
  STDMETHODIMP get_Error(LONG* Result) override;
  STDMETHODIMP put_Error(LONG NewValue) override;
  STDMETHODIMP get_Handles(SAFEARRAY** Result) override;
  STDMETHODIMP get_DATAValues(SAFEARRAY** Result) override;
  STDMETHODIMP get_Errors(SAFEARRAY** Result) override;
  STDMETHODIMP get_Buffer(SAFEARRAY** Result) override;
  STDMETHODIMP SetHandles(SAFEARRAY** ItemHandles) override;
  STDMETHODIMP SetDATAValues(SAFEARRAY** ItemDATAValues) override;
  STDMETHODIMP SetErrors(SAFEARRAY** ItemErrors) override;
  STDMETHODIMP SetBuffer(SAFEARRAY** Buffer) override;
  STDMETHODIMP GetDATAValues(SAFEARRAY** ItemDATAValues) override;
};

}  // namespace orvo::com
