// Adding, finding and removing items. A plant of its own for each pass: its making is not measured.

#include "Measure.h"
#include "Plant.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace orvo::bench {

namespace {

std::vector<std::size_t> Shuffled(std::size_t count) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::shuffle(order.begin(), order.end(), std::mt19937(7));
  return order;
}

std::vector<std::string> Identifiers(std::size_t count) {
  std::vector<std::string> identifiers;
  for (std::size_t index = 0; index < count; ++index)
    identifiers.push_back(Identifier(index, index));
  return identifiers;
}

// The names that the items of a plant get: numbered in each group.
std::string NameOf(const Plant& plant, std::size_t index) {
  return "Item_" + std::to_string(index % plant.PerGroup() + 1);
}

void AddByIdentifier(benchmark::State& state) {
  const std::vector<std::string> identifiers = Identifiers(ItemsOf(state));
  for (auto _ : state) {
    Plant plant(identifiers.size());
    plant.AddGroups();
    TimeByHand(state, [&] {
      for (std::size_t index = 0; index < identifiers.size(); ++index)
        plant.groups[index / plant.PerGroup()]->Items().Add(identifiers[index]);
    });
  }
  ReportPerItem(state);
}

void FindByHandle(benchmark::State& state) {
  Plant plant(ItemsOf(state));
  plant.AddGroups();
  plant.AddItems();
  const std::vector<std::size_t> order = Shuffled(ItemsOf(state));
  for (auto _ : state)
    for (const std::size_t index : order) {
      const auto handle = static_cast<std::int32_t>(index % plant.PerGroup() + 1);
      benchmark::DoNotOptimize(plant.groups[index / plant.PerGroup()]->Items().Item(handle));
    }
  ReportPerItem(state);
}

void FindByName(benchmark::State& state) {
  Plant plant(ItemsOf(state));
  plant.AddGroups();
  plant.AddItems();
  const std::vector<std::size_t> order = Shuffled(ItemsOf(state));
  std::vector<std::string> names;
  for (const std::size_t index : order)
    names.push_back(NameOf(plant, index));
  for (auto _ : state)
    for (std::size_t k = 0; k < order.size(); ++k)
      benchmark::DoNotOptimize(plant.groups[order[k] / plant.PerGroup()]->Items().ItemByName(names[k]));
  ReportPerItem(state);
}

void RemoveAll(benchmark::State& state) {
  for (auto _ : state) {
    Plant plant(ItemsOf(state));
    plant.AddGroups();
    plant.AddItems();
    TimeByHand(state, [&] {
      for (const auto& group : plant.groups)
        group->Items().RemoveAll();
    });
    for (const auto& group : plant.groups)
      if (group->Items().Count() != 0) state.SkipWithError("items are left");
  }
  ReportPerItem(state);
}

// The least that serves the same look-ups: an object per item, a list by number and an index by name.
struct PlainItems {
  struct Item {
    std::string name;
    std::string identifier;
  };
  std::vector<std::unique_ptr<Item>> byHandle;
  std::unordered_map<std::string, Item*> byName;

  void Add(const std::string& identifier) {
    auto item = std::make_unique<Item>(Item{"Item_" + std::to_string(byHandle.size() + 1), identifier});
    byName.emplace(item->name, item.get());
    byHandle.push_back(std::move(item));
  }
  void AddAll(const std::vector<std::string>& identifiers) {
    for (const std::string& identifier : identifiers)
      Add(identifier);
  }
};

void PlainAdd(benchmark::State& state) {
  const std::vector<std::string> identifiers = Identifiers(ItemsOf(state));
  for (auto _ : state) {
    PlainItems items;
    TimeByHand(state, [&] { items.AddAll(identifiers); });
  }
  ReportPerItem(state);
}

void PlainFindByHandle(benchmark::State& state) {
  PlainItems items;
  items.AddAll(Identifiers(ItemsOf(state)));
  const std::vector<std::size_t> order = Shuffled(ItemsOf(state));
  for (auto _ : state)
    for (const std::size_t index : order)
      benchmark::DoNotOptimize(items.byHandle[index]->identifier.data());
  ReportPerItem(state);
}

void PlainFindByName(benchmark::State& state) {
  PlainItems items;
  items.AddAll(Identifiers(ItemsOf(state)));
  std::vector<std::string> names;
  for (const std::size_t index : Shuffled(ItemsOf(state)))
    names.push_back("Item_" + std::to_string(index + 1));
  for (auto _ : state)
    for (const std::string& name : names)
      benchmark::DoNotOptimize(items.byName.find(name)->second);
  ReportPerItem(state);
}

void PlainRemoveAll(benchmark::State& state) {
  for (auto _ : state) {
    PlainItems items;
    items.AddAll(Identifiers(ItemsOf(state)));
    TimeByHand(state, [&] {
      items.byName.clear();
      items.byHandle.clear();
    });
  }
  ReportPerItem(state);
}

BENCHMARK(AddByIdentifier)->Apply(Sizes)->UseManualTime();
BENCHMARK(PlainAdd)->Apply(Sizes)->UseManualTime();
BENCHMARK(FindByHandle)->Apply(Sizes);
BENCHMARK(PlainFindByHandle)->Apply(Sizes);
BENCHMARK(FindByName)->Apply(Sizes);
BENCHMARK(PlainFindByName)->Apply(Sizes);
BENCHMARK(RemoveAll)->Apply(Sizes)->UseManualTime();
BENCHMARK(PlainRemoveAll)->Apply(Sizes)->UseManualTime();

}  // namespace

}  // namespace orvo::bench
