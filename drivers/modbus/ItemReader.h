// Reads lists of items over a line: the half of Exchange that reads.
//
// A block that the device refuses is divided, in turn at its largest gap between items and in the middle, so
// that b items that cannot be read among n cost O(b log n) requests. What was learned of it (ReadPlan.h:
// Obstacles) decides the plan of the next cycle; where it brings together what was never asked together, that
// is tried at once. So the next cycle costs one request for each block and one for each item that cannot be
// read.
//
// All of this has a budget, MostBesides requests in each list. A block for which nothing is left has the error
// of the whole, and is divided in the next cycles; items that cannot be read are then asked for in turn, and
// those that have to wait keep the error that they had last.
//
// Blocks at which a list ended are asked last, the one that was so the longest time ago first: what a device
// keeps silent to takes no more away than itself.
//
// The plans of the last lists are kept: the same list costs no planning. What was learned is kept beyond the
// connection, which may be a short one: at worst it makes plans longer. A place is forgotten when it answers,
// and a cut now and then, one at a time.
#pragma once

#include "modbus/Coverage.h"
#include "modbus/ItemExchange.h"
#include "modbus/Line.h"
#include "modbus/ListPlan.h"
#include "modbus/LonelyPlaces.h"
#include "modbus/ReadPlan.h"
#include "modbus/Silences.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orvo::modbus {

class ItemReader {
 public:
  static constexpr std::size_t MostBesides = 64;    // requests of a list beside its blocks
  static constexpr std::size_t LonelyShare = 32;    // of these; divisions leave it to items that cannot be read
  static constexpr std::size_t MostPlans = 8;       // kept
  static constexpr std::uint64_t ReadsPerCut = 64;  // after so many one cut is forgotten

  ItemReader(Line& line, const ByteOrder& order, std::int32_t gap);

  ItemResults Read(std::span<const ItemRequest> items);

 private:
  using Positions = std::span<const std::size_t>;  // among the targets of the list
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
  // Whether items were read with one request, with several or not at all, or whether there was no budget to
  // find that out.
  enum class Outcome : std::uint8_t { Whole, InParts, Undone };

  ListPlan& PlanOf(std::span<const ItemRequest> items);
  void AskForBlocks();
  void AskForBlock(std::size_t block);
  void AskForLonely();
  void AskForSilent();

  // `error`: when there is no budget for it.
  Outcome ReadPart(Positions items, bool atGap, ItemError error);
  // What follows a request for `span` that was not done.
  Outcome TakeFailure(Positions items, const Span& span, const Answer& answer, bool atGap);
  Outcome Divide(Positions items, const Span& span, const Answer& answer, bool atGap);
  bool IsRefusedOnceMore(const Span& span, const Answer& answer);
  void NoteAnswered(Positions items, const Span& span);
  Outcome TryTogether(Positions items, bool atGap);
  void Settle();
  void End(const Span& span, const Answer& answer);
  bool HasBudget() noexcept;
  // Reads `span` to `offset` of registers_ or bits_.
  Answer Ask(const Span& span, std::size_t offset);
  void LookAtConnection();
  // Every block came whole: all results, in the order of the list.
  void DeliverAll();
  // What lies there for `span`, to its items.
  void Deliver(Positions items, const Span& span, std::size_t offset);
  void NeedResults();
  void Fail(Positions items, ItemError error);
  Span SpanOf(Positions items) const noexcept;
  const Span& PlaceOf(std::size_t position) const noexcept { return plan_->Places()[position]; }
  // All have the same place.
  bool IsSingle(Positions items) const noexcept { return PlaceOf(items.front()) == PlaceOf(items.back()); }
  Division DivisionOf(Positions items, bool atGap) const noexcept;

  Line& line_;
  const ByteOrder order_;
  const std::int32_t gap_;

  // What was learned of the device.
  Obstacles obstacles_;
  LonelyPlaces lonelyPlaces_;
  Silences silences_;
  std::uint64_t reads_ = 0;

  std::vector<std::unique_ptr<ListPlan>> plans_;  // the one that was used last first

  // The read that is under way.
  ListPlan* plan_ = nullptr;
  ItemResults results_;
  std::vector<Span> answered_;
  std::vector<std::size_t> whole_;   // blocks that came with one request
  std::vector<std::size_t> lonely_;  // blocks
  std::vector<std::size_t> silent_;  // blocks
  Coverage coverage_;
  std::size_t budget_ = 0;
  bool ended_ = false;
  std::uint64_t knownOn_ = 0;      // the number of the connection
  bool isNewlyConnected_ = false;  // it changed: refusals on two connections teach nothing together
  // Answers as they came: what parts of blocks brought, and behind it, block by block, what whole ones did.
  std::vector<std::uint16_t> registers_;
  std::vector<std::uint8_t> bits_;
};

}  // namespace orvo::modbus
