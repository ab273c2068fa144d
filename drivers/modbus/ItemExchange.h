// What goes into an exchange and what comes out, item by item.
#pragma once

#include "modbus/Address.h"
#include "modbus/ByteOrder.h"
#include "modbus/ItemError.h"
#include "modbus/ItemValue.h"
#include "modbus/Settings.h"
#include "values/Variant.h"

#include <cstdint>
#include <span>
#include <utility>

namespace orvo::modbus {

// One item of a request as the system passed it.
struct ItemRequest {
  double compiledAddress = 0;
  std::int32_t dimension = 0;  // in 16-bit words
  Variant value;               // of a write; not shared with anybody
};

struct ItemResult {
  ItemResult() = default;
  ItemResult(Variant itemValue, std::int32_t itemError) : value(std::move(itemValue)), error(itemError) {}
  // What was read. The value is made where it stays: moved once more it costs several times as much.
  explicit ItemResult(bool bit) : value(ValueOfBit(bit)) {}
  ItemResult(const Address& item, const ByteOrder& order, std::span<const std::uint16_t> registers)
      : value(ValueOfRegisters(item, order, registers)) {}

  Variant value;  // of a read without error; else Empty
  std::int32_t error = NoError;
};

struct ExchangeOptions {
  ByteOrder order;
  std::int32_t gap = 16;
  BitWriting bits = BitWriting::Auto;
};

}  // namespace orvo::modbus
