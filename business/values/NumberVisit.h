// One funnel from a variant to the number in it, for the conversions and the comparison. Internal to this
// folder.
#pragma once

#include "values/DecimalScan.h"
#include "values/Variant.h"

#include <concepts>
#include <cstdint>
#include <string_view>

namespace orvo {

// A text that is a number: decimal, or the bits that "&H" or "&O" digits spell.
struct NumberText {
  bool isBits = false;
  std::uint64_t bits = 0;
  ScannedNumber decimal;  // its views point into the text
};

// Error 13 when the text is no number, 6 when its bits are more than 64.
NumberText ParseNumberText(std::string_view text);

// Calls `visitor` with the scalar in its own type; Empty is visited as a 16-bit 0, a date as its days, a text
// as NumberText. Error 94 for Null, 13 for what converts to no number.
template <class Visitor>
decltype(auto) VisitNumber(const Variant& value, Visitor&& visitor) {
  if (value.IsArray()) RaiseRuntimeError(RuntimeError::TypeMismatch);
  switch (value.Kind()) {
    case VariantKind::Empty:
      return visitor(std::int16_t{0});
    case VariantKind::Null:
      RaiseRuntimeError(RuntimeError::InvalidUseOfNull);
    case VariantKind::I2:
      return visitor(value.Get<std::int16_t>());
    case VariantKind::I4:
      return visitor(value.Get<std::int32_t>());
    case VariantKind::R4:
      return visitor(value.Get<float>());
    case VariantKind::R8:
      return visitor(value.Get<double>());
    case VariantKind::Currency:
      return visitor(value.Get<Currency>());
    case VariantKind::Date:
      return visitor(value.Get<Date>().days);
    case VariantKind::String:
      if constexpr (std::invocable<Visitor, NumberText>)
        return visitor(ParseNumberText(value.Text()));
      else
        break;
    case VariantKind::Boolean:
      return visitor(value.Get<bool>());
    case VariantKind::Decimal:
      return visitor(value.Get<Decimal>());
    case VariantKind::I1:
      return visitor(value.Get<std::int8_t>());
    case VariantKind::UI1:
      return visitor(value.Get<std::uint8_t>());
    case VariantKind::UI2:
      return visitor(value.Get<std::uint16_t>());
    case VariantKind::UI4:
      return visitor(value.Get<std::uint32_t>());
    case VariantKind::I8:
      return visitor(value.Get<std::int64_t>());
    case VariantKind::UI8:
      return visitor(value.Get<std::uint64_t>());
    case VariantKind::Object:
    case VariantKind::Error:
    case VariantKind::Variant:
      break;
  }
  RaiseRuntimeError(RuntimeError::TypeMismatch);
}

}  // namespace orvo
