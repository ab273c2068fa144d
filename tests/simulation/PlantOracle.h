// Knows at every moment of a simulated plant what the server must do, and says so when it does something else.
//
// It runs the model of the request queue in lock step with the server: the hooked platform tells whose timer
// ticks, the observed panel which calls come and which answers go. What a request must end in is worked out of
// the panel's own memory at the moment of the answer. The first thing that is wrong is kept as Failure(); after
// it nothing is judged any more.
#pragma once

#include "simulation/HookedPlatform.h"
#include "simulation/ObservedPanel.h"
#include "simulation/PlantMirror.h"
#include "simulation/StepLog.h"
#include "support/QueueModel.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orvo::testing {

enum class GroupEvent : std::uint8_t {
  None,
  DataChange,
  ReadComplete,
  ReadAllComplete,
  WriteComplete,
  WriteAllComplete,
  CancelComplete,
};

// An event as a client got it.
struct ToldEvent {
  GroupEvent event;
  GroupPointer group;
  std::int32_t transactionId;
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
};

// What a client asks for with one request.
struct Asked {
  std::int32_t kind = 0;
  GroupPointer group;
  std::vector<ItemPointer> items;
  std::vector<Reading> written;  // of a write of items
  std::string image;             // of a write of a whole group
};

struct PlantTotals {
  std::array<std::uint64_t, 14> made{};  // by kind
  std::array<std::uint64_t, 14> delivered{};
  std::array<std::uint64_t, 14> notSent{};    // refused by the driver, or the group has no definition
  std::array<std::uint64_t, 14> cancelled{};  // taken out when their turn came
  std::array<std::uint64_t, 14> abandoned{};  // the server ended before
  std::uint64_t eventsExpected = 0;
  std::uint64_t eventsTold = 0;
  std::uint64_t deliveredTwice = 0;
  std::uint64_t strayAnswers = 0;
  std::uint64_t queueFull = 0;
  std::uint64_t syncTimeOuts = 0;
};

// A synchronous call that waits for its request.
struct WaitingCall {
  std::int64_t number = 0;  // 0: it did not get into the queue
  std::int32_t id = 0;
  std::int32_t error = 0;
  bool clockStarted = false;
  float start = 0;
  bool timedOut = false;
  bool otherReleased = false;
  std::optional<QueueModel::Request> own;
};

class PlantOracle final : public PlatformListener, public PanelObserver {
 public:
  // How the panel's answers are read.
  enum class Answers : std::uint8_t {
    Exact,  // each request is answered once at most, with what the memory holds
    Loose,  // answers come twice and late, and may belong to another request
  };

  PlantOracle(HookedPlatform& platform, StepLog& log, PlantTotals& totals, Answers answers);
  ~PlantOracle() override;

  const std::string& Failure() const noexcept { return failure_; }
  bool HasFailed() const noexcept { return !failure_.empty(); }
  void Fail(const std::string& what);
  // Fails with `what` unless `good`.
  void Require(bool good, const char* what) {
    if (!good) Fail(what);
  }
  const QueueModel& Queue() const noexcept { return model_; }

  // --- What clients do, told at the moment when they do it.

  void ServerStarted(SimulatedPanel& panel, std::vector<GroupPointer>* groups);
  // All that is outstanding is over.
  void ServerEnded();
  // The panel is another one now.
  void Opened(std::int32_t spoolerTimer);
  void Closed();
  // A request is about to be queued: its id; nothing when the queue must be full.
  std::optional<std::int32_t> Add(Asked asked);
  // The id was really given, or the queue full.
  void Added(std::optional<std::int32_t> expected, std::int32_t id, std::int32_t errorNumber);
  void Cancelled(std::int32_t id);

  // A synchronous request, around the call; what it must end in.
  struct SyncEnd {
    std::int32_t error = 0;                // of the request as a whole
    std::vector<std::int32_t> itemErrors;  // by position
    std::vector<bool> hasValue;
    bool valuesReplaced = false;     // a read's answer put its values in the place of those that were written
    std::vector<std::string> lying;  // empty: an Empty value
    std::string buffer;
  };
  void SyncBegins(Asked asked);
  SyncEnd SyncEnds();

  void EventTold(const ToldEvent& told);

  // --- PlatformListener.
  void TickBegins(std::int32_t timerId) override;
  void TickEnds(std::int32_t timerId) override;
  void ClockRead(float seconds) override;

  // --- PanelObserver.
  void ItemsCalled(PanelOperation operation, const SafeArray<double>& addresses,
                   const SafeArray<Variant>& values) override;
  void GroupCalled(PanelOperation operation, std::int32_t groupId,
                   const SafeArray<std::uint8_t>& buffer) override;
  void CallTaken() override;
  void CallRefused(std::int32_t number) override;
  void GroupTransferAsked() override;
  void GroupDefined(bool taken) override;
  bool ReadAnswered(const SafeArray<Variant>& values, const SafeArray<std::int32_t>& errors) override;
  bool ReadGroupAnswered(const SafeArray<std::uint8_t>& buffer, std::int32_t error) override;
  bool WriteAnswered(const SafeArray<std::int32_t>& errors) override;
  bool WriteGroupAnswered(std::int32_t error) override;
  void AnswerTaken(bool expected, bool taken) override;

  // The device may have refused a group its definition lately, or have no place for one.
  bool MayLackDefinition() const {
    return refusedDefinitions_ > 0 || definitions_ >= panel_->Options().groupCapacity;
  }
  // The spooler's timer must have ticked at least once in each `Interval` while it runs.
  std::chrono::milliseconds LastSpoolerTick() const noexcept { return lastSpoolerTick_; }

 private:
  // One answer of the panel, as it came.
  struct Answer {
    std::vector<bool> empty;
    std::vector<std::string> bytes;
    std::string buffer;
  };
  struct Request {
    Asked asked;
    int endings = 0;
  };
  // What clients must be told next.
  struct Expected {
    GroupEvent event = GroupEvent::None;
    GroupPointer group;
    std::int32_t transactionId = 0;
    std::vector<std::int32_t> handles;
    std::vector<Reading> values;
    std::vector<std::int32_t> errors;
    std::size_t sinks = 0;
    std::size_t told = 0;
  };
  // A timer's callback that runs now; ticks inside ticks lie on top.
  struct Frame {
    enum class Kind : std::uint8_t { Spooler, Group, Other };
    Kind kind = Kind::Other;
    std::int32_t timer = 0;
    GroupPointer group;
    bool mustRefresh = false;
    bool refreshed = false;
    bool jobDone = false;
    std::optional<QueueModel::Request> sent;
    bool called = false;
    bool definitionRefused = false;
    Expected expected;
  };

  void Note(const char* what, std::int64_t a = 0, std::int64_t b = 0, std::int64_t c = 0);
  void Remember(Asked asked);
  void RememberAnswer();
  Request* Find(const QueueModel::Request& request);
  // The model's tick, at the first sign of the real one's job.
  void DoJob(Frame& frame);
  void Follow(Frame& frame, const QueueModel::Outcome& outcome);
  void Released(const QueueModel::Request& request);
  void RefreshesDropped(const QueueModel::Outcome& outcome);
  void Ended(const QueueModel::Request& request, std::array<std::uint64_t, 14>& where);
  void EndSpoolerFrame(Frame& frame);
  void EndGroupFrame(const Frame& frame);
  // The frame that may call the panel now for what the model sent; null, and a failure, when there is none.
  Frame* Top() { return depth_ == 0 ? nullptr : frames_[depth_ - 1].get(); }
  Frame* SpoolerFrame() { return depth_ != 0 && Top()->kind == Frame::Kind::Spooler ? Top() : nullptr; }
  Frame* CallFrame(const Asked*& asked);
  // The request in flight when its answer can be judged by the panel's memory.
  const Asked* Judged();
  void Refuse();

  // The mirror takes what a finished request brings; what its group must tell of it.
  void Deliver(Expected& expected, const QueueModel::Request& request);
  void DeliverRead(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void DeliverReadAll(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void DeliverWrite(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void DeliverWriteAll(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void DeliverChange(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void DeliverChangeAll(Expected& expected, const QueueModel::Request& request, const Asked& asked);
  void Expect(Expected& expected, GroupEvent event, const GroupPointer& group, std::int32_t id);

  const Answer* AnswerOf(std::int64_t number) const;
  static bool HasValue(const Answer* answer, std::size_t position);
  static std::int32_t ReadError(const QueueModel::Request& request, const Answer* answer, std::size_t position);
  static std::int32_t WriteError(const QueueModel::Request& request, std::size_t position);
  static std::string LyingAt(const Answer& answer, std::size_t position, const MirrorItem& item);
  double Now() const { return platform_.LocalNow().days; }

 public:
  // The item takes a value that came as lying bytes (of an item, or out of a group's image); empty: Empty.
  static void Take(MirrorItem& item, const std::string& lying, bool ofImage);
  static void TakeWritten(MirrorItem& item, const Reading& value, const std::string& image, double stamp);
  // Where the image of a group begins in the panel's memory.
  static std::int32_t ImageStart(std::int32_t groupId) { return groupId % 128 * 256; }
  static std::string LyingIn(const std::string& image, const MirrorItem& item);

 private:
  HookedPlatform& platform_;
  StepLog& log_;
  PlantTotals& totals_;
  const Answers reading_;

  QueueModel model_;
  std::string failure_;
  SimulatedPanel* panel_ = nullptr;
  std::vector<GroupPointer>* groups_ = nullptr;
  bool open_ = false;
  std::set<std::int32_t> spoolerTimers_;
  // Used again and again: most ticks have nothing to do.
  std::vector<std::unique_ptr<Frame>> frames_;
  std::size_t depth_ = 0;
  std::map<std::int64_t, Request> requests_;  // by the model's numbers
  std::map<std::int64_t, Answer> answers_;    // by the model's counting of completions
  std::int64_t remembered_ = 0;
  Answer coming_;
  int definitions_ = 0;
  int refusedDefinitions_ = 0;
  std::chrono::milliseconds lastSpoolerTick_{0};

  std::optional<WaitingCall> sync_;
};

}  // namespace orvo::testing
