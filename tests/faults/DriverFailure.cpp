#include "faults/DriverFailure.h"

#include "errors/AutomationError.h"

#include <new>
#include <stdexcept>

namespace orvo::testing {

namespace {

void RaiseNumber(const DriverFailure& failure) {
  throw AutomationError(failure.number, failure.text);
}
void RaiseNoMemory(const DriverFailure&) {
  throw std::bad_alloc();
}
void RaiseForeign(const DriverFailure&) {
  throw std::runtime_error("wire torn");
}
void RaiseInteger(const DriverFailure&) {
  throw 17;
}

}  // namespace

const std::vector<DriverFailure>& DriverFailures() {
  static const std::vector<DriverFailure> failures = [] {
    std::vector<DriverFailure> all;
    // Each number that has a meaning of its own, one that has none, and one of the system's own table.
    for (const std::int32_t number : {1, 2, 3, 4, 5, 10, 99, 42, -2147221503})
      all.push_back(
          {std::to_string(number), number, "the driver says " + std::to_string(number), &RaiseNumber});
    all.push_back({"bad_alloc", 7, "Out of memory", &RaiseNoMemory});
    all.push_back({"runtime_error", 440, "Automation error: wire torn", &RaiseForeign});
    all.push_back({"thrown int", 440, "Automation error", &RaiseInteger});
    return all;
  }();
  return failures;
}

std::string PlainText(const DriverFailure& failure) {
  return std::to_string(failure.number) + ": " + failure.text;
}

std::string MappedText(const DriverFailure& failure) {
  switch (failure.number) {
    case 2:
      return "-2147221503: Invalid State: " + failure.text;
    case 1:
    case 3:
    case 4:
    case 5:
    case 99:
      return "-2147221494: Communication error: " + failure.text;
    case 10:
      return "-2147221493: Invalid Value: " + failure.text;
    default:
      return "-2147221490: INTERNAL ERROR, please contact support. code" + failure.text;
  }
}

std::string InternalText(const DriverFailure& failure, const std::string& trace) {
  return "-2147221490: INTERNAL ERROR, please contact support. code" + std::to_string(failure.number) + ":" +
         failure.text + "\r\n" + trace;
}

std::string Expanded(std::string text, const DriverFailure& failure) {
  for (std::size_t begin = 0; (begin = text.find('{', begin)) != std::string::npos;) {
    const std::size_t end = text.find('}', begin);
    const std::string word = text.substr(begin + 1, end - begin - 1);
    std::string with;
    if (word == "n") with = std::to_string(failure.number);
    if (word == "plain") with = PlainText(failure);
    if (word == "mapped") with = MappedText(failure);
    if (word.starts_with("internal ")) with = InternalText(failure, word.substr(9));
    text.replace(begin, end + 1 - begin, with);
    begin += with.size();
  }
  return text;
}

}  // namespace orvo::testing
