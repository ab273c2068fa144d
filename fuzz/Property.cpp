#include "Property.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>

namespace orvo::fuzz {

namespace {

constexpr std::size_t LongestShown = 4096;

std::span<const std::uint8_t> runningInput;

// As a C string literal would spell it.
std::string Spelt(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), LongestShown))) {
    if (byte == '\n') {
      text += "\\n";
    } else if (byte == '"' || byte == '\\') {
      text += '\\';
      text += static_cast<char>(byte);
    } else if (byte >= 0x20 && byte < 0x7F) {
      text += static_cast<char>(byte);
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(byte));
      text += escaped;
    }
  }
  return text;
}

}  // namespace

void PropertyFailed(std::string_view property, const std::string& detail) {
  std::fprintf(stderr, "PROPERTY DOES NOT HOLD: %s\n", std::string(property).c_str());
  if (!detail.empty())
    std::fprintf(stderr, "found: %s\n",
                 Spelt({reinterpret_cast<const std::uint8_t*>(detail.data()), detail.size()}).c_str());
  std::fprintf(stderr, "input, %zu bytes%s: \"%s\"\n", runningInput.size(),
               runningInput.size() > LongestShown ? ", of which the first" : "", Spelt(runningInput).c_str());
  std::fflush(stderr);
  std::abort();
}

int RunTarget(TargetFunction target, const std::uint8_t* data, std::size_t size) {
  runningInput = {data, size};
  InputReader input(runningInput);
  try {
    target(input);
  } catch (const AutomationError& error) {
    PropertyFailed("no failure leaves where none is told of",
                   std::to_string(error.Number()) + ": " + error.Description());
  } catch (const std::exception& error) {
    PropertyFailed("no foreign exception leaves", error.what());
  }
  return 0;
}

}  // namespace orvo::fuzz
