#include "Session.h"

#include "DemoPanel.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "ObservedDriver.h"
#include "Values.h"
#include "errors/ErrorHandling.h"
#include "server/ConfigurationCheck.h"
#include "server/IniFile.h"
#include "server/SavedConfiguration.h"
#include "spooler/modMonoSpooler.h"
#include "values/Text.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <optional>

namespace orvo::client {

namespace {

constexpr std::chrono::milliseconds PollInterval{50};

}  // namespace

std::string BuiltInDriverFile(const std::string& panelFile) {
  const std::string script = panelFile.empty() ? "" : "?" + panelFile;
  return "[Drivers]\n"
         "DataCommunication=SimulatedPanel.Channel\n"
         "NetworkType=0\n"
         "1=PanelA" +
         script +
         "\n"
         "2=PanelB" +
         script + "\n";
}

Session::Session() {
  observed_.SetFallback(
      [this](const std::string& progId, DriverHost host) -> std::shared_ptr<CommunicationDriver> {
        return std::make_shared<ObservedDriver>(own_.Create(progId, host), log_);
      });
  server = KELDataServer::Create({platform, files_, observed_});
  pollTimer_ = platform.SetTimer(PollInterval, [this](std::int32_t) { PollInterrupt(); });
}

Session::~Session() {
  platform.KillTimer(pollTimer_);
  Close();
}

void Session::PutDeviceType(std::int32_t deviceType) {
  try {
    server->PutDeviceType(deviceType);
  } catch (const AutomationError& error) {
    if (error.Number() != errInvalidDeviceType) throw;
    const IniFile file = IniFile::Parse(files_.ReadWhole(driverFile_));
    if (const auto kind = file.Value("Drivers", std::to_string(deviceType)))
      throw AutomationError(error.Number(), error.Description() + ": the driver does not know the kind '" +
                                                *kind + "' that '" + driverFile_ + "' names");
    std::string types;
    for (const IniFile::Entry& entry : file.Entries("Drivers"))
      if (ParseDecimal(entry.key)) types += (types.empty() ? "" : ", ") + entry.key;
    throw AutomationError(error.Number(), error.Description() + ": '" + driverFile_ + "' has " +
                                              (types.empty() ? "none" : types));
  }
}

void Session::Configure(const Connection& connection) {
  driverFile_ = connection.driverFile.empty() ? BuiltInFiles::DriverFile : connection.driverFile;
  RegisterBuiltInPanel(own_, connection.panelFile.empty());
  sources_.PlugInto(own_);
  files_.SetDriverFile(BuiltInDriverFile(connection.panelFile));
  server->SetDriverConfigurationFile(driverFile_);
  const std::int32_t deviceType = connection.deviceType.value_or(Connection::DefaultDeviceType);
  if (connection.configurationFile.empty()) {
    PutDeviceType(deviceType);
  } else {
    hasConfiguration_ = true;
    LoadConfiguration(connection, deviceType);
    // The items are compiled for the device type of the load.
    if (connection.deviceType && server->DeviceType() != deviceType)
      throw UsageError("--device-type " + std::to_string(deviceType) + ": the configuration '" +
                       connection.configurationFile + "' is for device type " +
                       std::to_string(server->DeviceType()));
  }
  for (const std::string& setting : connection.settings)
    Setting::Parse(setting).Apply(*server);
}

void Session::LoadConfiguration(const Connection& connection, std::int32_t deviceType) {
  // A configuration that names no device type needs one beforehand; one that does may be right where the
  // default is wrong.
  std::optional<AutomationError> failure;
  try {
    PutDeviceType(deviceType);
  } catch (const AutomationError& error) {
    if (connection.deviceType) throw;
    failure = error;
  }
  const std::string& file = connection.configurationFile;
  const std::string text = files_.ReadWhole(file);
  if (!IniFile::Parse(text).HasSection(saved::CommunicationSection))
    RaiseDataError(errInvalidFileFormat,
                   file + ": there is no section '" + std::string(saved::CommunicationSection) + "'");
  // A load is silent about what nothing reads; a misspelt section would be a configuration without items.
  for (const ConfigurationProblem& part : UnreadParts(text))
    std::cerr << "orvo: " << file << ':' << part.line << ": " << OneLine(part.text) << '\n';
  try {
    server->LoadConfigurationFromFile(file, Variant(false));
  } catch (const AutomationError&) {
    if (failure && server->DeviceType() == 0) throw AutomationError(*failure);
    throw;
  }
}

void Session::Open() {
  Interrupt::Check();
  server->OpenCommunication();

  if (const auto failure = log_->Failure("OpenCommunication"))
    RaiseDataError(errCommunication, "Can't open communication: " + failure->Description());
  log_->ForgetLatest();
}

void Session::Close() {
  if (server->ServerStatus() == StatusRunning) server->CloseCommunication();
}

std::shared_ptr<KELDataGroup> Session::AddItems(const std::string& groupName,
                                                const std::vector<ItemArgument>& items) {
  // A configuration may have a group of this name.
  const auto groups = server->KELDataGroups()->NewEnum();
  std::string free = groupName;
  for (int k = 2;
       std::any_of(groups.begin(), groups.end(),
                   [&free](const auto& group) { return FoldCase(group->GroupName()) == FoldCase(free); });
       ++k)
    free = groupName + std::to_string(k);
  std::shared_ptr<KELDataGroup> group = server->KELDataGroups()->Add(free);
  log_->ForgetLatest();
  for (const ItemArgument& argument : items) {
    const std::shared_ptr<KELDataItem> item =
        argument.name.empty() ? group->KELDataItems()->Add(argument.id)
                              : group->KELDataItems()->Add(argument.id, Variant(argument.name));
    if (argument.isSigned) item->PutSigned(true);
    if (argument.isBCD) item->PutBCD(true);
  }
  return group;
}

std::vector<std::shared_ptr<KELDataGroup>> Session::Select(const Selection& selection,
                                                           const std::string& groupName) {
  log_->ForgetLatest();
  if (!selection.items.empty()) {
    std::vector<ItemArgument> items;
    for (const std::string& text : selection.items)
      items.push_back(ItemArgument::Parse(text));
    return {AddItems(groupName, items)};
  }
  if (!hasConfiguration_)
    throw UsageError("there are no items: name one, or a configuration with --config FILE");
  auto groups = selection.group.empty() ? server->KELDataGroups()->NewEnum()
                                        : std::vector{server->KELDataGroups()->ItemByName(selection.group)};
  if (std::all_of(groups.begin(), groups.end(),
                  [](const auto& group) { return group->KELDataItems()->Count() == 0; }))
    throw UsageError(selection.group.empty() ? "the configuration has no items"
                                             : "the group '" + selection.group + "' has no items");
  return groups;
}

void Session::ReleaseWaiting() {
  platform.ModuleState<modMonoSpooler>().SyncRequestPending = false;
}

void Session::PollInterrupt() {
  if (interrupted_ || !Interrupt::Requested()) return;
  interrupted_ = true;
  // Whatever the status: a download that pumps while it runs breaks off by it.
  server->CloseCommunication();
  // The answer that a close brings stays undelivered: the spooler stands still.
  ReleaseWaiting();
}

}  // namespace orvo::client
