// What a check of the driver contract asks and what it found.
#pragma once

#include <string>
#include <string_view>

namespace orvo::kit {

enum class Verdict { Passed, Failed, NotApplicable };

// Stable from version to version: reports and scripts go by the name.
struct CheckInfo {
  std::string_view name;
  std::string_view asks;  // what the contract asks, one sentence
};

struct CheckResult {
  CheckInfo check;
  Verdict verdict = Verdict::Passed;
  std::string detail;  // failed: what was seen; not applicable: why; passed: empty
};

}  // namespace orvo::kit
