// What every command of the client works with: this thread's platform, the drivers that it knows, and one
// server.
#pragma once

#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"
#include "spooler/DriverRegistry.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo::client {

class Session {
 public:
  Session();

  PortablePlatform platform;
  std::shared_ptr<KELDataServer> server;

  // Loads the driver file and selects the device type: status 2. Without a file, the client's own that names
  // the simulated panel with its moving values.
  void Configure(const std::string& driverFile, std::int32_t deviceType);
  // A group with one item per identifier; "ID:signed" and "ID:bcd" set the option.
  std::shared_ptr<KELDataGroup> AddItems(const std::string& groupName, const std::vector<std::string>& itemIds);

 private:
  DiskFiles files_;
  DriverRegistry drivers_;
};

// The driver configuration file that the client uses when it is given none.
extern const char* const DemoDriverFile;

}  // namespace orvo::client
