// What a user can do about an error: the texts behind the tables of business/errors/, and the errors of Windows
// itself that a client meets on its way to the server.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orvo {

struct AdviceRow {
  std::int32_t number;
  std::string_view advice;
};

struct SystemErrorRow {
  std::string_view number;
  std::string_view meaning;
  std::string_view advice;
};

struct ItemErrorRow {
  std::string_view code;
  std::string_view meaning;
  std::string_view advice;
};

// For a code of the system's own table or a classic run-time number; "" when there is none, which is a mistake.
std::string_view AdviceFor(std::int32_t number) noexcept;

// Errors on the way to the server, and silence.
extern const std::array<SystemErrorRow, 13> SystemErrors;
// Codes in the error arrays.
extern const std::array<ItemErrorRow, 5> ItemErrors;

}  // namespace orvo
