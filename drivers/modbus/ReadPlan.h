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

// What was learned of the device: what its blocks must not bridge.
class Obstacles {
 public:
  // No block reaches over `area`'s address from below it to it, unless an item of it does.
  void PutCut(Area area, std::int32_t address);
  // This place is read in a request of its own, and no block reaches over it.
  void PutAlone(const Span& place);
  // It can be read: nothing is special about it any more.
  void Forget(const Span& place);
  // One cut, in turn from call to call.
  void ForgetNextCut();

  bool HasCutWithin(Area area, std::int32_t first, std::int32_t last) const;  // a cut at first + 1 .. last
  bool IsAlone(const Span& place) const;
  bool IsEmpty() const noexcept { return cuts_.empty() && alone_.empty(); }
  // Whether a block and a place that begins not before it, in the same area, are kept apart.
  bool Separate(const Span& block, const Span& place) const;
  // Grows with every change.
  std::uint64_t Version() const noexcept { return version_; }

 private:
  using Cut = std::pair<Area, std::int32_t>;
  using Place = std::pair<Area, std::pair<std::int32_t, std::int32_t>>;  // with start and count

  std::set<Cut> cuts_;
  Cut lastForgotten_{};
  std::set<Place> alone_;
  std::uint64_t version_ = 0;
};

// One request, and the items that it serves.
struct ReadBlock {
  Span span;
  std::vector<std::size_t> items;  // positions in the list of places, in the order of their addresses
  bool isLonely = false;           // its place was put alone
};

// The registers (or bits) that a block may read in vain between two places: `gap` registers, 16 times as many
// bits.
constexpr std::int32_t GapOf(Area area, std::int32_t gap) noexcept {
  return HoldsBits(area) ? 16 * gap : gap;
}

// Blocks for `places`, by area and address: neighbours with at most `gap` registers (16 * gap bits) between
// them share a request as far as the limits of a request go; no place is divided; equal and overlapping places
// are read once. There is no smaller number of blocks under these rules. Places that are equal stand together
// in a block. Each place is within the limit of a request. O(n log n), O(n) when the places come in order.
std::vector<ReadBlock> PlanReads(std::span<const Span> places, std::int32_t gap, const Obstacles& obstacles);

}  // namespace orvo::modbus
