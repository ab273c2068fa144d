// A guard against re-entrancy on one thread: a boolean that a waiter breaks after two seconds.
#pragma once

#include "platform/ThreadPlatform.h"

namespace orvo {

class ReentrancyLock {
 public:
  // Takes the lock. While somebody further up the stack holds it, pumps messages and waits. Once more than two
  // seconds have passed, by the time of day, the lock is broken: it is left free and the answer is false.
  bool Take(ThreadPlatform& platform);
  void Release() noexcept { taken_ = false; }
  bool IsTaken() const noexcept { return taken_; }

 private:
  bool taken_ = false;
};

}  // namespace orvo
