// A configured plant with one group "G" (handle 1), and a count of live objects that must come back to where it
// was.
#pragma once

#include "errors/modIDataErrors.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {

// "Item_1=1,Speed=2": names and handles in the order of the enumeration.
inline std::string ItemsText(KELDataItems& items) {
  std::string text;
  for (const auto& item : items.NewEnum())
    text += (text.empty() ? "" : ",") + item->ItemName() + "=" + std::to_string(item->Handle());
  return text;
}

class ItemFixture : public ::testing::Test {
 protected:
  ItemFixture() {
    plant->Configure();
    group = plant->server->KELDataGroups()->Add("G");
    items = group->KELDataItems();
  }
  // Lets go of everything; nothing may be left then.
  void TearDown() override {
    item.reset();
    items.reset();
    group.reset();
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore_);
  }

  ScriptedDriver& Driver() const { return *plant->driver; }
  ScriptedDevice& Device() const { return *plant->driver->LastDevice(); }
  Date Now() const { return plant->platform.LocalNow(); }

  // An item that the device compiles to this type and length, at the address 7.
  std::shared_ptr<KELDataItem> AddItem(const std::string& itemId, std::int32_t type, std::int32_t words) {
    Device().compile = [=](const std::string&, double& address, std::int32_t& wordLength,
                           std::int32_t& itemType) {
      address = 7;
      wordLength = words;
      itemType = type;
      return true;
    };
    const auto added = items->Add(itemId);
    Device().compile = nullptr;
    Device().log.clear();
    return added;
  }

 private:
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();

 protected:
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
  std::shared_ptr<KELDataGroup> group;
  std::shared_ptr<KELDataItems> items;
  std::shared_ptr<KELDataItem> item;
};

}  // namespace orvo::testing
