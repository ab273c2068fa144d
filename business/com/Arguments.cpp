#include "com/Arguments.h"

#include "com/VariantReference.h"

namespace orvo::com {

std::optional<Variant> OptionalValue(const VARIANT& value) {
  const VARIANT& behind = Dereferenced(value);
  if (V_VT(&behind) == VT_ERROR && V_ERROR(&behind) == DISP_E_PARAMNOTFOUND) return std::nullopt;
  return ValueOf(behind);
}

void PutVariable(const Variant& value, VARIANT* variable) {
  VARIANT& target = const_cast<VARIANT&>(Dereferenced(*variable));
  if ((V_VT(&target) & VT_BYREF) == 0) {
    PutValue(value, &target);
    return;
  }
  OwnedVariant fresh;
  PutFresh(value, fresh.Get());
  const HRESULT failed = StoreThrough(target, fresh.Value(), LOCALE_USER_DEFAULT);
  if (failed == DISP_E_OVERFLOW) RaiseRuntimeError(RuntimeError::Overflow);
  if (FAILED(failed)) RaiseRuntimeError(RuntimeError::TypeMismatch, "the variable has another type");
}

void RequireRoom(SAFEARRAY** array, std::size_t count) {
  SAFEARRAY* const own = Referred(array);
  if (IsFixedSize(own) && BoundsOf(own).count != count)
    RaiseRuntimeError(RuntimeError::SubscriptOutOfRange,
                      "a fixed array of " + std::to_string(BoundsOf(own).count) + " elements was given for " +
                          std::to_string(count));
}

}  // namespace orvo::com
