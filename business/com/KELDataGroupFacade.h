// KELDataGroup towards automation clients.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/EventSinks.h"
#include "com/Facade.h"
#include "model/KELDataGroup.h"

namespace orvo::com {

class KELDataGroupFacade final : public SourceFacade<orvo::KELDataGroup, KELDataGroupEvents, GroupSink,
                                                     ::_KELDataGroup, ::__KELDataGroup> {
 public:
  explicit KELDataGroupFacade(std::shared_ptr<orvo::KELDataGroup> core);

  STDMETHODIMP get_Handle(LONG* Result) override;
  STDMETHODIMP get_GroupName(BSTR* Result) override;
  STDMETHODIMP get_KELDataItems(_KELDataItems** Result) override;
  STDMETHODIMP get_Parent(_KELDataServer** Result) override;
  STDMETHODIMP get_Active(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_Active(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_Subscribed(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_Subscribed(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_UpdateRate(LONG* Result) override;
  STDMETHODIMP put_UpdateRate(LONG NewValue) override;
  STDMETHODIMP SyncRead(SAFEARRAY** Handles, SAFEARRAY** Values, SAFEARRAY** Errors) override;
  STDMETHODIMP SyncReadAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) override;
  STDMETHODIMP SyncWrite(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) override;
  STDMETHODIMP SyncWriteAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) override;
  STDMETHODIMP AsyncRead(SAFEARRAY** Handles, LONG* TransactionId) override;
  STDMETHODIMP AsyncReadAll(LONG* TransactionId) override;
  STDMETHODIMP AsyncWrite(SAFEARRAY** Handles, SAFEARRAY** USERValues, LONG* TransactionId) override;
  STDMETHODIMP AsyncWriteAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, LONG* TransactionId) override;
  STDMETHODIMP AsyncCancel(LONG* TransactionId) override;
  STDMETHODIMP CompileVariable(SAFEARRAY** Handles, SAFEARRAY** Result) override;
  STDMETHODIMP GetDimension(SAFEARRAY** Handles, SAFEARRAY** Result) override;
  STDMETHODIMP get_GroupId(LONG* Result) override;
  STDMETHODIMP get_CompiledBuffer(SAFEARRAY** Result) override;
  STDMETHODIMP SetCompiledBufferDimension(LONG* NewValue) override;
};

}  // namespace orvo::com
