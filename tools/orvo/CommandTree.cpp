#include "CommandTree.h"

#include "Completion.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Values.h"
#include "errors/AutomationError.h"

#include <cmath>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::client {

namespace {

constexpr const char* Footer =
    "Exit codes: 0 success, 1 an error of the system, 2 an item has an error, 3 wrong usage,\n"
    "4 config check found problems, 5 watch ended while a group was silent, 130 Ctrl-C.\n"
    "orvo COMMAND --help shows a command's options and an example.";

constexpr double LongestSeconds = 86400;

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

// CLI11 wants an empty text when all is well.
std::string CheckSetting(const std::string& text) {
  try {
    Setting::Parse(text);
    return "";
  } catch (const UsageError& error) {
    // CLI11 names the option itself.
    const std::string text = error.what();
    constexpr std::string_view option = "--set ";
    return text.starts_with(option) ? text.substr(option.size()) : text;
  }
}

// CLI11 does not say which commands there are.
std::string FailureText(const CLI::App& app, const CLI::Error& error) {
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty())
    command = command->get_subcommands().front();
  const auto choices = command->get_subcommands([](const CLI::App* /*choice*/) { return true; });
  if (choices.empty() || error.get_name() != "RequiredError") return error.what();
  const std::vector<std::string> unknown = app.remaining(true);
  const std::string what = command->get_parent() == nullptr ? "command" : "command of " + command->get_name();
  std::string text = unknown.empty() ? "a " + what + " is wanted: "
                                     : "'" + unknown.front() + "' is no " + what + "; there are: ";
  for (const CLI::App* choice : choices)
    text += (choice == choices.front() ? "" : ", ") + choice->get_name();
  return text;
}

void PrintError(const AutomationError& error, const DriverLog* log) {
  std::cerr << "orvo: error " << error.Number() << ": " << WithoutCarriageReturns(error.Description()) << '\n';
  if (log == nullptr || !log->Latest()) return;
  const AutomationError& said = *log->Latest();
  if (error.Description().find(said.Description()) == std::string::npos)
    std::cerr << "orvo: the driver said: " << said.Number() << ": "
              << WithoutCarriageReturns(said.Description()) << '\n';
}

}  // namespace

CommandTree::CommandTree() {
  app_.require_subcommand(1);
  app_.footer(Footer);
  app_.set_version_flag("--version", "orvo " ORVO_VERSION, "print the version and end");
  app_.allow_windows_style_options(false);
  app_.failure_message([](const CLI::App* app, const CLI::Error& error) {
    return "orvo: " + FailureText(*app, error) + "\norvo: run with --help for more information\n";
  });
  AddDemo();
  AddReading();
  AddWatch();
  AddDownload();
  AddConfig();
  AddReference();
}

CLI::App* CommandTree::Add(CLI::App& parent, const std::string& name, const std::string& description,
                           const std::string& example) {
  CLI::App* command = parent.add_subcommand(name, description);
  if (!example.empty()) command->footer("Example: " + example);
  return command;
}

void CommandTree::ReachesDevice(CLI::App* command, Command run, bool takesConfiguration) {
  Connection& connection = options_.connection;
  CLI::Option* drivers = command->add_option("--drivers", connection.driverFile,
                                             "driver configuration file [the built-in simulated panel]");
  drivers->type_name("FILE");
  command->add_option("--panel", connection.panelFile, "script of the built-in panel [the demonstration]")
      ->type_name("FILE")
      ->excludes(drivers);
  command
      ->add_option("--device-type", connection.deviceType,
                   "key in section Drivers of the driver configuration file [2, or what --config says]")
      ->type_name("N");
  if (takesConfiguration)
    command->add_option("--config", connection.configurationFile, "saved configuration to load")
        ->type_name("FILE");
  command
      ->add_option("--set", connection.settings,
                   "property to set after the load, repeatable: BaudRate, ComPortNumber, Timeout, WordIO, "
                   "ProjectName, AutoDownloadFirmware, AutoDownloadProject")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false)  // what stands behind its value is an item
      ->check(CheckSetting, "");
  command->callback([this, run] { command_ = [this, run] { return RunInSession(run); }; });
}

void CommandTree::HasItems(CLI::App* command, bool groupOfConfiguration) {
  command->add_option("items", options_.selection.items, "ID, ID:signed or ID:bcd")->type_name("ITEM");
  if (!groupOfConfiguration) return;
  command->add_option("--group", options_.selection.group, "only this group of the configuration")
      ->type_name("NAME")
      ->needs(command->get_option("--config"));
}

void CommandTree::HasFormat(CLI::App* command) {
  command->add_option("--format", format_, "form of the output [table]")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"table", "csv", "json"}));
}

void CommandTree::HasTimeout(CLI::App* command) {
  command->add_option("--timeout", timeoutSeconds_, "seconds for each read, tries while busy included [10]")
      ->type_name("S")
      ->check(CLI::Range(0.05, LongestSeconds));
}

void CommandTree::AddDemo() {
  CLI::App* demo =
      Add(app_, "demo", "show the server at work against the simulated panel", "orvo demo --for 3");
  demo->add_option("--for", demoSeconds_, "seconds of live values [8]")
      ->type_name("S")
      ->check(CLI::Range(0.0, LongestSeconds));
  demo->callback([this] { command_ = [this] { return RunDemo(Milliseconds(demoSeconds_)); }; });
}

void CommandTree::AddReading() {
  CLI::App* info =
      Add(app_, "info", "print the properties of server and device", "orvo info --set BaudRate=19200");
  ReachesDevice(info, RunInfo);
  HasFormat(info);

  CLI::App* items =
      Add(app_, "items", "print what the driver compiles of items", "orvo items WO104:signed ST0020010 RA036");
  ReachesDevice(items, RunItems);
  HasItems(items, true);
  HasFormat(items);

  CLI::App* read = Add(app_, "read", "read items once", "orvo read WO104:signed FL112 --format json");
  ReachesDevice(read, RunRead);
  HasItems(read, true);
  HasFormat(read);
  HasTimeout(read);

  CLI::App* write =
      Add(app_, "write", "write items, once and never repeated", "orvo write WO120:signed=-5 RA036=A0,A1,A2");
  ReachesDevice(write, RunWrite);
  write
      ->add_option("assignments", options_.assignments,
                   "ITEM=VALUE: a number, a text, or the bytes of a raw item in hexadecimal")
      ->type_name("ITEM=VALUE")
      ->required();
  HasFormat(write);

  CLI::App* explain = Add(app_, "explain", "read one item and show each step from its bytes to its value",
                          "orvo explain WO106:bcd");
  ReachesDevice(explain, RunExplain);
  explain
      ->add_option("item", options_.selection.items, "ID, ID:signed, ID:bcd, or an item of the configuration")
      ->type_name("ITEM")
      ->required()
      ->expected(1);
  explain->add_option("--group", options_.selection.group, "look in this group of the configuration only")
      ->type_name("NAME")
      ->needs(explain->get_option("--config"));
  HasTimeout(explain);
}

void CommandTree::AddWatch() {
  CLI::App* watch = Add(app_, "watch", "show changes as they come", "orvo watch FL112 WO104:signed --for 3");
  ReachesDevice(watch, RunWatch);
  HasItems(watch, true);
  HasFormat(watch);
  watch->add_option("--rate", options_.rate, "milliseconds between two refreshes [500, or the group's own]")
      ->type_name("MS")
      ->check(CLI::Range(0, 86400000));
  watch
      ->add_option_function<double>(
          "--for", [this](const double& seconds) { options_.duration = Milliseconds(seconds); },
          "seconds to watch [until Ctrl-C]")
      ->type_name("S")
      ->check(CLI::Range(0.0, 31536000.0));
  watch->add_option("--count", options_.count, "end after so many DataChange events")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
}

void CommandTree::AddDownload() {
  CLI::App* download = Add(app_, "download", "load a file into the device", "");
  download->require_subcommand(1);
  const auto add = [&](const char* what, Command run) {
    CLI::App* command = Add(*download, what, std::string("load ") + what + " into the device",
                            std::string("orvo download ") + what + " README.md");
    ReachesDevice(command, run);
    command->add_option("file", options_.file, "the file to load")->type_name("FILE")->required();
  };
  add("firmware", RunDownloadFirmware);
  add("project", RunDownloadProject);
  download->footer("Example: orvo download firmware README.md");
}

void CommandTree::AddConfig() {
  CLI::App* config =
      Add(app_, "config", "check or save a configuration", "orvo config save plant.cfg WO104:signed");
  config->require_subcommand(1);
  CLI::App* check = Add(*config, "check", "print every problem of a saved configuration with its line",
                        "orvo config check plant.cfg");
  ReachesDevice(check, RunConfigCheck, false);
  check->add_option("file", options_.file, "the configuration")->type_name("FILE")->required();

  CLI::App* save = Add(*config, "save", "save settings and items as a configuration",
                       "orvo config save plant.cfg WO104:signed FL112 --group Line");
  ReachesDevice(save, RunConfigSave);
  save->add_option("file", options_.file, "the configuration to write")->type_name("FILE")->required();
  HasItems(save, false);
  save->add_option("--group", options_.selection.group, "name of the items' group [Group_1]")
      ->type_name("NAME");
  save->add_option("--rate", options_.rate, "the group's update rate in milliseconds [500]")
      ->type_name("MS")
      ->check(CLI::Range(0, 86400000));
}

void CommandTree::AddReference() {
  CLI::App* errors = Add(app_, "errors", "print the system's errors, or one of them with what to do",
                         "orvo errors 0x80040009");
  errors->add_option("number", options_.errorNumber, "decimal or hexadecimal")->type_name("NUMBER");
  HasFormat(errors);
  errors->callback([this] { command_ = [this] { return RunErrors(options_); }; });

  CLI::App* drivers = Add(app_, "drivers", "print the drivers that a driver configuration file can name",
                          "orvo drivers --format csv");
  HasFormat(drivers);
  drivers->callback([this] { command_ = [this] { return RunDrivers(options_); }; });

  CLI::App* completion =
      Add(app_, "completion", "print a completion script for a shell", "orvo completion bash > orvo.bash");
  completion->add_option("shell", shell_, "the shell")
      ->type_name("SHELL")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->required();
  completion->callback([this] {
    command_ = [this] {
      std::cout << CompletionScript(app_, shell_);
      return static_cast<int>(Success);
    };
  });
}

int CommandTree::RunInSession(Command run) const {
  Session session;
  try {
    session.Configure(options_.connection);
    return run(session, options_);
  } catch (const AutomationError& error) {
    if (Interrupt::Requested()) throw EndRequested();
    std::cout.flush();
    PrintError(error, &session.Log());
    return Failed;
  }
}

int CommandTree::Run(int count, const char* const* arguments) {
  try {
    app_.parse(count, arguments);
    options_.format = formats_.at(format_);
    options_.timeout = Milliseconds(timeoutSeconds_);
    return command_();
  } catch (const CLI::ParseError& error) {
    return app_.exit(error) == 0 ? Success : WrongUsage;
  } catch (const UsageError& error) {
    std::cout.flush();
    std::cerr << "orvo: " << error.what() << '\n';
    return WrongUsage;
  } catch (const AutomationError& error) {
    std::cout.flush();
    PrintError(error, nullptr);
    return Failed;
  }
}

}  // namespace orvo::client
