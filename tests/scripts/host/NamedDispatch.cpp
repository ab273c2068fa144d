#include "NamedDispatch.h"

#include "HostError.h"

namespace orvo::testing {

const VARIANT& Arguments::At(std::size_t index) const {
  if (index >= Size())
    throw HostError(DISP_E_BADPARAMCOUNT, L"argument " + std::to_wstring(index + 1) + L" is missing");
  return Followed(params_.rgvarg[Size() - 1 - index]);
}

IDispatch* Arguments::ObjectAt(std::size_t index, const wchar_t* what) const {
  const VARIANT& value = At(index);
  if (value.vt == VT_DISPATCH && value.pdispVal != nullptr) return value.pdispVal;
  if (value.vt == (VT_BYREF | VT_DISPATCH) && *value.ppdispVal != nullptr) return *value.ppdispVal;
  throw HostError(DISP_E_TYPEMISMATCH, std::wstring(what) + L" is not an object: " + TextOf(value));
}

void NamedDispatch::Add(std::wstring name, Function function) {
  functions_.emplace_back(std::move(name), std::move(function));
}

HRESULT STDMETHODCALLTYPE NamedDispatch::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE NamedDispatch::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** info) {
  if (info != nullptr) *info = nullptr;
  return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE NamedDispatch::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* names, UINT count,
                                                       LCID /*locale*/, DISPID* ids) {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  for (UINT argument = 1; argument < count; ++argument)
    ids[argument] = DISPID_UNKNOWN;
  for (std::size_t index = 0; index < functions_.size(); ++index) {
    if (lstrcmpiW(functions_[index].first.c_str(), names[0]) == 0) {
      ids[0] = static_cast<DISPID>(index);
      return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
    }
  }
  ids[0] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT STDMETHODCALLTYPE NamedDispatch::Invoke(DISPID id, REFIID /*iid*/, LCID /*locale*/, WORD flags,
                                                DISPPARAMS* params, VARIANT* result, EXCEPINFO* failure,
                                                UINT* /*argument*/) {
  if (params == nullptr) return E_INVALIDARG;
  if (id < 0 || static_cast<std::size_t>(id) >= functions_.size()) return DISP_E_MEMBERNOTFOUND;
  if ((flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) == 0) return DISP_E_MEMBERNOTFOUND;
  Value answer;
  const auto& [name, function] = functions_[static_cast<std::size_t>(id)];
  try {
    function(Arguments(*params), *answer.Raw());
  } catch (const HostError& error) {
    if (failure == nullptr) return error.Code();
    *failure = {};
    failure->scode = error.Code();
    failure->bstrSource = SysAllocString(name_.c_str());
    failure->bstrDescription = SysAllocString((name_ + L"." + name + L": " + error.Text()).c_str());
    return DISP_E_EXCEPTION;
  }
  if (result != nullptr) *result = answer.Detach();
  return S_OK;
}

}  // namespace orvo::testing
