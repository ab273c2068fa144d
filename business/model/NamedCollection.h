// A keyed list whose members also bear handles: lowest free number first, and generated names.
//
// `Member` offers Name() and `std::int32_t Handle() const`, both constant while it is in the collection.
#pragma once

#include "model/KeyedList.h"
#include "model/NumberPool.h"

#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

template <class Member>
class NamedCollection {
 public:
  using Pointer = std::shared_ptr<Member>;

  // Generated names are `prefix` and a number.
  explicit NamedCollection(std::string prefix) : prefix_(std::move(prefix)) {}

  std::int32_t Count() const noexcept { return static_cast<std::int32_t>(members_.Count()); }
  Pointer FindName(std::string_view name) const { return members_.FindName(name); }
  Pointer FindKey(std::string_view name) const { return members_.FindKey(name); }
  Pointer FindHandle(std::int32_t handle) const {
    return IsInList(handle) ? byHandle_[static_cast<std::size_t>(handle)] : nullptr;
  }
  // The same, not held: for as long as nothing else runs.
  Member* PeekHandle(std::int32_t handle) const noexcept {
    return IsInList(handle) ? byHandle_[static_cast<std::size_t>(handle)].get() : nullptr;
  }
  // The smallest positive number that no member has as its handle.
  std::int32_t FreeHandle() const noexcept { return handles_.LowestFree(); }
  // The prefix and the smallest positive number that give a name which no member bears exactly.
  std::string FreeName() const { return prefix_ + std::to_string(names_.LowestFree()); }

  // Appends; false, and nothing changes, when the name's key is in use. The handle must be free.
  bool Insert(const Pointer& member) {
    const auto handle = static_cast<std::size_t>(member->Handle());
    if (byHandle_.size() <= handle) byHandle_.resize(handle + 1);
    if (!members_.Insert(member)) return false;
    byHandle_[handle] = member;
    handles_.Take(member->Handle());
    if (const std::int32_t number = GeneratedNumber(member->Name()); number > 0) names_.Take(number);
    return true;
  }
  // Takes the member with this key out; null when there is none.
  Pointer RemoveKey(std::string_view name) {
    Pointer removed = members_.RemoveKey(name);
    if (!removed) return nullptr;
    byHandle_[static_cast<std::size_t>(removed->Handle())] = nullptr;
    handles_.Release(removed->Handle());
    if (const std::int32_t number = GeneratedNumber(removed->Name()); number > 0) names_.Release(number);
    return removed;
  }

  template <class Visit>
  bool Walk(Visit&& visit) const {
    return members_.Walk(std::forward<Visit>(visit));
  }
  template <class Select, class Visit>
  bool Walk(Select&& select, Visit&& visit) const {
    return members_.Walk(std::forward<Select>(select), std::forward<Visit>(visit));
  }
  std::vector<Pointer> Snapshot() const { return members_.Snapshot(); }

 private:
  bool IsInList(std::int32_t handle) const noexcept {
    return handle > 0 && static_cast<std::size_t>(handle) < byHandle_.size();
  }
  // The number when `name` is exactly what FreeName could make; 0 otherwise.
  std::int32_t GeneratedNumber(std::string_view name) const noexcept {
    if (!name.starts_with(prefix_)) return 0;
    const std::string_view digits = name.substr(prefix_.size());
    if (digits.empty() || digits.front() == '0') return 0;
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc{} && end == digits.data() + digits.size() && number > 0 ? number : 0;
  }

  const std::string prefix_;
  KeyedList<Member> members_;
  std::vector<Pointer> byHandle_;  // by handle; [0] is unused
  NumberPool handles_;
  NumberPool names_;
};

}  // namespace orvo
