// drivers: what --drivers FILE can name.

#include "Commands.h"
#include "DriverSources.h"
#include "ExitCode.h"
#include "simulated/SimulatedPanel.h"
#include "values/Text.h"

#include <iostream>

namespace orvo::client {

int RunDrivers(const Options& options) {
  const DriverSources sources;
  const auto writer = MakeRowWriter(options.format,
                                    {{"identifier", "identifier"},
                                     {"description", "description"},
                                     {"library", "library"},
                                     {"state", "state"}},
                                    std::cout);
  writer->Row({SimulatedPanel::ProgId, PanelOptions().description, "(built in)", "usable"});
  for (const FoundDriver& driver : sources.List()) {
    const bool hidden = FoldCase(driver.progId) == FoldCase(SimulatedPanel::ProgId);
    writer->Row({driver.progId, driver.description, driver.path,
                 hidden ? "not used: the one that is built in comes first" : driver.state});
  }
  writer->End();
  std::cout.flush();
  if (options.format == Format::Table) std::cout << '\n' << sources.Note() << '\n';
  return Success;
}

}  // namespace orvo::client
