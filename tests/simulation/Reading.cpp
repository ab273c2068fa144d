#include "simulation/Reading.h"

namespace orvo::testing {

namespace {

Reading Number(double number) {
  return {Reading::Kind::Number, number, {}};
}

}  // namespace

Reading ReadingOf(const Variant& value) {
  if (value.IsByteArray()) {
    const auto bytes = value.Bytes();
    return {Reading::Kind::Bytes, 0, std::string(bytes.begin(), bytes.end())};
  }
  if (value.IsArray()) return {Reading::Kind::Other, 0, "an array"};
  switch (value.Kind()) {
    case VariantKind::Empty:
      return {};
    case VariantKind::I2:
      return Number(value.Get<std::int16_t>());
    case VariantKind::I4:
      return Number(value.Get<std::int32_t>());
    case VariantKind::R4:
      return Number(static_cast<double>(value.Get<float>()));
    case VariantKind::R8:
      return Number(value.Get<double>());
    case VariantKind::UI1:
      return Number(value.Get<std::uint8_t>());
    case VariantKind::String:
      return {Reading::Kind::Text, 0, std::string(value.Text())};
    default:
      return {Reading::Kind::Other, static_cast<double>(value.Kind()), "another kind"};
  }
}

std::string TextOf(const Reading& reading) {
  switch (reading.kind) {
    case Reading::Kind::Empty:
      return "Empty";
    case Reading::Kind::Number:
      return std::to_string(reading.number);
    case Reading::Kind::Text:
      return '"' + reading.text + '"';
    case Reading::Kind::Bytes:
      return std::to_string(reading.text.size()) + " bytes";
    default:
      return reading.text;
  }
}

}  // namespace orvo::testing
