// Bytes from languages that cannot make byte arrays: they write an array of numbers.
#pragma once

#include "values/Variant.h"

namespace orvo::com {

// The values with each array of variants that are all whole numbers from 0 to 255 made into a byte array with
// the same bounds; every other value as it is.
SafeArray<Variant> WithBytes(const SafeArray<Variant>& values);

}  // namespace orvo::com
