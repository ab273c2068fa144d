// KELDataItems towards automation clients.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/Facade.h"
#include "model/KELDataItems.h"

namespace orvo::com {

class KELDataItemsFacade final : public Facade<orvo::KELDataItems, ::_KELDataItems> {
 public:
  explicit KELDataItemsFacade(std::shared_ptr<orvo::KELDataItems> core);

  STDMETHODIMP get_Parent(_KELDataGroup** Result) override;
  STDMETHODIMP get_Count(LONG* Result) override;
  STDMETHODIMP Item(LONG* Handle, _KELDataItem** Result) override;
  STDMETHODIMP ItemByName(BSTR* ItemName, _KELDataItem** Result) override;
  STDMETHODIMP Add(BSTR* ItemId, VARIANT ItemName, _KELDataItem** Result) override;
  STDMETHODIMP AddCompiled(BSTR* ItemName, _KELDataItem** Result) override;
  STDMETHODIMP Remove(LONG* Handle) override;
  STDMETHODIMP RemoveByName(BSTR* ItemName) override;
  STDMETHODIMP RemoveAll() override;
  STDMETHODIMP get_NewEnum(IUnknown** Result) override;
};

}  // namespace orvo::com
