// A configured plant (status 2) whose groups have events and driver calls on one timeline, and a count of live
// objects that must come back to where it was.
#pragma once

#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace orvo::testing {

class GroupFixture : public ::testing::Test {
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();  // counted before the plant is made

 protected:
  GroupFixture() {
    plant->Configure();
    plant->driver->log.clear();
  }
  void TearDown() override {
    whenRaised.clear();
    plant.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore_);
  }

  KELDataServer& Server() const { return *plant->server; }
  KELDataGroups& Groups() const { return *plant->server->KELDataGroups(); }
  ScriptedDriver& Driver() const { return *plant->driver; }
  SimulatedPlatform& Platform() const { return plant->platform; }
  void Advance(std::chrono::milliseconds duration) { plant->Advance(duration); }

  // A subscribed group with one item per identifier. Its events stand on the timeline as
  // "600 A.DataChange [1] [I2:5]".
  std::shared_ptr<KELDataGroup> Add(const std::string& name, std::int32_t groupId = 0,
                                    std::initializer_list<const char*> itemIds = {},
                                    std::int32_t updateRate = 0) {
    const std::shared_ptr<KELDataGroup> group = Groups().Add(Variant(name));
    for (const char* itemId : itemIds)
      group->KELDataItems()->Add(itemId);
    group->SetGroupId(groupId);
    group->PutUpdateRate(updateRate);
    group->PutSubscribed(true);
    const auto sink = plant->Watch(*group, name + ".");
    for (const char* event : {"DataChange", "AsyncReadComplete", "AsyncReadAllComplete", "AsyncWriteComplete",
                              "AsyncCancelComplete"})
      sink->handlers[event] = [this, key = name + "." + event] {
        timeline.push_back(Stamp() + plant->events.back());
        if (const auto handler = whenRaised.find(key); handler != whenRaised.end()) {
          const std::function<void()> held = handler->second;
          held();
        }
      };
    return group;
  }

  // From now on the driver's calls stand on the timeline as "550 ReadItems(addresses=[1],dimensions=[1])".
  // Hooks that were set before still run, after the line was written.
  void KeepTimeline() {
    for (const char* operation : {"ReadItems", "WriteItems", "ReadGroup", "SetGroupDefinition",
                                  "OpenCommunication", "CloseCommunication"}) {
      std::function<void()>& hook = Driver().during[operation];
      hook = [this, inner = hook] {
        timeline.push_back(Stamp() + Driver().log.back());
        if (inner) inner();
      };
    }
  }
  // The driver answers each read of a whole group with this buffer and error.
  void AnswerGroups(std::initializer_list<std::uint8_t> buffer, std::int32_t error = 0) {
    Driver().during["ReadGroup"] = [this, answer = SafeArray<std::uint8_t>(buffer), error] {
      Platform().Post([this, answer, error] { Driver().Sink().AsyncReadGroupComplete(answer, error); });
    };
  }
  // What the timeline holds, which is empty then.
  Log Taken() { return std::exchange(timeline, {}); }
  std::string Stamp() const { return std::to_string(Platform().Now().count()) + " "; }

  // "A=1,B=2": names and handles in the order of the enumeration.
  std::string GroupsText() const {
    std::string text;
    for (const auto& group : Groups().NewEnum())
      text += (text.empty() ? "" : ",") + group->GroupName() + "=" + std::to_string(group->Handle());
    return text;
  }

  Log timeline;
  std::map<std::string, std::function<void()>>
      whenRaised;  // by "A.DataChange"; runs after the line was written
  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
};

}  // namespace orvo::testing
