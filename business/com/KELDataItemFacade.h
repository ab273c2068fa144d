// KELDataItem towards automation clients.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/Facade.h"
#include "model/KELDataItem.h"

namespace orvo::com {

class KELDataItemFacade final : public Facade<orvo::KELDataItem, ::_KELDataItem> {
 public:
  explicit KELDataItemFacade(std::shared_ptr<orvo::KELDataItem> core);

  STDMETHODIMP get_Handle(LONG* Result) override;
  STDMETHODIMP get_ItemName(BSTR* Result) override;
  STDMETHODIMP get_ItemId(BSTR* Result) override;
  STDMETHODIMP get_Parent(_KELDataGroup** Result) override;
  STDMETHODIMP get_AccessRights(LONG* Result) override;
  STDMETHODIMP get_USERValue(VARIANT* Result) override;
  STDMETHODIMP get_DATAValue(VARIANT* Result) override;
  STDMETHODIMP get_TimeStamp(DATE* Result) override;
  STDMETHODIMP SyncRead(VARIANT* USERValue, LONG* Error, VARIANT* TimeStamp) override;
  STDMETHODIMP SyncWrite(VARIANT USERValue, LONG* Error) override;
  STDMETHODIMP get_ItemGroupBufferOffset(LONG* Result) override;
  STDMETHODIMP get_ItemType(LONG* Result) override;
  STDMETHODIMP get_ItemWordLength(LONG* Result) override;
  STDMETHODIMP put_Signed(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_Signed(VARIANT_BOOL* Result) override;
  STDMETHODIMP put_BCD(VARIANT_BOOL NewValue) override;
  STDMETHODIMP get_BCD(VARIANT_BOOL* Result) override;
};

}  // namespace orvo::com
