// Adding items: names, handles, compiling, and every way in which adding fails.
#include "unit/model/ItemFixture.h"

namespace orvo::testing {
namespace {

using Items = ItemFixture;

const std::string InvalidItemId = "-2147221495: Invalid ItemID: ";
const std::string Internal = "-2147221490: INTERNAL ERROR, please contact support. code";
const std::string Mismatch = "13:Type mismatch\r\n";
const std::string Detail = ": Group Name= GGroupHandle: 1";

TEST_F(Items, AnAddedItemHasItsNameItsHandleItsIdentifierItsParentAndWhatTheDeviceCompiled) {
  Device().compile = [](const std::string& itemId, double& address, std::int32_t& words, std::int32_t& type) {
    EXPECT_EQ(itemId, "DW 17/x");
    address = 1234.5;
    words = 2;
    type = 0;
    return true;
  };
  item = items->Add("DW 17/x", Variant("Speed"));
  EXPECT_EQ(item->ItemName(), "Speed");
  EXPECT_EQ(item->ItemId(), "DW 17/x");
  EXPECT_EQ(item->Handle(), 1);
  EXPECT_EQ(item->Parent(), group);
  EXPECT_EQ(item->CompiledAddress(), 1234.5);
  EXPECT_EQ(item->ItemWordLength(), 2);
  EXPECT_EQ(item->ItemType(), 0);
  EXPECT_EQ(Device().log, (Log{"CompileItemId(DW 17/x)"}));
  EXPECT_EQ(ItemsText(*items), "Speed=1");
}

TEST_F(Items, TheIdentifierIsKeptUnchanged) {
  Device().compile = [](const std::string&, double&, std::int32_t&, std::int32_t&) { return true; };
  EXPECT_EQ(items->Add("  wo 1 ")->ItemId(), "  wo 1 ");
}

TEST_F(Items, TheFirstNamelessItemIsItem1WithHandle1) {
  item = items->Add("WO1");
  EXPECT_EQ(item->ItemName(), "Item_1");
  EXPECT_EQ(item->Handle(), 1);
}

TEST_F(Items, NameAndHandleOfARemovedItemAreUsedAgain) {
  items->Add("WO1");
  items->Add("WO2");
  items->Remove(1);
  item = items->Add("WO3");
  EXPECT_EQ(item->ItemName(), "Item_1");
  EXPECT_EQ(item->Handle(), 1);
  EXPECT_EQ(ItemsText(*items), "Item_2=2,Item_1=1");
}

TEST_F(Items, AClientNameOfTheGeneratedFormIsSkippedOnlyWhenItIsReached) {
  items->Add("WO1", Variant("Item_3"));
  for (int added = 0; added < 4; ++added)
    items->Add("WO2");
  EXPECT_EQ(ItemsText(*items), "Item_3=1,Item_1=2,Item_2=3,Item_4=4,Item_5=5");
}

TEST_F(Items, GeneratedNamesAndHandlesAreCountedSeparately) {
  items->Add("WO1", Variant("A"));
  items->Add("WO2");
  items->Add("WO3", Variant("B"));
  items->RemoveByName("A");
  items->Add("WO4");
  EXPECT_EQ(ItemsText(*items), "Item_1=2,B=3,Item_2=1");
}

TEST_F(Items, AGeneratedNameAvoidsOnlyExactNamesSoACollisionInCaseIsRefused) {
  items->Add("WO1", Variant("ITEM_1"));
  EXPECT_EQ(ErrorOf([&] { items->Add("WO2"); }), InvalidItemId + "WO2" + Detail);
  EXPECT_EQ(ItemsText(*items), "ITEM_1=1");
}

TEST_F(Items, ANameIsConvertedToText) {
  EXPECT_EQ(items->Add("WO1", Variant(std::int32_t{5}))->ItemName(), "5");
  EXPECT_EQ(items->Add("WO2", Variant(1.5))->ItemName(), "1.5");
  EXPECT_EQ(items->Add("WO3", Variant(true))->ItemName(), "True");
  EXPECT_EQ(ErrorOf([&] { items->Add("WO4", Variant("5")); }),
            Internal + "-2147221497:Invalid Name: 5:Name already used" + Detail +
                "\r\n:DataItem.Add(ItemId=WO4,ItemName=5");
}

TEST_F(Items, ANameThatConvertsToNoTextIsAnInternalErrorWithTheTrace) {
  const std::int64_t alive = AutomationObject::LiveCount();
  EXPECT_EQ(ErrorOf([&] { items->Add("WO1", Variant::Null()); }),
            Internal + "94:Invalid use of Null\r\n:DataItem.Add(ItemId=WO1,ItemName=");
  EXPECT_EQ(ErrorOf([&] { items->Add("WO1", Bytes({65})); }),
            Internal + Mismatch + ":DataItem.Add(ItemId=WO1,ItemName=");
  EXPECT_EQ(ErrorOf([&] { items->Add("WO1", Variant(std::shared_ptr<AutomationObject>(group))); }),
            Internal + Mismatch + ":DataItem.Add(ItemId=WO1,ItemName=");
  EXPECT_EQ(items->Count(), 0);
  EXPECT_EQ(Device().log, Log{});
  EXPECT_EQ(AutomationObject::LiveCount(), alive);
}

TEST_F(Items, ANameInUseIsAnInternalErrorThatWrapsTheInvalidName) {
  items->Add("WO1", Variant("Speed"));
  Device().log.clear();
  EXPECT_EQ(ErrorOf([&] { items->Add("WO2", Variant("Speed")); }),
            Internal + "-2147221497:Invalid Name: Speed:Name already used" + Detail +
                "\r\n:DataItem.Add(ItemId=WO2,ItemName=Speed");
  EXPECT_EQ(Device().log, Log{}) << "the device is not asked";
  EXPECT_EQ(ItemsText(*items), "Speed=1");
}

TEST_F(Items, ANameThatDiffersOnlyInCaseIsAnInvalidItemIdAfterCompiling) {
  items->Add("WO1", Variant("Speed"));
  Device().log.clear();
  EXPECT_EQ(ErrorOf([&] { items->Add("WO2", Variant("SPEED")); }), InvalidItemId + "WO2" + Detail);
  EXPECT_EQ(Device().log, (Log{"CompileItemId(WO2)"}));
  EXPECT_EQ(ItemsText(*items), "Speed=1");
  EXPECT_EQ(items->Add("WO3")->Handle(), 2) << "the handle was not used up";
}

TEST_F(Items, AnIdentifierThatTheDeviceAnswersWithFalseIsAnInvalidItemId) {
  const std::int64_t alive = AutomationObject::LiveCount();
  EXPECT_EQ(ErrorOf([&] { items->Add("XX1", Variant("Speed")); }), InvalidItemId + "XX1" + Detail);
  EXPECT_EQ(items->Count(), 0);
  EXPECT_EQ(AutomationObject::LiveCount(), alive) << "the item was dropped";
  item = items->Add("WO1", Variant("Speed"));
  EXPECT_EQ(item->Handle(), 1);
}

TEST_F(Items, AnIdentifierThatTheDeviceFailsOnIsAnInvalidItemIdWhateverItsError) {
  for (const std::int32_t number : {2, 10, 99, 13, std::int32_t{errInvalidState}}) {
    SCOPED_TRACE(number);
    Device().compile = [number](const std::string&, double&, std::int32_t&, std::int32_t&) -> bool {
      throw AutomationError(number, "no");
    };
    EXPECT_EQ(ErrorOf([&] { items->Add("WO1"); }), InvalidItemId + "WO1" + Detail);
    EXPECT_EQ(items->Count(), 0);
  }
}

TEST_F(Items, TheFactsThatARefusalLeftAreNotKept) {
  Device().compile = [](const std::string&, double& address, std::int32_t& words, std::int32_t& type) {
    address = 3;
    words = 9;
    type = 2;
    return false;
  };
  EXPECT_EQ(ErrorNumberOf([&] { items->Add("WO1"); }), errInvalidItemId);
  EXPECT_EQ(items->TotalWordLength(), 0);
}

TEST_F(Items, WithoutADeviceObjectEveryIdentifierIsInvalid) {
  EXPECT_EQ(ErrorNumberOf([&] { plant->server->PutDeviceType(9); }), errInvalidDeviceType);
  ASSERT_EQ(plant->server->ServerStatus(), 2);
  EXPECT_EQ(ErrorOf([&] { items->Add("WO1"); }), InvalidItemId + "WO1" + Detail);
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(Items, AnItemThatMakesTheGroupTooLargeIsRemovedAgainAndItsIdentifierInvalid) {
  Driver().checkVariable = [](std::int32_t words, std::int32_t) { return words <= 3; };
  items->Add("DW1", Variant("A"));
  const std::int64_t alive = AutomationObject::LiveCount();
  EXPECT_EQ(ErrorOf([&] { items->Add("DW2", Variant("B")); }), InvalidItemId + "DW2" + Detail);
  EXPECT_EQ(ItemsText(*items), "A=1");
  EXPECT_EQ(items->TotalWordLength(), 2);
  EXPECT_EQ(AutomationObject::LiveCount(), alive);
  EXPECT_EQ(items->Add("WO3", Variant("B"))->Handle(), 2) << "name and handle are free again";
}

TEST_F(Items, TheSizeIsCheckedWithTheNewItemInTheGroup) {
  Driver().logQuestions = true;
  Driver().log.clear();
  std::vector<std::int32_t> counts;
  Driver().during["CheckVariable"] = [&] { counts.push_back(items->Count()); };
  items->Add("WO1");
  items->Add("DW2");
  EXPECT_EQ(Driver().log, (Log{"CheckVariable(1,1)", "CheckVariable(3,2)"}));
  EXPECT_EQ(counts, (std::vector<std::int32_t>{1, 2}));
}

TEST_F(Items, ASizeCheckThatFailsRemovesTheItemToo) {
  Driver().Fail("CheckVariable", 4, "line broken");
  EXPECT_EQ(ErrorOf([&] { items->Add("WO1"); }), InvalidItemId + "WO1" + Detail);
  EXPECT_EQ(items->Count(), 0);
}

TEST_F(Items, ATotalLengthBeyond32BitsRemovesTheItemToo) {
  AddItem("A", 0, 2147483647);
  Device().compile = [](const std::string&, double&, std::int32_t& words, std::int32_t&) {
    words = 1;
    return true;
  };
  EXPECT_EQ(ErrorOf([&] { items->Add("B"); }), InvalidItemId + "B" + Detail);
  EXPECT_EQ(ItemsText(*items), "Item_1=1");
  EXPECT_EQ(items->TotalWordLength(), 2147483647);
}

TEST_F(Items, ACompiledItemHasNoIdentifierAndIsNeitherCompiledNorChecked) {
  Driver().logQuestions = true;
  Driver().log.clear();
  Driver().variableFits = false;
  item = items->AddCompiled("Speed");
  EXPECT_EQ(item->ItemName(), "Speed");
  EXPECT_EQ(item->Handle(), 1);
  EXPECT_EQ(item->ItemId(), "");
  EXPECT_EQ(item->Parent(), group);
  EXPECT_EQ(item->CompiledAddress(), 0.0);
  EXPECT_EQ(item->ItemWordLength(), 0);
  EXPECT_EQ(item->ItemType(), 0);
  EXPECT_EQ(Device().log, Log{});
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(ItemsText(*items), "Speed=1");
}

TEST_F(Items, ACompiledItemTakesTheLowestFreeHandle) {
  items->Add("WO1");
  items->Add("WO2");
  items->Remove(1);
  EXPECT_EQ(items->AddCompiled("X")->Handle(), 1);
  EXPECT_EQ(items->AddCompiled("Y")->Handle(), 3);
}

TEST_F(Items, ACompiledItemWithANameInUseIsAnInternalErrorThatWrapsTheBareName) {
  items->AddCompiled("Speed");
  EXPECT_EQ(ErrorOf([&] { items->AddCompiled("Speed"); }),
            Internal + "-2147221497:Invalid Name: Speed\r\n:DataItem.AddCompiled(ItemName=Speed");
  EXPECT_EQ(ItemsText(*items), "Speed=1");
}

TEST_F(Items, ACompiledItemWithANameThatDiffersOnlyInCaseIsAnInternalErrorThatWrapsTheDuplicateKey) {
  items->AddCompiled("Speed");
  EXPECT_EQ(ErrorOf([&] { items->AddCompiled("sPEED"); }),
            Internal + "457:This key is already associated with an element of this collection\r\n" +
                ":DataItem.AddCompiled(ItemName=sPEED");
  EXPECT_EQ(ItemsText(*items), "Speed=1");
  EXPECT_EQ(items->AddCompiled("Next")->Handle(), 2);
}

TEST_F(Items, ADetailNamesTheGroupAsItIsNow) {
  const auto other = plant->server->KELDataGroups()->Add("Press line");
  EXPECT_EQ(ErrorOf([&] { other->KELDataItems()->Add("??"); }),
            InvalidItemId + "??: Group Name= Press lineGroupHandle: 2");
}

}  // namespace
}  // namespace orvo::testing
