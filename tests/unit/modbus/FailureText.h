// How a call failed, as one text to compare.
#pragma once

#include "errors/AutomationError.h"

#include <string>
#include <utility>

namespace orvo::modbus {

// "number:description", or "0:" when it does not fail.
template <class Action>
std::string FailureText(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const AutomationError& error) {
    return std::to_string(error.Number()) + ':' + error.Description();
  }
  return "0:";
}

}  // namespace orvo::modbus
