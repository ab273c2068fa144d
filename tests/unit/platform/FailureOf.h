// How a use of files failed, as one text to compare.
#pragma once

#include "errors/AutomationError.h"
#include "platform/Files.h"

#include <string>
#include <utility>

namespace orvo {

// "number: description" of the failure of an action, or "no failure".
template <class Action>
std::string FailureOf(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const AutomationError& error) {
    return std::to_string(error.Number()) + ": " + error.Description();
  }
  return "no failure";
}

// The same of a read.
inline std::string FailureOf(Files& files, const std::string& name) {
  return FailureOf([&] { files.ReadWhole(name); });
}

}  // namespace orvo
