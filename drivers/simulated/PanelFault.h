// One fault of the simulated panel: what it hits, what happens then, and to which of the calls.
#pragma once

#include "simulated/PanelOperation.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

enum class PanelFaultAction : std::int32_t {
  Fail,     // the call fails with number and text; an item: the item's error in the answer is the number
  Refuse,   // read or write: fails with 1; a question: answered False or nothing; an item: does not compile
  Delay,    // answered `time` later, outstanding meanwhile
  Never,    // outstanding until communication is closed, and not answered then either
  Twice,    // answered, and once more by the next pass of the message loop
  Late,     // done at its time, but the answer arrives `time` later, whatever is in flight by then
  Short,    // the arrays of the answer, or the group's buffer, are `count` elements shorter
  Long,     // ... longer
  Break,    // a download breaks off at block `count`
  Restart,  // a download breaks off at block `count`, as the panel restarts
  Corrupt,  // a byte of block `count` changes on the line; block 0: of the whole image, in the panel
};

struct PanelFault {
  // An operation or an item (by its compiled address); with neither, every operation that the action fits.
  std::optional<PanelOperation> operation;
  std::optional<double> item;

  PanelFaultAction action = PanelFaultAction::Fail;
  std::int32_t number = 0;            // Fail
  std::string text;                   // Fail, of an operation
  std::chrono::milliseconds time{0};  // Delay, Late
  std::size_t count = 0;              // Short, Long: elements; Break, Restart, Corrupt: the block, from 1

  // Which of the calls (or requests, compilations, blocks) that it fits it hits.
  std::uint64_t after = 0;  // so many pass first
  std::uint64_t times = 0;  // so many are hit; 0: every one
  double chance = 100;      // in per cent; a call that is spared by chance does not count for `times`
};

// The action as scripts write it, "fail".
std::string_view PanelFaultActionName(PanelFaultAction action) noexcept;
// The action of exactly this name.
std::optional<PanelFaultAction> FindPanelFaultAction(std::string_view name) noexcept;
// Whether the action has a meaning for the operation, or for an item (nothing).
bool PanelFaultFits(PanelFaultAction action, std::optional<PanelOperation> operation) noexcept;

}  // namespace orvo
