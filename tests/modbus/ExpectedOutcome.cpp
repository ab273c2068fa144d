#include "modbus/ExpectedOutcome.h"

#include "modbus/DriverScene.h"

#include <algorithm>

namespace orvo::modbus_test {

std::vector<std::uint8_t> Travelling(modbus::Area area, std::int32_t address, std::int32_t count) {
  std::vector<std::uint8_t> bytes;
  for (std::int32_t each = address; each < address + count; ++each) {
    const std::uint16_t value = RegisterValue(area, each);
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
  }
  return bytes;
}

std::vector<std::uint8_t> FromTravelling(const std::vector<std::uint8_t>& bytes, const std::string& order) {
  std::vector<std::uint8_t> value;
  for (std::size_t letter = order.size(); letter-- > 0;)
    value.push_back(bytes[order.find(static_cast<char>('a' + letter))]);
  return value;
}

std::vector<std::uint8_t> ToTravelling(const std::vector<std::uint8_t>& value, const std::string& order) {
  std::vector<std::uint8_t> bytes;
  for (const char letter : order)
    bytes.push_back(value[order.size() - 1 - static_cast<std::size_t>(letter - 'a')]);
  return bytes;
}

std::string WordOutcome(modbus::Area area, std::int32_t address, const Orders& orders) {
  return Hex(FromTravelling(Travelling(area, address, 1), orders.words));
}

std::string LongOutcome(modbus::Area area, std::int32_t address, const Orders& orders) {
  return Hex(FromTravelling(Travelling(area, address, 2), orders.longs));
}

std::string TextOutcome(modbus::Area area, std::int32_t address, std::int32_t size, const Orders& orders) {
  std::vector<std::uint8_t> bytes = Travelling(area, address, (size + 1) / 2);
  if (orders.text == "ba")
    for (std::size_t at = 0; at < bytes.size(); at += 2)
      std::swap(bytes[at], bytes[at + 1]);
  if (size % 2 != 0) bytes.back() = 0;
  return Hex(bytes);
}

std::string RawOutcome(modbus::Area area, std::int32_t address, std::int32_t size) {
  return TextOutcome(area, address, size);
}

std::string BitOutcome(modbus::Area area, std::int32_t address) {
  return BitValue(area, address) ? "0100" : "0000";
}

}  // namespace orvo::modbus_test
