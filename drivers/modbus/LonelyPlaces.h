// What became of the places that are read in requests of their own (ReadPlan.h): the error that each had last,
// and whose turn it is.
#pragma once

#include "modbus/Area.h"
#include "modbus/ItemError.h"

#include <cstdint>
#include <map>
#include <utility>

namespace orvo::modbus {

class LonelyPlaces {
 public:
  // It was asked for just now, with this error.
  void Put(const Span& place, ItemError error) { places_[KeyOf(place)] = {error, ++turns_}; }
  void Forget(const Span& place) { places_.erase(KeyOf(place)); }

  // BadValue for one that is not known.
  ItemError ErrorOf(const Span& place) const;
  // The smaller, the longer it was not asked for.
  std::uint64_t TurnOf(const Span& place) const;

 private:
  using Key = std::pair<Area, std::pair<std::int32_t, std::int32_t>>;
  struct State {
    ItemError error = BadValue;
    std::uint64_t turn = 0;
  };

  static Key KeyOf(const Span& place) noexcept { return {place.area, {place.start, place.count}}; }

  std::map<Key, State> places_;
  std::uint64_t turns_ = 0;
};

}  // namespace orvo::modbus
