// A plant in virtual time, made and run by a seed: a server, a panel in a box whose values move and whose line
// fails, and clients that do whatever clients can do. An oracle judges every step.
//
// The same options give the same run, step by step. Nothing outside of the object is touched.
#pragma once

#include "platform/simulated/MemoryFiles.h"
#include "server/KELDataServer.h"
#include "simulation/Dice.h"
#include "simulation/HookedPlatform.h"
#include "simulation/ObservedPanel.h"
#include "simulation/PlantMirror.h"
#include "simulation/PlantOracle.h"
#include "simulation/StepLog.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo::testing {

struct PlantRun {
  std::uint64_t seed = 1;
  std::chrono::milliseconds length = std::chrono::hours(1);
  std::ostream* echo = nullptr;  // gets each step as a line
  // From half way on groups are subscribed and unsubscribed behind the oracle's back, as a server would do that
  // forgets what it was told: the run must fail.
  bool canary = false;
};

struct PlantResult {
  std::string failure;  // empty: all was as it must be
  std::string tail;     // the latest steps, when it was not
  std::uint64_t hash = 0;
  std::uint64_t steps = 0;
  std::uint64_t actions = 0;  // of clients
  std::uint64_t faults = 0;   // that were injected
  std::uint64_t servers = 0;  // that were made
  PlantTotals totals;
};

class PlantSimulation {
 public:
  explicit PlantSimulation(const PlantRun& run);
  ~PlantSimulation();
  PlantSimulation(const PlantSimulation&) = delete;
  PlantSimulation& operator=(const PlantSimulation&) = delete;

  // Once.
  PlantResult Run();

 private:
  // What the panel and its line do to a plant. The seed chooses.
  enum class Flavour : std::uint8_t {
    Items,        // items one by one, of every kind
    WholeGroups,  // groups as one block
    Noisy,        // items one by one; answers come twice and late
  };
  struct Action {
    int weight;
    void (PlantSimulation::*act)();
  };

  // --- The run (PlantSimulation.cpp).
  void Step();
  void Act(const std::vector<Action>& actions);
  void PassTime();
  void StartServer();
  void EndServer();
  void RestartServer();
  void RestartWhenStuck();
  void Settle();
  void CheckBounds();
  void CheckEndings();
  SimulatedPanel& Panel() const { return *panel_; }
  bool IsOpen() const { return server_->ServerStatus() == 3; }
  bool TransfersWholeGroups() const { return flavour_ == Flavour::WholeGroups; }

  // --- What clients do while communication is open (PlantSimulationClients.cpp).
  void SyncRead();
  void SyncReadAll();
  void SyncWrite();
  void SyncWriteAll();
  void ReadItem();
  void WriteItem();
  void AsyncRead();
  void AsyncReadAll();
  void AsyncWrite();
  void AsyncWriteAll();
  void Cancel();
  void Burst();
  void WrongCall();
  void Inspect();
  void ActInsideEvent();

  using Items = std::vector<ItemPointer>;
  struct Writes {
    Items items;
    SafeArray<std::int32_t> handles;
    SafeArray<Variant> values;
    std::vector<Reading> readings;
    std::string image;
  };
  // A group with items, for a synchronous call or not; null when there is none, or no time for the call.
  GroupPointer AnyGroup();
  GroupPointer GroupToWaitFor();
  Items SomeItems(const MirrorGroup& group);
  SafeArray<std::int32_t> HandlesOf(const Items& items);
  Writes SomeWrites(const MirrorGroup& group, const Items& items);
  void Async(Asked asked, const std::function<void(std::int32_t& id)>& call);
  void TakeSyncRead(const Items& items, const PlantOracle::SyncEnd& end, const SafeArray<Variant>& values,
                    const SafeArray<std::int32_t>& errors, bool all);
  void TakeSyncWrite(const Writes& writes, const PlantOracle::SyncEnd& end,
                     const SafeArray<std::int32_t>& errors);
  void ReadAllOf(const GroupPointer& group);
  void ReadWholeGroup(const GroupPointer& group);
  void WriteWholeGroup(const GroupPointer& group);
  void InspectItem(const MirrorGroup& group, const MirrorItem& item);
  // The number of the error that `call` raises; 0 when it raises none.
  static std::int32_t ErrorOf(const std::function<void()>& call);

  // --- The set-up and what else happens to it (PlantSimulationUpkeep.cpp).
  void Subscribe();
  void Activate();
  void ChangeRate();
  void Connect();
  void Open();
  void Close();
  void AddGroup();
  void RemoveGroup();
  void AddItems();
  void RemoveItem();
  void CloseWhileBusy();
  void Save();
  void Load();
  void Fault();
  void CutOrMendLink();
  void ItemFault();
  void RestartPanel();
  void LateTick();

  void SetActive(MirrorGroup& group, bool active);
  void NoteTimer(MirrorGroup& group);
  void Advise(const GroupPointer& group);
  void AddItem(MirrorGroup& group);
  void RemoveOneItem(MirrorGroup& group);
  PlantCell NewCell(const MirrorGroup& group);
  std::int32_t NewGroupId();
  // One of at least one.
  template <class Elements>
  auto& OneOf(Elements& elements) {
    return elements[static_cast<std::size_t>(dice_.Below(static_cast<std::int32_t>(elements.size())))];
  }
  void MoveMemory(bool all);

  // Constant after construction.
  const PlantRun run_;
  const Flavour flavour_;
  const std::int64_t liveBefore_;

  Dice dice_;
  StepLog log_;
  PlantResult result_;
  HookedPlatform platform_;
  MemoryFiles files_;
  DriverRegistry drivers_;
  std::unique_ptr<PlantOracle> oracle_;
  std::vector<PlantCell> cells_;  // where items lie; of whole groups every place that ever was one
  PanelOptions options_;
  std::shared_ptr<ObservedPanel> panel_;
  std::shared_ptr<KELDataServer> server_;
  std::vector<GroupPointer> groups_;

  std::int32_t names_ = 0;
  std::int32_t groupIds_ = 0;
  std::map<std::int32_t, std::int32_t> imageEnds_;  // by group ids: where the next item of the image lies
  bool linkCut_ = false;
  bool settling_ = false;
  std::deque<std::int32_t> ids_;     // given lately
  std::deque<std::int32_t> timers_;  // that were stopped lately
  std::int64_t stuckNumber_ = 0;
  std::chrono::milliseconds stuckSince_{0};
  std::int64_t removedObjects_ = 0;  // that may live on, in requests and among the definitions

  struct SavedGroup {
    MirrorGroup facts;
    Items items;
  };
  std::optional<std::vector<SavedGroup>> saved_;
};

}  // namespace orvo::testing
