#include "model/NumberPool.h"

#include <iterator>

namespace orvo {

bool NumberPool::Contains(std::int32_t number) const noexcept {
  const auto after = used_.upper_bound(number);
  return after != used_.begin() && std::prev(after)->second >= number;
}

void NumberPool::Take(std::int32_t number) {
  if (Contains(number)) return;
  std::int32_t first = number;
  std::int32_t last = number;
  auto after = used_.upper_bound(number);
  if (after != used_.end() && after->first - 1 == number) {
    last = after->second;
    after = used_.erase(after);
  }
  if (after != used_.begin() && std::prev(after)->second == number - 1) {
    std::prev(after)->second = last;
    return;
  }
  used_.emplace_hint(after, first, last);
}

void NumberPool::Release(std::int32_t number) {
  auto after = used_.upper_bound(number);
  if (after == used_.begin()) return;
  const auto run = std::prev(after);
  const std::int32_t last = run->second;
  if (last < number) return;
  if (run->first == number)
    used_.erase(run);
  else
    run->second = number - 1;
  if (last > number) used_.emplace(number + 1, last);
}

}  // namespace orvo
