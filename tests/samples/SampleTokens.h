// The words of a program in one of the languages of the samples: names, texts, operators, ends of lines; no
// comments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvo {

enum class SampleLanguage { Basic, CSharp, PowerShell, Python };

struct SampleToken {
  enum class Kind { Name, Number, Text, Symbol, EndOfLine };
  Kind kind = Kind::Symbol;
  std::string text;  // a name, without the $ of PowerShell; the inside of a text; a symbol
  int line = 0;

  bool Is(std::string_view symbol) const { return kind == Kind::Symbol && text == symbol; }
  bool IsName(std::string_view name) const { return kind == Kind::Name && text == name; }
  bool IsEnd() const { return kind == Kind::EndOfLine; }
};

// What PowerShell computes inside a text, "$(...)", comes as tokens behind that text. The last token is an end
// of line.
std::vector<SampleToken> SampleTokens(const std::string& program, SampleLanguage language);

}  // namespace orvo
