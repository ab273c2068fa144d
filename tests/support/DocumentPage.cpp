#include "support/DocumentPage.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <utility>

namespace orvo::testing {

namespace {

// The cells of "| a | b |", the first one without its marks of code.
DocumentPage::Row Cells(const std::string& line) {
  DocumentPage::Row cells;
  std::istringstream rest(line.substr(1));
  for (std::string cell; std::getline(rest, cell, '|');) {
    const std::size_t first = cell.find_first_not_of(' ');
    cells.push_back(first == std::string::npos ? ""
                                               : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
  }
  if (!cells.empty() && cells.front().starts_with('`') &&
      cells.front().find('`', 1) == cells.front().size() - 1)
    cells.front() = cells.front().substr(1, cells.front().size() - 2);
  return cells;
}

}  // namespace

DocumentPage::DocumentPage(const std::string& path) {
  std::ifstream page(path);
  EXPECT_TRUE(page) << path;
  for (std::string line; std::getline(page, line);)
    lines_.push_back(line);
}

std::vector<DocumentPage::Row> DocumentPage::Table(const std::string& heading, std::size_t least) const {
  std::vector<Row> rows;
  bool inside = false;
  for (const std::string& line : lines_) {
    if (!line.starts_with('|')) {
      inside = false;
      continue;
    }
    Row cells = Cells(line);
    if (cells.front() == heading)
      inside = true;
    else if (inside && !cells.front().starts_with("---"))
      rows.push_back(std::move(cells));
  }
  EXPECT_GE(rows.size(), least) << heading;
  return rows;
}

std::string DocumentPage::Block(const std::string& mark) const {
  std::string block;
  bool inside = false;
  for (const std::string& line : lines_) {
    if (line == "```" + mark)
      inside = true;
    else if (line == "```")
      inside = false;
    else if (inside)
      block += line + '\n';
  }
  EXPECT_NE(block, "") << mark;
  return block;
}

}  // namespace orvo::testing
