// The set-up of a simulated plant and what happens to it: groups and items come and go, communication is opened
// and closed, configurations are saved and loaded, the panel and its line fail.
#include "errors/AutomationError.h"
#include "errors/modIDataErrors.h"
#include "simulation/ClientSink.h"
#include "simulation/PlantSimulation.h"
#include "spooler/modMonoSpooler.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orvo::testing {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t MostGroups = 7;
constexpr std::size_t MostItems = 12;
constexpr std::int32_t ImageBytes = 254;
constexpr std::int32_t ImageDistance = 256;
constexpr std::int32_t GroupIds = 120;
constexpr const char* SavedFile = "plant.cfg";
constexpr std::size_t TimersKept = 30;

}  // namespace

void PlantSimulation::Subscribe() {
  if (groups_.empty()) return;
  MirrorGroup& group = *OneOf(groups_);
  group.subscribed = dice_.Chance(700);
  group.core->PutSubscribed(group.subscribed);
  log_.Note(platform_.Time().Now(), "subscribed", group.handle, group.subscribed ? 1 : 0);
}

void PlantSimulation::Activate() {
  if (groups_.empty()) return;
  MirrorGroup& group = *OneOf(groups_);
  SetActive(group, dice_.Chance(800));
}

void PlantSimulation::SetActive(MirrorGroup& group, bool active) {
  if (group.timer >= 0) timers_.push_back(group.timer);
  if (timers_.size() > TimersKept) timers_.pop_front();
  group.core->PutActive(active);
  log_.Note(platform_.Time().Now(), "active", group.handle, active ? 1 : 0);
  if (group.active == active) return;
  group.active = group.core->Active();
  oracle_->Require(group.active == active || (active && oracle_->MayLackDefinition()),
                   "a group did not become active");
  if (group.active) group.previous.clear();
  NoteTimer(group);
}

// The refresh timer that the group must have, or none.
void PlantSimulation::NoteTimer(MirrorGroup& group) {
  group.timer = group.core->TimerId();
  const bool wanted = group.active && IsOpen();
  oracle_->Require(wanted || group.timer < 0, "a group has a timer that it must not have");
  oracle_->Require(!wanted || group.timer >= 0 || oracle_->MayLackDefinition(), "an active group has no timer");
  if (group.timer >= 0)
    oracle_->Require(platform_.PeriodOf(group.timer) == std::chrono::milliseconds(group.rate),
                     "a group's timer has another period");
}

void PlantSimulation::ChangeRate() {
  if (groups_.empty()) return;
  MirrorGroup& group = *OneOf(groups_);
  const std::int32_t rate = dice_.Chance(25) ? dice_.Between(60, 600) : 100 * dice_.Between(30, 500);
  if (group.timer >= 0) timers_.push_back(group.timer);
  group.rate = rate;
  group.core->PutUpdateRate(rate);
  log_.Note(platform_.Time().Now(), "rate", group.handle, rate);
  if (!group.active) return;
  group.previous.clear();
  group.active = group.core->Active();
  oracle_->Require(group.active || oracle_->MayLackDefinition(), "a group did not stay active");
  NoteTimer(group);
}

void PlantSimulation::Advise(const GroupPointer& group) {
  const auto sink = std::make_shared<ClientSink>(*oracle_, group, [this] { ActInsideEvent(); });
  group->sinks.push_back({sink, group->core->Events().Advise(sink)});
}

// Another client comes to a group, or one goes.
void PlantSimulation::Connect() {
  if (groups_.empty()) return;
  const GroupPointer& group = OneOf(groups_);
  if (group->sinks.empty() || (group->sinks.size() < 3 && dice_.Chance(500))) {
    Advise(group);
  } else {
    const auto gone = group->sinks.begin() + dice_.Below(static_cast<std::int32_t>(group->sinks.size()));
    oracle_->Require(group->core->Events().Unadvise(gone->cookie), "a client cannot leave its group");
    group->sinks.erase(gone);
  }
  log_.Note(platform_.Time().Now(), "clients", group->handle, static_cast<std::int64_t>(group->sinks.size()));
}

void PlantSimulation::Open() {
  server_->OpenCommunication();
  oracle_->Require(IsOpen(), "communication does not open");
  oracle_->Opened(platform_.ModuleState<modMonoSpooler>().TimerId());
  for (const GroupPointer& group : groups_)
    NoteTimer(*group);
}

void PlantSimulation::Close() {
  timers_.push_back(platform_.ModuleState<modMonoSpooler>().TimerId());
  for (const GroupPointer& group : groups_)
    if (group->timer >= 0) timers_.push_back(std::exchange(group->timer, -1));
  while (timers_.size() > TimersKept)
    timers_.pop_front();
  oracle_->Closed();
  server_->CloseCommunication();
  oracle_->Require(server_->ServerStatus() == 2, "communication does not close");
  for (const GroupPointer& group : groups_)
    NoteTimer(*group);
}

// No group, now or in the saved configuration, has the same: their images would overlap.
std::int32_t PlantSimulation::NewGroupId() {
  for (;;) {
    const std::int32_t id = 1 + groupIds_++ % GroupIds;
    const auto has = [id](const MirrorGroup& group) { return group.groupId == id; };
    if (std::any_of(groups_.begin(), groups_.end(), [&](const GroupPointer& group) { return has(*group); }))
      continue;
    if (saved_ &&
        std::any_of(saved_->begin(), saved_->end(), [&](const SavedGroup& saved) { return has(saved.facts); }))
      continue;
    // What an earlier group of this image left is gone: a read that waits may show it as an item's that comes.
    imageEnds_[id] = 0;
    std::erase_if(cells_, [id](const PlantCell& cell) { return cell.WordAddress() / ImageDistance == id; });
    const std::vector<std::uint8_t> nothing(ImageDistance);
    Panel().Memory().PutBytes(PlantOracle::ImageStart(id), nothing);
    return id;
  }
}

void PlantSimulation::AddGroup() {
  if (groups_.size() >= MostGroups) return;
  const auto group = std::make_shared<MirrorGroup>();
  group->name = "Group " + std::to_string(++names_);
  group->core = server_->KELDataGroups()->Add(Variant(group->name));
  group->handle = group->core->Handle();
  group->rate = 100 * dice_.Between(30, 500);
  group->core->PutUpdateRate(group->rate);
  group->subscribed = dice_.Chance(800);
  group->core->PutSubscribed(group->subscribed);
  if (TransfersWholeGroups()) {
    group->groupId = NewGroupId();
    group->core->SetGroupId(group->groupId);
    group->bufferBytes = ImageBytes;
    group->core->SetCompiledBufferDimension(ImageBytes);
  }
  groups_.push_back(group);
  log_.Note(platform_.Time().Now(), "group added", group->handle, group->rate);
  for (int k = dice_.Chance(80) ? 0 : dice_.Between(2, 8); k > 0; --k)
    AddItem(*group);
  for (int k = dice_.Between(0, 2); k > 0; --k)
    Advise(group);
  if (dice_.Chance(850)) SetActive(*group, true);
}

void PlantSimulation::RemoveGroup() {
  if (groups_.size() < 2) return;
  const auto gone = groups_.begin() + dice_.Below(static_cast<std::int32_t>(groups_.size()));
  const GroupPointer group = *gone;
  log_.Note(platform_.Time().Now(), "group removed", group->handle);
  group->core.reset();
  removedObjects_ += 2 + static_cast<std::int64_t>(group->items.size());
  groups_.erase(gone);
  server_->KELDataGroups()->Remove(group->handle);
}

// A place in the panel's memory that no item of the group has yet. In a group's image no place is given twice:
// a write that waited may bring what lay there before.
PlantCell PlantSimulation::NewCell(const MirrorGroup& group) {
  if (!TransfersWholeGroups()) {
    for (;;) {
      const PlantCell& cell = OneOf(cells_);
      const bool used = std::any_of(group.items.begin(), group.items.end(), [&](const ItemPointer& item) {
        return item->cell.WordAddress() == cell.WordAddress();
      });
      if (!used) return cell;
    }
  }
  const std::int32_t end = imageEnds_[group.groupId];
  PlantCell cell;
  cell.kind = static_cast<CellKind>(dice_.Below(6));
  cell.address = PlantOracle::ImageStart(group.groupId) + end;
  if (cell.kind == CellKind::Byte) ++cell.address;
  if (cell.kind == CellKind::Text) cell.detail = 2 * dice_.Between(1, 10);
  return cell;
}

void PlantSimulation::AddItem(MirrorGroup& group) {
  if (group.items.size() >= MostItems) return;
  const auto item = std::make_shared<MirrorItem>();
  item->cell = NewCell(group);
  item->offset = TransfersWholeGroups() ? item->cell.WordAddress() - PlantOracle::ImageStart(group.groupId) : 0;
  if (item->offset + item->cell.Bytes() > ImageBytes) return;
  if (TransfersWholeGroups()) imageEnds_[group.groupId] = item->offset + item->cell.Bytes();
  item->name = "Item " + std::to_string(++names_);
  for (item->handle = 1; std::any_of(group.items.begin(), group.items.end(),
                                     [&](const ItemPointer& other) { return other->handle == item->handle; });)
    ++item->handle;
  const auto core = group.core->KELDataItems()->Add(item->cell.Identifier(), Variant(item->name));
  const bool number = item->cell.kind == CellKind::Word || item->cell.kind == CellKind::DoubleWord;
  item->isSigned = number && !TransfersWholeGroups() && dice_.Chance(400);
  core->PutSigned(item->isSigned);
  if (TransfersWholeGroups()) core->SetItemGroupBufferOffset(item->offset);
  oracle_->Require(core->Handle() == item->handle, "an item has another handle than the lowest that is free");
  item->cell.Move(Panel().Memory(), dice_);
  if (TransfersWholeGroups()) cells_.push_back(item->cell);
  group.items.push_back(item);
  log_.Note(platform_.Time().Now(), "item added", group.handle, item->handle);
}

void PlantSimulation::AddItems() {
  if (groups_.empty()) return;
  MirrorGroup& group = *OneOf(groups_);
  for (int k = dice_.Between(1, 3); k > 0; --k)
    AddItem(group);
}

void PlantSimulation::RemoveItem() {
  const GroupPointer group = AnyGroup();
  if (group) RemoveOneItem(*group);
}

void PlantSimulation::RemoveOneItem(MirrorGroup& group) {
  const auto gone = group.items.begin() + dice_.Below(static_cast<std::int32_t>(group.items.size()));
  const ItemPointer item = *gone;
  log_.Note(platform_.Time().Now(), "item removed", group.handle, item->handle);
  group.items.erase(gone);
  item->removed = true;
  ++removedObjects_;
  if (dice_.Chance(500))
    group.core->KELDataItems()->Remove(item->handle);
  else
    group.core->KELDataItems()->RemoveByName(item->name);
}

// Requests outlive the close; meanwhile an item goes, and another one gets its handle.
void PlantSimulation::CloseWhileBusy() {
  const GroupPointer group = AnyGroup();
  for (int k = dice_.Between(1, 3); k > 0 && group; --k)
    dice_.Chance(500) ? ReadAllOf(group) : AsyncWrite();
  const bool wasWaiting = oracle_->Queue().Waiting() > 0;
  Close();
  if (!group || !wasWaiting) return;
  RemoveOneItem(*group);
  AddItem(*group);
}

void PlantSimulation::Save() {
  server_->SaveConfigurationToFile(SavedFile);
  saved_.emplace();
  for (const GroupPointer& group : groups_) {
    SavedGroup& saved = saved_->emplace_back();
    saved.facts.name = group->name;
    saved.facts.groupId = group->groupId;
    saved.facts.bufferBytes = group->bufferBytes;
    saved.facts.active = group->active;
    saved.facts.subscribed = group->subscribed;
    saved.facts.rate = group->rate;
    for (const ItemPointer& item : group->items) {
      saved.items.push_back(std::make_shared<MirrorItem>());
      saved.items.back()->cell = item->cell;
      saved.items.back()->name = item->name;
      saved.items.back()->offset = item->offset;
      saved.items.back()->isSigned = item->isSigned;
    }
  }
  log_.Note(platform_.Time().Now(), "saved", static_cast<std::int64_t>(groups_.size()));
}

void PlantSimulation::Load() {
  if (!saved_) return;
  for (const GroupPointer& group : groups_) {
    group->core.reset();
    removedObjects_ += 2 + static_cast<std::int64_t>(group->items.size());
  }
  groups_.clear();
  server_->LoadConfigurationFromFile(SavedFile, Variant(false));
  log_.Note(platform_.Time().Now(), "loaded", static_cast<std::int64_t>(saved_->size()));
  oracle_->Require(server_->ProjectName() == SavedFile, "a load does not name the project");
  oracle_->Require(server_->KELDataGroups()->Count() == static_cast<std::int32_t>(saved_->size()),
                   "groups were not loaded");
  for (const SavedGroup& saved : *saved_) {
    const auto group = std::make_shared<MirrorGroup>(saved.facts);
    group->core = server_->KELDataGroups()->ItemByName(group->name);
    groups_.push_back(group);
    group->handle = static_cast<std::int32_t>(groups_.size());
    // A saved buffer comes back one byte shorter.
    if (TransfersWholeGroups()) group->core->SetCompiledBufferDimension(group->bufferBytes);
    for (const ItemPointer& item : saved.items) {
      group->items.push_back(std::make_shared<MirrorItem>(*item));
      group->items.back()->handle = static_cast<std::int32_t>(group->items.size());
      item->cell.Move(Panel().Memory(), dice_);
    }
    oracle_->Require(group->core->KELDataItems()->Count() == static_cast<std::int32_t>(group->items.size()),
                     "items were not loaded");
    for (const ItemPointer& item : group->items)
      InspectItem(*group, *item);
    for (int k = dice_.Between(0, 2); k > 0; --k)
      Advise(group);
  }
}

void PlantSimulation::Fault() {
  ++result_.faults;
  const bool read = dice_.Chance(500);
  const PanelOperation operation = TransfersWholeGroups() && dice_.Chance(600)
                                       ? (read ? PanelOperation::ReadGroup : PanelOperation::WriteGroup)
                                       : (read ? PanelOperation::ReadItems : PanelOperation::WriteItems);
  PanelFault fault;
  fault.operation = operation;
  fault.times = static_cast<std::uint64_t>(dice_.Between(1, 3));
  const int dice = dice_.Below(100);
  log_.Note(platform_.Time().Now(), "fault", static_cast<std::int64_t>(operation), dice);
  if (dice < 3) {
    fault.action = PanelFaultAction::Never;
    fault.times = 1;
  } else if (dice < 40) {
    const std::int32_t numbers[] = {1, 2, 3, 4, 5, 7, 10, 99};
    const std::int32_t number = numbers[dice_.Below(8)];
    Panel().Faults().FailNext(operation, number, "line noise", dice_.Between(1, 3));
    return;
  } else if (dice < 45) {
    Panel().Faults().FailNext(PanelOperation::SetGroupDefinition, 3, "line noise");
    return;
  } else if (flavour_ == Flavour::Noisy && dice < 70) {
    fault.action = PanelFaultAction::Twice;
  } else if (flavour_ == Flavour::Noisy) {
    fault.action = PanelFaultAction::Late;
    fault.time = std::chrono::milliseconds(dice_.Between(60, 3000));
    if (fault.time.count() % 50 == 0) fault.time += 3ms;
  } else {
    fault.action = PanelFaultAction::Delay;
    fault.time =
        std::chrono::milliseconds(dice_.Chance(800) ? dice_.Between(60, 3000) : dice_.Between(3000, 14000));
  }
  Panel().Faults().Add(fault);
}

void PlantSimulation::CutOrMendLink() {
  linkCut_ = !linkCut_;
  if (linkCut_) ++result_.faults;
  log_.Note(platform_.Time().Now(), linkCut_ ? "link cut" : "link mended");
  Panel().CutLink(linkCut_);
}

void PlantSimulation::ItemFault() {
  const GroupPointer group = AnyGroup();
  if (!group) return;
  const MirrorItem& item = *OneOf(group->items);
  const bool heals = dice_.Chance(600);
  if (!heals) ++result_.faults;
  log_.Note(platform_.Time().Now(), "item fault", item.cell.address, heals ? 0 : 3);
  Panel().PutItemFault(item.cell.Identifier(), heals ? 0 : dice_.Between(3, 4));
}

// The panel loses its memory and comes back with other values.
void PlantSimulation::RestartPanel() {
  ++result_.faults;
  log_.Note(platform_.Time().Now(), "panel restarts");
  Panel().LoadScript("restart", "");
  MoveMemory(true);
}

// The tick of a timer that was stopped after it came due.
void PlantSimulation::LateTick() {
  if (timers_.empty()) return;
  const std::int32_t timer = OneOf(timers_);
  const bool came = platform_.Time().DeliverLateTick(timer);
  log_.Note(platform_.Time().Now(), "late tick", timer, came ? 1 : 0);
}

void PlantSimulation::MoveMemory(bool all) {
  PanelMemory& memory = Panel().Memory();
  if (all)
    for (const PlantCell& cell : cells_)
      cell.Move(memory, dice_);
  if (all)
    for (const GroupPointer& group : groups_)  // last, as former places may reach into theirs
      for (const ItemPointer& item : group->items)
        item->cell.Move(memory, dice_);
  if (all || groups_.empty()) return;
  for (int k = dice_.Below(6); k > 0; --k) {
    const MirrorGroup& group = *OneOf(groups_);
    if (!group.items.empty()) OneOf(group.items)->cell.Move(memory, dice_);
  }
}

}  // namespace orvo::testing
