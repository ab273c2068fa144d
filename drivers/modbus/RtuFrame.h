// Frames of the serial line (RTU) as bytes: unit, function and data (together the PDU), CRC with its low byte
// first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace orvo::modbus {

inline constexpr std::uint8_t ReportServerId = 17;
inline constexpr std::uint8_t EncapsulatedInterface = 43;
inline constexpr std::uint8_t ExceptionFlag = 0x80;  // in the function of an answer

std::uint16_t Crc16(std::span<const std::uint8_t> bytes) noexcept;

// The length of the answer that `pdu` begins with: an exception, one of ReportServerId, or an identification of
// EncapsulatedInterface. Nothing while the bytes do not tell, or when they begin something else.
std::optional<std::size_t> AnswerLength(std::span<const std::uint8_t> pdu) noexcept;

// The PDU of the first whole answer of `unit` to `function` (one of those above) in `bytes`; what stands around
// it may be anything. Its CRC is right. Empty when there is none.
std::span<const std::uint8_t> FindAnswer(std::span<const std::uint8_t> bytes, std::uint8_t unit,
                                         std::uint8_t function) noexcept;

}  // namespace orvo::modbus
