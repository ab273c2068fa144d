// The bytes of one fuzz input, taken from the front. Never fails: behind the end everything is zero, so that
// each input means something and a shorter one means less.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace orvo::fuzz {

class InputReader {
 public:
  // The bytes must outlive the reader.
  explicit InputReader(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

  bool AtEnd() const noexcept { return bytes_.empty(); }
  std::uint8_t Byte() noexcept {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return byte;
  }
  bool Flag() noexcept { return (Byte() & 1) != 0; }
  // A number from 0 to count - 1; `count` is 1 to 65536.
  std::size_t Below(std::size_t count) noexcept {
    const std::size_t number = count <= 256 ? Byte() : Number<std::uint16_t>();
    return number % count;
  }
  // A number of any arithmetic type, bit by bit, least significant byte first.
  template <class T>
  T Number() noexcept {
    T number{};
    const std::size_t count = std::min(sizeof number, bytes_.size());
    if (count > 0) std::memcpy(&number, bytes_.data(), count);
    bytes_ = bytes_.subspan(count);
    return number;
  }
  // A text of at most `longest` bytes (up to 255): its length, then its bytes.
  std::string Text(std::size_t longest) { return std::string(Take(Below(longest + 1))); }
  std::span<const std::uint8_t> Bytes(std::size_t count) noexcept {
    const std::span<const std::uint8_t> taken = bytes_.first(std::min(count, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return taken;
  }
  // Everything that is left.
  std::string_view Rest() noexcept { return Take(bytes_.size()); }

 private:
  std::string_view Take(std::size_t count) noexcept {
    const std::span<const std::uint8_t> taken = Bytes(count);
    return {reinterpret_cast<const char*>(taken.data()), taken.size()};
  }

  std::span<const std::uint8_t> bytes_;
};

}  // namespace orvo::fuzz
