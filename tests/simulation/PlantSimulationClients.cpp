// What the clients of a simulated plant do while communication is open.
#include "errors/AutomationError.h"
#include "errors/modIDataErrors.h"
#include "simulation/PlantSimulation.h"

#include <algorithm>
#include <utility>

namespace orvo::testing {

namespace {

constexpr std::size_t IdsKept = 25;
// A wait that midnight interrupts has no time-out.
constexpr float LastWait = 86400.0F - 60.0F;
constexpr int FloodedRequests = 1100;  // more than there are ids

SafeArray<std::int32_t> Based(std::vector<std::int32_t> numbers, std::int32_t lowerBound) {
  return SafeArray<std::int32_t>(std::move(numbers), lowerBound);
}

}  // namespace

std::int32_t PlantSimulation::ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return error.Number();
  }
  return 0;
}

GroupPointer PlantSimulation::AnyGroup() {
  for (int k = 0; k < 5 && !groups_.empty(); ++k)
    if (const GroupPointer group = OneOf(groups_); !group->items.empty()) return group;
  return nullptr;
}

GroupPointer PlantSimulation::GroupToWaitFor() {
  return platform_.Time().SecondsSinceMidnight() < LastWait ? AnyGroup() : nullptr;
}

PlantSimulation::Items PlantSimulation::SomeItems(const MirrorGroup& group) {
  Items items = group.items;
  for (std::size_t k = items.size() - 1; k > 0; --k)
    std::swap(items[k], items[static_cast<std::size_t>(dice_.Below(static_cast<std::int32_t>(k) + 1))]);
  items.resize(static_cast<std::size_t>(dice_.Between(1, static_cast<std::int32_t>(items.size()))));
  return items;
}

SafeArray<std::int32_t> PlantSimulation::HandlesOf(const Items& items) {
  std::vector<std::int32_t> handles;
  for (const ItemPointer& item : items)
    handles.push_back(item->handle);
  return Based(std::move(handles), dice_.Chance(300) ? 1 : 0);
}

PlantSimulation::Writes PlantSimulation::SomeWrites(const MirrorGroup& group, const Items& items) {
  Writes writes;
  writes.items = items;
  writes.handles = HandlesOf(items);
  writes.image.assign(static_cast<std::size_t>(group.bufferBytes), '\0');
  for (const ItemPointer& item : items) {
    const Variant value = item->cell.RandomValue(dice_, item->isSigned);
    writes.values.Append(value);
    writes.readings.push_back(ReadingOf(value));
    if (!TransfersWholeGroups()) continue;
    const std::string bytes = item->cell.Image(writes.readings.back());
    writes.image.replace(static_cast<std::size_t>(item->offset), bytes.size(), bytes);
  }
  return writes;
}

// --- Synchronous.

void PlantSimulation::TakeSyncRead(const Items& items, const PlantOracle::SyncEnd& end,
                                   const SafeArray<Variant>& values, const SafeArray<std::int32_t>& errors,
                                   bool all) {
  oracle_->Require(values.Size() == items.size() && errors.Size() == items.size(),
                   "a read returns another number of items");
  for (std::size_t k = 0; k < items.size() && !oracle_->HasFailed(); ++k) {
    MirrorItem& item = *items[k];
    const std::int32_t error = end.error != 0 ? end.error : end.itemErrors[k];
    oracle_->Require(errors.View()[k] == error, "a read returns another error");
    const bool arrived = end.error == 0 && end.hasValue[k];
    Reading expected;
    // Reading all items takes what came, whatever the item's error, and leaves the time stamp alone.
    if (arrived && (all || error == 0)) {
      PlantOracle::Take(item, end.lying[k], false);
      if (!all) item.stamp = platform_.LocalNow().days;
      expected = item.held;
    } else if (arrived && !end.lying[k].empty()) {
      continue;  // the bytes that came with an error
    }
    const Reading reading = ReadingOf(values.View()[k]);
    if (!(reading == expected))
      oracle_->Fail("a read returns " + TextOf(reading) + " in place of " + TextOf(expected));
  }
}

void PlantSimulation::SyncRead() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  const Items items = SomeItems(*group);
  const SafeArray<std::int32_t> handles = HandlesOf(items);
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({4, group, items, {}, {}});
  group->core->SyncRead(handles, values, errors);
  TakeSyncRead(items, oracle_->SyncEnds(), values, errors, false);
  oracle_->Require(errors.LowerBound() == handles.LowerBound(), "a read returns other bounds");
}

void PlantSimulation::SyncReadAll() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  if (TransfersWholeGroups()) return ReadWholeGroup(group);
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({4, group, group->items, {}, {}});
  group->core->SyncReadAll(handles, values, errors);
  TakeSyncRead(group->items, oracle_->SyncEnds(), values, errors, true);
  for (std::size_t k = 0; k < group->items.size() && k < handles.Size(); ++k)
    oracle_->Require(handles.View()[k] == group->items[k]->handle, "a read of all names other items");
}

void PlantSimulation::ReadWholeGroup(const GroupPointer& group) {
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({12, group, {}, {}, {}});
  group->core->SyncReadAll(handles, values, errors);
  const PlantOracle::SyncEnd end = oracle_->SyncEnds();
  oracle_->Require(
      values.Size() == group->items.size() && handles.Size() == values.Size() && errors.Size() == values.Size(),
      "a read of a whole group returns another number of items");
  for (std::size_t k = 0; k < group->items.size() && !oracle_->HasFailed(); ++k) {
    MirrorItem& item = *group->items[k];
    oracle_->Require(errors.View()[k] == end.error, "a read of a whole group returns another error");
    oracle_->Require(handles.View()[k] == (end.error == 0 ? item.handle : 0),
                     "a read of a whole group names other items");
    if (end.error == 0) PlantOracle::Take(item, PlantOracle::LyingIn(end.buffer, item), true);
    oracle_->Require(ReadingOf(values.View()[k]) == (end.error == 0 ? item.held : Reading()),
                     "a read of a whole group returns other values");
  }
}

void PlantSimulation::TakeSyncWrite(const Writes& writes, const PlantOracle::SyncEnd& end,
                                    const SafeArray<std::int32_t>& errors) {
  oracle_->Require(errors.Size() == writes.items.size() && errors.LowerBound() == writes.handles.LowerBound(),
                   "a write returns other errors");
  for (std::size_t k = 0; k < writes.items.size() && !oracle_->HasFailed(); ++k) {
    MirrorItem& item = *writes.items[k];
    const std::int32_t error = end.error != 0 ? end.error : end.itemErrors[k];
    oracle_->Require(errors.View()[k] == error, "a write returns another error");
    if (error != 0) continue;
    const double now = platform_.LocalNow().days;
    if (!end.valuesReplaced)
      PlantOracle::TakeWritten(item, writes.readings[k], {}, now);
    else if (end.hasValue[k])
      PlantOracle::TakeWritten(
          item, end.lying[k].empty() ? Reading() : item.cell.Read(end.lying[k], item.isSigned), {}, now);
  }
}

void PlantSimulation::SyncWrite() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  const Writes writes = SomeWrites(*group, SomeItems(*group));
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({5, group, writes.items, writes.readings, {}});
  group->core->SyncWrite(writes.handles, writes.values, errors);
  TakeSyncWrite(writes, oracle_->SyncEnds(), errors);
}

void PlantSimulation::SyncWriteAll() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  if (TransfersWholeGroups()) return WriteWholeGroup(group);
  const Writes writes = SomeWrites(*group, group->items);
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({5, group, writes.items, writes.readings, {}});
  group->core->SyncWriteAll(writes.handles, writes.values, errors);
  TakeSyncWrite(writes, oracle_->SyncEnds(), errors);
}

void PlantSimulation::WriteWholeGroup(const GroupPointer& group) {
  const Writes writes = SomeWrites(*group, group->items);
  SafeArray<std::int32_t> errors;
  oracle_->SyncBegins({13, group, {}, {}, writes.image});
  group->core->SyncWriteAll(writes.handles, writes.values, errors);
  const PlantOracle::SyncEnd end = oracle_->SyncEnds();
  oracle_->Require(errors.Size() == writes.items.size(), "a write of a whole group returns other errors");
  for (std::size_t k = 0; k < writes.items.size() && !oracle_->HasFailed(); ++k) {
    MirrorItem& item = *writes.items[k];
    oracle_->Require(errors.View()[k] == end.error, "a write of a whole group returns another error");
    if (end.error != 0) continue;
    PlantOracle::TakeWritten(item, writes.readings[k], PlantOracle::LyingIn(writes.image, item),
                             platform_.LocalNow().days);
  }
}

void PlantSimulation::ReadItem() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  const ItemPointer item = OneOf(group->items);
  Variant value(std::int32_t{-77});
  std::int32_t error = -1;
  Variant stamp;
  const auto core = group->core->KELDataItems()->Item(item->handle);
  oracle_->SyncBegins({6, group, {item}, {}, {}});
  core->SyncRead(value, error, &stamp);
  const PlantOracle::SyncEnd end = oracle_->SyncEnds();
  if (oracle_->HasFailed()) return;
  const std::int32_t expected = end.error != 0 ? end.error : end.itemErrors[0];
  oracle_->Require(error == expected, "a read of an item returns another error");
  if (expected != 0)
    return oracle_->Require(ReadingOf(value).number == -77, "a read that failed returns a value");
  PlantOracle::Take(*item, end.lying[0], false);
  item->stamp = platform_.LocalNow().days;
  oracle_->Require(ReadingOf(value) == item->held && stamp == Variant(Date{item->stamp}),
                   "a read of an item returns another value");
}

void PlantSimulation::WriteItem() {
  const GroupPointer group = GroupToWaitFor();
  if (!group) return;
  const Writes writes = SomeWrites(*group, {OneOf(group->items)});
  std::int32_t error = -1;
  const auto core = group->core->KELDataItems()->Item(writes.items[0]->handle);
  oracle_->SyncBegins({7, group, writes.items, writes.readings, {}});
  core->SyncWrite(writes.values.View()[0], error);
  TakeSyncWrite(writes, oracle_->SyncEnds(), Based({error}, writes.handles.LowerBound()));
}

// --- Asynchronous.

void PlantSimulation::Async(Asked asked, const std::function<void(std::int32_t& id)>& call) {
  const std::optional<std::int32_t> expected = oracle_->Add(std::move(asked));
  std::int32_t id = 0;
  const std::int32_t error = ErrorOf([&] { call(id); });
  oracle_->Added(expected, id, error);
  if (!expected) return;
  ids_.push_back(id);
  if (ids_.size() > IdsKept) ids_.pop_front();
}

void PlantSimulation::AsyncRead() {
  const GroupPointer group = AnyGroup();
  if (!group) return;
  const Items items = SomeItems(*group);
  Async({1, group, items, {}, {}}, [&](std::int32_t& id) { group->core->AsyncRead(HandlesOf(items), id); });
}

void PlantSimulation::AsyncReadAll() {
  if (!groups_.empty()) ReadAllOf(OneOf(groups_));
}

void PlantSimulation::ReadAllOf(const GroupPointer& group) {
  const auto call = [&](std::int32_t& id) { group->core->AsyncReadAll(id); };
  if (group->items.empty()) {
    std::int32_t id = -5;
    call(id);
    oracle_->Require(id == -5, "a read of no items got an id");
    return;
  }
  if (TransfersWholeGroups())
    Async({9, group, {}, {}, {}}, call);
  else
    Async({1, group, group->items, {}, {}}, call);
}

void PlantSimulation::AsyncWrite() {
  const GroupPointer group = AnyGroup();
  if (!group) return;
  const Writes writes = SomeWrites(*group, SomeItems(*group));
  Async({2, group, writes.items, writes.readings, {}},
        [&](std::int32_t& id) { group->core->AsyncWrite(writes.handles, writes.values, id); });
}

void PlantSimulation::AsyncWriteAll() {
  const GroupPointer group = AnyGroup();
  if (!group) return;
  const Writes writes = SomeWrites(*group, group->items);
  const auto call = [&](std::int32_t& id) { group->core->AsyncWriteAll(writes.handles, writes.values, id); };
  if (TransfersWholeGroups())
    Async({10, group, writes.items, {}, writes.image}, call);
  else
    Async({2, group, writes.items, writes.readings, {}}, call);
}

void PlantSimulation::Cancel() {
  if (groups_.empty()) return;
  const std::int32_t id = ids_.empty() || dice_.Chance(100) ? dice_.Between(-1, 1001) : OneOf(ids_);
  oracle_->Cancelled(id);
  OneOf(groups_)->core->AsyncCancel(id);
}

// Many requests at once; now and then more than there are ids.
void PlantSimulation::Burst() {
  const GroupPointer group = AnyGroup();
  if (!group) return;
  const ItemPointer item = OneOf(group->items);
  const int requests = dice_.Chance(100) ? FloodedRequests : dice_.Between(10, 60);
  for (int k = 0; k < requests && !oracle_->HasFailed(); ++k)
    Async({1, group, {item}, {}, {}}, [&](std::int32_t& id) { group->core->AsyncRead({item->handle}, id); });
}

// Calls that must be refused and change nothing.
void PlantSimulation::WrongCall() {
  if (groups_.empty()) return;
  MirrorGroup& group = *OneOf(groups_);
  std::int32_t id = 0;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  const auto refused = [&](std::int32_t number, const std::function<void()>& call) {
    oracle_->Require(ErrorOf(call) == number, "a wrong call is not refused as it must be");
  };
  refused(errInvalidValue, [&] { group.core->PutUpdateRate(-1); });
  if (!IsOpen()) {
    refused(errInvalidState, [&] { group.core->AsyncReadAll(id); });
    refused(errInvalidState, [&] { group.core->SyncRead({1}, values, errors); });
    refused(errInvalidState, [&] { group.core->AsyncCancel(1); });
    return;
  }
  refused(errInvalidHandle, [&] { group.core->AsyncRead({999}, id); });
  refused(errInvalidHandle, [&] { group.core->SyncRead({-1}, values, errors); });
  refused(errInvalidState, [&] { server_->KELDataGroups()->Add(); });
  refused(errInvalidState, [&] { server_->KELDataGroups()->Remove(group.handle); });
  refused(errInvalidState, [&] { group.core->KELDataItems()->RemoveAll(); });
  refused(errInvalidState, [&] { server_->SaveConfigurationToFile("other.cfg"); });
  refused(errInvalidState, [&] { server_->LoadConfigurationFromFile("drivers.ini"); });
  if (group.items.empty()) return;
  const ItemPointer item = OneOf(group.items);
  if (item->cell.kind == CellKind::Word)
    refused(errInvalidFormat, [&] { group.core->AsyncWrite({item->handle}, {Variant("no number")}, id); });
}

void PlantSimulation::InspectItem(const MirrorGroup& group, const MirrorItem& item) {
  const auto core = group.core->KELDataItems()->Item(item.handle);
  oracle_->Require(core->ItemName() == item.name && core->ItemId() == item.cell.Identifier(),
                   "an item is another one");
  oracle_->Require(core->Signed() == item.isSigned && core->ItemGroupBufferOffset() == item.offset,
                   "an item has other facts");
  const Reading held = ReadingOf(core->USERValue());
  if (!(held == item.held))
    oracle_->Fail("an item holds " + TextOf(held) + " in place of " + TextOf(item.held));
  oracle_->Require(core->TimeStamp().days == item.stamp, "an item has another time stamp");
}

void PlantSimulation::Inspect() {
  if (groups_.empty()) return;
  const MirrorGroup& group = *OneOf(groups_);
  const KELDataGroup& core = *group.core;
  log_.Note(platform_.Time().Now(), "inspect", group.handle, static_cast<std::int64_t>(group.items.size()));
  oracle_->Require(
      core.Active() == group.active && core.Subscribed() == group.subscribed && core.UpdateRate() == group.rate,
      "a group has other settings");
  oracle_->Require(core.RefreshPending() == group.pending, "a group's refresh is outstanding, or is not");
  oracle_->Require(core.TimerId() == group.timer, "a group has another timer");
  oracle_->Require(core.ItemCount() == static_cast<std::int32_t>(group.items.size()),
                   "a group has another number of items");
  for (const ItemPointer& item : group.items)
    InspectItem(group, *item);
}

// A handler that calls back in. Whatever waits would wait for the delivery that it is in.
void PlantSimulation::ActInsideEvent() {
  if (settling_ || oracle_->HasFailed() || !dice_.Chance(60) || !server_ || !IsOpen()) return;
  static const std::vector<Action> actions = {
      {30, &PlantSimulation::AsyncRead},    {20, &PlantSimulation::AsyncWrite},
      {15, &PlantSimulation::AsyncReadAll}, {10, &PlantSimulation::Subscribe},
      {10, &PlantSimulation::Activate},     {10, &PlantSimulation::ChangeRate},
      {5, &PlantSimulation::WrongCall},     {1, &PlantSimulation::Close},
  };
  Act(actions);
}

}  // namespace orvo::testing
