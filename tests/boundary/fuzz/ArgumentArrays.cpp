// ArgumentMaker: arrays.
#include "ArgumentMaker.h"

#include <cstring>
#include <limits>

namespace orvo::testing {

namespace {

constexpr int DeepestArray = 2;
constexpr LONG LowerBounds[] = {0,
                                0,
                                0,
                                1,
                                1,
                                2,
                                -1,
                                -100,
                                1000000,
                                std::numeric_limits<LONG>::min(),
                                std::numeric_limits<LONG>::max() - 8};

void* ElementOf(SAFEARRAY* array, std::size_t index) {
  return static_cast<std::byte*>(array->pvData) + index * array->cbElements;
}

std::size_t CountOf(const SAFEARRAY* array) {
  std::size_t count = 1;
  for (USHORT i = 0; i < array->cDims; ++i)
    count *= array->rgsabound[i].cElements;
  return count;
}

}  // namespace

SAFEARRAY* ArgumentMaker::NewGuardedArray(VARTYPE type, LONG lower, ULONG count) {
  SAFEARRAY* array = nullptr;
  if (FAILED(SafeArrayAllocDescriptorEx(type, 1, &array))) return nullptr;
  array->rgsabound[0] = {count, lower};
  array->pvData = Reserve(std::size_t{count} * array->cbElements, Content::Plain);
  // As a variable with fixed bounds has it: the elements are the variable's own.
  array->fFeatures |= FADF_STATIC | FADF_FIXEDSIZE;
  // What the elements are is not noted by every system.
  if (type == VT_BSTR) array->fFeatures |= FADF_BSTR;
  if (type == VT_UNKNOWN) array->fFeatures |= FADF_UNKNOWN;
  if (type == VT_DISPATCH) array->fFeatures |= FADF_DISPATCH;
  if (type == VT_VARIANT) array->fFeatures |= FADF_VARIANT;
  return array;
}

SAFEARRAY* ArgumentMaker::NewArray(VARTYPE type, bool sensible) {
  const LONG lower = sensible ? random_.Between(0, 1) : random_.Pick(LowerBounds);
  const auto count = static_cast<ULONG>(random_.Below(sensible ? 4 : 7));
  if (random_.OneIn(4)) return NewGuardedArray(type, lower, count);
  if (sensible || !random_.OneIn(4)) return SafeArrayCreateVector(type, lower, count);
  SAFEARRAYBOUND bounds[3] = {{count, lower}, {static_cast<ULONG>(random_.Below(3)), 0}, {1, 5}};
  SAFEARRAY* const array = SafeArrayCreate(type, static_cast<UINT>(random_.Between(1, 3)), bounds);
  if (array != nullptr && random_.OneIn(8)) SafeArrayLock(array);
  return array;
}

void ArgumentMaker::FillElements(SAFEARRAY* array, VARTYPE type, int depth, bool sensible) {
  const std::size_t count = CountOf(array);
  for (std::size_t i = 0; i < count; ++i) {
    void* const element = ElementOf(array, i);
    if (type != VT_VARIANT) {
      VARIANT value;
      VariantInit(&value);
      if (sensible) FillSensible(value, type);
      if (V_VT(&value) != type) {
        VariantClear(&value);
        FillScalar(value, type);
      }
      std::memcpy(element, type == VT_DECIMAL ? static_cast<void*>(&V_DECIMAL(&value)) : &V_I8(&value),
                  array->cbElements);
    } else if (sensible || depth >= DeepestArray || !random_.OneIn(4)) {
      FillSensible(*static_cast<VARIANT*>(element), VT_VARIANT);
    } else if (random_.OneIn(4)) {
      FillReference(*static_cast<VARIANT*>(element), AnyType(), false);
    } else {
      FillArray(*static_cast<VARIANT*>(element), random_.OneIn(2) ? VARTYPE{VT_VARIANT} : AnyType(), depth + 1,
                false);
    }
  }
}

void ArgumentMaker::FillArray(VARIANT& value, VARTYPE type, int depth, bool sensible) {
  SAFEARRAY* array = random_.OneIn(12) ? nullptr : NewArray(type, sensible);
  if (array != nullptr) FillElements(array, type, depth, sensible);
  V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | type);
  // A caller whose type says something else than its array.
  if (!sensible && random_.OneIn(30)) V_VT(&value) = static_cast<VARTYPE>(VT_ARRAY | AnyType());
  if (depth > 0 || random_.OneIn(2)) {
    if (array != nullptr) array->cLocks = 0;  // a locked array cannot be freed with its variable
    V_ARRAY(&value) = array;
    return;
  }
  V_VT(&value) |= VT_BYREF;
  if (array == nullptr && random_.OneIn(3)) {
    V_ARRAYREF(&value) = nullptr;
    return;
  }
  auto** const place = static_cast<SAFEARRAY**>(Reserve(sizeof(SAFEARRAY*), Content::Array));
  *place = array;
  V_ARRAYREF(&value) = place;
}

}  // namespace orvo::testing
