// The periodic timers of a thread's groups, one per group that is being refreshed. One set of state per thread.
#pragma once

#include "platform/ThreadPlatform.h"
#include "spooler/IExecuteTimerTick.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace orvo {

class modGroupsSpooler {
 public:
  // Use ThreadPlatform::ModuleState.
  explicit modGroupsSpooler(ThreadPlatform& platform) : platform_(platform) {}

  // Makes `receiver` the one that gets the ticks, in place of an earlier one, and resets the table of
  // identifiers.
  void RegisterReceiver(const std::shared_ptr<IExecuteTimerTick>& receiver);
  // The end of a receiver: if it is the registered one, kills every timer of the table, drops the receiver and
  // resets the table; otherwise does nothing.
  void EndReceiver(const IExecuteTimerTick& receiver) noexcept;

  // Starts a periodic timer of `interval` milliseconds (at least 10) and returns its identifier; the caller
  // keeps it.
  std::int32_t StartTimer(std::int32_t interval);
  void StopTimer(std::int32_t timerId) noexcept;
  // One tick, from a timer's callback.
  void Tick(std::int32_t timerId) noexcept;

  const std::vector<std::int32_t>& TimerTable() const noexcept { return table_; }

 private:
  ThreadPlatform& platform_;
  std::weak_ptr<IExecuteTimerTick> receiver_;
  const IExecuteTimerTick* registered_ = nullptr;  // identity of receiver_, also while it is being destroyed
  std::vector<std::int32_t> table_{0};
};

}  // namespace orvo
