#include "Values.h"

#include "values/Dates.h"
#include "values/VariantConversion.h"

#include <array>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <utility>

namespace orvo::client {

namespace {

constexpr std::string_view Digits = "0123456789ABCDEF";

void AppendByte(std::string& text, std::uint8_t byte) {
  text += Digits[byte >> 4];
  text += Digits[byte & 15];
}

bool IsControl(unsigned char code) {
  constexpr unsigned char blank = 0x20;
  constexpr unsigned char deletion = 0x7F;
  constexpr unsigned char lastC1 = 0x9F;
  return code < blank || (code >= deletion && code <= lastC1);
}

}  // namespace

std::string Shown(std::string_view text) {
  constexpr unsigned char leadOfC1 = 0xC2;  // U+0080..U+009F are C2 80..C2 9F
  constexpr unsigned char firstC1 = 0x80;
  constexpr unsigned char firstLead = 0xC0;
  std::string shown;
  const auto append = [&](unsigned char code) {
    shown += "\\x";
    AppendByte(shown, code);
  };
  for (std::size_t k = 0; k < text.size(); ++k) {
    const auto code = static_cast<unsigned char>(text[k]);
    const auto next = static_cast<unsigned char>(k + 1 < text.size() ? text[k + 1] : 0);
    // A byte of this range that continues nothing is a control character to a terminal without UTF-8.
    const bool continues = code >= firstC1 && k > 0 && static_cast<unsigned char>(text[k - 1]) >= firstC1;
    if (code == leadOfC1 && next >= firstC1 && IsControl(next)) {
      append(next);
      ++k;
    } else if ((IsControl(code) && !continues) || (code >= firstLead && next < firstC1)) {
      append(code);
    } else {
      shown += text[k];
    }
  }
  return shown;
}

std::string Hexadecimal(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    AppendByte(text, byte);
  }
  return text;
}

std::string Hexadecimal(std::uint32_t number) {
  std::string text = "0x";
  for (int shift = 24; shift >= 0; shift -= 8)
    AppendByte(text, static_cast<std::uint8_t>(number >> shift));
  return text;
}

std::string ValueText(const Variant& value) {
  if (value.IsEmpty()) return "-";
  if (value.IsByteArray()) return Hexadecimal(value.Bytes());
  if (value.Is(VariantKind::String)) return '"' + Shown(value.Text()) + '"';
  if (value.IsArray()) return "(array)";
  return ToText(value);
}

std::string WithoutCarriageReturns(std::string_view text) {
  std::string lines;
  std::string line;
  for (const char character : text) {
    if (character == '\n')
      lines += Shown(std::exchange(line, {})) + '\n';
    else if (character != '\r')
      line += character;
  }
  return lines + Shown(line);
}

std::string OneLine(std::string_view text) {
  std::string line;
  for (const char character : WithoutCarriageReturns(text))
    character == '\n' ? line.append(" / ") : line.append(1, character);
  return line;
}

std::string TimeText(Date time) {
  const CivilTime civil = CivilFromDate(time);
  std::ostringstream text;
  text << std::setfill('0') << std::setw(4) << civil.year << '-' << std::setw(2) << civil.month << '-'
       << std::setw(2) << civil.day << ' ' << std::setw(2) << civil.hour << ':' << std::setw(2) << civil.minute
       << ':' << std::setw(2) << civil.second << '.' << std::setw(3) << civil.millisecond;
  return text.str();
}

}  // namespace orvo::client
