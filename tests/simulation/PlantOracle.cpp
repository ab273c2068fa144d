// The oracle's lock step with the server: ticks, calls, answers.
#include "simulation/PlantOracle.h"

#include "errors/modConstant.h"
#include "errors/modIDataErrors.h"

#include <algorithm>
#include <utility>

namespace orvo::testing {

namespace {

constexpr std::size_t RequestsKept = 4000;  // more than can be outstanding, with those that may come once more
constexpr float LongestWait = 10.0F;

bool IsWrite(std::int32_t kind) {
  return kind == 2 || kind == 5 || kind == 7 || kind == 10 || kind == 13;
}

}  // namespace

PlantOracle::PlantOracle(HookedPlatform& platform, StepLog& log, PlantTotals& totals, Answers answers)
    : platform_(platform), log_(log), totals_(totals), reading_(answers) {
  platform_.Listen(this);
}

PlantOracle::~PlantOracle() {
  platform_.Listen(nullptr);
}

void PlantOracle::Fail(const std::string& what) {
  if (HasFailed()) return;
  failure_ = what;
  Note("FAILED");
}

void PlantOracle::Note(const char* what, std::int64_t a, std::int64_t b, std::int64_t c) {
  log_.Note(platform_.Time().Now(), what, a, b, c);
}

// --- Clients.

void PlantOracle::ServerStarted(SimulatedPanel& panel, std::vector<GroupPointer>* groups) {
  panel_ = &panel;
  groups_ = groups;
}

void PlantOracle::ServerEnded() {
  for (const auto& [number, request] : requests_) {
    const std::int32_t kind = request.asked.kind;
    if (request.endings == 0) ++totals_.abandoned[static_cast<std::size_t>(kind)];
  }
  // The phase of the timer's ticks is the thread's, not the server's.
  const bool deliveryNext = model_.IsDeliveryNext();
  model_ = QueueModel();
  if (deliveryNext) {
    model_.Start();
    model_.Tick();
    model_.Stop();
  }
  requests_.clear();
  answers_.clear();
  remembered_ = 0;
  definitions_ = 0;
  open_ = false;
  panel_ = nullptr;
}

void PlantOracle::Opened(std::int32_t spoolerTimer) {
  Require(spoolerTimer > 0, "communication is open and the spooler's timer does not run");
  spoolerTimers_.insert(spoolerTimer);
  open_ = true;
  model_.Start();
  lastSpoolerTick_ = platform_.Time().Now();
  Note("open", spoolerTimer);
}

void PlantOracle::Closed() {
  open_ = false;
  model_.Stop();
  Note("close");
}

void PlantOracle::Remember(Asked asked) {
  ++totals_.made[static_cast<std::size_t>(asked.kind)];
  requests_[++remembered_] = {std::move(asked), 0};
  if (requests_.size() > RequestsKept) requests_.erase(requests_.begin());
}

std::optional<std::int32_t> PlantOracle::Add(Asked asked) {
  const std::int32_t kind = asked.kind;
  const bool taken = model_.IsOutstanding(model_.NextId());
  const std::optional<std::int32_t> id = model_.Add(kind, asked.items.size());
  Note("add", kind, id.value_or(0), static_cast<std::int64_t>(asked.items.size()));
  if (!id) {
    ++totals_.queueFull;
    return id;
  }
  Require(!taken, "an id is given that is outstanding");
  Remember(std::move(asked));
  return id;
}

void PlantOracle::Added(std::optional<std::int32_t> expected, std::int32_t id, std::int32_t errorNumber) {
  if (expected) {
    Require(errorNumber == 0, "a request was not queued");
    Require(id == *expected, "a request got another id than it must");
  } else {
    Require(errorNumber == errQueueFull, "a request was queued although the queue was full");
  }
}

void PlantOracle::Cancelled(std::int32_t id) {
  Note("cancel", id, model_.IsOutstanding(id) ? 1 : 0);
  model_.Cancel(id);
}

void PlantOracle::SyncBegins(Asked asked) {
  sync_.emplace();
  if (model_.IsBusy()) {
    sync_->error = RequestFailed;
    return;
  }
  const std::optional<std::int32_t> id = Add(std::move(asked));
  if (!id) {
    sync_->error = errQueueFull;
    return;
  }
  sync_->number = remembered_;
  sync_->id = *id;
}

PlantOracle::SyncEnd PlantOracle::SyncEnds() {
  const WaitingCall sync = *std::exchange(sync_, std::nullopt);
  SyncEnd end;
  end.error = sync.error;
  if (sync.number == 0) return end;
  if (sync.timedOut) {
    ++totals_.syncTimeOuts;
    end.error = RequestFailed;
  } else if (sync.own) {
    const Answer* values = AnswerOf(sync.own->values);
    const Answer* image = AnswerOf(sync.own->buffer);
    const Request* request = Find(*sync.own);
    end.error = sync.own->error;
    if (image != nullptr) end.buffer = image->buffer;
    end.valuesReplaced = values != nullptr;
    for (std::size_t k = 0; request != nullptr && k < request->asked.items.size(); ++k) {
      end.hasValue.push_back(HasValue(values, k));
      end.itemErrors.push_back(IsWrite(sync.own->kind) ? WriteError(*sync.own, k)
                                                       : ReadError(*sync.own, values, k));
      end.lying.push_back(HasValue(values, k) ? LyingAt(*values, k, *request->asked.items[k]) : "");
    }
  } else if (sync.otherReleased) {
    // Somebody else's answer, which was given up before, let this caller go.
    model_.Cancel(sync.id);
    end.error = RequestFailed;
  } else {
    Fail("a synchronous call returned before its time");
  }
  Note("sync ends", sync.id, end.error, sync.timedOut ? 1 : 0);
  return end;
}

void PlantOracle::ClockRead(float seconds) {
  if (!sync_ || sync_->number == 0 || depth_ != 0 || sync_->timedOut) return;
  if (!std::exchange(sync_->clockStarted, true)) sync_->start = seconds;
  if (seconds - sync_->start <= LongestWait) return;
  sync_->timedOut = true;
  model_.Cancel(sync_->id);
}

// --- Ticks.

void PlantOracle::TickBegins(std::int32_t timerId) {
  if (frames_.size() == depth_) frames_.push_back(std::make_unique<Frame>());
  Frame& frame = *frames_[depth_++];
  frame.kind = Frame::Kind::Other;
  frame.timer = timerId;
  if (spoolerTimers_.count(timerId) != 0) {
    frame.kind = Frame::Kind::Spooler;
    lastSpoolerTick_ = platform_.Time().Now();
    return;
  }
  if (groups_ == nullptr) return;
  for (const GroupPointer& group : *groups_) {
    if (group->timer != timerId) continue;
    frame.kind = Frame::Kind::Group;
    frame.group = group;
    frame.mustRefresh = open_ && group->active && !group->pending && !group->items.empty();
  }
}

void PlantOracle::TickEnds(std::int32_t timerId) {
  Frame& frame = *Top();
  Require(frame.timer == timerId, "ticks do not nest");
  if (frame.kind == Frame::Kind::Spooler) EndSpoolerFrame(frame);
  if (frame.kind == Frame::Kind::Group) EndGroupFrame(frame);
  // Only what was used has to be made new.
  if (frame.expected.event != GroupEvent::None || frame.sent || frame.group)
    frame = Frame();
  else
    frame.jobDone = frame.mustRefresh = frame.refreshed = frame.definitionRefused = false;
  --depth_;
}

void PlantOracle::DoJob(Frame& frame) {
  if (std::exchange(frame.jobDone, true)) return;
  const QueueModel::Outcome outcome = model_.Tick();
  if (outcome.sent) {
    frame.sent = outcome.sent;
    return;
  }
  RefreshesDropped(outcome);
  if (!outcome.request) return;
  if (outcome.releasesCaller) Released(*outcome.request);
  if (outcome.event == QueueModel::Event::None || outcome.event == QueueModel::Event::CancelRequestComplete) {
    Ended(*outcome.request, totals_.cancelled);
    const Request* request = Find(*outcome.request);
    if (request != nullptr && outcome.event == QueueModel::Event::CancelRequestComplete) {
      Expect(frame.expected, GroupEvent::CancelComplete, request->asked.group, outcome.request->id);
      frame.expected.errors = {1};
    }
    return;
  }
  Ended(*outcome.request, totals_.delivered);
  Deliver(frame.expected, *outcome.request);
}

void PlantOracle::RefreshesDropped(const QueueModel::Outcome& outcome) {
  for (const QueueModel::Request& dropped : outcome.refreshesDropped)
    if (const Request* request = Find(dropped)) request->asked.group->pending = false;
}

PlantOracle::Request* PlantOracle::Find(const QueueModel::Request& request) {
  const auto found = requests_.find(request.number);
  if (found != requests_.end()) return &found->second;
  Fail("the oracle has forgotten a request");
  return nullptr;
}

void PlantOracle::Released(const QueueModel::Request& request) {
  if (!sync_) return;
  if (request.number == sync_->number)
    sync_->own = request;
  else
    sync_->otherReleased = true;
}

void PlantOracle::Ended(const QueueModel::Request& request, std::array<std::uint64_t, 14>& where) {
  Request* known = Find(request);
  if (known == nullptr) return;
  Note("ended", request.kind, request.id, ++known->endings);
  if (known->endings == 1) {
    ++where[static_cast<std::size_t>(request.kind)];
    return;
  }
  ++totals_.deliveredTwice;
  Require(reading_ == Answers::Loose, "a request ended twice");
}

void PlantOracle::EndSpoolerFrame(Frame& frame) {
  DoJob(frame);
  if (frame.sent && !frame.called) {
    // Without a definition on the device a whole group is not sent.
    const bool noPlace = frame.definitionRefused || definitions_ >= panel_->Options().groupCapacity;
    Require(QueueModel::IsWholeGroup(frame.sent->kind) && noPlace, "a request was not sent when its turn came");
    Refuse();
  }
  Require(frame.expected.told == frame.expected.sinks, "a client was not told of an event");
}

void PlantOracle::EndGroupFrame(const Frame& frame) {
  const bool still = open_ && frame.group->active && frame.group->timer == frame.timer;
  Require(!frame.mustRefresh || frame.refreshed || !still, "a group's tick did not refresh it");
}

void PlantOracle::GroupTransferAsked() {
  if (depth_ == 0 || Top()->kind != Frame::Kind::Group) return;
  Frame& frame = *Top();
  MirrorGroup& group = *frame.group;
  Require(!frame.refreshed, "a tick refreshed its group twice");
  Require(group.active && group.timer == frame.timer, "a group is refreshed that is not active");
  Require(!group.pending, "a group is refreshed while a refresh is outstanding");
  Require(!group.items.empty(), "a group without items is refreshed");
  frame.refreshed = true;
  Asked asked;
  asked.group = frame.group;
  asked.kind = panel_->Options().groupTransfer ? 11 : 3;
  if (asked.kind == 3) {
    asked.items = group.items;
    group.previous.resize(group.items.size());
    for (std::size_t k = 0; k < group.items.size(); ++k)
      if (group.previous[k].item != group.items[k]) group.previous[k] = {group.items[k], true, {}};
  }
  group.pending = Add(std::move(asked)).has_value();
}

void PlantOracle::GroupDefined(bool taken) {
  ++(taken ? definitions_ : refusedDefinitions_);
  if (!taken && depth_ != 0) Top()->definitionRefused = true;
}

// --- Calls and answers.

PlantOracle::Frame* PlantOracle::CallFrame(const Asked*& asked) {
  if (SpoolerFrame() == nullptr) {
    Fail("the panel is called outside of a spooler's tick");
    return nullptr;
  }
  Frame& frame = *Top();
  DoJob(frame);
  if (!frame.sent || frame.called) {
    Fail("the panel is called although nothing is to be sent");
    return nullptr;
  }
  frame.called = true;
  const Request* request = Find(*frame.sent);
  if (request == nullptr) return nullptr;
  asked = &request->asked;
  return &frame;
}

void PlantOracle::ItemsCalled(PanelOperation operation, const SafeArray<double>& addresses,
                              const SafeArray<Variant>& values) {
  const Asked* asked = nullptr;
  if (CallFrame(asked) == nullptr) return;
  Note("items called", asked->kind, static_cast<std::int64_t>(addresses.Size()));
  const bool writes = operation == PanelOperation::WriteItems;
  Require(!QueueModel::IsWholeGroup(asked->kind) && IsWrite(asked->kind) == writes,
          "another operation is called");
  Require(addresses.Size() == asked->items.size(), "the panel is asked for another number of items");
  Require(!writes || values.Size() == asked->items.size(), "the panel gets another number of values");
  for (std::size_t k = 0; k < addresses.Size() && !HasFailed(); ++k) {
    const MirrorItem& item = *asked->items[k];
    Require(addresses.View()[k] == (item.removed ? 0 : item.cell.CompiledAddress()),
            "the panel is asked for another item");
  }
}

void PlantOracle::GroupCalled(PanelOperation operation, std::int32_t groupId,
                              const SafeArray<std::uint8_t>& buffer) {
  const Asked* asked = nullptr;
  if (CallFrame(asked) == nullptr) return;
  Note("group called", asked->kind, groupId, static_cast<std::int64_t>(buffer.Size()));
  const bool writes = operation == PanelOperation::WriteGroup;
  Require(QueueModel::IsWholeGroup(asked->kind) && IsWrite(asked->kind) == writes,
          "another operation is called");
  Require(groupId == asked->group->groupId, "the panel is asked for another group");
  if (writes)
    Require(std::equal(buffer.View().begin(), buffer.View().end(), asked->image.begin(), asked->image.end(),
                       [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }),
            "another image is written");
}

void PlantOracle::CallTaken() {
  Require(model_.IsBusy(), "a second request is in flight");
}

void PlantOracle::CallRefused(std::int32_t number) {
  Note("refused", number);
  if (!HasFailed()) Refuse();
}

void PlantOracle::Refuse() {
  const QueueModel::Outcome outcome = model_.Refused();
  Ended(*outcome.request, totals_.notSent);
  RefreshesDropped(outcome);
  if (outcome.releasesCaller) Released(*outcome.request);
}

const Asked* PlantOracle::Judged() {
  if (reading_ == Answers::Loose || !model_.IsBusy() || panel_ == nullptr) return nullptr;
  const Request* request = Find(*model_.Current());
  return request == nullptr ? nullptr : &request->asked;
}

void PlantOracle::RememberAnswer() {
  answers_[model_.Answers()] = std::move(coming_);
  if (answers_.size() > RequestsKept) answers_.erase(answers_.begin());
}

bool PlantOracle::ReadAnswered(const SafeArray<Variant>& values, const SafeArray<std::int32_t>& errors) {
  coming_ = {};
  for (const Variant& value : values.View()) {
    coming_.empty.push_back(value.IsEmpty());
    const Reading bytes = ReadingOf(value);
    Require(bytes.kind == Reading::Kind::Bytes || bytes.kind == Reading::Kind::Empty,
            "the panel delivers no bytes");
    coming_.bytes.push_back(bytes.text);
  }
  if (const Asked* asked = Judged()) {
    Require(values.Size() == asked->items.size() && errors.Size() == values.Size(),
            "the panel answers another request");
    for (std::size_t k = 0; k < values.Size() && !HasFailed(); ++k) {
      const MirrorItem& item = *asked->items[k];
      if (errors.View()[k] == 0)
        Require(!item.removed && item.cell.Turned(coming_.bytes[k]) == item.cell.Lying(panel_->Memory()),
                "an answer is not what the panel holds");
      else
        Require(coming_.empty[k], "an item with an error has a value");
    }
  }
  const bool belongs = model_.ReadCompleted({errors.View().begin(), errors.View().end()});
  Note("read answered", static_cast<std::int64_t>(values.Size()), errors.IsEmpty() ? 0 : errors.View()[0],
       belongs ? 1 : 0);
  if (belongs) RememberAnswer();
  return belongs;
}

bool PlantOracle::ReadGroupAnswered(const SafeArray<std::uint8_t>& buffer, std::int32_t error) {
  coming_ = {};
  coming_.buffer.assign(buffer.View().begin(), buffer.View().end());
  std::size_t items = 0;
  if (const Asked* asked = Judged()) {
    items = asked->group->items.size();
    if (error == 0) {
      const auto image =
          panel_->Memory().Bytes(ImageStart(asked->group->groupId), static_cast<std::int32_t>(buffer.Size()));
      Require(coming_.buffer == std::string(image.begin(), image.end()),
              "an image is not what the panel holds");
    }
  }
  const bool belongs = model_.ReadGroupCompleted(error, items);
  Note("group read answered", static_cast<std::int64_t>(buffer.Size()), error, belongs ? 1 : 0);
  if (belongs) RememberAnswer();
  return belongs;
}

bool PlantOracle::WriteAnswered(const SafeArray<std::int32_t>& errors) {
  if (const Asked* asked = Judged()) {
    Require(errors.Size() == asked->items.size(), "the panel answers another request");
    for (std::size_t k = 0; k < errors.Size() && !HasFailed(); ++k) {
      const MirrorItem& item = *asked->items[k];
      if (errors.View()[k] != 0) continue;
      Require(item.cell.Read(item.cell.Lying(panel_->Memory()), item.isSigned) == asked->written[k],
              "the panel does not hold what was written");
    }
  }
  coming_ = {};
  const bool belongs = model_.WriteCompleted({errors.View().begin(), errors.View().end()});
  Note("write answered", static_cast<std::int64_t>(errors.Size()), errors.IsEmpty() ? 0 : errors.View()[0],
       belongs ? 1 : 0);
  return belongs;
}

bool PlantOracle::WriteGroupAnswered(std::int32_t error) {
  const Asked* asked = Judged();
  if (asked != nullptr && error == 0) {
    const auto image = panel_->Memory().Bytes(ImageStart(asked->group->groupId),
                                              static_cast<std::int32_t>(asked->image.size()));
    Require(asked->image == std::string(image.begin(), image.end()),
            "the panel does not hold the image that was written");
  }
  const bool belongs = model_.WriteGroupCompleted(error);
  Note("group write answered", error, belongs ? 1 : 0);
  return belongs;
}

void PlantOracle::AnswerTaken(bool expected, bool taken) {
  if (!expected) ++totals_.strayAnswers;
  Require(expected == taken, expected ? "the server refused an answer" : "the server took a stray answer");
}

}  // namespace orvo::testing
