#include "LiveTable.h"

#include "Table.h"
#include "Terminal.h"
#include "Values.h"
#include "values/Text.h"

#include <algorithm>
#include <iostream>

namespace orvo::client {

namespace {

constexpr std::uint32_t ShortestPause = 50;  // ms between two drawings
constexpr std::uint32_t LongestPause = 1000;
constexpr const char* HideCursor = "\x1b[?25l";
constexpr const char* ShowCursor = "\x1b[?25h";
constexpr const char* CutLines = "\x1b[?7l";
constexpr const char* WrapLines = "\x1b[?7h";

}  // namespace

LiveTable::LiveTable(const ThreadPlatform& platform, std::vector<std::shared_ptr<KELDataGroup>> groups,
                     std::ostream& out)
    : platform_(platform),
      groups_(std::move(groups)),
      out_(out),
      start_(platform.TickCount()),
      drawnAt_(start_ - ShortestPause) {
  out_ << HideCursor << std::flush;
}

LiveTable::~LiveTable() {
  out_ << ShowCursor << std::flush;
}

void LiveTable::Refreshed(const KELDataGroup& /*group*/, const std::vector<Change>& changes,
                          const WatchCounts& counts) {
  const std::string time = TimeText(platform_.LocalNow());
  constexpr std::size_t dateLength = 11;  // the day is no news
  for (const Change& change : changes) {
    Row& row = rows_[change.item.get()];
    row.value = ValueText(change.value);
    row.error = change.error == 0 ? "" : std::to_string(change.error);
    row.time = time.substr(dateLength);
    changed_ = true;
  }
  counts_ = counts;
}

void LiveTable::Poll() {
  const std::uint32_t since = platform_.TickCount() - drawnAt_;
  if (since >= LongestPause || (changed_ && since >= ShortestPause)) Draw();
}

void LiveTable::Silent(const KELDataGroup& group, const std::string& since) {
  if (since.empty())
    silent_.erase(&group);
  else
    silent_.insert_or_assign(&group, since);
  changed_ = true;
}

void LiveTable::Say(const std::string& line) {
  Erase();
  out_.flush();
  WatchView::Say(line);
  Draw();
}

void LiveTable::End(const WatchCounts& counts) {
  counts_ = counts;
  Draw();
}

// At most `room` lines, the heading's two included; a last one tells how many items are left out.
std::vector<std::string> LiveTable::Lines(std::size_t room) const {
  const bool grouped = groups_.size() > 1;
  std::vector<std::string> header{"item", "identifier", "value", "error", "changed at"};
  if (grouped) header.insert(header.begin(), "group");
  Table table(std::move(header));
  std::size_t items = 0;
  for (const auto& group : groups_)
    items += static_cast<std::size_t>(group->KELDataItems()->Count());
  constexpr std::size_t heading = 2;
  const bool allFit = items + heading <= room;
  const std::size_t shown = allFit ? items : room - std::min(room, heading + 1);
  const Row none;
  std::size_t rows = 0;
  for (const auto& group : groups_) {
    group->Items().Walk([&](const KELDataItem& item) {
      if (rows == shown) return true;
      const auto found = rows_.find(&item);
      const Row& row = found == rows_.end() ? none : found->second;
      std::vector<std::string> texts{item.ItemName(), IdentifierText(item), row.value, row.error, row.time};
      if (grouped) texts.insert(texts.begin(), group->GroupName());
      table.Add(std::move(texts));
      ++rows;
      return false;
    });
  }
  std::vector<std::string> lines = table.Lines();
  if (allFit) return lines;
  lines.resize(std::min(lines.size(), room - 1));
  lines.push_back("  ... " + std::to_string(items - shown) + " more rows do not fit");
  return lines;
}

std::string LiveTable::SilenceText() const {
  std::string text;
  for (const auto& group : groups_)
    if (const auto found = silent_.find(group.get()); found != silent_.end())
      text += (text.empty() ? "  silent since " : ", ") + found->second + ": " + Shown(group->GroupName());
  return text;
}

void LiveTable::Erase() {
  if (linesDrawn_ > 0) out_ << "\r\x1b[" << linesDrawn_ << "A\x1b[J";
  linesDrawn_ = 0;
}

void LiveTable::Draw() {
  const TerminalSize size = OutputSize();

  // Below the table: the silent groups, the counts, and the line that the cursor stands in.
  const std::string silence = SilenceText();
  const std::size_t below = silence.empty() ? 2 : 3;
  const std::size_t room = size.rows > below ? size.rows - below : 1;
  std::vector<std::string> lines = Lines(room);
  if (!silence.empty()) lines.push_back(silence);
  lines.push_back(ElapsedText(platform_, start_) + "  " + CountsText(counts_));
  Erase();
  out_ << CutLines;
  for (const std::string& line : lines)
    out_ << LeftUnits(line, static_cast<std::int64_t>(size.columns) - 1) << '\n';
  out_ << WrapLines << std::flush;
  linesDrawn_ = lines.size();
  drawnAt_ = platform_.TickCount();
  changed_ = false;
}

}  // namespace orvo::client
