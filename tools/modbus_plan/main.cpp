// orvo-modbus-plan: what a configuration costs on a Modbus line.

#include "Options.h"
#include "Report.h"
#include "errors/AutomationError.h"

#include <exception>
#include <iostream>
#include <sstream>
#include <utility>

namespace orvo::modbus_plan {

namespace {

// Each line of a text says whose it is.
void Complain(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    std::cerr << "orvo-modbus-plan: " << line << '\n';
}

int Main(int argc, char** argv) {
  auto [options, exitCode] = ParseOptions(argc, argv);
  if (exitCode) return *exitCode;
  Report report{LoadConfiguration(options.source), options.latency, {}};
  const Configuration& configuration = report.configuration;
  const LineTime time(configuration.settings, configuration.baud, options.latency);
  for (const Group& group : configuration.groups)
    report.groups.push_back(PlanGroup(group, configuration.settings.gap, time));
  if (options.json)
    PrintJson(report, std::cout);
  else
    PrintText(report, std::cout);
  return report.KeepsUp() ? KeepsUp : DoesNotKeepUp;
}

}  // namespace

}  // namespace orvo::modbus_plan

int main(int argc, char** argv) {
  try {
    return orvo::modbus_plan::Main(argc, argv);
  } catch (const orvo::AutomationError& error) {
    orvo::modbus_plan::Complain("error " + std::to_string(error.Number()) + ": " + error.Description());
  } catch (const std::exception& error) {
    orvo::modbus_plan::Complain(error.what());
  }
  return orvo::modbus_plan::NoPlan;
}
