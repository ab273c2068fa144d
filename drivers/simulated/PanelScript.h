// A panel described by a text: its answers, what its memory holds, values that move by themselves, faults, a
// line that breaks. The language is described in docs/panel.md.
//
// A panel takes a script as PanelOptions::script, by SimulatedPanel::LoadScript, or from a file that the device
// kind names: CreateDevice("PanelB?plant.panel"), as it may stand in a driver configuration file. UTF-8, or
// else Windows-1252; line ends are LF or CR LF. Time in a script counts from the moment it is applied.
#pragma once

#include "simulated/PanelAddress.h"
#include "simulated/PanelFault.h"
#include "simulated/PanelLink.h"
#include "simulated/PanelMemory.h"
#include "simulated/PanelSetting.h"
#include "simulated/PanelSignal.h"
#include "values/Variant.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

struct PanelScript {
  struct MemoryEntry {
    PanelAddress item;
    std::int32_t wordLength;
    Variant value;
  };
  static constexpr std::size_t MistakesShown = 10;

  std::uint32_t seed = 0;
  std::vector<PanelSetting> settings;  // in the order of their lines, `answer after` among them
  std::vector<MemoryEntry> memory;
  std::vector<PanelSignal> signals;  // all of them valid
  std::vector<PanelFault> faults;
  std::vector<PanelLinkCut> cuts;

  // Error 10 when a line is wrong; the text names the script by `name`, the number of mistakes, and for each of
  // the first ten its line, what is wrong and what would be right.
  static PanelScript Parse(std::string_view name, std::string_view text);

  // `options` with the settings and signals of the script.
  PanelOptions Applied(PanelOptions options) const;
  void PutMemory(PanelMemory& target) const;
};

}  // namespace orvo
