// What finished requests bring to items, and what clients must be told of it.
#include "simulation/ClientSink.h"
#include "simulation/PlantOracle.h"

#include <algorithm>
#include <utility>

namespace orvo::testing {

namespace {

constexpr std::int32_t NoAnswer = 9;  // of a position that the driver's arrays do not reach

}  // namespace

void PlantOracle::Take(MirrorItem& item, const std::string& lying, bool ofImage) {
  item.lying = lying;
  if (lying.empty()) {
    item.held = {};
    item.compared = MirrorItem::Compared::Nothing;
    return;
  }
  item.held = item.cell.Read(lying, item.isSigned);
  // A number that came by itself is of another kind than one out of an image.
  item.compared =
      ofImage || !item.cell.IsInteger() ? MirrorItem::Compared::Bytes : MirrorItem::Compared::Different;
}

void PlantOracle::TakeWritten(MirrorItem& item, const Reading& value, const std::string& image, double stamp) {
  item.held = value;
  item.stamp = stamp;
  item.written = true;
  item.lying = image;
  item.compared = image.empty() ? MirrorItem::Compared::Different : MirrorItem::Compared::Bytes;
}

std::string PlantOracle::LyingIn(const std::string& image, const MirrorItem& item) {
  return image.substr(static_cast<std::size_t>(item.offset), static_cast<std::size_t>(item.cell.Bytes()));
}

const PlantOracle::Answer* PlantOracle::AnswerOf(std::int64_t number) const {
  const auto found = answers_.find(number);
  return found == answers_.end() ? nullptr : &found->second;
}

bool PlantOracle::HasValue(const Answer* answer, std::size_t position) {
  return answer != nullptr && position < answer->bytes.size();
}

std::int32_t PlantOracle::ReadError(const QueueModel::Request& request, const Answer* answer,
                                    std::size_t position) {
  const bool given = position < request.itemErrors.size();
  if (given && request.itemErrors[position] != 0) return request.itemErrors[position];
  return given && HasValue(answer, position) ? 0 : NoAnswer;
}

std::int32_t PlantOracle::WriteError(const QueueModel::Request& request, std::size_t position) {
  return position < request.itemErrors.size() ? request.itemErrors[position] : NoAnswer;
}

std::string PlantOracle::LyingAt(const Answer& answer, std::size_t position, const MirrorItem& item) {
  return answer.empty[position] ? std::string() : item.cell.Turned(answer.bytes[position]);
}

void PlantOracle::Expect(Expected& expected, GroupEvent event, const GroupPointer& group, std::int32_t id) {
  expected.event = event;
  expected.group = group;
  expected.transactionId = id;
  expected.sinks = group->subscribed ? group->sinks.size() : 0;
  totals_.eventsExpected += expected.sinks;
}

void PlantOracle::Deliver(Expected& expected, const QueueModel::Request& request) {
  const Request* known = Find(request);
  if (known == nullptr) return;
  const Asked& asked = known->asked;
  switch (request.kind) {
    case 1:
      return DeliverRead(expected, request, asked);
    case 2:
      return DeliverWrite(expected, request, asked);
    case 3:
      return DeliverChange(expected, request, asked);
    case 9:
      return DeliverReadAll(expected, request, asked);
    case 10:
      return DeliverWriteAll(expected, request, asked);
    case 11:
      return DeliverChangeAll(expected, request, asked);
    default:
      return;  // a waiting caller takes the results itself
  }
}

void PlantOracle::DeliverRead(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  const Answer* answer = AnswerOf(request.values);
  for (std::size_t k = 0; k < asked.items.size(); ++k) {
    MirrorItem& item = *asked.items[k];
    Reading value;
    if (!item.removed) {
      Take(item, HasValue(answer, k) ? LyingAt(*answer, k, item) : "", false);
      item.stamp = Now();
      value = item.held;
    }
    expected.handles.push_back(item.handle);
    expected.values.push_back(std::move(value));
    expected.errors.push_back(ReadError(request, answer, k));
  }
  Expect(expected, GroupEvent::ReadComplete, asked.group, request.id);
}

void PlantOracle::DeliverReadAll(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  const Answer* answer = AnswerOf(request.buffer);
  for (const ItemPointer& item : asked.group->items) {
    if (request.error == 0 && answer != nullptr) {
      Take(*item, LyingIn(answer->buffer, *item), true);
      item->stamp = Now();
    }
    expected.handles.push_back(item->handle);
    expected.values.push_back(request.error == 0 ? item->held : Reading());
    expected.errors.push_back(request.error);
  }
  Expect(expected, GroupEvent::ReadAllComplete, asked.group, request.id);
}

void PlantOracle::DeliverWrite(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  // A read's answer that came for this write has put its values in the place of those that were written.
  const Answer* answer = AnswerOf(request.values);
  for (std::size_t k = 0; k < asked.items.size(); ++k) {
    MirrorItem& item = *asked.items[k];
    const std::int32_t error = WriteError(request, k);
    expected.handles.push_back(item.handle);
    expected.errors.push_back(error);
    if (error != 0 || item.removed) continue;
    if (answer == nullptr) {
      TakeWritten(item, asked.written[k], {}, Now());
    } else if (HasValue(answer, k)) {
      const std::string lying = LyingAt(*answer, k, item);
      TakeWritten(item, lying.empty() ? Reading() : item.cell.Read(lying, item.isSigned), {}, Now());
    }
  }
  Expect(expected, GroupEvent::WriteComplete, asked.group, request.id);
}

void PlantOracle::DeliverWriteAll(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  for (const ItemPointer& item : asked.items) {
    expected.handles.push_back(item->handle);
    expected.errors.push_back(request.error);
    if (request.error != 0 || item->removed) continue;
    const std::string lying = LyingIn(asked.image, *item);
    TakeWritten(*item, item->cell.Read(lying, item->isSigned), lying, Now());
  }
  Expect(expected, GroupEvent::WriteAllComplete, asked.group, request.id);
}

void PlantOracle::DeliverChange(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  MirrorGroup& group = *asked.group;
  const Answer* answer = AnswerOf(request.values);
  for (std::size_t k = 0; k < asked.items.size(); ++k) {
    const ItemPointer& item = asked.items[k];
    const std::string lying = HasValue(answer, k) ? LyingAt(*answer, k, *item) : "";
    if (k < group.previous.size()) {
      const MirrorGroup::Previous& previous = group.previous[k];
      if (previous.item == item && !previous.empty && previous.lying == lying) continue;
    } else {
      group.previous.resize(asked.items.size());
    }
    group.previous[k] = {item, lying.empty(), lying};
    Reading value;
    if (!item->removed) {
      Take(*item, lying, false);
      item->stamp = Now();
      value = item->held;
    }
    expected.handles.push_back(item->handle);
    expected.values.push_back(std::move(value));
  }
  group.pending = false;
  if (!expected.handles.empty()) Expect(expected, GroupEvent::DataChange, asked.group, 0);
}

void PlantOracle::DeliverChangeAll(Expected& expected, const QueueModel::Request& request, const Asked& asked) {
  const Answer* answer = AnswerOf(request.buffer);
  asked.group->pending = false;
  if (request.error != 0 || answer == nullptr) return;
  for (const ItemPointer& item : asked.group->items) {
    const std::string lying = LyingIn(answer->buffer, *item);
    if (!std::exchange(item->written, false) && item->compared == MirrorItem::Compared::Bytes &&
        item->lying == lying)
      continue;
    Take(*item, lying, true);
    item->stamp = Now();
    expected.handles.push_back(item->handle);
    expected.values.push_back(item->held);
  }
  if (!expected.handles.empty()) Expect(expected, GroupEvent::DataChange, asked.group, 0);
}

void PlantOracle::EventTold(const ToldEvent& told) {
  ++totals_.eventsTold;
  Note("told", static_cast<std::int64_t>(told.event), told.transactionId,
       static_cast<std::int64_t>(told.handles.Size()));
  if (SpoolerFrame() == nullptr) return Fail("an event comes outside of a spooler's tick");
  Frame& frame = *Top();
  DoJob(frame);
  Expected& expected = frame.expected;
  if (expected.event != told.event || expected.group != told.group)
    return Fail("an event comes that must not come");
  Require(++expected.told <= expected.sinks, "an event comes that its client did not ask for");
  Require(expected.transactionId == told.transactionId, "an event has another transaction id");
  Require(told.handles.LowerBound() == 0 && std::equal(told.handles.View().begin(), told.handles.View().end(),
                                                       expected.handles.begin(), expected.handles.end()),
          "an event names other items");
  Require(std::equal(told.errors.View().begin(), told.errors.View().end(), expected.errors.begin(),
                     expected.errors.end()),
          "an event has other errors");
  Require(told.values.Size() == expected.values.size(), "an event has another number of values");
  for (std::size_t k = 0; k < expected.values.size() && !HasFailed(); ++k) {
    const Reading reading = ReadingOf(told.values.View()[k]);
    if (reading == expected.values[k]) continue;
    Fail("an event has the value " + TextOf(reading) + " in place of " + TextOf(expected.values[k]));
  }
}

}  // namespace orvo::testing
