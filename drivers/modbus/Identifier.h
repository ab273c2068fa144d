// Item identifiers: a type code (upper-case) and a reference.
//
//   BI40001.3  bit 3 (0..15) of a register        BI00001  a coil       BI10001  a discrete input
//   BY40001    the low byte of a register; BY40001.8 its high byte (the number is the byte's lowest bit; .0
//              also)
//   WO40001    a register
//   DW40001, FL40001  two registers from there on
//   ST40001n   n characters, 1..246, from that register on, two in each (ST4000110: 10 of them)
//   RAkkn      n bytes, 1..246, of raw block kk, which the connection names (RA0316: 16 bytes of block 03)
// A reference is five or six digits, or a letter and four hexadecimal digits (Reference.h); not six digits for
// ST, whose size stands behind the fifth character.
// BI takes any area; everything else registers only. Items lie inside the area.
#pragma once

#include "modbus/Address.h"
#include "modbus/Settings.h"

#include <cstdint>
#include <string_view>

namespace orvo::modbus {

struct Identifier {
  Address address;
  std::int32_t wordLength = 1;  // in 16-bit words
  std::int32_t itemType = 0;    // 0 integer, 1 string, 2 floating point, 3 raw

  // Error 10 when `itemId` is not of the forms above; the text names it, tells what is wrong and shows the
  // right form.
  static Identifier Parse(std::string_view itemId, const RawBlocks& blocks);
};

}  // namespace orvo::modbus
