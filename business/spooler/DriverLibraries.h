// Drivers in shared libraries, found by their programmatic identifiers on a search path.
//
// The driver MyCompany.Channel is the file "MyCompany.Channel.so" in the first folder of the path that has one;
// names compare without case, as in the registry; of several in one folder the first by its bytes counts. A
// library that cannot be used is refused with the reason; no later one is taken in its place, so that a user
// sees what is wrong with the one that was meant. What a library must be: DriverLibrary.h.
//
// One thread, the owner's. Nothing is cached: a library that is added to a folder is found by the next call.
#pragma once

#include "platform/LibraryLoader.h"
#include "spooler/DriverRegistry.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

struct DriverLibraryFacts;

class DriverLibraries {
 public:
  // One library of the path.
  struct Found {
    std::string progId;       // as the library spells it; of one that is refused: as the file is named
    std::string description;  // empty when it is refused
    std::string path;
    std::string refusal;  // why it cannot be used; empty when it can
    std::string
        shadowed;  // the path of the library that is taken instead of it; empty when it is the one taken
  };

  // The environment variable that lists folders, separated by colons.
  static constexpr const char* PathVariable = "ORVO_DRIVER_PATH";
  // The folders that `variable` (the value of PathVariable, null when it is not set) lists, then `installed`;
  // without empty ones.
  static std::vector<std::string> SearchPath(const char* variable, const std::vector<std::string>& installed);

  // The loader must live longer than this object and every driver that it makes.
  DriverLibraries(LibraryLoader& loader, std::vector<std::string> folders);

  const std::vector<std::string>& Folders() const noexcept { return folders_; }
  // All libraries of the path, in its order. Loads each that is not shadowed; never fails.
  std::vector<Found> List() const;
  // A new driver; null when no folder has a library of this name. Error 429 with library and reason when it is
  // refused or gives no driver. An AutomationError of the factory is passed on; anything else that it throws is
  // error 440 with library and text.
  std::shared_ptr<CommunicationDriver> Create(const std::string& ProgId, DriverHost host) const;
  // Makes `registry` look here for identifiers that no factory bears. When nothing is found the 429 names
  // identifier and folders. These libraries must live longer than the registry.
  void PlugInto(DriverRegistry& registry) const;

 private:
  struct Place {
    std::string name;  // without the ending
    std::string path;
  };
  std::vector<Place> PlacesIn(const std::string& folder) const;
  // The facts of a library that can be used. Error 429 with library and reason otherwise.
  const DriverLibraryFacts& Open(const Place& place) const;

  LibraryLoader& loader_;
  const std::vector<std::string> folders_;
};

}  // namespace orvo
