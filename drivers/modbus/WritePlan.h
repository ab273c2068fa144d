// Which requests write a list of items.
#pragma once

#include "modbus/Area.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvo::modbus {

struct PlannedWrite {
  Span place;
  bool isPart = false;  // bits of one register, the others of which stay as they are
};

// One request: `count` writes of the list from `first` on.
struct WriteRun {
  Span span;
  std::size_t first = 0;
  std::size_t count = 0;

  friend bool operator==(const WriteRun&, const WriteRun&) = default;
};

// Runs for `writes` in their order: those that follow each other in the list and, without gap or overlap, in
// the device share one as far as the limits of a request go. A part of a register has its own. O(n).
std::vector<WriteRun> PlanWrites(std::span<const PlannedWrite> writes);

}  // namespace orvo::modbus
