#include "modbus/ListPlan.h"

#include <algorithm>

namespace orvo::modbus {

ListPlan::ListPlan(std::span<const ItemRequest> items) {
  keys_.reserve(items.size());
  targets_.reserve(items.size());
  places_.reserve(items.size());
  for (std::size_t k = 0; k < items.size(); ++k) {
    keys_.push_back({items[k].compiledAddress, items[k].dimension});
    const auto address = Address::Decode(items[k].compiledAddress);
    if (!address) continue;
    const auto place = address->Place(items[k].dimension);
    if (!place) continue;
    targets_.push_back({k, *address});
    places_.push_back(*place);
  }
}

bool ListPlan::IsOf(std::span<const ItemRequest> items) const noexcept {
  return std::equal(items.begin(), items.end(), keys_.begin(), keys_.end(),
                    [](const ItemRequest& item, const Key& key) {
                      return item.compiledAddress == key.compiledAddress && item.dimension == key.dimension;
                    });
}

void ListPlan::Update(std::int32_t gap, const Obstacles& obstacles) {
  if (IsCurrent(obstacles)) return;
  version_ = NoVersion;  // half a plan is none
  blocks_ = PlanReads(places_, gap, obstacles);
  offsets_.clear();
  registers_ = MostRegistersRead;
  bits_ = MostBitsRead;
  for (const ReadBlock& block : blocks_) {
    std::size_t& end = HoldsBits(block.span.area) ? bits_ : registers_;
    offsets_.push_back(end);
    end += static_cast<std::size_t>(block.span.count);
  }
  sources_.resize(places_.size());
  for (std::size_t k = 0; k < blocks_.size(); ++k)
    for (const std::size_t position : blocks_[k].items)
      sources_[position] =
          offsets_[k] + static_cast<std::size_t>(places_[position].start - blocks_[k].span.start);
  version_ = obstacles.Version();
}

}  // namespace orvo::modbus
