// The commands and options of the client, as the command line knows them.
#pragma once

#include "Commands.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>

namespace orvo::client {

class CommandTree {
 public:
  CommandTree();
  CommandTree(const CommandTree&) = delete;
  CommandTree& operator=(const CommandTree&) = delete;

  // Runs what the command line asks for and returns its exit code. Failures that have a number, and wrong
  // usage, are printed; anything else is thrown.
  int Run(int count, const char* const* arguments);

 private:
  using Command = int (*)(Session& session, const Options& options);

  void AddDemo();
  void AddReading();
  void AddWatch();
  void AddDownload();
  void AddConfig();
  void AddReference();
  // A command whose help ends with the example.
  CLI::App* Add(CLI::App& parent, const std::string& name, const std::string& description,
                const std::string& example);
  // The options of a command that reaches a device; it runs in a session that is configured with them.
  void ReachesDevice(CLI::App* command, Command run, bool takesConfiguration = true);
  void HasItems(CLI::App* command, bool groupOfConfiguration);
  void HasFormat(CLI::App* command);
  void HasTimeout(CLI::App* command);
  int RunInSession(Command run) const;

  CLI::App app_{"orvo: reads and writes the variables of an operator panel", "orvo"};
  Options options_;
  std::function<int()> command_;
  std::map<std::string, Format> formats_{
      {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};
  std::string format_ = "table";
  std::string shell_;
  double timeoutSeconds_ = 10;
  double demoSeconds_ = 8;
};

}  // namespace orvo::client
