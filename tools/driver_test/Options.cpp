#include "Options.h"

#include "errors/AutomationError.h"
#include "platform/portable/DiskFiles.h"
#include "server/IniFile.h"
#include "values/VariantConversion.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace orvo::driver_test {

namespace {

constexpr const char* About =
    "orvo-driver-test: checks a driver library against the contract of communication drivers";
constexpr const char* Example =
    "Example, with the simulated panel:\n"
    "  orvo-driver-test SimulatedPanel.Channel --kind PanelB --item WO100 --item FL104 \\\n"
    "                   --write WO100=7 --wrong-item XX1\n"
    "\n"
    "One line for each check. Exit code: 0 all passed or do not apply, 1 some failed, 2 nothing was tested.\n"
    "The library is the file PROGID.so in a folder of --path, of ORVO_DRIVER_PATH, or of the installation.\n"
    "Nothing is written to the device without --write, nothing downloaded without --firmware or --project.";

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<std::int64_t>(std::lround(seconds * 1000)));
}

// Identifier, kind and network type as a server takes them from the file.
void TakeFromFile(Options& options, const std::string& fileName, std::int32_t deviceType) {
  DiskFiles files;
  const IniFile file = IniFile::Parse(files.ReadWhole(fileName));
  const auto value = [&](const std::string& key) { return file.Value("Drivers", key); };
  const auto progId = value("DataCommunication");
  const std::string key = std::to_string(deviceType);
  const auto kind = value(key);
  if (!progId || !kind)
    RaiseRuntimeError(
        RuntimeError::InvalidProcedureCall,
        "'" + fileName + "' has no key " + (progId ? key : "DataCommunication") + " in its section Drivers");
  if (options.progId.empty()) options.progId = *progId;
  if (options.plan.deviceKind.empty()) options.plan.deviceKind = *kind;
  if (const auto type = value("NetworkType"); type && !options.plan.networkType)
    options.plan.networkType = ToI4(Variant(*type));
}

}  // namespace

ParsedOptions ParseOptions(int argc, char** argv) {
  Options options;
  std::vector<std::string> writes;
  std::string driverFile;
  std::int32_t deviceType = 1;
  std::int32_t networkType = 0;
  double timeout = 5;
  double quiet = 0.5;

  CLI::App app{About, "orvo-driver-test"};
  app.footer(Example);
  app.failure_message([](const CLI::App* /*app*/, const CLI::Error& error) {
    return "orvo-driver-test: " + std::string(error.what()) +
           "\norvo-driver-test: run with --help for more information\n";
  });
  app.add_option("progid", options.progId, "programmatic identifier of the driver");
  app.add_option("--kind", options.plan.deviceKind, "kind of device, for CreateDevice");
  app.add_option("--item", options.plan.items, "identifier that can be read without error; may be repeated")
      ->allow_extra_args(false);
  app.add_option("--wrong-item", options.plan.wrongItems, "text that is no identifier; may be repeated")
      ->allow_extra_args(false);
  app.add_option("--write", writes, "ITEM=VALUE that may be written; bytes as A0 A1; may be repeated")
      ->allow_extra_args(false);
  app.add_option("--group", options.plan.groupId, "GroupId of the group that is transferred as a whole [1]");
  CLI::Option* network =
      app.add_option("--network-type", networkType, "NetworkType, put before everything else");
  app.add_option("--firmware", options.plan.firmwareFile, "firmware file that may be downloaded to the device");
  app.add_option("--project", options.plan.projectFile, "project file that may be downloaded to the device");
  CLI::Option* drivers =
      app.add_option("--drivers", driverFile, "driver configuration file: gives driver, kind and network type");
  app.add_option("--device-type", deviceType, "key of the kind in its section Drivers [1]")->needs(drivers);
  app.add_option("--path", options.folders, "folder with driver libraries, before all others; may be repeated")
      ->allow_extra_args(false);
  app.add_option("--timeout", timeout, "seconds within which a request is answered [5]")
      ->check(CLI::Range(0.01, 3600.0));
  app.add_option("--quiet", quiet, "seconds to look out for what must not come [0.5]")
      ->check(CLI::Range(0.0, 3600.0));
  app.add_flag("--list", options.list, "list the checks and what each asks");
  try {
    app.parse(argc, argv);
    if (options.list) return {options, std::nullopt};
    if (network->count() > 0) options.plan.networkType = networkType;
    if (!driverFile.empty()) TakeFromFile(options, driverFile, deviceType);
    if (options.progId.empty()) throw CLI::RequiredError("progid or --drivers");
    if (options.plan.items.empty()) throw CLI::RequiredError("--item");
    for (const std::string& write : writes) {
      const std::size_t place = write.find('=');
      if (place == std::string::npos || place == 0)
        throw CLI::ValidationError("--write", "'" + write + "' is not ITEM=VALUE");
      options.plan.writes.push_back({write.substr(0, place), write.substr(place + 1)});
    }
  } catch (const CLI::ParseError& error) {
    return {options, app.exit(error) == 0 ? AllPassed : NothingTested};
  }
  options.plan.timeout = Milliseconds(timeout);
  options.plan.quiet = Milliseconds(quiet);
  return {options, std::nullopt};
}

}  // namespace orvo::driver_test
