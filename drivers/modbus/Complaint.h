// Refuses a text that somebody wrote by hand: names the text, tells what is wrong with it and what is right.
//
// A failure is error 10 with "What 'text': wrong; write it like example".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvo::modbus {

bool IsDigits(std::string_view text) noexcept;  // one or more, decimal

class Complaint {
 public:
  // `what` begins the sentence: "Item identifier". `text` is quoted whole.
  Complaint(std::string_view what, std::string_view text);

  // Shown by every failure from now on; empty: none.
  void PutExample(std::string_view example) { example_ = example; }
  [[noreturn]] void Raise(const std::string& wrong) const;

  // `digits` as a number without sign, of at most `most` digits, within minimum..maximum. `what` names it in a
  // failure: "the size".
  std::int32_t Number(const std::string& what, std::string_view digits, std::size_t most, std::int32_t minimum,
                      std::int32_t maximum) const;

 private:
  std::string head_;
  std::string example_;
};

}  // namespace orvo::modbus
