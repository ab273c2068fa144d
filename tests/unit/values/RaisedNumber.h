// What an action raises, as a number that a test can compare.
#pragma once

#include "errors/AutomationError.h"

#include <cstdint>
#include <utility>

namespace orvo {

// Number of the automation error that `action` raises, 0 when it raises none.
template <class Action>
std::int32_t RaisedNumber(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const AutomationError& error) {
    return error.Number();
  }
  return 0;
}

}  // namespace orvo
