// The automation boolean: 16 bits, true = all bits set (-1), false = 0; other values can arrive from a client.
#pragma once

#include <cstdint>

namespace orvo {

class Boolean {
 public:
  constexpr Boolean(bool value = false) noexcept : raw_(value ? std::int16_t{-1} : std::int16_t{0}) {}
  // The 16 bits as a client sent them.
  static constexpr Boolean FromRaw(std::int16_t raw) noexcept {
    Boolean value;
    value.raw_ = raw;
    return value;
  }
  constexpr std::int16_t Raw() const noexcept { return raw_; }
  // Exactly the automation true; a property that is strict about it asks this.
  constexpr bool IsTrue() const noexcept { return raw_ == -1; }
  constexpr explicit operator bool() const noexcept { return raw_ != 0; }

 private:
  std::int16_t raw_;
};

}  // namespace orvo
