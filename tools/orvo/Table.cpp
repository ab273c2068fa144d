#include "Table.h"

#include "Values.h"
#include "values/Text.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace orvo::client {

namespace {

std::string Padded(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, Utf16Length(text)), ' ');
}

}  // namespace

void Table::Add(std::vector<std::string> row) {
  for (std::string& text : row)
    text = Shown(text);
  rows_.push_back(std::move(row));
}

std::vector<std::string> Table::Lines() const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_)
    for (std::size_t column = 0; column < row.size(); ++column)
      widths[column] = std::max(widths[column], Utf16Length(row[column]));
  const auto line = [&](const std::vector<std::string>& row) {
    std::string text;
    for (std::size_t column = 0; column < row.size(); ++column)
      text += "  " + Padded(row[column], widths[column]);
    return text.substr(0, text.find_last_not_of(' ') + 1);
  };
  std::vector<std::string> rule;
  rule.reserve(widths.size());
  for (const std::size_t width : widths)
    rule.emplace_back(width, '-');
  std::vector<std::string> lines{line(rows_.front()), line(rule)};
  for (auto row = rows_.begin() + 1; row != rows_.end(); ++row)
    lines.push_back(line(*row));
  return lines;
}

void Table::Print(std::ostream& out) const {
  for (const std::string& line : Lines())
    out << line << '\n';
}

}  // namespace orvo::client
