// Reads and writes lists of items over a line: plans the requests, takes the answers apart, and gives each item
// its own value and error. One thread; it blocks.
//
// Reading. Items that lie near each other share requests (ReadPlan.h). When the device refuses a request of
// several items (exceptions 2, 3 and 4), the request is divided until each item has its own answer: one bad
// address fails alone. What was learned so is kept until the line is connected anew, so that the next cycle
// asks right away.
//
// Writing. Items go out in the order of the list; those that follow each other in the list and in the device,
// without gap or overlap, share a request, which is divided into single items when the device refuses it (2, 3,
// 4). A bit or byte of a register is written by a mask request. A device that does not know it (exception 1)
// gets the register read, changed and written back, which takes back what the device itself changed meanwhile
// in the other bits; with bits=mask the item fails instead. No request that may have reached the device is ever
// sent a second time.
//
// After an answer that is missing or wrong, or a broken line, the items of that request have its error and all
// later ones LinkDown, untried: the whole list ends within one time-out more.
#pragma once

#include "modbus/Address.h"
#include "modbus/ItemError.h"
#include "modbus/Line.h"
#include "modbus/ReadPlan.h"
#include "modbus/Settings.h"
#include "values/Variant.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvo::modbus {

// One item of a request as the system passed it.
struct ItemRequest {
  double compiledAddress = 0;
  std::int32_t dimension = 0;  // in 16-bit words
  Variant value;               // of a write; not shared with anybody
};

struct ItemResult {
  Variant value;  // of a read without error; else Empty
  std::int32_t error = NoError;
};

struct ExchangeOptions {
  ByteOrder order;
  std::int32_t gap = 16;
  BitWriting bits = BitWriting::Auto;
};

class Exchange {
 public:
  // Neither is owned; both outlive it. `line` is what requests go to; it counts them for whoever asks.
  Exchange(Line& line, const ExchangeOptions& options);

  // One result for each item, by position.
  std::vector<ItemResult> Read(std::span<const ItemRequest> items);
  std::vector<ItemResult> Write(std::span<const ItemRequest> items);
  // The line was connected anew: what was learned of the device may no longer hold.
  void Forget();
};

}  // namespace orvo::modbus
