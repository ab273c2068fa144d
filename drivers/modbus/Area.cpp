#include "modbus/Area.h"

#include <array>
#include <cstddef>

namespace orvo::modbus {

namespace {

struct AreaRow {
  std::string_view name;
  char digit;
};

// In the order of Area.
constexpr std::array<AreaRow, 4> AreaRows{{
    {"coil", '0'},
    {"discrete input", '1'},
    {"input register", '3'},
    {"holding register", '4'},
}};

}  // namespace

std::string_view NameOf(Area area) noexcept {
  return AreaRows[static_cast<std::size_t>(area)].name;
}

char DigitOf(Area area) noexcept {
  return AreaRows[static_cast<std::size_t>(area)].digit;
}

}  // namespace orvo::modbus
