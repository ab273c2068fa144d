#include "com/VariantCodec.h"

#include "com/FacadeIdentity.h"

#include <type_traits>

namespace orvo::com {

namespace {

constexpr int DeepestReference = 16;  // a chain that is longer goes in circles
constexpr std::int32_t ArrayIsFixed = 10;

[[noreturn]] void RaiseUnknownKind(VARTYPE type) {
  RaiseRuntimeError(RuntimeError::TypeMismatch, "a value of type " + std::to_string(type) + " cannot be taken");
}

Variant ObjectValue(IUnknown* object) {
  if (object == nullptr) return std::shared_ptr<AutomationObject>();
  if (auto own = OwnObject(object)) return own;
  return std::shared_ptr<AutomationObject>(std::make_shared<ForeignObject>(ComPtr<IUnknown>(object)));
}

// Calls visitor(std::type_identity<T>) for the core type whose elements travel as `type`; false when there is
// none.
template <class Visitor>
bool VisitType(VARTYPE type, Visitor&& visitor) {
  const auto visit = [&]<class T>() {
    visitor(std::type_identity<T>{});
    return true;
  };
  switch (type) {
    case VT_I2:
      return visit.template operator()<std::int16_t>();
    case VT_I4:
    case VT_INT:
      return visit.template operator()<std::int32_t>();
    case VT_R4:
      return visit.template operator()<float>();
    case VT_R8:
      return visit.template operator()<double>();
    case VT_CY:
      return visit.template operator()<Currency>();
    case VT_DATE:
      return visit.template operator()<Date>();
    case VT_BSTR:
      return visit.template operator()<std::string>();
    case VT_ERROR:
      return visit.template operator()<ErrorCode>();
    case VT_DECIMAL:
      return visit.template operator()<Decimal>();
    case VT_I1:
      return visit.template operator()<std::int8_t>();
    case VT_UI1:
      return visit.template operator()<std::uint8_t>();
    case VT_UI2:
      return visit.template operator()<std::uint16_t>();
    case VT_UI4:
    case VT_UINT:
      return visit.template operator()<std::uint32_t>();
    case VT_I8:
      return visit.template operator()<std::int64_t>();
    case VT_UI8:
      return visit.template operator()<std::uint64_t>();
    default:
      return false;
  }
}

template <class Element, class Convert>
Variant ConvertedArray(SAFEARRAY* array, Convert&& convert) {
  const ArrayAccess<Element> access(array);
  std::vector<Variant> elements;
  elements.reserve(access.Elements().size());
  for (const Element& element : access.Elements())
    elements.push_back(convert(element));
  return SafeArray<Variant>(std::move(elements), BoundsOf(array).lower);
}

Variant ArrayValue(SAFEARRAY* array, VARTYPE declared, int depth) {
  if (depth > DeepestNesting) RaiseRuntimeError(RuntimeError::TypeMismatch, "arrays are nested too deeply");
  VARTYPE type = ElementType(array);
  if (type == VT_EMPTY) type = declared;
  switch (type) {
    case VT_VARIANT:
      return ConvertedArray<VARIANT>(array,
                                     [&](const VARIANT& element) { return ValueOf(element, depth + 1); });
    case VT_BOOL:  // the core carries booleans in arrays as values
      return ConvertedArray<VARIANT_BOOL>(array, [](VARIANT_BOOL element) { return Variant(element != 0); });
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ConvertedArray<IUnknown*>(array, [](IUnknown* element) { return ObjectValue(element); });
    default:
      break;
  }
  Variant value;
  const bool known = VisitType(type, [&]<class T>(std::type_identity<T>) { value = ArrayOf<T>(array); });
  if (!known) RaiseUnknownKind(static_cast<VARTYPE>(VT_ARRAY | type));
  return value;
}

// Where the scalar of a variant lies: in it, or behind its reference.
const void* ScalarAddress(const VARIANT& value) {
  if ((V_VT(&value) & VT_BYREF) != 0) return V_BYREF(&value);
  if (V_VT(&value) == VT_DECIMAL) return &V_DECIMAL(&value);
  return &V_I8(&value);
}

template <class Element>
Element Scalar(const VARIANT& value) {
  Element element;
  std::memcpy(&element, ScalarAddress(value), sizeof element);
  return element;
}

IDispatch* DispatchOf(const std::shared_ptr<AutomationObject>& object, ComPtr<IUnknown>& unknown) {
  if (const auto foreign = std::dynamic_pointer_cast<ForeignObject>(object))
    unknown = foreign->Object();
  else
    unknown = FacadeOfAny(object);
  return unknown.Query<IDispatch>().Detach();
}

void PutObject(const std::shared_ptr<AutomationObject>& object, VARIANT* target) {
  ComPtr<IUnknown> unknown;
  IDispatch* dispatch = object ? DispatchOf(object, unknown) : nullptr;
  if (object && dispatch == nullptr) {
    V_UNKNOWN(target) = unknown.Detach();
    V_VT(target) = VT_UNKNOWN;
    return;
  }
  V_DISPATCH(target) = dispatch;
  V_VT(target) = VT_DISPATCH;
}

}  // namespace

const VARIANT& Dereferenced(const VARIANT& value) noexcept {
  const VARIANT* current = &value;
  for (int depth = 0; depth < DeepestReference && V_VT(current) == (VT_BYREF | VT_VARIANT); ++depth) {
    if (V_VARIANTREF(current) == nullptr) break;
    current = V_VARIANTREF(current);
  }
  return *current;
}

Variant ValueOf(const VARIANT& reference, int depth) {
  const VARIANT& value = Dereferenced(reference);
  const auto type = static_cast<VARTYPE>(V_VT(&value) & VT_TYPEMASK);
  const bool byReference = (V_VT(&value) & VT_BYREF) != 0;
  if (byReference && V_BYREF(&value) == nullptr)
    RaiseRuntimeError(RuntimeError::TypeMismatch, "a reference leads nowhere");
  if ((V_VT(&value) & VT_ARRAY) != 0)
    return ArrayValue(byReference ? *V_ARRAYREF(&value) : V_ARRAY(&value), type, depth);
  switch (type) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return Variant::Null();
    case VT_BOOL:
      return Variant(Scalar<VARIANT_BOOL>(value) != 0);
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ObjectValue(Scalar<IUnknown*>(value));
    default:
      break;
  }
  Variant result;
  const bool known = VisitType(type, [&]<class T>(std::type_identity<T>) {
    result = Variant(Wire<T>::In(Scalar<typename Wire<T>::Element>(value)));
  });
  if (!known) RaiseUnknownKind(V_VT(&value));
  return result;
}

void PutFresh(const Variant& value, VARIANT* target) {
  VariantInit(target);
  const auto type = static_cast<VARTYPE>(value.Kind());
  if (value.IsArray()) {
    if (type == VT_VARIANT) {
      V_ARRAY(target) = NewArray(value.Array<Variant>()).Detach();
    } else {
      const bool known = VisitType(
          type, [&]<class T>(std::type_identity<T>) { V_ARRAY(target) = NewArray(value.Array<T>()).Detach(); });
      if (!known) RaiseUnknownKind(static_cast<VARTYPE>(VT_ARRAY | type));
    }
    V_VT(target) = static_cast<VARTYPE>(VT_ARRAY | type);
    return;
  }
  switch (value.Kind()) {
    case VariantKind::Empty:
      return;
    case VariantKind::Null:
      V_VT(target) = VT_NULL;
      return;
    case VariantKind::Boolean:
      V_BOOL(target) = value.Get<bool>() ? VARIANT_TRUE : VARIANT_FALSE;
      V_VT(target) = VT_BOOL;
      return;
    case VariantKind::String:
      V_BSTR(target) = NewBstr(value.Text());
      V_VT(target) = VT_BSTR;
      return;
    case VariantKind::Object:
      PutObject(value.Object(), target);
      return;
    default:
      break;
  }
  const bool known = VisitType(type, [&]<class T>(std::type_identity<T>) {
    if constexpr (FlatScalar<T>) {
      const auto element = Wire<T>::Out(value.Get<T>());
      if constexpr (std::is_same_v<T, Decimal>)
        V_DECIMAL(target) = element;
      else
        std::memcpy(&V_I8(target), &element, sizeof element);
      V_VT(target) = type;
    }
  });
  if (!known) RaiseUnknownKind(type);
}

void PutValue(const Variant& value, VARIANT* target) {
  VARIANT fresh;
  PutFresh(value, &fresh);
  // The old value ends last: an object's end may call back in, and the target is whole by then.
  VARIANT old = *target;
  *target = fresh;
  VariantClear(&old);
}

Decimal Wire<Decimal>::In(const DECIMAL& element) {
  return {element.scale, (element.sign & DECIMAL_NEG) != 0, element.Hi32, element.Lo64};
}

DECIMAL Wire<Decimal>::Out(const Decimal& value) {
  DECIMAL element{};
  element.scale = value.scale;
  element.sign = value.negative ? DECIMAL_NEG : 0;
  element.Hi32 = value.high;
  element.Lo64 = value.low;
  return element;
}

bool IsElementKnown(VARTYPE type) noexcept {
  if (type == VT_VARIANT || type == VT_BOOL || type == VT_DISPATCH || type == VT_UNKNOWN) return true;
  return VisitType(type, [](auto) {});
}

bool IsSameElement(VARTYPE declared, VARTYPE actual) noexcept {
  return declared == actual || (declared == VT_I4 && actual == VT_INT) ||
         (declared == VT_UI4 && actual == VT_UINT);
}

void ReplaceArray(SAFEARRAY** variable, OwnedSafeArray fresh) {
  SAFEARRAY* old = *variable;
  if (old == nullptr) {
    *variable = fresh.Detach();
    return;
  }
  const bool isFixed = IsFixedSize(old);
  // A fixed array keeps its own lower bound and is filled by position.
  if (old->cDims == 1 && ElementType(old) == ElementType(fresh.Get()) &&
      BoundsOf(old).count == BoundsOf(fresh.Get()).count &&
      (isFixed || BoundsOf(old) == BoundsOf(fresh.Get()))) {
    // The contents change places; what the caller had ends with `fresh`.
    const ArrayAccess<std::byte> into(old);
    const ArrayAccess<std::byte> from(fresh.Get());
    const std::size_t bytes = std::size_t{BoundsOf(old).count} * old->cbElements;
    std::swap_ranges(into.Elements().data(), into.Elements().data() + bytes, from.Elements().data());
    return;
  }
  if (isFixed) throw AutomationError(ArrayIsFixed, "This array is fixed or temporarily locked");
  *variable = fresh.Detach();
  SafeArrayDestroy(old);
}

}  // namespace orvo::com
