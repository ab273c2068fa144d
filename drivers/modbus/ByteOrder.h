// In which order the bytes of a value lie in the device's registers. a is the most significant byte.
#pragma once

#include <cstdint>

namespace orvo::modbus {

// Of 32-bit items, by the bytes of the first and then of the second register, each as it travels. The numbers
// are those of the property WordIO: bit 0 exchanges the registers, bit 1 the bytes of each.
enum class LongOrder : std::int16_t { abcd = 0, cdab = 1, badc = 2, dcba = 3 };

// Of 16-bit items, and of the characters of a text: ab is the customary order.
enum class PairOrder : std::uint8_t { ab, ba };

struct ByteOrder {
  LongOrder longs = LongOrder::abcd;  // DW, FL
  PairOrder words = PairOrder::ab;    // WO, BY, BI of a register
  PairOrder text = PairOrder::ab;     // ST; RA is always as it travels

  friend bool operator==(const ByteOrder&, const ByteOrder&) = default;
};

constexpr std::uint16_t ExchangeBytes(std::uint16_t word) noexcept {
  return static_cast<std::uint16_t>(word << 8 | word >> 8);
}
// From the register as the protocol delivers it to the value, and back: an exchange is its own reverse.
constexpr std::uint16_t Ordered(std::uint16_t word, PairOrder order) noexcept {
  return order == PairOrder::ab ? word : ExchangeBytes(word);
}

}  // namespace orvo::modbus
