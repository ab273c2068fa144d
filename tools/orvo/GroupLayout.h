// The places of a group's items in its buffer, for drivers that transfer whole groups.
#pragma once

#include "model/KELDataGroup.h"

#include <cstdint>
#include <optional>
#include <string>

namespace orvo::client {

// Puts the items one behind the other and sizes the buffer, so that a configuration that is saved and loaded
// has all of it. Error 6 when the buffer would be longer than 32 bits tell.
void LayOut(KELDataGroup& group);
// What keeps the items from being transferred as they are: the first one that overlaps another or reaches past
// the buffer, as a text; nothing when all is well.
std::optional<std::string> LayoutMistake(KELDataGroup& group);

}  // namespace orvo::client
