#include "simulated/PanelScriptLine.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "values/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace orvo {

namespace {

constexpr std::string_view Blanks = " \t";

struct Unit {
  std::string_view name;
  double milliseconds;
};
constexpr std::array<Unit, 4> Units{{{"ms", 1}, {"s", 1000}, {"min", 60'000}, {"h", 3'600'000}}};

// The shortest text: "5", "-0.25".
std::string NumberText(double number) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), end.ptr};
}

std::string RangeText(const std::string& low, const std::string& high) {
  return "is not within " + low + ".." + high;
}

std::optional<std::int64_t> HexadecimalValue(std::string_view text) {
  if (!text.starts_with("0x")) return std::nullopt;
  text.remove_prefix(2);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || end != text.data() + text.size() || text.starts_with('-')) return std::nullopt;
  return value;
}

}  // namespace

PanelScriptLine::PanelScriptLine(std::string_view line) {
  while (true) {
    line.remove_prefix(std::min(line.find_first_not_of(Blanks), line.size()));
    if (line.empty() || line.front() == '#') return;
    Token token{{}, line.front() == '"'};
    if (!token.quoted) {
      const std::string_view word = line.substr(0, line.find_first_of(Blanks));
      if (word.find('"') != std::string_view::npos)
        Refuse("the quotation mark inside '" + std::string(word) + "' needs a blank before it");
      token.text = word;
      line.remove_prefix(word.size());
    } else {
      while (true) {
        line.remove_prefix(1);
        const std::size_t end = line.find('"');
        if (end == std::string_view::npos)
          Refuse("the text \"" + std::string(line) + " has no end: a '\"' is missing");
        token.text += line.substr(0, end);
        line.remove_prefix(end + 1);
        if (!line.starts_with('"')) break;
        token.text += '"';
      }
      if (!line.empty() && Blanks.find(line.front()) == std::string_view::npos)
        Refuse("the text \"" + token.text + "\" needs a blank behind it");
    }
    words_.push_back(std::move(token));
  }
}

void PanelScriptLine::Refuse(const std::string& wrong) const {
  throw AutomationError(PanelBadValue, example_.empty() ? wrong : wrong + "; write it like: " + example_);
}

void PanelScriptLine::RequireEnd() const {
  if (!AtEnd()) Refuse("'" + words_[next_].text + "' is too much");
}

const PanelScriptLine::Token& PanelScriptLine::Take(const std::string& what) {
  if (AtEnd()) Refuse(what + " is missing");
  return words_[next_++];
}

bool PanelScriptLine::Skip(std::string_view word) noexcept {
  if (AtEnd() || words_[next_].quoted || words_[next_].text != word) return false;
  ++next_;
  return true;
}

void PanelScriptLine::Expect(std::string_view word) {
  if (Skip(word)) return;
  Refuse("'" + std::string(word) + "' is missing" + (AtEnd() ? "" : " before '" + words_[next_].text + "'"));
}

std::string PanelScriptLine::Word(const std::string& what) {
  const Token& token = Take(what);
  if (token.quoted) Refuse(what + " stands without quotation marks, here \"" + token.text + "\"");
  return token.text;
}

std::string PanelScriptLine::Text(const std::string& what) {
  const Token& token = Take(what);
  if (!token.quoted) Refuse(what + " '" + token.text + "' needs quotation marks");
  return token.text;
}

double PanelScriptLine::Number(const std::string& what, double minimum, double maximum) {
  const std::string text = Word(what);
  const std::optional<double> number = ParseDecimal(text);
  if (!number) Refuse(what + " '" + text + "' is no number");
  if (!(*number >= minimum && *number <= maximum))
    Refuse(what + " " + text + " " + RangeText(NumberText(minimum), NumberText(maximum)));
  return *number;
}

std::int64_t PanelScriptLine::Whole(const std::string& what, std::int64_t minimum, std::int64_t maximum) {
  const std::string text = Word(what);
  std::optional<std::int64_t> value = HexadecimalValue(text);
  if (!value) {
    constexpr double exact = 9007199254740992.0;  // up to here every whole number has a double of its own
    const std::optional<double> number = ParseDecimal(text);
    if (!number || *number != std::trunc(*number)) Refuse(what + " '" + text + "' is no whole number");
    value = static_cast<std::int64_t>(std::fmax(std::fmin(*number, exact), -exact));
  }
  if (*value < minimum || *value > maximum)
    Refuse(what + " " + text + " " + RangeText(std::to_string(minimum), std::to_string(maximum)));
  return *value;
}

std::chrono::milliseconds PanelScriptLine::Time(const std::string& what, std::chrono::milliseconds minimum) {
  const std::string text = Word(what);
  const std::optional<double> number = ParseDecimal(text);
  if (!number) Refuse(what + " '" + text + "' is no number with its unit behind a blank");
  if (AtEnd()) Refuse(what + " " + text + " has no unit: ms, s, min or h");
  const std::string name = Word("the unit");
  for (const Unit& unit : Units) {
    if (unit.name != name) continue;
    const double milliseconds = std::round(*number * unit.milliseconds);
    const std::chrono::milliseconds longest = LongestTime;
    if (!(milliseconds >= static_cast<double>(minimum.count()) &&
          milliseconds <= static_cast<double>(longest.count()))) {
      const std::string range =
          RangeText(std::to_string(minimum.count()) + " ms", std::to_string(LongestTime.count()) + " h");
      std::string wrong = what;
      for (const std::string* word : {&text, &name, &range})
        wrong.append(" ").append(*word);
      Refuse(wrong);
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds));
  }
  Refuse("'" + name + "' is no unit of time: ms, s, min or h");
}

}  // namespace orvo
