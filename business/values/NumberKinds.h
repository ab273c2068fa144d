// Which values are numbers.
#pragma once

#include "values/Variant.h"

namespace orvo {

// A scalar of a numeric or boolean kind: not a text, not a date, not nothing.
bool IsNumber(const Variant& value) noexcept;

}  // namespace orvo
