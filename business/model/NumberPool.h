// Which positive numbers are in use; answers the lowest that is not.
#pragma once

#include <cstdint>
#include <map>

namespace orvo {

class NumberPool {
 public:
  // The lowest positive number that is not in use. O(1).
  std::int32_t LowestFree() const noexcept {
    return used_.empty() || used_.begin()->first > 1 ? 1 : used_.begin()->second + 1;
  }
  bool Contains(std::int32_t number) const noexcept;
  // Marks a number as used or free; O(log n). A number that is so already is left alone.
  void Take(std::int32_t number);
  void Release(std::int32_t number);
  void Clear() noexcept { used_.clear(); }

 private:
  std::map<std::int32_t, std::int32_t> used_;  // first -> last of each run of used numbers; runs never touch
};

}  // namespace orvo
