// Texts for the terminal: tables with aligned columns, and values as a person reads them.
#pragma once

#include "model/KELDataItem.h"
#include "values/Variant.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace orvo::client {

class Table {
 public:
  explicit Table(std::vector<std::string> header) : rows_{std::move(header)} {}
  void Add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  // Columns two blanks apart, as wide as their longest text; the header is underlined.
  void Print(std::ostream& out) const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

// A client value: numbers and texts as they are, bytes in hexadecimal, "-" for Empty.
std::string ValueText(const Variant& value);
// The bytes of an item's latest raw value as they lie in the device, in hexadecimal.
std::string RawText(const KELDataItem& item);

}  // namespace orvo::client
