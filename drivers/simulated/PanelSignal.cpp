#include "simulated/PanelSignal.h"

#include "errors/AutomationError.h"
#include "simulated/PanelErrors.h"
#include "simulated/PanelItem.h"
#include "values/Dates.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <utility>

namespace orvo {

double PanelSignal::At(std::int64_t elapsedMs) const {
  if (kind == PanelSignalKind::Constant) return low;
  if (kind == PanelSignalKind::Clock) return 0;
  const double part = static_cast<double>(elapsedMs % periodMs) / static_cast<double>(periodMs);
  switch (kind) {
    case PanelSignalKind::Ramp:
      return low + (high - low) * part;
    case PanelSignalKind::Sine:
      return (low + high) / 2 + (high - low) / 2 * std::sin(2 * std::numbers::pi * part);
    case PanelSignalKind::Square:
      return part < 0.5 ? low : high;
    default:
      break;  // the counter
  }
  const double steps = std::floor(high - low) + 1;
  const std::int64_t periods = elapsedMs / periodMs;
  return low + std::fmod(static_cast<double>(periods), steps);
}

std::string PanelClockText(Date localNow, std::int64_t elapsedMs, std::int64_t periodMs) {
  constexpr double millisecondsOfDay = 86'400'000;
  const double back = static_cast<double>(elapsedMs % periodMs) / millisecondsOfDay;
  const CivilTime time = CivilFromDate({localNow.days - back});
  const auto digits = [](std::int32_t number, std::size_t count) {
    const std::string text = std::to_string(number);
    return std::string(count - std::min(count, text.size()), '0') + text;
  };
  return digits(time.year, 4) + '-' + digits(time.month, 2) + '-' + digits(time.day, 2) + ' ' +
         digits(time.hour, 2) + ':' + digits(time.minute, 2) + ':' + digits(time.second, 2);
}

PanelSignals::PanelSignals(std::vector<PanelSignal> signals) {
  placed_.reserve(signals.size());
  for (PanelSignal& signal : signals) {
    const PanelIdentifier item = PanelIdentifier::Parse(signal.identifier);
    const PanelItemKind place = item.address.kind;
    const auto refuse = [&signal](const std::string& wrong) {
      throw AutomationError(PanelBadValue, "Signal on '" + signal.identifier + "': " + wrong);
    };
    if (signal.kind == PanelSignalKind::Clock) {
      if (place != PanelItemKind::String || 2 * item.wordLength < PanelClockCharacters)
        refuse("a clock needs a string item of at least " + std::to_string(PanelClockCharacters) +
               " characters");
    } else if (place == PanelItemKind::String || place == PanelItemKind::Raw) {
      refuse("only numbers can move by themselves");
    }
    if (!std::isfinite(signal.low) || !std::isfinite(signal.high) || signal.high < signal.low)
      refuse("the range needs two numbers, the high one not below the low one");
    if (signal.kind != PanelSignalKind::Constant && signal.periodMs < 1)
      refuse("the period must be at least 1 ms");
    placed_.push_back({std::move(signal), item.address, item.wordLength});
  }
}

void PanelSignals::Apply(PanelMemory& memory, std::int64_t elapsedMs, const ThreadPlatform& platform) const {
  for (const Placed& placed : placed_) {
    const PanelSignal& signal = placed.signal;
    try {
      if (signal.kind == PanelSignalKind::Clock) {
        const std::string text = PanelClockText(platform.LocalNow(), elapsedMs, signal.periodMs);
        memory.PutBytes(placed.address.address,
                        std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
      } else {
        WritePanelItem(memory, placed.address, placed.wordLength, signal.At(elapsedMs));
      }
    } catch (const AutomationError&) {
      continue;
    }
  }
}

}  // namespace orvo
