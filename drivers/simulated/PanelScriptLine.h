// One line of a panel script, read word by word.
//
// Words are separated by blanks and tabs. A text stands in quotation marks; two of them inside stand for one. A
// word that begins with '#' begins a comment, which goes to the end of the line. Every reading function fails
// with error 10 and a text that tells what was expected, what stands there, and how such a line is written.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

class PanelScriptLine {
 public:
  explicit PanelScriptLine(std::string_view line);

  // Shown by every failure from now on.
  void PutExample(std::string_view example) { example_ = example; }
  const std::string& Example() const noexcept { return example_; }
  [[noreturn]] void Refuse(const std::string& wrong) const;

  bool AtEnd() const noexcept { return next_ == words_.size(); }
  void RequireEnd() const;
  // Whether a text in quotation marks comes next.
  bool AtText() const noexcept { return !AtEnd() && words_[next_].quoted; }
  // Steps over the word when it comes next.
  bool Skip(std::string_view word) noexcept;
  void Expect(std::string_view word);
  // A word without quotation marks.
  std::string Word(const std::string& what);
  std::string Text(const std::string& what);
  // A decimal number, possibly with fraction and exponent.
  double Number(const std::string& what, double minimum, double maximum);
  // A whole number, decimal or as 0x1F.
  std::int64_t Whole(const std::string& what, std::int64_t minimum, std::int64_t maximum);
  // A number and its unit: ms, s, min or h; to the nearest millisecond, at most LongestTime.
  std::chrono::milliseconds Time(const std::string& what, std::chrono::milliseconds minimum);
  static constexpr std::chrono::hours LongestTime{500};

 private:
  struct Token {
    std::string text;
    bool quoted;
  };
  const Token& Take(const std::string& what);

  std::vector<Token> words_;
  std::size_t next_ = 0;
  std::string example_;
};

}  // namespace orvo
