#include "simulated/PanelItem.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "values/NumberKinds.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace orvo {

namespace {

void RequireDimension(const PanelAddress& item, std::int32_t dimension) {
  if (dimension < 1)
    throw AutomationError(PanelBadValue, "An item of " + std::to_string(dimension) + " words has no place");
  if (item.WordAddress() + 2 * std::int64_t{dimension} > PanelMemory::Size)
    throw AutomationError(PanelBadValue, "An item of " + std::to_string(dimension) + " words at byte " +
                                             std::to_string(item.WordAddress()) + " reaches past the memory");
}

bool HoldsNumber(const PanelAddress& item) {
  return item.kind != PanelItemKind::String && item.kind != PanelItemKind::Raw;
}

void WriteNumber(PanelMemory& memory, const PanelAddress& item, const Variant& value) {
  if (!IsNumber(value)) throw AutomationError(PanelBadValue, "The item takes numbers only");
  if (item.kind == PanelItemKind::Single) {
    memory.PutSingle(item.address, ToR4(value));
    return;
  }
  const std::int64_t number = ToI8(value);
  switch (item.kind) {
    case PanelItemKind::Bit: {
      const auto mask = static_cast<std::uint16_t>(1U << item.bit);
      const std::uint16_t word = memory.Word(item.address);
      memory.PutWord(item.address, static_cast<std::uint16_t>(number != 0 ? word | mask : word & ~mask));
      break;
    }
    case PanelItemKind::Byte:
      memory.PutByte(item.address, static_cast<std::uint8_t>(number));
      break;
    case PanelItemKind::Word:
      memory.PutWord(item.address, static_cast<std::uint16_t>(number));
      break;
    default:
      memory.PutDoubleWord(item.address, static_cast<std::uint32_t>(number));
  }
}

void WriteBytes(PanelMemory& memory, const PanelAddress& item, std::int32_t dimension, const Variant& value) {
  if (!value.IsByteArray()) throw AutomationError(PanelBadValue, "The item takes byte arrays only");
  const auto bytes = value.Bytes();
  const auto room = 2 * static_cast<std::size_t>(dimension);
  if (bytes.size() > room)
    throw AutomationError(PanelBadValue, "The item has room for " + std::to_string(room) + " bytes, not for " +
                                             std::to_string(bytes.size()));
  memory.PutBytes(item.address, bytes);
}

}  // namespace

Variant ReadPanelItem(const PanelMemory& memory, const PanelAddress& item, std::int32_t dimension) {
  RequireDimension(item, dimension);
  const auto image = memory.Bytes(item.WordAddress(), 2 * dimension);
  if (!HoldsNumber(item)) return Variant::OfBytes(image);
  std::array<std::uint8_t, 8> number{};  // as wide as numbers are; a dimension given from outside may be wider
  if (image.size() > number.size())
    return Variant::OfBytes(std::vector<std::uint8_t>(image.rbegin(), image.rend()));
  std::reverse_copy(image.begin(), image.end(), number.begin());
  return Variant::OfBytes(std::span(number).first(image.size()));
}

void WritePanelItem(PanelMemory& memory, const PanelAddress& item, std::int32_t dimension,
                    const Variant& value) {
  RequireDimension(item, dimension);
  const bool zeros = value.IsEmpty() || value.IsNull();
  try {
    if (HoldsNumber(item))
      WriteNumber(memory, item, zeros ? Variant(std::int32_t{0}) : value);
    else if (zeros)
      memory.PutBytes(item.address, std::vector<std::uint8_t>(2 * static_cast<std::size_t>(dimension)));
    else
      WriteBytes(memory, item, dimension, value);
  } catch (const AutomationError& error) {
    throw AutomationError(PanelBadValue, error.Description());  // a number too large for the item among them
  }
}

std::int16_t BitOrByteOfWord(const PanelAddress& item, std::uint16_t word) {
  if (item.kind == PanelItemKind::Bit) return static_cast<std::int16_t>(word >> item.bit & 1);
  return static_cast<std::int16_t>(item.address % 2 == 0 ? word >> 8 : word & 0xFF);
}

}  // namespace orvo
