// The second dual interface of the groups collection: a face of its own, so that calls by name find its member.
#pragma once

#include "ORVOBusiness_h.h"

namespace orvo::com {

class KELDataGroupsFacade;

// A part of its owner: reference count and identity are the owner's.
class TimerTickFace final : public ::_IExecuteTimerTick {
 public:
  explicit TimerTickFace(KELDataGroupsFacade& owner) : owner_(owner) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT number, LCID locale, ITypeInfo** result) override;
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO* failure, UINT* argument) override;
  STDMETHODIMP Execute(LONG* lTimerId) override;

 private:
  KELDataGroupsFacade& owner_;
};

}  // namespace orvo::com
