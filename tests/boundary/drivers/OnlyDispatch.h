// Any object as one that offers dispatch only: calls by name are passed on.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"

namespace orvo::testing {

class OnlyDispatch final : public IDispatch {
 public:
  explicit OnlyDispatch(com::ComPtr<IDispatch> object) : object_(std::move(object)) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = nullptr;
    if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch)) return E_NOINTERFACE;
    *result = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override { return object_->GetTypeInfoCount(count); }
  STDMETHODIMP GetTypeInfo(UINT number, LCID locale, ITypeInfo** result) override {
    return object_->GetTypeInfo(number, locale, result);
  }
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override {
    return object_->GetIDsOfNames(iid, names, count, locale, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO* failure, UINT* argument) override {
    const com::ComPtr<IDispatch> object = object_;
    const HRESULT answer = object->Invoke(id, iid, locale, flags, arguments, result, failure, argument);
    // The driver's device must be called by name too.
    if (SUCCEEDED(answer) && result != nullptr && V_VT(result) == VT_DISPATCH && V_DISPATCH(result) != nullptr)
      V_DISPATCH(result) =
          com::ComPtr<IDispatch>(new OnlyDispatch(com::ComPtr<IDispatch>::Adopt(V_DISPATCH(result)))).Detach();
    return answer;
  }

 private:
  ~OnlyDispatch() = default;

  const com::ComPtr<IDispatch> object_;
  ULONG references_ = 0;
};

}  // namespace orvo::testing
