#include "com/ArrayArgument.h"

#include "com/Automation.h"
#include "com/FacadeIdentity.h"
#include "com/VariantCodec.h"

#include <algorithm>
#include <string>

namespace orvo::com {

namespace {

constexpr LONG LongestScriptArray = 1 << 24;

// The system's own functions follow a null reference.
bool LeadsNowhere(const VARIANT& value) noexcept {
  return (V_VT(&value) & VT_BYREF) != 0 && V_BYREF(&value) == nullptr;
}

// An element of any array as a value of its own. `source` lies in the array's memory.
HRESULT CopyElement(const void* source, VARTYPE type, VARIANT* target) noexcept {
  VARIANT reference;
  VariantInit(&reference);
  V_VT(&reference) = static_cast<VARTYPE>(type | VT_BYREF);
  V_BYREF(&reference) = const_cast<void*>(source);
  return ConvertScalar(reference, VT_VARIANT, LOCALE_NEUTRAL, target);
}

// Moves `value`, of exactly this type, into the zeroed element.
void MoveIntoElement(VARIANT& value, VARTYPE type, void* element, ULONG size) noexcept {
  if (type == VT_VARIANT)
    std::memcpy(element, &value, sizeof(VARIANT));
  else if (type == VT_DECIMAL)
    std::memcpy(element, &V_DECIMAL(&value), sizeof(DECIMAL));
  else
    std::memcpy(element, &V_I8(&value), size);
  VariantInit(&value);
}

// Converts each element of `source` into a fresh array with the same bounds.
HRESULT ConvertArray(SAFEARRAY* source, VARTYPE from, VARTYPE to, LCID locale, OwnedSafeArray& result) {
  if (!IsElementKnown(from)) return DISP_E_TYPEMISMATCH;
  const ArrayBounds bounds = BoundsOf(source);
  OwnedSafeArray fresh(SafeArrayCreateVector(to, bounds.lower, bounds.count));
  if (fresh.Get() == nullptr) return E_OUTOFMEMORY;
  const ArrayAccess<std::byte> in(source);
  const ArrayAccess<std::byte> out(fresh.Get());
  for (ULONG i = 0; i < bounds.count; ++i) {
    OwnedVariant element;
    HRESULT failed =
        CopyElement(in.Elements().data() + std::size_t{i} * source->cbElements, from, element.Get());
    if (FAILED(failed)) return failed;
    OwnedVariant converted;
    failed = ConvertScalar(element.Value(), to, locale, converted.Get());
    if (FAILED(failed)) return failed;
    const ULONG size = fresh.Get()->cbElements;
    MoveIntoElement(*converted.Get(), to, out.Elements().data() + std::size_t{i} * size, size);
  }
  result = std::move(fresh);
  return S_OK;
}

DISPID IdOf(IDispatch& object, std::wstring name, bool create) noexcept {
  DISPID id = DISPID_UNKNOWN;
  if (create) {
    ComPtr<IDispatchEx> extended;
    if (SUCCEEDED(object.QueryInterface(__uuidof(IDispatchEx), extended.PutVoid()))) {
      BSTR text = SysAllocStringLen(name.data(), static_cast<UINT>(name.size()));
      const HRESULT found = extended->GetDispID(text, fdexNameCaseSensitive | fdexNameEnsure, &id);
      SysFreeString(text);
      return SUCCEEDED(found) ? id : DISPID_UNKNOWN;
    }
  }
  LPOLESTR names = name.data();
  if (FAILED(object.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_NEUTRAL, &id))) return DISPID_UNKNOWN;
  return id;
}

HRESULT GetNamed(IDispatch& object, const std::wstring& name, VARIANT* value) noexcept {
  const DISPID id = IdOf(object, name, false);
  if (id == DISPID_UNKNOWN) return DISP_E_UNKNOWNNAME;
  DISPPARAMS none{};
  return object.Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYGET, &none, value, nullptr, nullptr);
}

HRESULT PutNamed(IDispatch& object, const std::wstring& name, VARIANT& value) noexcept {
  const DISPID id = IdOf(object, name, true);
  if (id == DISPID_UNKNOWN) return DISP_E_UNKNOWNNAME;
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS one{&value, &put, 1, 1};
  return object.Invoke(id, IID_NULL, LOCALE_NEUTRAL, DISPATCH_PROPERTYPUT, &one, nullptr, nullptr, nullptr);
}

// The code with which a failure of the conversion itself is reported.
HRESULT CaughtResult() noexcept {
  try {
    return ResultOf(CaughtError().Number()) == E_OUTOFMEMORY ? E_OUTOFMEMORY : DISP_E_TYPEMISMATCH;
  } catch (...) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

HRESULT ConvertScalar(const VARIANT& source, VARTYPE type, LCID locale, VARIANT* target) noexcept {
  VariantInit(target);
  const VARIANT& value = Dereferenced(source);
  if ((V_VT(&value) & VT_ARRAY) != 0 && type != VT_VARIANT) return DISP_E_TYPEMISMATCH;
  if (LeadsNowhere(value)) return DISP_E_TYPEMISMATCH;
  if (type != VT_VARIANT && V_VT(&value) == VT_DISPATCH) {
    // Its value is asked for by code of the object's own, which may give it up meanwhile.
    OwnedVariant held;
    VariantCopy(held.Get(), const_cast<VARIANT*>(&value));
    return SUCCEEDED(VariantChangeTypeEx(target, held.Get(), locale, VARIANT_ALPHABOOL, type))
               ? S_OK
               : DISP_E_TYPEMISMATCH;
  }
  const HRESULT failed = type == VT_VARIANT ? VariantCopyInd(target, const_cast<VARIANT*>(&value))
                                            : VariantChangeTypeEx(target, const_cast<VARIANT*>(&value), locale,
                                                                  VARIANT_ALPHABOOL, type);
  // The system has more codes for a value that does not fit its new type: E_INVALIDARG for a date beyond the
  // calendar or for a reference in a circle, for example.
  if (SUCCEEDED(failed) || failed == DISP_E_OVERFLOW || failed == E_OUTOFMEMORY) return failed;
  return DISP_E_TYPEMISMATCH;
}

namespace {

HRESULT MakeIndexableWithin(VARIANT& value, int depth) {
  if ((V_VT(&value) & VT_ARRAY) == 0 || (V_VT(&value) & VT_BYREF) != 0) return S_OK;
  if (V_ARRAY(&value) == nullptr || V_ARRAY(&value)->cDims != 1) return S_OK;
  if (depth > DeepestNesting) return DISP_E_TYPEMISMATCH;
  const auto type = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
  if (ElementType(V_ARRAY(&value)) != type) return S_OK;  // it says two things of itself
  if (type != VT_VARIANT) {
    OwnedSafeArray converted;
    const HRESULT failed = ConvertArray(V_ARRAY(&value), type, VT_VARIANT, LOCALE_NEUTRAL, converted);
    if (FAILED(failed)) return failed;
    SafeArrayDestroy(V_ARRAY(&value));
    V_ARRAY(&value) = converted.Detach();
    V_VT(&value) = VT_ARRAY | VT_VARIANT;
    return S_OK;
  }
  const ArrayAccess<VARIANT> access(V_ARRAY(&value));
  for (VARIANT& element : access.Elements()) {
    const HRESULT failed = MakeIndexableWithin(element, depth + 1);
    if (FAILED(failed)) return failed;
  }
  return S_OK;
}

HRESULT UnfoldWithin(VARIANT& value, LCID locale, int depth);

// The elements of an object with "length" and elements "0", "1", ...
HRESULT ReadScriptArray(IDispatch& object, VARTYPE type, LCID locale, int depth, OwnedSafeArray& result) {
  OwnedVariant length;
  HRESULT failed = GetNamed(object, L"length", length.Get());
  if (FAILED(failed)) return DISP_E_TYPEMISMATCH;
  OwnedVariant count;
  failed = ConvertScalar(length.Value(), VT_I4, locale, count.Get());
  if (FAILED(failed) || V_I4(count.Get()) < 0 || V_I4(count.Get()) > LongestScriptArray)
    return DISP_E_TYPEMISMATCH;
  const auto size = static_cast<ULONG>(V_I4(count.Get()));
  OwnedSafeArray fresh(SafeArrayCreateVector(type, 0, size));
  if (fresh.Get() == nullptr) return E_OUTOFMEMORY;
  {
    const ArrayAccess<std::byte> out(fresh.Get());
    for (ULONG i = 0; i < size; ++i) {
      OwnedVariant element;
      GetNamed(object, std::to_wstring(i), element.Get());  // an element that was never set is empty
      OwnedVariant converted;
      failed = ConvertScalar(element.Value(), type, locale, converted.Get());
      if (SUCCEEDED(failed) && type == VT_VARIANT) failed = UnfoldWithin(*converted.Get(), locale, depth + 1);
      if (FAILED(failed)) return failed;
      const ULONG bytes = fresh.Get()->cbElements;
      MoveIntoElement(*converted.Get(), type, out.Elements().data() + std::size_t{i} * bytes, bytes);
    }
  }
  result = std::move(fresh);
  return S_OK;
}

// Whether the object is a script's array rather than any other object: it has "length", and elements if it says
// so.
bool IsScriptArray(IDispatch& object) {
  OwnedVariant length;
  OwnedVariant count;
  if (FAILED(GetNamed(object, L"length", length.Get())) ||
      FAILED(ConvertScalar(length.Value(), VT_I4, LOCALE_NEUTRAL, count.Get())))
    return false;
  return V_I4(count.Get()) == 0 || IdOf(object, L"0", false) != DISPID_UNKNOWN;
}

HRESULT UnfoldWithin(VARIANT& value, LCID locale, int depth) {
  if (V_VT(&value) != VT_DISPATCH || V_DISPATCH(&value) == nullptr) return S_OK;
  const ComPtr<IDispatch> object(V_DISPATCH(&value));
  if (OwnObject(object.Get()) || !IsScriptArray(*object.Get())) return S_OK;
  if (depth > DeepestNesting) return DISP_E_TYPEMISMATCH;
  OwnedSafeArray elements;
  const HRESULT failed = ReadScriptArray(*object.Get(), VT_VARIANT, locale, depth, elements);
  if (FAILED(failed)) return failed;
  VariantClear(&value);
  V_ARRAY(&value) = elements.Detach();
  V_VT(&value) = VT_ARRAY | VT_VARIANT;
  return S_OK;
}

}  // namespace

HRESULT UnfoldScriptArray(VARIANT& value, LCID locale) noexcept {
  try {
    return UnfoldWithin(value, locale, 0);
  } catch (...) {
    return CaughtResult();
  }
}

HRESULT MakeIndexable(VARIANT& value) noexcept {
  try {
    return MakeIndexableWithin(value, 0);
  } catch (...) {
    return CaughtResult();
  }
}

HRESULT ArrayArgument::Take(VARIANT& given, const Parameter& declared, LCID locale) {
  try {
    const bool isVariable = V_VT(&given) == (VT_BYREF | VT_VARIANT);
    VARIANT& value = const_cast<VARIANT&>(Dereferenced(given));
    const bool isReference = (V_VT(&value) & VT_BYREF) != 0;
    if (isReference && V_BYREF(&value) == nullptr) return DISP_E_TYPEMISMATCH;
    if (isVariable && !isReference) {
      origin_ = Origin::Variable;
      variable_ = &value;
    }
    if ((V_VT(&value) & VT_ARRAY) != 0) return TakeArray(value, declared, locale);
    if (V_VT(&value) == VT_DISPATCH && V_DISPATCH(&value) != nullptr)
      return TakeScriptArray(*V_DISPATCH(&value), declared, locale);
    if (V_VT(&value) == (VT_BYREF | VT_DISPATCH) && *V_DISPATCHREF(&value) != nullptr)
      return TakeScriptArray(**V_DISPATCHREF(&value), declared, locale);
    // Null stands for nothing only where nothing is asked of the caller: a list that is null is a mistake.
    if (V_VT(&value) == VT_EMPTY || (V_VT(&value) == VT_NULL && declared.isOut)) return S_OK;
    // A typed scalar variable has no room for the array that comes back.
    if (isReference && declared.isOut) return DISP_E_TYPEMISMATCH;
    return TakeScalar(value, declared, locale);
  } catch (...) {
    return CaughtResult();
  }
}

HRESULT ArrayArgument::TakeArray(VARIANT& value, const Parameter& declared, LCID locale) {
  const bool isReference = (V_VT(&value) & VT_BYREF) != 0;
  SAFEARRAY** const array = isReference ? V_ARRAYREF(&value) : &V_ARRAY(&value);
  if (isReference) {
    origin_ = Origin::ArrayVariable;
    arrayVariable_ = array;
  }
  if (*array == nullptr) {
    // An array variable without elements; what comes back has its declared type.
    const auto elements = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
    if (isReference && IsSameElement(declared.type, elements)) direct_ = array;
    return S_OK;
  }
  VARTYPE type = ElementType(*array);
  const bool exact = IsSameElement(declared.type, type);
  if (type == VT_EMPTY) type = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
  BoundsOf(*array);
  // A script may give its variable another value while the other arguments are taken or while the call waits:
  // an array inside a variable is copied, and filled at the end, when the variable is looked at again.
  if (exact && isReference) {
    direct_ = array;
    return S_OK;
  }
  const HRESULT failed = ConvertArray(*array, type, declared.type, locale, copy_);
  if (FAILED(failed)) return failed;
  if (origin_ == Origin::ArrayVariable && IsFixedSize(*array)) copy_.Get()->fFeatures |= FADF_FIXEDSIZE;
  return S_OK;
}

HRESULT ArrayArgument::TakeScriptArray(IDispatch& object, const Parameter& declared, LCID locale) {
  scriptArray_ = ComPtr<IDispatch>(&object);  // what it answers with may be code that gives it up
  const HRESULT failed = ReadScriptArray(object, declared.type, locale, 0, copy_);
  if (SUCCEEDED(failed)) origin_ = Origin::ScriptArray;
  return failed;
}

HRESULT ArrayArgument::TakeScalar(const VARIANT& value, const Parameter& declared, LCID locale) {
  OwnedVariant converted;
  const HRESULT failed = ConvertScalar(value, declared.type, locale, converted.Get());
  if (FAILED(failed)) return failed;
  OwnedSafeArray fresh(SafeArrayCreateVector(declared.type, 0, 1));
  if (fresh.Get() == nullptr) return E_OUTOFMEMORY;
  {
    const ArrayAccess<std::byte> out(fresh.Get());
    MoveIntoElement(*converted.Get(), declared.type, out.Elements().data(), fresh.Get()->cbElements);
  }
  copy_ = std::move(fresh);
  return S_OK;
}

HRESULT ArrayArgument::GiveBack(LCID locale) {
  try {
    if (direct_ != nullptr) {
      if (*direct_ == nullptr || ElementType(*direct_) != VT_VARIANT) return S_OK;
      const ArrayAccess<VARIANT> access(*direct_);
      for (VARIANT& element : access.Elements()) {
        const HRESULT failed = MakeIndexable(element);
        if (FAILED(failed)) return failed;
      }
      return S_OK;
    }
    if (copy_.Get() == nullptr) return S_OK;
    switch (origin_) {
      case Origin::Variable:
        return GiveToVariable(locale);
      case Origin::ArrayVariable:
        return GiveToArrayVariable(locale);
      case Origin::ScriptArray:
        return GiveToScriptArray();
      case Origin::ByValue:
        break;
    }
    return S_OK;
  } catch (...) {
    return CaughtResult();
  }
}

HRESULT ArrayArgument::GiveToVariable(LCID locale) {
  const VARTYPE own = ElementType(copy_.Get());
  const bool isArray = (V_VT(variable_) & VT_ARRAY) != 0 && V_ARRAY(variable_) != nullptr;
  if (isArray && BoundsOf(V_ARRAY(variable_)) == BoundsOf(copy_.Get())) {
    OwnedSafeArray converted;
    const VARTYPE type = ElementType(V_ARRAY(variable_));
    if (SUCCEEDED(ConvertArray(copy_.Get(), own, type, locale, converted))) {
      ReplaceArray(&V_ARRAY(variable_), std::move(converted));
      return MakeIndexable(*variable_);
    }
  }
  VARIANT fresh;
  VariantInit(&fresh);
  OwnedSafeArray converted;
  const HRESULT failed = ConvertArray(copy_.Get(), own, VT_VARIANT, locale, converted);
  if (FAILED(failed)) return failed;
  V_ARRAY(&fresh) = converted.Detach();
  V_VT(&fresh) = VT_ARRAY | VT_VARIANT;
  VARIANT old = *variable_;
  *variable_ = fresh;
  VariantClear(&old);
  return MakeIndexable(*variable_);
}

HRESULT ArrayArgument::GiveToArrayVariable(LCID locale) {
  const VARTYPE type = *arrayVariable_ == nullptr ? VARTYPE{VT_VARIANT} : ElementType(*arrayVariable_);
  if (IsFixedSize(*arrayVariable_) && BoundsOf(*arrayVariable_) != BoundsOf(copy_.Get()))
    return DISP_E_ARRAYISLOCKED;
  OwnedSafeArray converted;
  const HRESULT failed = ConvertArray(copy_.Get(), ElementType(copy_.Get()), type, locale, converted);
  if (FAILED(failed)) return failed;
  if (type == VT_VARIANT) {
    const ArrayAccess<VARIANT> access(converted.Get());
    for (VARIANT& element : access.Elements()) {
      const HRESULT deep = MakeIndexable(element);
      if (FAILED(deep)) return deep;
    }
  }
  ReplaceArray(arrayVariable_, std::move(converted));
  return S_OK;
}

HRESULT ArrayArgument::GiveToScriptArray() {
  const ArrayBounds bounds = BoundsOf(copy_.Get());
  const VARTYPE type = ElementType(copy_.Get());
  OwnedVariant length;
  V_VT(length.Get()) = VT_I4;
  V_I4(length.Get()) = static_cast<LONG>(bounds.count);
  PutNamed(*scriptArray_.Get(), L"length", *length.Get());  // an object without it grows by its elements
  const ArrayAccess<std::byte> in(copy_.Get());
  for (ULONG i = 0; i < bounds.count; ++i) {
    OwnedVariant element;
    HRESULT failed =
        CopyElement(in.Elements().data() + std::size_t{i} * copy_.Get()->cbElements, type, element.Get());
    if (SUCCEEDED(failed)) failed = MakeIndexable(*element.Get());
    if (FAILED(failed)) return failed;
    // The object's own code would be taken for one of this call: as an exception without its description.
    if (FAILED(PutNamed(*scriptArray_.Get(), std::to_wstring(i), *element.Get()))) return DISP_E_TYPEMISMATCH;
  }
  return S_OK;
}

}  // namespace orvo::com
