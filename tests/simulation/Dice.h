// The one source of chance of a simulated plant: the same seed throws the same numbers on every machine.
#pragma once

#include <cstdint>

namespace orvo::testing {

class Dice {
 public:
  explicit Dice(std::uint64_t seed) noexcept : state_(seed * 0x9E3779B97F4A7C15U + 1) {}

  std::uint64_t Next() noexcept {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
  }
  // 0 up to limit - 1; `limit` is at least 1.
  std::int32_t Below(std::int32_t limit) noexcept {
    return static_cast<std::int32_t>(Next() % static_cast<std::uint64_t>(limit));
  }
  std::int32_t Between(std::int32_t low, std::int32_t high) noexcept { return low + Below(high - low + 1); }
  bool Chance(std::int32_t perMille) noexcept { return Below(1000) < perMille; }

 private:
  std::uint64_t state_;
};

}  // namespace orvo::testing
