// The refresh of groups, from the timers' ticks to the deliveries.

#include "Measure.h"
#include "PlainLoop.h"
#include "Plant.h"

namespace orvo::bench {

namespace {

// Arguments of a family: how the driver transfers, and whether every value changes in every cycle.
void Refresh(benchmark::State& state, bool wholeGroups, bool changing) {
  const std::size_t items = ItemsOf(state);
  Plant plant(items, wholeGroups, changing);
  plant.AddGroups();
  plant.AddItems();
  plant.Open();
  const std::uint64_t atStart = plant.sink->handles;
  if (atStart < items) {
    state.SkipWithError("the first refresh did not report every item");
    return;
  }
  std::uint64_t cycles = 0;
  for (auto _ : state) {
    plant.driver->NextPhase();
    plant.Cycle();
    ++cycles;
  }
  const std::uint64_t expected = changing ? items * cycles : 0;
  if (plant.sink->handles - atStart != expected || plant.sink->values != plant.sink->handles)
    state.SkipWithError("what was delivered is not what changed");
  ReportPerItem(state);
}

void PlainUnchanged(benchmark::State& state, ByteOrder order) {
  const std::size_t items = ItemsOf(state);
  PlainLoop loop(items, order);
  const Image images[] = {MakeImage(0, items, 0, order), MakeImage(0, items, 0, order)};
  std::size_t changes = loop.CountChanges(images[0]);
  if (changes != items) state.SkipWithError("the first pass did not find every item changed");
  unsigned phase = 0;
  for (auto _ : state) {
    changes = loop.CountChanges(images[phase ^= 1U]);
    benchmark::DoNotOptimize(changes);
    if (changes != 0) state.SkipWithError("nothing changed, but a change was found");
  }
  ReportPerItem(state);
}

void PlainChanging(benchmark::State& state, ByteOrder order) {
  const std::size_t items = ItemsOf(state);
  PlainLoop loop(items, order);
  const Image images[] = {MakeImage(0, items, 0, order), MakeImage(0, items, 1, order)};
  loop.CountChanges(images[0]);
  unsigned phase = 0;
  for (auto _ : state) {
    std::vector<std::int32_t> handles;
    std::vector<PlainLoop::Value> values;
    loop.ListChanges(images[phase ^= 1U], handles, values);
    benchmark::DoNotOptimize(handles.data());
    benchmark::DoNotOptimize(values.data());
    if (values.size() != items) state.SkipWithError("every item changed, but not every change was found");
  }
  ReportPerItem(state);
}

BENCHMARK_CAPTURE(Refresh, items_unchanged, false, false)->Apply(Sizes);
BENCHMARK_CAPTURE(PlainUnchanged, items, ByteOrder::LeastFirst)->Apply(Sizes);
BENCHMARK_CAPTURE(Refresh, group_unchanged, true, false)->Apply(Sizes);
BENCHMARK_CAPTURE(PlainUnchanged, group, ByteOrder::MostFirst)->Apply(Sizes);
BENCHMARK_CAPTURE(Refresh, items_changing, false, true)->Apply(Sizes);
BENCHMARK_CAPTURE(PlainChanging, items, ByteOrder::LeastFirst)->Apply(Sizes);
BENCHMARK_CAPTURE(Refresh, group_changing, true, true)->Apply(Sizes);
BENCHMARK_CAPTURE(PlainChanging, group, ByteOrder::MostFirst)->Apply(Sizes);

}  // namespace

}  // namespace orvo::bench
