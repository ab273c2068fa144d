// The ways in which a driver's operation can fail, and what becomes of each where a property of the driver is
// asked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::testing {

struct DriverFailure {
  std::string name;
  // As the system sees it: a foreign exception is 7 (memory) or 440.
  std::int32_t number;
  std::string text;
  void (*raise)(const DriverFailure&);
};

const std::vector<DriverFailure>& DriverFailures();

// "number: description", as the failure itself reaches a client; as a failed property of the driver; as an
// internal error with the trace of an operation.
std::string PlainText(const DriverFailure& failure);
std::string MappedText(const DriverFailure& failure);
std::string InternalText(const DriverFailure& failure, const std::string& trace);

// A text with what stands for a failure in place of {n}, {plain}, {mapped} and {internal TRACE}.
std::string Expanded(std::string text, const DriverFailure& failure);

}  // namespace orvo::testing
