#include "Table.h"

#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <ostream>
#include <span>

namespace orvo::client {

namespace {

std::string Hexadecimal(std::span<const std::uint8_t> bytes) {
  constexpr std::array digits{'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

std::string Padded(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, Utf16Length(text)), ' ');
}

}  // namespace

void Table::Print(std::ostream& out) const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_)
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], Utf16Length(row[column]));
  const auto print = [&](const std::vector<std::string>& row) {
    std::string line;
    for (std::size_t column = 0; column < row.size(); ++column)
      line += "  " + Padded(row[column], widths[column]);
    out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
  };
  print(rows_.front());
  std::vector<std::string> rule;
  rule.reserve(widths.size());
  for (const std::size_t width : widths)
    rule.emplace_back(width, '-');
  print(rule);
  std::for_each(rows_.begin() + 1, rows_.end(), print);
}

std::string ValueText(const Variant& value) {
  if (value.IsEmpty()) return "-";
  if (value.IsByteArray()) return Hexadecimal(value.Bytes());
  if (value.Is(VariantKind::String)) return "\"" + std::string(value.Text()) + "\"";
  if (value.IsArray()) return "(array)";
  return ToText(value);
}

std::string RawText(const KELDataItem& item) {
  const Variant& raw = item.DATAValue();
  if (raw.IsEmpty()) return "-";
  if (raw.IsByteArray()) return Hexadecimal(raw.Bytes());
  if (raw.Is(VariantKind::String) || raw.IsArray()) return ValueText(raw);
  // A number that was decoded from the bytes, least significant first.
  std::uint32_t word = raw.Is(VariantKind::R4) ? std::bit_cast<std::uint32_t>(raw.Get<float>())
                                               : static_cast<std::uint32_t>(ToI4(raw));
  std::vector<std::uint8_t> bytes;
  for (std::int32_t k = 0; k < 2 * item.ItemWordLength(); ++k, word >>= 8)
    bytes.push_back(static_cast<std::uint8_t>(word));
  return Hexadecimal(bytes);
}

}  // namespace orvo::client
