// An array as a late-bound script makes it: an object with "length" and the elements "0", "1", ...
#pragma once

#include "boundary/Value.h"

#include <string>
#include <vector>

namespace orvo::testing {

class ScriptArray final : public IDispatch {
 public:
  explicit ScriptArray(std::vector<Value> elements) : elements_(std::move(elements)) {}
  ScriptArray(const ScriptArray&) = delete;
  ScriptArray& operator=(const ScriptArray&) = delete;
  virtual ~ScriptArray() = default;

  // "I4:1, Empty".
  std::string Content() const {
    std::string text;
    for (const Value& element : elements_)
      text += (text.empty() ? "" : ", ") + Text(element);
    return text;
  }
  ULONG References() const { return references_; }

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override {
    *result = iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch) ? this : nullptr;
    if (*result == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  // Lives in the test.
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    const std::wstring name = names[0];
    ids[0] = DISPID_UNKNOWN;
    if (name == L"length")
      ids[0] = Length;
    else if (!name.empty() && name.find_first_not_of(L"0123456789") == std::wstring::npos)
      ids[0] = First + static_cast<DISPID>(std::stoul(name));
    return ids[0] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    if (id == Length && (flags & DISPATCH_PROPERTYGET) != 0) {
      Value length = I4(static_cast<LONG>(elements_.size()));
      return VariantCopy(result, length.Get());
    }
    if (id < First) return DISP_E_MEMBERNOTFOUND;
    const auto index = static_cast<std::size_t>(id - First);
    if ((flags & DISPATCH_PROPERTYPUT) != 0) {
      if (elements_.size() <= index) elements_.resize(index + 1);
      return VariantCopyInd(elements_[index].Get(), &arguments->rgvarg[0]);
    }
    if (elements_.size() <= index) return DISP_E_MEMBERNOTFOUND;
    return VariantCopy(result, elements_[index].Get());
  }

 private:
  static constexpr DISPID Length = 1;
  static constexpr DISPID First = 100;

  std::vector<Value> elements_;
  ULONG references_ = 0;
};

}  // namespace orvo::testing
