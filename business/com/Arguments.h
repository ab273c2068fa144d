// Arguments of early-bound calls on their way into the core.
#pragma once

#include "com/ConnectionPoint.h"
#include "com/VariantCodec.h"

#include <optional>

namespace orvo::com {

// An optional variant: nothing when the caller left it out. An empty variable is a value.
std::optional<Variant> OptionalValue(const VARIANT& value);

// Hands a value to the caller's variant, or to the typed variable that it refers to. Errors 13 and 6 when it
// does not fit that one; a variable stays as it was then.
void PutVariable(const Variant& value, VARIANT* variable);

// What a by-reference argument leads to. Error E_POINTER for null.
template <class T>
T& Referred(T* argument) {
  if (argument == nullptr) RaiseResult(E_POINTER, "An argument passed by reference is missing");
  return *argument;
}

// An array passed by reference.
template <class T>
SafeArray<T> ArrayArgumentOf(SAFEARRAY** array) {
  return ArrayOf<T>(Referred(array));
}

// Error 9 when the caller's array is of a fixed size other than `count`: asked before anything is done.
void RequireRoom(SAFEARRAY** array, std::size_t count);

// Hands an array to the caller's variable. A fixed-size array keeps its own lower bound and takes the elements
// by position.
template <class T>
void PutArray(const SafeArray<T>& values, SAFEARRAY** variable) {
  SafeArray<T> fitted = values;
  if (IsFixedSize(*variable) && BoundsOf(*variable).count == values.Size())
    fitted.Rebase(BoundsOf(*variable).lower);
  ReplaceArray(variable, NewArray(fitted));
}

}  // namespace orvo::com
