#include "ClientObject.h"

#include <cwchar>
#include <limits>

namespace orvo::testing {

namespace {

constexpr DISPID LengthId = 1;
constexpr DISPID FirstElementId = 100;
constexpr DISPID OtherId = 50;

// Asked for by Of alone.
constexpr GUID OwnInterface = {0x7f1c0a52, 0x3bd1, 0x4c0e, {0x8d, 0x5a, 0x11, 0x2e, 0x60, 0x4f, 0x77, 0x3c}};

}  // namespace

com::ComPtr<IDispatch> ClientObject::New(Habit habit, std::function<void()> called) {
  return com::ComPtr<IDispatch>(new ClientObject(habit, std::move(called)));
}

ClientObject* ClientObject::Of(IUnknown* object) {
  void* own = nullptr;
  if (object == nullptr || FAILED(object->QueryInterface(OwnInterface, &own))) return nullptr;
  auto* const found = static_cast<ClientObject*>(own);
  found->Release();
  return found;
}

HRESULT ClientObject::QueryInterface(REFIID iid, void** result) {
  *result = nullptr;
  const bool dispatch = iid == __uuidof(IDispatch) || iid == __uuidof(IDispatchEx);
  if (iid == OwnInterface)
    *result = this;
  else if (iid == __uuidof(IUnknown) || (dispatch && habit_ != Habit::NoDispatch))
    *result = static_cast<IDispatchEx*>(this);
  if (*result == nullptr) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ULONG ClientObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT ClientObject::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

HRESULT ClientObject::GetTypeInfo(UINT, LCID, ITypeInfo** result) {
  *result = nullptr;
  return DISP_E_BADINDEX;
}

HRESULT ClientObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  for (UINT i = 0; i < count; ++i)
    ids[i] = DISPID_UNKNOWN;
  if (habit_ == Habit::NoNames) return DISP_E_UNKNOWNNAME;
  if (habit_ == Habit::FailingNames) return E_UNEXPECTED;
  if (std::wcscmp(names[0], L"length") == 0) {
    ids[0] = LengthId;
    return S_OK;
  }
  wchar_t* end = nullptr;
  const long index = std::wcstol(names[0], &end, 10);
  if (end != names[0] && *end == L'\0' && index >= 0) {
    ids[0] = FirstElementId + static_cast<DISPID>(index);
    return S_OK;
  }
  if (habit_ != Habit::EveryName && habit_ != Habit::Raises) return DISP_E_UNKNOWNNAME;
  ids[0] = OtherId;
  return S_OK;
}

HRESULT ClientObject::GetDispID(BSTR name, DWORD, DISPID* id) {
  return GetIDsOfNames(IID_NULL, &name, 1, 0, id);
}

HRESULT ClientObject::InvokeEx(DISPID id, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                               EXCEPINFO* failure, IServiceProvider*) {
  return Invoke(id, IID_NULL, locale, flags, arguments, result, failure, nullptr);
}

HRESULT ClientObject::GetLength(VARIANT* result) const {
  V_VT(result) = VT_I4;
  switch (habit_) {
    case Habit::LongArray:
      V_I4(result) = std::numeric_limits<LONG>::max();
      return S_OK;
    case Habit::NegativeArray:
      V_I4(result) = -1;
      return S_OK;
    case Habit::TextLength:
      V_VT(result) = VT_BSTR;
      V_BSTR(result) = SysAllocString(L"2");
      return S_OK;
    case Habit::ObjectLength:
      V_VT(result) = VT_DISPATCH;
      V_DISPATCH(result) = New(Habit::Array, nullptr).Detach();
      return S_OK;
    default:
      V_I4(result) = length_;
      return S_OK;
  }
}

HRESULT ClientObject::Put(DISPID id, const DISPPARAMS& arguments) {
  if (habit_ == Habit::ReadOnlyArray) return E_ACCESSDENIED;
  if (arguments.cArgs != 1) return DISP_E_BADPARAMCOUNT;
  if (id >= FirstElementId) return VariantCopyInd(Element(id - FirstElementId), arguments.rgvarg);
  if (id != LengthId || V_VT(arguments.rgvarg) != VT_I4) return DISP_E_TYPEMISMATCH;
  length_ = V_I4(arguments.rgvarg);
  return S_OK;
}

HRESULT ClientObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                             EXCEPINFO* failure, UINT*) {
  const com::ComPtr<ClientObject> self(this);
  if (called_) called_();
  if (habit_ == Habit::Raises) {
    if (failure == nullptr) return DISP_E_EXCEPTION;
    *failure = {};
    failure->wCode = 1234;
    failure->bstrDescription = SysAllocString(L"the client's own failure");
    return DISP_E_EXCEPTION;
  }
  if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) return Put(id, *arguments);
  if (result == nullptr) return S_OK;
  VariantInit(result);
  if (id == LengthId) return GetLength(result);
  if (id == FirstElementId + 1 && habit_ == Habit::FailingElement) return E_FAIL;
  auto element = elements_.find(id - FirstElementId);
  if (element == elements_.end()) return S_OK;
  return VariantCopy(result, element->second.Get());
}

}  // namespace orvo::testing
