#include "support/QueueModel.h"

#include <algorithm>

namespace orvo::testing {

namespace {

QueueModel::Event EventOf(std::int32_t kind) {
  using Event = QueueModel::Event;
  switch (kind) {
    case 1:
    case 4:
    case 6:
    case 9:
    case 12:
      return Event::ReadRequestComplete;
    case 2:
    case 5:
    case 7:
    case 10:
    case 13:
      return Event::WriteRequestComplete;
    case 3:
    case 11:
      return Event::ReadRatedRequestComplete;
    default:
      return Event::None;
  }
}

bool IsClients(std::int32_t kind) noexcept {
  return kind == 1 || kind == 2 || kind == 9 || kind == 10;
}

}  // namespace

bool QueueModel::IsSynchronous(std::int32_t kind) noexcept {
  return (kind >= 4 && kind <= 7) || kind == 12 || kind == 13;
}
bool QueueModel::IsRated(std::int32_t kind) noexcept {
  return kind == 3 || kind == 11;
}
bool QueueModel::IsWholeGroup(std::int32_t kind) noexcept {
  return kind >= 9 && kind <= 13;
}

std::optional<std::int32_t> QueueModel::Add(std::int32_t kind, std::size_t items) {
  const std::int32_t id = NextId();
  // One outstanding id alone is looked at, the first of these.
  const Request* oldest = nullptr;
  if (!deliveries_.empty())
    oldest = deliveries_.front().get();
  else if (current_)
    oldest = current_.get();
  else if (!requests_.empty())
    oldest = requests_.front().get();
  nextId_ = id;
  if (oldest != nullptr && oldest->id == id) return std::nullopt;
  ++nextId_;
  auto record = std::make_shared<Request>();
  record->id = id;
  record->kind = kind;
  record->number = ++added_;
  record->itemErrors.assign(items, 0);
  requests_.push_back(std::move(record));
  return id;
}

bool QueueModel::IsOutstanding(std::int32_t id) const {
  const auto has = [id](const Record& record) { return record->id == id; };
  return std::any_of(requests_.begin(), requests_.end(), has) ||
         std::any_of(deliveries_.begin(), deliveries_.end(), has) || (current_ && current_->id == id);
}

void QueueModel::Cancel(std::int32_t id) {
  if (IsOutstanding(id)) cancelled_.insert(id);
}

QueueModel::Outcome QueueModel::Clear() {
  Outcome outcome;
  for (auto* queue : {&requests_, &deliveries_}) {
    for (const Record& record : *queue)
      if (IsRated(record->kind)) outcome.refreshesDropped.push_back(*record);
    queue->clear();
  }
  return outcome;
}

void QueueModel::Start() {
  running_ = true;
  processing_ = delivering_ = false;
}

QueueModel::Outcome QueueModel::Tick() {
  Outcome outcome = TickBegins();
  TickEnds();
  return outcome;
}

QueueModel::Outcome QueueModel::TickBegins() {
  bool& guard = deliveryPhase_ ? delivering_ : processing_;
  const bool works = running_ && !guard;
  ticks_.push_back(works);
  if (!works) return {};
  guard = true;
  return deliveryPhase_ ? DeliverNext() : ProcessNext();
}

void QueueModel::TickEnds() {
  const bool worked = ticks_.back();
  ticks_.pop_back();
  if (!worked) return;
  (deliveryPhase_ ? delivering_ : processing_) = false;
  deliveryPhase_ = !deliveryPhase_;
}

QueueModel::Outcome QueueModel::ProcessNext() {
  Outcome outcome;
  if (inFlight_) return outcome;
  current_.reset();
  if (requests_.empty()) return outcome;
  current_ = requests_.front();
  requests_.pop_front();
  if (cancelled_.erase(current_->id) != 0) {
    if (IsClients(current_->kind)) outcome.event = Event::CancelRequestComplete;
    outcome.request = *current_;
    // The caller of a cancelled synchronous request is not released: it waits until its own time-out.
    if (IsRated(current_->kind)) outcome.refreshesDropped.push_back(*current_);
    return outcome;
  }
  inFlight_ = true;  // for good if the kind is unknown, until a completion comes
  if (IsKnown(current_->kind)) outcome.sent = *current_;
  return outcome;
}

QueueModel::Outcome QueueModel::Refused() {
  Outcome outcome;
  inFlight_ = false;
  Request& request = *current_;
  if (IsSynchronous(request.kind)) {
    if (IsWholeGroup(request.kind))
      request.error = NotSent;
    else
      std::fill(request.itemErrors.begin(), request.itemErrors.end(), NotSent);
    outcome.releasesCaller = true;
  }
  if (IsRated(request.kind)) outcome.refreshesDropped.push_back(request);
  outcome.request = request;
  return outcome;
}

QueueModel::Outcome QueueModel::DeliverNext() {
  Outcome outcome;
  if (deliveries_.empty()) return outcome;
  outcome.request = *deliveries_.front();
  deliveries_.pop_front();
  outcome.event = EventOf(outcome.request->kind);
  outcome.releasesCaller = IsSynchronous(outcome.request->kind);
  return outcome;
}

bool QueueModel::ReadCompleted(const std::vector<std::int32_t>& itemErrors) {
  if (!Finish()) return false;
  current_->itemErrors = itemErrors;
  current_->values = answers_;
  return true;
}

bool QueueModel::WriteCompleted(const std::vector<std::int32_t>& itemErrors) {
  if (!Finish()) return false;
  current_->itemErrors = itemErrors;
  return true;
}

bool QueueModel::ReadGroupCompleted(std::int32_t error, std::size_t itemsOfGroup) {
  if (!Finish()) return false;
  current_->error = error;
  current_->itemErrors.assign(itemsOfGroup, error);
  current_->buffer = answers_;
  return true;
}

bool QueueModel::WriteGroupCompleted(std::int32_t error) {
  if (!Finish()) return false;
  current_->error = error;
  return true;
}

// Whatever the request in flight is, and also when it was finished already: then it is delivered once more.
bool QueueModel::Finish() {
  if (!current_) return false;
  current_->answer = ++answers_;
  deliveries_.push_back(current_);
  inFlight_ = false;
  return true;
}

}  // namespace orvo::testing
