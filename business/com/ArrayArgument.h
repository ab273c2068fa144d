// One argument of a call by name where an array is declared: any shape that a caller can send is made into the
// declared array, and what the call wrote goes back in the caller's own shape.
//
// Taken: arrays of any element type and lower bound, by value or by reference, an object with "length" and
// elements "0", "1", ... (a JScript array), one scalar as an array of one element, an uninitialised variable as
// no array.
#pragma once

#include "com/InterfaceInfo.h"
#include "com/SafeArrayAccess.h"

namespace orvo::com {

class ArrayArgument {
 public:
  // Makes the declared array. DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW for what cannot be converted.
  HRESULT Take(VARIANT& given, const Parameter& declared, LCID locale);
  // Where the call finds the array, and leaves another one.
  SAFEARRAY** Address() noexcept { return direct_ != nullptr ? direct_ : copy_.Address(); }
  // Hands what the call left to the caller. DISP_E_ARRAYISLOCKED when the caller's array is of another, fixed
  // size.
  HRESULT GiveBack(LCID locale);

 private:
  enum class Origin { ByValue, Variable, ArrayVariable, ScriptArray };

  HRESULT TakeArray(VARIANT& value, const Parameter& declared, LCID locale);
  HRESULT TakeScriptArray(IDispatch& object, const Parameter& declared, LCID locale);
  HRESULT TakeScalar(const VARIANT& value, const Parameter& declared, LCID locale);
  HRESULT GiveToArrayVariable(LCID locale);
  HRESULT GiveToVariable(LCID locale);
  HRESULT GiveToScriptArray();

  SAFEARRAY** direct_ = nullptr;  // the caller's own array, of exactly the declared type
  OwnedSafeArray copy_;
  Origin origin_ = Origin::ByValue;
  VARIANT* variable_ = nullptr;          // the caller's variable
  SAFEARRAY** arrayVariable_ = nullptr;  // the caller's array variable
  ComPtr<IDispatch> scriptArray_;
};

// Makes what a script cannot index indexable: arrays of other elements than variants become arrays of variants,
// at any depth.
HRESULT MakeIndexable(VARIANT& value) noexcept;

// A script's array object (JScript) in `value` becomes an array of variants, at any depth; everything else
// stays.
HRESULT UnfoldScriptArray(VARIANT& value, LCID locale) noexcept;

// `source`, references followed, converted to `type` into the empty `target`.
HRESULT ConvertScalar(const VARIANT& source, VARTYPE type, LCID locale, VARIANT* target) noexcept;

}  // namespace orvo::com
