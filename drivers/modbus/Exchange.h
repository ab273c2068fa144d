// Reads and writes lists of items over a line: plans the requests, takes the answers apart, and gives each item
// its own value and error. One thread; it blocks.
//
// Reading. Items that lie near each other share requests (ReadPlan.h). When the device refuses a request of
// several items (every exception but 1, 5, 6, 10 and 11), the request is divided until each item has its own
// answer: one bad address fails alone. What was learned so is kept, so that the next cycle asks right
// away. What a list may cost so is limited (ItemReader.h).
//
// Writing. Items go out in the order of the list; those that follow each other in the list and in the device,
// without gap or overlap, share a request. One that the device refuses without having taken anything (1, 2, 3)
// is divided into single items; after every other end nothing of it is sent again. Where it does not know the
// requests for several (1), items of one register or coil go by those for one. A bit or byte of a register is
// written by a mask request. A device that does not know it (1) gets the register read, changed and written
// back on the same connection, which takes back what the device itself changed meanwhile in the other bits;
// with bits=mask the item fails instead. No request that may have changed something is ever sent a second time.
//
// After an answer that is missing or wrong, or a broken line, the items of that request have its error and all
// later ones LinkDown, untried: the whole list ends within one time-out more. The same when a gateway has no
// way to the device or no answer of it (exceptions 10 and 11). Reading, such requests are the last ones of the
// next lists. A write that may have happened has NoAnswer or WrongAnswer.
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

 private:
  ItemReader reader_;
  ItemWriter writer_;
};

}  // namespace orvo::modbus
