// Values of items on their way between the device's registers and the system.
#pragma once

#include "modbus/Address.h"
#include "modbus/ByteOrder.h"
#include "values/Variant.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvo::modbus {

// The value that a read delivers: a byte array of two bytes for each register of `registers` (those of the
// item's place), of a number the least significant byte first, of a string or raw item as they travel but for
// the order of text, with a zero for the byte behind an odd size. A Bit or Byte delivers its whole register:
// the device object cuts it out. Variant::Unshared() is not needed: the array has no other holder.
Variant ValueOfRegisters(const Address& item, const ByteOrder& order, std::span<const std::uint16_t> registers);
// The same for a Bit of an area of bits: a word of 0 or 1.
Variant ValueOfBit(bool bit);

// What a write puts on the line.
struct RegisterImage {
  std::vector<std::uint16_t> registers;  // as they travel
  // For a Bit or Byte of a register: which bits of the one register are meant, as they travel; else all.
  std::uint16_t mask = 0xFFFF;
};

// Error 10 with a reason for a value that the item does not take. Empty and Null are zeros.
//   Bit           any number; 1 unless it is 0
//   Byte          a number 0..255
//   Word          a number -32768..65535
//   DoubleWord    a number -2147483648..4294967295
//   Single        any number within the single range, and a single that is infinite or no number (NaN) as it is
//   String, Raw   a byte array of at most 2 * `dimension` bytes; zeros follow behind it, also behind an
//                 odd size
// A number is a scalar of a numeric or boolean kind (true is -1). All but Single round fractions to the nearest
// integer, halves to even, and refuse NaN. The item has a place (Address::Place).
RegisterImage ImageOfValue(const Address& item, const ByteOrder& order, std::int32_t dimension,
                           const Variant& value);
// The same for a Bit of an area of bits.
bool BitOfValue(const Variant& value);

// The item's own value out of a decoded word (its byte order is done with): the bit, or the byte.
std::int16_t BitOrByteOfWord(const Address& item, std::uint16_t word) noexcept;

}  // namespace orvo::modbus
