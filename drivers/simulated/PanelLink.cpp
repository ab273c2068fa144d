#include "simulated/PanelLink.h"

#include <algorithm>

namespace orvo {

bool PanelLinkCut::Touches(std::int64_t fromMs, std::int64_t toMs) const noexcept {
  if (toMs < atMs) return false;
  if (forMs == 0) return true;
  // The cut that began last ends last, as cuts do not overlap.
  const std::int64_t began = everyMs == 0 ? atMs : toMs - (toMs - atMs) % everyMs;
  return began + forMs > fromMs;
}

bool IsLinkCutWithin(const std::vector<PanelLinkCut>& cuts, std::int64_t fromMs, std::int64_t toMs) noexcept {
  return std::any_of(cuts.begin(), cuts.end(),
                     [=](const PanelLinkCut& cut) { return cut.Touches(fromMs, toMs); });
}

}  // namespace orvo
