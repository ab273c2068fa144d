// Reads lists of items over a line: the half of Exchange that reads.
//
// A block that the device refuses is divided, in turn at its largest gap between items and in the middle, so
// that b items that cannot be read among n cost O(b log n) requests. What was learned of it (ReadPlan.h:
// Obstacles) decides the plan of the next cycle; where it brings together what was never asked together, that
// is tried at once. So the next cycle costs one request for each block and one for each item that cannot be
// read.
//
// The plan of the last list is kept: the same list costs no planning.
#pragma once

#include "modbus/Coverage.h"
#include "modbus/ItemExchange.h"
#include "modbus/Line.h"
#include "modbus/ReadPlan.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace orvo::modbus {

class ItemReader {
 public:
  ItemReader(Line& line, const ByteOrder& order, std::int32_t gap);

  ItemResults Read(std::span<const ItemRequest> items);
  void Forget() noexcept { obstacles_.Clear(); }

 private:
  struct Target {
    std::size_t item;  // its position in the list
    Address address;
  };
  struct Key {
    double compiledAddress;
    std::int32_t dimension;
  };
  using Positions = std::span<const std::size_t>;  // in targets_ and places_
  // Becomes the value of a target whose answer lies at `offset`, made where it stays: a value that is moved
  // right after it was made costs twice as much.
  struct Source {
    const ItemReader& reader;
    std::size_t target;
    std::size_t offset;

    operator Variant() const;
  };
  struct Division {
    std::size_t position;  // the first of the second half
    bool isGap;
  };
  // Whether the items of a block were read with one request.
  enum class Outcome : std::uint8_t { Whole, InParts };

  void AskForBlocks();
  bool IsPlanned(std::span<const ItemRequest> items) const noexcept;
  void Take(std::span<const ItemRequest> items);
  void Plan();

  Outcome ReadPart(Positions items, bool atGap);
  // What follows a request for `span` that was not done.
  Outcome TakeRefusal(Positions items, const Span& span, const Answer& answer, bool atGap);
  void NoteAnswered(Positions items, const Span& span);
  Outcome TryTogether(Positions items, bool atGap);
  void Settle();
  // Reads `span` to `offset` of registers_ or bits_.
  Answer Ask(const Span& span, std::size_t offset);
  // Every block came whole: all results, in the order of the list.
  void DeliverAll();
  // What lies there for `span`, to its items.
  void Deliver(Positions items, const Span& span, std::size_t offset);
  void Fail(Positions items, ItemError error);
  Span SpanOf(Positions items) const noexcept;
  // All have the same place.
  bool IsSingle(Positions items) const noexcept { return places_[items.front()] == places_[items.back()]; }
  Division DivisionOf(Positions items, bool atGap) const noexcept;

  Line& line_;
  const ByteOrder order_;
  const std::int32_t gap_;
  Obstacles obstacles_;

  // The last list and its plan.
  std::vector<Key> keys_;
  std::vector<Target> targets_;  // the items that have a place
  std::vector<Span> places_;     // of targets_
  std::vector<ReadBlock> blocks_;
  std::vector<std::size_t> offsets_;  // of the answers of blocks_ in registers_ or bits_
  std::vector<std::size_t> sources_;  // of targets_, when their blocks come whole, likewise
  std::uint64_t plannedVersion_ = 0;

  // The read that is under way.
  ItemResults results_;
  std::vector<Span> answered_;
  std::vector<std::size_t> whole_;  // of blocks_, those that came with one request
  Coverage coverage_;
  bool ended_ = false;
  // Answers as they came: what parts of blocks brought, and behind it, block by block, what whole ones did.
  std::vector<std::uint16_t> registers_;
  std::vector<std::uint8_t> bits_;
};

}  // namespace orvo::modbus
