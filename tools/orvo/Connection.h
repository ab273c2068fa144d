// How the commands reach a device: what the options say, checked as far as that is possible without a driver.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {
class KELDataServer;
}

namespace orvo::client {

// NAME=VALUE of --set.
struct Setting {
  std::string name;
  std::string value;

  // UsageError, which lists the names, for one that does not exist.
  static Setting Parse(std::string_view text);
  // Puts the property. UsageError for a value that is not of its kind; raises what the server raises.
  void Apply(KELDataServer& server) const;
};

struct Connection {
  static constexpr std::int32_t DefaultDeviceType = 2;

  std::string driverFile;                  // empty: the built-in simulated panel
  std::string panelFile;                   // its script; empty: the demonstration
  std::string configurationFile;           // empty: none
  std::optional<std::int32_t> deviceType;  // nothing: what the configuration says, or the default
  std::vector<std::string> settings;       // NAME=VALUE
};

}  // namespace orvo::client
