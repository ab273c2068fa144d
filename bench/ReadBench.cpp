// Synchronous reads through the panel in a box, and one request on its way through the spooler.

#include "Measure.h"
#include "PlainLoop.h"
#include "Plant.h"
#include "simulated/SimulatedPanel.h"

#include <algorithm>
#include <deque>

namespace orvo::bench {

namespace {

// Groups of items on the simulated panel, open. Its memory is smaller than the largest plant: items share
// places.
class PanelPlant {
 public:
  explicit PanelPlant(std::size_t items) {
    files_.PutFile("panel.ini", DriverFile(SimulatedPanel::ProgId));
    PanelOptions options;
    options.completionDelay = std::chrono::milliseconds(0);
    options.maximumGroupWords = 1'000'000;
    options.groupCapacity = 100;
    RegisterSimulatedPanel(drivers_, options, [this](std::shared_ptr<SimulatedPanel> made) { panel_ = made; });
    server_ = KELDataServer::Create({platform_, files_, drivers_});
    server_->SetDriverConfigurationFile("panel.ini");
    server_->PutDeviceType(2);
    for (std::size_t index = 0; index < items; ++index) {
      if (index % Plant::MostPerGroup == 0) groups_.push_back(server_->KELDataGroups()->Add());
      const auto item = groups_.back()->Items().Add(Identifier(index, 2 * index % 64000));
      item->PutSigned(KindOfItem(index).isSigned);
      if (KindOfItem(index).bcd) item->PutBCD(true);
    }
    for (std::int32_t address = 0; address < PanelMemory::Size; ++address)
      panel_->Memory().PutByte(address, static_cast<std::uint8_t>(65 + address % 23));
    for (const auto& group : groups_)
      handles_.push_back(group->Items().AllHandles());
    server_->OpenCommunication();
  }
  PanelPlant(const PanelPlant&) = delete;
  PanelPlant& operator=(const PanelPlant&) = delete;
  ~PanelPlant() { server_->CloseCommunication(); }

  // Reads every item once; returns how many came without error.
  std::size_t ReadAll() {
    std::size_t good = 0;
    for (std::size_t k = 0; k < groups_.size(); ++k) {
      SafeArray<Variant> values;
      SafeArray<std::int32_t> errors;
      groups_[k]->SyncRead(handles_[k], values, errors);
      benchmark::DoNotOptimize(values.View().data());
      good += static_cast<std::size_t>(std::count(errors.View().begin(), errors.View().end(), 0));
    }
    return good;
  }

 private:
  SimulatedPlatform platform_;
  MemoryFiles files_;
  DriverRegistry drivers_;
  std::shared_ptr<SimulatedPanel> panel_;
  std::shared_ptr<KELDataServer> server_;
  std::vector<std::shared_ptr<KELDataGroup>> groups_;
  std::vector<SafeArray<std::int32_t>> handles_;
};

void SyncRead(benchmark::State& state) {
  PanelPlant plant(ItemsOf(state));
  for (auto _ : state)
    if (plant.ReadAll() != ItemsOf(state)) state.SkipWithError("not every item was read");
  ReportPerItem(state);
}

void PlainRead(benchmark::State& state) {
  const PlainLoop loop(ItemsOf(state), ByteOrder::LeastFirst);
  const Image image = MakeImage(0, ItemsOf(state), 0, ByteOrder::LeastFirst);
  for (auto _ : state) {
    std::vector<PlainLoop::Value> values;
    loop.Read(image, values);
    benchmark::DoNotOptimize(values.data());
  }
  ReportPerItem(state);
}

// An asynchronous read of one item, from the client's call to its event; the ticks of the spooler's timer are
// called for, not waited for.
void OneRequest(benchmark::State& state) {
  Plant plant(1);
  plant.AddGroups();
  plant.AddItems();
  const std::shared_ptr<KELDataGroup> group = plant.groups.front();
  group->Events().Advise(plant.sink);
  group->PutSubscribed(true);
  plant.server->OpenCommunication();
  const std::shared_ptr<DataRequests> spooler = plant.server->Spooler();
  const SafeArray<std::int32_t> handles{1};
  std::uint64_t sent = 0;
  for (auto _ : state) {
    std::int32_t transaction = 0;
    group->AsyncRead(handles, transaction);
    spooler->ProcessNext();
    plant.platform.PumpOnce();
    spooler->DeliverNext();
    ++sent;
  }
  if (plant.sink->completions != sent) state.SkipWithError("not every request came to its end");
  ReportPerItem(state);
}

// A record through two plain queues, its bytes decoded.
void PlainRequest(benchmark::State& state) {
  struct Record {
    std::int32_t handle;
    Image answer;
  };
  PlainLoop loop(1, ByteOrder::LeastFirst);
  const Image image = MakeImage(0, 1, 0, ByteOrder::LeastFirst);
  std::deque<Record> requests;
  std::deque<Record> deliveries;
  for (auto _ : state) {
    requests.push_back({1, {}});
    deliveries.push_back(std::move(requests.front()));
    requests.pop_front();
    deliveries.front().answer.bytes = image.bytes;
    std::size_t changes = loop.CountChanges(deliveries.front().answer);
    deliveries.pop_front();
    benchmark::DoNotOptimize(changes);
  }
  ReportPerItem(state);
}

BENCHMARK(SyncRead)->Apply(Sizes);
BENCHMARK(PlainRead)->Apply(Sizes);
BENCHMARK(OneRequest)->Arg(1);
BENCHMARK(PlainRequest)->Arg(1);

}  // namespace

}  // namespace orvo::bench
