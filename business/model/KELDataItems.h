// The items of one group, in the order in which they were added.
//
// Owned by its group; a client that holds the collection keeps the group alive. Handles are the lowest free
// positive numbers. Names are compared exactly, but as keys (duplicates on adding, removal by name) without
// case. Add and the removals are refused with errInvalidState "Server not stopped" unless the server's status
// is 2. A failed operation leaves the collection as it was.
#pragma once

#include "model/KELDataItem.h"
#include "model/NamedCollection.h"
#include "values/AutomationObject.h"
#include "values/Variant.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo {

class KELDataGroup;

class KELDataItems final : public AutomationObject {
 public:
  // A member of `group`, which outlives it.
  explicit KELDataItems(KELDataGroup& group);
  ~KELDataItems() override;

  std::shared_ptr<KELDataGroup> Parent() const;
  std::int32_t Count() const noexcept { return items_.Count(); }
  // errInvalidHandle when no item has the handle.
  std::shared_ptr<KELDataItem> Item(std::int32_t Handle);
  // errInvalidName when no item bears exactly this name.
  std::shared_ptr<KELDataItem> ItemByName(const std::string& ItemName);
  // Compiles the identifier with the device and adds the item. Without a name, "Item_" and the lowest number
  // that gives a free name. Raises errInternal for a name in use, errInvalidItemId when the device refuses the
  // identifier, when the name collides in another case, or when the group would not fit the device.
  std::shared_ptr<KELDataItem> Add(const std::string& ItemId,
                                   const std::optional<Variant>& ItemName = std::nullopt);
  // Adds an item without an identifier; allowed at any server status. Raises errInternal for a name in use.
  std::shared_ptr<KELDataItem> AddCompiled(const std::string& ItemName);
  void Remove(std::int32_t Handle);
  void RemoveByName(const std::string& ItemName);
  void RemoveAll();
  // The items in creation order, as they are now.
  std::vector<std::shared_ptr<KELDataItem>> NewEnum();

  // For the other classes of the system. Find answers null for an unknown handle.
  std::shared_ptr<KELDataItem> Find(std::int32_t handle) const { return items_.FindHandle(handle); }
  // Counts the removals. An item with the handle of a request that was built at `epoch` is the one that was
  // meant if it was added no later; FindAsOf answers null otherwise.
  std::int64_t Epoch() const noexcept { return epoch_; }
  std::shared_ptr<KELDataItem> FindAsOf(std::int32_t handle, std::int64_t epoch) const;
  // The same two, not held: for as long as nothing else runs.
  KELDataItem* Peek(std::int32_t handle) const noexcept { return items_.PeekHandle(handle); }
  KELDataItem* PeekAsOf(std::int32_t handle, std::int64_t epoch) const noexcept {
    KELDataItem* item = items_.PeekHandle(handle);
    return item != nullptr && item->AddedEpoch() <= epoch ? item : nullptr;
  }
  template <class Visit>
  bool Walk(Visit&& visit) const {
    return items_.Walk(std::forward<Visit>(visit));
  }
  // Only the items that `select` chooses (KeyedList::Walk).
  template <class Select, class Visit>
  bool Walk(Select&& select, Visit&& visit) const {
    return items_.Walk(std::forward<Select>(select), std::forward<Visit>(visit));
  }
  // In creation order. Made once for each state of the collection: the answers of one state share their
  // elements.
  SafeArray<std::int32_t> AllHandles() const;
  // Sum of the items' lengths in words. Error 6 outside 32 bits.
  std::int32_t TotalWordLength() const;
  // Takes the item out if it is in the collection, whatever the server's status.
  void Discard(const KELDataItem& item);
  // Changes an item's length, and the sum with it while the item is in the collection.
  void ResizeItem(KELDataItem& item, std::int32_t wordLength);
  // ": Group Name= ", the group's name, "GroupHandle: " and its handle, run together.
  std::string GroupDetail() const;
  // The item as a client holds it: keeps the item and its group alive.
  std::shared_ptr<KELDataItem> HandOut(const std::shared_ptr<KELDataItem>& item);

 private:
  std::shared_ptr<KELDataItem> NewItem(const std::string& name);
  std::string NameFor(const std::optional<Variant>& ItemName) const;
  void Compile(KELDataItem& item) const;
  void InsertItem(const std::shared_ptr<KELDataItem>& item, bool named);
  std::shared_ptr<KELDataItem> TakeOut(const std::string& key);
  void RequireStopped() const;

  KELDataGroup& group_;
  NamedCollection<KELDataItem> items_{"Item_"};
  std::int64_t totalWordLength_ = 0;
  std::int64_t epoch_ = 0;
  mutable std::optional<SafeArray<std::int32_t>> allHandles_;  // nothing after each change of the collection
};

}  // namespace orvo
