#include "ChangeView.h"

#include "Table.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace orvo::client {

bool IsTerminal() {
#ifdef _WIN32
  return _isatty(1) != 0;
#else
  return isatty(STDOUT_FILENO) == 1;
#endif
}

ChangeView::ChangeView(const PortablePlatform& platform, KELDataGroup& group, std::ostream& out, bool live)
    : platform_(platform), group_(group), out_(out), live_(live), start_(platform.TickCount()) {}

std::string ChangeView::Elapsed() const {
  const std::uint32_t milliseconds = platform_.TickCount() - start_;
  std::string text =
      std::to_string(milliseconds / 1000) + "." + std::to_string(milliseconds % 1000 / 100) + " s";
  return std::string(7 - std::min<std::size_t>(7, text.size()), ' ') + text;
}

void ChangeView::DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) {
  ++events_;
  values_ += static_cast<std::int64_t>(DataHandles.Size());
  if (live_) {
    Draw();
    return;
  }
  out_ << Elapsed();
  for (std::size_t k = 0; k < DataHandles.Size(); ++k) {
    const auto item = group_.KELDataItems()->Item(DataHandles.View()[k]);
    out_ << "  " << item->ItemId() << "=" << ValueText(USERValues.View()[k]);
  }
  out_ << std::endl;
}

void ChangeView::Draw() {
  Table table({"item", "identifier", "value", "changed at"});
  for (const auto& item : group_.KELDataItems()->NewEnum())
    table.Add({item->ItemName(), item->ItemId(), ValueText(item->USERValue()), ValueText(item->TimeStamp())});
  std::ostringstream text;
  table.Print(text);
  text << Elapsed() << "  " << events_ << " events, " << values_ << " changed values\n";
  const std::string lines = text.str();
  if (linesDrawn_ > 0) out_ << "\x1b[" << linesDrawn_ << "A\x1b[J";
  linesDrawn_ = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
  out_ << lines << std::flush;
}

void ChangeView::Watch(Session& session, KELDataGroup& group, std::int32_t rate,
                       std::chrono::milliseconds duration, std::ostream& out) {
  const auto view = std::make_shared<ChangeView>(session.platform, group, out, IsTerminal());
  const std::int32_t cookie = group.Events().Advise(view);
  group.PutSubscribed(true);
  group.PutUpdateRate(rate);
  group.PutActive(true);
  session.server->OpenCommunication();
  session.platform.RunFor(duration);
  session.server->CloseCommunication();
  group.PutActive(false);
  group.PutSubscribed(false);
  group.Events().Unadvise(cookie);
  out << view->Events() << " DataChange events with " << view->Values() << " changed values\n";
}

}  // namespace orvo::client
