// The built-in panel: a small plant that moves by itself.
#pragma once

#include "spooler/DriverRegistry.h"

namespace orvo::client {

// Registers the simulated panel; with the plant of the demonstration, or as its script will make it.
void RegisterBuiltInPanel(DriverRegistry& registry, bool plant);

}  // namespace orvo::client
