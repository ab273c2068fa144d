#include "faults/ModelledScene.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace orvo::testing {

namespace {

constexpr auto SpoolerPeriod = 50ms;
constexpr auto FollowerPhase = 25ms;
constexpr auto ScriptPhase = 30ms;
constexpr std::int32_t ModelTimeOut = 1;

bool OfWholeGroup(const std::string& operation) {
  return operation.ends_with("Group");
}

std::string OperationOf(std::int32_t kind) {
  const bool write = kind == 2 || kind == 5 || kind == 7 || kind == 10 || kind == 13;
  return std::string(write ? "Write" : "Read") + (QueueModel::IsWholeGroup(kind) ? "Group" : "Items");
}

// Of one item or of all three.
std::size_t PositionsOf(std::int32_t kind) {
  return kind == 6 || kind == 7 ? 1 : 3;
}

std::string TextOf(QueueModel::Event event) {
  switch (event) {
    case QueueModel::Event::ReadRequestComplete:
      return "ReadRequestComplete";
    case QueueModel::Event::ReadRatedRequestComplete:
      return "ReadRatedRequestComplete";
    case QueueModel::Event::WriteRequestComplete:
      return "WriteRequestComplete";
    case QueueModel::Event::CancelRequestComplete:
      return "CancelRequestComplete";
    case QueueModel::Event::None:
      break;
  }
  return {};
}

std::string InBrackets(const std::vector<std::string>& texts) {
  std::string all = "[";
  for (const std::string& text : texts)
    all += (all.size() > 1 ? "," : "") + text;
  return all + "]";
}

// What the k-th item shows of a completion with this number.
std::string ClientText(std::int64_t completion, std::size_t k) {
  const std::string kind = k == 0 ? "I2:" : k == 1 ? "I4:" : "R4:";
  return kind + std::to_string(10 * completion + static_cast<std::int64_t>(k) + 1);
}

// The same of a whole group's bytes; those that no completion brought are 0.
std::string GroupText(std::int64_t completion, std::size_t k) {
  const std::int64_t number = completion == 0 ? 0 : 10 * completion + static_cast<std::int64_t>(k) + 1;
  return (k == 2 ? "R4:" : "R8:") + std::to_string(number);
}

// What the request with this number in the model writes to the k-th item: no other writes the same.
std::int64_t WrittenNumber(std::int64_t request, std::size_t k) {
  return 500 + 10 * request + static_cast<std::int64_t>(k);
}

// The bytes of the group with what this request writes, or as they were made.
std::string ImageText(std::int64_t request, bool written) {
  SafeArray<std::uint8_t> image(10);
  const auto put = [&image](std::size_t end, std::uint32_t number) {
    for (std::size_t at = end; number != 0; number >>= 8U)
      image.Edit()[--at] = static_cast<std::uint8_t>(number);
  };
  if (written) {
    put(2, static_cast<std::uint32_t>(WrittenNumber(request, 0)));
    put(6, static_cast<std::uint32_t>(WrittenNumber(request, 1)));
    put(10, std::bit_cast<std::uint32_t>(static_cast<float>(WrittenNumber(request, 2))));
  }
  return LogText(Variant(image)).substr(3);
}

// The call that sends a request, as the driver's log has it.
std::string CallText(const QueueModel::Request& request) {
  const std::string operation = OperationOf(request.kind);
  const bool write = operation.starts_with("Write");
  if (OfWholeGroup(operation)) return operation + "(groupId=5,buffer=" + ImageText(request.number, write) + ")";
  const bool one = PositionsOf(request.kind) == 1;
  std::string call =
      operation + "(addresses=" + (one ? "[1],dimensions=[1]" : "[1,102,203],dimensions=[1,2,2]");
  if (!write) return call + ")";
  call += ",values=[";
  for (std::size_t k = 0; k < PositionsOf(request.kind); ++k)
    call += (k == 0 ? "I4:" : k == 1 ? ",I4:" : ",R4:") + std::to_string(WrittenNumber(request.number, k));
  return call + "])";
}

std::string JoinedLines(const Log& lines) {
  std::string all;
  for (const std::string& line : lines)
    all += (all.empty() ? "" : "; ") + line;
  return all;
}

}  // namespace

ModelledScene::ModelledScene()
    : scene_(std::make_unique<FaultScene>(FaultSetup{.status = 2, .fresh = true})),
      spooler_(std::make_shared<SpoolerEventLog>(spoolerLog_)),
      lastRefresh_(3, 0) {
  scene_->driver->answer = [this](const TakenRequest& request) { Take(request); };
  scene_->Server().Spooler()->Events().Advise(spooler_);
  scene_->group->PutUpdateRate(1000000000);
  scene_->group->PutActive(true);
  Open();
}

void ModelledScene::Wrong(const std::string& what, const std::string& got, const std::string& expected) {
  if (got == expected || wrong_.size() > 2000) return;
  wrong_ +=
      "\n  tick " + std::to_string(tick_) + ", " + what + ": got '" + got + "', expected '" + expected + "'";
}

void ModelledScene::Open() {
  scene_->Server().OpenCommunication();
  model_.Start();
  opened_ = scene_->plant->platform.Now();
  scene_->Advance(FollowerPhase);
  follower_ = scene_->plant->platform.SetTimer(SpoolerPeriod, [this](std::int32_t) { Follow(); });
  scene_->Advance(ScriptPhase - FollowerPhase);
}

void ModelledScene::Close() {
  scene_->Server().CloseCommunication();
  model_.Stop();
  scene_->plant->platform.KillTimer(follower_);
}

void ModelledScene::Ticks(int count) {
  scene_->Advance(SpoolerPeriod * count);
}

// To the moment of the script; the model has followed by then.
void ModelledScene::Align() {
  const auto phase = (scene_->plant->platform.Now() - opened_) % SpoolerPeriod;
  scene_->Advance((ScriptPhase - phase + SpoolerPeriod) % SpoolerPeriod);
}

void ModelledScene::Take(const TakenRequest& request) {
  taken_.push_back(request);
  const std::size_t number = takenBefore_ + taken_.size() - 1;
  const AnswerPlan plan = number < plans.size() ? plans[number] : ProperPlan;
  const std::size_t items = OfWholeGroup(request.operation) ? 3 : request.addresses.Size();
  for (const int after : plan.after)
    due_.push_back({tick_ + 1 + after, request.operation, items});
  if (plan.inside) Complete(request.operation, items, false);
  if (plan.refused) throw AutomationError(3, "taken and refused");
}

// The k-th completion brings the values of a request with the serial k.
void ModelledScene::Complete(const std::string& operation, std::size_t items, bool tellModel) {
  TakenRequest answered{operation, static_cast<int>(completions_.size()) + 1, {}, {}, {}};
  answered.addresses = items == 3 ? SafeArray<double>{1, 102, 203} : SafeArray<double>{1};
  const std::int32_t failed = scene_->driver->Tell([&](IEventNotify& sink) {
    if (operation == "ReadItems")
      sink.AsyncReadComplete(FaultyDriver::ValuesOf(answered), SafeArray<std::int32_t>(items));
    if (operation == "WriteItems") sink.AsyncWriteComplete(SafeArray<std::int32_t>(items));
    if (operation == "ReadGroup")
      sink.AsyncReadGroupComplete(SafeArray<std::uint8_t>(FaultyDriver::ImageOf(answered.serial)), 0);
    if (operation == "WriteGroup") sink.AsyncWriteGroupComplete(0);
  });
  if (failed == 0) completions_.push_back({operation == "ReadItems" ? items : 0});
  if (tellModel)
    TellModel(operation, items, failed == 0);
  else
    inside_.emplace_back([this, operation, items, failed] { TellModel(operation, items, failed == 0); });
}

void ModelledScene::TellModel(const std::string& operation, std::size_t items, bool accepted) {
  const std::vector<std::int32_t> noErrors(items, 0);
  bool expected = false;
  if (operation == "ReadItems") expected = model_.ReadCompleted(noErrors);
  if (operation == "WriteItems") expected = model_.WriteCompleted(noErrors);
  if (operation == "ReadGroup") expected = model_.ReadGroupCompleted(0, 3);
  if (operation == "WriteGroup") expected = model_.WriteGroupCompleted(0);
  Wrong("the sink takes the completion", accepted ? "yes" : "no", expected ? "yes" : "no");
}

void ModelledScene::AnswerNow() {
  if (!model_.Current()) return;
  const std::int32_t kind = model_.Current()->kind;
  Complete(OperationOf(kind), PositionsOf(kind), true);
}

void ModelledScene::Follow() {
  ++tick_;
  const QueueModel::Outcome outcome = model_.Tick();
  FollowSent(outcome.sent);
  FollowEvents(outcome);
  const bool refused = !taken_.empty() && takenBefore_ < plans.size() && plans[takenBefore_].refused;
  for (const auto& told : std::exchange(inside_, {}))
    told();
  if (refused) {
    const QueueModel::Outcome after = model_.Refused();
    if (after.releasesCaller) releases_.push_back(after);
    if (!after.refreshesDropped.empty()) refreshPending_ = false;
  }
  takenBefore_ += taken_.size();
  taken_.clear();
  Wrong("busy", scene_->Server().Spooler()->IsBusy() ? "yes" : "no", model_.IsBusy() ? "yes" : "no");
  Wrong("refresh pending", scene_->group->RefreshPending() ? "yes" : "no", refreshPending_ ? "yes" : "no");
  const std::vector<Due> due = due_;
  std::erase_if(due_, [this](const Due& each) { return each.atTick <= tick_; });
  for (const Due& each : due)
    if (each.atTick <= tick_) Complete(each.operation, each.items, true);
}

void ModelledScene::FollowSent(const std::optional<Request>& sent) {
  std::string got;
  for (const TakenRequest& request : taken_)
    got += request.call;
  Wrong("sent", got, sent ? CallText(*sent) : "");
}

void ModelledScene::FollowEvents(const QueueModel::Outcome& outcome) {
  if (!outcome.refreshesDropped.empty()) refreshPending_ = false;
  if (outcome.releasesCaller) releases_.push_back(outcome);
  const std::string expected = TextOf(outcome.event);
  Wrong("spooler's event", JoinedLines(std::exchange(spoolerLog_, {})),
        expected.empty() ? "" : expected + " " + std::to_string(outcome.request->id));
  Wrong("event", scene_->TakeEvents(), ClientEvent(outcome));
}

std::string ModelledScene::ClientEvent(const QueueModel::Outcome& outcome) {
  if (outcome.event == QueueModel::Event::None) return {};
  const Request& request = *outcome.request;
  const std::string id = " " + std::to_string(request.id) + " ";
  if (outcome.event == QueueModel::Event::CancelRequestComplete) return "AsyncCancelComplete" + id + "True";
  const std::string error = std::to_string(request.error);
  if (!QueueModel::IsSynchronous(request.kind)) StoreResults(request);
  switch (request.kind) {
    case 1:
      return "AsyncReadComplete" + id + "[1,2,3] " + ListValues(request, 3) + " " +
             ListErrors(request, 3, true);
    case 2:
      return "AsyncWriteComplete" + id + "[1,2,3] " + ListErrors(request, 3, false);
    case 3:
      refreshPending_ = false;
      return DataChangeOf(request);
    case 9:
      return "AsyncReadAllComplete" + id + "[1,2,3] " + GroupBytes(request) + " [" + error + "," + error + "," +
             error + "]";
    case 10:
      return "AsyncWriteAllComplete" + id + "[1,2,3] [" + error + "," + error + "," + error + "]";
    case 11:
      refreshPending_ = false;
      return DataChangeAllOf(request);
    default:
      return {};
  }
}

// What the items take from a request of a client, asynchronous or one whose caller was given its results.
void ModelledScene::StoreResults(const Request& request) {
  const std::size_t positions = PositionsOf(request.kind);
  switch (request.kind) {
    case 1:  // brings Empty where it brings no value
      for (std::size_t k = 0; k < positions; ++k)
        items_.TakeOwnRead(k);
      break;
    case 4:
    case 6:
      for (std::size_t k = 0; k < positions; ++k)
        if (ErrorAt(request, k, true) == 0) items_.TakeOwnRead(k);
      break;
    case 2:
    case 5:
    case 7: {
      // A read's completion puts its values in the place of those that a request for several items writes.
      const std::size_t values = request.kind == 7 || request.values == 0 ? positions : ValuesBrought(request);
      for (std::size_t k = 0; k < std::min(positions, values); ++k)
        if (ErrorAt(request, k, false) == 0) items_.TakeWritten(k);
      break;
    }
    case 9:
    case 12:
      if (request.error == 0) items_.TakeGroup(request.buffer);
      break;
    case 10:
    case 13:
      for (std::size_t k = 0; k < positions && request.error == 0; ++k)
        items_.TakeWritten(k);
      break;
    default:
      break;
  }
}

std::string ModelledScene::DataChangeAllOf(const Request& request) {
  if (request.error != 0) return {};
  std::vector<std::string> handles, values;
  for (const std::size_t k : items_.TakeRefresh(request.buffer)) {
    handles.push_back(std::to_string(k + 1));
    values.push_back(GroupText(request.buffer, k));
  }
  return handles.empty() ? "" : "DataChange " + InBrackets(handles) + " " + InBrackets(values);
}

std::string ModelledScene::DataChangeOf(const Request& request) {
  std::vector<std::string> handles, values;
  const std::size_t brought = ValuesBrought(request);
  for (std::size_t k = 0; k < 3 && request.error == 0; ++k) {
    const bool there = k < brought && k < request.itemErrors.size();
    const std::int64_t now = there ? request.values : 0;
    if (lastRefresh_[k] != 0 && lastRefresh_[k] == now) continue;
    lastRefresh_[k] = now;
    items_.TakeOwnRead(k);
    handles.push_back(std::to_string(k + 1));
    values.push_back(there ? ClientText(now, k) : "Empty");
  }
  return handles.empty() ? "" : "DataChange " + InBrackets(handles) + " " + InBrackets(values);
}

std::size_t ModelledScene::ValuesBrought(const Request& request) const {
  return request.values == 0 ? 0 : completions_[static_cast<std::size_t>(request.values) - 1].values;
}

std::int32_t ModelledScene::ErrorAt(const Request& request, std::size_t position, bool read) const {
  if (request.error != 0) return request.error;
  const std::int32_t error = position < request.itemErrors.size() ? request.itemErrors[position] : 9;
  return error == 0 && read && position >= ValuesBrought(request) ? 9 : error;
}

std::string ModelledScene::ListErrors(const Request& request, std::size_t count, bool read) const {
  std::vector<std::string> errors;
  for (std::size_t k = 0; k < count; ++k)
    errors.push_back(std::to_string(ErrorAt(request, k, read)));
  return InBrackets(errors);
}

// A synchronous read leaves what came beside an error as it came.
std::string ModelledScene::ListValues(const Request& request, std::size_t count, bool rawBesideErrors) const {
  const std::size_t brought = ValuesBrought(request);
  TakenRequest answered{"ReadItems", static_cast<int>(request.values), SafeArray<double>{1, 102, 203}, {}, {}};
  const SafeArray<Variant> raw = FaultyDriver::ValuesOf(answered);
  std::vector<std::string> values;
  for (std::size_t k = 0; k < count; ++k) {
    const bool there = k < brought && k < request.itemErrors.size() && request.error == 0;
    if (there && rawBesideErrors && request.itemErrors[k] != 0)
      values.push_back(LogText(raw.View()[k]));
    else
      values.push_back(there ? ClientText(request.values, k) : "Empty");
  }
  return InBrackets(values);
}

std::string ModelledScene::GroupBytes(const Request& request) const {
  if (request.error != 0) return "[Empty,Empty,Empty]";
  return request.buffer == 0 ? "[R8:0,R8:0,R4:0]" : GroupValues(static_cast<int>(request.buffer));
}

// What a synchronous call gives; `overall` other than 0 stands for a request that failed as a whole.
std::string ModelledScene::Result(const Request& request, std::int32_t overall) const {
  Request seen = request;
  if (overall != 0) seen.error = overall;
  const std::string error = std::to_string(seen.error);
  const std::string errors = "[" + error + "," + error + "," + error + "]";
  switch (seen.kind) {
    case 4:
      return ListValues(seen, 3, true) + " " + ListErrors(seen, 3, true);
    case 5:
      return ListErrors(seen, 3, false);
    case 6: {
      const std::string one = ListErrors(seen, 1, true);
      const std::string value = ListValues(seen, 1);
      return (one == "[0]" ? value : "[String:\"old\"]") + " " + one;
    }
    case 7:
      return ListErrors(seen, 1, false);
    case 12:
      return (seen.error != 0 ? "[0,0,0] " : "[1,2,3] ") + GroupBytes(seen) + " " + errors;
    default:
      return errors;
  }
}

std::string ModelledScene::Call(std::int32_t kind, std::int32_t& id) {
  KELDataGroup& group = *scene_->group;
  KELDataItem& item = *scene_->item;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors, handles;
  SafeArray<Variant> written(3);
  for (std::size_t k = 0; k < 3; ++k)
    written.Edit()[k] = std::to_string(WrittenNumber(added_, k));
  Variant value("old");
  std::int32_t error = 0;
  switch (kind) {
    case 1:
      group.AsyncRead({1, 2, 3}, id);
      break;
    case 2:
      group.AsyncWrite({1, 2, 3}, written, id);
      break;
    case 4:
      group.SyncRead({1, 2, 3}, values, errors);
      return LogText(values) + " " + LogText(errors);
    case 5:
      group.SyncWrite({1, 2, 3}, written, errors);
      return LogText(errors);
    case 6:
      item.SyncRead(value, error);
      return "[" + LogText(value) + "] [" + std::to_string(error) + "]";
    case 7:
      item.SyncWrite(written.View()[0], error);
      return "[" + std::to_string(error) + "]";
    case 9:
      group.AsyncReadAll(id);
      break;
    case 10:
      group.AsyncWriteAll({1, 2, 3}, written, id);
      break;
    case 12:
      group.SyncReadAll(handles, values, errors);
      return LogText(handles) + " " + LogText(values) + " " + LogText(errors);
    case 13:
      group.SyncWriteAll({1, 2, 3}, written, errors);
      return LogText(errors);
    default:
      group.Refresh();
  }
  return {};
}

void ModelledScene::Issue(std::int32_t kind) {
  scene_->plant->driver->groupTransfer = QueueModel::IsWholeGroup(kind);
  const std::size_t positions = kind == 12 || kind == 13 ? 0 : PositionsOf(kind);
  const bool waits = QueueModel::IsSynchronous(kind);
  std::optional<std::int32_t> id;
  const bool refused = waits && model_.IsBusy();
  const bool skipped = QueueModel::IsRated(kind) && refreshPending_;
  if (!refused && !skipped) id = model_.Add(kind, positions);
  if (id) ++added_;
  if (QueueModel::IsRated(kind)) refreshPending_ = true;
  releases_.clear();
  Request own;
  own.id = id.value_or(0);
  own.kind = kind;
  const std::int64_t number = added_;
  std::int32_t got = 0;
  const auto begin = scene_->plant->platform.Now();
  const std::string result = Call(kind, got);
  if (!waits) {
    if (!QueueModel::IsRated(kind)) Wrong("id", std::to_string(got), std::to_string(id.value_or(0)));
    return;
  }
  const bool timedOut = scene_->plant->platform.Now() - begin > 10s;
  if (timedOut && id) model_.Cancel(*id);
  Align();
  std::string expected = Result(own, ModelTimeOut);
  if (!refused && !timedOut) {
    if (releases_.empty()) Wrong("the waiting call", "over", "not over");
    const bool byItself = !releases_.empty() && releases_[0].request->number == number;
    if (byItself) expected = Result(*releases_[0].request, 0);
    if (byItself) StoreResults(*releases_[0].request);
    if (!byItself && id) model_.Cancel(*id);
  }
  if (timedOut && !releases_.empty()) Wrong("the waiting call", "not over", "over");
  Wrong("result of kind " + std::to_string(kind), result, expected);
}

std::string ModelledScene::End() {
  if (follower_ != 0) scene_->plant->platform.KillTimer(follower_);
  spooler_.reset();
  Wrong("at the end", scene_->End(), "");
  return wrong_;
}

}  // namespace orvo::testing
