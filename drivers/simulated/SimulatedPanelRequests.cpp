// Reads and writes of the simulated panel.
#include "errors/AutomationError.h"
#include "simulated/PanelAddress.h"
#include "simulated/PanelItem.h"
#include "simulated/SimulatedPanel.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace orvo {

namespace {

constexpr std::int32_t GroupImages = 128;
constexpr std::int32_t GroupImageDistance = 256;

std::int32_t GroupStart(std::int32_t groupId) noexcept {
  return (groupId % GroupImages + GroupImages) % GroupImages * GroupImageDistance;
}

// The elements of the answer's arrays: as many as were asked for, unless a fault makes it other.
std::size_t AnsweredCount(const PanelAnswerPlan& plan, std::size_t count) {
  if (plan.Is(PanelFaultAction::Short)) return count - std::min(count, plan.fault->count);
  if (plan.Is(PanelFaultAction::Long)) return count + plan.fault->count;
  return count;
}

void RequireSameLength(std::size_t addresses, std::size_t others, const char* what) {
  if (addresses == others) return;
  throw AutomationError(
      PanelBadValue, std::to_string(addresses) + " addresses come with " + std::to_string(others) + ' ' + what);
}

}  // namespace

void SimulatedPanel::RequireReadyForRequest() const {
  if (!open_) throw AutomationError(PanelWrongState, "Communication is closed");
  if (!sink_) throw AutomationError(PanelWrongState, "There is no event sink to answer to");
  if (request_) throw AutomationError(PanelBusy, "The previous request is not answered yet");
}

void SimulatedPanel::RequireGroup(std::int32_t groupId, std::size_t bytes) const {
  const std::string group = "Group " + std::to_string(groupId);
  if (Definitions(groupId) == 0) throw AutomationError(PanelBadValue, group + " is not defined on the panel");
  if (bytes > static_cast<std::size_t>(PanelMemory::Size - GroupStart(groupId)))
    throw AutomationError(PanelBadValue,
                          group + ": a buffer of " + std::to_string(bytes) + " bytes reaches past the memory");
}

void SimulatedPanel::ReadItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& Dimensions) {
  faults_->Enter(PanelOperation::ReadItems);
  RequireReadyForRequest();
  RequireSameLength(CompiledAddresses.Size(), Dimensions.Size(), "dimensions");
  Take({PanelOperation::ReadItems, 0, CompiledAddresses, Dimensions, {}, 0, {}, false, false, 0, 0, {}});
}

void SimulatedPanel::WriteItems(const SafeArray<double>& CompiledAddresses,
                                const SafeArray<std::int16_t>& Dimensions,
                                const SafeArray<Variant>& DATAValues) {
  faults_->Enter(PanelOperation::WriteItems);
  RequireReadyForRequest();
  RequireSameLength(CompiledAddresses.Size(), Dimensions.Size(), "dimensions");
  RequireSameLength(CompiledAddresses.Size(), DATAValues.Size(), "values");
  Take({PanelOperation::WriteItems,
        0,
        CompiledAddresses,
        Dimensions,
        DATAValues,
        0,
        {},
        false,
        false,
        0,
        0,
        {}});
}

void SimulatedPanel::WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  faults_->Enter(PanelOperation::WriteGroup);
  RequireReadyForRequest();
  RequireGroup(GroupId, Buffer.Size());
  Take({PanelOperation::WriteGroup, 0, {}, {}, {}, GroupId, Buffer, false, false, 0, 0, {}});
}

void SimulatedPanel::ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) {
  faults_->Enter(PanelOperation::ReadGroup);
  RequireReadyForRequest();
  RequireGroup(GroupId, Buffer.Size());
  Take({PanelOperation::ReadGroup, 0, {}, {}, {}, GroupId, Buffer, false, false, 0, 0, {}});
}

void SimulatedPanel::Take(Request request) {
  request.plan = faults_->Plan(request.operation, request.addresses.View());
  request.number = ++lastNumber_;
  request.lost = cut_;
  request.takenMs = Elapsed();
  std::chrono::milliseconds delay = options_.completionDelay;
  if (request.plan.Is(PanelFaultAction::Late))
    request.lateMs = request.takenMs + (delay + request.plan.fault->time).count();
  if (request.plan.Is(PanelFaultAction::Delay)) delay += request.plan.fault->time;
  request_ = std::move(request);
  if (request_->plan.Is(PanelFaultAction::Never)) return;
  if (delay.count() <= 0) {
    PostAnswer();
    return;
  }
  timer_ = platform_.SetTimer(delay, [weak = weak_from_this(), number = request_->number](std::int32_t) {
    if (const auto panel = weak.lock()) panel->Answer(number);
  });
}

// The posted call holds the panel: who closes and lets go of it at once still gets the answer. Once per
// request, so that no timer runs while a posted call holds the panel.
void SimulatedPanel::PostAnswer() {
  if (std::exchange(request_->posted, true)) return;
  platform_.Post([panel = shared_from_this(), number = request_->number] { panel->Answer(number); });
}

void SimulatedPanel::StopTimer() {
  if (timer_ != 0) platform_.KillTimer(std::exchange(timer_, 0));
}

std::int64_t SimulatedPanel::Elapsed() {
  const std::uint32_t tick = platform_.TickCount();
  elapsedMs_ += static_cast<std::uint32_t>(tick - lastTick_);  // modulo 2^32: right across the counter's wrap
  lastTick_ = tick;
  return elapsedMs_;
}

// The one way out of the outstanding state, but for a request that is never answered. A late tick of a killed
// timer finds another request or none.
void SimulatedPanel::Answer(std::uint64_t number) {
  if (!request_ || request_->number != number) return;
  StopTimer();
  Request request = std::move(*request_);
  request_.reset();  // the handler may send the next one
  const std::int64_t now = ScriptTime();
  const std::int64_t taken = std::max<std::int64_t>(request.takenMs - scriptStartMs_, 0);
  request.lost = request.lost || IsLinkCutWithin(script_.cuts, taken, now);
  signals_.Apply(memory_, now, platform_);
  const bool itemByItem =
      request.operation == PanelOperation::ReadItems || request.operation == PanelOperation::WriteItems;
  Completion completion = itemByItem ? ItemsAnswer(request) : GroupAnswer(request);
  if (request.plan.Is(PanelFaultAction::Late)) {
    SendLate(std::move(completion), request.lateMs - Elapsed());
    return;
  }
  if (request.plan.Is(PanelFaultAction::Twice))
    platform_.Post([weak = weak_from_this(), completion] {
      if (const auto panel = weak.lock()) panel->Tell(completion);
    });
  Tell(completion);
}

void SimulatedPanel::SendLate(Completion completion, std::int64_t inMs) {
  const std::int32_t timerId = platform_.SetTimer(std::chrono::milliseconds(std::max<std::int64_t>(inMs, 0)),
                                                  [weak = weak_from_this()](std::int32_t timer) {
                                                    if (const auto panel = weak.lock()) panel->TellLate(timer);
                                                  });
  lateAnswers_.emplace(timerId, std::move(completion));
}

void SimulatedPanel::TellLate(std::int32_t timerId) {
  const auto found = lateAnswers_.find(timerId);
  if (found == lateAnswers_.end()) return;  // a late tick of its timer
  platform_.KillTimer(timerId);
  const Completion completion = std::move(found->second);
  lateAnswers_.erase(found);
  Tell(completion);
}

SimulatedPanel::Completion SimulatedPanel::ItemsAnswer(const Request& request) {
  const std::size_t count = request.addresses.Size();
  const bool reads = request.operation == PanelOperation::ReadItems;
  std::vector<Variant> values(reads ? count : 0);
  std::vector<std::int32_t> errors(count);
  for (std::size_t k = 0; k < count; ++k) {
    const double compiled = request.addresses.View()[k];
    const std::int32_t dimension = request.dimensions.View()[k];
    errors[k] = request.lost ? PanelLinkDown : request.plan.ErrorOf(compiled);
    if (errors[k] != 0) continue;
    const auto item = PanelAddress::Decode(compiled);
    if (!item) {
      errors[k] = PanelBadValue;
      continue;
    }
    try {
      if (reads)
        values[k] = ReadPanelItem(memory_, *item, dimension);
      else
        WritePanelItem(memory_, *item, dimension, request.values.View()[k]);
    } catch (const AutomationError& error) {
      errors[k] = error.Number();
    }
  }
  const std::size_t answered = AnsweredCount(request.plan, count);
  errors.resize(answered);
  const SafeArray<std::int32_t> itemErrors(std::move(errors));
  if (!reads) return [itemErrors](IEventNotify& sink) { sink.AsyncWriteComplete(itemErrors); };
  values.resize(answered);
  const SafeArray<Variant> items(std::move(values));
  return [items, itemErrors](IEventNotify& sink) { sink.AsyncReadComplete(items, itemErrors); };
}

SimulatedPanel::Completion SimulatedPanel::GroupAnswer(const Request& request) {
  const std::int32_t start = GroupStart(request.groupId);
  const std::int32_t error = request.lost ? PanelLinkDown : 0;
  if (request.operation == PanelOperation::WriteGroup) {
    if (error == 0) memory_.PutBytes(start, request.buffer.View());
    return [error](IEventNotify& sink) { sink.AsyncWriteGroupComplete(error); };
  }
  SafeArray<std::uint8_t> buffer = request.buffer;
  if (error == 0) {
    const auto image = memory_.Bytes(start, static_cast<std::int32_t>(buffer.Size()));
    buffer = SafeArray<std::uint8_t>(std::vector<std::uint8_t>(image.begin(), image.end()));
  }
  buffer.Resize(AnsweredCount(request.plan, buffer.Size()));
  return [buffer, error](IEventNotify& sink) { sink.AsyncReadGroupComplete(buffer, error); };
}

}  // namespace orvo
