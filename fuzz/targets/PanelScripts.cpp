// Panel scripts. Properties:
//   a script is read, or fails with error 10 and a text that names it, the number of mistakes and at most ten
//   lines of it
//     that are there, in order; each line is judged by itself, so that the mistakes of two halves add up, and
//     line ends do not matter
//   what the memory statements say is what stands in the panel's memory, the later over the earlier
//   a signal stays between its low and its high value
//   CreateDevice with a script that has mistakes fails and leaves the panel as it was; with a good one the
//   panel can be
//     opened, read, written and closed, and answers nothing after it has ended
#include "Property.h"
#include "Targets.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "simulated/PanelItem.h"
#include "simulated/PanelScript.h"
#include "simulated/SimulatedPanel.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <cstdlib>

namespace orvo::fuzz {

namespace {

constexpr std::size_t LongestScript = 10000;

class CountingSink final : public IEventNotify {
 public:
  int answers = 0;
  void AsyncReadComplete(const SafeArray<Variant>&, const SafeArray<std::int32_t>&) override { ++answers; }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>&, std::int32_t) override { ++answers; }
  void AsyncWriteComplete(const SafeArray<std::int32_t>&) override { ++answers; }
  void AsyncWriteGroupComplete(std::int32_t) override { ++answers; }
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t) override {}
};

// How many mistakes a script has; the text that tells of them is looked at.
std::size_t Mistakes(const std::string& text) {
  const std::optional<AutomationError> failure = FailureOf([&] { PanelScript::Parse("line 7", text); });
  if (!failure) return 0;
  const std::string& told = failure->Description();
  constexpr std::string_view beginning = "The panel script 'line 7' has ";
  Demand(failure->Number() == 10 && told.starts_with(beginning), "a mistake is error 10 and names the script",
         told);
  const std::size_t mistakes = std::strtoul(told.c_str() + beginning.size(), nullptr, 10);
  Demand(mistakes > 0, "mistakes are counted", told);
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  std::size_t shown = 0;
  std::size_t last = 0;
  for (std::size_t at = told.find("\r\nline "); at != std::string::npos; at = told.find("\r\nline ", at + 1)) {
    const std::size_t line = std::strtoul(told.c_str() + at + 7, nullptr, 10);
    Demand(line > last && line <= lines, "mistakes are told in the order of their lines", told);
    last = line;
    ++shown;
  }
  Demand(shown == std::min(mistakes, PanelScript::MistakesShown), "the first ten mistakes are told", told);
  return mistakes;
}

void CheckLines(const std::string& text) {
  const std::size_t mistakes = Mistakes(text);
  const std::size_t middle = text.find('\n', text.size() / 2);
  if (middle != std::string::npos)
    Demand(Mistakes(text.substr(0, middle)) + Mistakes(text.substr(middle + 1)) == mistakes,
           "each line is judged by itself");
  std::string windows;
  for (const char each : text)
    windows += each == '\n' ? std::string("\r\n") : std::string(1, each);
  if (text.find('\r') == std::string::npos && !text.ends_with('\n'))
    Demand(Mistakes(windows) == mistakes, "line ends do not matter");
}

std::int64_t Numeric(const Variant& bytes) {
  std::uint64_t number = 0;
  for (std::size_t k = bytes.Bytes().size(); k-- > 0;)
    number = number << 8 | bytes.Bytes()[k];
  return static_cast<std::int64_t>(number);
}

// The last statement is not covered by another one.
void CheckMemory(const PanelScript& script) {
  if (script.memory.empty()) return;
  PanelMemory memory;
  script.PutMemory(memory);
  const PanelScript::MemoryEntry& entry = script.memory.back();
  const Variant read = ReadPanelItem(memory, entry.item, entry.wordLength);
  Demand(read.Bytes().size() == 2 * static_cast<std::size_t>(entry.wordLength), "an item has its length");
  switch (entry.item.kind) {
    case PanelItemKind::Bit:
    case PanelItemKind::Byte:
      Demand(BitOrByteOfWord(entry.item, static_cast<std::uint16_t>(Numeric(read))) == ToI4(entry.value),
             "a bit or byte stands in the memory as the script says");
      break;
    case PanelItemKind::Word:
      Demand(Numeric(read) == (ToI8(entry.value) & 0xFFFF), "a word stands in the memory as the script says");
      break;
    case PanelItemKind::DoubleWord:
      Demand(Numeric(read) == (ToI8(entry.value) & 0xFFFFFFFF),
             "a double word stands in the memory as the script says");
      break;
    case PanelItemKind::Single:
      Demand(memory.Single(entry.item.address) == ToR4(entry.value),
             "a single stands in the memory as the script says");
      break;
    default:
      Demand(entry.value.Bytes().size() <= read.Bytes().size() &&
                 std::equal(entry.value.Bytes().begin(), entry.value.Bytes().end(), read.Bytes().begin()),
             "bytes stand in the memory as the script says");
  }
}

void CheckSignals(const PanelScript& script) {
  for (const PanelSignal& signal : script.signals)
    for (const std::int64_t moment : {0, 1, 49, 1000, 8999, 86400000}) {
      if (signal.kind == PanelSignalKind::Clock) continue;
      const double value = signal.At(moment);
      Demand(value >= signal.low && (value <= signal.high || signal.kind == PanelSignalKind::Constant),
             "a signal stays between its low and its high value",
             [&] { return signal.identifier + ": " + ToText(Variant(value)); });
    }
}

// A panel with the script: opened, asked, closed and ended in virtual time.
void CheckPanel(const std::string& text, bool isScript) {
  SimulatedPlatform platform;
  MemoryFiles files;
  files.PutFile("plant.panel", text);
  const auto sink = std::make_shared<CountingSink>();
  auto panel = SimulatedPanel::Make({platform, files});
  panel->LoadScript("before", "memory WO100 17\nset Timeout 77\n");
  panel->SetEventSink(sink);
  const std::optional<AutomationError> failure = FailureOf([&] { panel->CreateDevice("PanelB?plant.panel"); });
  if (!isScript) {
    Demand(failure && failure->Number() == 10, "a script with mistakes fails CreateDevice with 10");
    Demand(panel->Memory().Word(100) == 17 && panel->Timeout() == 77,
           "a script with mistakes leaves the panel as it was");
    return;
  }
  const SafeArray<double> addresses{PanelAddress{PanelItemKind::Word, 100, 0}.Encode(),
                                    PanelAddress{PanelItemKind::Single, 112, 0}.Encode()};
  int accepted = 0;
  FailureOf([&] { panel->OpenCommunication(true); });
  for (int round = 0; round < 6; ++round) {
    if (!FailureOf([&] { panel->ReadItems(addresses, SafeArray<std::int16_t>{1, 2}); })) ++accepted;
    platform.Advance(std::chrono::milliseconds(400));
    if (!FailureOf([&] {
          panel->WriteItems(addresses, SafeArray<std::int16_t>{1, 2}, {Variant(round), Variant(0.5F)});
        }))
      ++accepted;
    platform.Advance(std::chrono::milliseconds(40));
  }
  FailureOf([&] { panel->CloseCommunication(); });
  platform.Advance(std::chrono::milliseconds(100));
  Demand(sink->answers <= 2 * accepted, "a request is answered twice at most");
  panel.reset();
  const int answers = sink->answers;
  platform.Advance(std::chrono::hours(1));
  Demand(sink->answers == answers, "a panel that has ended answers nothing");
}

}  // namespace

void PanelScripts(InputReader& input) {
  std::string text(input.Rest());
  if (text.size() > LongestScript) return;
  const bool isScript = Mistakes(text) == 0;
  if (IsWellFormedUtf8(text) && !text.starts_with("\xEF\xBB\xBF")) CheckLines(text);
  if (isScript) {
    const PanelScript script = PanelScript::Parse("line 7", text);
    CheckMemory(script);
    CheckSignals(script);
  }
  CheckPanel(text, isScript);
}

}  // namespace orvo::fuzz
