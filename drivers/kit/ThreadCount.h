// How many threads the process has.
#pragma once

#include <cstddef>
#include <optional>

namespace orvo::kit {

// Nothing where the system does not tell.
std::optional<std::size_t> ThreadCount();

}  // namespace orvo::kit
