// What a fuzz target demands. A property that does not hold ends the program (SIGABRT) with a message that
// names the property and shows what was found and the input.
#pragma once

#include "InputReader.h"
#include "errors/AutomationError.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orvo::fuzz {

[[noreturn]] void PropertyFailed(std::string_view property, const std::string& detail);

inline void Demand(bool holds, std::string_view property, std::string_view detail = {}) {
  if (!holds) PropertyFailed(property, std::string(detail));
}
// `detail` makes the text, only when it is needed.
template <std::invocable Detail>
void Demand(bool holds, std::string_view property, Detail&& detail) {
  if (!holds) PropertyFailed(property, std::string(detail()));
}

// The failure that `call` raises, if any. Every other exception than the system's own passes through, and is a
// finding.
template <std::invocable Call>
std::optional<AutomationError> FailureOf(Call&& call) {
  try {
    std::forward<Call>(call)();
  } catch (const AutomationError& error) {
    return error;
  }
  return std::nullopt;
}
template <std::invocable Call>
std::int32_t NumberOf(Call&& call) {
  const std::optional<AutomationError> failure = FailureOf(std::forward<Call>(call));
  return failure ? failure->Number() : 0;
}

using TargetFunction = void (*)(InputReader& input);

// Runs a target over one input; an exception that leaves it is a property that does not hold. Always 0.
int RunTarget(TargetFunction target, const std::uint8_t* data, std::size_t size);

}  // namespace orvo::fuzz
