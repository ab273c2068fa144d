// A fault scene and a model of the queue side by side, for drivers that answer never, twice, late or at the
// wrong moment: whatever the spooler sends, raises and releases is compared with what the model says, tick by
// tick.
//
// The group G is active with a rate so long that refreshes come only when they are asked for. The spooler ticks
// at multiples of 50 ms after the opening; the model follows 25 ms later; the script acts 30 ms after a tick.
#pragma once

#include "faults/FaultScene.h"
#include "faults/ModelledItems.h"
#include "support/QueueModel.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::testing {

// What the driver does about one request that it was given.
struct AnswerPlan {
  bool inside = false;          // answers within the call
  bool refused = false;         // then fails
  std::vector<int> after = {};  // answers so many ticks after the request was taken
};
inline const AnswerPlan ProperPlan{.after = {0}};

class ModelledScene {
 public:
  ModelledScene();

  // Issues a request of this ReqType (1 to 13, but 8) for G, and compares what the call gives. A synchronous
  // one returns when it is over.
  void Issue(std::int32_t kind);
  // Lets so many ticks pass.
  void Ticks(int count);
  void Close();
  void Open();
  // Answers whatever the model says is in flight.
  void AnswerNow();
  bool IsBusy() const { return model_.IsBusy(); }

  // By number of the request taken, from 0; later ones are answered properly.
  std::vector<AnswerPlan> plans;
  // Everything ends. All that was not as the model says, or nothing.
  std::string End();

 private:
  using Request = QueueModel::Request;
  struct Completion {  // what the k-th completion brought
    std::size_t values = 0;
  };
  struct Due {
    int atTick;
    std::string operation;
    std::size_t items;
  };
  void Take(const TakenRequest& request);
  void Complete(const std::string& operation, std::size_t items, bool tellModel);
  void TellModel(const std::string& operation, std::size_t items, bool accepted);
  void Follow();
  void FollowSent(const std::optional<Request>& sent);
  void FollowEvents(const QueueModel::Outcome& outcome);
  void Align();
  void Wrong(const std::string& what, const std::string& got, const std::string& expected);

  std::string ClientEvent(const QueueModel::Outcome& outcome);
  std::string DataChangeOf(const Request& request);
  std::string DataChangeAllOf(const Request& request);
  void StoreResults(const Request& request);
  std::size_t ValuesBrought(const Request& request) const;
  std::int32_t ErrorAt(const Request& request, std::size_t position, bool read) const;
  std::string ListErrors(const Request& request, std::size_t count, bool read) const;
  std::string ListValues(const Request& request, std::size_t count, bool rawBesideErrors = false) const;
  std::string GroupBytes(const Request& request) const;
  std::string Result(const Request& request, std::int32_t overall) const;
  std::string Call(std::int32_t kind, std::int32_t& id);

  std::unique_ptr<FaultScene> scene_;
  std::shared_ptr<SpoolerEventLog> spooler_;
  Log spoolerLog_;
  QueueModel model_;
  std::vector<TakenRequest> taken_;            // since the model followed last
  std::size_t takenBefore_ = 0;                // by then
  std::vector<std::function<void()>> inside_;  // what the driver did within the call, for the model
  std::vector<Due> due_;
  std::vector<Completion> completions_;
  std::vector<QueueModel::Outcome> releases_;  // since the waiting call began
  ModelledItems items_;
  std::vector<std::int64_t> lastRefresh_;  // by position the completion of the previous refresh; 0: Empty
  bool refreshPending_ = false;
  std::int64_t added_ = 0;  // requests that the model queued
  int tick_ = 0;
  std::chrono::milliseconds opened_{0};
  std::int32_t follower_ = 0;  // timer
  std::string wrong_;
};

}  // namespace orvo::testing
