// KELDataGroups towards automation clients. It also answers for IExecuteTimerTick.
#pragma once

#include "ORVOBusiness_h.h"
#include "com/Facade.h"
#include "com/TimerTickFace.h"
#include "model/KELDataGroups.h"

namespace orvo::com {

class KELDataGroupsFacade final : public Facade<orvo::KELDataGroups, ::_KELDataGroups> {
 public:
  explicit KELDataGroupsFacade(std::shared_ptr<orvo::KELDataGroups> core);

  STDMETHODIMP get_Parent(_KELDataServer** Result) override;
  STDMETHODIMP get_Count(LONG* Result) override;
  STDMETHODIMP Item(LONG* Handle, _KELDataGroup** Result) override;
  STDMETHODIMP ItemByName(BSTR* GroupName, _KELDataGroup** Result) override;
  STDMETHODIMP Add(VARIANT GroupName, _KELDataGroup** Result) override;
  STDMETHODIMP Remove(LONG* Handle) override;
  STDMETHODIMP RemoveByName(BSTR* GroupName) override;
  STDMETHODIMP RemoveAll() override;
  STDMETHODIMP get_NewEnum(IUnknown** Result) override;

  // Of the face IExecuteTimerTick.
  HRESULT Execute(LONG* lTimerId) noexcept;
  HRESULT TickInfo(ITypeInfo** result) noexcept;
  HRESULT InvokeTick(IDispatch* face, DISPID id, LCID locale, WORD flags, DISPPARAMS* arguments,
                     VARIANT* result, EXCEPINFO* failure, UINT* argument) noexcept;

 private:
  void* OtherFace(REFIID iid) override;

  TimerTickFace tick_;
};

}  // namespace orvo::com
