#include "values/Variant.h"

#include "values/AutomationObject.h"

#include <algorithm>

namespace orvo {

namespace {

// Longer texts are shared and immutable.
using TextHandle = SafeArray<std::uint8_t>;
static_assert(sizeof(TextHandle) <= 16 && sizeof(std::shared_ptr<AutomationObject>) <= 16);

SafeArray<std::uint8_t> CopyOf(std::span<const std::uint8_t> bytes, std::int32_t lowerBound) {
  return SafeArray<std::uint8_t>(std::vector<std::uint8_t>(bytes.begin(), bytes.end()), lowerBound);
}
TextHandle MakeText(std::string_view text) {
  return CopyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, 0);
}
std::string_view ViewText(const TextHandle& text) noexcept {
  return {reinterpret_cast<const char*>(text.View().data()), text.Size()};
}

// Calls `visitor.template operator()<T>()` with the element type of an array of `kind`.
template <class Visitor>
decltype(auto) VisitElementType(VariantKind kind, Visitor&& visitor) {
  switch (kind) {
    case VariantKind::I2:
      return visitor.template operator()<std::int16_t>();
    case VariantKind::I4:
      return visitor.template operator()<std::int32_t>();
    case VariantKind::R4:
      return visitor.template operator()<float>();
    case VariantKind::R8:
      return visitor.template operator()<double>();
    case VariantKind::Currency:
      return visitor.template operator()<Currency>();
    case VariantKind::Date:
      return visitor.template operator()<Date>();
    case VariantKind::String:
      return visitor.template operator()<std::string>();
    case VariantKind::Error:
      return visitor.template operator()<ErrorCode>();
    case VariantKind::Decimal:
      return visitor.template operator()<Decimal>();
    case VariantKind::I1:
      return visitor.template operator()<std::int8_t>();
    case VariantKind::UI1:
      return visitor.template operator()<std::uint8_t>();
    case VariantKind::UI2:
      return visitor.template operator()<std::uint16_t>();
    case VariantKind::UI4:
      return visitor.template operator()<std::uint32_t>();
    case VariantKind::I8:
      return visitor.template operator()<std::int64_t>();
    case VariantKind::UI8:
      return visitor.template operator()<std::uint64_t>();
    default:
      return visitor.template operator()<Variant>();
  }
}

}  // namespace

// Calls `visitor.template operator()<T>()` with the type of what a heap payload holds.
template <class Visitor>
decltype(auto) Variant::VisitHeld(VariantKind kind, bool array, Visitor&& visitor) {
  if (array)
    return VisitElementType(
        kind, [&]<class T>() -> decltype(auto) { return visitor.template operator()<SafeArray<T>>(); });
  if (kind == VariantKind::String) return visitor.template operator()<TextHandle>();
  return visitor.template operator()<std::shared_ptr<AutomationObject>>();
}

Variant Variant::Null() noexcept {
  Variant null;
  null.kind_ = VariantKind::Null;
  return null;
}

Variant::Variant(std::string_view text) : kind_(VariantKind::String) {
  if (text.size() <= InlineSize) {
    inlineCount_ = static_cast<std::uint8_t>(text.size());
    std::copy_n(reinterpret_cast<const std::byte*>(text.data()), text.size(), payload_);
  } else {
    new (payload_) TextHandle(MakeText(text));
    heap_ = true;
  }
}

Variant::Variant(std::shared_ptr<AutomationObject> object) : kind_(VariantKind::Object), heap_(true) {
  new (payload_) std::shared_ptr<AutomationObject>(std::move(object));
}

template <VariantElement T>
Variant::Variant(SafeArray<T> array) : kind_(KindOf<T>::value), array_(true) {
  if constexpr (std::is_same_v<T, std::uint8_t>) {
    if (array.Size() <= InlineSize) {
      lowerBound_ = array.LowerBound();
      inlineCount_ = static_cast<std::uint8_t>(array.Size());
      std::copy_n(reinterpret_cast<const std::byte*>(array.View().data()), array.Size(), payload_);
      return;
    }
  }
  new (payload_) SafeArray<T>(std::move(array));
  heap_ = true;
}

Variant Variant::OfBytes(std::span<const std::uint8_t> bytes) {
  Variant value;  // the one object that is returned, made where the caller wants it
  if (bytes.size() > InlineSize) {
    value = CopyOf(bytes, 0);
    return value;
  }
  value.kind_ = VariantKind::UI1;
  value.array_ = true;
  value.inlineCount_ = static_cast<std::uint8_t>(bytes.size());
  // Most are words: a copy of known length is no call.
  if (bytes.size() == 2)
    std::memcpy(value.payload_, bytes.data(), 2);
  else
    std::copy_n(reinterpret_cast<const std::byte*>(bytes.data()), bytes.size(), value.payload_);
  return value;
}

std::string_view Variant::Text() const {
  if (!Is(VariantKind::String)) RaiseRuntimeError(RuntimeError::TypeMismatch);
  if (heap_) return ViewText(Held<TextHandle>());
  return {reinterpret_cast<const char*>(payload_), inlineCount_};
}

std::shared_ptr<AutomationObject> Variant::Object() const {
  if (!Is(VariantKind::Object)) RaiseRuntimeError(RuntimeError::TypeMismatch);
  return Held<std::shared_ptr<AutomationObject>>();
}

template <VariantElement T>
SafeArray<T> Variant::Array() const {
  if (!array_ || kind_ != KindOf<T>::value) RaiseRuntimeError(RuntimeError::TypeMismatch);
  if constexpr (std::is_same_v<T, std::uint8_t>) {
    if (!heap_) return CopyOf(Bytes(), lowerBound_);
  }
  return Held<SafeArray<T>>();
}

std::span<const std::uint8_t> Variant::HeapBytes() const {
  if (!IsByteArray()) RaiseRuntimeError(RuntimeError::TypeMismatch);
  return Held<SafeArray<std::uint8_t>>().View();
}

std::int32_t Variant::HeapLowerBound() const noexcept {
  return VisitElementType(kind_, [this]<class T>() { return this->Held<SafeArray<T>>().LowerBound(); });
}

std::size_t Variant::HeapElementCount() const noexcept {
  return VisitElementType(kind_, [this]<class T>() { return this->Held<SafeArray<T>>().Size(); });
}

Variant Variant::ElementAt(std::size_t position) const {
  if (!array_) RaiseRuntimeError(RuntimeError::TypeMismatch);
  if (position >= ElementCount()) RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
  if (!heap_) return Variant(Bytes()[position]);
  return VisitElementType(kind_, [&]<class T>() { return Variant(Held<SafeArray<T>>().View()[position]); });
}

Variant Variant::Unshared() const {
  if (!heap_ || Is(VariantKind::Object)) return *this;
  if (!array_) return Variant(Text());
  return VisitElementType(kind_, [this]<class T>() {
    const SafeArray<T>& held = Held<SafeArray<T>>();
    std::vector<T> elements;
    elements.reserve(held.Size());
    for (const T& element : held.View()) {
      if constexpr (std::is_same_v<T, Variant>)
        elements.push_back(element.Unshared());
      else
        elements.push_back(element);
    }
    return Variant(SafeArray<T>(std::move(elements), held.LowerBound()));
  });
}

void Variant::CopyHeap(const Variant& other) {
  VisitHeld(other.kind_, other.array_, [&]<class T>() { new (payload_) T(other.Held<T>()); });
  lowerBound_ = other.lowerBound_;
  inlineCount_ = other.inlineCount_;
  kind_ = other.kind_;
  array_ = other.array_;
  heap_ = true;
}

void Variant::ReleaseHeap() noexcept {
  VisitHeld(kind_, array_, [this]<class T>() { Held<T>().~T(); });
}

bool operator==(const Variant& a, const Variant& b) {
  if (a.kind_ != b.kind_ || a.array_ != b.array_) return false;
  if (a.array_) {
    if (a.LowerBound() != b.LowerBound()) return false;
    if (a.IsByteArray()) return std::ranges::equal(a.Bytes(), b.Bytes());
    return VisitElementType(a.kind_, [&]<class T>() {
      return std::ranges::equal(a.Held<SafeArray<T>>().View(), b.Held<SafeArray<T>>().View());
    });
  }
  switch (a.kind_) {
    case VariantKind::Empty:
    case VariantKind::Null:
      return true;
    case VariantKind::String:
      return a.Text() == b.Text();
    case VariantKind::Object:
      return a.Object() == b.Object();
    case VariantKind::Boolean:
      return a.Get<bool>() == b.Get<bool>();
    default:
      return VisitElementType(a.kind_, [&]<class T>() {
        if constexpr (std::is_trivially_copyable_v<T> && !std::is_same_v<T, Variant>)
          return a.Get<T>() == b.Get<T>();
        else
          return false;
      });
  }
}

#define ORVO_VARIANT_ELEMENT(T)            \
  template Variant::Variant(SafeArray<T>); \
  template SafeArray<T> Variant::Array() const
ORVO_VARIANT_ELEMENT(std::int8_t);
ORVO_VARIANT_ELEMENT(std::uint8_t);
ORVO_VARIANT_ELEMENT(std::int16_t);
ORVO_VARIANT_ELEMENT(std::uint16_t);
ORVO_VARIANT_ELEMENT(std::int32_t);
ORVO_VARIANT_ELEMENT(std::uint32_t);
ORVO_VARIANT_ELEMENT(std::int64_t);
ORVO_VARIANT_ELEMENT(std::uint64_t);
ORVO_VARIANT_ELEMENT(float);
ORVO_VARIANT_ELEMENT(double);
ORVO_VARIANT_ELEMENT(Currency);
ORVO_VARIANT_ELEMENT(Date);
ORVO_VARIANT_ELEMENT(Decimal);
ORVO_VARIANT_ELEMENT(ErrorCode);
ORVO_VARIANT_ELEMENT(std::string);
ORVO_VARIANT_ELEMENT(Variant);
#undef ORVO_VARIANT_ELEMENT

}  // namespace orvo
