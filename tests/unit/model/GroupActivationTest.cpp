#include "GroupFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using ::testing::StartsWith;

constexpr const char* TooManyUpTo =
    "-2147221493: Too many active groups : the max number of groups that can be active at the same time is ";

class GroupActivation : public GroupFixture {
 protected:
  GroupActivation() {
    for (const char* name : {"A", "B", "C", "D", "E"})
      groups.push_back(Add(name, static_cast<std::int32_t>(11 + groups.size()), {}, 100));
  }
  void TearDown() override {
    groups.clear();
    GroupFixture::TearDown();
  }
  std::string Activate(std::size_t k) {
    return ErrorOf([&] { groups[k]->PutActive(true); });
  }
  std::vector<std::shared_ptr<KELDataGroup>> groups;
};

TEST_F(GroupActivation, ADeviceForFourGroupsAllowsThreeActiveOnes) {
  for (const bool open : {false, true}) {
    SCOPED_TRACE(open ? "open" : "closed");
    Driver().groupCapacity = 4;
    if (open) Server().OpenCommunication();
    for (const std::size_t k : {0U, 1U, 2U})
      EXPECT_EQ(Activate(k), "none");
    Driver().log.clear();
    EXPECT_EQ(Activate(3), std::string(TooManyUpTo) + "3");
    EXPECT_FALSE(groups[3]->Active());
    EXPECT_FALSE(groups[3]->IsDefined());
    EXPECT_EQ(groups[3]->TimerId(), -1);
    EXPECT_EQ(Driver().log, Log{});
    EXPECT_EQ(Groups().ActiveCount(), 3);
    groups[1]->PutActive(false);
    EXPECT_EQ(Activate(3), "none");
    for (const auto& group : groups)
      group->PutActive(false);
    EXPECT_EQ(Groups().ActiveCount(), 0);
  }
}

TEST_F(GroupActivation, TheLimitFollowsFromTheDriver) {
  for (const std::int32_t capacity : {1, 0, -3, 2, 3, 5}) {
    SCOPED_TRACE(capacity);
    Driver().groupCapacity = capacity;
    std::int32_t active = 0;
    std::string error;
    for (std::size_t k = 0; k < groups.size() && (error.empty() || error == "none"); ++k) {
      error = Activate(k);
      if (error == "none") ++active;
    }
    EXPECT_EQ(active, std::max(0, capacity - 1));
    EXPECT_EQ(error, TooManyUpTo + std::to_string(capacity - 1));
    for (const auto& group : groups)
      group->PutActive(false);
  }
}

TEST_F(GroupActivation, GroupsThatWereRemovedCountNoMore) {
  Driver().groupCapacity = 2;
  Activate(0);
  EXPECT_EQ(Activate(1), std::string(TooManyUpTo) + "1");
  Groups().Remove(1);
  EXPECT_EQ(Activate(1), "none");
  EXPECT_TRUE(groups[0]->Active());
}

TEST_F(GroupActivation, TheOwnValueDoesNothingAtAllNotEvenTheLimitCheck) {
  Server().OpenCommunication();
  Activate(0);
  const std::int32_t timerId = groups[0]->TimerId();
  Driver().groupCapacity = 1;
  Driver().Fail("GroupCapacity", 3, "never asked");
  Driver().log.clear();
  Driver().logQuestions = true;
  EXPECT_EQ(Activate(0), "none");
  groups[1]->PutActive(false);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(groups[0]->TimerId(), timerId);
  EXPECT_TRUE(groups[0]->Active());
}

TEST_F(GroupActivation, OnlyTheAutomationTrueCountsAsTrue) {
  for (const std::int16_t raw : {std::int16_t{1}, std::int16_t{2}, std::int16_t{-2}, std::int16_t{255},
                                 std::int16_t{-32768}, std::int16_t{32767}, std::int16_t{0}}) {
    SCOPED_TRACE(raw);
    groups[0]->PutActive(Boolean::FromRaw(raw));
    EXPECT_FALSE(groups[0]->Active());
    groups[0]->PutActive(Boolean::FromRaw(-1));
    EXPECT_TRUE(groups[0]->Active());
    groups[0]->PutActive(Boolean::FromRaw(raw));
    EXPECT_FALSE(groups[0]->Active());
  }
}

TEST_F(GroupActivation, WhileClosedAGroupBecomesActiveWithoutTimerOrDefinition) {
  EXPECT_EQ(Activate(0), "none");
  EXPECT_TRUE(groups[0]->Active());
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_FALSE(groups[0]->IsDefined());
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  Server().OpenCommunication();
  EXPECT_GT(groups[0]->TimerId(), 0);
  EXPECT_EQ(Platform().TimersAlive(), 2U);
  EXPECT_EQ(Driver().log, (Log{"OpenCommunication(true)", "SetGroupDefinition(11,-1)"}));
}

TEST_F(GroupActivation, WhileOpenAGroupIsDefinedAndItsTimerStarts) {
  Server().OpenCommunication();
  Driver().log.clear();
  EXPECT_EQ(Activate(2), "none");
  EXPECT_TRUE(groups[2]->Active());
  EXPECT_TRUE(groups[2]->IsDefined());
  EXPECT_GT(groups[2]->TimerId(), 0);
  EXPECT_EQ(Platform().TimersAlive(), 2U);
  EXPECT_EQ(Driver().log, Log{"SetGroupDefinition(13,-1)"});
}

TEST_F(GroupActivation, WithoutADefinitionAGroupStaysInactiveAndNobodyIsTold) {
  Server().OpenCommunication();
  Driver().Fail("SetGroupDefinition", 3, "refused", 1);
  EXPECT_EQ(Activate(0), "none");
  EXPECT_FALSE(groups[0]->Active());
  EXPECT_FALSE(groups[0]->IsDefined());
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  EXPECT_EQ(Activate(0), "none");
  EXPECT_TRUE(groups[0]->Active());
}

TEST_F(GroupActivation, StoppingAnOpenGroupEndsItsTimerAndKeepsItsDefinition) {
  Server().OpenCommunication();
  Activate(0);
  Driver().log.clear();
  groups[0]->PutActive(false);
  EXPECT_FALSE(groups[0]->Active());
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  EXPECT_TRUE(groups[0]->IsDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupActivation, StoppingAClosedGroupLeavesATimerAloneThatEndsItselfWithItsNextTick) {
  Driver().during["CloseCommunication"] = [&] { Activate(0); };
  Server().OpenCommunication();
  Server().CloseCommunication();
  const std::int32_t timerId = groups[0]->TimerId();
  ASSERT_GT(timerId, 0);
  groups[0]->PutActive(false);
  EXPECT_EQ(groups[0]->TimerId(), timerId);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  Advance(99ms);
  EXPECT_EQ(groups[0]->TimerId(), timerId);
  Advance(1ms);
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  EXPECT_FALSE(groups[0]->RefreshPending());
}

TEST_F(GroupActivation, ActivatingAClosedGroupForgetsWhateverTimerItHad) {
  Driver().during["CloseCommunication"] = [&] { Activate(0); };
  Server().OpenCommunication();
  Server().CloseCommunication();
  groups[0]->PutActive(false);
  ASSERT_GT(groups[0]->TimerId(), 0);
  EXPECT_EQ(Activate(0), "none");
  EXPECT_EQ(groups[0]->TimerId(), -1);
}

TEST_F(GroupActivation, AFailureOfTheDriversCapacityReachesTheClientAndLeavesTheGroupInactive) {
  for (const bool open : {false, true}) {
    if (open) Server().OpenCommunication();
    Driver().Fail("GroupCapacity", 77, "line dead", 1);
    EXPECT_THAT(Activate(0),
                StartsWith("-2147221490: INTERNAL ERROR, please contact support. code77:line dead\r\n:"));
    EXPECT_FALSE(groups[0]->Active());
    EXPECT_EQ(groups[0]->TimerId(), -1);
  }
}

TEST_F(GroupActivation, WithoutADriverThereIsNoLimitToAskFor) {
  groups.clear();
  plant = std::make_unique<Plant>();
  groups.push_back(Groups().Add());
  EXPECT_THAT(Activate(0), StartsWith("-2147221490: INTERNAL ERROR, please contact support. code91:"));
  EXPECT_FALSE(groups[0]->Active());
}

TEST_F(GroupActivation, StartUpdatesTellsWhetherATimerRuns) {
  EXPECT_TRUE(groups[0]->StartUpdates());
  EXPECT_GT(groups[0]->TimerId(), 0);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  Driver().Fail("SetGroupDefinition", 3, "refused");
  EXPECT_FALSE(groups[1]->StartUpdates());
  EXPECT_EQ(groups[1]->TimerId(), -1);
  EXPECT_TRUE(groups[1]->StopUpdates());
  EXPECT_TRUE(groups[0]->StopUpdates());
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  EXPECT_TRUE(groups[0]->IsDefined());
}

TEST_F(GroupActivation, ActivationAtTheEndOfADefinitionEvictsAnIdleGroup) {
  Driver().groupCapacity = 3;
  Server().OpenCommunication();
  Activate(0);
  Activate(1);
  groups[2]->EnsureDefined();
  groups[1]->PutActive(false);
  groups[1]->PutLastUseTick(1);
  Driver().log.clear();
  EXPECT_EQ(Activate(3), "none");
  EXPECT_EQ(Driver().log, (Log{"SetGroupDefinition(13,0)", "SetGroupDefinition(14,-1)"}));
  EXPECT_TRUE(groups[3]->Active());
}

using GroupUpdateRate = GroupActivation;

TEST_F(GroupUpdateRate, ANegativeRateIsRefusedAndChangesNothing) {
  Server().OpenCommunication();
  Activate(0);
  const std::int32_t timerId = groups[0]->TimerId();
  for (const std::int32_t rate : {-1, -1000, std::numeric_limits<std::int32_t>::min()}) {
    for (const std::size_t k : {0U, 1U}) {
      EXPECT_EQ(ErrorOf([&] { groups[k]->PutUpdateRate(rate); }), "-2147221493: Update rate must be >= 0");
      EXPECT_EQ(groups[k]->UpdateRate(), 100);
    }
  }
  EXPECT_EQ(groups[0]->TimerId(), timerId);
  EXPECT_TRUE(groups[0]->Active());
}

TEST_F(GroupUpdateRate, AnInactiveGroupStoresEveryRateFromZeroOn) {
  for (const bool open : {false, true}) {
    if (open) Server().OpenCommunication();
    Driver().log.clear();
    for (const std::int32_t rate : {0, 1, 250, std::numeric_limits<std::int32_t>::max()}) {
      EXPECT_EQ(ErrorOf([&] { groups[0]->PutUpdateRate(rate); }), "none");
      EXPECT_EQ(groups[0]->UpdateRate(), rate);
    }
    EXPECT_FALSE(groups[0]->Active());
    EXPECT_EQ(groups[0]->TimerId(), -1);
    EXPECT_EQ(Driver().log, Log{});
  }
}

TEST_F(GroupUpdateRate, AnActiveGroupKeepsBeingActiveWithoutATimerWhileClosed) {
  Activate(0);
  groups[0]->PutUpdateRate(70);
  EXPECT_EQ(groups[0]->UpdateRate(), 70);
  EXPECT_TRUE(groups[0]->Active());
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupUpdateRate, AnOpenActiveGroupGetsANewTimerWithTheNewPeriod) {
  Server().OpenCommunication();
  Activate(0);
  const std::int32_t timerId = groups[0]->TimerId();
  Advance(60ms);
  Driver().log.clear();
  groups[0]->PutUpdateRate(70);
  EXPECT_TRUE(groups[0]->Active());
  EXPECT_NE(groups[0]->TimerId(), timerId);
  EXPECT_GT(groups[0]->TimerId(), 0);
  EXPECT_EQ(Platform().TimersAlive(), 2U);
  EXPECT_EQ(Driver().log, Log{});  // it is still defined
}

TEST_F(GroupUpdateRate, TheOldRateAgainStartsThePeriodAnew) {
  Server().OpenCommunication();
  Activate(0);
  const std::int32_t timerId = groups[0]->TimerId();
  groups[0]->PutUpdateRate(100);
  EXPECT_NE(groups[0]->TimerId(), timerId);
  EXPECT_EQ(Platform().TimersAlive(), 2U);
}

TEST_F(GroupUpdateRate, ARestartBeyondTheLimitLeavesTheGroupInactiveWithTheNewRate) {
  Activate(0);
  Activate(1);
  Driver().groupCapacity = 2;
  EXPECT_EQ(ErrorOf([&] { groups[0]->PutUpdateRate(300); }), std::string(TooManyUpTo) + "1");
  EXPECT_FALSE(groups[0]->Active());
  EXPECT_EQ(groups[0]->UpdateRate(), 300);
}

TEST_F(GroupUpdateRate, ARestartWithoutADefinitionLeavesTheGroupInactiveWithTheNewRate) {
  Server().OpenCommunication();
  Activate(0);
  groups[0]->ReleaseDefinition();
  Driver().Fail("SetGroupDefinition", 3, "refused");
  EXPECT_EQ(ErrorOf([&] { groups[0]->PutUpdateRate(300); }), "none");
  EXPECT_FALSE(groups[0]->Active());
  EXPECT_EQ(groups[0]->UpdateRate(), 300);
  EXPECT_EQ(groups[0]->TimerId(), -1);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
}

}  // namespace
}  // namespace orvo::testing
