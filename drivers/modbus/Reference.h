// References: how people write a coil, an input or a register.
//
//   five digits  the area (0 coil, 1 discrete input, 3 input register, 4 holding register) and a number
//                0001..9999, counted from 1: 40001 is address 0
//   six digits   the same with a number 00001..65536
//   C, D, I or H (coil, discrete input, input register, holding register) and the address in four hexadecimal
//                digits (upper-case), counted from 0: H0000 is 40001, H2710 the register behind 49999, HFFFF
//                the last
#pragma once

#include "modbus/Area.h"
#include "modbus/Complaint.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace orvo::modbus {

struct Reference {
  Area area = Area::HoldingRegisters;
  std::int32_t address = 0;  // as the protocol counts, from 0

  // Raises `complaint` with what is wrong when `text` is none of the forms above.
  static Reference Parse(std::string_view text, const Complaint& complaint);
  // The same by digits: five as long as they suffice, else six.
  std::string Text() const;

  friend bool operator==(const Reference&, const Reference&) = default;
};

}  // namespace orvo::modbus
