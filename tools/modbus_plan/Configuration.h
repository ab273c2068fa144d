// The configuration that is planned: a connection, and groups of items.
#pragma once

#include "GroupPlan.h"
#include "modbus/Settings.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::modbus_plan {

// The configuration has no plan; the text tells why, one line for each problem.
class ConfigurationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Source {
  std::string driverFile;  // driver configuration file
  std::string savedFile;   // saved configuration; may be empty
  std::optional<std::int32_t>
      deviceType;                       // else that of the saved configuration, else the first of the driver's
  std::vector<std::string> itemIds;     // a further group of these items
  std::int32_t itemRate = 0;            // its update rate
  std::vector<std::string> refusedIds;  // items that the device refuses
};

struct Configuration {
  std::int32_t deviceType = 0;
  std::string connection;  // as the driver configuration file has it
  modbus::Settings settings;
  std::int32_t baud = 0;  // of RTU
  std::vector<Group> groups;
};

// Lets a server load it; nothing is opened. ConfigurationError, or AutomationError for a file that cannot be
// read.
Configuration LoadConfiguration(const Source& source);

}  // namespace orvo::modbus_plan
