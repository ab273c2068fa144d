// watch.

#include "Commands.h"
#include "ExitCode.h"
#include "GroupLayout.h"
#include "Interrupt.h"
#include "Watcher.h"

#include <iostream>

namespace orvo::client {

int RunWatch(Session& session, const Options& options) {
  const auto groups = session.Select(options.selection, "watch");
  if (!options.selection.items.empty() && session.server->TransfersWholeGroups())
    throw UsageError(
        "this driver refreshes whole groups, in which items of the command line have no place: watch a "
        "group of a configuration (--config FILE), or read the items");
  if (session.server->TransfersWholeGroups())
    for (const auto& group : groups)
      if (const auto mistake = LayoutMistake(*group))
        throw UsageError("this driver refreshes whole groups: " + *mistake +
                         "; 'config save' gives each its place");
  // A group that is new, or was saved without a rate, would be refreshed as fast as the timers allow.
  if (!options.rate)
    for (const auto& group : groups)
      if (group->UpdateRate() == 0) group->PutUpdateRate(DefaultRate);
  const std::unique_ptr<WatchView> view =
      options.format == Format::Table
          ? MakePersonsView(session.platform, groups, std::cout)
          : MakeRowsView(session.platform, options.format == Format::Json ? Format::JsonLines : options.format,
                         std::cout);
  Watcher watcher(session, groups, options.rate, *view);
  watcher.Run(options.duration, options.count);
  view->End(watcher.Counts());
  Interrupt::Check();
  if (watcher.AnySilent()) return FallenSilent;
  return watcher.AnyError() ? ItemFailed : Success;
}

}  // namespace orvo::client
