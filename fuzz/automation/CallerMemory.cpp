#include "automation/CallerMemory.h"

#include "Property.h"
#include "com/VariantCodec.h"
#include "values/VariantConversion.h"

#include <string>
#include <utility>

namespace orvo::fuzz {

VARIANT Fresh(const Variant& value) {
  VARIANT fresh;
  com::PutFresh(value, &fresh);
  return fresh;
}

Variant Read(const VARIANT& value) {
  const VARIANT& behind = com::Dereferenced(value);
  IDispatch* object = nullptr;
  if (V_VT(&behind) == VT_DISPATCH) object = V_DISPATCH(&behind);
  if (V_VT(&behind) == (VT_BYREF | VT_DISPATCH) && V_BYREF(&behind) != nullptr)
    object = *V_DISPATCHREF(&behind);
  if (object == nullptr) return com::ValueOf(behind);
  auto& values = static_cast<ScriptArrayDouble*>(object)->Values();
  std::vector<Variant> elements;
  const std::int32_t length = ToI4(com::ValueOf(values[L"length"]));
  for (std::int32_t k = 0; k < length; ++k) {
    const auto found = values.find(std::to_wstring(k));
    elements.push_back(found == values.end() ? Variant() : Read(found->second));
  }
  return SafeArray<Variant>(std::move(elements));
}

bool IsMissing(const VARIANT& value) {
  const VARIANT& behind = com::Dereferenced(value);
  return V_VT(&behind) == VT_ERROR && V_ERROR(&behind) == DISP_E_PARAMNOTFOUND;
}

Variant ReadOrWhy(const VARIANT& value) {
  Variant read;
  const std::int32_t number = NumberOf([&] { read = Read(value); });
  return number == 0 ? read : Variant("unreadable: " + std::to_string(number));
}

bool IsSame(const Variant& a, const Variant& b) {
  if (a.IsArray() != b.IsArray() || a.Kind() != b.Kind()) return false;
  if (!a.IsArray()) return a == b || (!(a == a) && !(b == b));
  if (a.ElementCount() != b.ElementCount() || a.LowerBound() != b.LowerBound()) return false;
  for (std::size_t k = 0; k < a.ElementCount(); ++k)
    if (!IsSame(a.ElementAt(k), b.ElementAt(k))) return false;
  return true;
}

bool HasSameElements(const Variant& a, const Variant& b) {
  if (!a.IsArray() || !b.IsArray() || a.ElementCount() != b.ElementCount()) return false;
  for (std::size_t k = 0; k < a.ElementCount(); ++k) {
    const Variant left = a.ElementAt(k);
    const Variant right = b.ElementAt(k);
    if (left.IsArray() && right.IsArray() ? !HasSameElements(left, right) : !IsSame(left, right)) return false;
  }
  return true;
}

}  // namespace orvo::fuzz
