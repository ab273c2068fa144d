// Texts. Properties:
// - well-formed UTF-8 is told from ill-formed as a decoder of its own tells it
// - a text cut in two at any unit is whole again, but for one character when the cut goes through it; the left
//   part is as long as was asked for, or one unit shorter then
// - device bytes come back from their text, all 256 of them; a text has as many device bytes as units
// - names that differ in case only have one key, and a key is its own
// - the number at the beginning of a text is the one that the C library reads there
#include "Property.h"
#include "Targets.h"
#include "Values.h"
#include "values/Text.h"

#include <cmath>
#include <vector>

namespace orvo::fuzz {

namespace {

// The code points of a text; nothing when it is ill-formed.
std::optional<std::vector<std::uint32_t>> CodePoints(const std::string& text) {
  std::vector<std::uint32_t> points;
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC0 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF8 ? 4
                                             : 0;
    if (length == 0 || at + length > text.size()) return std::nullopt;
    std::uint32_t point = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[at + k]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      point = point << 6 | (next & 0x3FU);
    }
    constexpr std::uint32_t Lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < Lowest[length] || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) return std::nullopt;
    points.push_back(point);
    at += length;
  }
  return points;
}

void CheckForm(const std::string& text) {
  const auto points = CodePoints(text);
  Demand(IsWellFormedUtf8(text) == points.has_value(), "well-formed UTF-8 is told from ill-formed");
  if (!points) return;
  std::size_t units = 0;
  for (const std::uint32_t point : *points)
    units += point > 0xFFFF ? 2 : 1;
  Demand(Utf16Length(text) == units, "a text has the length of its units");
}

void CheckCut(const std::string& text, std::size_t units) {
  const std::size_t length = Utf16Length(text);
  const std::string left(LeftUnits(text, static_cast<std::int64_t>(units)));
  const std::string right(FromUnit(text, units + 1));
  Demand(text.starts_with(left) && text.ends_with(right), "a cut gives the beginning and the end of a text");
  if (units >= length) {
    Demand(left == text && right.empty(), "a cut behind the end leaves the text");
    return;
  }
  const std::size_t parts = left.size() + right.size();
  if (parts == text.size()) {
    Demand(Utf16Length(left) == units, "the left part is as long as was asked for",
           [&] { return left + "|" + right; });
    return;
  }
  // What is missing is the one character of two units that the cut goes through.
  constexpr std::size_t SizeOfPair = 4;
  Demand(
      parts + SizeOfPair == text.size() && Utf16Length(left) + 1 == units &&
          CodePoints(text.substr(left.size(), SizeOfPair)).value_or(std::vector<std::uint32_t>()).size() == 1,
      "two parts are the text, but for a character that was cut", [&] { return left + "|" + right; });
}

void CheckDeviceBytes(const std::string& text) {
  const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  const std::string decoded = DecodeWindows1252(bytes);
  Demand(IsWellFormedUtf8(decoded) && Utf16Length(decoded) == bytes.size(),
         "each device byte is one character");
  const std::vector<std::uint8_t> back = EncodeWindows1252(decoded);
  Demand(std::equal(back.begin(), back.end(), bytes.begin(), bytes.end()),
         "device bytes come back from their text");
  Demand(EncodeWindows1252(text).size() == Utf16Length(text), "a text has as many device bytes as units");
}

void CheckKey(const std::string& text) {
  const std::string key = FoldCase(text);
  Demand(FoldCase(key) == key, "a key is its own key", key);
  std::string upper = text;
  for (char& each : upper)
    if (each >= 'a' && each <= 'z') each = static_cast<char>(each - 'a' + 'A');
  Demand(FoldCase(upper) == key, "names that differ in case only have one key", key);
}

void CheckLeadingNumber(const std::string& text) {
  // The longest beginning that is a number, as a plain search finds it.
  const std::size_t first = std::min(text.find_first_not_of(" \t"), text.size());
  double expected = 0;
  for (std::size_t length = std::min<std::size_t>(text.size() - first, 60); length > 0; --length) {
    const std::string beginning = text.substr(first, length);
    if (beginning.back() == ' ' || beginning.back() == '\t' || FormOf(beginning) != NumberForm::Decimal)
      continue;
    expected = LibraryDouble(beginning);
    break;
  }
  if (text.size() - first <= 60)
    Demand(LeadingNumber(text) == expected, "the number at the beginning is the longest one",
           std::to_string(expected));
  const std::optional<double> whole = ParseDecimal(text);
  Demand(whole.has_value() == (FormOf(text) == NumberForm::Decimal), "a whole text is a number or not");
  if (whole)
    Demand(*whole == LibraryDouble(text), "a whole text is the nearest double", std::to_string(*whole));
  std::int32_t rounded = 0;
  const std::int32_t number = NumberOf([&] { rounded = RoundToI4(LeadingNumber(text)); });
  const double nearest = std::nearbyint(LeadingNumber(text));
  const bool fits = nearest >= -2147483648.0 && nearest <= 2147483647.0;
  Demand(fits ? number == 0 && rounded == nearest : number == 6, "a number is the nearest integer, or error 6");
}

}  // namespace

void Texts(InputReader& input) {
  const std::size_t units = input.Below(70);
  const std::string text(input.Rest());
  CheckForm(text);
  CheckCut(text, units);
  CheckDeviceBytes(text);
  CheckKey(text);
  CheckLeadingNumber(text);
}

}  // namespace orvo::fuzz
