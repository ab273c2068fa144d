#include "GroupFixture.h"
#include "errors/modIDataErrors.h"

#include <limits>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using GroupsLookup = GroupFixture;
using GroupsRemove = GroupFixture;

TEST_F(GroupsLookup, ItemFindsByHandleAndNamesTheHandleThatNobodyHas) {
  const auto a = Add("A");
  const auto b = Add("B");
  EXPECT_EQ(Groups().Item(1), a);
  EXPECT_EQ(Groups().Item(2), b);
  for (const std::int32_t handle :
       {0, 3, -1, 99, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()})
    EXPECT_EQ(ErrorOf([&] { Groups().Item(handle); }),
              "-2147221498: Invalid Handle: " + std::to_string(handle));
}

TEST_F(GroupsLookup, ItemByNameComparesExactly) {
  const auto a = Add("Tanks");
  EXPECT_EQ(Groups().ItemByName("Tanks"), a);
  for (const std::string name : {"tanks", "TANKS", "Tank", "Tanks ", ""})
    EXPECT_EQ(ErrorOf([&] { Groups().ItemByName(name); }), "-2147221497: Invalid Name: " + name);
}

TEST_F(GroupsLookup, GroupsAreFoundCountedAndEnumeratedAtEveryStatus) {
  const auto a = Add("A");
  const auto b = Add("B");
  Server().OpenCommunication();
  EXPECT_EQ(Groups().Count(), 2);
  EXPECT_EQ(Groups().Item(2), b);
  EXPECT_EQ(Groups().ItemByName("A"), a);
  EXPECT_EQ(GroupsText(), "A=1,B=2");
  EXPECT_EQ(ErrorOf([&] { Groups().Item(3); }), "-2147221498: Invalid Handle: 3");
  EXPECT_EQ(ErrorOf([&] { Groups().ItemByName("b"); }), "-2147221497: Invalid Name: b");
}

TEST_F(GroupsLookup, TheEnumerationIsInTheOrderOfCreationAndOfItsOwnMoment) {
  const auto b = Add("B");
  const auto a = Add("A");
  const auto before = Groups().NewEnum();
  Groups().RemoveByName("B");
  const auto again = Add("B");
  EXPECT_EQ(before, (std::vector{b, a}));
  EXPECT_EQ(Groups().NewEnum(), (std::vector{a, again}));
  EXPECT_EQ(GroupsText(), "A=2,B=1");
}

TEST_F(GroupsRemove, RemoveTakesTheGroupWithThatHandle) {
  for (const char* name : {"A", "B", "C"})
    Add(name);
  Groups().Remove(2);
  EXPECT_EQ(GroupsText(), "A=1,C=3");
  EXPECT_EQ(ErrorOf([&] { Groups().Remove(2); }), "-2147221498: Invalid Handle: 2");
  EXPECT_EQ(ErrorOf([&] { Groups().Remove(-4); }), "-2147221498: Invalid Handle: -4");
  EXPECT_EQ(GroupsText(), "A=1,C=3");
}

TEST_F(GroupsRemove, RemoveByNameIgnoresCase) {
  Add("Group_1");
  Add("B");
  EXPECT_EQ(ErrorNumberOf([&] { Groups().ItemByName("group_1"); }), errInvalidName);
  Groups().RemoveByName("group_1");
  EXPECT_EQ(GroupsText(), "B=2");
  EXPECT_EQ(ErrorOf([&] { Groups().RemoveByName("Group_1"); }),
            "-2147221497: Invalid Name: Group_1: can't remove it");
  EXPECT_EQ(ErrorOf([&] { Groups().RemoveByName(""); }), "-2147221497: Invalid Name: : can't remove it");
  EXPECT_EQ(GroupsText(), "B=2");
}

TEST_F(GroupsRemove, ARemovedGroupKeepsItsNameHandleItemsAndServer) {
  const auto group = Add("A", 11, {"WO100"});
  Groups().Remove(1);
  EXPECT_EQ(group->GroupName(), "A");
  EXPECT_EQ(group->Handle(), 1);
  EXPECT_EQ(group->KELDataItems()->Count(), 1);
  EXPECT_EQ(group->Parent(), plant->server);
}

TEST_F(GroupsRemove, NobodyHoldsARemovedGroupThatIsNotDefined) {
  std::weak_ptr<KELDataGroup> group = Groups().Add();
  EXPECT_FALSE(group.expired());
  Groups().Remove(1);
  EXPECT_TRUE(group.expired());
}

TEST_F(GroupsRemove, NeitherRemovalTouchesTheDefinition) {
  const auto a = Add("A", 11);
  const auto b = Add("B", 12);
  ASSERT_TRUE(a->EnsureDefined());
  ASSERT_TRUE(b->EnsureDefined());
  Driver().log.clear();
  Groups().Remove(1);
  Groups().RemoveByName("b");
  EXPECT_EQ(Groups().DefinedCount(), 2U);
  EXPECT_TRUE(a->IsDefined());
  EXPECT_TRUE(b->IsDefined());
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupsRemove, RemoveAllEmptiesTheCollectionAndForgetsTheDefinitionsOfItsGroups) {
  const auto a = Add("A", 11);
  const auto b = Add("B", 12);
  Add("C", 13);
  ASSERT_TRUE(b->EnsureDefined());
  ASSERT_TRUE(a->EnsureDefined());
  Driver().log.clear();
  Groups().RemoveAll();
  EXPECT_EQ(Groups().Count(), 0);
  EXPECT_EQ(GroupsText(), "");
  EXPECT_EQ(Groups().DefinedCount(), 0U);
  EXPECT_TRUE(a->IsDefined());
  EXPECT_EQ(Driver().log, Log{});  // the device is told nothing
  Groups().RemoveAll();
  EXPECT_EQ(Groups().Add()->GroupName(), "Group_1");
}

TEST_F(GroupsRemove, RemoveAllLeavesGroupsThatWereRemovedEarlierAmongTheDefinedOnes) {
  const auto a = Add("A", 11);
  const auto b = Add("B", 12);
  ASSERT_TRUE(a->EnsureDefined());
  ASSERT_TRUE(b->EnsureDefined());
  Groups().Remove(1);
  Groups().RemoveAll();
  EXPECT_EQ(Groups().DefinedCount(), 1U);
  // A later group of that name, in whatever case, takes it along.
  Add("a");
  Groups().RemoveAll();
  EXPECT_EQ(Groups().DefinedCount(), 0U);
}

TEST_F(GroupsRemove, AGroupThatIsRemovedWhileItsTimerRunsKeepsTheTimerAndIsNotRefreshed) {
  plant->AnswerByItself();
  KeepTimeline();
  const auto group = Add("A", 11, {"WO100"}, 100);
  // The one moment at which communication counts as open and the groups were already stopped.
  Driver().during["CloseCommunication"] = [&] { group->PutActive(true); };
  Server().OpenCommunication();
  Server().CloseCommunication();
  ASSERT_GT(group->TimerId(), 0);
  ASSERT_EQ(Platform().TimersAlive(), 1U);
  const std::int32_t timerId = group->TimerId();
  Groups().Remove(1);
  EXPECT_EQ(group->TimerId(), timerId);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  Taken();
  Advance(1000ms);
  EXPECT_EQ(Platform().TimersAlive(), 1U);
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(Taken(), Log{});
  EXPECT_TRUE(group->StopUpdates());
  EXPECT_EQ(Platform().TimersAlive(), 0U);
}

TEST_F(GroupsRemove, TicksOfAGroupThatEndedWithItsTimerRunningReachNobody) {
  Add("A", 11, {"WO100"}, 100);
  Driver().during["CloseCommunication"] = [&] { Groups().Item(1)->PutActive(true); };
  Server().OpenCommunication();
  Server().CloseCommunication();
  // The definition ends too, so that nobody holds the group.
  std::weak_ptr<KELDataGroup> group = Groups().Item(1);
  Groups().RemoveAll();
  EXPECT_TRUE(group.expired());
  Driver().log.clear();
  Add("B", 12, {"WO200"}, 100);
  Advance(1000ms);
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_FALSE(Groups().Item(1)->RefreshPending());
}

}  // namespace
}  // namespace orvo::testing
