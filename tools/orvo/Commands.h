// The commands of the client. Each returns its exit code and raises AutomationError for what goes wrong.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::client {

// What the commands that reach a device have in common.
struct Connection {
  std::string driverFile;  // empty: the simulated panel
  std::int32_t deviceType = 2;
};

// 0 = success; 1 = an error of the system; 2 = an item's own error.
enum ExitCode : std::uint8_t { Success = 0, Failed = 1, ItemFailed = 2 };

// Shows the server at work against the simulated panel, for about `watch` plus two seconds.
int RunDemo(std::chrono::milliseconds watch);
int RunInfo(const Connection& connection);
int RunRead(const Connection& connection, const std::vector<std::string>& items);
// `assignments`: ITEM=VALUE.
int RunWrite(const Connection& connection, const std::vector<std::string>& assignments);
// Prints one line per change for `duration`.
int RunWatch(const Connection& connection, const std::vector<std::string>& items, std::int32_t rate,
             std::chrono::milliseconds duration);

}  // namespace orvo::client
