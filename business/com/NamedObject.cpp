#include "com/NamedObject.h"

#include "com/ArrayArgument.h"
#include "com/ComError.h"
#include "com/VariantCodec.h"

#include <dispex.h>

namespace orvo::com {

namespace {

constexpr std::int32_t NoSuchMember = 438;

[[noreturn]] void RaiseNoSuchMember(const wchar_t* name) {
  throw AutomationError(NoSuchMember,
                        "Object doesn't support this property or method: " + TextOf(std::wstring_view(name)));
}

HRESULT FindId(IDispatch& object, const wchar_t* name, DISPID& id) {
  std::wstring copy = name;
  LPOLESTR names = copy.data();
  const HRESULT result = object.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_NEUTRAL, &id);
  if (SUCCEEDED(result)) return result;
  // Objects of VBScript classes answer to names here only.
  ComPtr<IDispatchEx> extended;
  if (FAILED(object.QueryInterface(__uuidof(IDispatchEx), extended.PutVoid()))) return result;
  const Bstr text(TextOf(std::wstring_view(name)));
  return extended->GetDispID(text.Get(), fdexNameCaseInsensitive, &id);
}

bool MeansMissing(HRESULT result) {
  return result == DISP_E_UNKNOWNNAME || result == DISP_E_MEMBERNOTFOUND;
}

}  // namespace

VARIANT& NamedObject::Arguments::Append() {
  VARIANT& passed = passed_.emplace_back();
  VariantInit(&passed);
  return passed;
}

NamedObject::Arguments& NamedObject::Arguments::Add(const Variant& value) {
  VARIANT& owned = *owned_.emplace_back().Get();
  PutFresh(value, &owned);
  Require(MakeIndexable(owned));
  Append() = owned;
  return *this;
}

NamedObject::Arguments& NamedObject::Arguments::Add(const ComPtr<IDispatch>& object) {
  VARIANT& owned = *owned_.emplace_back().Get();
  V_VT(&owned) = VT_DISPATCH;
  V_DISPATCH(&owned) = ComPtr<IDispatch>(object).Detach();
  Append() = owned;
  return *this;
}

NamedObject::Arguments& NamedObject::Arguments::AddReference(VARIANT& variable) {
  VARIANT& passed = Append();
  V_VT(&passed) = VT_BYREF | VT_VARIANT;
  V_VARIANTREF(&passed) = &variable;
  return *this;
}

bool NamedObject::Has(const wchar_t* name) {
  if (ids_.contains(name)) return true;
  const ComPtr<IDispatch> held = object_;
  DISPID id = DISPID_UNKNOWN;
  const HRESULT result = FindId(*held.Get(), name, id);
  if (MeansMissing(result)) return false;
  Require(result);
  ids_.insert_or_assign(name, id);
  return true;
}

DISPID NamedObject::IdOf(const wchar_t* name) {
  if (!Has(name)) RaiseNoSuchMember(name);
  return ids_.find(std::wstring_view(name))->second;
}

void NamedObject::Invoke(const wchar_t* name, WORD flags, const Arguments& arguments, VARIANT* result) {
  const DISPID id = IdOf(name);
  // A call by name takes its arguments last to first.
  std::vector<VARIANT> reversed(arguments.passed_.rbegin(), arguments.passed_.rend());
  DISPID put = DISPID_PROPERTYPUT;
  const bool isPut = flags == DISPATCH_PROPERTYPUT;
  DISPPARAMS parameters{reversed.data(), isPut ? &put : nullptr, static_cast<UINT>(reversed.size()),
                        isPut ? 1U : 0U};
  EXCEPINFO failure{};
  // The owner of this object may let go of it inside the call.
  const ComPtr<IDispatch> held = object_;
  // What an earlier failure left behind is no text for this one.
  SetErrorInfo(0, nullptr);
  const HRESULT outcome =
      held->Invoke(id, IID_NULL, LOCALE_NEUTRAL, flags, &parameters, result, &failure, nullptr);
  if (SUCCEEDED(outcome)) return;
  if (MeansMissing(outcome)) RaiseNoSuchMember(name);
  RaiseForeign(outcome, failure);
}

void NamedObject::Do(const wchar_t* name, const Arguments& arguments) {
  Invoke(name, DISPATCH_METHOD, arguments, nullptr);
}

void NamedObject::Ask(const wchar_t* name, const Arguments& arguments, VARIANT* result) {
  // Both flags, as the languages ask: whether it is a function or a property is the object's own affair.
  Invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, result);
}

Variant NamedObject::Ask(const wchar_t* name, const Arguments& arguments) {
  OwnedVariant result;
  Ask(name, arguments, result.Get());
  return ValueOf(result.Value());
}

void NamedObject::Put(const wchar_t* name, const Variant& value) {
  Arguments arguments;
  arguments.Add(value);
  Invoke(name, DISPATCH_PROPERTYPUT, arguments, nullptr);
}

void NamedObject::RaiseBadAnswer(const wchar_t* name, const AutomationError& error) {
  throw AutomationError(error.Number(),
                        error.Description() + ": the answer of " + TextOf(std::wstring_view(name)));
}

}  // namespace orvo::com
