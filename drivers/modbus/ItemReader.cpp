#include "modbus/ItemReader.h"

#include "modbus/AnswerError.h"
#include "modbus/ItemValue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvo::modbus {

ItemReader::ItemReader(Line& line, const ByteOrder& order, std::int32_t gap)
    : line_(line), order_(order), gap_(gap) {}

ItemResults ItemReader::Read(std::span<const ItemRequest> items) {
  knownOn_ = line_.Connections();
  if (++reads_ % ReadsPerCut == 0) obstacles_.ForgetNextCut();
  plan_ = &PlanOf(items);
  plan_->Update(gap_, obstacles_);
  registers_.resize(std::max(registers_.size(), plan_->RegisterCount()));
  bits_.resize(std::max(bits_.size(), plan_->BitCount()));
  answered_.clear();
  whole_.clear();
  ended_ = isNewlyConnected_ = false;
  AskForBlocks();
  if (whole_.size() == plan_->Blocks().size())
    DeliverAll();
  else
    for (const std::size_t k : whole_)
      Deliver(plan_->Blocks()[k].items, plan_->Blocks()[k].span, plan_->Offsets()[k]);
  if (!ended_ && !isNewlyConnected_ && !plan_->IsCurrent(obstacles_)) Settle();
  return std::move(results_);
}

ListPlan& ItemReader::PlanOf(std::span<const ItemRequest> items) {
  auto found = std::find_if(plans_.begin(), plans_.end(), [&](const auto& plan) { return plan->IsOf(items); });
  if (found == plans_.end()) {
    auto plan = std::make_unique<ListPlan>(items);
    if (plans_.size() == MostPlans) plans_.pop_back();
    found = plans_.insert(plans_.end(), std::move(plan));
  }
  std::rotate(plans_.begin(), found, std::next(found));
  return *plans_.front();
}

// One request right behind the other: taking the answers apart has time when all of them are there.
void ItemReader::AskForBlocks() {
  results_ = {};
  lonely_.clear();
  silent_.clear();
  const auto& blocks = plan_->Blocks();
  for (std::size_t k = 0; k < blocks.size(); ++k) {
    if (!silences_.IsEmpty() && silences_.RankOf(blocks[k].span) != 0)
      silent_.push_back(k);
    else if (blocks[k].isLonely)
      lonely_.push_back(k);
  }
  const std::size_t share = std::min(lonely_.size(), LonelyShare);
  budget_ = MostBesides - share;
  auto lonely = lonely_.begin();
  auto silent = silent_.begin();
  for (std::size_t k = 0; k < blocks.size(); ++k) {
    if (lonely != lonely_.end() && *lonely == k)
      ++lonely;
    else if (silent != silent_.end() && *silent == k)
      ++silent;
    else
      AskForBlock(k);
  }
  budget_ += share;
  AskForLonely();
  AskForSilent();
}

void ItemReader::AskForBlock(std::size_t block) {
  const auto& [span, members, isLonely] = plan_->Blocks()[block];
  if (ended_) {
    Fail(members, LinkDown);
    return;
  }
  const Answer answer = Ask(span, plan_->Offsets()[block]);
  if (answer.IsDone()) {
    NoteAnswered(members, span);
    whole_.push_back(block);
  } else {
    TakeFailure(members, span, answer, true);
  }
}

void ItemReader::AskForLonely() {
  const auto& blocks = plan_->Blocks();
  if (lonely_.size() > budget_)
    std::stable_sort(lonely_.begin(), lonely_.end(), [&](std::size_t a, std::size_t b) {
      return lonelyPlaces_.TurnOf(blocks[a].span) < lonelyPlaces_.TurnOf(blocks[b].span);
    });
  for (const std::size_t k : lonely_) {
    if (ended_ || HasBudget())
      AskForBlock(k);
    else
      Fail(blocks[k].items, lonelyPlaces_.ErrorOf(blocks[k].span));
  }
}

void ItemReader::AskForSilent() {
  const auto& blocks = plan_->Blocks();
  std::stable_sort(silent_.begin(), silent_.end(), [&](std::size_t a, std::size_t b) {
    return silences_.RankOf(blocks[a].span) < silences_.RankOf(blocks[b].span);
  });
  for (const std::size_t k : silent_)
    AskForBlock(k);
}

void ItemReader::NoteAnswered(Positions items, const Span& span) {
  answered_.push_back(span);
  if (!silences_.IsEmpty()) silences_.Forget(span);
  if (obstacles_.IsEmpty() || !IsSingle(items)) return;
  obstacles_.Forget(span);
  lonelyPlaces_.Forget(span);
}

// Reads a part of a block, with as many requests as it takes.
ItemReader::Outcome ItemReader::ReadPart(Positions items, bool atGap, ItemError error) {
  if (ended_) {
    Fail(items, LinkDown);
    return Outcome::InParts;
  }
  if (!HasBudget()) {
    Fail(items, error);
    return Outcome::Undone;
  }
  const Span span = SpanOf(items);
  const Answer answer = Ask(span, 0);
  if (!answer.IsDone()) return TakeFailure(items, span, answer, atGap);
  Deliver(items, span, 0);
  NoteAnswered(items, span);
  return Outcome::Whole;
}

ItemReader::Outcome ItemReader::TakeFailure(Positions items, const Span& span, const Answer& answer,
                                            bool atGap) {
  const ItemError error = ErrorOf(answer);
  if (EndsTheList(answer)) {
    End(span, answer);
    Fail(items, error);
    return Outcome::InParts;
  }
  silences_.ForgetOnly(span);
  if (IsWorthDividing(answer) && !IsSingle(items)) {
    if (budget_ != 0) return Divide(items, span, answer, atGap);
    Fail(items, error);
    return Outcome::Undone;
  }
  Fail(items, error);
  if (IsWorthDividing(answer)) obstacles_.PutAlone(span);
  if (obstacles_.IsAlone(span)) lonelyPlaces_.Put(span, error);
  return Outcome::InParts;
}

ItemReader::Outcome ItemReader::Divide(Positions items, const Span& span, const Answer& answer, bool atGap) {
  const std::uint64_t refusedOn = knownOn_;
  const Division division = DivisionOf(items, atGap);
  const Positions low = items.first(division.position);
  const Positions high = items.subspan(division.position);
  const auto read = [&](Positions half) { return ReadPart(half, !division.isGap, ErrorOf(answer)); };
  // A half that kept silent waits for the other one, too.
  const bool isHighFirst =
      !silences_.IsEmpty() && silences_.RankOf(SpanOf(low)) > silences_.RankOf(SpanOf(high));
  const Outcome first = read(isHighFirst ? high : low);
  const Outcome second = read(isHighFirst ? low : high);
  const Outcome outcome = std::max(first, second);
  // Where the budget ended: the next cycle begins with less. Otherwise a long way to the trouble would be gone
  // again and again, never to its end.
  const bool isCut =
      outcome == Outcome::Undone || (outcome == Outcome::Whole && IsRefusedOnceMore(span, answer));
  if (isCut && knownOn_ == refusedOn) obstacles_.PutCut(span.area, PlaceOf(high.front()).start);
  return std::max(outcome, Outcome::InParts);
}

// A device that failed for a moment answers the whole by now: then there is nothing to learn. Addresses (2, 3)
// do not come and go so.
bool ItemReader::IsRefusedOnceMore(const Span& span, const Answer& answer) {
  if (TookNothing(answer)) return true;
  if (!HasBudget()) return false;
  const Answer again = Ask(span, 0);
  if (EndsTheList(again)) End(span, again);
  return IsWorthDividing(again);
}

// What was learned brings items together that were read apart. The registers between them may be what the
// device refuses: better to know now than in the next cycle.
void ItemReader::Settle() {
  coverage_ = Coverage();
  for (const Span& span : answered_)
    coverage_.Put(span);
  while (!ended_ && !isNewlyConnected_ && budget_ != 0 && !plan_->IsCurrent(obstacles_)) {
    plan_->Update(gap_, obstacles_);
    for (const ReadBlock& block : plan_->Blocks()) {
      if (ended_) break;
      const bool wasRead = std::all_of(block.items.begin(), block.items.end(), [&](std::size_t position) {
        return results_.errors[plan_->Targets()[position].item] == NoError;
      });
      if (wasRead) TryTogether(block.items, true);
    }
  }
}

// The items have their values; nothing but the plan depends on what comes.
ItemReader::Outcome ItemReader::TryTogether(Positions items, bool atGap) {
  const Span span = SpanOf(items);
  if (ended_ || coverage_.Holds(span)) return Outcome::Whole;
  if (!HasBudget()) return Outcome::Undone;
  const Answer answer = Ask(span, 0);
  if (answer.IsDone()) {
    Deliver(items, span, 0);
    coverage_.Put(span);
    return Outcome::Whole;
  }
  if (EndsTheList(answer)) End(span, answer);
  if (!IsWorthDividing(answer)) return Outcome::InParts;
  const Division division = DivisionOf(items, atGap);
  const Outcome first = TryTogether(items.first(division.position), !division.isGap);
  const Outcome second = TryTogether(items.subspan(division.position), !division.isGap);
  if (!ended_ && !isNewlyConnected_ && first == Outcome::Whole && second == Outcome::Whole)
    obstacles_.PutCut(span.area, PlaceOf(items[division.position]).start);
  return Outcome::InParts;
}

void ItemReader::End(const Span& span, const Answer& answer) {
  ended_ = true;
  if (IsSilence(answer)) silences_.Put(span);
}

bool ItemReader::HasBudget() noexcept {
  if (budget_ == 0) return false;
  --budget_;
  return true;
}

Answer ItemReader::Ask(const Span& span, std::size_t offset) {
  const auto count = static_cast<std::size_t>(span.count);
  Answer answer =
      HoldsBits(span.area)
          ? line_.ReadBits(span.area, span.start, std::span(bits_).subspan(offset, count))
          : line_.ReadRegisters(span.area, span.start, std::span(registers_).subspan(offset, count));
  LookAtConnection();
  return answer;
}

// What was learned serves on: if it is no longer so, it makes plans longer, not wrong, and fades. A connection
// that comes and goes would teach nothing otherwise.
void ItemReader::LookAtConnection() {
  if (knownOn_ == line_.Connections()) return;
  knownOn_ = line_.Connections();
  isNewlyConnected_ = true;
}

void ItemReader::DeliverAll() {
  results_.errors.assign(plan_->ItemCount(), NoError);
  results_.values.reserve(plan_->ItemCount());
  const auto passOver = [&](std::size_t end) {
    for (std::size_t k = results_.values.size(); k < end; ++k) {
      results_.values.emplace_back();
      results_.errors[k] = BadValue;
    }
  };
  const auto& targets = plan_->Targets();
  for (std::size_t k = 0; k < targets.size(); ++k) {
    passOver(targets[k].item);
    results_.values.emplace_back(Source{*this, k, plan_->Sources()[k]});
  }
  passOver(plan_->ItemCount());
}

ItemReader::Source::operator Variant() const {
  const Span& place = reader.PlaceOf(target);
  if (HoldsBits(place.area)) return ValueOfBit(reader.bits_[offset] != 0);
  return ValueOfRegisters(reader.plan_->Targets()[target].address, reader.order_,
                          std::span(reader.registers_).subspan(offset, static_cast<std::size_t>(place.count)));
}

void ItemReader::Deliver(Positions items, const Span& span, std::size_t offset) {
  NeedResults();
  for (const std::size_t position : items) {
    const std::size_t item = plan_->Targets()[position].item;
    results_.values[item] =
        Source{*this, position, offset + static_cast<std::size_t>(PlaceOf(position).start - span.start)};
    results_.errors[item] = NoError;
  }
}

// Of items that do not all come whole. What has no place keeps this end; everything else gets its own.
void ItemReader::NeedResults() {
  if (results_.errors.empty()) results_ = ItemResults::Failed(plan_->ItemCount(), BadValue);
}

void ItemReader::Fail(Positions items, ItemError error) {
  NeedResults();
  for (const std::size_t position : items)
    results_.errors[plan_->Targets()[position].item] = error;
}

Span ItemReader::SpanOf(Positions items) const noexcept {
  Span span = PlaceOf(items.front());
  for (const std::size_t position : items)
    span.count = std::max(span.count, PlaceOf(position).End() - span.start);
  return span;
}

// Equal places stay together. The items have two places at least.
ItemReader::Division ItemReader::DivisionOf(Positions items, bool atGap) const noexcept {
  const auto differs = [&](std::size_t k) { return PlaceOf(items[k]) != PlaceOf(items[k - 1]); };
  if (atGap) {
    Division division{0, false};
    std::int32_t largest = 0;
    std::int32_t end = PlaceOf(items.front()).End();
    for (std::size_t k = 1; k < items.size(); ++k) {
      const Span& place = PlaceOf(items[k]);
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
