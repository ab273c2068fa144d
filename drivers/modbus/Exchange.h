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
// later ones LinkDown, untried: the whole list ends within one time-out more. The same when a gateway has no
// way to the device or no answer of it (exceptions 10 and 11).
//
// An item whose address, length or value is none has BadValue; nothing is sent for it, and the others do not
// notice.
#pragma once

#include "modbus/ItemExchange.h"
#include "modbus/ItemReader.h"
#include "modbus/ItemWriter.h"
#include "modbus/Line.h"

#include <span>

namespace orvo::modbus {

class Exchange {
 public:
  // Neither is owned; both outlive it. `line` is what requests go to; it counts them for whoever asks.
  Exchange(Line& line, const ExchangeOptions& options);

  ItemResults Read(std::span<const ItemRequest> items);
  ItemResults Write(std::span<const ItemRequest> items);
  // The line was connected anew: what was learned of the device may no longer hold.
  void Forget() noexcept;

 private:
  ItemReader reader_;
  ItemWriter writer_;
};

}  // namespace orvo::modbus
