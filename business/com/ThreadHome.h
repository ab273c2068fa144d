// What the objects of one thread share: platform, files, drivers, type libraries.
//
// Every object of this module that clients hold keeps its thread's home; the last one ends it. An object
// belongs to the thread on which it was made.
#pragma once

#include "com/ModuleCount.h"
#include "com/TypeLibraries.h"
#include "platform/Files.h"
#include "platform/ThreadPlatform.h"
#include "server/KELDataServer.h"
#include "spooler/DriverRegistry.h"

#include <functional>
#include <memory>

namespace orvo {
class Win32Platform;
}

namespace orvo::com {

class ThreadHome : public std::enable_shared_from_this<ThreadHome> {
 public:
  // How homes are furnished. What is left empty is the real thing: thread timers, files on disk, no drivers of
  // the module's own.
  struct Setup {
    std::function<std::unique_ptr<ThreadPlatform>()> platform;
    std::function<std::unique_ptr<orvo::Files>()> files;
    std::function<void(DriverRegistry& drivers)> drivers;
  };
  // For homes made from now on. Called by the composition root before anything else.
  static void Configure(Setup setup);

  // The home of the calling thread; made when there is none.
  static std::shared_ptr<ThreadHome> Current();

  explicit ThreadHome(const Setup& setup);
  ThreadHome(const ThreadHome&) = delete;
  ThreadHome& operator=(const ThreadHome&) = delete;
  ~ThreadHome();

  bool IsCurrentThread() const noexcept;
  ThreadPlatform& Platform() noexcept { return *platform_; }
  Files& FileSystem() noexcept { return *files_; }
  TypeLibraries& Types() noexcept { return types_; }
  ServerEnvironment Environment() noexcept { return {*platform_, *files_, drivers_}; }

  // Calls into the module are counted: the outermost one gives a quit message that its waiting swallowed back
  // to the thread's own message loop.
  void Enter() noexcept { ++depth_; }
  void Leave() noexcept;

 private:
  // A home whose last holder is on another thread ends on its own.
  static void End(ThreadHome* home) noexcept;

  ModuleLock lock_;  // goes last
  const unsigned long thread_;
  TypeLibraries types_;
  std::unique_ptr<ThreadPlatform> platform_;
  std::unique_ptr<orvo::Files> files_;
  DriverRegistry drivers_;
  Win32Platform* win32_ = nullptr;  // platform_ when it is the real one
  int depth_ = 0;
};

}  // namespace orvo::com
