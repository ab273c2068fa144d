// Owners of what automation hands over in raw form: arrays, values, and the access to an array's elements.
#pragma once

#include "com/Automation.h"
#include "com/ComError.h"

#include <cstddef>
#include <span>
#include <utility>

namespace orvo::com {

// Owns an automation array.
class OwnedSafeArray {
 public:
  OwnedSafeArray() noexcept = default;
  explicit OwnedSafeArray(SAFEARRAY* array) noexcept : array_(array) {}
  OwnedSafeArray(OwnedSafeArray&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
  OwnedSafeArray& operator=(OwnedSafeArray&& other) noexcept {
    std::swap(array_, other.array_);
    return *this;
  }
  ~OwnedSafeArray() {
    if (array_ != nullptr) SafeArrayDestroy(array_);
  }
  SAFEARRAY* Get() const noexcept { return array_; }
  SAFEARRAY** Address() noexcept { return &array_; }
  SAFEARRAY* Detach() noexcept { return std::exchange(array_, nullptr); }

 private:
  SAFEARRAY* array_ = nullptr;
};

// Owns the content of a variant.
class OwnedVariant {
 public:
  OwnedVariant() noexcept { VariantInit(&value_); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;
  ~OwnedVariant() { VariantClear(&value_); }
  VARIANT* Get() noexcept { return &value_; }
  const VARIANT& Value() const noexcept { return value_; }

 private:
  VARIANT value_;
};

// Bounds of a one-dimensional array; a null array is empty.
struct ArrayBounds {
  LONG lower = 0;
  ULONG count = 0;
  friend bool operator==(const ArrayBounds&, const ArrayBounds&) = default;
};
// Error 13 for an array of more dimensions.
ArrayBounds BoundsOf(const SAFEARRAY* array);
// Type of the elements; VT_EMPTY for a null array.
VARTYPE ElementType(SAFEARRAY* array) noexcept;
// The caller's array cannot be given other bounds: it belongs to a fixed-size variable or is locked.
bool IsFixedSize(const SAFEARRAY* array) noexcept;

// The elements of an array while this object lives; the array is locked meanwhile.
template <class Element>
class ArrayAccess {
 public:
  explicit ArrayAccess(SAFEARRAY* array) : array_(array) {
    if (array_ == nullptr) return;
    const ArrayBounds bounds = BoundsOf(array_);
    void* data = nullptr;
    Require(SafeArrayAccessData(array_, &data));
    if (data == nullptr && bounds.count > 0) {
      SafeArrayUnaccessData(array_);
      RaiseRuntimeError(RuntimeError::TypeMismatch, "the array has no elements behind its bounds");
    }
    elements_ = {static_cast<Element*>(data), bounds.count};
  }
  ArrayAccess(const ArrayAccess&) = delete;
  ArrayAccess& operator=(const ArrayAccess&) = delete;
  ~ArrayAccess() {
    if (array_ != nullptr) SafeArrayUnaccessData(array_);
  }
  std::span<Element> Elements() const noexcept { return elements_; }

 private:
  SAFEARRAY* array_;
  std::span<Element> elements_;
};

}  // namespace orvo::com
