// How long items live and whom they keep alive; drivers that call back while they compile; large collections.
#include "unit/model/ItemFixture.h"

namespace orvo::testing {
namespace {

using Items = ItemFixture;

TEST_F(Items, AnItemThatAClientHoldsKeepsItsGroupAlive) {
  item = items->Add("WO1");
  items.reset();
  const std::weak_ptr<KELDataGroup> watched = group;
  group.reset();
  plant->server->KELDataGroups()->RemoveAll();
  ASSERT_FALSE(watched.expired());
  EXPECT_EQ(item->Parent()->GroupName(), "G");
  EXPECT_EQ(item->Parent()->KELDataItems()->Item(1), item);
  item.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(Items, ARemovedItemLivesAsLongAsItIsHeldAndStillNamesItsGroup) {
  item = items->Add("WO1");
  items->Remove(1);
  const std::weak_ptr<KELDataItem> watched = item;
  EXPECT_EQ(item->Parent(), group);
  EXPECT_EQ(item->ItemName(), "Item_1");
  const KELDataGroup* const address = group.get();
  items.reset();
  group.reset();
  plant->server->KELDataGroups()->RemoveAll();
  ASSERT_NE(item->Parent(), nullptr);
  EXPECT_EQ(item->Parent().get(), address);
  item.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(Items, AnItemThatNobodyHoldsEndsWithItsRemoval) {
  items->Add("WO1");
  const std::int64_t alive = AutomationObject::LiveCount();
  items->Remove(1);
  EXPECT_EQ(AutomationObject::LiveCount(), alive - 1);
}

TEST_F(Items, HoldingTheCollectionKeepsTheGroupAliveAsWell) {
  items->Add("WO1");
  group.reset();
  plant->server->KELDataGroups()->RemoveAll();
  EXPECT_EQ(items->Parent()->GroupName(), "G");
  EXPECT_EQ(items->Count(), 1);
}

TEST_F(Items, AnItemIsTheSameObjectWhenItIsAskedForAgainAfterItWasLetGo) {
  KELDataItem* const first = items->Add("WO1").get();
  EXPECT_EQ(items->Item(1).get(), first);
}

TEST_F(Items, AllThatClientsHoldOfOneItemEndsTogether) {
  item = items->Add("WO1");
  const std::weak_ptr<KELDataItem> watched = items->Item(1);
  EXPECT_FALSE(watched.expired());
  item.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(items->Count(), 1);
}

TEST_F(Items, AnItemWhoseServerIsGoneGoesOnWithWhatNeedsNoServer) {
  item = items->Add("WO1", Variant("Speed"));
  plant->server.reset();
  EXPECT_EQ(item->Parent(), group);
  EXPECT_EQ(group->Parent(), nullptr);
  EXPECT_EQ(items->Item(1), item);
  EXPECT_EQ(items->AddCompiled("X")->Handle(), 2);
  item->PutBCD(true);
  EXPECT_TRUE(item->USERValue().IsEmpty());
  const std::string lost = "-2147221490: INTERNAL ERROR, please contact support. code91:";
  std::int32_t error = 0;
  Variant value;
  EXPECT_EQ(ErrorOf([&] { items->Add("WO2"); }).substr(0, lost.size()), lost);
  EXPECT_EQ(ErrorOf([&] { items->Remove(1); }).substr(0, lost.size()), lost);
  EXPECT_EQ(ErrorOf([&] { items->RemoveByName("Speed"); }).substr(0, lost.size()), lost);
  EXPECT_EQ(ErrorOf([&] { items->RemoveAll(); }).substr(0, lost.size()), lost);
  EXPECT_EQ(ErrorOf([&] { item->SyncRead(value, error); }).substr(0, lost.size()), lost);
  EXPECT_EQ(ErrorOf([&] { item->SyncWrite(Variant(1.0), error); }).substr(0, lost.size()), lost);
  item->SetDATAValue(Word(5));
  EXPECT_EQ(ErrorOf([&] { item->USERValue(); }).substr(0, lost.size()), lost);
  EXPECT_EQ(items->Count(), 2);
}

// A device that runs `inside` while it compiles the identifier "WO!".
class ItemsReentry : public ItemFixture {
 protected:
  void WhileCompiling(const std::function<void()>& inside) {
    Device().compile = [inside](const std::string& itemId, double& address, std::int32_t& words,
                                std::int32_t&) {
      address = 1;
      words = 1;
      if (itemId == "WO!") inside();
      return true;
    };
  }
};

const std::string Refused = "-2147221495: Invalid ItemID: WO!: Group Name= GGroupHandle: 1";

TEST_F(ItemsReentry, HandlesStayDistinctWhenTheDriverAddsAnItemWhileItCompiles) {
  WhileCompiling([this] { items->Add("WO1", Variant("Inner")); });
  item = items->Add("WO!", Variant("Outer"));
  ASSERT_EQ(items->Count(), 2);
  EXPECT_NE(items->ItemByName("Inner")->Handle(), items->ItemByName("Outer")->Handle());
  for (const auto& each : items->NewEnum())
    EXPECT_EQ(items->Item(each->Handle()), each);
  EXPECT_EQ(items->TotalWordLength(), 2);
}

TEST_F(ItemsReentry, TheSecondOfTwoItemsWithTheSameNameIsRefusedAsItsKeyCollides) {
  WhileCompiling([this] { items->Add("WO1", Variant("Same")); });
  EXPECT_EQ(ErrorOf([&] { items->Add("WO!", Variant("Same")); }), Refused);
  EXPECT_EQ(ItemsText(*items), "Same=1");
  EXPECT_EQ(items->Item(1)->ItemId(), "WO1");
  EXPECT_EQ(items->TotalWordLength(), 1);
}

TEST_F(ItemsReentry, TheDriverMayRemoveItemsWhileItCompiles) {
  items->Add("WO1", Variant("A"));
  items->Add("WO2", Variant("B"));
  WhileCompiling([this] { items->RemoveAll(); });
  item = items->Add("WO!", Variant("C"));
  EXPECT_EQ(items->Count(), 1);
  EXPECT_EQ(items->Item(item->Handle()), item);
  EXPECT_EQ(items->TotalWordLength(), 1);
}

TEST_F(ItemsReentry, TheDriverMayRemoveTheGroupWhileItCompiles) {
  WhileCompiling([this] {
    plant->server->KELDataGroups()->RemoveAll();
    group.reset();
  });
  const std::shared_ptr<KELDataItems> held = items;
  items.reset();
  item = held->Add("WO!");
  EXPECT_EQ(item->Parent()->GroupName(), "G");
}

TEST_F(ItemsReentry, TheDriverMayReleaseTheServerWhileItCompiles) {
  const std::shared_ptr<ScriptedDevice> device = plant->driver->LastDevice();
  WhileCompiling([this] { plant->server.reset(); });
  EXPECT_EQ(ErrorOf([&] { items->Add("WO!"); }), Refused) << "nobody is left to check the size";
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(ItemsReentry, TheDriverMayReplaceItsDeviceWhileItCompiles) {
  WhileCompiling([this] { plant->server->PutDeviceType(1); });
  item = items->Add("WO!");
  EXPECT_EQ(item->Handle(), 1);
}

TEST_F(ItemsReentry, TheItemMayBeRemovedWhileItsSizeIsChecked) {
  Driver().during["CheckVariable"] = [this] { items->RemoveAll(); };
  const std::shared_ptr<KELDataItem> added = items->Add("WO1");
  EXPECT_EQ(items->Count(), 0);
  EXPECT_EQ(added->Parent(), group);
  Driver().variableFits = false;
  EXPECT_EQ(ErrorNumberOf([&] { items->Add("WO1"); }), errInvalidItemId);
  EXPECT_EQ(items->Count(), 0);
  EXPECT_EQ(items->TotalWordLength(), 0);
}

TEST_F(Items, AHundredThousandItemsKeepTheirOrderAndTheirHandles) {
  constexpr std::int32_t Count = 100000;
  Device().compile = [](const std::string&, double& address, std::int32_t& words, std::int32_t&) {
    address = 1;
    words = 1;
    return true;
  };
  for (std::int32_t added = 0; added < Count; ++added)
    items->Add("WO1");
  ASSERT_EQ(items->Count(), Count);
  EXPECT_EQ(items->Item(Count)->ItemName(), "Item_" + std::to_string(Count));
  EXPECT_EQ(items->ItemByName("Item_50000")->Handle(), 50000);
  for (std::int32_t handle = 1; handle <= Count; handle += 2)
    items->Remove(handle);
  EXPECT_EQ(items->Count(), Count / 2);
  EXPECT_EQ(items->TotalWordLength(), Count / 2);
  for (std::int32_t handle = 1; handle <= 19; handle += 2)
    EXPECT_EQ(items->Add("WO1")->Handle(), handle);
  const auto all = items->NewEnum();
  ASSERT_EQ(all.size(), static_cast<std::size_t>(Count / 2 + 10));
  EXPECT_EQ(all.front()->Handle(), 2);
  EXPECT_EQ(all[Count / 2 - 1]->Handle(), Count);
  EXPECT_EQ(all.back()->Handle(), 19);
  items->RemoveAll();
  EXPECT_EQ(items->Count(), 0);
}

}  // namespace
}  // namespace orvo::testing
