// What the three items of a modelled group hold, as far as a whole group's refresh compares with it: the bytes
// of which completion, or something else, and whether a write was noted that no refresh has reported yet.
//
// Completions are counted from 1; 0 stands for bytes that are 0 because none brought them. Positions are 0
// to 2.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orvo::testing {

class ModelledItems {
 public:
  // A value that was read for this item alone, or Empty: no group's bytes are like it.
  void TakeOwnRead(std::size_t position) { held_[position].bytes.reset(); }
  // A write that succeeded. The next refresh reports the item whatever it brings.
  void TakeWritten(std::size_t position);
  // A read of the whole group that is no refresh: all items, and what was written stays noted.
  void TakeGroup(std::int64_t completion);
  // A refresh of the whole group. The positions that it reports.
  std::vector<std::size_t> TakeRefresh(std::int64_t completion);

 private:
  struct Held {
    std::optional<std::int64_t> bytes;
    bool written = false;
  };
  std::array<Held, 3> held_;
};

}  // namespace orvo::testing
