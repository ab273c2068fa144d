// Watches groups: tells a view what each refresh brought, and notices when a group falls silent.
//
// DataChange tells values only, and nothing of a refresh that changed none; the spooler's event tells each
// refresh that came back, with its errors.
#pragma once

#include "WatchView.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::client {

class Watcher {
 public:
  // The groups are subscribed and refreshed every `rate` milliseconds; nothing: at their own rate. A group
  // without items is left out. Communication is closed. Raises errInvalidValue when the device allows fewer
  // active groups.
  Watcher(Session& session, const std::vector<std::shared_ptr<KELDataGroup>>& groups,
          std::optional<std::int32_t> rate, WatchView& view);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  ~Watcher();

  // Opens communication and pumps: until the duration is over, `count` DataChange events came, the client is to
  // end, or the output fails. Closes communication.
  void Run(std::optional<std::chrono::milliseconds> duration, std::optional<std::int64_t> count);

  const WatchCounts& Counts() const noexcept { return counts_; }
  // Whether a group has not answered for long, or a refresh that was due never brought an answer.
  bool AnySilent() const;
  // Whether an item's latest refresh brought an error.
  bool AnyError() const;

 private:
  class GroupSink;
  class RefreshSink;
  struct Watched {
    std::shared_ptr<KELDataGroup> group;
    std::int32_t cookie = 0;
    std::map<std::int32_t, Variant> changed;      // by handle: of the DataChange that was raised last
    std::map<std::int32_t, std::int32_t> errors;  // by handle: of the latest refresh
    std::uint32_t answeredTick = 0;
    Date answeredAt;
    bool silent = false;
    bool answered = false;  // ever
  };

  void DataChanged(std::size_t index, const SafeArray<std::int32_t>& handles, const SafeArray<Variant>& values);
  void Refreshed(const DataRequest& request);
  void LookForSilence();
  void LookForMuteness();
  void TellSilent(Watched& watched);
  static std::uint32_t Patience(const KELDataGroup& group);

  Session& session_;
  WatchView& view_;
  std::vector<Watched> watched_;
  WatchCounts counts_;
  std::int32_t cookie_ = 0;
};

}  // namespace orvo::client
