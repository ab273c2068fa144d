// Random numbers that are the same on every machine for the same seed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvo::testing {

class FuzzRandom {
 public:
  explicit FuzzRandom(std::uint64_t seed) noexcept : state_(seed) {}

  // Any 64 bits (the generator "splitmix64").
  std::uint64_t Next() noexcept {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31);
  }
  // 0 .. count - 1; 0 for a count of 0.
  std::size_t Below(std::size_t count) noexcept {
    return count == 0 ? 0 : static_cast<std::size_t>(Next() % count);
  }
  // lowest .. highest.
  int Between(int lowest, int highest) noexcept {
    return lowest + static_cast<int>(Below(static_cast<std::size_t>(highest - lowest + 1)));
  }
  bool OneIn(std::size_t count) noexcept { return Below(count) == 0; }
  template <class T>
  const T& Pick(std::span<const T> choices) noexcept {
    return choices[Below(choices.size())];
  }
  template <class T, std::size_t N>
  const T& Pick(const T (&choices)[N]) noexcept {
    return choices[Below(N)];
  }

 private:
  std::uint64_t state_;
};

}  // namespace orvo::testing
