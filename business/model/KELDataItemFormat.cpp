// The item's formats: raw value to client value, client value to raw value, and the item in a whole group's
// bytes.

#include "errors/AutomationError.h"
#include "model/KELDataGroup.h"
#include "model/KELDataItem.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <vector>

namespace orvo {

namespace {

std::size_t ByteLength(std::int32_t wordLength) noexcept {
  return wordLength > 0 ? 2 * static_cast<std::size_t>(wordLength) : 0;
}

// The number in the first `count` bytes, least significant first. Error 9 when there are fewer.
std::uint32_t LittleEndian(std::span<const std::uint8_t> bytes, std::size_t count) {
  if (bytes.size() < count) RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < count; ++i)
    number |= std::uint32_t{bytes[i]} << (8 * i);
  return number;
}

bool IsByteCandidate(const Variant& value) noexcept {
  if (value.IsArray()) return false;
  switch (value.Kind()) {
    case VariantKind::I2:
    case VariantKind::I4:
    case VariantKind::R4:
    case VariantKind::R8:
    case VariantKind::I1:
    case VariantKind::UI1:
    case VariantKind::UI2:
    case VariantKind::UI4:
    case VariantKind::I8:
    case VariantKind::UI8:
      return true;
    default:
      return false;
  }
}

// An array as bytes. Languages without a byte type send their own numbers: each must be whole and fit a byte.
Variant BytesOf(const Variant& array) {
  if (array.IsByteArray()) return array;
  std::vector<std::uint8_t> bytes(array.ElementCount());
  for (std::size_t position = 0; position < bytes.size(); ++position) {
    const Variant element = array.ElementAt(position);
    if (!IsByteCandidate(element)) RaiseRuntimeError(RuntimeError::TypeMismatch);
    const double number = ToR8(element);
    if (number != std::floor(number)) RaiseRuntimeError(RuntimeError::TypeMismatch);
    if (number < 0 || number > 255) RaiseRuntimeError(RuntimeError::Overflow);
    bytes[position] = static_cast<std::uint8_t>(number);
  }
  return Variant::OfBytes(bytes);
}

// The number in an identifier from its `unit`-th character on, counted from 1. Error 6 outside 32 bits.
std::int32_t SizeField(std::string_view itemId, std::size_t unit) {
  constexpr std::size_t mostDigits = 8;
  // Nearly always: digits to the end, behind characters of one byte each. A text's size is asked for at each
  // conversion.
  if (itemId.size() >= unit && itemId.size() - unit < mostDigits) {
    const auto isOneByte = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const std::string_view digits = itemId.substr(unit - 1);
    if (std::ranges::all_of(itemId.substr(0, unit - 1), isOneByte) && std::ranges::all_of(digits, isDigit)) {
      std::int32_t number = 0;
      for (const char digit : digits)
        number = 10 * number + (digit - '0');
      return number;
    }
  }
  return RoundToI4(LeadingNumber(FromUnit(itemId, unit)));
}

// Without the way over a double for the kinds that decoding and devices bring.
bool IsNegative(const Variant& number) {
  if (number.Is(VariantKind::I2)) return number.Get<std::int16_t>() < 0;
  if (number.Is(VariantKind::I4)) return number.Get<std::int32_t>() < 0;
  return ToR8(number) < 0;
}

}  // namespace

std::int32_t DecodeBCD(std::int32_t value) noexcept {
  std::int32_t decoded = 0;
  std::int32_t ten = 1;
  double sixteen = 1;
  for (int digit = 0; digit < 4; ++digit) {
    // kept: the quotient is rounded, halves to even, not cut off: 0x0018 decodes to 28.
    decoded += ten * (RoundToI4(value / sixteen) & 15);
    ten *= 10;
    sixteen *= 16;
  }
  return decoded;
}

std::int32_t KELDataItem::DataSize() const {
  const std::string_view code = std::string_view(itemId_).substr(0, 2);
  if (code == "BY") return 1;
  if (code == "WO") return 2;
  if (code == "DW" || code == "FL") return 4;
  if (code == "ST") return SizeField(itemId_, 8);
  if (code == "RA") return SizeField(itemId_, 5);
  return 0;
}

void KELDataItem::ExtractDriverValue(ModelServer* server, Variant& value) const {
  if (server == nullptr) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  const std::shared_ptr<DeviceObject> device = server->Device();
  if (!device) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  device->ExtractValue(compiledAddress_, value, 0);
}

// An array is decoded once; the number stays in its place.
void KELDataItem::DecodeBytes() {
  if (!dataValue_.IsByteArray()) return;
  if (itemType_ == ItemTypeInteger && wordLength_ == 1)
    dataValue_ = static_cast<std::int16_t>(LittleEndian(dataValue_.Bytes(), 2));
  else if (itemType_ == ItemTypeInteger && wordLength_ == 2)
    dataValue_ = static_cast<std::int32_t>(LittleEndian(dataValue_.Bytes(), 4));
  else if (itemType_ == ItemTypeFloat && wordLength_ == 2)
    dataValue_ = std::bit_cast<float>(LittleEndian(dataValue_.Bytes(), 4));
}

Variant KELDataItem::ClientValue(ClientValueSteps* steps) {
  // The device's extraction can come back in and let go of the item.
  const std::shared_ptr<AutomationObject> self = weak_from_this().lock();
  const std::shared_ptr<KELDataGroup> group = Parent();
  const std::shared_ptr<ModelServer> server = group ? group->Server() : nullptr;
  return Converted(server.get(), steps);
}

Variant KELDataItem::Converted(ModelServer* server, ClientValueSteps* steps) {
  if (dataValue_.IsEmpty()) return {};
  switch (itemType_) {
    case ItemTypeInteger:
      return ClientInteger(server, steps);
    case ItemTypeString:
      return ClientText();
    case ItemTypeFloat:
      return ExtractedNumber(server, steps);
    case ItemTypeRaw:
      return dataValue_;
    default:
      return {};
  }
}

Variant KELDataItem::ExtractedNumber(ModelServer* server, ClientValueSteps* steps) {
  DecodeBytes();
  if (steps != nullptr) steps->decoded = dataValue_;
  Variant value = dataValue_;
  ExtractDriverValue(server, value);
  if (steps != nullptr) steps->extracted = value;
  return value;
}

Variant KELDataItem::ClientInteger(ModelServer* server, ClientValueSteps* steps) {
  Variant value = ExtractedNumber(server, steps);
  if (!signed_ && IsNegative(value)) {
    const double range = std::ldexp(1.0, 8 * DataSize());
    Variant unsignedValue = range - 1 - static_cast<double>(~ToI4(value));
    if (steps != nullptr) steps->withoutSign = unsignedValue;
    return unsignedValue;
  }
  if (bcd_) {
    Variant number = DecodeBCD(ToI4(value));
    if (steps != nullptr) steps->fromBCD = number;
    return number;
  }
  return value;
}

Variant KELDataItem::ClientText() const {
  const std::int32_t size = DataSize();
  if (dataValue_.Is(VariantKind::String)) return LeftUnits(dataValue_.Text(), size);
  if (!dataValue_.IsByteArray()) return {};
  const std::span<const std::uint8_t> codes = dataValue_.Bytes();
  std::string text;
  text.reserve(codes.size());
  std::int64_t index = dataValue_.LowerBound();
  for (const std::uint8_t code : codes) {
    // kept: a zero byte is skipped and does not end the text.
    if (code > 0 && code < 0x80)
      text.push_back(static_cast<char>(code));
    else if (code > 0)
      AppendWindows1252(text, code);
    // kept: the byte at the index equal to the data size still counts, so one more than the data size is looked
    // at.
    if (index++ == size) break;
  }
  return text;
}

Variant KELDataItem::CheckClientValue(const Variant& value) const {
  switch (itemType_) {
    case ItemTypeInteger:
      return CheckInteger(value);
    case ItemTypeString:
      return CheckText(value);
    case ItemTypeFloat:
      return CheckFloat(value);
    case ItemTypeRaw:
      return CheckRaw(value);
    default:
      if (!value.IsEmpty() && !value.IsNull()) RaiseRuntimeError(RuntimeError::TypeMismatch);
      return value;
  }
}

Variant KELDataItem::CheckInteger(const Variant& value) const {
  if (value.IsEmpty() || value.IsNull()) return std::int32_t{0};
  if (value.IsArray()) RaiseRuntimeError(RuntimeError::TypeMismatch);
  const auto require = [](bool accepted) {
    if (!accepted) RaiseRuntimeError(RuntimeError::Overflow);
  };
  const std::int32_t size = DataSize();
  switch (value.Kind()) {
    case VariantKind::I2: {
      const auto number = value.Get<std::int16_t>();
      require(number >= 0 || signed_);
      if (size == 0) require(number == 0 || number == 1);
      if (size == 1) require(number >= 0 && number <= 255);
      // kept: words and double words take a 16-bit integer without a range check.
      return std::int32_t{number};
    }
    case VariantKind::UI1: {
      const auto number = value.Get<std::uint8_t>();
      if (size == 0) require(number <= 1);
      return std::int32_t{number};
    }
    case VariantKind::I4:
    case VariantKind::R4:
    case VariantKind::R8:
    case VariantKind::Currency:
    case VariantKind::String:
    case VariantKind::I1:
    case VariantKind::UI2:
    case VariantKind::UI4:
    case VariantKind::I8:
    case VariantKind::UI8:
      break;
    default:
      RaiseRuntimeError(RuntimeError::TypeMismatch);
  }
  const double number = ToR8(value);
  require(number == std::floor(number));
  const auto within = [&](double lowest, double highest) { require(number >= lowest && number <= highest); };
  switch (size) {
    case 0:
      within(0, 1);
      break;
    case 1:
      within(0, 255);  // kept: a byte has no negative values even when it is signed
      break;
    case 2:
      signed_ ? within(-32768, 32767) : within(0, 65535);
      break;
    case 4:
      signed_ ? within(-2147483648.0, 2147483647.0) : within(0, 4294967295.0);
      break;
    default:
      require(false);  // a length without a range
  }
  // A double word above the signed range travels as the same 32 bits.
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(number)));
}

Variant KELDataItem::CheckText(const Variant& value) const {
  if (value.IsEmpty() || value.IsNull()) return value;
  if (value.IsArray()) return BytesOf(value);
  if (value.Is(VariantKind::Object) || value.Is(VariantKind::Error))
    RaiseRuntimeError(RuntimeError::TypeMismatch);
  const std::string text = ToText(value);
  return LeftUnits(text, DataSize());
}

Variant KELDataItem::CheckFloat(const Variant& value) const {
  if (value.IsEmpty() || value.IsNull()) return 0.0F;
  if (value.IsArray()) RaiseRuntimeError(RuntimeError::TypeMismatch);
  switch (value.Kind()) {
    case VariantKind::I2:
    case VariantKind::I4:
    case VariantKind::R4:
    case VariantKind::UI1:
      return ToR4(value);
    case VariantKind::R8:
    case VariantKind::Currency:
    case VariantKind::String:
    case VariantKind::I1:
    case VariantKind::UI2:
    case VariantKind::UI4:
    case VariantKind::I8:
    case VariantKind::UI8:
      return ToR4(ToR8(value));
    default:
      RaiseRuntimeError(RuntimeError::TypeMismatch);
  }
}

Variant KELDataItem::CheckRaw(const Variant& value) const {
  if (value.IsEmpty() || value.IsNull()) return value;
  if (!value.IsArray()) RaiseRuntimeError(RuntimeError::TypeMismatch);
  const std::int64_t longest =
      std::max<std::int64_t>(DataSize(), static_cast<std::int64_t>(ByteLength(wordLength_)));
  if (static_cast<std::int64_t>(value.ElementCount()) > longest) RaiseRuntimeError(RuntimeError::Overflow);
  return BytesOf(value);
}

Variant KELDataItem::RawValue(const Variant& checked) const {
  if (itemType_ != ItemTypeString) {
    if (bcd_) return EncodeBCD(ToI4(checked));
    return checked;
  }
  constexpr std::uint8_t blank = 32;
  std::vector<std::uint8_t> bytes(ByteLength(wordLength_), 0);
  const auto fill = [&](std::span<const std::uint8_t> source) {
    const std::size_t count = std::min(source.size(), bytes.size());
    std::copy_n(source.begin(), count, bytes.begin());
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(count), bytes.end(), blank);
  };
  if (checked.Is(VariantKind::String))
    fill(EncodeWindows1252(checked.Text()));
  else if (checked.IsByteArray())
    fill(checked.Bytes());
  return Variant::OfBytes(bytes);
}

}  // namespace orvo
