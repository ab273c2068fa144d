// Request sequences: the real spooler and the model of its queue in lock step, with a driver that keeps no
// rule. The input is a list of steps. Properties, after each step:
// - a request gets the id that the model gives it, or errQueueFull, and nothing changes
// - a tick sends what the model sends, to the driver's operation for its kind, with the addresses, dimensions,
//   values, group and bytes of that very request
// - a tick delivers what the model delivers, as the event of its kind, with the completion that belongs to it
// - a waiting caller is released, and a refresh told of, exactly when the model says so
// - a completion without a request fails with 91; the spooler is busy when the model is
// - in the end nothing is left alive
#include "Property.h"
#include "Targets.h"
#include "errors/modIDataErrors.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/DataRequests.h"
#include "support/QueueModel.h"
#include "support/ScriptedDriver.h"

#include <algorithm>
#include <array>

namespace orvo::fuzz {

namespace {

using testing::QueueModel;

constexpr int MostRequestSteps = 3000;

class QueuedGroup final : public RequestGroup {
 public:
  bool defined = true;
  int dropped = 0;
  static constexpr std::int32_t Items = 3;

  SafeArray<double> CompileVariable(const SafeArray<std::int32_t>& Handles) override {
    SafeArray<double> addresses;
    for (const std::int32_t handle : Handles.View())
      addresses.Append(handle * 10.0);
    return addresses;
  }
  SafeArray<std::int16_t> GetDimension(const SafeArray<std::int32_t>& Handles) override {
    return SafeArray<std::int16_t>(Handles.Size(), 0, std::int16_t{1});
  }
  static constexpr std::int32_t Id = 7;
  std::int32_t GroupId() const override { return Id; }
  SafeArray<std::uint8_t> CompiledBuffer() const override { return {1, 2, 3}; }
  bool EnsureDefined() override { return defined; }
  std::int32_t ItemCount() const override { return Items; }
  void PutLastUseTick(std::uint32_t) override {}
  void RefreshDropped() override { ++dropped; }
};

class QueuedItem final : public RequestItem {
 public:
  static constexpr double Address = 5;  // of no handle
  SafeArray<double> CompiledAddressArray() const override { return {Address}; }
  SafeArray<std::int16_t> DimensionArray() const override { return {2}; }
};

class DeliveredEvents final : public SpoolerEvents {
 public:
  struct Delivery {
    QueueModel::Event event;
    std::shared_ptr<DataRequest> record;
  };
  std::vector<Delivery> list;

  void ReadRequestComplete(const std::shared_ptr<DataRequest>& record) override {
    list.push_back({QueueModel::Event::ReadRequestComplete, record});
  }
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& record) override {
    list.push_back({QueueModel::Event::ReadRatedRequestComplete, record});
  }
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& record) override {
    list.push_back({QueueModel::Event::WriteRequestComplete, record});
  }
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& record) override {
    list.push_back({QueueModel::Event::CancelRequestComplete, record});
  }
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t) override {}
};

enum class Answer { Read, ReadGroup, Write, WriteGroup };
struct Completion {
  Answer answer;
  std::vector<std::int32_t> errors;
  std::int32_t First() const { return errors.empty() ? 0 : errors.front(); }
};

class LockStep {
 public:
  explicit LockStep(InputReader& input) : input_(input) {
    spooler_->PutDataComm(driver_);
    spooler_->Events().Advise(events_);
    timer_.RegisterSpooler(spooler_);
    for (const char* operation : {"ReadItems", "WriteItems", "ReadGroup", "WriteGroup"})
      driver_->during[operation] = [this, operation] {
        called_.emplace_back(operation);
        for (const Completion& completion : inside_)
          Demand(CompleteReal(completion), "a completion inside the call belongs to it");
        if (refuses_) throw AutomationError(3, "refused");
      };
    spooler_->StartSpooler();
    model_.Start();
  }

  void Step() {
    events_->list.clear();
    called_.clear();
    group_->dropped = 0;
    switch (input_.Below(16)) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4:
        Add(1);
        break;
      case 5:
        Add(100);
        break;
      case 6:
      case 7:
      case 8:
      case 9:
      case 10:
        Tick();
        break;
      case 11:
      case 12:
        Complete();
        break;
      case 13:
        Cancel();
        break;
      case 14:
        Demand(model_.Clear().refreshesDropped.size() == ClearReal(),
               "a clear tells each refresh that it drops");
        break;
      default:
        model_.IsRunning() ? spooler_->StopSpooler() : spooler_->StartSpooler();
        model_.IsRunning() ? model_.Stop() : model_.Start();
    }
    Demand(spooler_->IsBusy() == model_.IsBusy(), "the spooler is busy when a request is in flight");
  }

 private:
  Completion TakeCompletion() {
    Completion completion{static_cast<Answer>(input_.Below(4)), {}};
    completion.errors.assign(input_.Below(4), static_cast<std::int32_t>(input_.Below(6)));
    return completion;
  }
  // Values carry the number of the completion that brought them.
  bool CompleteReal(const Completion& completion) {
    const SafeArray<std::int32_t> errors(completion.errors);
    const auto number = static_cast<std::int32_t>(++answers_);
    const std::int32_t failed = NumberOf([&] {
      IEventNotify& sink = driver_->Sink();
      switch (completion.answer) {
        case Answer::Read:
          return sink.AsyncReadComplete({Variant(number)}, errors);
        case Answer::ReadGroup:
          return sink.AsyncReadGroupComplete({static_cast<std::uint8_t>(number)}, completion.First());
        case Answer::Write:
          return sink.AsyncWriteComplete(errors);
        default:
          return sink.AsyncWriteGroupComplete(completion.First());
      }
    });
    Demand(failed == 0 || failed == 91, "a completion that belongs to nothing is 91", std::to_string(failed));
    if (failed != 0) --answers_;
    return failed == 0;
  }
  bool CompleteModel(const Completion& completion) {
    switch (completion.answer) {
      case Answer::Read:
        return model_.ReadCompleted(completion.errors);
      case Answer::ReadGroup:
        return model_.ReadGroupCompleted(completion.First(), QueuedGroup::Items);
      case Answer::Write:
        return model_.WriteCompleted(completion.errors);
      default:
        return model_.WriteGroupCompleted(completion.First());
    }
  }

  void Add(int times) {
    const auto kind = static_cast<std::int32_t>(input_.Below(15));
    const std::size_t items = input_.Below(4);
    for (int k = 0; k < times; ++k) {
      const auto record = DataRequest::Create();
      record->PutRequestType(kind);
      record->PutReqGroup(group_);
      if (kind == RT_ReadItemSync || kind == RT_WriteItemSync) record->PutReqItem(item_);
      // Each request has an address, a value and bytes of its own: they tell which one a call is about.
      const auto number = static_cast<std::int32_t>(records_.size()) + 1;
      record->SetHandles({number});
      record->SetDATAValues({ValueOf(number)});
      record->SetBuffer(BytesOf(number));
      record->SetErrors(SafeArray<std::int32_t>(items));
      const std::optional<std::int32_t> expected = model_.Add(kind, items);
      std::int32_t id = 0;
      const std::int32_t failed = NumberOf([&] { id = spooler_->AddRequest(record); });
      Demand(expected ? failed == 0 && id == *expected : failed == errQueueFull,
             "a request gets the id of the model, or errQueueFull", [&] {
               return std::to_string(id) + ", failure " + std::to_string(failed) + ", expected " +
                      std::to_string(expected.value_or(0));
             });
      if (!expected) return;
      records_.push_back(record);
      lastId_ = id;
    }
  }

  void Tick() {
    inside_.clear();
    const std::uint8_t mood = input_.Byte();
    refuses_ = (mood & 0x0F) == 1;
    group_->defined = (mood & 0xF0) != 0x10;
    if ((mood & 0x0F) == 2) inside_.push_back(TakeCompletion());
    if ((mood & 0x0F) == 3) inside_ = {TakeCompletion(), TakeCompletion()};
    timer_.SyncRequestPending = true;
    QueueModel::Outcome expected = model_.Tick();
    platform_.Advance(std::chrono::milliseconds(50));
    bool givenUp = false;
    if (expected.sent) {
      const bool undefined = QueueModel::IsWholeGroup(expected.sent->kind) && !group_->defined;
      DemandCall(*expected.sent, undefined);
      if (!undefined)
        for (const Completion& completion : inside_)
          Demand(CompleteModel(completion), "a request that is sent can be completed");
      if (undefined || refuses_) {
        const QueueModel::Outcome refusal = model_.Refused();
        expected.refreshesDropped = refusal.refreshesDropped;
        givenUp = refusal.releasesCaller;
        if (givenUp) DemandRecord(*refusal.request);
      }
    } else {
      Demand(called_.empty(), "nothing is sent when nothing is to be sent");
    }
    DemandEvent(expected);
    Demand(group_->dropped == static_cast<int>(expected.refreshesDropped.size()),
           "each refresh that is dropped is told");
    Demand(timer_.SyncRequestPending == !givenUp, "a waiting caller is released when its request is given up");
  }

  void Complete() {
    const Completion completion = TakeCompletion();
    Demand(CompleteModel(completion) == CompleteReal(completion),
           "a completion belongs to the request sent last");
  }

  void Cancel() {
    const std::size_t back = input_.Below(12);
    const std::int32_t id = back == 11 ? static_cast<std::int32_t>(input_.Below(1002)) - 1
                                       : lastId_ - static_cast<std::int32_t>(back);
    model_.Cancel(id);
    spooler_->AsyncCancel(id);
  }

  std::size_t ClearReal() {
    spooler_->Clear();
    return static_cast<std::size_t>(group_->dropped);
  }

  const std::shared_ptr<DataRequest>& RecordOf(const QueueModel::Request& request) const {
    return records_[static_cast<std::size_t>(request.number) - 1];
  }

  void DemandCall(const QueueModel::Request& request, bool undefined) const {
    if (undefined) {
      Demand(called_.empty(), "a group without a definition is not sent");
      return;
    }
    constexpr std::array Writes{2, 5, 7, 10, 13};
    const bool writes = std::find(Writes.begin(), Writes.end(), request.kind) != Writes.end();
    const bool wholeGroup = QueueModel::IsWholeGroup(request.kind);
    const std::string operation = std::string(writes ? "Write" : "Read") + (wholeGroup ? "Group" : "Items");
    Demand(called_.size() == 1 && called_.front() == operation, "a request goes to the operation of its kind",
           [&] {
             return "kind " + std::to_string(request.kind) + " called " +
                    (called_.empty() ? "" : called_.front());
           });
    const auto number = static_cast<std::int32_t>(request.number);
    if (wholeGroup) {
      Demand(driver_->lastGroupId == QueuedGroup::Id, "a request for a whole group names its group");
      Demand(driver_->lastBuffer == (writes ? BytesOf(number) : group_->CompiledBuffer()),
             "a request for a whole group goes out with its own bytes, or the group's",
             [&] { return "kind " + std::to_string(request.kind) + " number " + std::to_string(number); });
      return;
    }
    const bool single = request.kind == 6 || request.kind == 7;
    const double address = single ? QueuedItem::Address : static_cast<double>(number) * 10;
    Demand(driver_->lastAddresses == SafeArray<double>{address}, "a request goes out with its own addresses");
    Demand(driver_->lastDimensions == (single ? item_->DimensionArray() : SafeArray<std::int16_t>{1}),
           "a request goes out with its own dimensions");
    if (writes)
      Demand(driver_->lastValues == SafeArray<Variant>{ValueOf(number)},
             "a request goes out with its own values", std::to_string(number));
  }

  // What the request of this number writes.
  static Variant ValueOf(std::int32_t number) { return 1000000 + number; }
  static SafeArray<std::uint8_t> BytesOf(std::int32_t number) {
    return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8), 99};
  }

  void DemandRecord(const QueueModel::Request& request) const {
    const DataRequest& record = *RecordOf(request);
    Demand(record.TransactionId() == request.id && record.RequestType() == request.kind,
           "a record keeps id and kind");
    Demand(record.Error() == request.error && record.Errors() == SafeArray<std::int32_t>(request.itemErrors),
           "a record has the errors of its completion", std::to_string(request.id));
    if (request.values != 0)
      Demand(record.DATAValues() == SafeArray<Variant>{static_cast<std::int32_t>(request.values)},
             "a record has the values of its completion", std::to_string(request.id));
    if (request.buffer != 0)
      Demand(record.Buffer() == SafeArray<std::uint8_t>{static_cast<std::uint8_t>(request.buffer)},
             "a record has the bytes of its completion", std::to_string(request.id));
  }

  void DemandEvent(const QueueModel::Outcome& expected) const {
    if (expected.event == QueueModel::Event::None) {
      Demand(events_->list.empty(), "no event comes when none is due");
      return;
    }
    Demand(events_->list.size() == 1 && events_->list.front().event == expected.event &&
               events_->list.front().record == RecordOf(*expected.request),
           "the event of a request's kind comes, once, with its record", std::to_string(expected.request->id));
    DemandRecord(*expected.request);
  }

  InputReader& input_;
  SimulatedPlatform platform_;
  QueueModel model_;
  std::shared_ptr<testing::ScriptedDriver> driver_ = std::make_shared<testing::ScriptedDriver>();
  std::shared_ptr<QueuedGroup> group_ = std::make_shared<QueuedGroup>();
  std::shared_ptr<QueuedItem> item_ = std::make_shared<QueuedItem>();
  std::shared_ptr<DeliveredEvents> events_ = std::make_shared<DeliveredEvents>();
  std::shared_ptr<DataRequests> spooler_ = DataRequests::Create(platform_);
  modMonoSpooler& timer_ = platform_.ModuleState<modMonoSpooler>();
  std::vector<std::shared_ptr<DataRequest>> records_;  // by their number in the model
  std::vector<std::string> called_;
  std::vector<Completion> inside_;
  std::int32_t lastId_ = 0;
  std::int64_t answers_ = 0;
  bool refuses_ = false;
};

}  // namespace

void Requests(InputReader& input) {
  const std::int64_t alive = AutomationObject::LiveCount();
  {
    LockStep lockStep(input);
    for (int step = 0; step < MostRequestSteps && !input.AtEnd(); ++step)
      lockStep.Step();
  }
  Demand(AutomationObject::LiveCount() == alive, "nothing is left alive",
         [&] { return std::to_string(AutomationObject::LiveCount() - alive) + " objects"; });
}

}  // namespace orvo::fuzz
