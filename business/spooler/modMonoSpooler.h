// The periodic timer that drives a thread's spooler. One set of state per thread.
//
// Ticks alternate strictly: one delivers the next finished request, the next one sends the next waiting
// request.
#pragma once

#include "platform/ThreadPlatform.h"

#include <cstdint>
#include <memory>

namespace orvo {

class DataRequests;

class modMonoSpooler {
 public:
  // Use ThreadPlatform::ModuleState.
  explicit modMonoSpooler(ThreadPlatform& platform) noexcept : platform_(platform) {}

  // Makes `spooler` the one that the timer drives, in place of an earlier one, and clears ServerTerminating.
  void RegisterSpooler(const std::shared_ptr<DataRequests>& spooler);
  // Withdraws `spooler` if it is the registered one. Returns whether it was.
  bool UnregisterSpooler(const DataRequests& spooler) noexcept;
  bool IsRegistered(const DataRequests& spooler) const noexcept { return registered_ == &spooler; }

  // Starts the timer (50 ms) unless it runs, and clears the guards and ServerTerminating.
  void Start();
  // Sets ServerTerminating and kills the timer.
  void Stop();
  // One tick, from the timer's callback.
  void Tick(std::int32_t timerId) noexcept;

  std::int32_t TimerId() const noexcept { return timerId_; }  // 0 = no timer

  // A synchronous request of this thread is waiting: at most one at a time. Set by the server before it queues
  // one, cleared when it is delivered and wherever the spooler gives one up.
  bool SyncRequestPending = false;
  // Makes the next tick kill the timer.
  bool ServerTerminating = false;

 private:
  ThreadPlatform& platform_;
  std::weak_ptr<DataRequests> spooler_;
  const DataRequests* registered_ = nullptr;  // identity of spooler_, also while it is being destroyed
  std::int32_t timerId_ = 0;
  bool deliveryPhase_ = false;
  bool processing_ = false;
  bool delivering_ = false;
};

}  // namespace orvo
