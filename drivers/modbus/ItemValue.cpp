#include "modbus/ItemValue.h"

#include "errors/AutomationError.h"
#include "modbus/ItemError.h"
#include "values/NumberKinds.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>

namespace orvo::modbus {

namespace {

// The bits of LongOrder.
constexpr unsigned RegistersExchanged = 1;
constexpr unsigned BytesExchanged = 2;

using RegisterPair = std::array<std::uint16_t, 2>;

// From the registers as they travel to those with the most significant one first, each with its most
// significant byte first; and back: an exchange is its own reverse.
RegisterPair OrderedPair(RegisterPair pair, LongOrder order) {
  const auto exchange = static_cast<unsigned>(order);
  if ((exchange & BytesExchanged) != 0)
    for (std::uint16_t& half : pair)
      half = ExchangeBytes(half);
  if ((exchange & RegistersExchanged) != 0) std::swap(pair[0], pair[1]);
  return pair;
}

std::uint8_t LowByteOf(std::uint16_t word) {
  return static_cast<std::uint8_t>(word & 0xFF);
}
std::uint8_t HighByteOf(std::uint16_t word) {
  return static_cast<std::uint8_t>(word >> 8);
}

Variant ValueOfWord(std::uint16_t word) {
  return Variant::OfBytes(std::array<std::uint8_t, 2>{LowByteOf(word), HighByteOf(word)});
}

// The order of the bytes of a string or raw item.
PairOrder OrderOfBytes(const Address& item, const ByteOrder& order) {
  return item.kind == ItemKind::String ? order.text : PairOrder::ab;
}

bool IsZeros(const Variant& value) {
  return value.IsEmpty() || value.IsNull();
}

void RequireNumber(const Variant& value) {
  if (!IsNumber(value)) throw AutomationError(BadValue, "The item takes numbers only");
  if ((value.Is(VariantKind::R4) || value.Is(VariantKind::R8)) && std::isnan(ToR8(value)))
    throw AutomationError(BadValue, "An item of whole numbers does not take what is no number (NaN)");
}

// Rounded to the nearest integer; the end of the range of 64 bits for what lies beyond it.
std::int64_t WholeNumber(const Variant& value) {
  try {
    return ToI8(value);
  } catch (const AutomationError&) {
    return ToR8(value) < 0 ? INT64_MIN : INT64_MAX;
  }
}

std::int64_t NumberWithin(const Variant& value, std::int64_t minimum, std::int64_t maximum) {
  RequireNumber(value);
  const std::int64_t number = WholeNumber(value);
  if (number < minimum || number > maximum)
    throw AutomationError(BadValue, "The item takes " + std::to_string(minimum) + ".." +
                                        std::to_string(maximum) + ", not " + ToText(value));
  return number;
}

std::uint32_t BitsOfSingle(const Variant& value) {
  if (!IsNumber(value)) throw AutomationError(BadValue, "The item takes numbers only");
  try {
    return std::bit_cast<std::uint32_t>(ToR4(value));
  } catch (const AutomationError&) {
    throw AutomationError(BadValue, "The item takes singles, " + ToText(value) + " is too large for one");
  }
}

// The bits of the one register that a Bit or Byte is.
std::uint16_t MaskOfItem(const Address& item) {
  return static_cast<std::uint16_t>((item.kind == ItemKind::Bit ? 1 : 0xFF) << item.bit);
}

RegisterImage ImageOfLong(std::uint32_t number, LongOrder order) {
  const RegisterPair pair = OrderedPair(
      {static_cast<std::uint16_t>(number >> 16), static_cast<std::uint16_t>(number & 0xFFFF)}, order);
  return {{pair[0], pair[1]}};
}

RegisterImage ImageOfBytes(const Address& item, PairOrder order, std::int32_t dimension, const Variant& value) {
  const auto count = static_cast<std::size_t>(dimension);
  RegisterImage image{std::vector<std::uint16_t>(count)};
  if (IsZeros(value)) return image;
  if (!value.IsByteArray()) throw AutomationError(BadValue, "The item takes byte arrays only");
  const auto bytes = value.Bytes();
  if (bytes.size() > 2 * count)
    throw AutomationError(BadValue, "The item has room for " + std::to_string(2 * count) + " bytes, not for " +
                                        std::to_string(bytes.size()));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto wide = static_cast<std::uint16_t>(bytes[i]);
    image.registers[i / 2] |= i % 2 == 0 ? static_cast<std::uint16_t>(wide << 8) : wide;
  }
  // The system fills texts up with blanks: what lies behind the item holds none.
  if (item.odd) image.registers.back() &= 0xFF00;
  for (std::uint16_t& word : image.registers)
    word = Ordered(word, order);
  return image;
}

}  // namespace

Variant ValueOfRegisters(const Address& item, const ByteOrder& order,
                         std::span<const std::uint16_t> registers) {
  switch (item.kind) {
    case ItemKind::Bit:
    case ItemKind::Byte:
    case ItemKind::Word:
      return ValueOfWord(Ordered(registers[0], order.words));
    case ItemKind::DoubleWord:
    case ItemKind::Single: {
      const RegisterPair pair = OrderedPair({registers[0], registers[1]}, order.longs);
      return Variant::OfBytes(std::array<std::uint8_t, 4>{LowByteOf(pair[1]), HighByteOf(pair[1]),
                                                          LowByteOf(pair[0]), HighByteOf(pair[0])});
    }
    default:
      break;
  }
  std::array<std::uint8_t, 2 * static_cast<std::size_t>(LongestItem)> bytes{};
  std::size_t count = 0;
  for (const std::uint16_t travelling : registers) {
    const std::uint16_t word = Ordered(travelling, OrderOfBytes(item, order));
    bytes[count++] = HighByteOf(word);
    bytes[count++] = LowByteOf(word);
  }
  // What lies behind the item is not its value.
  if (item.odd && count > 0) bytes[count - 1] = 0;
  return Variant::OfBytes(std::span(bytes).first(count));
}

Variant ValueOfBit(bool bit) {
  return ValueOfWord(bit ? 1 : 0);
}

RegisterImage ImageOfValue(const Address& item, const ByteOrder& order, std::int32_t dimension,
                           const Variant& value) {
  if (item.kind == ItemKind::String || item.kind == ItemKind::Raw)
    return ImageOfBytes(item, OrderOfBytes(item, order), dimension, value);

  const Variant number = IsZeros(value) ? Variant(std::int32_t{0}) : value;
  switch (item.kind) {
    case ItemKind::Bit:
    case ItemKind::Byte: {
      const std::int64_t own =
          item.kind == ItemKind::Byte ? NumberWithin(number, 0, 0xFF) : (BitOfValue(number) ? 1 : 0);
      return {{Ordered(static_cast<std::uint16_t>(own << item.bit), order.words)},
              Ordered(MaskOfItem(item), order.words)};
    }
    case ItemKind::Word:
      return {{Ordered(static_cast<std::uint16_t>(NumberWithin(number, INT16_MIN, UINT16_MAX)), order.words)}};
    case ItemKind::Single:
      return ImageOfLong(BitsOfSingle(number), order.longs);
    default:
      return ImageOfLong(static_cast<std::uint32_t>(NumberWithin(number, INT32_MIN, UINT32_MAX)), order.longs);
  }
}

bool BitOfValue(const Variant& value) {
  if (IsZeros(value)) return false;
  RequireNumber(value);
  return WholeNumber(value) != 0;
}

std::int16_t BitOrByteOfWord(const Address& item, std::uint16_t word) noexcept {
  return static_cast<std::int16_t>((word & MaskOfItem(item)) >> item.bit);
}

}  // namespace orvo::modbus
