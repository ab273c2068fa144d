#include "modbus/LonelyPlaces.h"

namespace orvo::modbus {

ItemError LonelyPlaces::ErrorOf(const Span& place) const {
  const auto found = places_.find(KeyOf(place));
  return found != places_.end() ? found->second.error : BadValue;
}

std::uint64_t LonelyPlaces::TurnOf(const Span& place) const {
  const auto found = places_.find(KeyOf(place));
  return found != places_.end() ? found->second.turn : 0;
}

}  // namespace orvo::modbus
