// The thread's message loop. Without it no timer of the thread fires.
#pragma once

#include <chrono>

namespace orvo::testing {

// Handles what is pending, and returns.
void PumpPending();

// Handles messages as they come until `time` has passed; 0 handles what is pending.
void PumpFor(std::chrono::milliseconds time);

}  // namespace orvo::testing
