// What an item must be read as, worked out from the servers' memory (RegisterValue, BitValue) without any code
// of the driver's.
#pragma once

#include "modbus/ForeignServer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::modbus_test {

// How the connection orders bytes; each letter is a byte of the value, a the most significant one.
struct Orders {
  std::string longs = "abcd";
  std::string words = "ab";
  std::string text = "ab";

  std::string Options() const { return "order=" + longs + "&words=" + words + "&text=" + text; }
};

// Bytes of `count` registers as they travel.
std::vector<std::uint8_t> Travelling(modbus::Area area, std::int32_t address, std::int32_t count);
// Bytes of a value, least significant first, out of its bytes as they travel and their order; and back.
std::vector<std::uint8_t> FromTravelling(const std::vector<std::uint8_t>& bytes, const std::string& order);
std::vector<std::uint8_t> ToTravelling(const std::vector<std::uint8_t>& value, const std::string& order);

// Outcomes of reads.
std::string WordOutcome(modbus::Area area, std::int32_t address, const Orders& orders = {});
std::string LongOutcome(modbus::Area area, std::int32_t address, const Orders& orders = {});
// Of so many characters or bytes; the byte behind an odd number is 0.
std::string TextOutcome(modbus::Area area, std::int32_t address, std::int32_t size, const Orders& orders = {});
std::string RawOutcome(modbus::Area area, std::int32_t address, std::int32_t size);
std::string BitOutcome(modbus::Area area, std::int32_t address);

}  // namespace orvo::modbus_test
