#include "values/Text.h"

#include "errors/AutomationError.h"
#include "values/DecimalScan.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace orvo {

namespace {

constexpr char32_t IllFormed = 0xFFFFFFFF;

struct Character {
  char32_t code;     // IllFormed for a byte that belongs to no character
  std::size_t size;  // bytes
  std::size_t Units() const noexcept { return code > 0xFFFF && code != IllFormed ? 2 : 1; }
};

constexpr bool IsBetween(std::uint8_t byte, std::uint8_t low, std::uint8_t high) noexcept {
  return byte >= low && byte <= high;
}

// The first character of a text that is not empty. Overlong forms, surrogates and codes beyond U+10FFFF are
// ill-formed.
Character FirstCharacter(std::string_view text) noexcept {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const auto continues = [&](std::size_t i) { return i < text.size() && IsBetween(byte(i), 0x80, 0xBF); };
  const auto bits = [&](std::size_t i) { return static_cast<char32_t>(byte(i) & 0x3F); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if (IsBetween(lead, 0xC2, 0xDF) && continues(1))
    return {(static_cast<char32_t>(lead & 0x1F) << 6) | bits(1), 2};
  if (IsBetween(lead, 0xE0, 0xEF) && continues(1) && continues(2)) {
    const char32_t code = (static_cast<char32_t>(lead & 0x0F) << 12) | (bits(1) << 6) | bits(2);
    if (code >= 0x800 && (code < 0xD800 || code > 0xDFFF)) return {code, 3};
  }
  if (IsBetween(lead, 0xF0, 0xF4) && continues(1) && continues(2) && continues(3)) {
    const char32_t code =
        (static_cast<char32_t>(lead & 0x07) << 18) | (bits(1) << 12) | (bits(2) << 6) | bits(3);
    if (code >= 0x10000 && code <= 0x10FFFF) return {code, 4};
  }
  return {IllFormed, 1};
}

void AppendCharacter(std::string& text, char32_t code) {
  const auto append = [&](char32_t byte) {
    text.push_back(static_cast<char>(static_cast<std::uint8_t>(byte)));
  };
  if (code < 0x80) {
    append(code);
  } else if (code < 0x800) {
    append(0xC0 | (code >> 6));
    append(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    append(0xE0 | (code >> 12));
    append(0x80 | ((code >> 6) & 0x3F));
    append(0x80 | (code & 0x3F));
  } else {
    append(0xF0 | (code >> 18));
    append(0x80 | ((code >> 12) & 0x3F));
    append(0x80 | ((code >> 6) & 0x3F));
    append(0x80 | (code & 0x3F));
  }
}

struct FoldRange {
  char32_t first;
  char32_t last;
  std::uint8_t step;
  std::int32_t distance;
};
constexpr FoldRange FoldRanges[] = {
#include "values/CaseFoldTable.inc"
};

char32_t SimpleFold(char32_t code) noexcept {
  if (code < 0x80) return code >= 'A' && code <= 'Z' ? code + ('a' - 'A') : code;
  const auto* range = std::lower_bound(std::begin(FoldRanges), std::end(FoldRanges), code,
                                       [](const FoldRange& r, char32_t c) { return r.last < c; });
  if (range == std::end(FoldRanges) || code < range->first || (code - range->first) % range->step != 0)
    return code;
  return static_cast<char32_t>(static_cast<std::int32_t>(code) + range->distance);
}

// Windows-1252 from 0x80 to 0x9F; everything else is the code point of the same number.
constexpr std::array<char16_t, 32> High1252{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                            0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                            0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                            0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::uint8_t CodeIn1252(char32_t code) noexcept {
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<std::uint8_t>(code);
  const auto found = std::find(High1252.begin(), High1252.end(), code);
  return found == High1252.end() ? std::uint8_t{'?'}
                                 : static_cast<std::uint8_t>(0x80 + (found - High1252.begin()));
}

constexpr bool IsBlank(char c) noexcept {
  return c == ' ' || c == '\t';
}

std::string_view SkipBlanks(std::string_view text) noexcept {
  while (!text.empty() && IsBlank(text.front()))
    text.remove_prefix(1);
  return text;
}

}  // namespace

bool IsWellFormedUtf8(std::string_view text) noexcept {
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (character.code == IllFormed) return false;
    text.remove_prefix(character.size);
  }
  return true;
}

std::size_t Utf16Length(std::string_view text) noexcept {
  std::size_t units = 0;
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    units += character.Units();
    text.remove_prefix(character.size);
  }
  return units;
}

std::string_view LeftUnits(std::string_view text, std::int64_t units) {
  if (units < 0) RaiseRuntimeError(RuntimeError::InvalidProcedureCall);
  auto left = static_cast<std::uint64_t>(units);
  std::size_t end = 0;
  while (end < text.size()) {
    const Character character = FirstCharacter(text.substr(end));
    if (character.Units() > left) break;
    left -= character.Units();
    end += character.size;
  }
  return text.substr(0, end);
}

std::string_view FromUnit(std::string_view text, std::size_t unit) noexcept {
  std::size_t at = 1;
  while (!text.empty() && at < unit) {
    const Character character = FirstCharacter(text);
    at += character.Units();
    text.remove_prefix(character.size);
  }
  return text;
}

std::string FoldCase(std::string_view text) {
  std::string folded;
  folded.reserve(text.size());
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (character.code == IllFormed)
      folded.push_back(text.front());
    else
      AppendCharacter(folded, SimpleFold(character.code));
    text.remove_prefix(character.size);
  }
  return folded;
}

void AppendWindows1252(std::string& text, std::uint8_t code) {
  AppendCharacter(text, code >= 0x80 && code < 0xA0 ? High1252[code - 0x80U] : char32_t{code});
}

std::string DecodeWindows1252(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const std::uint8_t code : bytes)
    AppendWindows1252(text, code);
  return text;
}

std::vector<std::uint8_t> EncodeWindows1252(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const Character character = FirstCharacter(text);
    if (character.code == IllFormed)
      bytes.push_back(static_cast<std::uint8_t>(text.front()));
    else
      bytes.insert(bytes.end(), character.Units(), CodeIn1252(character.code));
    text.remove_prefix(character.size);
  }
  return bytes;
}

std::string_view TrimBlanks(std::string_view text) noexcept {
  text = SkipBlanks(text);
  while (!text.empty() && IsBlank(text.back()))
    text.remove_suffix(1);
  return text;
}

double LeadingNumber(std::string_view text) noexcept {
  const ScannedNumber number = ScanNumber(SkipBlanks(text));
  return number.length == 0 ? 0.0 : NearestDouble(number);
}

std::optional<double> ParseDecimal(std::string_view text) noexcept {
  const std::string_view trimmed = TrimBlanks(text);
  const ScannedNumber number = ScanNumber(trimmed);
  if (number.length == 0 || number.length != trimmed.size()) return std::nullopt;
  return NearestDouble(number);
}

std::int32_t RoundToI4(double value) {
  const double rounded = RoundHalfToEven(value);
  if (!(rounded >= -0x1p31 && rounded < 0x1p31)) RaiseRuntimeError(RuntimeError::Overflow);
  return static_cast<std::int32_t>(rounded);
}

}  // namespace orvo
