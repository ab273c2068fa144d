#include "RowWriter.h"

#include "Table.h"
#include "Values.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string_view>

namespace orvo::client {

namespace {

class TableWriter final : public RowWriter {
 public:
  TableWriter(const std::vector<Column>& columns, std::ostream& out) : out_(out), table_(Titles(columns)) {}

  void Row(const std::vector<Cell>& cells) override {
    std::vector<std::string> texts;
    texts.reserve(cells.size());
    for (const Cell& cell : cells)
      texts.push_back(cell.Shown());
    table_.Add(std::move(texts));
  }
  void End() override { table_.Print(out_); }

 private:
  static std::vector<std::string> Titles(const std::vector<Column>& columns) {
    std::vector<std::string> titles;
    titles.reserve(columns.size());
    for (const Column& column : columns)
      titles.push_back(column.title);
    return titles;
  }

  std::ostream& out_;
  Table table_;
};

template <class Number>
std::string ShortestText(Number number) {
  constexpr std::size_t longest = 32;
  std::array<char, longest> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

// The shortest text that reads back to the very number; a single as one. A finite R4 or R8 only.
std::string ExactText(const Variant& value) {
  return value.Is(VariantKind::R4) ? ShortestText(ToR4(value)) : ShortestText(ToR8(value));
}

bool IsFiniteFloat(const Variant& value) {
  return (value.Is(VariantKind::R4) || value.Is(VariantKind::R8)) && std::isfinite(ToR8(value));
}

std::string CsvText(const Variant& value) {
  if (value.IsEmpty() || value.IsNull()) return "";
  if (value.IsByteArray()) return Hexadecimal(value.Bytes());
  if (value.Is(VariantKind::Boolean)) return ToBoolean(value) ? "true" : "false";
  if (IsFiniteFloat(value)) return ExactText(value);
  return value.IsArray() ? ValueText(value) : ToText(value);
}

class CsvWriter final : public RowWriter {
 public:
  CsvWriter(const std::vector<Column>& columns, std::ostream& out) : out_(out) {
    std::vector<std::string> keys;
    keys.reserve(columns.size());
    for (const Column& column : columns)
      keys.push_back(column.key);
    Line(keys);
  }

  void Row(const std::vector<Cell>& cells) override {
    std::vector<std::string> texts;
    texts.reserve(cells.size());
    for (const Cell& cell : cells)
      texts.push_back(CsvText(cell.Value()));
    Line(texts);
  }

 private:
  void Line(const std::vector<std::string>& fields) {
    const char* separator = "";
    for (const std::string& field : fields) {
      out_ << std::exchange(separator, ",");
      if (field.find_first_of(",\"\r\n") == std::string::npos)
        out_ << field;
      else
        out_ << '"' << Doubled(field) << '"';
    }
    out_ << '\n';
  }
  static std::string Doubled(std::string_view field) {
    std::string text;
    for (const char character : field)
      text.append(character == '"' ? 2 : 1, character);
    return text;
  }

  std::ostream& out_;
};

using Json = nlohmann::ordered_json;

Json JsonOf(const Variant& value) {
  if (value.IsEmpty() || value.IsNull()) return nullptr;
  if (value.IsByteArray()) return Hexadecimal(value.Bytes());
  if (value.IsArray()) return ValueText(value);
  switch (value.Kind()) {
    case VariantKind::Boolean:
      return ToBoolean(value);
    case VariantKind::I1:
    case VariantKind::I2:
    case VariantKind::I4:
    case VariantKind::I8:
    case VariantKind::UI1:
    case VariantKind::UI2:
    case VariantKind::UI4:
      return ToI8(value);
    case VariantKind::R4:
    case VariantKind::R8: {
      if (!IsFiniteFloat(value)) return ToText(value);
      // By the text: a single has the digits that tell it from other singles, not those of its double.
      const std::optional<double> number = ParseDecimal(ExactText(value));
      constexpr double exact = 9007199254740992.0;  // 2^53
      if (!number) return ToText(value);
      if (std::abs(*number) < exact && *number == std::floor(*number))
        return static_cast<std::int64_t>(*number);
      return *number;
    }
    default:
      return ToText(value);
  }
}

class JsonWriter final : public RowWriter {
 public:
  JsonWriter(std::vector<Column> columns, std::ostream& out, bool lines)
      : columns_(std::move(columns)), out_(out), lines_(lines) {}

  void Row(const std::vector<Cell>& cells) override {
    Json row = Json::object();
    for (std::size_t k = 0; k < cells.size(); ++k)
      row[columns_[k].key] = JsonOf(cells[k].Value());
    if (lines_)
      out_ << Text(row, -1) << '\n';
    else
      rows_.push_back(std::move(row));
  }
  void End() override {
    if (!lines_) out_ << Text(rows_, 2) << '\n';
  }

 private:
  // What a device delivers need not be well-formed text.
  static std::string Text(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
  }

  const std::vector<Column> columns_;
  std::ostream& out_;
  const bool lines_;
  Json rows_ = Json::array();
};

}  // namespace

Cell Cell::Of(Variant value) {
  std::string shown = ValueText(value);
  return {std::move(value), std::move(shown)};
}

std::unique_ptr<RowWriter> MakeRowWriter(Format format, std::vector<Column> columns, std::ostream& out) {
  switch (format) {
    case Format::Csv:
      return std::make_unique<CsvWriter>(columns, out);
    case Format::Json:
      return std::make_unique<JsonWriter>(std::move(columns), out, false);
    case Format::JsonLines:
      return std::make_unique<JsonWriter>(std::move(columns), out, true);
    case Format::Table:
      break;
  }
  return std::make_unique<TableWriter>(columns, out);
}

}  // namespace orvo::client
