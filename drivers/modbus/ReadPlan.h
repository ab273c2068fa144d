// Which requests read a list of items.
#pragma once

#include "modbus/Area.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <utility>
#include <vector>

namespace orvo::modbus {

// What was learned of the device since it was connected: places that its blocks must not bridge.
class Obstacles {
 public:
  // No block reaches over `area`'s address from below it to it.
  void PutCut(Area area, std::int32_t address);
  // This place is read in a request of its own.
  void PutAlone(const Span& place);
  // It can be read: nothing is special about it any more.
  void Forget(const Span& place);
  void Clear() noexcept;

  bool HasCutWithin(Area area, std::int32_t first, std::int32_t last) const;  // a cut at first + 1 .. last
  bool IsAlone(const Span& place) const;
  // Grows with every change.
  std::uint64_t Version() const noexcept { return version_; }

 private:
  std::set<std::pair<Area, std::int32_t>> cuts_;
  std::set<std::pair<Area, std::pair<std::int32_t, std::int32_t>>> alone_;
  std::uint64_t version_ = 0;
};

// One request, and the items that it serves.
struct ReadBlock {
  Span span;
  std::vector<std::size_t> items;  // positions in the list of places, in the order of their addresses
};

// Blocks for `places`, by area and address: neighbours with at most `gap` registers (16 * gap bits) between
// them share a request as far as the limits of a request go; no place is divided; equal and overlapping places
// are read once. O(n log n), O(n) when the places come in order.
std::vector<ReadBlock> PlanReads(std::span<const Span> places, std::int32_t gap, const Obstacles& obstacles);

}  // namespace orvo::modbus
