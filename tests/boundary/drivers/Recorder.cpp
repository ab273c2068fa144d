#include "boundary/drivers/Recorder.h"

#include "com/ComError.h"

#include <gtest/gtest.h>

namespace orvo::testing {

const Raised* Recorder::Called(const std::string& operation, std::initializer_list<std::string> arguments) {
  std::string line = operation;
  for (const std::string& argument : arguments)
    line += (line.size() == operation.size() ? " " : ", ") + argument;
  log.push_back(line);
  if (const auto hook = during.find(operation); hook != during.end()) {
    const std::function<void()> held = hook->second;
    held();
  }
  const auto failure = failures.find(operation);
  return failure == failures.end() ? nullptr : &failure->second;
}

Value Recorder::Answer(const std::string& operation, VARTYPE type) const {
  Value answer;
  if (const auto found = answers.find(operation); found != answers.end()) answer = found->second;
  EXPECT_EQ(VariantChangeType(answer.Get(), answer.Get(), 0, type), S_OK) << operation;
  return answer;
}

std::string Recorder::Lines() {
  std::string lines;
  for (const std::string& line : log)
    lines += (lines.empty() ? "" : "; ") + line;
  log.clear();
  return lines;
}

HRESULT RaiseBySlot(const Raised& failure) {
  if (failure.text.empty()) return failure.result;
  return com::Report(failure.result, failure.text, "Recorder", GUID_NULL);
}

}  // namespace orvo::testing
