#include "simulated/PanelStatements.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelScriptLine.h"
#include "values/Text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <optional>
#include <utility>

namespace orvo {

namespace {

using namespace std::chrono_literals;
using Line = PanelScriptLine;

// --- Numbers as items hold them.

struct Range {
  std::int64_t low;
  std::int64_t high;
};

// Of a whole number, with and without sign.
Range RangeOf(PanelItemKind kind) {
  switch (kind) {
    case PanelItemKind::Bit:
      return {0, 1};
    case PanelItemKind::Byte:
      return {0, 255};
    case PanelItemKind::Word:
      return {std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::uint16_t>::max()};
    default:
      return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::uint32_t>::max()};
  }
}

double ReadNumberFor(PanelItemKind kind, Line& line, const std::string& what) {
  constexpr double largest = std::numeric_limits<float>::max();
  if (kind == PanelItemKind::Single) return line.Number(what, -largest, largest);
  const Range range = RangeOf(kind);
  return line.Number(what, static_cast<double>(range.low), static_cast<double>(range.high));
}

// --- memory

Variant ReadText(Line& line, std::size_t room) {
  const std::string text = line.Text("the value");
  std::vector<std::uint8_t> bytes = EncodeWindows1252(text);
  if (DecodeWindows1252(bytes) != text) line.Refuse("the panel lacks a character of \"" + text + "\"");
  if (bytes.size() > room)
    line.Refuse("the text \"" + text + "\" has " + std::to_string(bytes.size()) +
                " characters, the item has room for " + std::to_string(room));
  bytes.resize(room);
  return Variant::OfBytes(bytes);
}

Variant ReadBytes(Line& line, std::size_t room) {
  constexpr std::string_view digits = "0123456789ABCDEFabcdef";
  std::vector<std::uint8_t> bytes;
  do {
    const std::string word = line.Word("the first byte");
    if (word.size() != 2 || word.find_first_not_of(digits) != std::string::npos)
      line.Refuse("'" + word + "' is no byte of two hexadecimal digits");
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(word, nullptr, 16)));
  } while (!line.AtEnd());
  if (bytes.size() > room)
    line.Refuse(std::to_string(bytes.size()) + " bytes are given, the item has room for " +
                std::to_string(room));
  bytes.resize(room);
  return Variant::OfBytes(bytes);
}

void ReadMemory(Line& line, PanelScript& script) {
  line.PutExample("memory WO100 1234");
  const PanelIdentifier item = PanelIdentifier::Parse(line.Word("the item"));
  const auto room = 2 * static_cast<std::size_t>(item.wordLength);
  Variant value;
  switch (item.address.kind) {
    case PanelItemKind::String:
      line.PutExample("memory ST0020010 \"Vanilla 3%\"");
      value = ReadText(line, room);
      break;
    case PanelItemKind::Raw:
      line.PutExample("memory RA036 A0 A1 A2 A3 A4 A5");
      value = ReadBytes(line, room);
      break;
    case PanelItemKind::Single:
      line.PutExample("memory FL112 20.5");
      value = ReadNumberFor(PanelItemKind::Single, line, "the value");
      break;
    default: {
      const Range range = RangeOf(item.address.kind);
      value = line.Whole("the value", range.low, range.high);
    }
  }
  line.RequireEnd();
  script.memory.push_back({item.address, item.wordLength, std::move(value)});
}

// --- signal

struct SignalRow {
  std::string_view name;
  PanelSignalKind kind;
  std::string_view example;
};
constexpr std::array<SignalRow, 6> SignalRows{{
    {"constant", PanelSignalKind::Constant, "signal WO120 constant 7"},
    {"ramp", PanelSignalKind::Ramp, "signal BY103 ramp 0 to 100 every 8 s"},
    {"sine", PanelSignalKind::Sine, "signal FL112 sine 18.5 to 21.5 every 9 s"},
    {"square", PanelSignalKind::Square, "signal BI100.3 square 0 to 1 every 3 s"},
    {"counter", PanelSignalKind::Counter, "signal DW108 counter 70000 to 70500 every 500 ms"},
    {"clock", PanelSignalKind::Clock, "signal ST0030019 clock every 1 s"},
}};

void ReadSignal(Line& line, PanelScript& script) {
  line.PutExample(SignalRows[2].example);
  PanelSignal signal;
  signal.identifier = line.Word("the item");
  const PanelItemKind item = PanelIdentifier::Parse(signal.identifier).address.kind;
  const std::string kind = line.Word("the kind of signal");
  const auto row = std::find_if(SignalRows.begin(), SignalRows.end(),
                                [&](const SignalRow& own) { return own.name == kind; });
  if (row == SignalRows.end())
    line.Refuse("'" + kind + "' is no signal: constant, ramp, sine, square, counter or clock");
  line.PutExample(row->example);
  signal.kind = row->kind;
  signal.periodMs = 1;
  const bool isNumber = item != PanelItemKind::String && item != PanelItemKind::Raw;
  if (signal.kind != PanelSignalKind::Clock) {
    if (!isNumber) line.Refuse("'" + signal.identifier + "' is no number");
    const bool constant = signal.kind == PanelSignalKind::Constant;
    signal.low = ReadNumberFor(item, line, constant ? "the value" : "the low value");
    if (!constant) line.Expect("to");
    signal.high = constant ? signal.low : ReadNumberFor(item, line, "the high value");
    if (signal.high < signal.low) line.Refuse("the high value lies below the low one");
  }
  if (signal.kind != PanelSignalKind::Constant) {
    line.Expect("every");
    signal.periodMs = line.Time("the period", 1ms).count();
  }
  line.RequireEnd();
  try {
    static_cast<void>(PanelSignals({signal}));
  } catch (const AutomationError& error) {
    line.Refuse(error.Description());
  }
  script.signals.push_back(std::move(signal));
}

// --- fault

struct FaultRow {
  PanelFaultAction action;
  std::string_view example;
  std::string_view hits;  // what it makes sense for
};
// Row k describes the action k.
constexpr std::array<FaultRow, 11> FaultRows{{
    {PanelFaultAction::Fail, "fault ReadItems fail 3 \"line noise\"", "every operation and item"},
    {PanelFaultAction::Refuse, "fault WriteItems refuse",
     "ReadItems, WriteItems, ReadGroup, WriteGroup, SetConfigurationMode, CheckVariable, CreateDevice and "
     "items"},
    {PanelFaultAction::Delay, "fault ReadItems delay 2 s", "reads, writes and items"},
    {PanelFaultAction::Never, "fault WriteItems never", "reads, writes and items"},
    {PanelFaultAction::Twice, "fault ReadItems twice", "reads, writes and items"},
    {PanelFaultAction::Late, "fault ReadItems late 3 s", "reads, writes and items"},
    {PanelFaultAction::Short, "fault ReadItems short 1", "ReadItems, WriteItems, ReadGroup and items"},
    {PanelFaultAction::Long, "fault ReadItems long 1", "ReadItems, WriteItems, ReadGroup and items"},
    {PanelFaultAction::Break, "fault DownloadProject break at block 2", "DownloadFirmware and DownloadProject"},
    {PanelFaultAction::Restart, "fault DownloadFirmware restart at block 3",
     "DownloadFirmware and DownloadProject"},
    {PanelFaultAction::Corrupt, "fault DownloadFirmware corrupt at block 3",
     "DownloadFirmware and DownloadProject"},
}};

void ReadTarget(Line& line, const std::string& target, PanelFault& fault) {
  fault.operation = FindPanelOperation(target);
  if (fault.operation) return;
  const std::string_view similar = SimilarPanelOperation(target);
  if (!similar.empty()) line.Refuse("the operation '" + target + "' must be written " + std::string(similar));
  try {
    fault.item = PanelIdentifier::Parse(target).address.Encode();
  } catch (const AutomationError&) {
    // What begins like an item is told what is wrong with it as such.
    const bool likeAnItem = target.size() > 2 && target[2] >= '0' && target[2] <= '9';
    if (likeAnItem) throw;
    line.Refuse("'" + target + "' is neither an operation nor an item");
  }
}

void ReadFailure(Line& line, const std::string& target, PanelFault& fault) {
  constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
  if (fault.item) line.PutExample("fault WO104 fail 5");
  fault.number = static_cast<std::int32_t>(line.Whole("the error number", lowest, highest));
  if (fault.number == 0) line.Refuse("the error number 0 is no failure");
  if (fault.operation) fault.text = target + " fails by the panel's script";
  if (!line.AtText()) return;
  if (fault.item) line.Refuse("the error of an item has no text");
  fault.text = line.Text("the text");
}

// What follows the action itself.
void ReadDetails(Line& line, const std::string& target, PanelFault& fault) {
  constexpr std::int64_t most = 1'000'000;
  switch (fault.action) {
    case PanelFaultAction::Fail:
      ReadFailure(line, target, fault);
      break;
    case PanelFaultAction::Delay:
    case PanelFaultAction::Late:
      fault.time = line.Time("the time", 1ms);
      break;
    case PanelFaultAction::Short:
    case PanelFaultAction::Long:
      fault.count = static_cast<std::size_t>(line.Whole("the number of elements", 1, most));
      break;
    case PanelFaultAction::Corrupt:
      if (!line.Skip("at")) break;  // the image
      line.Expect("block");
      fault.count = static_cast<std::size_t>(line.Whole("the block", 1, most));
      break;
    case PanelFaultAction::Break:
    case PanelFaultAction::Restart:
      line.Expect("at");
      line.Expect("block");
      fault.count = static_cast<std::size_t>(line.Whole("the block", 1, most));
      break;
    default:
      break;
  }
}

void ReadTails(Line& line, PanelFault& fault) {
  constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
  bool after = false;
  bool times = false;
  bool chance = false;
  while (!line.AtEnd()) {
    if (!after && line.Skip("after")) {
      after = true;
      fault.after = static_cast<std::uint64_t>(line.Whole("the number of calls that pass", 0, most));
    } else if (!times && line.Skip("times")) {
      times = true;
      fault.times = static_cast<std::uint64_t>(line.Whole("the number of times", 1, most));
    } else if (!chance && line.Skip("chance")) {
      chance = true;
      fault.chance = line.Number("the chance", 0, 100);
      line.Expect("%");
    } else {
      line.RequireEnd();
    }
  }
}

void ReadFault(Line& line, PanelScript& script) {
  line.PutExample(FaultRows[0].example);
  PanelFault fault;
  const std::string target = line.Word("the operation or item");
  ReadTarget(line, target, fault);
  const std::string name = line.Word("what happens");
  const auto action = FindPanelFaultAction(name);
  if (!action) {
    std::string names;
    for (const FaultRow& row : FaultRows)
      names += (names.empty() ? "" : ", ") + std::string(PanelFaultActionName(row.action));
    line.Refuse("'" + name + "' is no fault, these are: " + names);
  }
  const FaultRow& row = FaultRows[static_cast<std::size_t>(*action)];
  line.PutExample(row.example);
  if (!PanelFaultFits(*action, fault.operation))
    line.Refuse("'" + name + "' makes no sense for " + target + ", only for " + std::string(row.hits));
  fault.action = *action;
  ReadDetails(line, target, fault);
  ReadTails(line, fault);
  script.faults.push_back(std::move(fault));
}

// --- The others.

void ReadSeed(Line& line, PanelScript& script) {
  line.PutExample("seed 42");
  const std::int64_t seed = line.Whole("the seed", 0, std::numeric_limits<std::uint32_t>::max());
  line.RequireEnd();
  script.seed = static_cast<std::uint32_t>(seed);
}

void ReadAnswer(Line& line, PanelScript& script) {
  line.PutExample("answer after 20 ms");
  line.Expect("after");
  const std::chrono::milliseconds delay = line.Time("the time", 0ms);
  line.RequireEnd();
  script.settings.emplace_back([delay](PanelOptions& options) { options.completionDelay = delay; });
}

void ReadSet(Line& line, PanelScript& script) {
  line.PutExample("set BoardDescription \"Line 7\"");
  script.settings.push_back(ReadPanelSetting(line));
}

void ReadLink(Line& line, PanelScript& script) {
  line.PutExample("link cut at 10 s for 5 s every 60 s");
  line.Expect("cut");
  line.Expect("at");
  PanelLinkCut cut;
  cut.atMs = line.Time("the moment", 0ms).count();
  if (line.Skip("for")) {
    cut.forMs = line.Time("the length", 1ms).count();
    if (line.Skip("every")) {
      cut.everyMs = line.Time("the period", 1ms).count();
      if (cut.everyMs <= cut.forMs) line.Refuse("the period must be longer than the cut");
    }
  }
  line.RequireEnd();
  script.cuts.push_back(cut);
}

struct StatementRow {
  std::string_view keyword;
  void (*read)(Line& line, PanelScript& script);
};
constexpr std::array<StatementRow, 7> Statements{{{"seed", ReadSeed},
                                                  {"answer", ReadAnswer},
                                                  {"set", ReadSet},
                                                  {"memory", ReadMemory},
                                                  {"signal", ReadSignal},
                                                  {"fault", ReadFault},
                                                  {"link", ReadLink}}};

}  // namespace

void ReadPanelStatement(std::string_view text, PanelScript& script) {
  Line line(text);
  if (line.AtEnd()) return;
  const std::string keyword = line.Word("the statement");
  for (const StatementRow& row : Statements)
    if (row.keyword == keyword) return row.read(line, script);
  line.Refuse("'" + keyword + "' is no statement: seed, answer, set, memory, signal, fault or link");
}

}  // namespace orvo
