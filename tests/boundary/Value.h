// Automation values for tests: made in one line, written as text in one line.
#pragma once

#include "com/ComPtr.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace orvo::testing {

using com::ComPtr;

// Owns the content of a variant. A copy of a value by reference refers to the same variable.
class Value {
 public:
  Value() noexcept { VariantInit(&value_); }
  Value(const Value& other);
  Value& operator=(const Value& other);
  Value(Value&& other) noexcept : Value() { std::swap(value_, other.value_); }
  Value& operator=(Value&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Value() { VariantClear(&value_); }

  VARIANT* operator->() noexcept { return &value_; }
  const VARIANT& operator*() const noexcept { return value_; }
  VARIANT* Get() noexcept { return &value_; }
  // Empty, ready to be filled.
  VARIANT* Put() noexcept;

 private:
  VARIANT value_;
};

Value I1(int value);
Value UI1(int value);
Value I2(int value);
Value UI2(int value);
Value I4(LONG value);
Value UI4(ULONG value);
Value I8(LONGLONG value);
Value UI8(ULONGLONG value);
Value R4(float value);
Value R8(double value);
Value Days(double value);
Value Money(LONGLONG scaled);
Value Str(std::string_view text);
Value Flag(bool value);
// A boolean of any 16 bits.
Value Flag16(short value);
Value Null();
Value ErrorValue(SCODE code);
// What stands for an optional argument that is left out.
Value Missing();
Value Object(IDispatch* object);
Value Unknown(IUnknown* object);
// An array of this element type; each element is converted to it.
Value Array(VARTYPE element, LONG lower, std::initializer_list<Value> elements);
// An array of no elements that was never dimensioned.
Value NoArray(VARTYPE element);
// The array cannot be given other bounds any more; a copy of the value can.
Value FixedSize(Value array);

// A variable: VARIANT by reference.
Value Ref(Value& variable);
// The content of a variable by reference, with its own type.
Value TypedRef(Value& variable);

// "I4:5", "R8:1.5", "Str:\"ab\"", "Bool:True", "Empty", "Error:80020004", "Object", "Nothing"; arrays with
// element type and lower bound: "I4[0: 5, 6]", "Variant[1: I2:5, Empty]". References are followed.
std::string Text(const VARIANT& value);
inline std::string Text(const Value& value) {
  return Text(*value);
}
std::string Text(SAFEARRAY* array);
// The text of an array as a caller by name gets it: "Variant[0: I4:5, I4:6]" for "I4[0: 5, 6]". Other texts
// stay.
std::string AsVariants(const std::string& text);
// "80040006".
std::string Hex(HRESULT result);

}  // namespace orvo::testing
