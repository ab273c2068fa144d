// The server's groups, in creation order, and the list of those that hold a definition on the device.
//
// Names are compared exactly, but as keys (duplicates on adding, removal by name) without case. Handles are the
// lowest free positive numbers. Add and the removals are refused with errInvalidState "Server is running"
// unless communication is closed; a failed operation changes nothing.
#pragma once

#include "model/KELDataGroup.h"
#include "model/NamedCollection.h"
#include "spooler/IExecuteTimerTick.h"
#include "values/AutomationObject.h"
#include "values/Variant.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo {

class KELDataGroups final : public AutomationObject, public IExecuteTimerTick {
 public:
  // Also registers the collection as the thread's receiver of group timer ticks.
  static std::shared_ptr<KELDataGroups> Create(ThreadPlatform& platform);
  explicit KELDataGroups(ThreadPlatform& platform) : platform_(platform) {}
  ~KELDataGroups() override;

  // The server; null when it is gone.
  std::shared_ptr<KELDataServer> Parent() const;
  std::int32_t Count() const noexcept { return groups_.Count(); }
  // errInvalidHandle when no group has the handle.
  std::shared_ptr<KELDataGroup> Item(std::int32_t Handle) const;
  // errInvalidName when no group bears exactly this name.
  std::shared_ptr<KELDataGroup> ItemByName(const std::string& GroupName) const;
  // Without a name, "Group_" and the lowest number that gives a free name. Raises errInvalidName for a name in
  // use and error 457 for one that differs from a used name only in case.
  std::shared_ptr<KELDataGroup> Add(const std::optional<Variant>& GroupName = std::nullopt);
  // The removals take the group out of this collection only: its timer and its definition on the device stay.
  void Remove(std::int32_t Handle);
  void RemoveByName(const std::string& GroupName);
  // Also forgets which groups are defined.
  void RemoveAll();
  // The groups in creation order, as they are now.
  std::vector<std::shared_ptr<KELDataGroup>> NewEnum() const { return groups_.Snapshot(); }

  // IExecuteTimerTick: refreshes the groups whose timer it is, pumping messages before and after each group.
  void Execute(std::int32_t& lTimerId) override;

  // For the other classes of the system.
  void SetParent(std::weak_ptr<ModelServer> server) noexcept { server_ = std::move(server); }
  void StartGroups();
  void StopGroups();
  // Gets the group a definition on the device, taking the least recently used inactive group's when the device
  // is full.
  bool DefineGroup(const std::shared_ptr<KELDataGroup>& group);
  bool UndefineGroup(const std::shared_ptr<KELDataGroup>& group);
  std::int32_t ActiveCount() const;
  std::size_t DefinedCount() const noexcept { return defined_.Count(); }

 private:
  std::shared_ptr<ModelServer> RequireServer() const;
  std::shared_ptr<ModelServer> RequireClosed() const;
  std::shared_ptr<KELDataGroup> Victim() const;
  bool Define(const std::shared_ptr<KELDataGroup>& group, ModelServer& server);
  std::shared_ptr<KELDataGroups> Hold();

  ThreadPlatform& platform_;
  std::weak_ptr<ModelServer> server_;
  NamedCollection<KELDataGroup> groups_{"Group_"};
  KeyedList<KELDataGroup>
      defined_;  // in the order in which they were defined; removed groups can be among them
};

}  // namespace orvo
