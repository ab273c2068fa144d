// Values across the boundary: automation variants and arrays to the core's and back.
//
// Inward everything is accepted: references are followed, arrays of any element type and lower bound are taken,
// integers of every size, objects (an object of ours as the core object behind it, any other one as a
// ForeignObject). Outward arrays and values are always fresh: nothing is shared with the core. Errors: 13 for
// what the core has no value for (records, arrays of more dimensions), 7 without memory.
#pragma once

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/SafeArrayAccess.h"
#include "values/AutomationObject.h"
#include "values/Variant.h"

#include <cstring>
#include <memory>

namespace orvo::com {

// A client's own object inside a core value: carried, never looked into.
class ForeignObject final : public AutomationObject {
 public:
  explicit ForeignObject(ComPtr<IUnknown> object) : object_(std::move(object)) {}
  const ComPtr<IUnknown>& Object() const noexcept { return object_; }

 private:
  ComPtr<IUnknown> object_;
};

// Arrays inside arrays beyond this depth are refused (13): they are circles, or made to break something.
constexpr int DeepestNesting = 16;

// The value behind a chain of references; `value` itself when it is none.
const VARIANT& Dereferenced(const VARIANT& value) noexcept;

Variant ValueOf(const VARIANT& value, int depth = 0);
// Fills `target`, whose content is not looked at, with a fresh value; `target` is VT_EMPTY after a failure.
void PutFresh(const Variant& value, VARIANT* target);
// Replaces the content of `target`; it stays as it was after a failure.
void PutValue(const Variant& value, VARIANT* target);

// How an element of the core type T travels.
template <class T>
struct Wire {
  using Element = T;
  static T In(const Element& element) { return element; }
  static Element Out(const T& value) { return value; }
};
template <>
struct Wire<Date> {
  using Element = DATE;
  static Date In(const Element& element) { return {element}; }
  static Element Out(const Date& value) { return value.days; }
};
template <>
struct Wire<Currency> {
  using Element = CY;
  static Currency In(const Element& element) { return {element.int64}; }
  static Element Out(const Currency& value) {
    CY currency;
    currency.int64 = value.scaled;
    return currency;
  }
};
template <>
struct Wire<ErrorCode> {
  using Element = SCODE;
  static ErrorCode In(const Element& element) { return {static_cast<std::int32_t>(element)}; }
  static Element Out(const ErrorCode& value) { return static_cast<SCODE>(value.code); }
};
template <>
struct Wire<Decimal> {
  using Element = DECIMAL;
  static Decimal In(const Element& element);
  static Element Out(const Decimal& value);
};
template <>
struct Wire<std::string> {
  using Element = BSTR;
  static std::string In(const Element& element) { return TextOf(element); }
  static Element Out(const std::string& value) { return NewBstr(value); }
};
template <>
struct Wire<Variant> {
  using Element = VARIANT;
  static Variant In(const Element& element) { return ValueOf(element); }
  static Element Out(const Variant& value) {
    VARIANT fresh;
    PutFresh(value, &fresh);
    return fresh;
  }
};

template <class T>
constexpr VARTYPE WireType = static_cast<VARTYPE>(KindOf<T>::value);

// Whether elements of this type have a value in the core.
bool IsElementKnown(VARTYPE type) noexcept;
// Whether an array declared with `declared` elements may hold `actual` ones: the same, or the machine integers
// of the same size and sign.
bool IsSameElement(VARTYPE declared, VARTYPE actual) noexcept;

// The elements of an array of exactly this type (error 13 otherwise); a null array is empty.
template <class T>
SafeArray<T> ArrayOf(SAFEARRAY* array) {
  if (array == nullptr) return {};
  if (!IsSameElement(WireType<T>, ElementType(array))) RaiseRuntimeError(RuntimeError::TypeMismatch);
  const ArrayAccess<typename Wire<T>::Element> access(array);
  std::vector<T> elements;
  elements.reserve(access.Elements().size());
  for (const auto& element : access.Elements())
    elements.push_back(Wire<T>::In(element));
  return SafeArray<T>(std::move(elements), BoundsOf(array).lower);
}

// A fresh array with the same bounds.
template <class T>
OwnedSafeArray NewArray(const SafeArray<T>& values) {
  OwnedSafeArray array(
      SafeArrayCreateVector(WireType<T>, values.LowerBound(), static_cast<ULONG>(values.Size())));
  if (array.Get() == nullptr) throw std::bad_alloc();
  const ArrayAccess<typename Wire<T>::Element> access(array.Get());
  // What is not filled yet after a failure is zero, which is nothing to free.
  auto out = access.Elements().begin();
  for (const T& value : values.View())
    *out++ = Wire<T>::Out(value);
  return array;
}

// Gives the caller's array variable the values: in place when type and bounds are the same, or when the size is
// fixed and the length is the same; otherwise by a fresh array. Error 10 for an array whose size is fixed and
// not the right one; the variable stays as it was after a failure.
void ReplaceArray(SAFEARRAY** variable, OwnedSafeArray fresh);

}  // namespace orvo::com
