#include "com/ScriptBytes.h"

#include <optional>
#include <vector>

namespace orvo::com {

namespace {

std::optional<std::uint8_t> ByteOf(const Variant& value) {
  std::int64_t number = 0;
  if (value.Is(VariantKind::UI1))
    number = value.Get<std::uint8_t>();
  else if (value.Is(VariantKind::I2))
    number = value.Get<std::int16_t>();
  else if (value.Is(VariantKind::I4))
    number = value.Get<std::int32_t>();
  else
    return std::nullopt;
  if (number < 0 || number > 255) return std::nullopt;
  return static_cast<std::uint8_t>(number);
}

Variant WithBytes(const Variant& value) {
  if (!value.IsArray() || value.Kind() != VariantKind::Variant) return value;
  const SafeArray<Variant> numbers = value.Array<Variant>();
  std::vector<std::uint8_t> bytes;
  bytes.reserve(numbers.Size());
  for (const Variant& number : numbers.View()) {
    const std::optional<std::uint8_t> byte = ByteOf(number);
    if (!byte) return value;
    bytes.push_back(*byte);
  }
  return SafeArray<std::uint8_t>(std::move(bytes), numbers.LowerBound());
}

}  // namespace

SafeArray<Variant> WithBytes(const SafeArray<Variant>& values) {
  std::vector<Variant> result;
  result.reserve(values.Size());
  for (const Variant& value : values.View())
    result.push_back(WithBytes(value));
  return SafeArray<Variant>(std::move(result), values.LowerBound());
}

}  // namespace orvo::com
