// The errors that clients see: the table of the system's own fifteen codes and the two routines that raise
// them.
#pragma once

#include "errors/AutomationError.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace orvo {

// The automation error base 0x80040000 plus 1..15, as 32-bit signed values.
enum DataError : std::int32_t {
  errInvalidState = static_cast<std::int32_t>(0x80040001U),
  errFileNotFound = static_cast<std::int32_t>(0x80040002U),
  errInvalidFileFormat = static_cast<std::int32_t>(0x80040003U),
  errCannotWriteFile = static_cast<std::int32_t>(0x80040004U),
  errInvalidDeviceType = static_cast<std::int32_t>(0x80040005U),
  errInvalidHandle = static_cast<std::int32_t>(0x80040006U),
  errInvalidName = static_cast<std::int32_t>(0x80040007U),
  errInvalidParameters = static_cast<std::int32_t>(0x80040008U),
  errInvalidItemId = static_cast<std::int32_t>(0x80040009U),
  errCommunication = static_cast<std::int32_t>(0x8004000AU),
  errInvalidValue = static_cast<std::int32_t>(0x8004000BU),
  errQueueFull = static_cast<std::int32_t>(0x8004000CU),
  errInvalidGroupSize = static_cast<std::int32_t>(0x8004000DU),
  errInternal = static_cast<std::int32_t>(0x8004000EU),
  errInvalidFormat = static_cast<std::int32_t>(0x8004000FU),
};

struct DataErrorRow {
  DataError code;
  std::string_view name;
  std::string_view prefix;   // the description starts with it; trailing blanks belong to it
  std::string_view meaning;  // one sentence for the generated list of errors
};

// The table in order of the codes: row k has the code 0x80040001 + k.
extern const std::array<DataErrorRow, 15> DataErrorTable;

// Row of `code`, or null when the code is not one of the table.
const DataErrorRow* FindDataError(std::int32_t code) noexcept;

// Raises `Code` with its prefix followed by `Detail`. A code outside the table is raised as it is, with an
// empty description. Never returns.
[[noreturn]] void RaiseDataError(std::int32_t Code, std::string_view Detail);

// Raises the error that stands for a failed driver call: 2 is a state error, 1, 3, 4, 5 and 99 are
// communication errors, 10 is a bad value, every other number is an internal error. `Detail`, the driver's
// description, is passed on unchanged. Never returns.
[[noreturn]] void RaiseDriverError(std::int32_t DriverCode, std::string_view Detail);

}  // namespace orvo
