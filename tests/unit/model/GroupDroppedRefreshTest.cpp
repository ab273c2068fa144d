#include "GroupFixture.h"
#include "errors/modIDataErrors.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

namespace orvo::testing {
namespace {

// A group with one word, refreshed every 200 ms; its refreshes are sent at 250, 450, 650, ...
class GroupDroppedRefresh : public GroupFixture {
 protected:
  GroupDroppedRefresh() {
    plant->AnswerByItself();
    AnswerGroups({0, 5});
    for (const char* operation : {"ReadItems", "ReadGroup"})  // a refused call is not answered
      Driver().during[operation] = [this, answer = Driver().during[operation]] {
        if (refusals > 0) {
          --refusals;
          throw AutomationError(1, "line dead");
        }
        answer();
      };
    KeepTimeline();
    Add("A", 11, {"WO100"}, 200)->PutActive(true);
  }
  KELDataGroup& Group() const { return *Groups().Item(1); }
  int refusals = 0;  // how many reads the driver refuses from now on
};

TEST_F(GroupDroppedRefresh, WhatTheDriverRefusesIsTriedAgainAtTheNextTick) {
  Server().OpenCommunication();
  Taken();
  refusals = 2;
  Advance(250ms);
  EXPECT_FALSE(Group().RefreshPending());
  Advance(450ms);
  EXPECT_EQ(Taken(),
            (Log{"250 ReadItems(addresses=[1],dimensions=[1])", "450 ReadItems(addresses=[1],dimensions=[1])",
                 "650 ReadItems(addresses=[1],dimensions=[1])", "700 A.DataChange [1] [I2:1]"}));
}

TEST_F(GroupDroppedRefresh, AWholeGroupThatTheDriverRefusesIsTriedAgainAtTheNextTick) {
  Driver().groupTransfer = true;
  Server().OpenCommunication();
  Taken();
  refusals = 1;
  Advance(250ms);
  EXPECT_FALSE(Group().RefreshPending());
  Advance(250ms);
  EXPECT_EQ(Taken(), (Log{"250 ReadGroup(groupId=11,buffer=[])", "450 ReadGroup(groupId=11,buffer=[])",
                          "500 A.DataChange [1] [R8:5]"}));
}

TEST_F(GroupDroppedRefresh, AWholeGroupWithoutADefinitionIsTriedAgainAtTheNextTick) {
  Driver().groupTransfer = true;
  Server().OpenCommunication();
  ASSERT_TRUE(Group().ReleaseDefinition());
  Taken();
  Driver().Fail("SetGroupDefinition", 1, "line dead", 1);
  Advance(250ms);
  EXPECT_FALSE(Group().RefreshPending());
  Advance(250ms);
  EXPECT_EQ(Taken(), (Log{"250 SetGroupDefinition(11,-1)", "450 SetGroupDefinition(11,-1)",
                          "450 ReadGroup(groupId=11,buffer=[])", "500 A.DataChange [1] [R8:5]"}));
}

TEST_F(GroupDroppedRefresh, ACancelledRefreshEndsWithoutAnyEvent) {
  Server().OpenCommunication();
  Taken();
  Advance(200ms);
  ASSERT_TRUE(Group().RefreshPending());
  Group().AsyncCancel(1);
  EXPECT_TRUE(Group().RefreshPending());
  Advance(50ms);
  EXPECT_FALSE(Group().RefreshPending());
  Advance(250ms);
  EXPECT_EQ(Taken(), (Log{"450 ReadItems(addresses=[1],dimensions=[1])", "500 A.DataChange [1] [I2:1]"}));
}

TEST_F(GroupDroppedRefresh, AFullQueueEndsOnlyTheTickThatMetIt) {
  Server().OpenCommunication();
  Driver().during.clear();  // no answers: the first request stays in flight
  std::int32_t id = 0;
  for (int k = 0; k < 999; ++k)
    Group().AsyncRead({1}, id);
  Advance(50ms);
  ASSERT_EQ(ErrorNumberOf([&] { Group().AsyncRead({1}, id); }), errQueueFull);
  Advance(150ms);
  EXPECT_FALSE(Group().RefreshPending());
  Server().Spooler()->Clear();
  Driver().Sink().AsyncReadComplete({Word(1)}, {0});
  Advance(200ms);
  EXPECT_TRUE(Group().RefreshPending());
}

TEST_F(GroupDroppedRefresh, ADeliveryThatIsLostEndsTheRefresh) {
  const auto b = Add("B", 12, {"WO200"}, 210);  // queued right behind A
  b->PutActive(true);
  Server().OpenCommunication();
  Taken();
  bool once = true;
  whenRaised["A.DataChange"] = [&] {
    if (!std::exchange(once, false)) return;
    // The delivery queue is locked here: B's result waits 2 s for the lock and is lost.
    Server().Spooler()->ProcessNext();
    Driver().Sink().AsyncReadComplete({Word(9)}, {0});
    timeline.push_back(Stamp() + (b->RefreshPending() ? "pending" : "lost"));
  };
  Driver().during["ReadItems"] = [&, answer = Driver().during["ReadItems"]] {
    if (Driver().log.back() != "ReadItems(addresses=[2],dimensions=[1])" || Platform().Now() > 300ms)
      answer();
    else
      timeline.push_back(Stamp() + "B sent");
  };
  Advance(300ms);
  const Log start = Taken();
  ASSERT_EQ(start.size(), 4U);
  EXPECT_EQ(start[1], "300 A.DataChange [1] [I2:1]");
  EXPECT_EQ(start[2], "300 B sent");
  EXPECT_TRUE(start[3].ends_with(" lost")) << start[3];
  Advance(1000ms);
  const Log later = Taken();
  EXPECT_EQ(std::count_if(later.begin(), later.end(),
                          [](const std::string& line) { return line.ends_with("B.DataChange [1] [I2:2]"); }),
            1);
}

TEST_F(GroupDroppedRefresh, AGroupThatCannotBeCompiledIsTriedAgainAtTheNextTick) {
  Server().OpenCommunication();
  Group().Items().ResizeItem(*Group().Items().Find(1), 40000);  // beyond what a driver can be told
  Taken();
  Advance(250ms);
  EXPECT_FALSE(Group().RefreshPending());
  EXPECT_EQ(Taken(), Log{});
  Group().Items().ResizeItem(*Group().Items().Find(1), 1);
  Advance(250ms);
  EXPECT_EQ(Taken(), (Log{"450 ReadItems(addresses=[1],dimensions=[1])", "500 A.DataChange [1] [I2:1]"}));
}

}  // namespace
}  // namespace orvo::testing
