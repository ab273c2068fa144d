// The short cut of a refresh: an item that is surely the same in its group's bytes is one of which the long way
// finds no change.
#pragma once

#include "model/KELDataItem.h"

#include <cstdint>
#include <span>

namespace orvo::fuzz {

// Demands it of the item as it is, and as it would be with other values, of another type, of another length and
// after a write; in these bytes, in the first of them only, and with one changed. Afterwards the item is as it
// was.
void DemandSureSameness(KELDataItem& item, std::span<const std::uint8_t> image);

}  // namespace orvo::fuzz
