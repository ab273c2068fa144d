// The values that a plan lets be written, as the system hands them to a driver.
#pragma once

#include "kit/DriverSession.h"

#include <utility>
#include <vector>

namespace orvo::kit {

// What CompileItemId calls the type of an item.
enum ItemType : std::int32_t { Integer = 0, Text = 1, Single = 2, Raw = 3 };

// Compiles the items. NotApplicable when the plan names nothing to write, CheckFailed for a value that does not
// fit its item.
std::vector<std::pair<CompiledItem, Variant>> ItemsToWrite(DriverSession& session);

}  // namespace orvo::kit
