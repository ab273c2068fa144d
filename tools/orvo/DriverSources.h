// Where drivers that are not built into the client come from. Each system has its own implementation.
#pragma once

#include "spooler/DriverRegistry.h"

#include <memory>
#include <string>
#include <vector>

namespace orvo::client {

// A driver that is not built in.
struct FoundDriver {
  std::string progId;
  std::string description;
  std::string path;
  std::string state;  // "usable", or why it is not used
};

class DriverSources {
 public:
  DriverSources();
  DriverSources(const DriverSources&) = delete;
  DriverSources& operator=(const DriverSources&) = delete;
  ~DriverSources();

  // Has `registry` look here too. These sources live longer than the registry and every driver.
  void PlugInto(DriverRegistry& registry) const;
  std::vector<FoundDriver> List() const;
  // Where List looked, as a sentence.
  std::string Note() const;

 private:
  struct Libraries;
  const std::unique_ptr<Libraries> libraries_;
};

}  // namespace orvo::client
