#include "modbus/ReadPlan.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

namespace orvo::modbus {

namespace {

std::tuple<Area, std::int32_t, std::int32_t> OrderOf(const Span& place) noexcept {
  return {place.area, place.start, place.count};
}

}  // namespace

void Obstacles::PutCut(Area area, std::int32_t address) {
  if (cuts_.emplace(area, address).second) ++version_;
}

void Obstacles::PutAlone(const Span& place) {
  if (alone_.emplace(place.area, std::pair(place.start, place.count)).second) ++version_;
}

void Obstacles::Forget(const Span& place) {
  if (alone_.erase({place.area, {place.start, place.count}}) != 0) ++version_;
}

void Obstacles::ForgetNextCut() {
  if (cuts_.empty()) return;
  auto next = cuts_.upper_bound(lastForgotten_);
  if (next == cuts_.end()) next = cuts_.begin();
  lastForgotten_ = *next;
  cuts_.erase(next);
  ++version_;
}

bool Obstacles::HasCutWithin(Area area, std::int32_t first, std::int32_t last) const {
  const auto cut = cuts_.upper_bound({area, first});
  return cut != cuts_.end() && cut->first == area && cut->second <= last;
}

bool Obstacles::IsAlone(const Span& place) const {
  return alone_.contains({place.area, {place.start, place.count}});
}

bool Obstacles::Separate(const Span& block, const Span& place) const {
  if (IsEmpty() || place.End() <= block.End()) return false;
  // A cut where both lie is one that each of them bridges anyway, unless the place begins at it.
  if (HasCutWithin(block.area, block.End() - 1, place.End() - 1)) return true;
  if (place.start > block.start && HasCutWithin(block.area, place.start - 1, place.start)) return true;
  // A lonely place that the two would hold together and neither holds by itself.
  const Place first{block.area, {block.start, 0}};
  const Place behind{block.area, {place.start, 0}};
  return std::any_of(alone_.lower_bound(first), alone_.lower_bound(behind), [&](const Place& alone) {
    const std::int32_t end = alone.second.first + alone.second.second;
    return end > block.End() && end <= place.End();
  });
}

std::vector<ReadBlock> PlanReads(std::span<const Span> places, std::int32_t gap, const Obstacles& obstacles) {
  std::vector<std::size_t> order(places.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto before = [&](std::size_t a, std::size_t b) { return OrderOf(places[a]) < OrderOf(places[b]); };
  if (!std::is_sorted(order.begin(), order.end(), before)) std::stable_sort(order.begin(), order.end(), before);

  std::vector<ReadBlock> blocks;
  // The block that is still growing, and the lonely one that was opened last; both behind all others of their
  // area that could take the next place.
  constexpr std::size_t None = std::numeric_limits<std::size_t>::max();
  std::size_t growing = None;
  std::size_t lonely = None;
  const auto open = [&](const Span& place, bool isLonely) {
    blocks.push_back({place, {}, isLonely});
    return blocks.size() - 1;
  };
  // The lowest place that is not covered yet has to begin a block, and each block takes what it can reach. A
  // place that it cannot reach ends it: what follows and would still fit lies inside that place.
  for (const std::size_t item : order) {
    const Span& place = places[item];
    if (!obstacles.IsEmpty() && obstacles.IsAlone(place)) {
      if (lonely == None || blocks[lonely].span != place) lonely = open(place, true);
      blocks[lonely].items.push_back(item);
      continue;
    }
    const auto reaches = [&](const Span& block) {
      return block.area == place.area && place.start - block.End() <= GapOf(place.area, gap) &&
             std::max(block.End(), place.End()) - block.start <= MostRead(place.area) &&
             !obstacles.Separate(block, place);
    };
    if (growing == None || !reaches(blocks[growing].span)) growing = open(place, false);
    ReadBlock& block = blocks[growing];
    block.span.count = std::max(block.span.End(), place.End()) - block.span.start;
    block.items.push_back(item);
  }
  return blocks;
}

}  // namespace orvo::modbus
