// A server with groups and items on the bench driver, in virtual time.
#pragma once

#include "BenchDriver.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace orvo::bench {

// Counts what a group's DataChange events deliver.
class CountingSink final : public KELDataGroupEvents {
 public:
  void DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) override {
    handles += DataHandles.Size();
    values += USERValues.Size();
  }
  void AsyncReadComplete(std::int32_t, const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>&,
                         const SafeArray<std::int32_t>&) override {
    completions += DataHandles.Size();
  }

  std::uint64_t handles = 0;
  std::uint64_t values = 0;
  std::uint64_t completions = 0;
};

class Plant {
 public:
  static constexpr std::size_t MostPerGroup = 30000;

  // The server with its driver; no group yet.
  explicit Plant(std::size_t items, bool wholeGroups = false, bool changing = false);
  Plant(const Plant&) = delete;
  Plant& operator=(const Plant&) = delete;
  ~Plant();

  std::size_t GroupCount() const noexcept { return (items_ + perGroup_ - 1) / perGroup_; }
  std::size_t PerGroup() const noexcept { return perGroup_; }
  // Adds groups without items; items by their identifiers.
  void AddGroups();
  void AddItems();
  // Opens communication; every group is refreshed once in a cycle and delivers to `sink`.
  void Open();
  // One refresh of every group, from its tick to its delivery. Error 5 unless every group was read once.
  void Cycle();

  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  std::shared_ptr<BenchDriver> driver;
  std::shared_ptr<KELDataServer> server;
  std::vector<std::shared_ptr<KELDataGroup>> groups;
  std::shared_ptr<CountingSink> sink = std::make_shared<CountingSink>();

 private:
  void PlaceItemsInBuffer(KELDataGroup& group);

  const std::size_t items_;
  const std::size_t perGroup_;
  const bool wholeGroups_;
};

// The driver configuration file for a driver.
std::string DriverFile(const char* progId);

}  // namespace orvo::bench
