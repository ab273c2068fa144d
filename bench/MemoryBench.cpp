// Bytes per item, as the allocator counts them: with its own overhead, and blocks that it took from the system
// as a whole. What the bench driver holds does not count.

#include "Measure.h"
#include "Plant.h"

#include <malloc.h>

namespace orvo::bench {

namespace {

double BytesInUse() {
  malloc_trim(0);
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

// Everything that a server holds for its items after they were added, opened and refreshed, per item.
void MemoryPerItem(benchmark::State& state, bool wholeGroups) {
  const std::size_t items = ItemsOf(state);
  for (auto _ : state) {
    Plant plant(items, wholeGroups);
    plant.driver->PutOwnAnswers(true);
    const double before = BytesInUse();
    plant.AddGroups();
    plant.AddItems();
    plant.Open();
    plant.Cycle();
    state.counters["figure"] = (BytesInUse() - before) / static_cast<double>(items);
  }
}

// What a plain loop keeps: the row of an item, its latest value, its name and its identifier.
void PlainMemory(benchmark::State& state) {
  struct Row {
    std::string name;
    std::string identifier;
    double value;
    std::int32_t place;
  };
  const std::size_t items = ItemsOf(state);
  for (auto _ : state) {
    const double before = BytesInUse();
    std::vector<Row> rows;
    rows.reserve(items);
    for (std::size_t index = 0; index < items; ++index)
      rows.push_back({"Item_" + std::to_string(index + 1), Identifier(index, index), 0, 0});
    benchmark::DoNotOptimize(rows.data());
    state.counters["figure"] = (BytesInUse() - before) / static_cast<double>(items);
  }
}

BENCHMARK_CAPTURE(MemoryPerItem, items, false)->Apply(Sizes)->Iterations(1);
BENCHMARK_CAPTURE(MemoryPerItem, group, true)->Apply(Sizes)->Iterations(1);
BENCHMARK(PlainMemory)->Apply(Sizes)->Iterations(1);

}  // namespace

}  // namespace orvo::bench
