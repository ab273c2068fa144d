// A table for the terminal: columns two blanks apart, as wide as their longest text, the header underlined.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace orvo::client {

class Table {
 public:
  explicit Table(std::vector<std::string> header) : rows_{std::move(header)} {}
  // As many texts as the header has; control characters in them are escaped (Shown).
  void Add(std::vector<std::string> row);
  void Print(std::ostream& out) const;
  // The lines without their ends: two of the header, then one for each row.
  std::vector<std::string> Lines() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace orvo::client
