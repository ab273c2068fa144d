#include "simulated/PanelSetting.h"

#include "values/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace orvo {

namespace {

using O = PanelOptions;
using Member = std::variant<float O::*, std::string O::*, std::int32_t O::*, std::int16_t O::*, bool O::*,
                            std::optional<std::int32_t> O::*, std::optional<bool> O::*, PanelImage O::*,
                            std::set<std::string> O::*>;

constexpr std::int64_t Lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t Highest = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t Lowest16 = std::numeric_limits<std::int16_t>::min();
constexpr std::int64_t Highest16 = std::numeric_limits<std::int16_t>::max();

struct Row {
  std::string_view name;
  Member member;
  std::string_view example;
  std::int64_t minimum = Lowest;  // of a whole number
  std::int64_t maximum = Highest;
};

const std::array<Row, 24> Rows{{
    {"BootVersion", &O::bootVersion, "set BootVersion 1.25"},
    {"BootDate", &O::bootDate, "set BootDate \"2024-01-15\""},
    {"FirmwareVersion", &O::firmwareVersion, "set FirmwareVersion 2.5"},
    {"BoardDescription", &O::boardDescription, "set BoardDescription \"Line 7\""},
    {"BoardStatus", &O::boardStatus, "set BoardStatus 1"},
    {"CommunicationStatus", &O::communicationStatus, "set CommunicationStatus 2"},
    {"BaudRate", &O::baudRate, "set BaudRate 19200"},
    {"GroupCapacity", &O::groupCapacity, "set GroupCapacity 4", 0},
    {"MinorVersion", &O::minorVersion, "set MinorVersion 7", Lowest16, Highest16},
    {"MajorVersion", &O::majorVersion, "set MajorVersion 2", Lowest16, Highest16},
    {"Description", &O::description, "set Description \"Panel of line 7\""},
    {"ComPortNumber", &O::comPortNumber, "set ComPortNumber 3", 1, 255},
    {"ProjectName", &O::projectName, "set ProjectName \"plant.prj\""},
    {"GroupTransfer", &O::groupTransfer, "set GroupTransfer True"},
    {"WordIO", &O::wordIO, "set WordIO 1", Lowest16, Highest16},
    {"Timeout", &O::timeout, "set Timeout 500", 0, Highest16},
    {"NetworkType", &O::networkType, "set NetworkType 1"},
    {"FirmwareDownloadNeeded", &O::firmwareDownloadNeeded, "set FirmwareDownloadNeeded True"},
    {"ProjectDownloadNeeded", &O::projectDownloadNeeded, "set ProjectDownloadNeeded False"},
    {"HeldFirmware", &O::heldFirmware, "set HeldFirmware \"plant\""},
    {"HeldProject", &O::heldProject, "set HeldProject \"plant\""},
    {"MaximumGroupWords", &O::maximumGroupWords, "set MaximumGroupWords 128", 0},
    {"MaximumGroupItems", &O::maximumGroupItems, "set MaximumGroupItems 32", 0},
    {"DeviceKinds", &O::deviceKinds, R"(set DeviceKinds "PanelB" "PanelC")"},
}};

constexpr std::array<std::int32_t, 10> BaudRates{300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

bool ReadTruth(PanelScriptLine& line) {
  const std::string word = line.Word("the value");
  if (word == "True") return true;
  if (word != "False") line.Refuse("the value '" + word + "' is neither True nor False");
  return false;
}

// Reads the value of a setting that is held as T.
template <class T>
T Read(PanelScriptLine& line, const Row& row) {
  if constexpr (std::is_same_v<T, std::optional<std::int32_t>>)
    return Read<std::int32_t>(line, row);
  else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, std::optional<bool>>)
    return ReadTruth(line);
  else if constexpr (std::is_same_v<T, float>) {
    constexpr double largest = std::numeric_limits<float>::max();
    return static_cast<float>(line.Number("the value", -largest, largest));
  } else if constexpr (std::is_same_v<T, std::string>)
    return line.Text("the value");
  else if constexpr (std::is_same_v<T, PanelImage>)
    return {line.Text("the name"), 0};
  else if constexpr (std::is_same_v<T, std::set<std::string>>) {
    T names{line.Text("the device kind")};
    while (!line.AtEnd())
      names.insert(line.Text("the device kind"));
    return names;
  } else
    return static_cast<T>(line.Whole("the value", row.minimum, row.maximum));
}

const Row& FindRow(PanelScriptLine& line) {
  const std::string name = line.Word("the name of what is set");
  const auto row = std::find_if(Rows.begin(), Rows.end(), [&](const Row& own) { return own.name == name; });
  if (row != Rows.end()) return *row;
  const auto similar = std::find_if(Rows.begin(), Rows.end(), [folded = FoldCase(name)](const Row& own) {
    return FoldCase(own.name) == folded;
  });
  if (similar != Rows.end()) line.Refuse("'" + name + "' must be written " + std::string(similar->name));
  std::string names;
  for (const Row& own : Rows)
    names += (names.empty() ? "" : ", ") + std::string(own.name);
  line.Refuse("nothing of the name '" + name + "' can be set, only " + names);
}

}  // namespace

bool IsPanelBaudRate(std::int32_t rate) noexcept {
  return std::find(BaudRates.begin(), BaudRates.end(), rate) != BaudRates.end();
}

PanelSetting ReadPanelSetting(PanelScriptLine& line) {
  const Row& row = FindRow(line);
  line.PutExample(row.example);
  PanelSetting setting = std::visit(
      [&](auto member) -> PanelSetting {
        using T = std::remove_reference_t<decltype(std::declval<O&>().*member)>;
        T value = Read<T>(line, row);
        return [member, value = std::move(value)](O& options) { options.*member = value; };
      },
      row.member);
  line.RequireEnd();
  O options;
  setting(options);
  if (!IsPanelBaudRate(options.baudRate)) {
    std::string rates;
    for (const std::int32_t rate : BaudRates)
      rates += (rates.empty() ? "" : ", ") + std::to_string(rate);
    line.Refuse("the panel has no baud rate " + std::to_string(options.baudRate) + ", only " + rates);
  }
  return setting;
}

std::vector<std::string_view> PanelSettingExamples() {
  std::vector<std::string_view> examples;
  examples.reserve(Rows.size());
  for (const Row& row : Rows)
    examples.push_back(row.example);
  return examples;
}

}  // namespace orvo
