// An open server on a line that can be cut: the scripted driver, which reports a cut line as item errors or
// refuses requests while it lasts, or the simulated panel. The groups, items and handles stay the same for
// ever.
//
// "G" has three items, is active and subscribed and refreshed every 500 ms; "H" has the same items and is not
// active. The plant behind the line stands at a level; at level n the items are worth 10n+1, 10n+2 and 10n+3.
#pragma once

#include "faults/FaultyDriver.h"
#include "simulated/SimulatedPanel.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace orvo::testing {

enum class LineKind { Reporting, Refusing, Panel };

class LineScene {
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();

 public:
  // A panel may have a script, which cuts its line by itself; time counts from here.
  LineScene(LineKind kind, bool wholeGroups, std::string panelScript = {});

  void Cut(bool cut);
  void PutLevel(int level);
  int Level() const noexcept { return level_; }
  // Whether the driver has a request that it has not answered.
  bool IsOutstanding() const;
  // Until it has one, two seconds at most.
  void AwaitOutstanding() const;
  bool IsCut() const noexcept { return cut_; }

  KELDataServer& Server() const { return *plant_->server; }
  void Advance(std::chrono::milliseconds duration) const { plant_->Advance(duration); }
  // Until so many milliseconds after the scene was made.
  void AdvanceTo(int milliseconds) const;
  // Until no request is in flight, so that a synchronous call is not turned away.
  void AwaitIdle() const;
  void At(std::chrono::milliseconds delay, std::function<void()> action) const;
  std::string TakeEvents();

  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<KELDataGroup> other;
  std::shared_ptr<KELDataItem> item;

  // "[I2:11,I4:12,R4:13]" at the present level; numbers of a whole group's bytes are doubles.
  std::string Values(bool ofWholeGroup) const;
  // "values errors" or "errors" of a synchronous call.
  std::string SyncRead() const;
  std::string SyncReadAll(KELDataGroup& from) const;
  std::string SyncWrite() const;
  // The events of an asynchronous read of all three items.
  std::string AsyncRead();
  // How often the scripted driver was told to define the group with this GroupId, heard or not.
  std::int64_t DefinitionsSent(std::int32_t groupId) const;

  // What is left over at the end, or nothing.
  std::string End();

 private:
  void Serve(const TakenRequest& request);
  void AnswerWithErrors(const TakenRequest& request);
  void AddItems(KELDataGroup& to) const;

  const LineKind kind_;
  const bool wholeGroups_;
  std::unique_ptr<Plant> plant_ = std::make_unique<Plant>();
  std::unique_ptr<FaultyDriver> driver_;
  std::weak_ptr<SimulatedPanel> panel_;
  int level_ = 1;
  bool cut_ = false;
  int cuts_ = 0;
  int outstanding_ = 0;
};

}  // namespace orvo::testing
