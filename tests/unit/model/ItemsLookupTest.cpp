// Finding, counting, enumerating and removing items; which server status each operation asks for.
#include "unit/model/ItemFixture.h"

namespace orvo::testing {
namespace {

using Items = ItemFixture;

const std::string InvalidHandle = "-2147221498: Invalid Handle: ";
const std::string InvalidName = "-2147221497: Invalid Name: ";
const std::string NotStopped = "-2147221503: Invalid State: Server not stopped";

TEST_F(Items, ACollectionIsEmptyAndBelongsToItsGroup) {
  EXPECT_EQ(items->Count(), 0);
  EXPECT_TRUE(items->NewEnum().empty());
  EXPECT_EQ(items->Parent(), group);
  EXPECT_EQ(group->KELDataItems(), items) << "the same object every time";
}

TEST_F(Items, AnItemIsFoundByItsHandle) {
  const auto first = items->Add("WO1", Variant("A"));
  const auto second = items->AddCompiled("B");
  EXPECT_EQ(items->Item(1), first);
  EXPECT_EQ(items->Item(2), second);
}

TEST_F(Items, AnUnknownHandleRunsTogetherWithTheGroupDetail) {
  EXPECT_EQ(ErrorOf([&] { items->Item(7); }), InvalidHandle + "7: Group Name= GGroupHandle: 1");
  items->Add("WO1");
  for (const std::int32_t handle : {0, -1, 2, 2147483647, -2147483647 - 1}) {
    SCOPED_TRACE(handle);
    EXPECT_EQ(ErrorOf([&] { items->Item(handle); }),
              InvalidHandle + std::to_string(handle) + ": Group Name= GGroupHandle: 1");
    EXPECT_EQ(ErrorOf([&] { items->Remove(handle); }),
              InvalidHandle + std::to_string(handle) + ": Group Name= GGroupHandle: 1");
  }
  EXPECT_EQ(items->Count(), 1);
}

TEST_F(Items, AnItemIsFoundByItsExactName) {
  item = items->Add("WO1", Variant("Speed"));
  EXPECT_EQ(items->ItemByName("Speed"), item);
  EXPECT_EQ(ErrorOf([&] { items->ItemByName("Pressure"); }),
            InvalidName + "Pressure: Group Name= GGroupHandle: 1");
}

TEST_F(Items, ANameInAnotherCaseIsNotFoundButRemoves) {
  items->Add("WO1", Variant("Speed"));
  EXPECT_EQ(ErrorOf([&] { items->ItemByName("SPEED"); }), InvalidName + "SPEED: Group Name= GGroupHandle: 1");
  items->RemoveByName("sPEED");
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(Items, CaseIsIgnoredBeyondAsciiToo) {
  items->Add("WO1", Variant("Höhe Ω"));
  items->RemoveByName("HÖHE ω");
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(Items, RemovingAnUnknownNameRaisesTheNameAndTheGroupDetail) {
  items->Add("WO1", Variant("Speed"));
  EXPECT_EQ(ErrorOf([&] { items->RemoveByName("Spee"); }), InvalidName + "Spee: Group Name= GGroupHandle: 1");
  EXPECT_EQ(ItemsText(*items), "Speed=1");
}

TEST_F(Items, RemoveTakesExactlyOneItemAndLeavesTheOtherHandles) {
  for (const char* name : {"A", "B", "C"})
    items->Add("WO1", Variant(name));
  items->Remove(2);
  EXPECT_EQ(ItemsText(*items), "A=1,C=3");
  EXPECT_EQ(ErrorNumberOf([&] { items->Item(2); }), errInvalidHandle);
  EXPECT_EQ(ErrorNumberOf([&] { items->ItemByName("B"); }), errInvalidName);
  EXPECT_EQ(items->Item(3)->ItemName(), "C");
  EXPECT_EQ(ErrorNumberOf([&] { items->Remove(2); }), errInvalidHandle) << "once only";
}

TEST_F(Items, RemoveAllLeavesAnEmptyCollectionThatStartsAnew) {
  for (const char* name : {"A", "B", "C"})
    items->Add("WO1", Variant(name));
  items->RemoveAll();
  EXPECT_EQ(items->Count(), 0);
  EXPECT_TRUE(items->NewEnum().empty());
  EXPECT_EQ(items->TotalWordLength(), 0);
  items->RemoveAll();
  items->Add("WO1");
  EXPECT_EQ(ItemsText(*items), "Item_1=1");
}

TEST_F(Items, TheEnumerationFollowsTheOrderOfAdding) {
  for (const char* name : {"C", "A", "B"})
    items->Add("WO1", Variant(name));
  items->Remove(2);
  items->AddCompiled("A");
  EXPECT_EQ(ItemsText(*items), "C=1,B=3,A=2");
  EXPECT_EQ(items->Count(), 3);
}

TEST_F(Items, AnEnumerationGoesOnOverItemsThatAreRemovedMeanwhile) {
  items->Add("WO1");
  items->Add("WO2");
  const auto all = items->NewEnum();
  items->RemoveAll();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[1]->ItemId(), "WO2");
}

TEST_F(Items, TheSameItemIsTheSameObjectWhereverItComesFrom) {
  item = items->Add("WO1", Variant("A"));
  EXPECT_EQ(items->Item(1).get(), item.get());
  EXPECT_EQ(items->ItemByName("A").get(), item.get());
  EXPECT_EQ(items->NewEnum().front().get(), item.get());
}

// What each operation answers when the server has this status.
struct StatusRow {
  const char* operation;
  std::function<void(KELDataItems&)> run;
  bool guarded;
};
const std::vector<StatusRow> StatusRows{
    {"Add", [](KELDataItems& items) { items.Add("WO9", Variant("New")); }, true},
    {"Add with a name in use", [](KELDataItems& items) { items.Add("WO9", Variant("A")); }, true},
    {"Add with a bad identifier", [](KELDataItems& items) { items.Add("?"); }, true},
    {"Remove", [](KELDataItems& items) { items.Remove(1); }, true},
    {"Remove unknown", [](KELDataItems& items) { items.Remove(77); }, true},
    {"RemoveByName", [](KELDataItems& items) { items.RemoveByName("A"); }, true},
    {"RemoveByName unknown", [](KELDataItems& items) { items.RemoveByName("Z"); }, true},
    {"RemoveAll", [](KELDataItems& items) { items.RemoveAll(); }, true},
    {"AddCompiled", [](KELDataItems& items) { items.AddCompiled("New"); }, false},
    {"Item", [](KELDataItems& items) { items.Item(1); }, false},
    {"ItemByName", [](KELDataItems& items) { items.ItemByName("A"); }, false},
    {"Count", [](KELDataItems& items) { items.Count(); }, false},
    {"NewEnum", [](KELDataItems& items) { items.NewEnum(); }, false},
};

TEST_F(Items, WhileTheServerRunsItemsAreNeitherAddedNorRemoved) {
  items->Add("WO1", Variant("A"));
  plant->server->OpenCommunication();
  for (const StatusRow& row : StatusRows) {
    SCOPED_TRACE(row.operation);
    EXPECT_EQ(ErrorOf([&] { row.run(*items); }), row.guarded ? NotStopped : "none");
  }
  EXPECT_EQ(ItemsText(*items), "A=1,New=2") << "AddCompiled alone went through";
  plant->server->CloseCommunication();
  items->RemoveAll();
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(Items, BeforeADeviceTypeIsChosenItemsAreNeitherAddedNorRemoved) {
  items.reset();
  group.reset();
  plant = std::make_unique<Plant>();
  group = plant->server->KELDataGroups()->Add("G");
  items = group->KELDataItems();
  items->AddCompiled("A");
  ASSERT_EQ(plant->server->ServerStatus(), 1);
  for (const StatusRow& row : StatusRows) {
    SCOPED_TRACE(row.operation);
    EXPECT_EQ(ErrorOf([&] { row.run(*items); }), row.guarded ? NotStopped : "none");
  }
  EXPECT_EQ(ItemsText(*items), "A=1,New=2");
}

}  // namespace
}  // namespace orvo::testing
