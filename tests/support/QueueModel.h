// What the spooler is to do with its requests: a small model to compare the real one with.
//
// It is fed with facts (a request is added or cancelled, a tick comes, the driver takes or refuses a call, a
// completion arrives) and tells what must follow: the request that goes to the driver, the event that is raised
// and with which contents, the waiting caller that is released, the refresh that is dropped. A driver may do
// what it likes: answer never, twice, late, or with the answer of another kind of request.
//
// No clock, no arrays of values, no locks: a completion or cancel from inside an event's handler, where the
// real spooler waits for its lock, is outside of the model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace orvo::testing {

class QueueModel {
 public:
  static constexpr std::int32_t NotSent = 99;
  static constexpr std::int32_t LastId = 999;

  struct Request {
    std::int32_t id = 0;                   // 1..999
    std::int32_t kind = 0;                 // a ReqType, or what the spooler does not know
    std::int64_t number = 0;               // 1, 2, ... in the order of Add; tells two records with one id apart
    std::int32_t error = 0;                // overall
    std::vector<std::int32_t> itemErrors;  // as it was added: zeros
    std::int64_t answer = 0;               // the latest completion that it got, counted from 1; 0: none
    std::int64_t values = 0;               // the latest one that brought values,
    std::int64_t buffer = 0;               // and a group's buffer
  };

  enum class Event {
    None,
    ReadRequestComplete,
    ReadRatedRequestComplete,
    WriteRequestComplete,
    CancelRequestComplete
  };

  // What follows from one fact. Requests are copies as of that moment.
  struct Outcome {
    std::optional<Request> sent;  // goes to the driver now: say Accepted or Refused next
    Event event = Event::None;
    std::optional<Request> request;  // what the event, releasesCaller or refreshDropped is about
    // The spooler gives the request of a waiting caller up, or its event tells the server to let the caller go.
    bool releasesCaller = false;
    std::vector<Request> refreshesDropped;  // their groups are told
  };

  // --- Clients.

  // Queues a request whose record has so many item errors. Its id; nothing when the queue is full.
  std::optional<std::int32_t> Add(std::int32_t kind, std::size_t items);
  void Cancel(std::int32_t id);
  // Empties both queues; what was a refresh is dropped.
  Outcome Clear();

  // --- The spooler's timer.

  void Start();
  void Stop() { running_ = false; }
  bool IsRunning() const noexcept { return running_; }
  // A whole tick. What the driver does inside the call that a tick makes is told after it.
  Outcome Tick();
  // The same in two steps, for what happens in between: a tick that comes before the other one has ended does
  // nothing and keeps the phase.
  Outcome TickBegins();
  void TickEnds();
  // The next tick delivers (otherwise it sends).
  bool IsDeliveryNext() const noexcept { return deliveryPhase_; }
  // The two jobs themselves, for spoolers that are driven by hand.
  Outcome ProcessNext();
  Outcome DeliverNext();

  // --- The driver, about the request sent last.

  void Accepted() noexcept {}  // in flight, unless it was answered meanwhile
  // It failed, or the group could not be defined: nothing is in flight.
  Outcome Refused();
  // Completions; false when there is no request that they could belong to: they fail then.
  bool ReadCompleted(const std::vector<std::int32_t>& itemErrors);
  bool WriteCompleted(const std::vector<std::int32_t>& itemErrors);
  bool ReadGroupCompleted(std::int32_t error, std::size_t itemsOfGroup);
  bool WriteGroupCompleted(std::int32_t error);

  // --- What is so now.

  bool IsBusy() const noexcept { return inFlight_; }
  const Request* Current() const noexcept {
    return current_.get();
  }  // the request sent last, also when answered
  std::size_t Waiting() const noexcept { return requests_.size(); }
  std::size_t Finished() const noexcept { return deliveries_.size(); }
  bool IsOutstanding(std::int32_t id) const;
  // The id that the next request gets.
  std::int32_t NextId() const noexcept { return nextId_ > LastId ? 1 : nextId_; }
  bool IsMarkedCancelled(std::int32_t id) const { return cancelled_.count(id) != 0; }
  std::int64_t Answers() const noexcept { return answers_; }

  static bool IsSynchronous(std::int32_t kind) noexcept;
  static bool IsRated(std::int32_t kind) noexcept;
  static bool IsWholeGroup(std::int32_t kind) noexcept;
  static bool IsKnown(std::int32_t kind) noexcept { return kind >= 1 && kind <= 13 && kind != 8; }

 private:
  using Record = std::shared_ptr<Request>;

  bool Finish();

  std::deque<Record> requests_;    // the oldest first
  std::deque<Record> deliveries_;  // the oldest first; the same record may stand there twice
  Record current_;
  bool inFlight_ = false;
  std::int32_t nextId_ = 1;
  std::set<std::int32_t> cancelled_;
  bool running_ = false;
  bool deliveryPhase_ = false;
  bool processing_ = false;
  bool delivering_ = false;
  std::vector<bool> ticks_;  // those under way: whether they do their job
  std::int64_t added_ = 0;
  std::int64_t answers_ = 0;
};

}  // namespace orvo::testing
