// Lists of items for an exchange with a fake device, and its answers as texts.
#pragma once

#include "FakeDevice.h"
#include "modbus/Exchange.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orvo::modbus {

using Requests = std::vector<ItemRequest>;
using Asked = std::vector<std::string>;

inline ItemRequest ItemAt(ItemKind kind, Area area, std::int32_t address, std::int32_t words = 1,
                          std::int32_t bit = 0) {
  ItemRequest item;
  item.compiledAddress = Address{kind, area, address, bit}.Encode();
  item.dimension = words;
  return item;
}
inline ItemRequest WordAt(std::int32_t address) {
  return ItemAt(ItemKind::Word, Area::HoldingRegisters, address);
}
inline ItemRequest TextAt(std::int32_t address, std::int32_t words) {
  return ItemAt(ItemKind::String, Area::HoldingRegisters, address, words);
}
inline ItemRequest CoilAt(std::int32_t address) {
  return ItemAt(ItemKind::Bit, Area::Coils, address);
}
inline ItemRequest BitAt(std::int32_t address, std::int32_t bit) {
  return ItemAt(ItemKind::Bit, Area::HoldingRegisters, address, 1, bit);
}
inline ItemRequest With(ItemRequest item, Variant value) {
  item.value = std::move(value);
  return item;
}
inline Requests WordsAt(std::int32_t first, std::int32_t count) {
  Requests items;
  for (std::int32_t k = 0; k < count; ++k)
    items.push_back(WordAt(first + k));
  return items;
}

class ExchangeTest : public ::testing::Test {
 public:
  FakeDevice device;
  ExchangeOptions options;
  Exchange exchange{device, options};

  // What is wrong with `results` beside the device's tables and the errors that are expected: those of
  // `errors`, by position, else none. Empty when nothing is.
  std::string Wrong(const Requests& items, const ItemResults& results,
                    const std::vector<std::pair<std::size_t, std::int32_t>>& errors = {}) const {
    if (results.values.size() != items.size() || results.errors.size() != items.size())
      return std::to_string(results.values.size()) + " values, " + std::to_string(results.errors.size()) +
             " errors";
    std::string wrong;
    for (std::size_t k = 0; k < items.size(); ++k) {
      std::int32_t error = NoError;
      for (const auto& [position, number] : errors)
        if (position == k) error = number;
      const Variant& value = results.values[k];
      if (results.errors[k] != error)
        wrong += "item " + std::to_string(k) + " has error " + std::to_string(results.errors[k]) + "; ";
      else if (error != NoError ? !value.IsEmpty() : value != Expected(items[k]))
        wrong += "item " + std::to_string(k) + " has another value; ";
    }
    return wrong;
  }

  // The errors of all items: "0 0 10".
  static std::string ErrorsOf(const ItemResults& results) {
    std::string text;
    for (const std::int32_t error : results.errors)
      text += (text.empty() ? "" : " ") + std::to_string(error);
    return text;
  }

 private:
  // Registers as they travel for a text or raw item, the least significant byte first for a word or bit.
  Variant Expected(const ItemRequest& item) const {
    const Address address = Address::Decode(item.compiledAddress).value_or(Address());
    std::vector<std::uint8_t> bytes;
    for (std::int32_t k = 0; k < item.dimension; ++k) {
      const std::uint16_t word = device.Register(address.area, address.address + k);
      const auto high = static_cast<std::uint8_t>(word >> 8);
      const auto low = static_cast<std::uint8_t>(word & 0xFF);
      if (HoldsBits(address.area))
        bytes = {static_cast<std::uint8_t>(word & 1), 0};
      else if (address.kind == ItemKind::String || address.kind == ItemKind::Raw)
        bytes.insert(bytes.end(), {high, low});
      else
        bytes.insert(bytes.begin(), {low, high});
    }
    return Variant::OfBytes(bytes);
  }
};

}  // namespace orvo::modbus
