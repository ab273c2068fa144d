#include "modbus/ItemReader.h"

#include "modbus/AnswerError.h"
#include "modbus/ItemValue.h"

#include <algorithm>
#include <utility>

namespace orvo::modbus {

ItemReader::ItemReader(Line& line, const ByteOrder& order, std::int32_t gap)
    : line_(line), order_(order), gap_(gap) {}

ItemResults ItemReader::Read(std::span<const ItemRequest> items) {
  if (!IsPlanned(items)) {
    Take(items);
    Plan();
  } else if (plannedVersion_ != obstacles_.Version()) {
    Plan();
  }
  answered_.clear();
  whole_.clear();
  ended_ = false;
  AskForBlocks();
  if (whole_.size() == blocks_.size())
    DeliverAll();
  else
    for (const std::size_t k : whole_)
      Deliver(blocks_[k].items, blocks_[k].span, offsets_[k]);
  if (!ended_ && plannedVersion_ != obstacles_.Version()) Settle();
  return std::move(results_);
}

// One request right behind the other: taking the answers apart has time when all of them are there.
void ItemReader::AskForBlocks() {
  results_ = {};
  for (std::size_t k = 0; k < blocks_.size(); ++k) {
    const auto& [span, members] = blocks_[k];
    const Answer answer = ended_ ? Answer{Answer::Kind::Broken, 0, {}} : Ask(span, offsets_[k]);
    if (answer.IsDone()) {
      NoteAnswered(members, span);
      whole_.push_back(k);
      continue;
    }
    // What has no place keeps this end; everything else gets its own.
    if (results_.errors.empty()) results_ = ItemResults::Failed(keys_.size(), BadValue);
    TakeRefusal(members, span, answer, true);
  }
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
  offsets_.clear();
  std::size_t registers = MostRegistersRead;
  std::size_t bits = MostBitsRead;
  for (const ReadBlock& block : blocks_) {
    std::size_t& end = HoldsBits(block.span.area) ? bits : registers;
    offsets_.push_back(end);
    end += static_cast<std::size_t>(block.span.count);
  }
  registers_.resize(registers);
  bits_.resize(bits);
  sources_.resize(places_.size());
  for (std::size_t k = 0; k < blocks_.size(); ++k)
    for (const std::size_t position : blocks_[k].items)
      sources_[position] =
          offsets_[k] + static_cast<std::size_t>(places_[position].start - blocks_[k].span.start);
}

void ItemReader::NoteAnswered(Positions items, const Span& span) {
  answered_.push_back(span);
  if (!obstacles_.IsEmpty() && IsSingle(items)) obstacles_.Forget(span);
}

// Reads a part of a block, with as many requests as it takes.
ItemReader::Outcome ItemReader::ReadPart(Positions items, bool atGap) {
  if (ended_) {
    Fail(items, LinkDown);
    return Outcome::InParts;
  }
  const Span span = SpanOf(items);
  const Answer answer = Ask(span, 0);
  if (!answer.IsDone()) return TakeRefusal(items, span, answer, atGap);
  Deliver(items, span, 0);
  NoteAnswered(items, span);
  return Outcome::Whole;
}

ItemReader::Outcome ItemReader::TakeRefusal(Positions items, const Span& span, const Answer& answer,
                                            bool atGap) {
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
    const Answer again = Ask(span, 0);
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
        return results_.errors[targets_[position].item] == NoError;
      });
      if (wasRead) TryTogether(block.items, true);
    }
  }
}

// The items have their values; nothing but the plan depends on what comes.
ItemReader::Outcome ItemReader::TryTogether(Positions items, bool atGap) {
  const Span span = SpanOf(items);
  if (ended_ || coverage_.Holds(span)) return Outcome::Whole;
  const Answer answer = Ask(span, 0);
  if (answer.IsDone()) {
    Deliver(items, span, 0);
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

Answer ItemReader::Ask(const Span& span, std::size_t offset) {
  const auto count = static_cast<std::size_t>(span.count);
  if (HoldsBits(span.area))
    return line_.ReadBits(span.area, span.start, std::span(bits_).subspan(offset, count));
  return line_.ReadRegisters(span.area, span.start, std::span(registers_).subspan(offset, count));
}

void ItemReader::DeliverAll() {
  results_.errors.assign(keys_.size(), NoError);
  results_.values.reserve(keys_.size());
  const auto passOver = [&](std::size_t end) {
    for (std::size_t k = results_.values.size(); k < end; ++k) {
      results_.values.emplace_back();
      results_.errors[k] = BadValue;
    }
  };
  for (std::size_t k = 0; k < targets_.size(); ++k) {
    passOver(targets_[k].item);
    results_.values.emplace_back(Source{*this, k, sources_[k]});
  }
  passOver(keys_.size());
}

ItemReader::Source::operator Variant() const {
  const Span& place = reader.places_[target];
  if (HoldsBits(place.area)) return ValueOfBit(reader.bits_[offset] != 0);
  return ValueOfRegisters(reader.targets_[target].address, reader.order_,
                          std::span(reader.registers_).subspan(offset, static_cast<std::size_t>(place.count)));
}

void ItemReader::Deliver(Positions items, const Span& span, std::size_t offset) {
  for (const std::size_t position : items) {
    const std::size_t item = targets_[position].item;
    results_.values[item] =
        Source{*this, position, offset + static_cast<std::size_t>(places_[position].start - span.start)};
    results_.errors[item] = NoError;
  }
}

void ItemReader::Fail(Positions items, ItemError error) {
  for (const std::size_t position : items)
    results_.errors[targets_[position].item] = error;
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
