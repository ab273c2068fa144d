// An object with one dual interface, which the type library describes, and more interfaces beside it.
//
// Calls by name go through CallByName, so callers of both kinds meet the same functions. Out parameters that
// are null are answered with E_POINTER before anything happens; results are cleared first.
#pragma once

#include "com/CallByName.h"
#include "com/ComObject.h"
#include "com/FacadeIdentity.h"
#include "com/VariantCodec.h"
#include "values/Boolean.h"

#include <string>

namespace orvo::com {

inline void ClearResult(VARIANT* result) noexcept {
  VariantInit(result);
}
template <class Result>
void ClearResult(Result* result) noexcept {
  *result = Result{};
}

// How results of the core leave: one function per kind.
inline void PutResult(bool value, VARIANT_BOOL* result) noexcept {
  *result = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void PutResult(const std::string& value, BSTR* result) {
  *result = NewBstr(value);
}
inline void PutResult(Date value, DATE* result) noexcept {
  *result = value.days;
}
inline void PutResult(const Variant& value, VARIANT* result) {
  PutFresh(value, result);
}
template <class Number, class Result>
requires(std::is_arithmetic_v<Number> && !std::same_as<Number, bool>) void PutResult(Number value,
                                                                                     Result* result) noexcept {
  *result = static_cast<Result>(value);
}
template <class T>
void PutResult(const SafeArray<T>& value, SAFEARRAY** result) {
  *result = NewArray(value).Detach();
}
template <class Core, class Interface>
void PutResult(const std::shared_ptr<Core>& object, Interface** result) {
  *result = FacadeOfAny(object).template Query<Interface>().Detach();
}
template <class Interface>
void PutResult(ComPtr<Interface> object, Interface** result) noexcept {
  *result = object.Detach();
}

template <class Interface, class... More>
class DispatchObject : public Interface, public ISupportErrorInfo, public More..., public ComObject {
 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch) || iid == __uuidof(Interface))
      *result = static_cast<Interface*>(this);
    else if (iid == __uuidof(ISupportErrorInfo))
      *result = static_cast<ISupportErrorInfo*>(this);
    else if (!(Offer<More>(iid, result) || ...))
      *result = OtherFace(iid);
    if (*result == nullptr) return E_NOINTERFACE;
    AddReference();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() override { return DropReference(); }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT number, LCID, ITypeInfo** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (number != 0) return DISP_E_BADINDEX;
    return Call([&] { *result = ComPtr<ITypeInfo>(Info().TypeInfo()).Detach(); });
  }
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || ids == nullptr) return E_POINTER;
    return Call([&] { return DispGetIDsOfNames(Info().TypeInfo().Get(), names, count, ids); });
  }
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO* failure, UINT* argument) override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    return Call([&] {
      return CallByName(static_cast<Interface*>(this), Info(), id, locale, flags, arguments, result, failure,
                        argument);
    });
  }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override {
    const bool own =
        iid == __uuidof(Interface) || ((iid == __uuidof(More)) || ...) || OtherFace(iid) != nullptr;
    return own ? S_OK : S_FALSE;
  }

 protected:
  explicit DispatchObject(const char* source) : ComObject(source, __uuidof(Interface)) {}

  const InterfaceInfo& Info() { return Home().Types().Interface(__uuidof(Interface)); }
  // An interface beside the listed ones, or null. The reference is added by the caller.
  virtual void* OtherFace(REFIID) { return nullptr; }

  // Runs a call that answers something.
  template <class Result, class Question>
  HRESULT Answer(Result* result, Question&& question) noexcept {
    if (result == nullptr) return NullArgument();
    ClearResult(result);
    return Call([&] { PutResult(question(), result); });
  }
  HRESULT NullArgument() const noexcept {
    return Report(E_POINTER, "An argument that is filled by the call is missing", Source(),
                  __uuidof(Interface));
  }

 private:
  template <class Face>
  bool Offer(REFIID iid, void** result) {
    if (iid != __uuidof(Face)) return false;
    *result = static_cast<Face*>(this);
    return true;
  }
};

}  // namespace orvo::com
