// Rows of results on their way to the output, in the format that the caller chose.
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::client {

enum class Format : std::uint8_t {
  Table,      // aligned columns for a person
  Csv,        // RFC 4180 with a header line and LF line ends
  Json,       // one document: an array with an object for each row
  JsonLines,  // one object per line
};

struct Column {
  std::string title;  // in tables
  std::string key;    // in the other formats
};

// One value of a row: the value itself for programs, and its text in a table.
class Cell {
 public:
  // A name or another text, shown as it is.
  Cell(std::string text) : value_(text), shown_(std::move(text)) {}
  Cell(const char* text) : Cell(std::string(text)) {}
  Cell(std::int64_t number) : value_(number), shown_(std::to_string(number)) {}
  Cell(std::int32_t number) : Cell(std::int64_t{number}) {}
  Cell(bool flag) : value_(flag), shown_(flag ? "yes" : "no") {}
  Cell(Variant value, std::string shown) : value_(std::move(value)), shown_(std::move(shown)) {}
  // A value of an item or a property, shown by ValueText.
  static Cell Of(Variant value);

  const Variant& Value() const noexcept { return value_; }
  const std::string& Shown() const noexcept { return shown_; }

 private:
  Variant value_;
  std::string shown_;
};

class RowWriter {
 public:
  RowWriter() = default;
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;
  virtual ~RowWriter() = default;

  // `cells`: one for each column.
  virtual void Row(const std::vector<Cell>& cells) = 0;
  // The last of all: tables and documents are written now.
  virtual void End() {}
};

// `out` outlives the writer.
std::unique_ptr<RowWriter> MakeRowWriter(Format format, std::vector<Column> columns, std::ostream& out);

}  // namespace orvo::client
