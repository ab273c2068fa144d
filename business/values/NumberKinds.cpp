#include "values/NumberKinds.h"

namespace orvo {

bool IsNumber(const Variant& value) noexcept {
  if (value.IsArray()) return false;
  switch (value.Kind()) {
    case VariantKind::I1:
    case VariantKind::I2:
    case VariantKind::I4:
    case VariantKind::I8:
    case VariantKind::UI1:
    case VariantKind::UI2:
    case VariantKind::UI4:
    case VariantKind::UI8:
    case VariantKind::R4:
    case VariantKind::R8:
    case VariantKind::Currency:
    case VariantKind::Decimal:
    case VariantKind::Boolean:
      return true;
    default:
      return false;
  }
}

}  // namespace orvo
