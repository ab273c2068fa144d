#include "com/ArgumentList.h"

#include "com/Automation.h"
#include "com/VariantCodec.h"
#include "com/VariantReference.h"

#include <array>
#include <cstring>

namespace orvo::com {

namespace {

bool IsMissing(const VARIANT& value) {
  const VARIANT& behind = Dereferenced(value);
  return V_VT(&behind) == VT_ERROR && V_ERROR(&behind) == DISP_E_PARAMNOTFOUND;
}

void MarkMissing(VARIANT* value) {
  V_VT(value) = VT_ERROR;
  V_ERROR(value) = DISP_E_PARAMNOTFOUND;
}

}  // namespace

HRESULT ArgumentList::Assign(UINT* argument) {
  const std::size_t count = member_.parameters.size();
  if (given_.cArgs > count) return DISP_E_BADPARAMCOUNT;
  slots_ = std::vector<Slot>(count);
  for (std::size_t k = 0; k < count; ++k)
    slots_[k].declared = &member_.parameters[k];

  const UINT positional = given_.cArgs - given_.cNamedArgs;
  for (UINT i = 0; i < positional; ++i) {
    Slot& slot = slots_[i];
    slot.index = given_.cArgs - 1 - i;
    slot.given = &given_.rgvarg[slot.index];
  }
  for (UINT i = 0; i < given_.cNamedArgs; ++i) {
    const DISPID name = given_.rgdispidNamedArgs[i];
    const bool isPut = name == DISPID_PROPERTYPUT && count > 0;
    if (!isPut && (name < 0 || static_cast<std::size_t>(name) >= count)) {
      if (argument != nullptr) *argument = i;
      return DISP_E_PARAMNOTFOUND;
    }
    Slot& slot = slots_[isPut ? count - 1 : static_cast<std::size_t>(name)];
    if (slot.given != nullptr) return DISP_E_BADPARAMCOUNT;
    slot.index = i;
    slot.given = &given_.rgvarg[i];
  }
  for (const Slot& slot : slots_)
    if (slot.given == nullptr && !slot.declared->isOptional) return DISP_E_BADPARAMCOUNT;
  return S_OK;
}

HRESULT ArgumentList::Prepare(UINT* argument) {
  if (given_.cNamedArgs > given_.cArgs || (given_.cArgs > 0 && given_.rgvarg == nullptr) ||
      (given_.cNamedArgs > 0 && given_.rgdispidNamedArgs == nullptr))
    return E_INVALIDARG;
  HRESULT failed = Assign(argument);
  if (FAILED(failed)) return failed;
  for (Slot& slot : slots_) {
    failed = PrepareSlot(slot);
    if (SUCCEEDED(failed)) continue;
    if (argument != nullptr) *argument = slot.index;
    return failed;
  }
  return S_OK;
}

HRESULT ArgumentList::PrepareSlot(Slot& slot) {
  const Parameter& declared = *slot.declared;
  V_VT(&slot.passed) = declared.PassedType();
  if (slot.given == nullptr || IsMissing(*slot.given)) {
    if (!declared.isOptional) return DISP_E_PARAMNOTOPTIONAL;
    MarkMissing(slot.value.Get());
    slot.given = nullptr;
    if (declared.byReference)
      V_BYREF(&slot.passed) = slot.value.Get();
    else
      slot.passed = *slot.value.Get();
    return S_OK;
  }
  if (declared.isArray) {
    const HRESULT failed = slot.array.Take(*slot.given, declared, locale_);
    V_BYREF(&slot.passed) = slot.array.Address();
    return failed;
  }
  return declared.type == VT_VARIANT ? PrepareVariant(slot) : PrepareScalar(slot);
}

HRESULT ArgumentList::PrepareVariant(Slot& slot) {
  VARIANT& value = const_cast<VARIANT&>(Dereferenced(*slot.given));
  if (!slot.declared->byReference) {
    HRESULT failed = ConvertScalar(value, VT_VARIANT, locale_, slot.value.Get());
    if (SUCCEEDED(failed)) failed = UnfoldScriptArray(*slot.value.Get(), locale_);
    slot.passed = *slot.value.Get();
    return failed;
  }
  const bool isReference = (V_VT(&value) & VT_BYREF) != 0;
  if (V_VT(slot.given) == (VT_BYREF | VT_VARIANT) && !isReference) {
    slot.direct = true;
    slot.before = value;
    V_BYREF(&slot.passed) = &value;
    return S_OK;
  }
  // A typed array variable has no room for any value.
  if (slot.declared->isOut && isReference && (V_VT(&value) & VT_ARRAY) != 0) return DISP_E_TYPEMISMATCH;
  const HRESULT failed = ConvertScalar(value, VT_VARIANT, locale_, slot.value.Get());
  if (isReference) slot.variable = &value;
  slot.before = slot.value.Value();
  V_BYREF(&slot.passed) = slot.value.Get();
  return failed;
}

HRESULT ArgumentList::PrepareScalar(Slot& slot) {
  const Parameter& declared = *slot.declared;
  VARIANT& value = const_cast<VARIANT&>(Dereferenced(*slot.given));
  if ((V_VT(&value) & VT_BYREF) != 0 && V_BYREF(&value) == nullptr) return DISP_E_TYPEMISMATCH;
  if (declared.byReference && V_VT(&value) == (VT_BYREF | declared.type)) {
    slot.direct = true;
    V_BYREF(&slot.passed) = V_BYREF(&value);
    return S_OK;
  }
  // A null reference is an object variable that holds nothing.
  const bool isObject = declared.type == VT_DISPATCH || declared.type == VT_UNKNOWN;
  if (isObject && (V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL)) {
    V_VT(slot.value.Get()) = declared.type;
    V_UNKNOWN(slot.value.Get()) = nullptr;
  } else {
    const HRESULT failed = ConvertScalar(value, declared.type, locale_, slot.value.Get());
    if (FAILED(failed)) return failed;
  }
  if (!declared.byReference) {
    slot.passed = *slot.value.Get();
    return S_OK;
  }
  if (V_VT(slot.given) == (VT_BYREF | VT_VARIANT) || (V_VT(&value) & VT_BYREF) != 0) slot.variable = &value;
  V_BYREF(&slot.passed) = StorageOf(slot.value.Get(), declared.type);
  return S_OK;
}

HRESULT ArgumentList::Call(IDispatch* object, const Member& member, VARIANT* answer, VARIANT* returned) {
  // No member has more: reading a property by name so costs no memory of the heap.
  constexpr std::size_t MostPassed = 16;
  std::array<VARTYPE, MostPassed> types{};
  std::array<VARIANT*, MostPassed> values{};
  UINT count = 0;
  const auto pass = [&](VARTYPE type, VARIANT& value) {
    types[count] = type;
    values[count++] = &value;
  };
  if (slots_.size() >= MostPassed) return DISP_E_BADPARAMCOUNT;
  for (Slot& slot : slots_)
    pass(slot.declared->PassedType(), slot.passed);
  VARIANT result;
  VariantInit(&result);
  const bool hasResult = member.result.type != VT_EMPTY;
  if (hasResult) {
    V_VT(&result) = member.result.PassedType();
    V_BYREF(&result) = StorageOf(answer, member.result.isArray ? VARTYPE{VT_ARRAY} : member.result.type);
    pass(V_VT(&result), result);
  }
  const HRESULT called = DispCallFunc(object, member.vtableOffset, member.convention, VT_I4, count,
                                      types.data(), values.data(), returned);
  // The content of a result belongs to the caller once the call was well; a member clears it first otherwise.
  if (SUCCEEDED(called) && SUCCEEDED(V_I4(returned)) && hasResult &&
      (member.result.isArray || member.result.type != VT_VARIANT))
    V_VT(answer) = static_cast<VARTYPE>(member.result.PassedType() & ~VT_BYREF);
  return called;
}

HRESULT ArgumentList::GiveBack(UINT* argument) {
  for (Slot& slot : slots_) {
    if (!slot.declared->isOut || slot.given == nullptr) continue;
    const HRESULT failed = GiveBackSlot(slot, locale_);
    if (SUCCEEDED(failed)) continue;
    if (argument != nullptr) *argument = slot.index;
    return failed;
  }
  return S_OK;
}

HRESULT ArgumentList::GiveBackSlot(Slot& slot, LCID locale) {
  const Parameter& declared = *slot.declared;
  if (declared.isArray) return slot.array.GiveBack(locale);
  if (declared.type == VT_VARIANT) {
    // What the call left alone stays as it is, also when a script could not index it.
    const VARIANT& now = *V_VARIANTREF(&slot.passed);
    if (std::memcmp(&now, &slot.before, sizeof now) == 0) return S_OK;
    if (slot.direct) return MakeIndexable(*V_VARIANTREF(&slot.passed));
  }
  if (slot.direct || slot.variable == nullptr) return S_OK;
  VARIANT& variable = *slot.variable;
  if ((V_VT(&variable) & VT_BYREF) == 0) {
    VARIANT old = variable;
    variable = *slot.value.Get();
    VariantInit(slot.value.Get());
    const HRESULT indexable = MakeIndexable(variable);
    VariantClear(&old);
    return indexable;
  }
  return StoreThrough(variable, slot.value.Value(), locale);
}

}  // namespace orvo::com
