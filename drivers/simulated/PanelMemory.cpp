#include "simulated/PanelMemory.h"

#include "errors/AutomationError.h"

#include <algorithm>
#include <bit>

namespace orvo {

namespace {

void RequireInside(std::int32_t address, std::int64_t count) {
  if (address < 0 || count < 0 || address + count > PanelMemory::Size)
    RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
}

}  // namespace

std::span<const std::uint8_t> PanelMemory::Bytes(std::int32_t address, std::int32_t count) const {
  RequireInside(address, count);
  return std::span(bytes_).subspan(static_cast<std::size_t>(address), static_cast<std::size_t>(count));
}

std::uint16_t PanelMemory::Word(std::int32_t address) const {
  const auto bytes = Bytes(address, 2);
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t PanelMemory::DoubleWord(std::int32_t address) const {
  RequireInside(address, 4);
  return static_cast<std::uint32_t>(Word(address)) << 16 | Word(address + 2);
}

float PanelMemory::Single(std::int32_t address) const {
  return std::bit_cast<float>(DoubleWord(address));
}

void PanelMemory::PutByte(std::int32_t address, std::uint8_t value) {
  PutBytes(address, std::span(&value, 1));
}

void PanelMemory::PutWord(std::int32_t address, std::uint16_t value) {
  PutBytes(address, std::array{static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
}

void PanelMemory::PutDoubleWord(std::int32_t address, std::uint32_t value) {
  RequireInside(address, 4);
  PutWord(address, static_cast<std::uint16_t>(value >> 16));
  PutWord(address + 2, static_cast<std::uint16_t>(value));
}

void PanelMemory::PutSingle(std::int32_t address, float value) {
  PutDoubleWord(address, std::bit_cast<std::uint32_t>(value));
}

void PanelMemory::PutBytes(std::int32_t address, std::span<const std::uint8_t> bytes) {
  RequireInside(address, static_cast<std::int64_t>(bytes.size()));
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + address);
}

}  // namespace orvo
