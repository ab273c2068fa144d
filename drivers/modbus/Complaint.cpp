#include "modbus/Complaint.h"

#include "errors/AutomationError.h"
#include "modbus/ItemError.h"

#include <algorithm>

namespace orvo::modbus {

bool IsDigits(std::string_view text) noexcept {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

Complaint::Complaint(std::string_view what, std::string_view text)
    : head_(std::string(what).append(" '").append(text).append("': ")) {}

void Complaint::Raise(const std::string& wrong) const {
  throw AutomationError(BadValue, head_ + wrong + (example_.empty() ? "" : "; write it like " + example_));
}

std::int32_t Complaint::Number(const std::string& what, std::string_view digits, std::size_t most,
                               std::int32_t minimum, std::int32_t maximum) const {
  if (digits.empty()) Raise(what + " is missing");
  if (!IsDigits(digits)) Raise(what + " '" + std::string(digits) + "' is no decimal number");
  if (digits.size() > most)
    Raise(what + " '" + std::string(digits) + "' has more than " + std::to_string(most) + " digits");
  std::int32_t value = 0;
  for (const char digit : digits)
    value = value * 10 + (digit - '0');
  if (value < minimum || value > maximum)
    Raise(what + ' ' + std::to_string(value) + " is not within " + std::to_string(minimum) + ".." +
          std::to_string(maximum));
  return value;
}

}  // namespace orvo::modbus
