// Drivers in shared libraries.

#include "DriverSources.h"
#include "platform/portable/SystemLibraries.h"
#include "spooler/DriverLibraries.h"

#include <cstdlib>

namespace orvo::client {

namespace {

std::vector<std::string> Folders() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  return DriverLibraries::SearchPath(std::getenv(DriverLibraries::PathVariable),
                                     {SystemLibraries::NextToProgram(ORVO_DRIVER_FOLDER)});
}

}  // namespace

struct DriverSources::Libraries {
  SystemLibraries loader;
  DriverLibraries drivers{loader, Folders()};
};

DriverSources::DriverSources() : libraries_(std::make_unique<Libraries>()) {}
DriverSources::~DriverSources() = default;

void DriverSources::PlugInto(DriverRegistry& registry) const {
  libraries_->drivers.PlugInto(registry);
}

std::vector<FoundDriver> DriverSources::List() const {
  std::vector<FoundDriver> found;
  for (const DriverLibraries::Found& library : libraries_->drivers.List()) {
    std::string state = "usable";
    if (!library.refusal.empty()) state = "refused: " + library.refusal;
    if (!library.shadowed.empty()) state = "not used: " + library.shadowed + " comes first";
    found.push_back({library.progId, library.description, library.path, state});
  }
  return found;
}

std::string DriverSources::Note() const {
  std::string note = "Driver libraries were looked for in ";
  const char* separator = "";
  for (const std::string& folder : libraries_->drivers.Folders()) {
    note.append(separator).append(folder);
    separator = ", ";
  }
  return note + " (" + DriverLibraries::PathVariable + " puts folders in front).";
}

}  // namespace orvo::client
