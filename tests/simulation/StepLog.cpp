#include "simulation/StepLog.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace orvo::testing {

void StepLog::Note(std::chrono::milliseconds now, const char* what, std::int64_t a, std::int64_t b,
                   std::int64_t c) {
  Step& step = latest_[steps_ % Kept];
  step = {now, what, a, b, c};
  ++steps_;
  Mix(static_cast<std::uint64_t>(now.count()));
  for (const char* letter = what; *letter != '\0'; ++letter)
    Mix(static_cast<std::uint64_t>(*letter));
  for (const std::int64_t number : {a, b, c})
    Mix(static_cast<std::uint64_t>(number));
  if (echo_ != nullptr) *echo_ << Line(step);
}

void StepLog::Mix(std::uint64_t number) noexcept {
  hash_ = (hash_ ^ number) * 0x100000001B3U;
  hash_ ^= hash_ >> 29U;
}

std::string StepLog::Line(const Step& step) {
  std::ostringstream line;
  line << std::setw(12) << step.now.count() << " ms  " << step.what << ' ' << step.a << ' ' << step.b << ' '
       << step.c << '\n';
  return line.str();
}

std::string StepLog::Tail() const {
  std::string tail;
  const std::uint64_t kept = std::min<std::uint64_t>(steps_, Kept);
  for (std::uint64_t k = steps_ - kept; k < steps_; ++k)
    tail += Line(latest_[k % Kept]);
  return tail;
}

}  // namespace orvo::testing
