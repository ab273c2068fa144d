// Values of the panel that move by themselves.
//
// A signal is computed from the milliseconds since the panel was made (or its script applied), so it repeats
// exactly in virtual time. With p the elapsed part of the period, 0 up to 1:
//   Constant low; needs no period
//   Ramp     low + (high - low) * p, falling back to low
//   Sine     the middle + half the range * sin(2 * pi * p)
//   Square   low in the first half of the period, high in the second
//   Counter  low, low + 1, ... up to high, one step per period, then low again
//   Clock    the platform's local time at the last whole period, as text "YYYY-MM-DD hh:mm:ss" in a string item
// Integer items take the nearest integer, bits are set while the value rounds to something other than 0.
#pragma once

#include "platform/ThreadPlatform.h"
#include "simulated/PanelAddress.h"
#include "simulated/PanelMemory.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo {

enum class PanelSignalKind { Ramp, Sine, Square, Counter, Constant, Clock };
inline constexpr std::int32_t PanelClockCharacters = 19;

struct PanelSignal {
  PanelSignalKind kind = PanelSignalKind::Ramp;
  std::string identifier;  // of a number: BI, BY, WO, DW or FL; Clock: ST with room for 19 characters
  double low = 0;
  double high = 0;            // not below low
  std::int64_t periodMs = 0;  // at least 1

  // Of a number; Clock: 0.
  double At(std::int64_t elapsedMs) const;
};

// What a clock with this period shows.
std::string PanelClockText(Date localNow, std::int64_t elapsedMs, std::int64_t periodMs);

class PanelSignals {
 public:
  // Error 10, with the identifier in the text, for a signal that does not keep to the rules above.
  explicit PanelSignals(std::vector<PanelSignal> signals);

  // Puts each signal's value of that moment into the memory, in their order. A value that does not fit its item
  // leaves the memory as it is; so does a clock when there is no date any more.
  void Apply(PanelMemory& memory, std::int64_t elapsedMs, const ThreadPlatform& platform) const;

 private:
  struct Placed {
    PanelSignal signal;
    PanelAddress address;
    std::int32_t wordLength;
  };
  std::vector<Placed> placed_;
};

}  // namespace orvo
