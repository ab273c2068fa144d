// What of a saved configuration's text a load passes over in silence because nothing reads it.
#pragma once

#include "server/ConfigurationProblem.h"

#include <string_view>
#include <vector>

namespace orvo {

// In the order of the lines, each as errInvalidFileFormat: lines that are neither section, entry nor comment,
// entries before the first section, sections and communication parameters that nothing reads, parameters that
// come again, and fields beyond the last one.
std::vector<ConfigurationProblem> UnreadParts(std::string_view text);

}  // namespace orvo
