#include "GroupFixture.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

class GroupsTick : public GroupFixture {
 protected:
  // One line per pass of the message pump: the names of the groups with a refresh outstanding at that moment.
  void WatchPump() {
    Platform().Post([this] {
      std::string pending;
      for (const auto& group : Groups().NewEnum())
        if (group->RefreshPending()) pending += group->GroupName();
      timeline.push_back("pass " + pending);
      WatchPump();
    });
  }
  void Execute(std::int32_t timerId) { Groups().Execute(timerId); }
  // Active while communication is closed, so without a timer.
  std::shared_ptr<KELDataGroup> AddActive(const std::string& name) {
    const auto group = Add(name, 0, {"WO100"}, 1000);
    group->PutActive(true);
    return group;
  }
};

TEST_F(GroupsTick, TheGroupWhoseTimerFiredIsRefreshedBetweenTwoPassesOfThePump) {
  for (const char* name : {"A", "B", "C"})
    AddActive(name);
  Server().OpenCommunication();
  WatchPump();
  Execute(Groups().Item(2)->TimerId());
  EXPECT_EQ(Taken(), (Log{"pass ", "pass ", "pass ", "pass B", "pass B", "pass B"}));
}

TEST_F(GroupsTick, ATickThatBelongsToNoGroupOnlyPumps) {
  for (const char* name : {"A", "B"})
    AddActive(name);
  Server().OpenCommunication();
  WatchPump();
  for (const std::int32_t timerId : {0, 4711, -2}) {
    Execute(timerId);
    EXPECT_EQ(Taken(), (Log{"pass ", "pass ", "pass ", "pass "})) << timerId;
  }
  Driver().log.clear();
  Advance(500ms);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupsTick, TheWalkGoesOnBehindTheFirstMatch) {
  for (const char* name : {"A", "B", "C"})
    AddActive(name);
  Groups().Item(2)->PutActive(false);
  WatchPump();
  Execute(-1);  // what a group without a timer bears
  EXPECT_EQ(Taken(), (Log{"pass ", "pass A", "pass A", "pass A", "pass A", "pass AC"}));
}

TEST_F(GroupsTick, WithoutGroupsNothingIsPumped) {
  WatchPump();
  Execute(1);
  EXPECT_EQ(Taken(), Log{});
}

// What a message does between two groups of the walk A B C, and who is refreshed by it.
TEST_F(GroupsTick, GroupsMayComeAndGoWhileATickIsDispatched) {
  struct Row {
    const char* title;
    std::function<void()> change;
    std::string pending;
  };
  const std::vector<Row> rows{
      {"remove the one whose turn it is", [this] { Groups().Remove(1); }, "ABC"},
      {"remove the next", [this] { Groups().Remove(2); }, "AC"},
      {"remove all", [this] { Groups().RemoveAll(); }, "A"},
      {"add one", [this] { AddActive("D"); }, "ABCD"},
      {"stop the next", [this] { Groups().Item(2)->PutActive(false); }, "AC"},
      {"dispatch another tick", [this] { Execute(-1); }, "ABC"},
      {"let the server go", [this] { plant->server.reset(); }, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    plant = std::make_unique<Plant>();
    plant->Configure();
    std::vector<std::shared_ptr<KELDataGroup>> groups;
    for (const char* name : {"A", "B", "C"})
      groups.push_back(AddActive(name));
    Platform().Post([&] { row.change(); });
    const auto collection = plant->server->KELDataGroups();
    std::int32_t timerId = -1;
    collection->Execute(timerId);
    for (const auto& group : collection->NewEnum())
      if (group->Handle() > 3) groups.push_back(group);
    std::string pending;
    for (const auto& group : groups)
      if (group->RefreshPending()) pending += group->GroupName();
    EXPECT_EQ(pending, row.pending);
  }
}

TEST_F(GroupsTick, TheLastReferenceMayGoInsideATick) {
  AddActive("A");
  AddActive("B");
  KELDataGroups& collection = Groups();
  const std::weak_ptr<AutomationObject> alive = collection.weak_from_this();
  Platform().Post([&] {
    plant->server.reset();
    Platform().Post([&] { timeline.emplace_back(alive.expired() ? "ended too early" : "held for the walk"); });
  });
  std::int32_t timerId = -1;
  collection.Execute(timerId);
  EXPECT_EQ(Taken(), Log{"held for the walk"});
  EXPECT_TRUE(alive.expired());
}

TEST_F(GroupsTick, EachTimerRefreshesItsOwnGroupAtItsOwnRate) {
  Driver().groupCapacity = 4;
  plant->AnswerByItself();
  KeepTimeline();
  const auto a = Add("A", 11, {"WO100", "DW102"}, 200);
  const auto b = Add("B", 12, {"WO104"}, 300);
  const auto idle = Add("Idle", 13, {"WO106"}, 100);
  a->PutActive(true);
  b->PutActive(true);
  plant->Answer = [](double address, std::int16_t dimension) {
    return dimension == 2 ? DoubleWord(70000) : Word(static_cast<std::uint16_t>(address));
  };
  Server().OpenCommunication();
  // At 600 both are due: the pass before A's turn lets B's tick overtake. At 800 A's tick comes, in the pass
  // before the delivery, while its refresh is still outstanding.
  Advance(850ms);
  EXPECT_EQ(Taken(), (Log{
                         "0 OpenCommunication(true)",
                         "0 SetGroupDefinition(11,-1)",
                         "0 SetGroupDefinition(12,-1)",
                         "250 ReadItems(addresses=[1,2],dimensions=[1,2])",
                         "300 A.DataChange [1,2] [I2:1,I4:70000]",
                         "350 ReadItems(addresses=[3],dimensions=[1])",
                         "400 B.DataChange [1] [I2:3]",
                         "450 ReadItems(addresses=[1,2],dimensions=[1,2])",
                         "650 ReadItems(addresses=[3],dimensions=[1])",
                         "750 ReadItems(addresses=[1,2],dimensions=[1,2])",
                     }));
  Server().CloseCommunication();
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  EXPECT_EQ(Taken(), Log{"850 CloseCommunication()"});
  Advance(2000ms);
  EXPECT_EQ(Taken(), Log{});
}

TEST_F(GroupsTick, OpeningStartsTheActiveGroupsInTheOrderOfCreation) {
  KeepTimeline();
  for (const char* name : {"C", "A", "B"})
    Add(name, 11 + Groups().Count(), {}, 100);
  Groups().Item(3)->PutActive(true);
  Groups().Item(1)->PutActive(true);
  Server().OpenCommunication();
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)", "0 SetGroupDefinition(13,-1)"}));
  EXPECT_EQ(Groups().Item(2)->TimerId(), -1);
  EXPECT_GT(Groups().Item(1)->TimerId(), 0);
  EXPECT_GT(Groups().Item(3)->TimerId(), 0);
  EXPECT_EQ(Platform().TimersAlive(), 3U);
}

TEST_F(GroupsTick, AGroupThatCannotStartIsSkipped) {
  KeepTimeline();
  for (const char* name : {"A", "B"}) {
    Add(name, 11 + Groups().Count(), {}, 100);
    Groups().ItemByName(name)->PutActive(true);
  }
  Driver().Fail("SetGroupDefinition", 4, "refused", 1);
  Server().OpenCommunication();
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)", "0 SetGroupDefinition(12,-1)"}));
  EXPECT_EQ(Groups().Item(1)->TimerId(), -1);
  EXPECT_TRUE(Groups().Item(1)->Active());
  EXPECT_FALSE(Groups().Item(1)->IsDefined());
  EXPECT_GT(Groups().Item(2)->TimerId(), 0);
}

TEST_F(GroupsTick, ClosingStopsEveryTimerAndOpeningStartsThemAgain) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto a = Add("A", 11, {"WO100"}, 100);
  a->PutActive(true);
  Server().OpenCommunication();
  Advance(200ms);
  Server().CloseCommunication();
  EXPECT_EQ(a->TimerId(), -1);
  EXPECT_TRUE(a->Active());
  Taken();
  Advance(500ms);
  EXPECT_EQ(Taken(), Log{});
  Server().OpenCommunication();
  EXPECT_GT(a->TimerId(), 0);
  Advance(150ms);
  EXPECT_EQ(Taken(), (Log{"700 OpenCommunication(true)", "850 ReadItems(addresses=[1],dimensions=[1])"}));
}

TEST_F(GroupsTick, ATickThatWasUnderWayWhenItsTimerEndedDoesNothing) {
  const auto a = Add("A", 11, {"WO100"}, 100);
  a->PutActive(true);
  Server().OpenCommunication();
  const std::int32_t timerId = a->TimerId();
  a->PutActive(false);
  a->PutActive(true);
  ASSERT_NE(a->TimerId(), timerId);
  EXPECT_TRUE(Platform().DeliverLateTick(timerId));
  EXPECT_FALSE(a->RefreshPending());
  Server().CloseCommunication();
  ASSERT_TRUE(Platform().DeliverLateTick(timerId));
  EXPECT_FALSE(a->RefreshPending());
}

TEST_F(GroupsTick, TheNewestCollectionOfAThreadGetsTheTicks) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto a = Add("A", 11, {"WO100"}, 100);
  a->PutActive(true);
  Server().OpenCommunication();
  Advance(150ms);
  ASSERT_TRUE(a->RefreshPending());
  Advance(50ms);
  ASSERT_FALSE(a->RefreshPending());
  Taken();
  auto second = KELDataServer::Create(plant->Environment());
  const std::size_t timers = Platform().TimersAlive();
  Advance(500ms);
  EXPECT_EQ(Taken(), Log{});
  EXPECT_FALSE(a->RefreshPending());
  EXPECT_GE(timers, Platform().TimersAlive());
  // Its end leaves nobody to whom the tick could go: the timer ends itself.
  second.reset();
  Advance(200ms);
  EXPECT_EQ(Platform().TimersAlive(), 0U);
}

TEST_F(GroupsTick, TheEndOfAnOlderCollectionLeavesTheNewerItsTicks) {
  auto older = plant->server;
  plant->server = KELDataServer::Create(plant->Environment());
  plant->Configure();
  plant->AnswerByItself();
  KeepTimeline();
  const auto a = Add("A", 11, {"WO100"}, 100);
  a->PutActive(true);
  Server().OpenCommunication();
  Taken();
  older.reset();
  Advance(200ms);
  EXPECT_EQ(Taken(), (Log{"150 ReadItems(addresses=[1],dimensions=[1])", "200 A.DataChange [1] [I2:1]"}));
}

}  // namespace
}  // namespace orvo::testing
