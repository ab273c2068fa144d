#include "modbus/RtuFrame.h"

namespace orvo::modbus {

namespace {

constexpr std::size_t ObjectsFrom = 7;  // of an identification's PDU
constexpr std::size_t CrcSize = 2;

}  // namespace

std::uint16_t Crc16(std::span<const std::uint8_t> bytes) noexcept {
  std::uint16_t crc = 0xFFFF;
  for (const std::uint8_t byte : bytes) {
    crc = static_cast<std::uint16_t>(crc ^ byte);
    for (int bit = 0; bit < 8; ++bit)
      crc = static_cast<std::uint16_t>((crc & 1U) != 0 ? crc >> 1U ^ 0xA001U : crc >> 1U);
  }
  return crc;
}

std::optional<std::size_t> AnswerLength(std::span<const std::uint8_t> pdu) noexcept {
  if (pdu.empty()) return std::nullopt;
  if ((pdu[0] & ExceptionFlag) != 0) return 2;
  if (pdu[0] == ReportServerId) {
    if (pdu.size() < 2) return std::nullopt;
    return std::size_t{2} + pdu[1];
  }
  if (pdu[0] != EncapsulatedInterface || pdu.size() < ObjectsFrom) return std::nullopt;
  std::size_t length = ObjectsFrom;
  for (std::size_t objects = pdu[ObjectsFrom - 1]; objects > 0; --objects) {
    if (pdu.size() < length + 2) return std::nullopt;
    length += std::size_t{2} + pdu[length + 1];
  }
  return length;
}

std::span<const std::uint8_t> FindAnswer(std::span<const std::uint8_t> bytes, std::uint8_t unit,
                                         std::uint8_t function) noexcept {
  for (std::size_t from = 0; from + 1 < bytes.size(); ++from) {
    const auto frame = bytes.subspan(from);
    if (frame[0] != unit || (frame[1] & ~ExceptionFlag) != function) continue;
    const auto length = AnswerLength(frame.subspan(1));
    if (!length || frame.size() < 1 + *length + CrcSize) continue;
    const std::uint16_t crc = Crc16(frame.first(1 + *length));
    const std::size_t crcAt = 1 + *length;
    if (frame[crcAt] == (crc & 0xFFU) && frame[crcAt + 1] == crc >> 8U) return frame.subspan(1, *length);
  }
  return {};
}

}  // namespace orvo::modbus
