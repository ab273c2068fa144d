// The automation variant without Windows: one value of any kind, or an array of one kind.
//
// A value is 24 bytes; numbers, texts of at most 16 bytes and byte arrays of at most 16 elements live inside
// it, everything longer is shared by copies and never changed in place. Copying is O(1). Not safe for two
// threads at once. Texts are UTF-8. Dates are days since 1899-12-30, local time.
#pragma once

#include "values/SafeArray.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace orvo {

class AutomationObject;
class Variant;

// The numbers are those of the automation type tags.
enum class VariantKind : std::uint8_t {
  Empty = 0,
  Null = 1,
  I2 = 2,
  I4 = 3,
  R4 = 4,
  R8 = 5,
  Currency = 6,
  Date = 7,
  String = 8,
  Object = 9,
  Error = 10,
  Boolean = 11,
  Variant = 12,  // only as the element kind of an array
  Decimal = 14,
  I1 = 16,
  UI1 = 17,
  UI2 = 18,
  UI4 = 19,
  I8 = 20,
  UI8 = 21,
};

// A scaled 64-bit number with four decimals: the amount is scaled / 10000.
struct Currency {
  std::int64_t scaled = 0;
  friend bool operator==(Currency, Currency) = default;
};
// Days since 1899-12-30, the time of day as fraction.
struct Date {
  double days = 0;
  friend bool operator==(Date, Date) = default;
};
// A 96-bit magnitude with sign and 0..28 decimals.
struct Decimal {
  std::uint8_t scale = 0;
  bool negative = false;
  std::uint32_t high = 0;
  std::uint64_t low = 0;
  friend bool operator==(const Decimal&, const Decimal&) = default;
};
// An automation error code carried as a value.
struct ErrorCode {
  std::int32_t code = 0;
  friend bool operator==(ErrorCode, ErrorCode) = default;
};
struct NullValue {};

// The kind that stands for the C++ type T inside a variant or as array element.
template <class T>
struct KindOf;
// One line per kind reads as the table that it is.
// clang-format off
template <> struct KindOf<std::int16_t> { static constexpr VariantKind value = VariantKind::I2; };
template <> struct KindOf<std::int32_t> { static constexpr VariantKind value = VariantKind::I4; };
template <> struct KindOf<float> { static constexpr VariantKind value = VariantKind::R4; };
template <> struct KindOf<double> { static constexpr VariantKind value = VariantKind::R8; };
template <> struct KindOf<Currency> { static constexpr VariantKind value = VariantKind::Currency; };
template <> struct KindOf<Date> { static constexpr VariantKind value = VariantKind::Date; };
template <> struct KindOf<std::string> { static constexpr VariantKind value = VariantKind::String; };
template <> struct KindOf<bool> { static constexpr VariantKind value = VariantKind::Boolean; };
template <> struct KindOf<Decimal> { static constexpr VariantKind value = VariantKind::Decimal; };
template <> struct KindOf<std::int8_t> { static constexpr VariantKind value = VariantKind::I1; };
template <> struct KindOf<std::uint8_t> { static constexpr VariantKind value = VariantKind::UI1; };
template <> struct KindOf<std::uint16_t> { static constexpr VariantKind value = VariantKind::UI2; };
template <> struct KindOf<std::uint32_t> { static constexpr VariantKind value = VariantKind::UI4; };
template <> struct KindOf<std::int64_t> { static constexpr VariantKind value = VariantKind::I8; };
template <> struct KindOf<std::uint64_t> { static constexpr VariantKind value = VariantKind::UI8; };
template <> struct KindOf<ErrorCode> { static constexpr VariantKind value = VariantKind::Error; };
template <> struct KindOf<Variant> { static constexpr VariantKind value = VariantKind::Variant; };

// clang-format on

template <class T>
concept HasKind = requires {
  KindOf<T>::value;
};
// T is a scalar that a variant can hold.
template <class T>
concept VariantScalar = HasKind<T> && !std::is_same_v<T, Variant>;
// A scalar that is copied byte by byte: all but texts.
template <class T>
concept FlatScalar = VariantScalar<T> && std::is_trivially_copyable_v<T>;
// T can be the element of an array inside a variant. Automation booleans in arrays travel as variants.
template <class T>
concept VariantElement = HasKind<T> && !std::is_same_v<T, bool>;

// A moved-from variant is Empty.
class Variant {
 public:
  Variant() noexcept = default;  // Empty
  static Variant Null() noexcept;

  template <FlatScalar T>
  Variant(T value) noexcept : kind_(KindOf<T>::value) {
    static_assert(sizeof(T) <= InlineSize);
    std::memcpy(payload_, &value, sizeof(T));
  }
  Variant(std::string_view text);
  Variant(const std::string& text) : Variant(std::string_view(text)) {}
  Variant(const char* text) : Variant(std::string_view(text)) {}
  Variant(std::shared_ptr<AutomationObject> object);
  template <VariantElement T>
  Variant(SafeArray<T> array);
  // A byte array with lower bound 0.
  static Variant OfBytes(std::span<const std::uint8_t> bytes);

  Variant(const Variant& other) {
    if (other.heap_)
      CopyHeap(other);
    else
      CopyPlain(other);
  }
  Variant(Variant&& other) noexcept {
    CopyPlain(other);
    other.Forget();
  }
  Variant& operator=(const Variant& other) {
    if (this != &other) *this = Variant(other);
    return *this;
  }
  Variant& operator=(Variant&& other) noexcept {
    if (this == &other) return *this;
    Variant old;  // ends last: an object's end may call back in, and this value is whole by then
    old.CopyPlain(*this);
    CopyPlain(other);
    other.Forget();
    return *this;
  }
  ~Variant() {
    if (heap_) ReleaseHeap();
  }

  // The kind of the value, or of the elements when IsArray().
  VariantKind Kind() const noexcept { return kind_; }
  bool IsArray() const noexcept { return array_; }
  bool IsByteArray() const noexcept { return array_ && kind_ == VariantKind::UI1; }
  bool IsEmpty() const noexcept { return !array_ && kind_ == VariantKind::Empty; }
  bool IsNull() const noexcept { return !array_ && kind_ == VariantKind::Null; }
  bool Is(VariantKind kind) const noexcept { return !array_ && kind_ == kind; }

  // The scalar as it is held. Error 13 when the value is of another kind: conversions are in
  // VariantConversion.h.
  template <FlatScalar T>
  T Get() const {
    if (array_ || kind_ != KindOf<T>::value) RaiseRuntimeError(RuntimeError::TypeMismatch);
    T value;
    std::memcpy(&value, payload_, sizeof(T));
    return value;
  }
  // The held text; valid until this variant changes or ends. Error 13 when the value is no text.
  std::string_view Text() const;
  // The held object, possibly null. Error 13 when the value is no object.
  std::shared_ptr<AutomationObject> Object() const;
  // The held array of exactly this element type. Error 13 otherwise.
  template <VariantElement T>
  SafeArray<T> Array() const;
  // The elements of a byte array by position; valid until this variant changes or ends. Error 13 otherwise.
  std::span<const std::uint8_t> Bytes() const {
    if (!IsByteArray() || heap_) return HeapBytes();
    return {reinterpret_cast<const std::uint8_t*>(payload_), inlineCount_};
  }

  // Bounds of an array of any kind; LowerBound 0 and ElementCount 0 for a scalar.
  std::int32_t LowerBound() const noexcept {
    if (array_ && heap_) return HeapLowerBound();
    return array_ ? lowerBound_ : 0;
  }
  std::size_t ElementCount() const noexcept {
    if (array_ && heap_) return HeapElementCount();
    return array_ ? inlineCount_ : 0;
  }
  std::int32_t UpperBound() const noexcept {
    return static_cast<std::int32_t>(LowerBound() + static_cast<std::int64_t>(ElementCount()) - 1);
  }
  // Element of an array of any kind by position, counted from 0. Error 9 outside, 13 for a scalar.
  Variant ElementAt(std::size_t position) const;

  // A copy that shares no text and no elements with any other value, at any depth: what another thread may
  // receive. Objects are still the same.
  Variant Unshared() const;

  // Same kind and the same content; no conversion. (Compare in VariantConversion.h follows the automation
  // rules.)
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  static constexpr std::size_t InlineSize = 16;

  void CopyPlain(const Variant& other) noexcept {
    std::memcpy(payload_, other.payload_, InlineSize);
    lowerBound_ = other.lowerBound_;
    inlineCount_ = other.inlineCount_;
    kind_ = other.kind_;
    array_ = other.array_;
    heap_ = other.heap_;
  }
  void Forget() noexcept {
    kind_ = VariantKind::Empty;
    array_ = heap_ = false;
  }
  // The same of arrays that are not inside the value.
  std::span<const std::uint8_t> HeapBytes() const;
  std::int32_t HeapLowerBound() const noexcept;
  std::size_t HeapElementCount() const noexcept;
  void CopyHeap(const Variant& other);
  void ReleaseHeap() noexcept;
  template <class T>
  T& Held() noexcept {
    return *std::launder(reinterpret_cast<T*>(payload_));
  }
  template <class T>
  const T& Held() const noexcept {
    return *std::launder(reinterpret_cast<const T*>(payload_));
  }
  template <class Visitor>
  static decltype(auto) VisitHeld(VariantKind kind, bool array, Visitor&& visitor);

  // A scalar, the bytes of a short text or byte array, or (heap_) a TextHandle, SafeArray or shared_ptr.
  alignas(8) std::byte payload_[InlineSize]{};
  std::int32_t lowerBound_ = 0;   // of a byte array inside the value
  std::uint8_t inlineCount_ = 0;  // bytes of a short text or byte array
  VariantKind kind_ = VariantKind::Empty;
  bool array_ = false;
  bool heap_ = false;
};
static_assert(sizeof(Variant) == 24);

}  // namespace orvo
