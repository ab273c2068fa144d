#include "modbus/Coverage.h"

#include <algorithm>
#include <iterator>

namespace orvo::modbus {

void Coverage::Put(const Span& place) {
  std::int32_t start = place.start;
  std::int32_t end = place.End();
  auto next = ends_.upper_bound({place.area, start});
  if (next != ends_.begin()) {
    const auto previous = std::prev(next);
    if (previous->first.first == place.area && previous->second >= start) next = previous;
  }
  while (next != ends_.end() && next->first.first == place.area && next->first.second <= end) {
    start = std::min(start, next->first.second);
    end = std::max(end, next->second);
    next = ends_.erase(next);
  }
  ends_[{place.area, start}] = end;
}

bool Coverage::Holds(const Span& place) const {
  const auto behind = ends_.upper_bound({place.area, place.start});
  if (behind == ends_.begin()) return false;
  const auto& [start, end] = *std::prev(behind);
  return start.first == place.area && end >= place.End();
}

}  // namespace orvo::modbus
