#include "faults/LineScene.h"

#include <algorithm>
#include <utility>

namespace orvo::testing {

namespace {

constexpr auto LineDelay = 20ms;
constexpr auto LineTimeOut = 100ms;
constexpr std::int32_t LineError = 4;
constexpr std::int32_t ImageOfGroup5 = 5 * 256;
const DriverFailure NoLine{"no line", 3, "the line is cut", nullptr};

}  // namespace

LineScene::LineScene(LineKind kind, bool wholeGroups, std::string panelScript)
    : kind_(kind), wholeGroups_(wholeGroups) {
  if (kind_ == LineKind::Panel) {
    plant_->drivers.Register("Scripted.Channel", [this, script = std::move(panelScript)](DriverHost host) {
      PanelOptions options;
      options.groupTransfer = wholeGroups_;
      options.script = script;
      const auto made = SimulatedPanel::Make(host, options);
      panel_ = made;
      return made;
    });
  } else {
    driver_ = std::make_unique<FaultyDriver>(*plant_);
    driver_->answer = [this](const TakenRequest& request) { Serve(request); };
    plant_->driver->groupTransfer = wholeGroups_;
  }
  plant_->Configure();
  for (auto* each : {&group, &other}) {
    *each = Server().KELDataGroups()->Add();
    AddItems(**each);
  }
  item = group->KELDataItems()->Item(1);
  group->SetGroupId(5);
  other->SetGroupId(5 + 128);  // another definition of the same place
  group->PutSubscribed(true);
  plant_->Watch(*group);
  group->PutUpdateRate(500);
  group->PutActive(true);
  PutLevel(1);
  Server().OpenCommunication();
}

void LineScene::AddItems(KELDataGroup& to) const {
  const bool panel = kind_ == LineKind::Panel;
  KELDataItems& items = *to.KELDataItems();
  items.Add(panel ? "WO1280" : "WO1");
  items.Add(panel ? "DW1282" : "DW2")->SetItemGroupBufferOffset(2);
  items.Add(panel ? "FL1286" : "FL3")->SetItemGroupBufferOffset(6);
  to.SetCompiledBufferDimension(10);
}

void LineScene::Cut(bool cut) {
  cut_ = cut;
  if (cut) ++cuts_;
  if (const auto panel = panel_.lock()) panel->CutLink(cut);
  if (!driver_) return;
  if (cut && kind_ == LineKind::Refusing)
    for (const char* const operation : {"ReadItems", "WriteItems", "ReadGroup", "WriteGroup"})
      plant_->driver->Fail(operation, NoLine.number, NoLine.text);
  // The device is not there to be opened, closed or told of groups either.
  for (const char* const operation : {"OpenCommunication", "CloseCommunication", "SetGroupDefinition"}) {
    if (cut) plant_->driver->Fail(operation, NoLine.number, NoLine.text);
    if (!cut) plant_->driver->StopFailing(operation);
  }
  if (!cut)
    for (const char* const operation : {"ReadItems", "WriteItems", "ReadGroup", "WriteGroup"})
      plant_->driver->StopFailing(operation);
}

void LineScene::PutLevel(int level) {
  level_ = level;
  const auto panel = panel_.lock();
  if (!panel) return;
  panel->Memory().PutWord(ImageOfGroup5, static_cast<std::uint16_t>(10 * level + 1));
  panel->Memory().PutDoubleWord(ImageOfGroup5 + 2, static_cast<std::uint32_t>(10 * level + 2));
  panel->Memory().PutSingle(ImageOfGroup5 + 6, static_cast<float>(10 * level + 3));
}

bool LineScene::IsOutstanding() const {
  const auto panel = panel_.lock();
  return panel ? panel->IsOutstanding() : outstanding_ > 0;
}

// The scripted line: an answer after a while; a cut in between, or one that lasts, makes it errors.
void LineScene::Serve(const TakenRequest& request) {
  // The driver fails only after this where the line refuses.
  if (cut_ && kind_ == LineKind::Refusing) return;
  ++outstanding_;
  const bool lost = cut_;
  At(lost ? LineTimeOut : LineDelay, [this, request, lost, cuts = cuts_] {
    --outstanding_;
    if (lost || cuts != cuts_) {
      AnswerWithErrors(request);
      return;
    }
    TakenRequest now = request;
    now.serial = level_;
    driver_->ProperAnswer(now);
  });
}

void LineScene::AnswerWithErrors(const TakenRequest& request) {
  const SafeArray<std::int32_t> errors(request.addresses.Size(), 0, LineError);
  driver_->Tell([&](IEventNotify& sink) {
    if (request.operation == "ReadItems") sink.AsyncReadComplete(SafeArray<Variant>(errors.Size()), errors);
    if (request.operation == "WriteItems") sink.AsyncWriteComplete(errors);
    if (request.operation == "ReadGroup") sink.AsyncReadGroupComplete(request.buffer, LineError);
    if (request.operation == "WriteGroup") sink.AsyncWriteGroupComplete(LineError);
  });
}

void LineScene::AwaitOutstanding() const {
  for (int k = 0; k < 200 && !IsOutstanding(); ++k)
    Advance(10ms);
}

void LineScene::AdvanceTo(int milliseconds) const {
  Advance(std::chrono::milliseconds(milliseconds) - plant_->platform.Now());
}

void LineScene::AwaitIdle() const {
  for (int k = 0; k < 100 && Server().Spooler()->IsBusy(); ++k)
    Advance(10ms);
}

void LineScene::At(std::chrono::milliseconds delay, std::function<void()> action) const {
  SimulatedPlatform& platform = plant_->platform;
  platform.SetTimer(delay, [&platform, action = std::move(action)](std::int32_t timerId) {
    platform.KillTimer(timerId);
    action();
  });
}

std::string LineScene::TakeEvents() {
  std::string events;
  for (const std::string& event : std::exchange(plant_->events, {}))
    events += (events.empty() ? "" : "; ") + event;
  return events;
}

std::string LineScene::Values(bool ofWholeGroup) const {
  const std::string integer = ofWholeGroup ? "R8:" : "I2:";
  const auto number = [this](int k) { return std::to_string(10 * level_ + k); };
  return "[" + integer + number(1) + "," + (ofWholeGroup ? "R8:" : "I4:") + number(2) + ",R4:" + number(3) +
         "]";
}

std::string LineScene::SyncRead() const {
  AwaitIdle();
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1, 2, 3}, values, errors);
  return LogText(values) + " " + LogText(errors);
}

std::string LineScene::SyncReadAll(KELDataGroup& from) const {
  AwaitIdle();
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors, handles;
  from.SyncReadAll(handles, values, errors);
  return LogText(values) + " " + LogText(errors);
}

std::string LineScene::SyncWrite() const {
  AwaitIdle();
  SafeArray<std::int32_t> errors;
  group->SyncWrite({1, 2, 3}, {10 * level_ + 1, 10 * level_ + 2, 10 * level_ + 3}, errors);
  return LogText(errors);
}

std::string LineScene::AsyncRead() {
  AwaitIdle();
  std::int32_t id = 0;
  group->AsyncRead({1, 2, 3}, id);
  plant_->events.clear();
  for (int k = 0; k < 100; ++k) {
    Advance(10ms);
    for (const std::string& event : plant_->events)
      if (event.starts_with("AsyncReadComplete " + std::to_string(id) + " [1,2,3] "))
        return event.substr(event.find("] ") + 2);
  }
  return "no event";
}

std::int64_t LineScene::DefinitionsSent(std::int32_t groupId) const {
  const std::vector<std::string>& log = plant_->driver->log;
  return std::count(log.begin(), log.end(), "SetGroupDefinition(" + std::to_string(groupId) + ",-1)");
}

std::string LineScene::End() {
  item.reset();
  group.reset();
  other.reset();
  plant_->server.reset();
  plant_->Advance(1s);  // answers that were on their way
  std::string left;
  if (plant_->platform.TimersAlive() != 0) left = "a timer runs on; ";
  plant_.reset();
  driver_.reset();
  const std::int64_t objects = AutomationObject::LiveCount() - liveBefore_;
  if (objects != 0) left += std::to_string(objects) + " objects are left";
  return left;
}

}  // namespace orvo::testing
