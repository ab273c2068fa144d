#include "WatchView.h"

#include "LiveTable.h"
#include "Terminal.h"
#include "Values.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace orvo::client {

namespace {

class RowsView final : public WatchView {
 public:
  RowsView(const ThreadPlatform& platform, Format format, std::ostream& out)
      : platform_(platform),
        out_(out),
        writer_(MakeRowWriter(format,
                              {{"time", "time"},
                               {"group", "group"},
                               {"item", "item"},
                               {"identifier", "identifier"},
                               {"value", "value"},
                               {"error", "error"}},
                              out)) {
    out_.flush();
  }

  void Refreshed(const KELDataGroup& group, const std::vector<Change>& changes,
                 const WatchCounts& /*counts*/) override {
    const std::string time = TimeText(platform_.LocalNow());
    for (const Change& change : changes)
      writer_->Row({time, group.GroupName(), change.item->ItemName(), change.item->ItemId(),
                    Cell::Of(change.value), change.error});
    if (!changes.empty()) out_.flush();
  }
  void End(const WatchCounts& /*counts*/) override { writer_->End(); }

 private:
  const ThreadPlatform& platform_;
  std::ostream& out_;
  const std::unique_ptr<RowWriter> writer_;
};

class LinesView final : public WatchView {
 public:
  LinesView(const ThreadPlatform& platform, bool grouped, std::ostream& out)
      : platform_(platform), grouped_(grouped), out_(out), start_(platform.TickCount()) {}

  void Refreshed(const KELDataGroup& group, const std::vector<Change>& changes,
                 const WatchCounts& /*counts*/) override {
    if (changes.empty()) return;
    out_ << ElapsedText(platform_, start_);
    if (grouped_) out_ << "  " << Shown(group.GroupName()) << ':';
    for (const Change& change : changes) {
      out_ << "  " << Shown(change.item->ItemId()) << '=';
      if (change.error != 0)
        out_ << "error " << change.error;
      else
        out_ << ValueText(change.value);
    }
    out_ << std::endl;
  }
  void End(const WatchCounts& counts) override { out_ << CountsText(counts) << '\n'; }

 private:
  const ThreadPlatform& platform_;
  const bool grouped_;
  std::ostream& out_;
  const std::uint32_t start_;
};

}  // namespace

void WatchView::Say(const std::string& line) {
  std::cerr << Shown(line) << std::endl;
}

std::unique_ptr<WatchView> MakeRowsView(const ThreadPlatform& platform, Format format, std::ostream& out) {
  return std::make_unique<RowsView>(platform, format, out);
}

std::unique_ptr<WatchView> MakeLinesView(const ThreadPlatform& platform, bool grouped, std::ostream& out) {
  return std::make_unique<LinesView>(platform, grouped, out);
}

std::unique_ptr<WatchView> MakePersonsView(const ThreadPlatform& platform,
                                           const std::vector<std::shared_ptr<KELDataGroup>>& groups,
                                           std::ostream& out) {
  if (OutputCanBeRedrawn()) return std::make_unique<LiveTable>(platform, groups, out);
  return MakeLinesView(platform, groups.size() > 1, out);
}

std::string SecondsText(std::uint32_t milliseconds) {
  return std::to_string(milliseconds / 1000) + "." + std::to_string(milliseconds % 1000 / 100) + " s";
}

std::string ElapsedText(const ThreadPlatform& platform, std::uint32_t start) {
  const std::string text = SecondsText(platform.TickCount() - start);
  constexpr std::size_t width = 7;
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string CountsText(const WatchCounts& counts) {
  return std::to_string(counts.events) + " DataChange events with " + std::to_string(counts.values) +
         " changed values";
}

}  // namespace orvo::client
