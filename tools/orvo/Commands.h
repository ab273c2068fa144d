// The commands of the client. Each prints to the standard output, returns its exit code, and raises
// AutomationError, UsageError or EndRequested for what goes wrong.
#pragma once

#include "Connection.h"
#include "RowWriter.h"
#include "Session.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvo::client {

// Milliseconds between two refreshes of a group that is given no rate.
inline constexpr std::int32_t DefaultRate = 500;

// What the options of a command can say. A command looks at those that it has.
struct Options {
  Connection connection;
  Selection selection;
  std::vector<std::string> assignments;
  std::string file;
  Format format = Format::Table;
  std::chrono::milliseconds timeout{10000};
  std::optional<std::int32_t> rate;  // milliseconds
  std::int32_t groupId = 0;
  std::optional<std::chrono::milliseconds> duration;
  std::optional<std::int64_t> count;
  std::string errorNumber;
};

// Shows the server at work against the simulated panel, for about the duration plus two seconds.
int RunDemo(std::chrono::milliseconds watch);
int RunInfo(Session& session, const Options& options);
int RunItems(Session& session, const Options& options);
int RunRead(Session& session, const Options& options);
int RunWrite(Session& session, const Options& options);
int RunWatch(Session& session, const Options& options);
int RunExplain(Session& session, const Options& options);
int RunDownloadFirmware(Session& session, const Options& options);
int RunDownloadProject(Session& session, const Options& options);
int RunConfigCheck(Session& session, const Options& options);
int RunConfigSave(Session& session, const Options& options);
int RunErrors(const Options& options);
int RunDrivers(const Options& options);

}  // namespace orvo::client
