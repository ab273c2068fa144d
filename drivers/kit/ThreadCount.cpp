#include "kit/ThreadCount.h"

#include <filesystem>
#include <system_error>

namespace orvo::kit {

std::optional<std::size_t> ThreadCount() {
#if defined(_WIN32)
  // What a folder of that name holds there is nobody's list of threads.
  return std::nullopt;
#else
  std::error_code failure;
  std::size_t count = 0;
  for (std::filesystem::directory_iterator thread("/proc/self/task", failure), end; !failure && thread != end;
       thread.increment(failure))
    ++count;
  if (failure || count == 0) return std::nullopt;
  return count;
#endif
}

}  // namespace orvo::kit
