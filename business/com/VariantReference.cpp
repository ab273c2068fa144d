#include "com/VariantReference.h"

#include "com/ArrayArgument.h"
#include "com/SafeArrayAccess.h"

#include <algorithm>
#include <cstddef>

namespace orvo::com {

namespace {

// Bytes of a scalar of this type.
std::size_t SizeOf(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_DECIMAL:
      return sizeof(DECIMAL);
    default:
      return 8;
  }
}

}  // namespace

void* StorageOf(VARIANT* value, VARTYPE type) noexcept {
  if (type == VT_VARIANT) return value;
  if (type == VT_DECIMAL) return &V_DECIMAL(value);
  return &V_I8(value);
}

HRESULT StoreThrough(VARIANT& reference, const VARIANT& value, LCID locale) {
  const auto type = static_cast<VARTYPE>(V_VT(&reference) & ~VT_BYREF);
  if ((type & VT_ARRAY) != 0 || V_BYREF(&reference) == nullptr) return DISP_E_TYPEMISMATCH;
  OwnedVariant converted;
  const HRESULT failed = ConvertScalar(value, type, locale, converted.Get());
  if (FAILED(failed)) return failed;
  // They change places: what the variable had ends with `converted`.
  auto* const into = static_cast<std::byte*>(V_BYREF(&reference));
  auto* const from = static_cast<std::byte*>(StorageOf(converted.Get(), type));
  std::swap_ranges(into, into + SizeOf(type), from);
  if (type == VT_DECIMAL) V_VT(converted.Get()) = type;  // a decimal lies over the type tag
  return S_OK;
}

}  // namespace orvo::com
