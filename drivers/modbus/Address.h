// Where an item lies in the device, and the compiled address in which it travels.
//
// The compiled address is address + 2^16 * bit + 2^20 * area + 2^22 * (kind + 1), a whole number below 2^25:
// every double holds it exactly, and 0 is the compiled address of nothing. It does not depend on the
// connection.
#pragma once

#include "modbus/Area.h"

#include <cstdint>
#include <optional>

namespace orvo::modbus {

enum class ItemKind : std::int32_t { Bit, Byte, Word, DoubleWord, Single, String, Raw };

// The longest item, in registers: one that can be written with one request, so that no item is ever torn.
inline constexpr std::int32_t LongestItem = MostRegistersWritten;

struct Address {
  ItemKind kind = ItemKind::Word;
  Area area = Area::HoldingRegisters;
  std::int32_t address = 0;  // as the protocol counts, from 0: the coil or input, or the item's first register
  std::int32_t bit = 0;  // of a register: 0..15 for a Bit, 0 or 8 (the byte's lowest bit) for a Byte, else 0

  bool odd = false;  // String, Raw: of its last register only the first byte is the item's

  // In areas of bits only the kind Bit, with bit 0.
  double Encode() const noexcept;
  // The address that encodes to `compiledAddress`; nothing when no address does.
  static std::optional<Address> Decode(double compiledAddress) noexcept;

  // What must be read for the item. `dimension`: its length in 16-bit words. Nothing when such an item has no
  // place: Bit, Byte and Word have 1 word, DoubleWord and Single 2, String and Raw 1..LongestItem, and all lie
  // inside the area. A Bit of an area of bits takes one of them.
  std::optional<Span> Place(std::int32_t dimension) const noexcept;

  friend bool operator==(const Address&, const Address&) = default;
};

}  // namespace orvo::modbus
