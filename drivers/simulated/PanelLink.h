// When the line to the panel is cut, by the clock of the script: milliseconds since it was applied.
#pragma once

#include <cstdint>
#include <vector>

namespace orvo {

struct PanelLinkCut {
  std::int64_t atMs = 0;
  std::int64_t forMs = 0;    // 0: for good
  std::int64_t everyMs = 0;  // longer than forMs; 0: once

  // Whether the line is cut at any moment of fromMs..toMs, both included.
  bool Touches(std::int64_t fromMs, std::int64_t toMs) const noexcept;
};

bool IsLinkCutWithin(const std::vector<PanelLinkCut>& cuts, std::int64_t fromMs, std::int64_t toMs) noexcept;

}  // namespace orvo
