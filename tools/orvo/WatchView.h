// What a watch shows: the changes of each refresh, in one of several forms.
#pragma once

#include "Commands.h"
#include "RowWriter.h"
#include "Session.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace orvo::client {

// One item whose value or error changed.
struct Change {
  std::shared_ptr<KELDataItem> item;
  Variant value;  // Empty beside an error
  std::int32_t error = 0;
};

// How much a watch has seen.
struct WatchCounts {
  std::int64_t events = 0;  // DataChange events
  std::int64_t values = 0;  // values and errors that were shown as changed
};

class WatchView {
 public:
  WatchView() = default;
  WatchView(const WatchView&) = delete;
  WatchView& operator=(const WatchView&) = delete;
  virtual ~WatchView() = default;

  // A refresh of the group came back; `changes` may be empty.
  virtual void Refreshed(const KELDataGroup& group, const std::vector<Change>& changes,
                         const WatchCounts& counts) = 0;
  // Comes after each pass of the message loop.
  virtual void Poll() {}
  // The group has not answered since that time, "12:00:03"; empty: it answers again. Say tells it, too.
  virtual void Silent(const KELDataGroup& /*group*/, const std::string& /*since*/) {}
  // A line for the error output.
  virtual void Say(const std::string& line);
  // The watch is over. Not called when it ends with a failure.
  virtual void End(const WatchCounts& counts) = 0;
};

// For rows: CSV and JSON Lines.
std::unique_ptr<WatchView> MakeRowsView(const ThreadPlatform& platform, Format format, std::ostream& out);
// A line for each refresh that changed something, with the seconds since the start. `grouped`: each line names
// its group.
std::unique_ptr<WatchView> MakeLinesView(const ThreadPlatform& platform, bool grouped, std::ostream& out);
// The view for a person: the live table on a terminal that can show one, lines otherwise.
std::unique_ptr<WatchView> MakePersonsView(const ThreadPlatform& platform,
                                           const std::vector<std::shared_ptr<KELDataGroup>>& groups,
                                           std::ostream& out);

// "12.3 s"
std::string SecondsText(std::uint32_t milliseconds);
// Seconds since `start`, a tick count, in a column of their own.
std::string ElapsedText(const ThreadPlatform& platform, std::uint32_t start);
std::string CountsText(const WatchCounts& counts);

}  // namespace orvo::client
