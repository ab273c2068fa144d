// Saving and loading a configuration, and downloads on request.

#include "errors/ErrorHandling.h"
#include "server/ConfigurationLoad.h"
#include "server/KELDataServer.h"
#include "server/SavedConfiguration.h"
#include "values/VariantConversion.h"

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
  const IniFile file = ReadConfiguration(environment_.files, FileName);
  Suppressed([&] { RequireDriver()->SetConfigurationMode(); });
  // kept: the configuration file's name becomes the project name, and with it the base of the download file
  // names.
  Suppressed([&] { RequireDriver()->PutProjectName(FileName); });
  if (!file.HasSection(saved::CommunicationSection)) RaiseDataError(errInvalidFileFormat, FileName);
  ConfigurationLoad load(*this, file, FileName, ignoreErrors);
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
