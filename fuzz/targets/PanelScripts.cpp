// Panel scripts. Properties:
// - a script is read, or fails with error 10 and a text that names it, the number of mistakes and at most ten
//   lines of it that are there, in order
// - each line is judged by itself, so that the mistakes of two halves add up, and line ends do not matter
// - what the memory statements say is what stands in the panel's memory, the later over the earlier
// - a signal stays between its low and its high value
// - CreateDevice with a script that has mistakes fails and leaves the panel as it was
// - with a script that has neither faults nor link statements the panel can be opened, read, written and
// closed;
//   each request is taken and answered once, without errors, when its time has come; what was written is there
// - with any other script a request is answered twice at most
// - a panel answers nothing after it has ended
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
  int reads = 0;
  int writes = 0;
  SafeArray<Variant> values;           // of the latest read
  SafeArray<std::int32_t> itemErrors;  // of the latest answer
  int Answers() const { return reads + writes + groups_; }

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues, const SafeArray<std::int32_t>& Errors) override {
    ++reads;
    values = DATAValues;
    itemErrors = Errors;
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>&, std::int32_t) override { ++groups_; }
  void AsyncWriteComplete(const SafeArray<std::int32_t>& Errors) override {
    ++writes;
    itemErrors = Errors;
  }
  void AsyncWriteGroupComplete(std::int32_t) override { ++groups_; }
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t) override {}

 private:
  int groups_ = 0;
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

// A word and a single, asked for round after round. The panel has the script already.
class AskedPanel {
 public:
  AskedPanel(SimulatedPlatform& platform, SimulatedPanel& panel, CountingSink& sink)
      : platform_(platform), panel_(panel), sink_(sink) {}

  // Of a panel without faults each step is as it should be. `standsStill`: no signal moves the two items.
  void AskSound(bool standsStill) {
    constexpr std::chrono::milliseconds Spare{100};  // more than the shortest period of a timer
    const auto delay = panel_.Options().completionDelay;
    Succeed("opened", [&] { panel_.OpenCommunication(true); });
    for (int round = 1; round <= 3; ++round) {
      Succeed("written", [&] { Write(round); });
      Await(delay + Spare, sink_.reads, sink_.writes + 1);
      Succeed("read", [&] { Read(); });
      Await(delay + Spare, sink_.reads + 1, sink_.writes);
      Demand(sink_.values.Size() == 2, "a read brings a value for each item");
      if (standsStill)
        Demand(Numeric(sink_.values.View()[0]) == round && panel_.Memory().Single(112) == Half(round),
               "what was written is what is read", std::to_string(round));
    }
    Succeed("asked before it is closed", [&] { Read(); });
    Succeed("closed", [&] { panel_.CloseCommunication(); });
    // What is on its way is answered at once.
    Await(std::chrono::milliseconds(0), sink_.reads + 1, sink_.writes, 5);
  }

  void AskAny() {
    int accepted = 0;
    FailureOf([&] { panel_.OpenCommunication(true); });
    for (int round = 0; round < 6; ++round) {
      if (!FailureOf([&] { Read(); })) ++accepted;
      platform_.Advance(std::chrono::milliseconds(400));
      if (!FailureOf([&] { Write(round); })) ++accepted;
      platform_.Advance(std::chrono::milliseconds(40));
    }
    FailureOf([&] { panel_.CloseCommunication(); });
    platform_.Advance(std::chrono::milliseconds(100));
    Demand(sink_.Answers() <= 2 * accepted, "a request is answered twice at most");
  }

 private:
  static float Half(int round) { return static_cast<float>(round) / 2; }
  void Read() { panel_.ReadItems(addresses_, {1, 2}); }
  void Write(int round) { panel_.WriteItems(addresses_, {1, 2}, {Variant(round), Variant(Half(round))}); }

  template <class Call>
  static void Succeed(const char* what, Call&& call) {
    const std::optional<AutomationError> failure = FailureOf(call);
    Demand(!failure, "a panel without faults does what it is told",
           [&] { return std::string(what) + ": " + failure->Description(); });
  }
  // After `time` there are so many answers, the latest with `error` for both items.
  void Await(std::chrono::milliseconds time, int reads, int writes, std::int32_t error = 0) {
    platform_.Advance(time);
    Demand(sink_.reads == reads && sink_.writes == writes && sink_.Answers() == reads + writes,
           "a panel without faults answers each request once", [&] {
             return std::to_string(sink_.reads) + " reads and " + std::to_string(sink_.writes) + " writes of " +
                    std::to_string(reads) + " and " + std::to_string(writes);
           });
    Demand(sink_.itemErrors == SafeArray<std::int32_t>{error, error},
           "a panel without faults answers without errors");
  }

  SimulatedPlatform& platform_;
  SimulatedPanel& panel_;
  CountingSink& sink_;
  const SafeArray<double> addresses_{PanelAddress{PanelItemKind::Word, 100, 0}.Encode(),
                                     PanelAddress{PanelItemKind::Single, 112, 0}.Encode()};
};

// A panel with the script in virtual time: asked, and ended. `script` is null when it has mistakes.
void CheckPanel(const std::string& text, const PanelScript* script) {
  SimulatedPlatform platform;
  MemoryFiles files;
  files.PutFile("plant.panel", text);
  const auto sink = std::make_shared<CountingSink>();
  auto panel = SimulatedPanel::Make({platform, files});
  panel->LoadScript("before", "memory WO100 17\nset Timeout 77\n");
  panel->SetEventSink(sink);
  const std::optional<AutomationError> failure = FailureOf([&] { panel->CreateDevice("PanelB?plant.panel"); });
  if (script == nullptr) {
    Demand(failure && failure->Number() == 10, "a script with mistakes fails CreateDevice with 10");
    Demand(panel->Memory().Word(100) == 17 && panel->Timeout() == 77,
           "a script with mistakes leaves the panel as it was");
    return;
  }
  AskedPanel asked(platform, *panel, *sink);
  if (script->faults.empty() && script->cuts.empty()) {
    Demand(!failure, "a script without mistakes is taken", [&] { return failure->Description(); });
    asked.AskSound(script->signals.empty());
  } else {
    asked.AskAny();
  }
  panel.reset();
  const int answers = sink->Answers();
  platform.Advance(std::chrono::hours(1));
  Demand(sink->Answers() == answers, "a panel that has ended answers nothing");
}

}  // namespace

void PanelScripts(InputReader& input) {
  std::string text(input.Rest());
  if (text.size() > LongestScript) return;
  const bool isScript = Mistakes(text) == 0;
  if (IsWellFormedUtf8(text) && !text.starts_with("\xEF\xBB\xBF")) CheckLines(text);
  std::optional<PanelScript> script;
  if (isScript) {
    script = PanelScript::Parse("line 7", text);
    CheckMemory(*script);
    CheckSignals(*script);
  }
  CheckPanel(text, script ? &*script : nullptr);
}

}  // namespace orvo::fuzz
