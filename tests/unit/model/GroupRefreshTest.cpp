#include "GroupFixture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

class GroupRefresh : public GroupFixture {
 protected:
  // An active group with two words, refreshed every 200 ms.
  std::shared_ptr<KELDataGroup> AddActive(const std::string& name = "A", std::int32_t updateRate = 200) {
    const auto group = Add(name, 11, {"WO100", "WO102"}, updateRate);
    group->KELDataItems()->Item(2)->SetItemGroupBufferOffset(2);
    group->PutActive(true);
    return group;
  }
};

TEST_F(GroupRefresh, ItemsAreReadInTheOrderOfTheItemsCollection) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = AddActive();
  group->KELDataItems()->Remove(1);
  group->KELDataItems()->Add("DW300");  // handle 1 again, but last
  Server().OpenCommunication();
  plant->Answer = [](double address, std::int16_t) {
    return address == 3 ? DoubleWord(3) : Word(static_cast<std::uint16_t>(address));
  };
  Advance(300ms);
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                 "250 ReadItems(addresses=[2,3],dimensions=[1,2])", "300 A.DataChange [2,1] [I2:2,I4:3]"}));
}

TEST_F(GroupRefresh, TheRequestIsRatedForThisGroupAndStampedWithItsMoment) {
  plant->AnswerByItself();
  const auto group = AddActive();
  const auto spooler = std::make_shared<SpoolerEventLog>(plant->events);
  const std::int32_t cookie = Server().Spooler()->Events().Advise(spooler);
  Server().OpenCommunication();
  Advance(300ms);
  ASSERT_EQ(spooler->delivered.size(), 1U);
  {
    const DataRequest& request = *spooler->delivered[0];
    EXPECT_EQ(request.RequestType(), 3);
    EXPECT_EQ(request.TickSent(), static_cast<std::int32_t>(SimulatedPlatform::DefaultTickCount + 200));
    EXPECT_EQ(request.ReqGroup(), group);
    EXPECT_EQ(request.ReqItem(), nullptr);
    EXPECT_EQ(LogText(request.Handles()), "[1,2]");
    EXPECT_EQ(request.TransactionId(), 1);
  }
  spooler->delivered.clear();
  Server().Spooler()->Events().Unadvise(cookie);
}

TEST_F(GroupRefresh, WhereTheDriverTransfersWholeGroupsTheWholeGroupIsRead) {
  Driver().groupTransfer = true;
  AnswerGroups({0, 7, 0, 9});
  KeepTimeline();
  const auto group = AddActive();
  group->SetCompiledBufferDimension(4);
  const auto spooler = std::make_shared<SpoolerEventLog>(plant->events);
  const std::int32_t cookie = Server().Spooler()->Events().Advise(spooler);
  Server().OpenCommunication();
  Advance(700ms);
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                 "250 ReadGroup(groupId=11,buffer=[0,0,0,0])", "300 A.DataChange [1,2] [R8:7,R8:9]",
                 "450 ReadGroup(groupId=11,buffer=[0,0,0,0])", "650 ReadGroup(groupId=11,buffer=[0,0,0,0])"}));
  ASSERT_EQ(spooler->delivered.size(), 3U);
  EXPECT_EQ(spooler->delivered[0]->RequestType(), 11);
  EXPECT_EQ(spooler->delivered[2]->TickSent(),
            static_cast<std::int32_t>(SimulatedPlatform::DefaultTickCount + 600));
  spooler->delivered.clear();
  Server().Spooler()->Events().Unadvise(cookie);
}

TEST_F(GroupRefresh, TheDriverIsAskedAtEachRefreshHowItTransfers) {
  plant->AnswerByItself();
  AnswerGroups({0, 7, 0, 9});
  KeepTimeline();
  AddActive();
  Server().OpenCommunication();
  Advance(300ms);
  Driver().groupTransfer = true;
  Advance(200ms);
  Driver().Fail("GroupTransfer", 3, "does not know");  // counts as no
  Advance(200ms);
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                 "250 ReadItems(addresses=[1,2],dimensions=[1,1])", "300 A.DataChange [1,2] [I2:1,I2:2]",
                 "450 ReadGroup(groupId=11,buffer=[])", "500 A.DataChange [1,2] [R8:7,R8:9]",
                 "650 ReadItems(addresses=[1,2],dimensions=[1,1])"}));
}

TEST_F(GroupRefresh, AnEmptyGroupQueuesNothingAndAsksNothing) {
  KeepTimeline();
  const auto group = Add("A", 11, {}, 100);
  group->PutActive(true);
  Server().OpenCommunication();
  Taken();
  Driver().log.clear();
  Driver().logQuestions = true;
  for (int tick = 0; tick < 10; ++tick) {
    Advance(100ms);
    EXPECT_FALSE(group->RefreshPending());
  }
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_GT(group->TimerId(), 0);
}

TEST_F(GroupRefresh, AnInactiveGroupStopsItsTimerAtTheNextTick) {
  const auto group = AddActive();
  group->PutActive(false);
  ASSERT_TRUE(group->StartUpdates());
  Driver().log.clear();
  group->Refresh();
  EXPECT_EQ(group->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  EXPECT_FALSE(group->RefreshPending());
  group->Refresh();
  EXPECT_EQ(group->TimerId(), -1);
  Server().OpenCommunication();
  Driver().log.clear();
  Advance(500ms);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupRefresh, WhileARefreshIsOutstandingFurtherTicksQueueNothing) {
  KeepTimeline();
  const auto group = AddActive("A", 50);
  Server().OpenCommunication();
  Advance(3000ms);
  EXPECT_TRUE(group->RefreshPending());
  EXPECT_EQ(Taken(), (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                          "50 ReadItems(addresses=[1,2],dimensions=[1,1])"}));
  Driver().Sink().AsyncReadComplete({Word(1), Word(2)}, {0, 0});
  EXPECT_TRUE(group->RefreshPending());
  Advance(100ms);
  EXPECT_FALSE(group->RefreshPending());
  Advance(100ms);
  EXPECT_EQ(Taken(),
            (Log{"3100 A.DataChange [1,2] [I2:1,I2:2]", "3150 ReadItems(addresses=[1,2],dimensions=[1,1])"}));
}

TEST_F(GroupRefresh, NoTickIsMadeUpForThatTheApplicationMissed) {
  plant->AnswerByItself();
  KeepTimeline();
  AddActive();
  Server().OpenCommunication();
  Taken();
  Platform().Jump(5000ms);
  Advance(0ms);
  Advance(190ms);
  EXPECT_EQ(Taken().size(), 2U);
}

TEST_F(GroupRefresh, ZeroIsTheShortestPeriodThatTimersHave) {
  const auto group = Add("A", 11, {"WO100"}, 0);
  group->PutActive(true);
  Server().OpenCommunication();
  Advance(9ms);
  EXPECT_FALSE(group->RefreshPending());
  Advance(1ms);
  EXPECT_TRUE(group->RefreshPending());
}

TEST_F(GroupRefresh, ANewRateCountsFromItsOwnMoment) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = AddActive("A", 200);
  Server().OpenCommunication();
  Advance(190ms);
  group->PutUpdateRate(500);
  Advance(660ms);
  EXPECT_EQ(Taken(),
            (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                 "750 ReadItems(addresses=[1,2],dimensions=[1,1])", "800 A.DataChange [1,2] [I2:1,I2:2]"}));
}

TEST_F(GroupRefresh, PendingAndLastUseChangeAfterDataChangeWasRaised) {
  plant->AnswerByItself();
  const auto group = AddActive();
  Server().OpenCommunication();
  int raised = 0;
  whenRaised["A.DataChange"] = [&] {
    ++raised;
    EXPECT_TRUE(group->RefreshPending());
    EXPECT_EQ(group->LastUseTick(), 0U);
  };
  Advance(300ms);
  EXPECT_EQ(raised, 1);
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 300);
  Advance(200ms);  // nothing has changed: no event, but a use
  EXPECT_EQ(raised, 1);
  EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 500);
}

TEST_F(GroupRefresh, AWholeGroupsCompletionIsAUseOfItsOwn) {
  Driver().groupTransfer = true;
  AnswerGroups({0, 7, 0, 9});
  const auto group = AddActive();
  Server().OpenCommunication();
  int raised = 0;
  whenRaised["A.DataChange"] = [&] {
    ++raised;
    EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 250);
  };
  Advance(300ms);
  EXPECT_EQ(raised, 1);
  EXPECT_EQ(group->LastUseTick(), SimulatedPlatform::DefaultTickCount + 300);
}

TEST_F(GroupRefresh, UnsubscribedGroupsAreRefreshedWithoutAnyEvent) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = AddActive();
  group->PutSubscribed(false);
  EXPECT_FALSE(group->Subscribed());
  int moving = 1;
  plant->Answer = [&](double, std::int16_t) { return Word(static_cast<std::uint16_t>(moving)); };
  Server().OpenCommunication();
  Advance(300ms);
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(LogText(group->KELDataItems()->Item(2)->USERValue()), "I2:1");
  moving = 2;
  Advance(200ms);
  EXPECT_EQ(LogText(group->KELDataItems()->Item(2)->USERValue()), "I2:2");
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(plant->events, Log{});
  group->PutSubscribed(true);
  EXPECT_TRUE(group->Subscribed());
  Advance(200ms);  // what it has seen meanwhile is no news
  moving = 3;
  Advance(200ms);
  EXPECT_EQ(plant->events, Log{"A.DataChange [1,2] [I2:3,I2:3]"});
}

TEST_F(GroupRefresh, ARefreshThatIsStillQueuedAtTheCloseIsSentAfterTheNextOpen) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = AddActive();
  Server().OpenCommunication();
  Advance(200ms);
  ASSERT_TRUE(group->RefreshPending());
  Server().CloseCommunication();
  Advance(1000ms);
  EXPECT_TRUE(group->RefreshPending());
  Taken();
  Server().OpenCommunication();
  Advance(250ms);
  EXPECT_EQ(Taken(),
            (Log{"1200 OpenCommunication(true)", "1250 ReadItems(addresses=[1,2],dimensions=[1,1])",
                 "1300 A.DataChange [1,2] [I2:1,I2:2]", "1450 ReadItems(addresses=[1,2],dimensions=[1,1])"}));
}

TEST_F(GroupRefresh, AGroupIsRefreshedWhileItsClientWaitsForASynchronousRead) {
  plant->AnswerByItself(500ms);
  KeepTimeline();
  const auto group = AddActive();
  Server().OpenCommunication();
  Advance(10ms);
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1}, values, errors);
  timeline.push_back(Stamp() + "SyncRead " + LogText(values) + (group->RefreshPending() ? " pending" : ""));
  Advance(500ms);
  EXPECT_EQ(Taken(), (Log{"0 OpenCommunication(true)", "0 SetGroupDefinition(11,-1)",
                          "50 ReadItems(addresses=[1],dimensions=[1])",
                          "550 ReadItems(addresses=[1,2],dimensions=[1,1])", "600 SyncRead [I2:1] pending",
                          "1100 A.DataChange [1,2] [I2:1,I2:2]"}));
}

TEST_F(GroupRefresh, AResultThatComesAfterTheGroupWasStoppedIsStillDelivered) {
  plant->AnswerByItself(300ms);
  KeepTimeline();
  const auto group = AddActive();
  Server().OpenCommunication();
  Advance(250ms);
  group->PutActive(false);
  Taken();
  Advance(1000ms);
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(Taken(), Log{"600 A.DataChange [1,2] [I2:1,I2:2]"});
}

// The group stays active over the close, so everything else counts as reported before.
TEST_F(GroupRefresh, APositionThatNowBelongsToAnotherItemIsReportedAgain) {
  plant->AnswerByItself();
  plant->Answer = [](double, std::int16_t) { return Word(5); };
  KeepTimeline();
  const auto group = AddActive();
  group->KELDataItems()->Add("WO104");
  Server().OpenCommunication();
  Advance(300ms);
  Server().CloseCommunication();
  group->KELDataItems()->Remove(1);
  group->KELDataItems()->Remove(3);
  group->KELDataItems()->Add("WO106");
  group->KELDataItems()->Add("WO108");
  Taken();
  Server().OpenCommunication();
  Advance(300ms);
  EXPECT_EQ(Taken(), (Log{"300 OpenCommunication(true)", "550 ReadItems(addresses=[2,4,5],dimensions=[1,1,1])",
                          "600 A.DataChange [2,1,3] [I2:5,I2:5,I2:5]"}));
  Server().CloseCommunication();
  Server().OpenCommunication();
  Taken();
  Advance(300ms);
  EXPECT_EQ(Taken(), Log{"850 ReadItems(addresses=[2,4,5],dimensions=[1,1,1])"});
}

TEST_F(GroupRefresh, ARestartedGroupReportsEveryItemAgain) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = AddActive();
  Server().OpenCommunication();
  Advance(500ms);
  group->PutActive(false);
  group->PutActive(true);
  Taken();
  Advance(500ms);
  EXPECT_EQ(Taken(),
            (Log{"750 ReadItems(addresses=[1,2],dimensions=[1,1])", "800 A.DataChange [1,2] [I2:1,I2:2]",
                 "950 ReadItems(addresses=[1,2],dimensions=[1,1])"}));
}

}  // namespace
}  // namespace orvo::testing
