#include "Configuration.h"

#include "errors/AutomationError.h"
#include "errors/modIDataErrors.h"
#include "modbus/Address.h"
#include "modbus/ModbusDriver.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "server/IniFile.h"
#include "server/KELDataServer.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <memory>
#include <string_view>

namespace orvo::modbus_plan {

namespace {

constexpr const char* DriversSection = "Drivers";
constexpr const char* ParametersSection = "Communication Parameters";

std::optional<std::int32_t> WholeNumber(const std::string& text) {
  try {
    return ToI4(Variant(text));
  } catch (const AutomationError&) {
    return std::nullopt;
  }
}

std::int32_t DeviceTypeOf(const Source& source, const IniFile& drivers, Files& files) {
  std::optional<std::int32_t> saved;
  if (!source.savedFile.empty()) {
    const IniFile file = IniFile::Parse(files.ReadWhole(source.savedFile));
    if (!file.HasSection(ParametersSection))
      throw ConfigurationError(source.savedFile + ": there is no section '" + ParametersSection + "'");
    if (const auto value = file.Value(ParametersSection, "DeviceType")) saved = WholeNumber(*value);
  }
  if (source.deviceType && saved && *saved != *source.deviceType)
    throw ConfigurationError("--type " + std::to_string(*source.deviceType) + ": " + source.savedFile +
                             " is for device type " + std::to_string(*saved));
  if (source.deviceType) return *source.deviceType;
  if (saved) return *saved;
  for (const IniFile::Entry& entry : drivers.Entries(DriversSection))
    if (const auto number = WholeNumber(entry.key)) return *number;
  throw ConfigurationError(source.driverFile + ": there is no device type in the section '" + DriversSection +
                           "'");
}

// The connection of the device type, for this driver.
std::string ConnectionOf(const Source& source, const IniFile& drivers, std::int32_t deviceType) {
  const auto progId = drivers.Value(DriversSection, "DataCommunication");
  if (!progId || FoldCase(*progId) != FoldCase(modbus::ModbusDriver::ProgId))
    throw ConfigurationError(source.driverFile + ": DataCommunication is " +
                             (progId ? "'" + *progId + "'" : "missing") + "; plans are made for " +
                             modbus::ModbusDriver::ProgId);
  const auto connection = drivers.Value(DriversSection, std::to_string(deviceType));
  if (!connection)
    throw ConfigurationError(source.driverFile + ": there is no device type " + std::to_string(deviceType));
  return *connection;
}

Item ItemOf(const KELDataItem& item, bool isNamed) {
  Item planned{item.ItemId(), isNamed ? item.Name() : "", {}, false};
  const auto address = modbus::Address::Decode(item.CompiledAddress());
  const auto place = address ? address->Place(item.ItemWordLength()) : std::nullopt;
  if (!place) throw ConfigurationError(planned.Text() + ": the saved address or length is none of an item");
  planned.place = *place;
  return planned;
}

// What the device object has against an identifier; empty when it is one.
std::string ComplaintAbout(DeviceObject& device, const std::string& itemId) {
  try {
    double address = 0;
    std::int32_t words = 0;
    std::int32_t type = 0;
    device.CompileItemId(itemId, address, words, type);
    return "";
  } catch (const AutomationError& error) {
    return error.Description();
  }
}

// The server's text names the identifier and leaves out what the driver said of it.
std::string TextOf(const ConfigurationProblem& problem, KELDataServer& server) {
  const std::string prefix(FindDataError(errInvalidItemId)->prefix);
  if (problem.number != errInvalidItemId || !problem.text.starts_with(prefix)) return problem.text;
  const std::size_t end = problem.text.find(':', prefix.size());
  const std::string complaint =
      ComplaintAbout(*server.RequireDevice(), problem.text.substr(prefix.size(), end - prefix.size()));
  return complaint.empty() ? problem.text : complaint;
}

void LoadSaved(KELDataServer& server, const std::string& fileName) {
  std::string problems;
  for (const ConfigurationProblem& problem : server.CheckConfigurationFile(fileName))
    problems += (problems.empty() ? "" : "\n") + fileName + ':' + std::to_string(problem.line) + ": " +
                TextOf(problem, server);
  if (!problems.empty()) throw ConfigurationError(problems);
}

void AddItems(KELDataServer& server, KELDataGroup& group, const std::vector<std::string>& ids) {
  for (const std::string& id : ids) {
    const std::string complaint = ComplaintAbout(*server.RequireDevice(), id);
    if (!complaint.empty()) throw ConfigurationError(complaint);
    group.Items().Add(id);
  }
}

void MarkRefused(std::vector<Group>& groups, const std::string& id) {
  bool isKnown = false;
  for (Group& group : groups)
    for (Item& item : group.items) {
      if (item.id != id) continue;
      item.isRefused = true;
      isKnown = true;
    }
  if (!isKnown) throw ConfigurationError("--refused " + id + ": no group has this item");
}

}  // namespace

Configuration LoadConfiguration(const Source& source) {
  PortablePlatform platform;
  DiskFiles files;
  DriverRegistry registry;
  registry.Register(modbus::ModbusDriver::ProgId,
                    [](DriverHost host) { return modbus::ModbusDriver::Make(host); });

  const IniFile drivers = IniFile::Parse(files.ReadWhole(source.driverFile));
  Configuration configuration;
  configuration.deviceType = DeviceTypeOf(source, drivers, files);
  configuration.connection = ConnectionOf(source, drivers, configuration.deviceType);
  try {
    configuration.settings = modbus::Settings::Parse(configuration.connection);
  } catch (const AutomationError& error) {
    throw ConfigurationError(source.driverFile + ": " + error.Description());
  }

  const auto server = KELDataServer::Create({platform, files, registry});
  server->SetDriverConfigurationFile(source.driverFile);
  server->PutDeviceType(configuration.deviceType);
  if (!source.savedFile.empty()) LoadSaved(*server, source.savedFile);
  std::shared_ptr<KELDataGroup> own;
  if (!source.itemIds.empty()) {
    own = server->KELDataGroups()->Add();
    own->PutUpdateRate(source.itemRate);
    AddItems(*server, *own, source.itemIds);
  }
  configuration.baud = configuration.settings.baud.value_or(server->BaudRate());
  for (const auto& group : server->KELDataGroups()->NewEnum()) {
    const bool isOwn = group == own;
    configuration.groups.push_back(
        {isOwn ? "(items)" : group->Name(), isOwn || group->Active(), group->UpdateRate(), {}});
    for (const auto& item : group->Items().NewEnum())
      configuration.groups.back().items.push_back(ItemOf(*item, !isOwn));
  }
  for (const std::string& id : source.refusedIds)
    MarkRefused(configuration.groups, id);
  return configuration;
}

}  // namespace orvo::modbus_plan
