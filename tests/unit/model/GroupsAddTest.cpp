#include "GroupFixture.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {
namespace {

using ::testing::StartsWith;

using GroupsAdd = GroupFixture;

constexpr const char* Running = "-2147221503: Invalid State: Server is running";
constexpr const char* DuplicateKey = "457: This key is already associated with an element of this collection";

TEST_F(GroupsAdd, ANamelessGroupOnAnEmptyCollectionIsGroupOneWithHandleOne) {
  const auto group = Groups().Add();
  EXPECT_EQ(group->GroupName(), "Group_1");
  EXPECT_EQ(group->Handle(), 1);
  EXPECT_EQ(Groups().Count(), 1);
  EXPECT_EQ(Groups().Item(1), group);
}

TEST_F(GroupsAdd, NameAndHandleOfARemovedGroupAreGivenAgain) {
  Groups().Add();
  Groups().Add();
  EXPECT_EQ(GroupsText(), "Group_1=1,Group_2=2");
  Groups().Remove(1);
  Groups().Add();
  EXPECT_EQ(GroupsText(), "Group_2=2,Group_1=1");
}

TEST_F(GroupsAdd, GeneratedNamesAndHandlesAreIndependentOfEachOther) {
  Groups().Add(Variant("Pumps"));
  Groups().Add(Variant("Group_2"));
  Groups().Add();
  Groups().Add();
  EXPECT_EQ(GroupsText(), "Pumps=1,Group_2=2,Group_1=3,Group_3=4");
  Groups().Remove(2);
  Groups().Remove(1);
  Groups().Add(Variant("a"));
  Groups().Add(Variant("b"));
  Groups().Add(Variant("c"));
  EXPECT_EQ(GroupsText(), "Group_1=3,Group_3=4,a=1,b=2,c=5");
}

TEST_F(GroupsAdd, NamesThatOnlyLookGeneratedAreNoObstacle) {
  for (const char* name : {"Group_01", "Group_", "Group_1 ", "Group_2147483647", "Group_2147483648"})
    Groups().Add(Variant(name));
  EXPECT_EQ(Groups().Add()->GroupName(), "Group_1");
}

TEST_F(GroupsAdd, ANameInUseIsRefusedAlsoWhenItWasGenerated) {
  Groups().Add();
  Groups().Add();
  EXPECT_EQ(ErrorOf([&] { Groups().Add(Variant("Group_2")); }),
            "-2147221497: Invalid Name: Group_2:Name already used");
  EXPECT_EQ(GroupsText(), "Group_1=1,Group_2=2");
}

TEST_F(GroupsAdd, ANameThatDiffersOnlyInCaseIsADuplicateKeyAndAddsNothing) {
  Groups().Add();
  Groups().Add();
  EXPECT_EQ(ErrorOf([&] { Groups().Add(Variant("group_2")); }), DuplicateKey);
  EXPECT_EQ(GroupsText(), "Group_1=1,Group_2=2");
  EXPECT_EQ(ErrorOf([&] { Groups().Add(Variant("GROUP_1")); }), DuplicateKey);
  EXPECT_EQ(GroupsText(), "Group_1=1,Group_2=2");
  EXPECT_EQ(Groups().Add(Variant("x"))->Handle(), 3);
}

TEST_F(GroupsAdd, CaseIsIgnoredInEveryAlphabet) {
  Groups().Add(
      Variant("\xC3\x9C"
              "berlauf"));
  EXPECT_EQ(ErrorOf([&] {
              Groups().Add(
                  Variant("\xC3\xBC"
                          "BERLAUF"));
            }),
            DuplicateKey);
}

TEST_F(GroupsAdd, AGeneratedNameCanCollideInCaseToo) {
  Groups().Add(Variant("group_1"));
  EXPECT_EQ(ErrorOf([&] { Groups().Add(); }), DuplicateKey);
  EXPECT_EQ(GroupsText(), "group_1=1");
}

TEST_F(GroupsAdd, ANameIsTakenAsText) {
  const std::vector<std::pair<Variant, std::string>> rows{
      {Variant("Mixers"), "Mixers"},
      {Variant(std::int16_t{7}), "7"},
      {Variant(std::int32_t{-12}), "-12"},
      {Variant(1.5), "1.5"},
      {Variant(true), "True"},
      {Variant(""), ""},
      {Variant(" padded "), " padded "},
  };
  for (const auto& [name, text] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Groups().Add(name)->GroupName(), text);
    EXPECT_EQ(ErrorOf([&, &given = name] { Groups().Add(given); }),
              "-2147221497: Invalid Name: " + text + ":Name already used");
  }
  EXPECT_EQ(Groups().Count(), static_cast<std::int32_t>(rows.size()));
}

TEST_F(GroupsAdd, AnEmptyVariantIsTheEmptyNameAndNoRequestForAGeneratedOne) {
  EXPECT_EQ(Groups().Add(Variant())->GroupName(), "");
  EXPECT_EQ(Groups().ItemByName("")->Handle(), 1);
}

TEST_F(GroupsAdd, WhatIsNoTextIsAnInternalErrorThatAddsNothing) {
  EXPECT_THAT(
      ErrorOf([&] { Groups().Add(Variant::Null()); }),
      StartsWith("-2147221490: INTERNAL ERROR, please contact support. code94:Invalid use of Null\r\n:"));
  EXPECT_THAT(ErrorOf([&] {
                Groups().Add(Variant(SafeArray<std::int32_t>{1, 2}));
              }),
              StartsWith("-2147221490: INTERNAL ERROR, please contact support. code13:Type mismatch\r\n:"));
  EXPECT_EQ(Groups().Count(), 0);
}

TEST_F(GroupsAdd, ANewGroupBelongsToTheServerAndIsInactiveUndefinedAndEmpty) {
  const auto group = Groups().Add(Variant("A"));
  EXPECT_EQ(group->Parent(), plant->server);
  EXPECT_EQ(Groups().Parent(), plant->server);
  EXPECT_FALSE(group->Active());
  EXPECT_FALSE(group->Subscribed());
  EXPECT_EQ(group->UpdateRate(), 0);
  EXPECT_FALSE(group->IsDefined());
  EXPECT_EQ(group->LastUseTick(), 0U);
  EXPECT_EQ(group->GroupId(), 0);
  EXPECT_TRUE(group->CompiledBuffer().IsEmpty());
  EXPECT_EQ(group->TimerId(), -1);
  EXPECT_FALSE(group->RefreshPending());
  ASSERT_NE(group->KELDataItems(), nullptr);
  EXPECT_EQ(group->KELDataItems()->Count(), 0);
  EXPECT_EQ(group->KELDataItems()->Parent(), group);
  EXPECT_EQ(Driver().log, Log{});
}

// The removals and Add, each with arguments that would fail by themselves too: the status is looked at first.
TEST_F(GroupsAdd, AddAndTheRemovalsAreRefusedOnlyWhileTheServerRuns) {
  struct Row {
    const char* title;
    std::function<void(KELDataGroups&)> change;
    const char* whileClosed;
  };
  const std::vector<Row> rows{
      {"Add", [](KELDataGroups& groups) { groups.Add(); }, "none"},
      {"Add of a used name", [](KELDataGroups& groups) { groups.Add(Variant("A")); },
       "-2147221497: Invalid Name: A:Name already used"},
      {"Remove", [](KELDataGroups& groups) { groups.Remove(1); }, "none"},
      {"Remove of an unknown handle", [](KELDataGroups& groups) { groups.Remove(77); },
       "-2147221498: Invalid Handle: 77"},
      {"RemoveByName", [](KELDataGroups& groups) { groups.RemoveByName("b"); }, "none"},
      {"RemoveByName of an unknown name", [](KELDataGroups& groups) { groups.RemoveByName("zz"); },
       "-2147221497: Invalid Name: zz: can't remove it"},
      {"RemoveAll", [](KELDataGroups& groups) { groups.RemoveAll(); }, "none"},
  };
  for (const Row& row : rows) {
    for (const std::int32_t status : {1, 2, 3}) {
      SCOPED_TRACE(std::string(row.title) + " at status " + std::to_string(status));
      plant = std::make_unique<Plant>();
      if (status > 1) plant->Configure();
      Groups().Add(Variant("A"));
      Groups().Add(Variant("B"));
      if (status > 2) Server().OpenCommunication();
      ASSERT_EQ(Server().ServerStatus(), status);
      EXPECT_EQ(ErrorOf([&] { row.change(Groups()); }), status == 3 ? Running : row.whileClosed);
      if (status == 3) {
        EXPECT_EQ(GroupsText(), "A=1,B=2");
      }
      Server().CloseCommunication();
    }
  }
}

TEST_F(GroupsAdd, AfterClosingTheCollectionCanBeChangedAgain) {
  Server().OpenCommunication();
  EXPECT_EQ(ErrorOf([&] { Groups().Add(); }), Running);
  Server().CloseCommunication();
  EXPECT_EQ(Groups().Add()->GroupName(), "Group_1");
}

TEST_F(GroupsAdd, TwentyThousandGroupsAreAddedFoundAndRemoved) {
  constexpr std::int32_t Number = 20000;
  for (std::int32_t k = 0; k < Number; ++k)
    Groups().Add();
  EXPECT_EQ(Groups().ItemByName("Group_20000"), Groups().Item(Number));
  for (std::int32_t k = 1; k <= Number; k += 2)
    Groups().Remove(k);
  EXPECT_EQ(Groups().Add()->Handle(), 1);
  EXPECT_EQ(Groups().Add()->GroupName(), "Group_3");
  Groups().RemoveAll();
  EXPECT_EQ(Groups().Count(), 0);
}

}  // namespace
}  // namespace orvo::testing
