// Values into variables that a client refers to: a variant, or a typed variable behind one (VT_BYREF).
#pragma once

#include "com/Automation.h"

namespace orvo::com {

// Where the value of a variant of this type lies in it.
void* StorageOf(VARIANT* value, VARTYPE type) noexcept;

// Converts `value` into the typed variable behind `reference` (VT_BYREF and a scalar type). DISP_E_TYPEMISMATCH
// or DISP_E_OVERFLOW when it does not fit; the variable stays then.
HRESULT StoreThrough(VARIANT& reference, const VARIANT& value, LCID locale);

}  // namespace orvo::com
