#include "SampleTokens.h"

#include <array>
#include <cctype>
#include <utility>

namespace orvo {
namespace {

using Kind = SampleToken::Kind;

bool StartsName(char c) {
  return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$';
}
bool ContinuesName(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}
bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

class Reader {
 public:
  Reader(const std::string& program, SampleLanguage language, int line)
      : program_(program), language_(language), line_(line) {}

  std::vector<SampleToken> Read() {
    while (at_ < program_.size())
      Step();
    Add(Kind::EndOfLine, "");
    return std::move(tokens_);
  }

 private:
  void Add(Kind kind, std::string text) { tokens_.push_back({kind, std::move(text), line_}); }
  bool Looks(std::string_view text) const { return program_.compare(at_, text.size(), text) == 0; }

  void Step() {
    const char c = program_[at_];
    if (c == '\n') {
      // A line of Basic goes on behind " _".
      if (language_ == SampleLanguage::Basic && !tokens_.empty() && tokens_.back().IsName("_"))
        tokens_.pop_back();
      else if (language_ != SampleLanguage::CSharp)
        Add(Kind::EndOfLine, "");
      ++line_;
      ++at_;
    } else if (std::isspace(static_cast<unsigned char>(c)) != 0) {
      ++at_;
    } else if (IsComment()) {
      SkipTo("\n");
    } else if (language_ == SampleLanguage::PowerShell && (Looks("@'") || Looks("@\""))) {
      const std::string end = std::string("\n") + program_[at_ + 1] + '@';
      at_ += 2;
      Add(Kind::Text, SkipTo(end));
      at_ += end.size();
    } else if (language_ == SampleLanguage::Python && (Looks("\"\"\"") || Looks("'''"))) {
      const std::string end = program_.substr(at_, 3);
      at_ += 3;
      Add(Kind::Text, SkipTo(end));
      at_ += 3;
    } else if (c == '"' || (c == '\'' && language_ != SampleLanguage::Basic)) {
      ReadText(c);
    } else if (StartsName(c)) {
      ReadName();
    } else if (IsDigit(c)) {
      ReadNumber();
    } else {
      ReadSymbol();
    }
  }

  bool IsComment() const {
    switch (language_) {
      case SampleLanguage::Basic:
        return Looks("'");
      case SampleLanguage::CSharp:
        return Looks("//");
      default:
        return Looks("#");
    }
  }

  // Moves to the next `end`, or to the end of the program; what lies between.
  std::string SkipTo(std::string_view end) {
    const std::size_t found = std::min(program_.find(end, at_), program_.size());
    std::string between = program_.substr(at_, found - at_);
    for (const char c : between)
      line_ += c == '\n' ? 1 : 0;
    at_ = found;
    return between;
  }

  void ReadText(char quote) {
    const bool doubled = language_ == SampleLanguage::Basic || language_ == SampleLanguage::PowerShell;
    const char escape = language_ == SampleLanguage::PowerShell ? '`' : '\\';
    std::string text;
    std::vector<std::string> computed;
    for (++at_; at_ < program_.size(); ++at_) {
      const char c = program_[at_];
      if (c == quote) {
        if (!doubled || at_ + 1 >= program_.size() || program_[at_ + 1] != quote) break;
        ++at_;
      } else if (c == escape && language_ != SampleLanguage::Basic && quote == '"') {
        ++at_;
      } else if (language_ == SampleLanguage::PowerShell && quote == '"' && Looks("$(")) {
        computed.push_back(Computed());
        continue;
      }
      if (at_ < program_.size()) text += program_[at_];
    }
    ++at_;
    Add(Kind::Text, text);
    for (const std::string& part : computed) {
      Add(Kind::EndOfLine, "");
      for (SampleToken& token : Reader(part, language_, line_).Read())
        tokens_.push_back(std::move(token));
    }
  }

  // The inside of "$(...)"; leaves the position at its last bracket.
  std::string Computed() {
    const std::size_t start = at_ + 2;
    int depth = 0;
    for (; at_ < program_.size(); ++at_) {
      if (program_[at_] == '(') ++depth;
      if (program_[at_] == ')' && --depth == 0) break;
    }
    return program_.substr(start, at_ - start);
  }

  void ReadName() {
    const std::size_t start = at_;
    while (at_ < program_.size() && (ContinuesName(program_[at_]) || (at_ == start && program_[at_] == '$')))
      ++at_;
    std::string name = program_.substr(start, at_ - start);
    if (name.size() > 1 && name[0] == '$') name.erase(0, 1);
    Add(Kind::Name, name);
  }

  void ReadNumber() {
    const std::size_t start = at_;
    while (at_ < program_.size() &&
           (ContinuesName(program_[at_]) ||
            (program_[at_] == '.' && at_ + 1 < program_.size() && IsDigit(program_[at_ + 1]))))
      ++at_;
    Add(Kind::Number, program_.substr(start, at_ - start));
  }

  void ReadSymbol() {
    static constexpr std::array<std::string_view, 10> Long{"==", "!=", "<=", ">=", "<>",
                                                           "+=", "-=", ":=", "=>", "->"};
    for (const std::string_view symbol : Long) {
      if (!Looks(symbol)) continue;
      Add(Kind::Symbol, std::string(symbol));
      at_ += symbol.size();
      return;
    }
    Add(Kind::Symbol, std::string(1, program_[at_++]));
  }

  const std::string& program_;
  SampleLanguage language_;
  std::size_t at_ = 0;
  int line_;
  std::vector<SampleToken> tokens_;
};

}  // namespace

std::vector<SampleToken> SampleTokens(const std::string& program, SampleLanguage language) {
  return Reader(program, language, 1).Read();
}

}  // namespace orvo
