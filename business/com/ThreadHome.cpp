#include "com/ThreadHome.h"

#include "platform/portable/DiskFiles.h"
#include "platform/win32/Win32Platform.h"

#include <windows.h>

#include <map>
#include <mutex>

namespace orvo::com {

namespace {

struct Homes {
  std::mutex mutex;
  ThreadHome::Setup setup;
  std::map<DWORD, std::weak_ptr<ThreadHome>> byThread;
};

Homes& AllHomes() {
  static Homes homes;
  return homes;
}

}  // namespace

void ThreadHome::Configure(Setup setup) {
  Homes& homes = AllHomes();
  const std::lock_guard lock(homes.mutex);
  homes.setup = std::move(setup);
}

std::shared_ptr<ThreadHome> ThreadHome::Current() {
  Homes& homes = AllHomes();
  const DWORD thread = GetCurrentThreadId();
  Setup setup;
  {
    const std::lock_guard lock(homes.mutex);
    if (auto home = homes.byThread[thread].lock()) return home;
    setup = homes.setup;
  }
  const std::shared_ptr<ThreadHome> home(new ThreadHome(setup), &ThreadHome::End);
  if (home->win32_ != nullptr) home->win32_->SetOwner(home);
  const std::lock_guard lock(homes.mutex);
  homes.byThread[thread] = home;
  return home;
}

ThreadHome::ThreadHome(const Setup& setup)
    : thread_(GetCurrentThreadId()),
      platform_(setup.platform ? setup.platform() : std::make_unique<Win32Platform>()),
      files_(setup.files ? setup.files() : std::make_unique<DiskFiles>()),
      win32_(dynamic_cast<Win32Platform*>(platform_.get())) {
  if (setup.drivers) setup.drivers(drivers_);
}

ThreadHome::~ThreadHome() {
  Homes& homes = AllHomes();
  const std::lock_guard lock(homes.mutex);
  const auto own = homes.byThread.find(thread_);
  // The thread may have a new home by now, or its number a new thread.
  if (own != homes.byThread.end() && own->second.expired()) homes.byThread.erase(own);
}

void ThreadHome::End(ThreadHome* home) noexcept {
  if (home->IsCurrentThread()) {
    delete home;
    return;
  }
  try {
    home->Platform().Post([home] { delete home; });
  } catch (...) {
    // Without memory for the message it stays: its timers and its window belong to that thread.
  }
}

bool ThreadHome::IsCurrentThread() const noexcept {
  return GetCurrentThreadId() == thread_;
}

void ThreadHome::Leave() noexcept {
  if (--depth_ == 0 && win32_ != nullptr) win32_->RestoreQuit();
}

}  // namespace orvo::com
