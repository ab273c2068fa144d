#include "simulated/PanelSignal.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelItem.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace orvo {

double PanelSignal::At(std::int64_t elapsedMs) const {
  const double part = static_cast<double>(elapsedMs % periodMs) / static_cast<double>(periodMs);
  switch (kind) {
    case PanelSignalKind::Ramp:
      return low + (high - low) * part;
    case PanelSignalKind::Sine:
      return (low + high) / 2 + (high - low) / 2 * std::sin(2 * std::numbers::pi * part);
    case PanelSignalKind::Square:
      return part < 0.5 ? low : high;
    case PanelSignalKind::Counter:
      break;
  }
  const double steps = std::floor(high - low) + 1;
  const std::int64_t periods = elapsedMs / periodMs;
  return low + std::fmod(static_cast<double>(periods), steps);
}

PanelSignals::PanelSignals(std::vector<PanelSignal> signals) {
  placed_.reserve(signals.size());
  for (PanelSignal& signal : signals) {
    const PanelAddress address = PanelIdentifier::Parse(signal.identifier).address;
    const auto refuse = [&signal](const char* wrong) {
      throw AutomationError(PanelBadValue, "Signal on '" + signal.identifier + "': " + wrong);
    };
    if (address.kind == PanelItemKind::String || address.kind == PanelItemKind::Raw)
      refuse("only numbers can move by themselves");
    if (!std::isfinite(signal.low) || !std::isfinite(signal.high) || signal.high < signal.low)
      refuse("the range needs two numbers, the high one not below the low one");
    if (signal.periodMs < 1) refuse("the period must be at least 1 ms");
    placed_.push_back({std::move(signal), address});
  }
}

void PanelSignals::Apply(PanelMemory& memory, std::int64_t elapsedMs) const {
  for (const Placed& placed : placed_) {
    const std::int32_t words =
        placed.address.kind == PanelItemKind::DoubleWord || placed.address.kind == PanelItemKind::Single ? 2
                                                                                                         : 1;
    try {
      WritePanelItem(memory, placed.address, words, placed.signal.At(elapsedMs));
    } catch (const AutomationError&) {
      continue;
    }
  }
}

}  // namespace orvo
