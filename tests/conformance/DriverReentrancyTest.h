// A plant whose driver calls come back into the system.
#pragma once

#include "support/Plant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace orvo::testing {

class DriverReentrancyTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (const std::shared_ptr<ScriptedDevice> device = Driver().LastDevice()) {
      device->compile = nullptr;
      device->extract = nullptr;
    }
    Driver().during.clear();
    Driver().checkVariable = nullptr;
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore);
  }

  KELDataServer& Server() { return *plant->server; }
  ScriptedDriver& Driver() { return *plant->driver; }
  ScriptedDevice& Device() { return *Driver().LastDevice(); }
  void Advance(std::chrono::milliseconds duration) { plant->Advance(duration); }

  // Adds "G" with one word per identifier at 2-byte steps of its image, group id 5, watched, inactive.
  std::shared_ptr<KELDataGroup> AddWords(std::initializer_list<const char*> itemIds) {
    const std::shared_ptr<KELDataGroup> group = Server().KELDataGroups()->Add("G");
    std::int32_t offset = 0;
    for (const char* itemId : itemIds) {
      group->KELDataItems()->Add(itemId)->SetItemGroupBufferOffset(offset);
      offset += 2;
    }
    group->SetCompiledBufferDimension(offset);
    group->SetGroupId(5);
    group->PutSubscribed(true);
    plant->Watch(*group);
    return group;
  }

  // How many calls of the operation the driver has taken.
  std::ptrdiff_t Calls(std::string_view operation) {
    return std::count_if(Driver().log.begin(), Driver().log.end(), [&](const std::string& line) {
      return line.starts_with(std::string(operation) + "(");
    });
  }

  const std::int64_t liveBefore = AutomationObject::LiveCount();
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
};

}  // namespace orvo::testing
