// An item on its own, for the rules that need neither device nor server.
#pragma once

#include "platform/simulated/SimulatedPlatform.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace orvo::testing {

struct LooseItem {
  LooseItem(const std::string& itemId, std::int32_t type, std::int32_t words) : item(platform) {
    item.SetItemId(itemId);
    item.SetItemType(type);
    item.SetItemWordLength(words);
  }
  SimulatedPlatform platform;
  KELDataItem item;
};

// The value that the item hands on for a client value, "-" when it refuses it.
inline std::string Checked(const KELDataItem& item, const Variant& value) {
  try {
    return LogText(item.CheckClientValue(value));
  } catch (const AutomationError&) {
    return "-";
  }
}

// What the item sends for a client value, "-" when it refuses it.
inline std::string Sent(const KELDataItem& item, const Variant& value) {
  try {
    return LogText(item.RawValue(item.CheckClientValue(value)));
  } catch (const AutomationError&) {
    return "-";
  }
}

inline Variant I2(int value) {
  return static_cast<std::int16_t>(value);
}
inline Variant I4(std::int64_t value) {
  return static_cast<std::int32_t>(value);
}
inline Variant UI1(int value) {
  return static_cast<std::uint8_t>(value);
}
// An amount in ten-thousandths.
inline Variant Cy(std::int64_t scaled) {
  return Currency{scaled};
}
inline constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr double Infinite = std::numeric_limits<double>::infinity();

}  // namespace orvo::testing
