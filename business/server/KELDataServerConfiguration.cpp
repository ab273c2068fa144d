// Saving and loading a configuration, and downloads on request.

#include "errors/ErrorHandling.h"
#include "server/ConfigurationCheck.h"
#include "server/ConfigurationLoad.h"
#include "server/KELDataServer.h"
#include "server/SavedConfiguration.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <cmath>

namespace orvo {

namespace {

// A file that does not exist holds no section; the load says so itself.
IniFile ReadConfiguration(Files& files, const std::string& fileName) {
  try {
    return IniFile::Parse(files.ReadWhole(fileName));
  } catch (const AutomationError& error) {
    const auto is = [&](RuntimeError number) { return error.Number() == static_cast<std::int32_t>(number); };
    if (!is(RuntimeError::FileNotFound) && !is(RuntimeError::PathNotFound)) throw;
    return {};
  }
}

}  // namespace

void KELDataServer::LoadConfigurationFromFile(const std::string& FileName,
                                              const std::optional<Variant>& bIgnoreErrors) {
  const std::shared_ptr<KELDataServer> self = Hold();
  if (status_ == StatusRunning) RaiseDataError(errInvalidState, "Server is running");
  const bool ignoreErrors = WithTrace(
      OwnErrors::PassThrough, [&] { return ":Server.LoadConfigurationFromFile(FileName=" + FileName; },
      [&] { return !bIgnoreErrors.has_value() || ToBoolean(*bIgnoreErrors); });
  ApplyConfiguration(ReadConfiguration(environment_.files, FileName), FileName,
                     [&](std::size_t /*line*/, const AutomationError& error) {
                       if (!ignoreErrors) throw error;
                     });
}

std::vector<ConfigurationProblem> KELDataServer::CheckConfigurationFile(const std::string& FileName) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireNotRunning();
  const std::string text = environment_.files.ReadWhole(FileName);
  std::vector<ConfigurationProblem> problems = UnreadParts(text);
  std::size_t unchecked = 0;
  const auto failed = [&](std::size_t line, const AutomationError& error) {
    // Without a device no item compiles; each of them would only repeat what is wrong with the device type.
    if (error.Number() == errInvalidItemId && !device_)
      ++unchecked;
    else
      problems.push_back({line, error.Number(), error.Description()});
  };
  const IniFile file = IniFile::Parse(text);
  try {
    ApplyConfiguration(file, FileName, failed);
  } catch (...) {
    const AutomationError error = CaughtError();
    const bool noParameters = !file.HasSection(saved::CommunicationSection);
    problems.push_back(
        {0, error.Number(),
         error.Description() +
             (noParameters ? ": there is no section '" + std::string(saved::CommunicationSection) + "'" : "")});
  }
  for (const auto& group : groups_->NewEnum())
    for (const auto& item : group->Items().NewEnum()) {
      const IniFile::Entry* entry = file.Find(saved::GroupSectionPrefix + group->GroupName(), item->ItemName());
      if (entry == nullptr) continue;
      if (const std::string difference = CompiledDifference(*item); !difference.empty())
        problems.push_back({entry->line, errInvalidFileFormat,
                            std::string(FindDataError(errInvalidFileFormat)->prefix) + "key '" + entry->key +
                                "': " + difference});
    }
  if (unchecked > 0)
    problems.push_back({0, errInvalidState,
                        std::string(FindDataError(errInvalidState)->prefix) + "there is no device, so " +
                            (unchecked == 1 ? "1 item was" : std::to_string(unchecked) + " items were") +
                            " not checked"});
  std::stable_sort(problems.begin(), problems.end(),
                   [](const auto& left, const auto& right) { return left.line < right.line; });
  return problems;
}

std::string KELDataServer::CompiledDifference(const KELDataItem& item) const {
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  const bool compiles =
      AnswerOr(false, [&] { return RequireDevice()->CompileItemId(item.ItemId(), address, words, type); });
  std::string text;
  const auto compare = [&](const char* what, double saved, double compiled) {
    if (!compiles || saved == compiled || (std::isnan(saved) && std::isnan(compiled))) return;
    text += (text.empty() ? "the " : ", the ") + std::string(what) + " is " + ToText(Variant(saved)) +
            ", but '" + item.ItemId() + "' has " + ToText(Variant(compiled));
  };
  compare("type", item.ItemType(), type);
  compare("word length", item.ItemWordLength(), words);
  compare("compiled address", item.CompiledAddress(), address);
  return text;
}

void KELDataServer::ApplyConfiguration(const IniFile& file, const std::string& FileName,
                                       const ConfigurationLoad::Failed& failed) {
  Suppressed([&] { RequireDriver()->SetConfigurationMode(); });
  // kept: the configuration file's name becomes the project name, and with it the base of the download file
  // names.
  Suppressed([&] { RequireDriver()->PutProjectName(FileName); });
  if (!file.HasSection(saved::CommunicationSection)) RaiseDataError(errInvalidFileFormat, FileName);
  ConfigurationLoad load(*this, file, FileName, failed);
  load.ApplyParameters();
  load.ApplyGroups();
  load.ApplyItems();
}

void KELDataServer::SaveConfigurationToFile(const std::string& FileName) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireStopped();
  ReplaceWhole(environment_.files, FileName, ConfigurationText(*this));
}

void KELDataServer::DownloadFirmware(const std::string& FileName) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireStopped();
  pReqSpooler->DownloadFirmware(FileName);
}

void KELDataServer::DownloadProject(const std::string& FileName) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireStopped();
  pReqSpooler->DownloadProject(FileName);
}

}  // namespace orvo
