// The four areas of a Modbus device.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvo::modbus {

// In the order of their customary references: 0xxxx, 1xxxx, 3xxxx, 4xxxx.
enum class Area : std::uint8_t { Coils, DiscreteInputs, InputRegisters, HoldingRegisters };

inline constexpr std::int32_t AreaSize = 65536;  // coils, inputs or registers, numbered from 0

// What one request may carry.
inline constexpr std::int32_t MostBitsRead = 2000;
inline constexpr std::int32_t MostRegistersRead = 125;
inline constexpr std::int32_t MostCoilsWritten = 1968;
inline constexpr std::int32_t MostRegistersWritten = 123;

constexpr bool HoldsBits(Area area) noexcept {
  return area == Area::Coils || area == Area::DiscreteInputs;
}

constexpr bool IsReadOnly(Area area) noexcept {
  return area == Area::DiscreteInputs || area == Area::InputRegisters;
}

constexpr std::int32_t MostRead(Area area) noexcept {
  return HoldsBits(area) ? MostBitsRead : MostRegistersRead;
}

// For texts: "coil", "discrete input", "input register", "holding register".
std::string_view NameOf(Area area) noexcept;
// The first digit of its references: '0', '1', '3', '4'.
char DigitOf(Area area) noexcept;

// `count` coils, inputs or registers of one area, from `start` on. start + count <= AreaSize.
struct Span {
  Area area = Area::HoldingRegisters;
  std::int32_t start = 0;
  std::int32_t count = 0;

  constexpr std::int32_t End() const noexcept { return start + count; }

  friend constexpr bool operator==(const Span&, const Span&) = default;
};

}  // namespace orvo::modbus
