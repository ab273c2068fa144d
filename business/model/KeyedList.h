// Members in creation order under keys that ignore case; the base of the groups' and the items' collections.
//
// Every operation is O(1) on average. Walking is safe while members come and go: a walk visits each member that
// is in the list when its turn comes, once, including those that are added meanwhile (one that is taken out and
// added again counts as new). `Member` offers `const std::string& Name() const`, constant while the member is
// in the list.
#pragma once

#include "values/Text.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orvo {

template <class Member>
class KeyedList {
 public:
  using Pointer = std::shared_ptr<Member>;

  KeyedList() = default;
  KeyedList(const KeyedList&) = delete;
  KeyedList& operator=(const KeyedList&) = delete;

  std::size_t Count() const noexcept { return entries_.size(); }

  // The member whose name equals `name` but for case; null when there is none.
  Pointer FindKey(std::string_view name) const {
    const auto found = entries_.find(name);
    return found == entries_.end() ? nullptr : found->member;
  }
  // The member whose name equals `name` exactly; null when there is none.
  Pointer FindName(std::string_view name) const {
    const auto found = entries_.find(name);
    return found == entries_.end() || found->member->Name() != name ? nullptr : found->member;
  }
  // Appends; false, and nothing changes, when the key is in use.
  bool Insert(Pointer member) {
    slots_.push_back({});  // first: a failure here changes nothing
    const auto [entry, inserted] = entries_.insert(Entry{std::move(member), slots_.size() - 1});
    if (inserted)
      slots_.back() = {entry->member.get(), &*entry};
    else
      slots_.pop_back();
    return inserted;
  }
  // Takes the member with this key out and returns it; null when there is none.
  Pointer RemoveKey(std::string_view name) {
    const auto found = entries_.find(name);
    if (found == entries_.end()) return nullptr;
    Pointer removed = found->member;
    slots_[found->slot] = {};
    entries_.erase(found);
    Compact();
    return removed;
  }

  // Calls visit(member) for each member in creation order. `visit` may change the list; the member that it gets
  // is held meanwhile. Stops early when `visit` returns true; returns whether it did.
  template <class Visit>
  bool Walk(Visit&& visit) const {
    return Walk([](const Member&) { return true; }, std::forward<Visit>(visit));
  }
  // Leaves out the members for which `select`, asked when their turn comes, answers false. `select` must not
  // change the list.
  template <class Select, class Visit>
  bool Walk(Select&& select, Visit&& visit) const {
    const Walker walker(*this);
    for (std::size_t slot = 0; slot < slots_.size(); ++slot) {
      const Slot& here = slots_[slot];
      if (here.member == nullptr || !select(*here.member)) continue;
      const Pointer member = here.entry->member;
      if (visit(*member)) return true;
    }
    return false;
  }
  std::vector<Pointer> Snapshot() const {
    std::vector<Pointer> members;
    members.reserve(Count());
    for (const Slot& slot : slots_)
      if (slot.entry != nullptr) members.push_back(slot.entry->member);
    return members;
  }

 private:
  struct Entry {
    Pointer member;
    mutable std::size_t slot;
  };
  // The member stands beside its entry: a walk that passes it over does not touch the entry.
  struct Slot {
    Member* member = nullptr;
    const Entry* entry = nullptr;
  };
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const { return std::hash<std::string>{}(FoldCase(name)); }
    std::size_t operator()(const Entry& entry) const { return (*this)(std::string_view(entry.member->Name())); }
  };
  struct Equal {
    using is_transparent = void;
    static std::string_view NameOf(std::string_view name) { return name; }
    static std::string_view NameOf(const Entry& entry) { return entry.member->Name(); }
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
      return NameOf(a) == NameOf(b) || FoldCase(NameOf(a)) == FoldCase(NameOf(b));
    }
  };
  struct Walker {
    explicit Walker(const KeyedList& walked) : list(walked) { ++list.walkers_; }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;
    ~Walker() { --list.walkers_; }
    const KeyedList& list;
  };

  // Closes the gaps that removals leave once they are half of the slots; never under a walk.
  void Compact() {
    if (walkers_ > 0 || slots_.size() < 2 * entries_.size() + 8) return;
    std::size_t kept = 0;
    for (const Slot& slot : slots_) {
      if (slot.entry == nullptr) continue;
      slot.entry->slot = kept;
      slots_[kept++] = slot;
    }
    slots_.resize(kept);
  }

  std::unordered_set<Entry, Hash, Equal> entries_;
  std::vector<Slot> slots_;  // in creation order; empty where a member was removed
  mutable std::size_t walkers_ = 0;
};

}  // namespace orvo
