// A value with everything that it leads to, as bytes: two fingerprints are equal when nothing has changed, bit
// by bit and in content.
#pragma once

#include "com/Automation.h"

#include <string>

namespace orvo::testing {

// References are followed, arrays with descriptor and elements, strings by their characters, a client's own
// objects with what they hold; other objects by their address.
std::string FingerprintOf(const VARIANT& value);

}  // namespace orvo::testing
