// The run of a simulated plant: time, servers that come and go, and what is checked after each step.
#include "simulation/PlantSimulation.h"

#include "errors/AutomationError.h"
#include "spooler/modMonoSpooler.h"

#include <algorithm>
#include <numeric>

namespace orvo::testing {

using namespace std::chrono_literals;

namespace {

constexpr int Cells = 60;
constexpr std::int32_t FirstCell = 1024;
constexpr std::int32_t CellDistance = 32;
constexpr std::int32_t FirstRawCell = 32768;
constexpr std::int32_t RawCellDistance = 256;
constexpr std::int32_t GroupCapacity = 12;
constexpr int MostSettlingTicks = 12'000;  // for a full queue and a panel that takes its time
constexpr auto LongestStall = 45s;         // a request that is in flight for so long is never answered

}  // namespace

PlantSimulation::PlantSimulation(const PlantRun& run)
    : run_(run),
      flavour_(run.seed % 4 == 2   ? Flavour::WholeGroups
               : run.seed % 4 == 3 ? Flavour::Noisy
                                   : Flavour::Items),
      liveBefore_(AutomationObject::LiveCount()),
      dice_(run.seed) {
  log_.PutEcho(run.echo);
  oracle_ = std::make_unique<PlantOracle>(
      platform_, log_, result_.totals,
      flavour_ == Flavour::Noisy ? PlantOracle::Answers::Loose : PlantOracle::Answers::Exact);
  for (int k = 0; k < Cells && !TransfersWholeGroups(); ++k) {
    PlantCell cell;
    cell.kind = flavour_ == Flavour::Noisy ? CellKind::Word : static_cast<CellKind>(dice_.Below(7));
    cell.address = FirstCell + k * CellDistance;
    if (cell.kind == CellKind::Raw) cell.address = FirstRawCell + k * RawCellDistance;
    if (cell.kind == CellKind::Bit) cell.detail = dice_.Below(16);
    if (cell.kind == CellKind::Byte) cell.address += dice_.Below(2);
    if (cell.kind == CellKind::Text || cell.kind == CellKind::Raw) cell.detail = 2 * dice_.Between(1, 12);
    cells_.push_back(cell);
  }
  options_.completionDelay =
      std::chrono::milliseconds(dice_.Chance(700) ? dice_.Between(10, 45) : dice_.Between(51, 240));
  // An answer and a tick that come due together would only ever come in one order.
  if (options_.completionDelay.count() % 50 == 0) options_.completionDelay += 7ms;
  options_.groupCapacity = GroupCapacity;
  options_.groupTransfer = TransfersWholeGroups();
  files_.PutFile("drivers.ini",
                 "[Drivers]\nDataCommunication=Observed.Panel\nNetworkType=0\n1=PanelA\n2=PanelB\n");
  drivers_.Register("Observed.Panel", [this](DriverHost host) {
    panel_ = std::make_shared<ObservedPanel>(host, options_, *oracle_);
    return panel_;
  });
}

PlantSimulation::~PlantSimulation() {
  groups_.clear();
  server_.reset();
  panel_.reset();
  oracle_->ServerEnded();
}

PlantResult PlantSimulation::Run() {
  StartServer();
  const int groups = dice_.Between(2, 5);
  for (int k = 0; k < groups; ++k)
    AddGroup();
  Open();
  while (platform_.Time().Now() < run_.length && !oracle_->HasFailed())
    Step();
  if (!oracle_->HasFailed()) Settle();
  if (oracle_->HasFailed()) {
    result_.failure = oracle_->Failure();
    result_.tail = log_.Tail();
  }
  result_.hash = log_.Hash();
  result_.steps = log_.Steps();
  return result_;
}

void PlantSimulation::Step() {
  static const std::vector<Action> open = {
      {60, &PlantSimulation::SyncRead},      {40, &PlantSimulation::SyncReadAll},
      {50, &PlantSimulation::SyncWrite},     {30, &PlantSimulation::SyncWriteAll},
      {50, &PlantSimulation::ReadItem},      {40, &PlantSimulation::WriteItem},
      {120, &PlantSimulation::AsyncRead},    {60, &PlantSimulation::AsyncReadAll},
      {100, &PlantSimulation::AsyncWrite},   {50, &PlantSimulation::AsyncWriteAll},
      {70, &PlantSimulation::Cancel},        {40, &PlantSimulation::Subscribe},
      {30, &PlantSimulation::Activate},      {30, &PlantSimulation::ChangeRate},
      {30, &PlantSimulation::Connect},       {60, &PlantSimulation::Inspect},
      {20, &PlantSimulation::WrongCall},     {40, &PlantSimulation::Fault},
      {30, &PlantSimulation::CutOrMendLink}, {30, &PlantSimulation::ItemFault},
      {8, &PlantSimulation::RestartPanel},   {10, &PlantSimulation::LateTick},
      {8, &PlantSimulation::Close},          {8, &PlantSimulation::CloseWhileBusy},
      {1, &PlantSimulation::RestartServer},  {2, &PlantSimulation::Burst},
  };
  static const std::vector<Action> closed = {
      {30, &PlantSimulation::AddGroup},     {10, &PlantSimulation::RemoveGroup},
      {40, &PlantSimulation::AddItems},     {40, &PlantSimulation::RemoveItem},
      {30, &PlantSimulation::Save},         {15, &PlantSimulation::Load},
      {20, &PlantSimulation::Subscribe},    {20, &PlantSimulation::Activate},
      {20, &PlantSimulation::ChangeRate},   {10, &PlantSimulation::Connect},
      {20, &PlantSimulation::Inspect},      {20, &PlantSimulation::WrongCall},
      {10, &PlantSimulation::LateTick},     {10, &PlantSimulation::RestartPanel},
      {2, &PlantSimulation::RestartServer}, {120, &PlantSimulation::Open},
  };
  PassTime();
  if (run_.canary && platform_.Time().Now() > run_.length / 2)
    for (const GroupPointer& group : groups_)
      group->core->PutSubscribed(!group->subscribed);
  MoveMemory(false);
  Act(IsOpen() ? open : closed);
  RestartWhenStuck();
  CheckBounds();
}

void PlantSimulation::Act(const std::vector<Action>& actions) {
  const int total = std::accumulate(actions.begin(), actions.end(), 0,
                                    [](int sum, const Action& action) { return sum + action.weight; });
  int dice = dice_.Below(total);
  for (const Action& action : actions) {
    dice -= action.weight;
    if (dice >= 0) continue;
    ++result_.actions;
    (this->*action.act)();
    return;
  }
}

void PlantSimulation::PassTime() {
  SimulatedPlatform& time = platform_.Time();
  if (flavour_ != Flavour::Noisy && dice_.Chance(20)) {
    time.Jump(std::chrono::milliseconds(dice_.Between(20, 6000)));
    time.Advance(0ms);
    return;
  }
  // Bursts of clients, and rests between them.
  time.Advance(std::chrono::milliseconds(dice_.Chance(300) ? dice_.Below(40) : dice_.Below(9000)));
  if (IsOpen())
    oracle_->Require(time.Now() - oracle_->LastSpoolerTick() < 100ms, "the spooler's timer has stopped");
}

void PlantSimulation::StartServer() {
  ++result_.servers;
  server_ = KELDataServer::Create({platform_, files_, drivers_});
  server_->SetDriverConfigurationFile("drivers.ini");
  server_->PutDeviceType(dice_.Between(1, 2));
  oracle_->ServerStarted(*panel_, &groups_);
  linkCut_ = false;
  MoveMemory(true);
}

void PlantSimulation::EndServer() {
  groups_.clear();
  server_.reset();
  panel_.reset();
  oracle_->ServerEnded();
  removedObjects_ = 0;
  platform_.Time().Advance(0ms);  // an answer that is on its way holds the panel
  oracle_->Require(AutomationObject::LiveCount() == liveBefore_, "objects outlive the server");
  oracle_->Require(platform_.Time().TimersAlive() == 0, "timers outlive the server");
}

void PlantSimulation::RestartServer() {
  log_.Note(platform_.Time().Now(), "server restarts");
  if (dice_.Chance(500) && IsOpen()) Close();
  EndServer();
  StartServer();
  if (saved_ && dice_.Chance(600))
    Load();
  else
    for (int k = dice_.Between(2, 5); k > 0; --k)
      AddGroup();
  Open();
}

// A driver that never answers stops the server for good; whoever runs it starts it anew.
void PlantSimulation::RestartWhenStuck() {
  const QueueModel& queue = oracle_->Queue();
  const std::int64_t number = queue.IsBusy() ? queue.Current()->number : 0;
  const auto now = platform_.Time().Now();
  if (number == 0 || number != stuckNumber_ || !IsOpen()) {
    stuckNumber_ = number;
    stuckSince_ = now;
  } else if (now - stuckSince_ > LongestStall) {
    stuckNumber_ = 0;
    RestartServer();
  }
}

// No faults any more: all that is under way comes to its end.
void PlantSimulation::Settle() {
  settling_ = true;
  Panel().Faults().RemoveIf([](const PanelFault&) { return true; });
  Panel().CutLink(false);
  if (!IsOpen()) Open();
  for (const GroupPointer& group : groups_)
    if (group->active) SetActive(*group, false);
  const QueueModel& queue = oracle_->Queue();
  for (int pass = 0; pass < MostSettlingTicks && (queue.IsBusy() || queue.Waiting() + queue.Finished() > 0);
       ++pass) {
    platform_.Time().Advance(50ms);
    RestartWhenStuck();
    if (oracle_->HasFailed()) return;
    for (const GroupPointer& group : groups_)
      if (group->active) SetActive(*group, false);
  }
  oracle_->Require(!queue.IsBusy() && queue.Waiting() + queue.Finished() == 0,
                   "requests do not come to an end");
  EndServer();
  CheckEndings();
}

void PlantSimulation::CheckBounds() {
  const QueueModel& queue = oracle_->Queue();
  if (server_)
    oracle_->Require(server_->Spooler()->IsBusy() == queue.IsBusy(),
                     "the spooler and its model differ in whether a request is in flight");
  std::int64_t most = 3 + removedObjects_;  // server, groups collection, spooler
  for (const GroupPointer& group : groups_)
    most += 2 + static_cast<std::int64_t>(group->items.size());
  most += static_cast<std::int64_t>(queue.Waiting() + queue.Finished()) + (queue.Current() != nullptr ? 1 : 0);
  oracle_->Require(AutomationObject::LiveCount() - liveBefore_ <= most,
                   "more objects live than there is use for");
}

void PlantSimulation::CheckEndings() {
  const PlantTotals& totals = result_.totals;
  for (std::size_t kind = 0; kind < totals.made.size(); ++kind) {
    const std::uint64_t ended =
        totals.delivered[kind] + totals.notSent[kind] + totals.cancelled[kind] + totals.abandoned[kind];
    oracle_->Require(totals.made[kind] == ended, "requests were lost");
  }
  oracle_->Require(totals.eventsExpected == totals.eventsTold, "events were lost");
}

}  // namespace orvo::testing
