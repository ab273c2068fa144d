#include "com/CallByName.h"

#include "com/ArgumentList.h"
#include "com/Bstr.h"

#include <utility>

namespace orvo::com {

namespace {

void FillFailure(HRESULT result, EXCEPINFO* failure) {
  ComPtr<IErrorInfo> info;
  const bool told = GetErrorInfo(0, info.Put()) == S_OK;
  if (failure == nullptr) return;
  *failure = {};
  failure->scode = result;
  if (!told) return;
  info->GetDescription(&failure->bstrDescription);
  info->GetSource(&failure->bstrSource);
}

// The element of an array that a property holds: group.CompiledBuffer(15).
HRESULT TakeElement(VARIANT& array, LCID locale, const DISPPARAMS& arguments, VARIANT* result, UINT* argument) {
  if (arguments.cArgs != 1) return DISP_E_BADPARAMCOUNT;
  if (argument != nullptr) *argument = 0;
  OwnedVariant index;
  const HRESULT failed = ConvertScalar(arguments.rgvarg[0], VT_I4, locale, index.Get());
  if (FAILED(failed)) return failed;
  OwnedVariant element;
  LONG position = V_I4(index.Get());
  const HRESULT taken = SafeArrayGetElement(V_ARRAY(&array), &position, element.Get());
  if (FAILED(taken)) return taken;
  if (result != nullptr) std::swap(*result, *element.Get());
  return S_OK;
}

// Arguments behind a property that takes none are meant for its value: groups(1).
HRESULT CallValue(VARIANT& value, LCID locale, DISPPARAMS& arguments, VARIANT* result, EXCEPINFO* failure,
                  UINT* argument) {
  if (V_VT(&value) == (VT_ARRAY | VT_VARIANT)) return TakeElement(value, locale, arguments, result, argument);
  if (V_VT(&value) != VT_DISPATCH || V_DISPATCH(&value) == nullptr) return DISP_E_BADPARAMCOUNT;
  return V_DISPATCH(&value)->Invoke(DISPID_VALUE, IID_NULL, locale, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                                    &arguments, result, failure, argument);
}

HRESULT CallMember(IDispatch* object, const Member& member, ArgumentList& list, VARIANT* result,
                   EXCEPINFO* failure) {
  OwnedVariant answer;
  VARIANT returned;
  VariantInit(&returned);
  const HRESULT called = list.Call(object, member, answer.Get(), &returned);
  if (FAILED(called)) return called;
  const HRESULT outcome = V_I4(&returned);
  if (FAILED(outcome)) {
    FillFailure(outcome, failure);
    return DISP_E_EXCEPTION;
  }
  const HRESULT indexable = MakeIndexable(*answer.Get());
  if (FAILED(indexable)) return indexable;
  if (result != nullptr) {
    *result = *answer.Get();
    VariantInit(answer.Get());
  }
  return outcome;
}

}  // namespace

HRESULT CallByName(IDispatch* object, const InterfaceInfo& info, DISPID id, LCID locale, WORD flags,
                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* failure, UINT* argument) {
  try {
    DISPPARAMS none{};
    DISPPARAMS& given = arguments != nullptr ? *arguments : none;
    if (result != nullptr) VariantInit(result);
    const Member* member = info.Find(id, flags);
    if (member == nullptr) return DISP_E_MEMBERNOTFOUND;

    const bool forwards =
        member->kind == INVOKE_PROPERTYGET && member->parameters.empty() && given.cArgs > 0 &&
        (member->result.type == VT_DISPATCH || member->result.type == VT_VARIANT || member->result.isArray);
    if (forwards) {
      if (given.rgvarg == nullptr) return E_INVALIDARG;
      ArgumentList empty(none, *member, locale);
      OwnedVariant value;
      const HRESULT got = CallMember(object, *member, empty, value.Get(), failure);
      return FAILED(got) ? got : CallValue(*value.Get(), locale, given, result, failure, argument);
    }

    ArgumentList list(given, *member, locale);
    HRESULT outcome = list.Prepare(argument);
    if (FAILED(outcome)) return outcome;
    outcome = CallMember(object, *member, list, result, failure);
    if (outcome != S_OK) return FAILED(outcome) ? outcome : S_OK;
    return list.GiveBack(argument);
  } catch (...) {
    return E_OUTOFMEMORY;  // the functions above report everything else by their result
  }
}

}  // namespace orvo::com
