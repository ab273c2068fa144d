#include "model/KELDataGroups.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "spooler/modGroupsSpooler.h"
#include "values/VariantConversion.h"

namespace orvo {

std::shared_ptr<KELDataGroups> KELDataGroups::Create(ThreadPlatform& platform) {
  auto groups = std::make_shared<KELDataGroups>(platform);
  platform.ModuleState<modGroupsSpooler>().RegisterReceiver(groups);
  return groups;
}

KELDataGroups::~KELDataGroups() {
  platform_.ModuleState<modGroupsSpooler>().EndReceiver(*this);
}

std::shared_ptr<KELDataGroups> KELDataGroups::Hold() {
  return std::static_pointer_cast<KELDataGroups>(shared_from_this());
}

std::shared_ptr<KELDataServer> KELDataGroups::Parent() const {
  const std::shared_ptr<ModelServer> server = server_.lock();
  return server ? server->Server() : nullptr;
}

std::shared_ptr<ModelServer> KELDataGroups::RequireServer() const {
  std::shared_ptr<ModelServer> server = server_.lock();
  if (!server) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return server;
}

std::shared_ptr<ModelServer> KELDataGroups::RequireClosed() const {
  return WithTrace(
      OwnErrors::PassThrough, [] { return std::string(":DataGroups("); },
      [&] {
        std::shared_ptr<ModelServer> server = RequireServer();
        const std::int32_t status = server->ServerStatus();
        if (status != StatusStopped && status != StatusNotConfigured)
          RaiseDataError(errInvalidState, "Server is running");
        return server;
      });
}

std::shared_ptr<KELDataGroup> KELDataGroups::Item(std::int32_t Handle) const {
  std::shared_ptr<KELDataGroup> group = groups_.FindHandle(Handle);
  if (!group) RaiseDataError(errInvalidHandle, std::to_string(Handle));
  return group;
}

std::shared_ptr<KELDataGroup> KELDataGroups::ItemByName(const std::string& GroupName) const {
  std::shared_ptr<KELDataGroup> group = groups_.FindName(GroupName);
  if (!group) RaiseDataError(errInvalidName, GroupName);
  return group;
}

std::shared_ptr<KELDataGroup> KELDataGroups::Add(const std::optional<Variant>& GroupName) {
  const std::shared_ptr<ModelServer> server = RequireClosed();
  std::string name;
  if (GroupName.has_value()) {
    name = WithTrace(
        OwnErrors::PassThrough, [] { return std::string(":DataGroups.Add(GroupName="); },
        [&] { return ToText(*GroupName); });
    if (groups_.FindName(name)) RaiseDataError(errInvalidName, name + ":Name already used");
  } else {
    name = groups_.FreeName();
  }
  std::shared_ptr<KELDataGroup> group = KELDataGroup::Create(platform_);
  group->SetGroupName(name);
  group->SetHandle(groups_.FreeHandle());
  group->SetParent(server_);
  // kept: a collision in another case is the collection's own error and reaches the client unchanged.
  if (!groups_.Insert(group)) RaiseRuntimeError(RuntimeError::DuplicateKey);
  return group;
}

void KELDataGroups::Remove(std::int32_t Handle) {
  const std::shared_ptr<ModelServer> server = RequireClosed();
  // kept: neither the group's timer nor its place among the defined groups is touched.
  groups_.RemoveKey(Item(Handle)->GroupName());
}

void KELDataGroups::RemoveByName(const std::string& GroupName) {
  const std::shared_ptr<ModelServer> server = RequireClosed();
  if (!groups_.RemoveKey(GroupName)) RaiseDataError(errInvalidName, GroupName + ": can't remove it");
}

void KELDataGroups::RemoveAll() {
  const std::shared_ptr<ModelServer> server = RequireClosed();
  groups_.Walk([this](const KELDataGroup& group) {
    groups_.RemoveKey(group.GroupName());
    defined_.RemoveKey(group.GroupName());
    return false;
  });
}

void KELDataGroups::Execute(std::int32_t& lTimerId) {
  const std::shared_ptr<KELDataGroups> self = Hold();
  const std::int32_t timerId = lTimerId;
  groups_.Walk([&](KELDataGroup& group) {
    platform_.PumpOnce();
    if (group.TimerId() == timerId) Suppressed([&] { group.Refresh(); });
    platform_.PumpOnce();
    return false;
  });
}

void KELDataGroups::StartGroups() {
  const std::shared_ptr<KELDataGroups> self = Hold();
  groups_.Walk([](KELDataGroup& group) {
    if (group.Active()) Suppressed([&] { group.StartUpdates(); });
    return false;
  });
}

void KELDataGroups::StopGroups() {
  const std::shared_ptr<KELDataGroups> self = Hold();
  groups_.Walk([](KELDataGroup& group) {
    Suppressed([&] { group.StopUpdates(); });
    return false;
  });
}

bool KELDataGroups::DefineGroup(const std::shared_ptr<KELDataGroup>& group) {
  const std::shared_ptr<KELDataGroups> self = Hold();
  bool defined = false;
  Suppressed([&] {
    const std::shared_ptr<ModelServer> server = RequireServer();
    defined = Define(group, *server);
  });
  group->SetDefined(defined);
  return defined;
}

bool KELDataGroups::Define(const std::shared_ptr<KELDataGroup>& group, ModelServer& server) {
  // kept: the driver is asked before each eviction, and one that cannot answer has room for nothing.
  const auto full = [&] {
    const std::int32_t capacity = AnswerOr(0, [&] { return server.GroupCapacity(); });
    return static_cast<std::int64_t>(defined_.Count()) >= capacity;
  };
  while (full()) {
    const std::size_t before = defined_.Count();
    const std::shared_ptr<KELDataGroup> victim = Victim();
    if (!victim) return false;
    const std::shared_ptr<KELDataGroup> named = groups_.FindKey(victim->GroupName());
    if (!named || !UndefineGroup(named)) return false;
    // A removed group can bear the victim's name; giving up another definition than one of the list gains
    // nothing.
    if (defined_.Count() >= before) return false;
  }
  if (!server.DefineOnDevice(*group, DefineOnDevice)) return false;
  defined_.Insert(group);
  return true;
}

// Among the inactive groups the least recently used, of equal ones the earliest defined.
std::shared_ptr<KELDataGroup> KELDataGroups::Victim() const {
  std::shared_ptr<KELDataGroup> victim;
  defined_.Walk([&](const KELDataGroup& group) {
    if (!group.IsDefined() || group.Active()) return false;
    if (!victim || group.LastUseTick() < victim->LastUseTick()) victim = group.Hold();
    return false;
  });
  return victim;
}

bool KELDataGroups::UndefineGroup(const std::shared_ptr<KELDataGroup>& group) {
  if (!group->IsDefined()) return true;
  const std::shared_ptr<KELDataGroups> self = Hold();
  bool released = false;
  Suppressed([&] { released = RequireServer()->DefineOnDevice(*group, ReleaseOnDevice); });
  if (!released) return false;
  defined_.RemoveKey(group->GroupName());
  group->SetDefined(false);
  return true;
}

std::int32_t KELDataGroups::ActiveCount() const {
  std::int32_t active = 0;
  groups_.Walk([&](const KELDataGroup& group) {
    if (group.Active()) ++active;
    return false;
  });
  return active;
}

}  // namespace orvo
