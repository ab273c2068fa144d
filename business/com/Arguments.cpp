#include "com/Arguments.h"

namespace orvo::com {

std::optional<Variant> OptionalValue(const VARIANT& value) {
  const VARIANT& behind = Dereferenced(value);
  if (V_VT(&behind) == VT_ERROR && V_ERROR(&behind) == DISP_E_PARAMNOTFOUND) return std::nullopt;
  return ValueOf(behind);
}

void RequireRoom(SAFEARRAY** array, std::size_t count) {
  SAFEARRAY* const own = Referred(array);
  if (IsFixedSize(own) && BoundsOf(own).count != count)
    RaiseRuntimeError(RuntimeError::SubscriptOutOfRange,
                      "a fixed array of " + std::to_string(BoundsOf(own).count) + " elements was given for " +
                          std::to_string(count));
}

}  // namespace orvo::com
