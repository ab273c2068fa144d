#include "Options.h"

#include <CLI/CLI.hpp>
#include <string>

namespace orvo::modbus_plan {

namespace {

constexpr const char* About =
    "orvo-modbus-plan: what a configuration costs on a Modbus line, and whether the line keeps up";
constexpr const char* Example =
    "Example:\n"
    "  orvo-modbus-plan drivers.ini --config line.cfg\n"
    "  orvo-modbus-plan drivers.ini --items WO40001,WO40300,FL40310 --rate 200\n"
    "\n"
    "Nothing is connected. Exit code: 0 the line keeps up, 1 it does not, 2 there is no plan.";

}  // namespace

ParsedOptions ParseOptions(int argc, char** argv) {
  Options options;
  std::int32_t deviceType = 0;
  CLI::App app{About, "orvo-modbus-plan"};
  app.footer(Example);
  app.failure_message([](const CLI::App* /*app*/, const CLI::Error& error) {
    return "orvo-modbus-plan: " + std::string(error.what()) +
           "\norvo-modbus-plan: run with --help for more information\n";
  });
  app.add_option("drivers", options.source.driverFile, "driver configuration file")->required();
  CLI::Option* type = app.add_option(
      "--type", deviceType, "device type [that of --config, else the first of the driver configuration file]");
  CLI::Option* config =
      app.add_option("--config", options.source.savedFile, "saved configuration with the groups");
  CLI::Option* items = app.add_option("--items", options.source.itemIds,
                                      "identifiers of a group of their own, separated by commas")
                           ->delimiter(',')
                           ->allow_extra_args(false);
  app.add_option("--rate", options.source.itemRate, "update rate of --items in ms; 0: as often as it goes [0]")
      ->needs(items)
      ->check(CLI::Range(0, 2147483647));
  app.add_option("--refused", options.source.refusedIds,
                 "identifiers of items that the device refuses, separated by commas: each is asked for alone")
      ->delimiter(',')
      ->allow_extra_args(false);
  app.add_option("--latency", options.latency, "ms that each request waits for the device and the network [5]")
      ->check(CLI::Range(0.0, 60000.0));
  app.add_flag("--json", options.json, "print JSON");
  try {
    app.parse(argc, argv);
    if (type->count() > 0) options.source.deviceType = deviceType;
    if (config->count() == 0 && items->count() == 0) throw CLI::RequiredError("--config or --items");
  } catch (const CLI::ParseError& error) {
    return {options, app.exit(error) == 0 ? KeepsUp : NoPlan};
  }
  return {options, std::nullopt};
}

}  // namespace orvo::modbus_plan
