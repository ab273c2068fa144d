#include "model/KELDataItems.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "model/KELDataGroup.h"
#include "values/VariantConversion.h"

#include <limits>
#include <utility>

namespace orvo {

// What a client's pointer to an item owns.
struct KELDataItem::Lease {
  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<KELDataItem> item;
};

KELDataItems::KELDataItems(KELDataGroup& group) : group_(group) {}

KELDataItems::~KELDataItems() = default;

std::shared_ptr<KELDataGroup> KELDataItems::Parent() const {
  return group_.Hold();
}

std::shared_ptr<KELDataItem> KELDataItems::HandOut(const std::shared_ptr<KELDataItem>& item) {
  std::shared_ptr<KELDataItem::Lease> lease = item->lease_.lock();
  if (!lease) {
    lease = std::make_shared<KELDataItem::Lease>(KELDataItem::Lease{group_.Hold(), item});
    item->lease_ = lease;
  }
  return {lease, item.get()};
}

std::shared_ptr<KELDataItem> KELDataItems::Item(std::int32_t Handle) {
  const std::shared_ptr<KELDataItem> item = items_.FindHandle(Handle);
  // kept: no separator between the group's name and "GroupHandle: ".
  if (!item) RaiseDataError(errInvalidHandle, std::to_string(Handle) + GroupDetail());
  return HandOut(item);
}

std::shared_ptr<KELDataItem> KELDataItems::ItemByName(const std::string& ItemName) {
  const std::shared_ptr<KELDataItem> item = items_.FindName(ItemName);
  if (!item) RaiseDataError(errInvalidName, ItemName + GroupDetail());
  return HandOut(item);
}

std::shared_ptr<KELDataItem> KELDataItems::Add(const std::string& ItemId,
                                               const std::optional<Variant>& ItemName) {
  const std::shared_ptr<KELDataGroup> self = group_.Hold();
  RequireStopped();
  const auto trace = [&] {
    std::string name;
    if (ItemName.has_value()) Suppressed([&] { name = ToText(*ItemName); });
    return ":DataItem.Add(ItemId=" + ItemId + ",ItemName=" + name;
  };
  // kept: errors of the checks in here, a name in use among them, reach the client wrapped.
  const std::shared_ptr<KELDataItem> item = WithTrace(OwnErrors::Wrap, trace, [&] {
    std::shared_ptr<KELDataItem> made = NewItem(NameFor(ItemName));
    made->SetItemId(ItemId);
    return made;
  });
  // kept: whatever fails from here on, the group's size included, is the identifier's fault towards the client.
  try {
    Compile(*item);
    InsertItem(item, ItemName.has_value());
    try {
      if (!group_.FitsDevice()) RaiseDataError(errInvalidGroupSize, "GroupName= " + group_.GroupName());
    } catch (...) {
      Discard(*item);
      throw;
    }
  } catch (...) {
    RaiseDataError(errInvalidItemId, ItemId + GroupDetail());
  }
  return HandOut(item);
}

std::shared_ptr<KELDataItem> KELDataItems::AddCompiled(const std::string& ItemName) {
  const std::shared_ptr<KELDataGroup> self = group_.Hold();
  return WithTrace(
      OwnErrors::Wrap, [&] { return ":DataItem.AddCompiled(ItemName=" + ItemName; },
      [&] {
        if (items_.FindName(ItemName)) RaiseDataError(errInvalidName, ItemName);
        const std::shared_ptr<KELDataItem> item = NewItem(ItemName);
        InsertItem(item, true);
        return HandOut(item);
      });
}

std::string KELDataItems::NameFor(const std::optional<Variant>& ItemName) const {
  if (!ItemName.has_value()) return items_.FreeName();
  std::string name = ToText(*ItemName);
  if (items_.FindName(name)) RaiseDataError(errInvalidName, name + ":Name already used" + GroupDetail());
  return name;
}

std::shared_ptr<KELDataItem> KELDataItems::NewItem(const std::string& name) {
  auto item = std::make_shared<KELDataItem>(group_.Platform());
  item->SetItemName(name);
  item->SetHandle(items_.FreeHandle());
  return item;
}

void KELDataItems::Compile(KELDataItem& item) const {
  const std::shared_ptr<DeviceObject> device = group_.RequireServer()->Device();
  if (!device) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  double address = 0;
  std::int32_t wordLength = 0;
  std::int32_t itemType = 0;
  if (!device->CompileItemId(item.ItemId(), address, wordLength, itemType))
    RaiseDataError(errInvalidItemId, item.ItemId());
  item.SetCompiledAddress(address);
  item.SetItemWordLength(wordLength);
  item.SetItemType(itemType);
}

void KELDataItems::InsertItem(const std::shared_ptr<KELDataItem>& item, bool named) {
  // The driver can come back in while it compiles, and what it adds takes a handle and perhaps a generated
  // name.
  if (items_.FindHandle(item->Handle())) item->SetHandle(items_.FreeHandle());
  if (!named && items_.FindName(item->ItemName())) item->SetItemName(items_.FreeName());
  item->SetAddedEpoch(epoch_);
  item->SetParent(group_.Hold());
  if (!items_.Insert(item)) RaiseRuntimeError(RuntimeError::DuplicateKey);
  allHandles_.reset();
  totalWordLength_ += item->ItemWordLength();
}

std::shared_ptr<KELDataItem> KELDataItems::TakeOut(const std::string& key) {
  std::shared_ptr<KELDataItem> removed = items_.RemoveKey(key);
  if (!removed) return nullptr;
  allHandles_.reset();
  totalWordLength_ -= removed->ItemWordLength();
  ++epoch_;
  return removed;
}

std::shared_ptr<KELDataItem> KELDataItems::FindAsOf(std::int32_t handle, std::int64_t epoch) const {
  return PeekAsOf(handle, epoch) != nullptr ? items_.FindHandle(handle) : nullptr;
}

void KELDataItems::Discard(const KELDataItem& item) {
  if (items_.PeekHandle(item.Handle()) == &item) TakeOut(item.ItemName());
}

void KELDataItems::Remove(std::int32_t Handle) {
  const std::shared_ptr<KELDataGroup> self = group_.Hold();
  RequireStopped();
  const std::shared_ptr<KELDataItem> item = items_.FindHandle(Handle);
  if (!item) RaiseDataError(errInvalidHandle, std::to_string(Handle) + GroupDetail());
  TakeOut(item->ItemName());
}

void KELDataItems::RemoveByName(const std::string& ItemName) {
  const std::shared_ptr<KELDataGroup> self = group_.Hold();
  RequireStopped();
  if (!TakeOut(ItemName)) RaiseDataError(errInvalidName, ItemName + GroupDetail());
}

void KELDataItems::RemoveAll() {
  const std::shared_ptr<KELDataGroup> self = group_.Hold();
  RequireStopped();
  items_.Walk([this](const KELDataItem& item) {
    TakeOut(item.ItemName());
    return false;
  });
}

std::vector<std::shared_ptr<KELDataItem>> KELDataItems::NewEnum() {
  std::vector<std::shared_ptr<KELDataItem>> items = items_.Snapshot();
  for (std::shared_ptr<KELDataItem>& item : items)
    item = HandOut(item);
  return items;
}

SafeArray<std::int32_t> KELDataItems::AllHandles() const {
  if (!allHandles_.has_value()) {
    std::vector<std::int32_t> handles;
    handles.reserve(static_cast<std::size_t>(Count()));
    items_.Walk([&](const KELDataItem& item) {
      handles.push_back(item.Handle());
      return false;
    });
    allHandles_.emplace(std::move(handles));
  }
  return *allHandles_;
}

std::int32_t KELDataItems::TotalWordLength() const {
  if (totalWordLength_ < std::numeric_limits<std::int32_t>::min() ||
      totalWordLength_ > std::numeric_limits<std::int32_t>::max())
    RaiseRuntimeError(RuntimeError::Overflow);
  return static_cast<std::int32_t>(totalWordLength_);
}

void KELDataItems::ResizeItem(KELDataItem& item, std::int32_t wordLength) {
  if (items_.PeekHandle(item.Handle()) == &item)
    totalWordLength_ += std::int64_t{wordLength} - item.ItemWordLength();
  item.SetItemWordLength(wordLength);
}

void KELDataItems::RequireStopped() const {
  WithTrace(
      OwnErrors::PassThrough, [&] { return ":DataItems(GroupName=" + group_.GroupName(); },
      [&] {
        if (group_.RequireServer()->ServerStatus() != StatusStopped)
          RaiseDataError(errInvalidState, "Server not stopped");
      });
}

std::string KELDataItems::GroupDetail() const {
  return ": Group Name= " + group_.GroupName() + "GroupHandle: " + std::to_string(group_.Handle());
}

}  // namespace orvo
