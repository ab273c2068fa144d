#include "com/CallByName.h"

#include "com/ArgumentList.h"
#include "com/Bstr.h"

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

// The arguments of a call that stands for the default member of the property's value: groups(1).
HRESULT CallDefault(VARIANT& value, LCID locale, DISPPARAMS& arguments, VARIANT* result, EXCEPINFO* failure,
                    UINT* argument) {
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

    const bool forwards = member->kind == INVOKE_PROPERTYGET && member->parameters.empty() && given.cArgs > 0 &&
                          member->result.type == VT_DISPATCH;
    if (forwards) {
      ArgumentList empty(none, *member, locale);
      OwnedVariant value;
      const HRESULT got = CallMember(object, *member, empty, value.Get(), failure);
      return FAILED(got) ? got : CallDefault(*value.Get(), locale, given, result, failure, argument);
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
