// From inside every event handler everything that a client can do: no crash, the expected error number, a
// server that works afterwards, and nothing left alive at the end.

#include "conformance/ReentrantScene.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace orvo::testing {
namespace {

// The error number of `action` inside the first `event`; nothing when the event never came.
std::optional<std::int32_t> RunInside(Scene& scene, const EventRow& event, const ActionRow& action) {
  std::optional<std::int32_t> number;
  const auto handler = [&] {
    if (number) return;
    number = -1;  // the event comes again inside the action
    number = ErrorNumberOf([&] { action.run(scene); });
  };
  scene.groupSink->handlers[event.name] = handler;
  scene.serverSink->handlers[event.name] = handler;
  // The sinks may be let go inside; their handlers end with this function.
  const std::shared_ptr<GroupEventLog> groupSink = scene.groupSink;
  const std::shared_ptr<ServerEventLog> serverSink = scene.serverSink;
  event.provoke(scene);
  scene.plant->Advance(15s);
  groupSink->handlers.clear();
  serverSink->handlers.clear();
  return number;
}

// Close, open and one synchronous read of a new group.
std::string ReadAfterwards(Plant& plant) {
  plant.server->CloseCommunication();
  plant.server->PutDeviceType(2);
  const std::shared_ptr<KELDataGroup> group = plant.server->KELDataGroups()->Add("Afterwards");
  group->KELDataItems()->Add("WO1");
  plant.server->OpenCommunication();
  plant.Advance(15s);  // whatever the handlers left in the queue
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1}, values, errors);
  return LogText(errors) + " at status " + std::to_string(plant.server->ServerStatus());
}

class InsideEachEvent : public ::testing::TestWithParam<EventRow> {};

TEST_P(InsideEachEvent, EveryActionHasItsDocumentedResultAndDoesNoHarm) {
  const std::int64_t liveBefore = AutomationObject::LiveCount();
  for (const ActionRow& action : Actions()) {
    SCOPED_TRACE(action.name);
    {
      Scene scene;
      const std::optional<std::int32_t> number = RunInside(scene, GetParam(), action);
      ASSERT_TRUE(number.has_value()) << "the event did not come";
      EXPECT_EQ(*number, GetParam().whileOpening ? action.whenOpening : action.whenRunning);
      if (scene.plant->server) {
        EXPECT_EQ(ReadAfterwards(*scene.plant), "[0] at status 3");
      }
    }
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore);
  }
}

INSTANTIATE_TEST_SUITE_P(Conformance, InsideEachEvent, ::testing::ValuesIn(Events()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Reentrancy, TheTableNamesEachActionOnce) {
  std::set<std::string> names;
  for (const ActionRow& action : Actions())
    EXPECT_TRUE(names.insert(action.name).second) << action.name;
  EXPECT_GE(names.size(), 80U);
}

}  // namespace
}  // namespace orvo::testing
