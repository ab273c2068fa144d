#include "kit/ThreadCount.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <thread>

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace orvo::kit {

#if defined(_WIN32)

std::optional<std::size_t> ThreadCount() {
  return std::nullopt;
}

#else

namespace {

constexpr const char* TaskFolder = "/proc/self/task";

// With its first thread a process may get one of its runtime's own, for good (the thread sanitizer does that):
// it is there before anything is counted.
bool MakeFirstThread() {
  pid_t number = 0;
  try {
    std::thread([&number] { number = gettid(); }).join();
  } catch (const std::system_error&) {
    return false;
  }
  // One that was joined leaves the list a moment later.
  std::error_code failure;
  while (std::filesystem::exists(std::filesystem::path(TaskFolder) / std::to_string(number), failure))
    std::this_thread::yield();
  return true;
}

}  // namespace

std::optional<std::size_t> ThreadCount() {
  [[maybe_unused]] static const bool made = MakeFirstThread();
  std::error_code failure;
  std::size_t count = 0;
  for (std::filesystem::directory_iterator thread(TaskFolder, failure), end; !failure && thread != end;
       thread.increment(failure))
    ++count;
  if (failure || count == 0) return std::nullopt;
  return count;
}

#endif

}  // namespace orvo::kit
