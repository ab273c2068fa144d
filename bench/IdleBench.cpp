// What waiting costs: the share of one core over some seconds of real time on the real platform.

#include "Measure.h"
#include "Plant.h"
#include "platform/portable/PortablePlatform.h"

#include <chrono>

namespace orvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds Span{4000};
constexpr std::size_t Groups = 20;
constexpr std::size_t ItemsPerGroup = 500;

double ProcessSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The share of a core, in percent, that `run` takes while it lasts.
template <class Run>
double ShareOf(Run&& run) {
  const Clock::time_point start = Clock::now();
  const double used = ProcessSeconds();
  run();
  const std::chrono::duration<double> lasted = Clock::now() - start;
  return 100.0 * (ProcessSeconds() - used) / lasted.count();
}

struct OpenServer {
  explicit OpenServer(bool active = false) {
    files.PutFile("bench.ini", DriverFile(BenchDriver::ProgId));
    drivers.Register(BenchDriver::ProgId, [&](DriverHost host) {
      driver = std::make_shared<BenchDriver>(host);
      driver->Prepare(Groups * ItemsPerGroup, ItemsPerGroup, false, false);
      return driver;
    });
    server = KELDataServer::Create({platform, files, drivers});
    server->SetDriverConfigurationFile("bench.ini");
    server->PutDeviceType(2);
    for (std::size_t k = 0; k < Groups; ++k) {
      groups.push_back(server->KELDataGroups()->Add());
      for (std::size_t i = 0; i < ItemsPerGroup; ++i)
        groups.back()->Items().Add(Identifier(i, k * ItemsPerGroup + i));
      groups.back()->PutUpdateRate(2500);
      groups.back()->PutSubscribed(active);
      groups.back()->PutActive(active);
    }
    server->OpenCommunication();
  }
  OpenServer(const OpenServer&) = delete;
  OpenServer& operator=(const OpenServer&) = delete;
  ~OpenServer() { server->CloseCommunication(); }

  PortablePlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  std::shared_ptr<BenchDriver> driver;
  std::shared_ptr<KELDataServer> server;
  std::vector<std::shared_ptr<KELDataGroup>> groups;
};

// Communication is open, no group is active, nothing is asked for.
void IdleServer(benchmark::State& state) {
  OpenServer open;
  for (auto _ : state)
    state.counters["figure"] = ShareOf([&] { open.platform.RunFor(Span); });
}

// Every group is refreshed every 2.5 seconds, and nothing changes: eight of the ten requests that pass in a
// second.
void RefreshingServer(benchmark::State& state) {
  OpenServer open(true);
  open.platform.RunFor(std::chrono::milliseconds(3000));
  const std::uint64_t before = open.driver->Reads();
  for (auto _ : state)
    state.counters["figure"] = ShareOf([&] { open.platform.RunFor(Span); });
  if (open.driver->Reads() < before + Groups) state.SkipWithError("not every group was refreshed");
}

// A synchronous read whose answer takes its time.
void WaitingCall(benchmark::State& state) {
  OpenServer open;
  open.driver->PutDelay(Span);
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  for (auto _ : state)
    state.counters["figure"] = ShareOf([&] { open.groups.front()->SyncRead({1}, values, errors); });
  if (errors.At(0) != 0) state.SkipWithError("the read failed");
}

// The timer of a spooler without a server: what the waiting itself costs.
void PlainWaiting(benchmark::State& state) {
  PortablePlatform platform;
  std::int64_t ticks = 0;
  platform.SetTimer(std::chrono::milliseconds(50), [&ticks](std::int32_t) { ++ticks; });
  for (auto _ : state)
    state.counters["figure"] = ShareOf([&] { platform.RunFor(Span); });
  benchmark::DoNotOptimize(ticks);
}

BENCHMARK(IdleServer)->Arg(10000)->Iterations(1)->UseRealTime();
BENCHMARK(RefreshingServer)->Arg(10000)->Iterations(1)->UseRealTime();
BENCHMARK(WaitingCall)->Arg(10000)->Iterations(1)->UseRealTime();
BENCHMARK(PlainWaiting)->Arg(10000)->Iterations(1)->UseRealTime();

}  // namespace

}  // namespace orvo::bench
