// How many objects of this module are alive: while there are any, the module must stay loaded.
#pragma once

#include <atomic>
#include <cstdint>

namespace orvo::com {

class ModuleCount {
 public:
  static void Add() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  static void Remove() noexcept { count_.fetch_sub(1, std::memory_order_relaxed); }
  static std::int64_t Value() noexcept { return count_.load(std::memory_order_relaxed); }

 private:
  static inline std::atomic<std::int64_t> count_{0};
};

// Counts the object that it is a member of.
class ModuleLock {
 public:
  ModuleLock() noexcept { ModuleCount::Add(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
  ~ModuleLock() { ModuleCount::Remove(); }
};

}  // namespace orvo::com
