// errors: the tables of the system, with what a user can do.

#include "Commands.h"
#include "ExitCode.h"
#include "Values.h"
#include "error_list/Advice.h"
#include "errors/modIDataErrors.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <iostream>
#include <string_view>

namespace orvo::client {

namespace {

struct ErrorRow {
  std::optional<std::int32_t> number;  // nothing: any other
  std::string shown;
  std::string hexadecimal;
  std::string name;
  std::string text;
  std::string advice;
};

std::string Joined(std::string_view a, std::string_view b) {
  return std::string(a).append(b);
}

std::vector<ErrorRow> AllErrors() {
  constexpr std::uint32_t runtimeBase = 0x800A0000U;
  std::vector<ErrorRow> rows;
  const auto raised = [&](std::int32_t number, std::uint32_t hexadecimal, std::string_view name,
                          std::string text) {
    rows.push_back({number, std::to_string(number), Hexadecimal(hexadecimal), std::string(name),
                    std::move(text), std::string(AdviceFor(number))});
  };
  for (const DataErrorRow& row : DataErrorTable)
    raised(row.code, static_cast<std::uint32_t>(row.code), row.name,
           Joined(row.prefix, row.prefix.ends_with(' ') ? "" : ": ").append(row.meaning));
  for (const RuntimeErrorRow& row : RuntimeErrorTable) {
    const auto number = static_cast<std::int32_t>(row.error);
    raised(number, runtimeBase + static_cast<std::uint32_t>(number), "run-time error",
           Joined(row.text, ": ").append(row.meaning));
  }
  for (const ItemErrorRow& row : ItemErrors) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(row.code.data(), row.code.data() + row.code.size(), number);
    const bool isNumber = error == std::errc() && end == row.code.data() + row.code.size();
    rows.push_back({isNumber ? std::optional(number) : std::nullopt, std::string(row.code), "", "item error",
                    std::string(row.meaning), std::string(row.advice)});
  }
  return rows;
}

// Decimal, signed or not, or hexadecimal with 0x.
std::optional<std::int32_t> ParseNumber(std::string_view text) {
  std::int64_t number = 0;
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const std::string_view digits = isHexadecimal ? text.substr(2) : text;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), number, isHexadecimal ? 16 : 10);
  constexpr std::int64_t lowest = -2147483648LL;
  constexpr std::int64_t highest = 4294967295LL;
  if (error != std::errc() || end != digits.data() + digits.size() || number < lowest || number > highest)
    return std::nullopt;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
}

// The run-time numbers travel inside 0x800A0000 through automation.
std::int32_t WithoutRuntimeBase(std::int32_t number) {
  constexpr std::uint32_t facility = 0xFFFF0000U;
  constexpr std::uint32_t base = 0x800A0000U;
  const auto bits = static_cast<std::uint32_t>(number);
  return (bits & facility) == base ? static_cast<std::int32_t>(bits & ~facility) : number;
}

void PrintOne(const ErrorRow& row) {
  const auto writer = MakeRowWriter(Format::Table, {{"error", ""}, {row.shown, ""}}, std::cout);
  if (!row.hexadecimal.empty()) writer->Row({"hexadecimal", row.hexadecimal});
  writer->Row({"name", row.name});
  writer->Row({"text", row.text});
  writer->Row({"what to do", row.advice});
  writer->End();
}

}  // namespace

int RunErrors(const Options& options) {
  std::vector<ErrorRow> rows = AllErrors();
  const bool one = !options.errorNumber.empty();
  if (one) {
    const std::optional<std::int32_t> number = ParseNumber(options.errorNumber);
    if (!number)
      throw UsageError("'" + options.errorNumber +
                       "' is no error number: give one such as -2147221495, 0x80040009 or 53");
    std::erase_if(rows, [&](const ErrorRow& row) { return row.number != WithoutRuntimeBase(*number); });
    if (rows.empty())
      throw UsageError(
          "error " + options.errorNumber +
          " is none of the system's: as an item's error it is the driver's own code, look for it in "
          "the manual of the driver");
  }
  if (one && options.format == Format::Table) {
    for (std::size_t k = 0; k < rows.size(); ++k) {
      if (k > 0) std::cout << '\n';
      PrintOne(rows[k]);
    }
    return Success;
  }
  std::vector<Column> columns{
      {"number", "number"}, {"hexadecimal", "hexadecimal"}, {"name", "name"}, {"text", "text"}};
  if (options.format != Format::Table) columns.push_back({"advice", "advice"});
  const auto writer = MakeRowWriter(options.format, columns, std::cout);
  for (const ErrorRow& row : rows) {
    std::vector<Cell> cells{row.number ? Cell(*row.number) : Cell(row.shown), row.hexadecimal, row.name,
                            row.text};
    if (options.format != Format::Table) cells.emplace_back(row.advice);
    writer->Row(cells);
  }
  writer->End();
  return Success;
}

}  // namespace orvo::client
