// How much memory the process holds: blocks of operator new, and blocks of the allocator that automation
// strings, values and arrays come from.
//
// A program that has these files replaces operator new; a block above a limit is refused as if memory had run
// out, so that a generated size neither fills the machine nor takes seconds to clear.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvo::testing {

inline constexpr std::size_t LargestBlock = std::size_t{1} << 18;

// Counts from now on; called once, before the first string is made. Whether the system lets it watch.
bool WatchAutomationMemory();

std::int64_t BlocksInUse() noexcept;
std::int64_t AutomationBlocksInUse() noexcept;

}  // namespace orvo::testing
