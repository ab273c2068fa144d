// A table of all watched items that is drawn over itself on a terminal, at most twenty times a second.
//
// It takes no more than the terminal's height and width, and says how many rows do not fit. The cursor is
// hidden while it lives. The terminal cuts what is too long: characters may be two columns wide.
#pragma once

#include "WatchView.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::client {

class LiveTable final : public WatchView {
 public:
  LiveTable(const ThreadPlatform& platform, std::vector<std::shared_ptr<KELDataGroup>> groups,
            std::ostream& out);
  ~LiveTable() override;

  void Refreshed(const KELDataGroup& group, const std::vector<Change>& changes,
                 const WatchCounts& counts) override;
  void Poll() override;
  // A line below the table names the silent groups.
  void Silent(const KELDataGroup& group, const std::string& since) override;
  // Above the table.
  void Say(const std::string& line) override;
  void End(const WatchCounts& counts) override;

 private:
  // The latest of one item.
  struct Row {
    std::string value = "-";
    std::string error;
    std::string time = "-";
  };

  std::vector<std::string> Lines(std::size_t room) const;
  std::string SilenceText() const;
  void Erase();
  void Draw();

  const ThreadPlatform& platform_;
  const std::vector<std::shared_ptr<KELDataGroup>> groups_;
  std::ostream& out_;
  const std::uint32_t start_;

  std::map<const KELDataItem*, Row> rows_;
  std::map<const KELDataGroup*, std::string> silent_;  // since when
  WatchCounts counts_;
  std::uint32_t drawnAt_;
  bool changed_ = true;
  std::size_t linesDrawn_ = 0;
};

}  // namespace orvo::client
