// What goes into an exchange and what comes out, item by item.
#pragma once

#include "modbus/Address.h"
#include "modbus/ByteOrder.h"
#include "modbus/ItemError.h"
#include "modbus/Settings.h"
#include "values/Variant.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvo::modbus {

// One item of a request as the system passed it.
struct ItemRequest {
  double compiledAddress = 0;
  std::int32_t dimension = 0;  // in 16-bit words
  Variant value;               // of a write; not shared with anybody
};

// What becomes of a list of items, by position. Apart, so that either travels on as it is.
struct ItemResults {
  std::vector<Variant> values;       // of a read: one for each item, Empty beside an error; of a write none
  std::vector<std::int32_t> errors;  // one for each item

  static ItemResults Failed(std::size_t count, std::int32_t error) {
    return {std::vector<Variant>(count), std::vector<std::int32_t>(count, error)};
  }
};

struct ExchangeOptions {
  ByteOrder order;
  std::int32_t gap = 16;
  BitWriting bits = BitWriting::Auto;
};

}  // namespace orvo::modbus
