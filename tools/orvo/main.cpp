// orvo: the command-line client.

#include "Commands.h"
#include "errors/AutomationError.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <exception>
#include <functional>
#include <iostream>

namespace orvo::client {

static int Main(int argc, char** argv) {
  CLI::App app{"orvo: reads and writes the variables of an operator panel", "orvo"};
  app.require_subcommand(1);
  std::function<int()> command;
  Connection connection;
  std::vector<std::string> arguments;
  double seconds = 8;
  std::int32_t rate = 500;

  const auto reachesDevice = [&](CLI::App* subcommand) {
    subcommand->add_option("--drivers", connection.driverFile,
                           "driver configuration file [the simulated panel]");
    subcommand->add_option("--device-type", connection.deviceType, "key in its section Drivers [2]");
    return subcommand;
  };
  const auto milliseconds = [&] {
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
  };
  const auto positive = CLI::Range(0.0, 86400.0);

  CLI::App* demo = app.add_subcommand("demo", "show the server at work against the simulated panel");
  demo->add_option("--for", seconds, "seconds of live values [8]")->check(positive);
  demo->callback([&] { command = [&] { return RunDemo(milliseconds()); }; });

  CLI::App* info = reachesDevice(app.add_subcommand("info", "print the properties of server and device"));
  info->callback([&] { command = [&] { return RunInfo(connection); }; });

  CLI::App* read =
      reachesDevice(app.add_subcommand("read", "read items once, for example: orvo read WO104:signed"));
  read->add_option("items", arguments, "ID, ID:signed or ID:bcd")->required();
  read->callback([&] { command = [&] { return RunRead(connection, arguments); }; });

  CLI::App* write =
      reachesDevice(app.add_subcommand("write", "write items, for example: orvo write WO106:bcd=4711"));
  write->add_option("assignments", arguments, "ITEM=VALUE")->required();
  write->callback([&] { command = [&] { return RunWrite(connection, arguments); }; });

  CLI::App* watch = reachesDevice(app.add_subcommand("watch", "show changes, for example: orvo watch FL112"));
  watch->add_option("items", arguments, "ID, ID:signed or ID:bcd")->required();
  watch->add_option("--rate", rate, "milliseconds between two refreshes [500]");
  watch->add_option("--for", seconds, "seconds to watch [8]")->check(positive);
  watch->callback([&] { command = [&] { return RunWatch(connection, arguments, rate, milliseconds()); }; });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
  return command();
}

}  // namespace orvo::client

int main(int argc, char** argv) {
  try {
    return orvo::client::Main(argc, argv);
  } catch (const orvo::AutomationError& error) {
    std::cerr << "orvo: error " << error.Number() << ": " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "orvo: " << error.what() << '\n';
  }
  return orvo::client::Failed;
}
