#include "modbus/ItemReader.h"

#include "modbus/AnswerError.h"
#include "modbus/ItemValue.h"

#include <algorithm>
#include <utility>

namespace orvo::modbus {

ItemReader::ItemReader(Line& line, const ByteOrder& order, std::int32_t gap)
    : line_(line), order_(order), gap_(gap) {}

std::vector<ItemResult> ItemReader::Read(std::span<const ItemRequest> items) {
  if (!IsPlanned(items)) {
    Take(items);
    Plan();
  } else if (plannedVersion_ != obstacles_.Version()) {
    Plan();
  }
  ItemResult unread;
  unread.error = BadValue;  // of what has no place; everything else gets its own end below
  results_.assign(items.size(), unread);
  answered_.clear();
  ended_ = false;
  for (const ReadBlock& block : blocks_)
    ReadPart(block.items, true);
  if (!ended_ && plannedVersion_ != obstacles_.Version()) Settle();
  return std::move(results_);
}

bool ItemReader::IsPlanned(std::span<const ItemRequest> items) const noexcept {
  return std::equal(items.begin(), items.end(), keys_.begin(), keys_.end(),
                    [](const ItemRequest& item, const Key& key) {
                      return item.compiledAddress == key.compiledAddress && item.dimension == key.dimension;
                    });
}

void ItemReader::Take(std::span<const ItemRequest> items) {
  keys_.clear();
  targets_.clear();
  places_.clear();
  keys_.reserve(items.size());
  targets_.reserve(items.size());
  places_.reserve(items.size());
  for (std::size_t k = 0; k < items.size(); ++k) {
    keys_.push_back({items[k].compiledAddress, items[k].dimension});
    const auto address = Address::Decode(items[k].compiledAddress);
    if (!address) continue;
    const auto place = address->Place(items[k].dimension);
    if (!place) continue;
    targets_.push_back({k, *address});
    places_.push_back(*place);
  }
}

void ItemReader::Plan() {
  plannedVersion_ = obstacles_.Version();
  blocks_ = PlanReads(places_, gap_, obstacles_);
}

// Reads the items of a block or of a part of it, with as many requests as it takes.
ItemReader::Outcome ItemReader::ReadPart(Positions items, bool atGap) {
  if (ended_) {
    Fail(items, LinkDown);
    return Outcome::InParts;
  }
  const Span span = SpanOf(items);
  const Answer answer = Ask(span);
  if (answer.IsDone()) {
    Deliver(items, span);
    answered_.push_back(span);
    if (!obstacles_.IsEmpty() && IsSingle(items)) obstacles_.Forget(span);
    return Outcome::Whole;
  }
  if (!IsWorthDividing(answer) || IsSingle(items)) {
    Fail(items, ErrorOf(answer));
    if (IsWorthDividing(answer)) obstacles_.PutAlone(span);
    ended_ = EndsTheList(answer);
    return Outcome::InParts;
  }
  const Division division = DivisionOf(items, atGap);
  const Outcome first = ReadPart(items.first(division.position), !division.isGap);
  const Outcome second = ReadPart(items.subspan(division.position), !division.isGap);
  if (first != Outcome::Whole || second != Outcome::Whole) return Outcome::InParts;
  // A device that failed for a moment answers the whole by now: then there is nothing to learn.
  if (answer.exception == 4) {
    const Answer again = Ask(span);
    ended_ = EndsTheList(again);
    if (!IsWorthDividing(again)) return Outcome::InParts;
  }
  obstacles_.PutCut(span.area, places_[items[division.position]].start);
  return Outcome::InParts;
}

// What was learned brings items together that were read apart. The registers between them may be what the
// device refuses: better to know now than in the next cycle.
void ItemReader::Settle() {
  coverage_ = Coverage();
  for (const Span& span : answered_)
    coverage_.Put(span);
  while (!ended_ && plannedVersion_ != obstacles_.Version()) {
    Plan();
    for (const ReadBlock& block : blocks_) {
      if (ended_) break;
      const bool wasRead = std::all_of(block.items.begin(), block.items.end(), [&](std::size_t position) {
        return results_[targets_[position].item].error == NoError;
      });
      if (wasRead) TryTogether(block.items, true);
    }
  }
}

// The items have their values; nothing but the plan depends on what comes.
ItemReader::Outcome ItemReader::TryTogether(Positions items, bool atGap) {
  const Span span = SpanOf(items);
  if (ended_ || coverage_.Holds(span)) return Outcome::Whole;
  const Answer answer = Ask(span);
  if (answer.IsDone()) {
    Deliver(items, span);
    coverage_.Put(span);
    return Outcome::Whole;
  }
  ended_ = EndsTheList(answer);
  if (!IsWorthDividing(answer)) return Outcome::InParts;
  const Division division = DivisionOf(items, atGap);
  const Outcome first = TryTogether(items.first(division.position), !division.isGap);
  const Outcome second = TryTogether(items.subspan(division.position), !division.isGap);
  if (!ended_ && first == Outcome::Whole && second == Outcome::Whole)
    obstacles_.PutCut(span.area, places_[items[division.position]].start);
  return Outcome::InParts;
}

Answer ItemReader::Ask(const Span& span) {
  const auto count = static_cast<std::size_t>(span.count);
  if (HoldsBits(span.area)) return line_.ReadBits(span.area, span.start, std::span(bits_).first(count));
  return line_.ReadRegisters(span.area, span.start, std::span(registers_).first(count));
}

void ItemReader::Deliver(Positions items, const Span& span) {
  for (const std::size_t position : items) {
    const Target& target = targets_[position];
    const Span& place = places_[position];
    const auto offset = static_cast<std::size_t>(place.start - span.start);
    ItemResult& result = results_[target.item];
    if (HoldsBits(span.area))
      result.value = ValueOfBit(bits_[offset] != 0);
    else
      result.value = ValueOfRegisters(
          target.address, order_, std::span(registers_).subspan(offset, static_cast<std::size_t>(place.count)));
    result.error = NoError;
  }
}

void ItemReader::Fail(Positions items, ItemError error) {
  for (const std::size_t position : items)
    results_[targets_[position].item].error = error;
}

Span ItemReader::SpanOf(Positions items) const noexcept {
  Span span = places_[items.front()];
  for (const std::size_t position : items)
    span.count = std::max(span.count, places_[position].End() - span.start);
  return span;
}

// Equal places stay together. The items have two places at least.
ItemReader::Division ItemReader::DivisionOf(Positions items, bool atGap) const noexcept {
  const auto differs = [&](std::size_t k) { return places_[items[k]] != places_[items[k - 1]]; };
  if (atGap) {
    Division division{0, false};
    std::int32_t largest = 0;
    std::int32_t end = places_[items.front()].End();
    for (std::size_t k = 1; k < items.size(); ++k) {
      const Span& place = places_[items[k]];
      if (place.start - end > largest) {
        largest = place.start - end;
        division = {k, true};
      }
      end = std::max(end, place.End());
    }
    if (division.isGap) return division;
  }
  const std::size_t middle = items.size() / 2;
  for (std::size_t k = middle; k < items.size(); ++k)
    if (differs(k)) return {k, false};
  std::size_t k = middle - 1;
  while (!differs(k))
    --k;
  return {k, false};
}

}  // namespace orvo::modbus
