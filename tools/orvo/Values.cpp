#include "Values.h"

#include "values/Dates.h"
#include "values/VariantConversion.h"

#include <array>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace orvo::client {

namespace {

constexpr std::string_view Digits = "0123456789ABCDEF";

void AppendByte(std::string& text, std::uint8_t byte) {
  text += Digits[byte >> 4];
  text += Digits[byte & 15];
}

std::string Quoted(std::string_view text) {
  constexpr unsigned char blank = 0x20;
  constexpr unsigned char deletion = 0x7F;
  std::string quoted = "\"";
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code < blank || code == deletion) {
      quoted += "\\x";
      AppendByte(quoted, code);
    } else {
      quoted += character;
    }
  }
  return quoted + '"';
}

}  // namespace

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
  if (value.Is(VariantKind::String)) return Quoted(value.Text());
  if (value.IsArray()) return "(array)";
  return ToText(value);
}

std::string WithoutCarriageReturns(std::string text) {
  std::erase(text, '\r');
  return text;
}

std::string OneLine(std::string_view text) {
  std::string line;
  for (const char character : WithoutCarriageReturns(std::string(text)))
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
