// A one-dimensional automation array with its own lower bound and value semantics.
//
// Copies share their elements until one of them is written (copy on write), so passing an array "by copy" is
// O(1). The reference count is not atomic: an array that travels to another thread must be its only holder (see
// Unshare). Bounds are 32-bit signed; an empty array has UpperBound() == LowerBound() - 1.
// No pointer or span into an array survives a change or the end of that array object.
#pragma once

#include "errors/AutomationError.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvo {

namespace detail {

// Elements behind one or more SafeArray objects.
template <class T>
struct ArrayBlock {
  std::size_t references = 1;
  std::vector<T> elements;
};

}  // namespace detail

template <class T>
class SafeArray {
 public:
  using value_type = T;

  SafeArray() noexcept = default;
  explicit SafeArray(std::size_t count, std::int32_t lowerBound = 0, const T& value = T{})
      : SafeArray(std::vector<T>(count, value), lowerBound) {}
  SafeArray(std::initializer_list<T> elements) : SafeArray(std::vector<T>(elements)) {}
  explicit SafeArray(std::vector<T> elements, std::int32_t lowerBound = 0) : lowerBound_(lowerBound) {
    if (!elements.empty()) block_ = new detail::ArrayBlock<T>{1, std::move(elements)};
  }
  SafeArray(const SafeArray& other) noexcept : block_(other.block_), lowerBound_(other.lowerBound_) {
    if (block_ != nullptr) ++block_->references;
  }
  SafeArray(SafeArray&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)), lowerBound_(std::exchange(other.lowerBound_, 0)) {}
  SafeArray& operator=(SafeArray other) noexcept {
    std::swap(block_, other.block_);
    std::swap(lowerBound_, other.lowerBound_);
    return *this;
  }
  ~SafeArray() { Release(); }

  std::int32_t LowerBound() const noexcept { return lowerBound_; }
  std::int32_t UpperBound() const noexcept {
    return static_cast<std::int32_t>(std::int64_t{lowerBound_} + static_cast<std::int64_t>(Size()) - 1);
  }
  std::size_t Size() const noexcept { return block_ == nullptr ? 0 : block_->elements.size(); }
  bool IsEmpty() const noexcept { return Size() == 0; }

  // Element at `index`, counted from the lower bound. Error 9 outside the bounds.
  const T& At(std::int32_t index) const {
    const std::size_t position = Position(index);
    return block_->elements[position];
  }
  // Stores `value` at `index`. Error 9 outside the bounds; then nothing changes.
  void Put(std::int32_t index, T value) {
    const std::size_t position = Position(index);
    Edit()[position] = std::move(value);
  }

  // The elements by position, for reading.
  std::span<const T> View() const noexcept {
    return block_ == nullptr ? std::span<const T>{} : std::span<const T>{block_->elements};
  }
  // The elements by position, for writing; ends the sharing with other copies first.
  std::span<T> Edit() {
    if (block_ == nullptr) return {};
    Unshare();
    return block_->elements;
  }

  // The same elements counted from another lower bound.
  void Rebase(std::int32_t lowerBound) noexcept { lowerBound_ = lowerBound; }
  // Grows (with value-initialised elements) or shrinks at the upper end; the other elements are kept.
  void Resize(std::size_t count) {
    if (count == Size()) return;
    if (count == 0) {
      const SafeArray last = std::exchange(*this, SafeArray(std::vector<T>{}, lowerBound_));
      return;
    }
    if (block_ == nullptr) block_ = new detail::ArrayBlock<T>{};
    Unshare();
    // What is cut off ends after the change: an object's end may call back in, and the array is whole by then.
    std::vector<T> last;
    if constexpr (!std::is_trivially_destructible_v<T>) {
      if (count < Size()) {
        const auto first = block_->elements.begin() + static_cast<std::ptrdiff_t>(count);
        last.assign(std::make_move_iterator(first), std::make_move_iterator(block_->elements.end()));
      }
    }
    block_->elements.resize(count);
  }
  void Append(T value) {
    if (block_ == nullptr) block_ = new detail::ArrayBlock<T>{};
    Unshare();
    block_->elements.push_back(std::move(value));
  }

  // Makes this object the only holder of its elements. Elements that are variants may still share what they
  // hold with other variants: see Variant::Unshared.
  void Unshare() {
    if (block_ == nullptr || block_->references == 1) return;
    auto* own = new detail::ArrayBlock<T>{1, block_->elements};
    --block_->references;
    block_ = own;
  }
  bool IsShared() const noexcept { return block_ != nullptr && block_->references > 1; }

  // Same bounds and equal elements.
  friend bool operator==(const SafeArray& a, const SafeArray& b) {
    if (a.lowerBound_ != b.lowerBound_) return false;
    if (a.block_ == b.block_) return true;
    return a.Size() == b.Size() && std::equal(a.View().begin(), a.View().end(), b.View().begin());
  }

 private:
  std::size_t Position(std::int32_t index) const {
    const std::int64_t position = std::int64_t{index} - lowerBound_;
    if (position < 0 || position >= static_cast<std::int64_t>(Size()))
      RaiseRuntimeError(RuntimeError::SubscriptOutOfRange);
    return static_cast<std::size_t>(position);
  }
  void Release() noexcept {
    if (block_ != nullptr && --block_->references == 0) delete block_;
  }

  detail::ArrayBlock<T>* block_ = nullptr;
  std::int32_t lowerBound_ = 0;
};

}  // namespace orvo
