#include "faults/ModelledItems.h"

namespace orvo::testing {

void ModelledItems::TakeWritten(std::size_t position) {
  held_[position] = {std::nullopt, true};
}

void ModelledItems::TakeGroup(std::int64_t completion) {
  for (Held& held : held_)
    held.bytes = completion;
}

std::vector<std::size_t> ModelledItems::TakeRefresh(std::int64_t completion) {
  std::vector<std::size_t> reported;
  for (std::size_t k = 0; k < held_.size(); ++k)
    if (held_[k].written || held_[k].bytes != completion) {
      reported.push_back(k);
      held_[k] = {completion, false};
    }
  return reported;
}

}  // namespace orvo::testing
