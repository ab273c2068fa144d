// Which places were read: whether several answers together show that a larger place can be read.
#pragma once

#include "modbus/Area.h"

#include <cstdint>
#include <map>
#include <utility>

namespace orvo::modbus {

class Coverage {
 public:
  void Put(const Span& place);
  // Every register or bit of `place` lies in what was put.
  bool Holds(const Span& place) const;

 private:
  // The ends of what was put, by area and start; joined, so that no two of them touch.
  std::map<std::pair<Area, std::int32_t>, std::int32_t> ends_;
};

}  // namespace orvo::modbus
