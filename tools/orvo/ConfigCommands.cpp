// config check, config save.

#include "Commands.h"
#include "ExitCode.h"
#include "GroupLayout.h"
#include "Values.h"
#include "errors/modIDataErrors.h"
#include "server/ConfigurationProblem.h"

#include <iostream>

namespace orvo::client {

namespace {

// The server's text names the identifier and leaves out what the driver said of it.
std::string DriverWords(const ConfigurationProblem& problem, const DriverLog& log) {
  if (problem.number != errInvalidItemId) return "";
  for (const auto& [itemId, error] : log.Refusals())
    if (problem.text.starts_with(std::string(FindDataError(errInvalidItemId)->prefix) + itemId + ":"))
      return "; the driver said: " + OneLine(error.Description());
  return "";
}

}  // namespace

int RunConfigCheck(Session& session, const Options& options) {
  const std::vector<ConfigurationProblem> problems = session.server->CheckConfigurationFile(options.file);
  for (const ConfigurationProblem& problem : problems)
    std::cout << options.file << ':' << problem.line << ": error " << problem.number << ": "
              << OneLine(problem.text) << DriverWords(problem, session.Log()) << '\n';
  if (problems.empty())
    std::cout << "no problems\n";
  else
    std::cout << problems.size() << (problems.size() == 1 ? " problem\n" : " problems\n");
  return problems.empty() ? Success : ProblemsFound;
}

int RunConfigSave(Session& session, const Options& options) {
  if (!options.selection.items.empty()) {
    std::vector<ItemArgument> items;
    for (const std::string& text : options.selection.items)
      items.push_back(ItemArgument::Parse(text));
    const std::string& name = options.selection.group;
    const auto group = session.AddItems(name.empty() ? "Group_1" : name, items);
    group->PutUpdateRate(options.rate.value_or(DefaultRate));
    group->SetGroupId(options.groupId);
    if (session.server->TransfersWholeGroups()) LayOut(*group);
  }
  session.server->SaveConfigurationToFile(options.file);
  std::int32_t items = 0;
  for (const auto& group : session.server->KELDataGroups()->NewEnum())
    items += group->KELDataItems()->Count();
  std::cout << "saved " << options.file << ": groups " << session.server->KELDataGroups()->Count() << ", items "
            << items << '\n';
  return Success;
}

}  // namespace orvo::client
