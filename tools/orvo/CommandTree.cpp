#include "CommandTree.h"

#include "Completion.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Values.h"
#include "errors/modIDataErrors.h"
#include "values/Text.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace orvo::client {

namespace {

constexpr const char* Footer =
    "Exit codes: 0 success, 1 an error of the system, 2 an item has an error, 3 wrong usage,\n"
    "4 config check found problems, 5 watch ended while a group was silent, 130 Ctrl-C, 143 SIGTERM.\n"
    "orvo COMMAND --help shows a command's options and an example.";

constexpr double LongestSeconds = 86400;
constexpr double LongestRead = 10;  // the server waits no longer
constexpr double LongestWatch = 366 * LongestSeconds;
constexpr double LongestRate = 86400000;  // milliseconds
constexpr double MostEvents = 1e9;

// CLI11's own check takes a text for a number out of range.
CLI::Validator Within(double low, double high) {
  return CLI::Validator(
      [low, high](std::string& text) -> std::string {
        const std::optional<double> number = ParseDecimal(text);
        if (!number) return "'" + text + "' is no number";
        if (*number >= low && *number <= high) return "";
        return text + " is not within " + ToText(low) + ".." + ToText(high);
      },
      "");
}

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

// Each line of the text begins as the first one does.
void PrintMessage(const std::string& head, const std::string& text) {
  std::string lines = "orvo: " + head;
  for (const char character : WithoutCarriageReturns(text))
    lines += character == '\n' ? "\norvo:   " : std::string(1, character);
  std::cerr << lines << '\n';
}

void PrintError(const AutomationError& error, const DriverLog* log) {
  const std::optional<AutomationError> said = log == nullptr ? std::nullopt : log->Latest();
  const bool contained = said && error.Description().find(said->Description()) != std::string::npos;
  // An internal error around what the driver said tells a person nothing more.
  const AutomationError& told = contained && error.Number() == errInternal ? *said : error;
  PrintMessage("error " + std::to_string(told.Number()) + ": ", told.Description());
  if (said && !contained)
    PrintMessage("the driver said: " + std::to_string(said->Number()) + ": ", said->Description());
}

// What the server passes over: a request that the driver refused comes back with 99 for its items, and a
// download on opening is nobody's call.
void PrintPassedOver(const Session& session) {
  const DriverLog& log = session.Log();
  const KELDataServer& server = *session.server;
  if (log.ConfigurationModeRefused() && (server.AutoDownloadFirmware() || server.AutoDownloadProject()))
    std::cerr << "orvo: the driver refused configuration mode: nothing was downloaded\n";
  for (const char* operation : {"DownloadFirmware", "DownloadProject", "SetGroupDefinition", "ReadItems",
                                "WriteItems", "ReadGroup", "WriteGroup"})
    if (const auto said = log.Failure(operation))
      PrintMessage(
          "the driver refused " + std::string(operation) + ": " + std::to_string(said->Number()) + ": ",
          said->Description());
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
                   "property to set after the load, repeatable; an unknown NAME lists them")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false)  // what stands behind its value is an item
      ->check(CheckSetting, "");
  command->callback([this, run] { command_ = [this, run] { return RunInSession(run); }; });
}

void CommandTree::HasItems(CLI::App* command, bool groupOfConfiguration) {
  command->add_option("items", options_.selection.items, "ID, ID:signed or ID:bcd; with a name: NAME=ID")
      ->type_name("ITEM");
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
  command
      ->add_option("--timeout", timeoutSeconds_,
                   "seconds for each read, tries while busy included, 10 at most [10]")
      ->type_name("S")
      ->check(Within(0.05, LongestRead));
}

void CommandTree::AddDemo() {
  CLI::App* demo =
      Add(app_, "demo", "show the server at work against the simulated panel", "orvo demo --for 3");
  demo->add_option("--for", demoSeconds_, "seconds of live values [8]")
      ->type_name("S")
      ->check(Within(0, LongestSeconds));
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
      ->check(Within(0, LongestRate));
  watch
      ->add_option_function<double>(
          "--for", [this](const double& seconds) { options_.duration = Milliseconds(seconds); },
          "seconds to watch [until Ctrl-C]")
      ->type_name("S")
      ->check(Within(0, LongestWatch));
  watch->add_option("--count", options_.count, "end after so many DataChange events")
      ->type_name("N")
      ->check(Within(1, MostEvents));
}

void CommandTree::AddDownload() {
  CLI::App* download = Add(app_, "download", "load a file into the device", "");
  download->require_subcommand(1);
  const auto add = [&](const char* what, Command run) {
    CLI::App* command = Add(*download, what, std::string("load ") + what + " into the device",
                            std::string("orvo download ") + what + " /etc/hostname");
    ReachesDevice(command, run);
    command->add_option("file", options_.file, "the file to load")->type_name("FILE")->required();
  };
  add("firmware", RunDownloadFirmware);
  add("project", RunDownloadProject);
  download->footer("Example: orvo download firmware /etc/hostname");
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
  save->add_option("--group-id", options_.groupId, "the group's identifier on the device [0]")->type_name("N");
  save->add_option("--rate", options_.rate, "the group's update rate in milliseconds [500]")
      ->type_name("MS")
      ->check(Within(0, LongestRate));
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
    const int exitCode = run(session, options_);
    std::cout.flush();
    PrintPassedOver(session);
    return exitCode;
  } catch (const AutomationError& error) {
    if (Interrupt::Requested()) throw EndRequested();
    std::cout.flush();
    PrintError(error, &session.Log());
    return Failed;
  }
}

int CommandTree::Run(int count, const char* const* arguments) {
  std::vector<std::string> words(arguments + 1, arguments + count);
  // "orvo help read", as many a program takes it.
  if (!words.empty() && words.front() == "help") {
    words.erase(words.begin());
    words.emplace_back("--help");
  }
  std::reverse(words.begin(), words.end());  // as CLI11 wants them
  try {
    app_.parse(std::move(words));
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
