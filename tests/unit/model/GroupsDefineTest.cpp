#include "GroupFixture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::testing {
namespace {

using Group = std::shared_ptr<KELDataGroup>;

// Groups A, B, ... with the identifiers 11, 12, ...
class GroupsDefine : public GroupFixture {
 protected:
  std::vector<Group> AddSome(int count) {
    std::vector<Group> groups;
    for (int k = 0; k < count; ++k)
      groups.push_back(Add(std::string(1, static_cast<char>('A' + k)), 11 + k));
    return groups;
  }
  // "12,-1 13,0": the definitions that the driver was asked for since the last call.
  std::string Calls() {
    std::string text;
    for (const std::string& line : std::exchange(Driver().log, {})) {
      EXPECT_TRUE(line.starts_with("SetGroupDefinition(")) << line;
      text += (text.empty() ? "" : " ") + line.substr(19, line.size() - 20);
    }
    return text;
  }
  // "A C": the groups that take themselves for defined.
  static std::string Defined(const std::vector<Group>& groups) {
    std::string text;
    for (const Group& group : groups)
      if (group->IsDefined()) text += (text.empty() ? "" : " ") + group->GroupName();
    return text;
  }
};

TEST_F(GroupsDefine, AGroupIsDefinedOnTheDeviceUnderItsIdentifier) {
  const auto groups = AddSome(1);
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,-1");
  EXPECT_TRUE(groups[0]->IsDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

TEST_F(GroupsDefine, ADefinedGroupIsNotDefinedAgain) {
  const auto groups = AddSome(1);
  groups[0]->EnsureDefined();
  Driver().log.clear();
  Driver().logQuestions = true;
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupsDefine, AGroupThatTheDriverRefusesStaysUndefined) {
  const auto groups = AddSome(2);
  Driver().Fail("SetGroupDefinition", 5, "refused", 1);
  EXPECT_FALSE(groups[0]->EnsureDefined());
  EXPECT_FALSE(groups[0]->IsDefined());
  EXPECT_EQ(Groups().DefinedCount(), 0U);
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,-1 11,-1");
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

TEST_F(GroupsDefine, ReleasingGivesTheDefinitionUp) {
  const auto groups = AddSome(2);
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  Calls();
  EXPECT_TRUE(groups[0]->ReleaseDefinition());
  EXPECT_EQ(Calls(), "11,0");
  EXPECT_EQ(Defined(groups), "B");
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

TEST_F(GroupsDefine, ReleasingAnUndefinedGroupSucceedsWithoutAskingTheDriver) {
  const auto groups = AddSome(1);
  EXPECT_TRUE(groups[0]->ReleaseDefinition());
  EXPECT_TRUE(Groups().UndefineGroup(groups[0]));
  EXPECT_EQ(Calls(), "");
}

TEST_F(GroupsDefine, AReleaseThatTheDriverRefusesLeavesEverythingAsItWas) {
  const auto groups = AddSome(1);
  groups[0]->EnsureDefined();
  Calls();
  Driver().Fail("SetGroupDefinition", 3, "busy", 1);
  EXPECT_FALSE(groups[0]->ReleaseDefinition());
  EXPECT_EQ(Calls(), "11,0");
  EXPECT_TRUE(groups[0]->IsDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

TEST_F(GroupsDefine, ARemovedGroupCanStillBeDefinedAndReleased) {
  const auto groups = AddSome(1);
  Groups().Remove(1);
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
  EXPECT_TRUE(groups[0]->ReleaseDefinition());
  EXPECT_EQ(Groups().DefinedCount(), 0U);
  EXPECT_EQ(Calls(), "11,-1 11,0");
}

TEST_F(GroupsDefine, WithoutADriverNothingIsDefined) {
  plant = std::make_unique<Plant>();
  const auto group = Groups().Add();
  EXPECT_FALSE(group->EnsureDefined());
  EXPECT_FALSE(group->IsDefined());
  EXPECT_TRUE(group->ReleaseDefinition());
}

TEST_F(GroupsDefine, ADeviceWithoutRoomForGroupsDefinesNone) {
  const auto groups = AddSome(1);
  for (const std::int32_t capacity : {0, -1}) {
    Driver().groupCapacity = capacity;
    EXPECT_FALSE(groups[0]->EnsureDefined()) << capacity;
    EXPECT_EQ(Calls(), "") << capacity;
  }
}

// Each row: the order in which A, B and C are defined, their last use, who is active or believes itself
// undefined, and who goes when D comes to a device for three groups.
TEST_F(GroupsDefine, TheLeastRecentlyUsedInactiveGroupMakesRoom) {
  struct Row {
    const char* title;
    std::vector<std::size_t> order;
    std::vector<std::uint32_t> lastUse;
    std::vector<std::size_t> active;
    std::vector<std::size_t> believesItselfUndefined;
    std::string calls;
    std::string defined;
  };
  const std::vector<Row> rows{
      {"the smallest tick", {0, 1, 2}, {30, 10, 20}, {}, {}, "12,0 14,-1", "A C D"},
      {"the first", {0, 1, 2}, {10, 20, 30}, {}, {}, "11,0 14,-1", "B C D"},
      {"the last", {0, 1, 2}, {30, 20, 10}, {}, {}, "13,0 14,-1", "A B D"},
      {"a tie goes to the earliest defined", {2, 0, 1}, {5, 5, 5}, {}, {}, "13,0 14,-1", "A B D"},
      {"a tie behind a larger one", {1, 2, 0}, {5, 9, 5}, {}, {}, "13,0 14,-1", "A B D"},
      {"never used", {0, 1, 2}, {1, 1, 0}, {}, {}, "13,0 14,-1", "A B D"},
      {"ticks are unsigned", {0, 1, 2}, {0xFFFFFFF0U, 0x80000000U, 0x7FFFFFFFU}, {}, {}, "13,0 14,-1", "A B D"},
      {"an active one is passed over", {0, 1, 2}, {20, 10, 30}, {1}, {}, "11,0 14,-1", "B C D"},
      {"an active one first in the list", {0, 1, 2}, {10, 30, 20}, {0}, {}, "13,0 14,-1", "A B D"},
      {"only one is inactive", {0, 1, 2}, {10, 20, 30}, {0, 1}, {}, "13,0 14,-1", "A B D"},
      {"one that is not defined is passed over", {0, 1, 2}, {10, 20, 30}, {}, {0}, "12,0 14,-1", "C D"},
      {"all active", {0, 1, 2}, {10, 20, 30}, {0, 1, 2}, {}, "", "A B C"},
      {"nobody is left", {0, 1, 2}, {10, 20, 30}, {0, 1}, {2}, "", "A B"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    Groups().RemoveAll();
    const auto groups = AddSome(4);
    Driver().groupCapacity = 8;
    for (const std::size_t k : row.order)
      ASSERT_TRUE(groups[k]->EnsureDefined());
    for (std::size_t k = 0; k < 3; ++k)
      groups[k]->PutLastUseTick(row.lastUse[k]);
    for (const std::size_t k : row.active)
      groups[k]->PutActive(true);
    for (const std::size_t k : row.believesItselfUndefined)
      groups[k]->SetDefined(false);
    Driver().groupCapacity = 3;
    Calls();
    const bool succeeds = !row.calls.empty();
    EXPECT_EQ(groups[3]->EnsureDefined(), succeeds);
    EXPECT_EQ(Calls(), row.calls);
    EXPECT_EQ(Defined(groups), row.defined);
    EXPECT_EQ(Groups().DefinedCount(), 3U);
  }
}

TEST_F(GroupsDefine, WithEveryDefinitionHeldByAnActiveGroupAFurtherOneStaysUndefined) {
  const auto groups = AddSome(3);
  Driver().groupCapacity = 3;
  groups[0]->PutActive(true);
  groups[1]->PutActive(true);
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  Driver().groupCapacity = 2;
  Calls();
  EXPECT_FALSE(groups[2]->EnsureDefined());
  EXPECT_FALSE(groups[2]->IsDefined());
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Defined(groups), "A B");
}

TEST_F(GroupsDefine, AVictimThatTheDriverKeepsEndsTheAttempt) {
  const auto groups = AddSome(3);
  Driver().groupCapacity = 2;
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  Calls();
  Driver().Fail("SetGroupDefinition", 1, "no", 1);
  EXPECT_FALSE(groups[2]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,0");
  EXPECT_EQ(Defined(groups), "A B");
  EXPECT_EQ(Groups().DefinedCount(), 2U);
}

TEST_F(GroupsDefine, AGroupThatTheDriverRefusesAfterTheEvictionHasCostTheVictimItsDefinition) {
  const auto groups = AddSome(3);
  Driver().groupCapacity = 2;
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  Calls();
  Driver().during["SetGroupDefinition"] = [&] {
    if (Driver().log.back() == "SetGroupDefinition(13,-1)") Driver().Fail("SetGroupDefinition", 1, "no", 1);
  };
  EXPECT_FALSE(groups[2]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,0 13,-1");
  EXPECT_EQ(Defined(groups), "B");
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

TEST_F(GroupsDefine, AsManyVictimsGoAsTheShrunkenDeviceNeeds) {
  const auto groups = AddSome(5);
  for (std::size_t k = 0; k < 4; ++k)
    groups[k]->EnsureDefined();
  Calls();
  Driver().groupCapacity = 2;
  EXPECT_TRUE(groups[4]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,0 12,0 13,0 15,-1");
  EXPECT_EQ(Defined(groups), "D E");
}

TEST_F(GroupsDefine, AnEvictedGroupIsDefinedAgainWhenItNeedsIt) {
  const auto groups = AddSome(3);
  Driver().groupCapacity = 2;
  for (const Group& group : groups)
    EXPECT_TRUE(group->EnsureDefined());
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,-1 12,-1 11,0 13,-1 12,0 11,-1");
  EXPECT_EQ(Defined(groups), "A C");
}

TEST_F(GroupsDefine, ARemovedVictimCannotBeFoundAndBlocksItsPlace) {
  const auto groups = AddSome(3);
  Driver().groupCapacity = 2;
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  groups[1]->PutLastUseTick(7);
  Groups().Remove(1);
  Calls();
  EXPECT_FALSE(groups[2]->EnsureDefined());
  EXPECT_EQ(Calls(), "");
  EXPECT_EQ(Defined(groups), "A B");
  EXPECT_EQ(Groups().DefinedCount(), 2U);
}

// The list of the defined groups then names a group by whose name another one is found. Case is no matter.
TEST_F(GroupsDefine, ANamesakeOfARemovedVictimThatIsNotDefinedFreesNothing) {
  for (const char* name : {"A", "a"}) {
    SCOPED_TRACE(name);
    Groups().RemoveAll();
    const auto removed = Add("A", 11);
    Driver().groupCapacity = 1;
    ASSERT_TRUE(removed->EnsureDefined());
    Groups().Remove(removed->Handle());
    const auto namesake = Add(name, 21);
    const auto other = Add("Other", 22);
    Calls();
    EXPECT_FALSE(other->EnsureDefined());
    EXPECT_FALSE(namesake->EnsureDefined());
    EXPECT_EQ(Calls(), "");
    EXPECT_TRUE(removed->IsDefined());
    EXPECT_EQ(Groups().DefinedCount(), 1U);
  }
}

TEST_F(GroupsDefine, ANamesakeOfARemovedVictimThatIsDefinedMakesRoomInItsPlace) {
  for (const char* name : {"A", "a"}) {
    SCOPED_TRACE(name);
    Groups().RemoveAll();
    const auto removed = Add("A", 11);
    Driver().groupCapacity = 2;
    ASSERT_TRUE(removed->EnsureDefined());
    Groups().Remove(removed->Handle());
    const auto namesake = Add(name, 21);
    ASSERT_TRUE(namesake->EnsureDefined());  // its key is taken: the list goes on with the removed group
    EXPECT_EQ(Groups().DefinedCount(), 1U);
    const auto other = Add("Other", 22);
    Driver().groupCapacity = 1;
    Calls();
    EXPECT_TRUE(other->EnsureDefined());
    EXPECT_EQ(Calls(), "21,0 22,-1");
    EXPECT_FALSE(namesake->IsDefined());
    EXPECT_TRUE(removed->IsDefined());
    EXPECT_EQ(Groups().DefinedCount(), 1U);
  }
}

TEST_F(GroupsDefine, DefiningAListedGroupAgainThatTheDriverRefusesLeavesItListed) {
  const auto groups = AddSome(2);
  Driver().groupCapacity = 3;
  groups[0]->EnsureDefined();
  Driver().Fail("SetGroupDefinition", 1, "no", 1);
  EXPECT_FALSE(Groups().DefineGroup(groups[0]));
  EXPECT_FALSE(groups[0]->IsDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
  EXPECT_TRUE(groups[0]->EnsureDefined());
  EXPECT_EQ(Groups().DefinedCount(), 1U);
  EXPECT_EQ(Calls(), "11,-1 11,-1 11,-1");
}

// The question counts as answered with no room at all; the device is asked again once a place was freed.
TEST_F(GroupsDefine, ACapacityThatTheDriverCannotTellMakesRoomFirst) {
  const auto groups = AddSome(3);
  groups[0]->EnsureDefined();
  groups[1]->EnsureDefined();
  Calls();
  Driver().Fail("GroupCapacity", 3, "busy", 1);
  EXPECT_TRUE(groups[2]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,0 13,-1");
  EXPECT_EQ(Defined(groups), "B C");
}

TEST_F(GroupsDefine, AnEmptyDeviceThatCannotTellItsCapacityDefinesNothing) {
  const auto groups = AddSome(1);
  Driver().Fail("GroupCapacity", 3, "busy");
  EXPECT_FALSE(groups[0]->EnsureDefined());
  EXPECT_EQ(Calls(), "");
}

TEST_F(GroupsDefine, TheCapacityIsAskedAnewAfterEachEviction) {
  const auto groups = AddSome(4);
  for (std::size_t k = 0; k < 3; ++k)
    groups[k]->EnsureDefined();
  Calls();
  Driver().groupCapacity = 3;
  Driver().during["SetGroupDefinition"] = [&] {
    if (Driver().log.back() == "SetGroupDefinition(11,0)") Driver().groupCapacity = 2;
  };
  EXPECT_TRUE(groups[3]->EnsureDefined());
  EXPECT_EQ(Calls(), "11,0 12,0 14,-1");
  EXPECT_EQ(Defined(groups), "C D");
}

TEST_F(GroupsDefine, ADriverThatFailsAltogetherDefinesNothingAndEvictsNothing) {
  const auto groups = AddSome(2);
  groups[0]->EnsureDefined();
  Calls();
  Driver().Fail("GroupCapacity", 3, "down");
  Driver().Fail("SetGroupDefinition", 3, "down");
  EXPECT_FALSE(groups[1]->EnsureDefined());
  EXPECT_EQ(Defined(groups), "A");
  EXPECT_EQ(Groups().DefinedCount(), 1U);
}

}  // namespace
}  // namespace orvo::testing
