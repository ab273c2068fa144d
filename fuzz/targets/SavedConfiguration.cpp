// The saved configuration file, with the simulated panel as device. Properties:
// - without the section of the parameters a load fails with errInvalidFileFormat and changes nothing but the
//   project name
// - otherwise a load that passes failures over never fails, and one that does not fail either does the same
// - what a failed load leaves is in order, and a load that follows it does what it does on a new server
// - names and handles are unique, an item is never both signed and binary coded decimal
// - the length of a group is the sum of its items', and an overflow exactly when that is beyond 32 bits
// - what was loaded is saved, unless a name cannot be carried (errInvalidName, errInvalidItemId), and what was
//   saved loads to the same, a buffer one byte shorter aside
// - a check tells something of every file whose load fails, with a line that is there
#include "server/SavedConfiguration.h"

#include "PlainIni.h"
#include "Property.h"
#include "Targets.h"
#include "errors/modIDataErrors.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <set>

namespace orvo::fuzz {

namespace {

constexpr std::size_t LongestText = 20000;
constexpr double LargestBuffer = 100'000;

class ConfiguredSite {
  // What the server stands on; ends after it.
  SimulatedPlatform platform_;
  DriverRegistry drivers_;

 public:
  ConfiguredSite() {
    files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n2=PanelB\n");
    RegisterSimulatedPanel(drivers_);
    server = KELDataServer::Create({platform_, files, drivers_});
    server->SetDriverConfigurationFile("drivers.ini");
    server->PutDeviceType(1);
    const auto group = server->KELDataGroups()->Add("Before");
    group->KELDataItems()->Add("WO100", "Level");
    group->SetCompiledBufferDimension(4);
  }

  // Everything that a saved configuration holds, and more; with `shorterBuffers` as a save and a load leave it.
  std::string State(bool shorterBuffers = false) const {
    std::string text =
        "type " + std::to_string(server->DeviceType()) + " name '" + server->DeviceName() + "' baud " +
        std::to_string(server->BaudRate()) + " port " + std::to_string(server->ComPortNumber()) + " io " +
        std::to_string(server->WordIO()) + " time-out " + std::to_string(server->Timeout()) + " flags " +
        std::to_string(server->AutoDownloadFirmware()) + std::to_string(server->AutoDownloadProject());
    for (const auto& group : server->KELDataGroups()->NewEnum()) {
      std::size_t bytes = group->CompiledBuffer().Size();
      if (shorterBuffers && bytes > 1) --bytes;
      text += "\ngroup '" + group->GroupName() + "' " + std::to_string(group->Handle()) + " active " +
              std::to_string(group->Active()) + " subscribed " + std::to_string(group->Subscribed()) +
              " rate " + std::to_string(group->UpdateRate()) + " id " + std::to_string(group->GroupId()) +
              " buffer " + std::to_string(bytes);
      for (const auto& item : group->KELDataItems()->NewEnum())
        text += "\n  item '" + item->ItemName() + "' '" + item->ItemId() + "' " +
                std::to_string(item->Handle()) + " type " + std::to_string(item->ItemType()) + " at " +
                std::to_string(item->ItemGroupBufferOffset()) + " words " +
                std::to_string(item->ItemWordLength()) + " address " +
                std::to_string(std::bit_cast<std::uint64_t>(item->CompiledAddress())) + " rights " +
                std::to_string(item->AccessRights()) + " signed " + std::to_string(item->Signed()) + " bcd " +
                std::to_string(item->BCD());
    }
    return text;
  }

  // Names and handles are unique, and no item is both signed and binary coded decimal.
  void DemandOrder() const {
    std::set<std::string> groupNames;
    std::set<std::int32_t> groupHandles;
    for (const auto& group : server->KELDataGroups()->NewEnum()) {
      Demand(groupNames.insert(group->GroupName()).second && groupHandles.insert(group->Handle()).second,
             "names and handles of groups are unique", group->GroupName());
      std::set<std::string> names;
      std::set<std::int32_t> handles;
      std::int64_t words = 0;
      for (const auto& item : group->KELDataItems()->NewEnum()) {
        Demand(names.insert(item->ItemName()).second && handles.insert(item->Handle()).second,
               "names and handles of items are unique", item->ItemName());
        Demand(!(item->Signed() && item->BCD()), "an item is never both signed and BCD", item->ItemName());
        words += item->ItemWordLength();
      }
      std::int64_t total = words;
      const std::int32_t number = NumberOf([&] { total = group->Items().TotalWordLength(); });
      const bool fits = words >= std::numeric_limits<std::int32_t>::min() &&
                        words <= std::numeric_limits<std::int32_t>::max();
      Demand(number == (fits ? 0 : 6) && total == words,
             "the group's length is the sum of its items', or error 6 beyond 32 bits",
             [&] { return group->GroupName() + ": " + std::to_string(words); });
    }
  }

  std::optional<AutomationError> Load(const std::string& text, bool ignoreErrors) {
    files.PutFile("line.cfg", text);
    const std::optional<AutomationError> failure =
        FailureOf([&] { server->LoadConfigurationFromFile("line.cfg", Variant(ignoreErrors)); });
    Demand(server->ProjectName() == "line.cfg", "a load makes the file's name the project name");
    DemandOrder();
    return failure;
  }

  MemoryFiles files;
  std::shared_ptr<KELDataServer> server;
};

// A buffer of more bytes than a test has is no finding.
bool AsksForTooMuch(const PlainIni& plain) {
  return std::any_of(plain.lines.begin(), plain.lines.end(), [](const PlainIni::Line& line) {
    if (line.section != saved::GroupsSection) return false;
    std::string_view rest = line.value;
    for (int field = 1; field < 5; ++field) {
      const std::size_t end = rest.find('#');
      if (end == std::string_view::npos) return false;
      rest.remove_prefix(end + 1);
    }
    const std::optional<double> size = ParseDecimal(rest.substr(0, rest.find('#')));
    return size.has_value() && *size > LargestBuffer;
  });
}

bool IsDocumented(std::int32_t number) {
  switch (number) {
    case errInvalidFileFormat:
    case errCommunication:
    case errInvalidDeviceType:
    case errInvalidGroupSize:
    case errInvalidName:
    case errInvalidItemId:
    case errInvalidValue:
    case errInvalidState:
    case errInternal:
    case 457:
      return true;
    default:
      return false;
  }
}

// A configuration as it was saved loads without a failure, and to the same.
void CheckSaved(ConfiguredSite& site, bool loadedCleanly) {
  if (site.server->ServerStatus() != StatusStopped) return;
  const std::string before = site.State();
  const std::optional<AutomationError> failure =
      FailureOf([&] { site.server->SaveConfigurationToFile("saved.cfg"); });
  Demand(site.State() == before, "a save changes nothing");
  if (failure) {
    Demand(failure->Number() == errInvalidName || failure->Number() == errInvalidItemId,
           "only names that cannot be carried are not saved", failure->Description());
    Demand(!site.files.HasFile("saved.cfg") && !site.files.HasFile("saved.cfg.saving"),
           "a failed save leaves no file");
    return;
  }
  const std::string saved = site.files.ReadWhole("saved.cfg");
  ConfiguredSite again;
  const std::optional<AutomationError> reload = again.Load(saved, true);
  Demand(!reload, "what was saved loads", [&] { return reload->Description(); });
  Demand(again.State() == site.State(true), "what was saved loads to the same",
         [&] { return site.State(true) + "\nthen\n" + again.State() + "\nfrom\n" + saved; });
  if (!loadedCleanly) return;
  const std::optional<AutomationError> strict = ConfiguredSite().Load(saved, false);
  Demand(!strict, "what was loaded without a failure is saved so that it loads without one",
         [&] { return strict->Description() + "\n" + saved; });
}

void CheckCheck(const std::string& text, bool fails, bool changesNothing) {
  ConfiguredSite site;
  site.files.PutFile("line.cfg", text);
  const std::vector<ConfigurationProblem> problems = site.server->CheckConfigurationFile("line.cfg");
  Demand(!fails || !problems.empty(), "a check tells something of a file whose load fails");
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  for (const ConfigurationProblem& problem : problems)
    Demand(problem.line <= lines && problem.number != 0 && !problem.text.empty(),
           "a problem has a line of the text, a number and a text", problem.text);
  if (changesNothing) return;
  ConfiguredSite loaded;
  loaded.Load(text, true);
  Demand(site.State() == loaded.State(), "a check loads what a load loads");
}

}  // namespace

void SavedConfiguration(InputReader& input) {
  const std::string text(input.Rest());
  const PlainIni plain(text);
  if (text.size() > LongestText || AsksForTooMuch(plain)) return;

  ConfiguredSite lenient;
  const std::string before = lenient.State();
  const std::optional<AutomationError> failure = lenient.Load(text, true);
  const bool hasParameters = plain.HasSection(saved::CommunicationSection);
  Demand(failure.has_value() == !hasParameters,
         "a load that passes failures over fails without parameters only",
         [&] { return failure ? failure->Description() : "no failure"; });

  ConfiguredSite strict;
  const std::optional<AutomationError> first = strict.Load(text, false);
  if (!hasParameters) {
    Demand(failure->Number() == errInvalidFileFormat && failure->Description().ends_with("line.cfg") && first,
           "a file without parameters is no configuration", failure->Description());
    Demand(lenient.State() == before && strict.State() == before,
           "a file that is no configuration changes nothing");
  } else if (!first) {
    Demand(strict.State() == lenient.State(), "a load without failures is the same either way");
  } else {
    Demand(IsDocumented(first->Number()), "a load fails with a documented number",
           std::to_string(first->Number()) + ": " + first->Description());
    strict.Load(text, true);
    Demand(strict.State() == lenient.State(), "nothing of a failed load is left by the next one",
           [&] { return strict.State() + "\ninstead of\n" + lenient.State(); });
  }
  CheckCheck(text, first.has_value(), !hasParameters);
  if (hasParameters) CheckSaved(lenient, !first);
}

}  // namespace orvo::fuzz
