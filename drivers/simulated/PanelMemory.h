// The memory of the simulated panel: 64 Ki bytes, zero at first. Words, double words and singles are stored
// most significant byte first, as they lie in a group's image, at any byte address. Error 9 when a place
// reaches outside; then nothing changes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo {

class PanelMemory {
 public:
  static constexpr std::int32_t Size = 0x10000;

  std::uint8_t Byte(std::int32_t address) const { return Bytes(address, 1)[0]; }
  std::uint16_t Word(std::int32_t address) const;
  std::uint32_t DoubleWord(std::int32_t address) const;
  float Single(std::int32_t address) const;
  // The bytes in place; valid as long as the memory, and changing with it.
  std::span<const std::uint8_t> Bytes(std::int32_t address, std::int32_t count) const;

  void PutByte(std::int32_t address, std::uint8_t value);
  void PutWord(std::int32_t address, std::uint16_t value);
  void PutDoubleWord(std::int32_t address, std::uint32_t value);
  void PutSingle(std::int32_t address, float value);
  void PutBytes(std::int32_t address, std::span<const std::uint8_t> bytes);

 private:
  std::array<std::uint8_t, static_cast<std::size_t>(Size)> bytes_{};
};

}  // namespace orvo
