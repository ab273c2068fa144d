#include "GroupFixture.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {
namespace {

using ::testing::StartsWith;

constexpr const char* ServerGone =
    "-2147221490: INTERNAL ERROR, please contact support. code91:Object variable or With block variable not "
    "set\r\n:";

using GroupLifetime = GroupFixture;

TEST_F(GroupLifetime, WhatNeedsTheServerFailsWhenTheGroupHasOutlivedIt) {
  const auto group = Add("A", 11, {"WO100"});
  plant->server.reset();
  SafeArray<std::int32_t> handles{1};
  SafeArray<Variant> values{Variant(std::int16_t{1})};
  SafeArray<std::int32_t> errors;
  std::int32_t id = 55;
  const std::vector<std::pair<const char*, std::function<void()>>> rows{
      {"Active", [&] { group->PutActive(true); }},
      {"SyncRead", [&] { group->SyncRead(handles, values, errors); }},
      {"SyncReadAll", [&] { group->SyncReadAll(handles, values, errors); }},
      {"SyncWrite", [&] { group->SyncWrite(handles, values, errors); }},
      {"SyncWriteAll", [&] { group->SyncWriteAll(handles, values, errors); }},
      {"AsyncRead", [&] { group->AsyncRead(handles, id); }},
      {"AsyncReadAll", [&] { group->AsyncReadAll(id); }},
      {"AsyncWrite", [&] { group->AsyncWrite(handles, values, id); }},
      {"AsyncWriteAll", [&] { group->AsyncWriteAll(handles, values, id); }},
      {"AsyncCancel", [&] { group->AsyncCancel(1); }},
  };
  for (const auto& [operation, call] : rows)
    EXPECT_THAT(ErrorOf(call), StartsWith(ServerGone)) << operation;
  EXPECT_FALSE(group->Active());
  EXPECT_EQ(id, 55);
  EXPECT_EQ(LogText(handles), "[1]");
}

TEST_F(GroupLifetime, WhatNeedsNoServerWorksOnWhenTheGroupHasOutlivedIt) {
  const auto group = Add("A", 11, {"WO100", "DW102"}, 300);
  plant->server.reset();
  EXPECT_EQ(group->Parent(), nullptr);
  EXPECT_EQ(group->GroupName(), "A");
  EXPECT_EQ(group->Handle(), 1);
  EXPECT_EQ(group->GroupId(), 11);
  EXPECT_EQ(group->KELDataItems()->Count(), 2);
  EXPECT_FALSE(group->Active());
  group->PutActive(false);
  group->PutSubscribed(false);
  EXPECT_FALSE(group->Subscribed());
  group->PutUpdateRate(70);
  EXPECT_EQ(group->UpdateRate(), 70);
  EXPECT_EQ(ErrorOf([&] { group->PutUpdateRate(-1); }), "-2147221493: Update rate must be >= 0");
  group->SetCompiledBufferDimension(3);
  EXPECT_EQ(group->CompiledBuffer().Size(), 3U);
  EXPECT_EQ(group->CompileVariable({1, 2}).At(1), 2.0);
  EXPECT_EQ(group->GetDimension({1, 2}).At(1), 2);
  EXPECT_FALSE(group->EnsureDefined());
  EXPECT_TRUE(group->ReleaseDefinition());
  EXPECT_FALSE(group->StartUpdates());
  EXPECT_TRUE(group->StopUpdates());
  group->Refresh();
  EXPECT_FALSE(group->RefreshPending());
}

TEST_F(GroupLifetime, AnActiveGroupThatHasOutlivedItsServerCanBeStoppedForGood) {
  const auto group = Add("A", 11, {"WO100"}, 100);
  group->PutActive(true);
  Server().OpenCommunication();
  plant->server.reset();
  EXPECT_TRUE(group->Active());
  EXPECT_TRUE(group->IsDefined());
  group->Refresh();
  EXPECT_FALSE(group->RefreshPending());
  EXPECT_EQ(ErrorOf([&] { group->PutActive(true); }), "none");
  group->PutActive(false);
  EXPECT_FALSE(group->Active());
  EXPECT_EQ(group->TimerId(), -1);
  EXPECT_THAT(ErrorOf([&] { group->PutActive(true); }), StartsWith(ServerGone));
  EXPECT_FALSE(group->ReleaseDefinition());
}

TEST_F(GroupLifetime, ARateForAnActiveGroupThatHasOutlivedItsServerStopsIt) {
  const auto group = Add("A", 11, {"WO100"}, 100);
  group->PutActive(true);
  plant->server.reset();
  EXPECT_THAT(ErrorOf([&] { group->PutUpdateRate(300); }), StartsWith(ServerGone));
  EXPECT_FALSE(group->Active());
  EXPECT_EQ(group->UpdateRate(), 300);
}

TEST_F(GroupLifetime, TimersOfGroupsThatHaveOutlivedTheirServerEndWithTheirNextTick) {
  const auto a = Add("A", 11, {"WO100"}, 100);
  const auto b = Add("B", 12, {"WO100"}, 250);
  a->PutActive(true);
  b->PutActive(true);
  Server().OpenCommunication();
  plant->server.reset();
  Driver().log.clear();
  Advance(250ms);
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(GroupLifetime, NothingTicksOnceServerAndGroupsAreGone) {
  Add("A", 11, {"WO100"}, 100)->PutActive(true);
  Server().OpenCommunication();
  ASSERT_EQ(Platform().TimersAlive(), 2U);
  plant->server.reset();
  EXPECT_EQ(Platform().TimersAlive(), 0U);
  Advance(1000ms);
}

TEST_F(GroupLifetime, ACollectionThatHasOutlivedItsServerCanBeReadButNotChanged) {
  const auto group = Add("A");
  const auto collection = plant->server->KELDataGroups();
  plant->server.reset();
  EXPECT_EQ(collection->Parent(), nullptr);
  EXPECT_EQ(collection->Count(), 1);
  EXPECT_EQ(collection->Item(1), group);
  EXPECT_EQ(collection->ItemByName("A"), group);
  EXPECT_EQ(collection->NewEnum().size(), 1U);
  EXPECT_EQ(ErrorOf([&] { collection->Item(2); }), "-2147221498: Invalid Handle: 2");
  const std::vector<std::pair<const char*, std::function<void()>>> rows{
      {"Add", [&] { collection->Add(); }},
      {"Remove", [&] { collection->Remove(1); }},
      {"RemoveByName", [&] { collection->RemoveByName("A"); }},
      {"RemoveAll", [&] { collection->RemoveAll(); }},
  };
  for (const auto& [operation, call] : rows)
    EXPECT_THAT(ErrorOf(call), StartsWith(ServerGone)) << operation;
  EXPECT_EQ(collection->Count(), 1);
  EXPECT_FALSE(collection->DefineGroup(group));
  EXPECT_TRUE(collection->UndefineGroup(group));
  collection->StartGroups();
  collection->StopGroups();
  std::int32_t timerId = -1;
  collection->Execute(timerId);
}

TEST_F(GroupLifetime, AClientMayHoldTheItemsInsteadOfTheGroup) {
  const auto items = Add("A", 11, {"WO100"})->KELDataItems();
  Groups().Remove(1);
  plant->server.reset();
  EXPECT_EQ(items->Count(), 1);
  EXPECT_EQ(items->Parent()->GroupName(), "A");
}

// What the driver does while it defines a group that is being activated, and how that ends.
TEST_F(GroupLifetime, TheDriverMayCallBackWhileAGroupIsActivated) {
  struct Row {
    const char* title;
    std::function<void()> during;
    bool active;
    std::size_t timers;  // besides the spooler's
    int definitions;
  };
  const std::vector<Row> rows{
      {"nothing", [] {}, true, 1, 1},
      {"activate the same group", [this] { Groups().Item(1)->PutActive(true); }, true, 1, 2},
      {"stop the same group", [this] { Groups().Item(1)->PutActive(false); }, true, 1, 1},
      {"define the same group", [this] { Groups().Item(1)->EnsureDefined(); }, true, 1, 2},
      {"change its rate", [this] { Groups().Item(1)->PutUpdateRate(70); }, true, 1, 1},
      {"activate another group", [this] { Groups().Item(2)->PutActive(true); }, true, 2, 2},
      {"fail", [] { throw AutomationError(3, "refused"); }, false, 0, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    plant = std::make_unique<Plant>();
    plant->Configure();
    const auto group = Add("A", 11, {"WO100"}, 100);
    Add("B", 12, {"WO100"}, 100);
    Server().OpenCommunication();
    Driver().log.clear();
    Driver().during["SetGroupDefinition"] = [&] {
      Driver().during["SetGroupDefinition"] = nullptr;
      row.during();
    };
    EXPECT_EQ(ErrorOf([&] { group->PutActive(true); }), "none");
    EXPECT_EQ(group->Active(), row.active);
    EXPECT_EQ(group->TimerId() > 0, row.active);
    EXPECT_EQ(Platform().TimersAlive(), row.timers + 1);
    EXPECT_EQ(Driver().log.size(), static_cast<std::size_t>(row.definitions));
  }
}

TEST_F(GroupLifetime, TheServerMayGoWhileTheDriverDefinesAGroup) {
  for (const bool held : {true, false}) {
    SCOPED_TRACE(held);
    plant = std::make_unique<Plant>();
    plant->Configure();
    auto group = Add("A", 11, {"WO100"}, 100);
    Server().OpenCommunication();
    Driver().during["SetGroupDefinition"] = [&] {
      if (!held) group.reset();
      plant->server.reset();
    };
    KELDataGroup& activated = *group;
    EXPECT_EQ(ErrorOf([&] { activated.PutActive(true); }), "none");
    Advance(200ms);
    EXPECT_EQ(Platform().TimersAlive(), 0U);
    group.reset();
  }
}

TEST_F(GroupLifetime, GroupsMayBeRemovedWhileOpeningStartsThem) {
  for (const char* name : {"A", "B", "C"})
    Add(name, 11 + Groups().Count(), {"WO100"}, 100)->PutActive(true);
  Driver().log.clear();
  Driver().during["SetGroupDefinition"] = [&] {
    if (Groups().Count() == 3) {
      Groups().Remove(1);
      Groups().RemoveByName("B");
    }
  };
  Server().OpenCommunication();
  EXPECT_EQ(Driver().log,
            (Log{"OpenCommunication(true)", "SetGroupDefinition(11,-1)", "SetGroupDefinition(13,-1)"}));
  EXPECT_EQ(GroupsText(), "C=3");
}

// Everything that a client can do to its group from inside the group's own event.
TEST_F(GroupLifetime, AHandlerOfDataChangeMayDoAnythingToItsGroup) {
  struct Row {
    const char* title;
    std::function<void()> act;
  };
  const std::vector<Row> rows{
      {"stop the group", [this] { Groups().Item(1)->PutActive(false); }},
      {"restart the group",
       [this] {
         Groups().Item(1)->PutActive(false);
         Groups().Item(1)->PutActive(true);
       }},
      {"change its rate", [this] { Groups().Item(1)->PutUpdateRate(300); }},
      {"unsubscribe", [this] { Groups().Item(1)->PutSubscribed(false); }},
      {"refresh", [this] { Groups().Item(1)->Refresh(); }},
      {"release the definition", [this] { Groups().Item(1)->ReleaseDefinition(); }},
      {"close", [this] { Server().CloseCommunication(); }},
      {"close and remove the group",
       [this] {
         Server().CloseCommunication();
         Groups().Remove(1);
       }},
      {"close and remove all",
       [this] {
         Server().CloseCommunication();
         Groups().RemoveAll();
       }},
      {"withdraw the sink", [this] { Groups().Item(1)->Events().UnadviseAll(); }},
      {"let the server go", [this] { plant->server.reset(); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    plant = std::make_unique<Plant>();
    plant->Configure();
    plant->AnswerByItself();
    timeline.clear();
    Add("A", 11, {"WO100"}, 200)->PutActive(true);
    int raised = 0;
    whenRaised["A.DataChange"] = [&] {
      ++raised;
      row.act();
    };
    Server().OpenCommunication();
    Advance(300ms);
    EXPECT_EQ(raised, 1);
    if (plant->server && Groups().Count() > 0) {
      EXPECT_FALSE(Groups().Item(1)->RefreshPending());
      EXPECT_EQ(Groups().Item(1)->LastUseTick(), SimulatedPlatform::DefaultTickCount + 300);
    }
    whenRaised.clear();
    Advance(1000ms);
  }
}

TEST_F(GroupLifetime, RemovalIsRefusedInsideAHandlerWhileCommunicationIsOpen) {
  plant->AnswerByItself();
  Add("A", 11, {"WO100"}, 200)->PutActive(true);
  Server().OpenCommunication();
  std::string error;
  whenRaised["A.DataChange"] = [&] { error = ErrorOf([&] { Groups().RemoveAll(); }); };
  Advance(300ms);
  EXPECT_EQ(error, "-2147221503: Invalid State: Server is running");
  EXPECT_EQ(Groups().Count(), 1);
}

}  // namespace
}  // namespace orvo::testing
