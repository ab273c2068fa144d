// config check, config save.

#include "Commands.h"
#include "ExitCode.h"
#include "Values.h"
#include "server/ConfigurationProblem.h"

#include <iostream>

namespace orvo::client {

int RunConfigCheck(Session& session, const Options& options) {
  const std::vector<ConfigurationProblem> problems = session.server->CheckConfigurationFile(options.file);
  for (const ConfigurationProblem& problem : problems)
    std::cout << options.file << ':' << problem.line << ": error " << problem.number << ": "
              << OneLine(problem.text) << '\n';
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
