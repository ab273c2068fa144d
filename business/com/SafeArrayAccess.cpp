#include "com/SafeArrayAccess.h"

namespace orvo::com {

ArrayBounds BoundsOf(const SAFEARRAY* array) {
  if (array == nullptr) return {};
  if (array->cDims != 1) RaiseRuntimeError(RuntimeError::TypeMismatch, "the array has more than one dimension");
  return {array->rgsabound[0].lLbound, array->rgsabound[0].cElements};
}

VARTYPE ElementType(SAFEARRAY* array) noexcept {
  VARTYPE type = VT_EMPTY;
  if (array == nullptr || FAILED(SafeArrayGetVartype(array, &type))) return VT_EMPTY;
  return type;
}

bool IsFixedSize(const SAFEARRAY* array) noexcept {
  return array != nullptr &&
         ((array->fFeatures & (FADF_AUTO | FADF_STATIC | FADF_FIXEDSIZE | FADF_EMBEDDED)) != 0 ||
          array->cLocks > 0);
}

}  // namespace orvo::com
