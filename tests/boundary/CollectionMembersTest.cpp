// KELDataGroups, KELDataItems and IExecuteTimerTick: each member by slot and by name.

#include "boundary/MemberTable.h"

namespace orvo::testing {
namespace {

using Groups = _KELDataGroups;
using Items = _KELDataItems;
using Tick = _IExecuteTimerTick;

std::string FromGroups(const std::string& error) {
  return error + "\" ORVOBusiness.KELDataGroups";
}
std::string FromItems(const std::string& error) {
  return error + "\" ORVOBusiness.KELDataItems";
}

// Two groups, "Group_1" and "Line".
ComPtr<Groups> TwoGroups(Scene& scene) {
  scene.Configure();
  scene.AddGroup();
  scene.AddGroup({}, "Line");
  return scene.Groups();
}
ComPtr<Groups> RunningGroups(Scene& scene) {
  ComPtr<Groups> groups = TwoGroups(scene);
  EXPECT_EQ(scene.server->OpenCommunication(), S_OK);
  return groups;
}
// The items "Item_1" WO100 and "Item_2" FL112 of the group "Group_1".
ComPtr<Items> TwoItems(Scene& scene) {
  scene.Configure();
  ComPtr<Items> items;
  EXPECT_EQ(scene.AddGroup({"WO100", "FL112"})->get_KELDataItems(items.Put()), S_OK);
  return items;
}
ComPtr<Items> RunningItems(Scene& scene) {
  ComPtr<Items> items = TwoItems(scene);
  EXPECT_EQ(scene.server->OpenCommunication(), S_OK);
  return items;
}

const auto groupByHandle = [](Groups& g, Slot& a) { return g.Item(a.Long(0), a.Object<_KELDataGroup>()); };
const auto groupByName = [](Groups& g, Slot& a) { return g.ItemByName(a.Name(0), a.Object<_KELDataGroup>()); };
const auto addGroup = [](Groups& g, Slot& a) { return g.Add(a.In(0), a.Object<_KELDataGroup>()); };
const auto removeGroup = [](Groups& g, Slot& a) { return g.Remove(a.Long(0)); };
const auto removeGroupByName = [](Groups& g, Slot& a) { return g.RemoveByName(a.Name(0)); };
const auto removeAllGroups = [](Groups& g, Slot&) { return g.RemoveAll(); };

TEST(GroupsMembers, AnswerTheSameBySlotAndByName) {
  CheckMembers<Groups>(
      {
          {L"Parent",
           Get,
           {},
           [](Groups& g, Slot& a) { return g.get_Parent(a.Object<_KELDataServer>()); },
           "Object"},
          {L"Count", Get, {}, [](Groups& g, Slot& a) { return g.get_Count(a.I4()); }, "I4:2"},
          {L"Item", Method, {I4(2)}, groupByHandle, "Object"},
          {L"Item", Method, {I4(3)}, groupByHandle, FromGroups("80040006 \"Invalid Handle: 3")},
          {L"Item", Method, {I4(-1)}, groupByHandle, FromGroups("80040006 \"Invalid Handle: -1")},
          {L"ItemByName", Method, {Str("Line")}, groupByName, "Object"},
          {L"ItemByName", Method, {Str("line")}, groupByName, FromGroups("80040007 \"Invalid Name: line")},
          {L"ItemByName", Method, {Str("")}, groupByName, FromGroups("80040007 \"Invalid Name: ")},
          {L"Add", Method, {Str("New")}, addGroup, "Object"},
          {L"Add", Method, {Missing()}, addGroup, "Object"},
          {L"Add", Method, {I2(5)}, addGroup, "Object"},
          {L"Add",
           Method,
           {Str("Line")},
           addGroup,
           FromGroups("80040007 \"Invalid Name: Line:Name already used")},
          {L"Remove", Method, {I4(1)}, removeGroup, "Empty"},
          {L"Remove", Method, {I4(9)}, removeGroup, FromGroups("80040006 \"Invalid Handle: 9")},
          {L"RemoveByName", Method, {Str("LINE")}, removeGroupByName, "Empty"},
          {L"RemoveByName",
           Method,
           {Str("Other")},
           removeGroupByName,
           FromGroups("80040007 \"Invalid Name: Other: can't remove it")},
          {L"RemoveAll", Method, {}, removeAllGroups, "Empty"},
          {L"NewEnum", Get, {}, [](Groups& g, Slot& a) { return g.get_NewEnum(a.Unknown()); }, "Unknown"},
      },
      TwoGroups);
}

TEST(GroupsMembers, RefuseChangesOfARunningServer) {
  const std::string refused = FromGroups("80040001 \"Invalid State: Server is running");
  CheckMembers<Groups>(
      {
          {L"Add", Method, {Missing()}, addGroup, refused},
          {L"Add", Method, {Str("Line")}, addGroup, refused},
          {L"Remove", Method, {I4(1)}, removeGroup, refused},
          {L"Remove", Method, {I4(9)}, removeGroup, refused},
          {L"RemoveByName", Method, {Str("Line")}, removeGroupByName, refused},
          {L"RemoveAll", Method, {}, removeAllGroups, refused},
          {L"Count", Get, {}, [](Groups& g, Slot& a) { return g.get_Count(a.I4()); }, "I4:2"},
          {L"Item", Method, {I4(1)}, groupByHandle, "Object"},
      },
      RunningGroups);
}

TEST_F(Boundary, AGroupWhoseNameDiffersInCaseOnlyIsRefusedAsAKey) {
  const ComPtr<Groups> groups = TwoGroups(scene);
  ComPtr<_KELDataGroup> group;
  const std::string bySlot = SlotText(groups->Add(*Str("LINE"), group.Put()));
  EXPECT_EQ(bySlot.substr(0, 8), "800A01C9") << bySlot;
  EXPECT_EQ(Invoke(groups.Get(), L"Add", Method, {Str("LINE")}).text, bySlot);
  EXPECT_EQ(group.Get(), nullptr);
  EXPECT_EQ(Invoke(groups.Get(), L"Count", Get).text, "I4:2");
}

TEST_F(Boundary, WhatAddMakesIsWhatItemFinds) {
  const ComPtr<Groups> groups = TwoGroups(scene);
  Reply added = Invoke(groups.Get(), L"Add", Method);
  const ComPtr<_KELDataGroup> group = ComPtr<IDispatch>(added.value->pdispVal).Query<_KELDataGroup>();
  EXPECT_EQ(Invoke(group.Get(), L"GroupName", Get).text, "Str:\"Group_2\"");
  EXPECT_EQ(Invoke(group.Get(), L"Handle", Get).text, "I4:3");
  LONG handle = 3;
  ComPtr<_KELDataGroup> found;
  EXPECT_EQ(groups->Item(&handle, found.Put()), S_OK);
  EXPECT_EQ(found.Get(), group.Get());
}

const auto itemByHandle = [](Items& i, Slot& a) { return i.Item(a.Long(0), a.Object<_KELDataItem>()); };
const auto itemByName = [](Items& i, Slot& a) { return i.ItemByName(a.Name(0), a.Object<_KELDataItem>()); };
const auto addItem = [](Items& i, Slot& a) { return i.Add(a.Name(0), a.In(1), a.Object<_KELDataItem>()); };
const auto addCompiled = [](Items& i, Slot& a) { return i.AddCompiled(a.Name(0), a.Object<_KELDataItem>()); };
const auto removeItem = [](Items& i, Slot& a) { return i.Remove(a.Long(0)); };
const auto removeItemByName = [](Items& i, Slot& a) { return i.RemoveByName(a.Name(0)); };
const auto removeAllItems = [](Items& i, Slot&) { return i.RemoveAll(); };
constexpr const char* InGroup = ": Group Name= Group_1GroupHandle: 1";

TEST(ItemsMembers, AnswerTheSameBySlotAndByName) {
  const std::string internal = "8004000E \"INTERNAL ERROR, please contact support. code";
  CheckMembers<Items>(
      {
          {L"Parent",
           Get,
           {},
           [](Items& i, Slot& a) { return i.get_Parent(a.Object<_KELDataGroup>()); },
           "Object"},
          {L"Count", Get, {}, [](Items& i, Slot& a) { return i.get_Count(a.I4()); }, "I4:2"},
          {L"Item", Method, {I4(2)}, itemByHandle, "Object"},
          {L"Item",
           Method,
           {I4(7)},
           itemByHandle,
           FromItems(std::string("80040006 \"Invalid Handle: 7") + InGroup)},
          {L"ItemByName", Method, {Str("Item_1")}, itemByName, "Object"},
          {L"ItemByName",
           Method,
           {Str("ITEM_1")},
           itemByName,
           FromItems(std::string("80040007 \"Invalid Name: ITEM_1") + InGroup)},
          {L"Add", Method, {Str("DW108"), Missing()}, addItem, "Object"},
          {L"Add", Method, {Str("DW108"), Str("Pieces")}, addItem, "Object"},
          {L"Add",
           Method,
           {Str("DW108"), Str("Item_1")},
           addItem,
           FromItems(internal + "-2147221497:Invalid Name: Item_1:Name already used" + InGroup +
                     "\r\n:DataItem.Add(ItemId=DW108,ItemName=Item_1")},
          {L"Add",
           Method,
           {Str("DW108"), Str("ITEM_1")},
           addItem,
           FromItems(std::string("80040009 \"Invalid ItemID: DW108") + InGroup)},
          {L"Add",
           Method,
           {Str("what"), Missing()},
           addItem,
           FromItems(std::string("80040009 \"Invalid ItemID: what") + InGroup)},
          {L"AddCompiled", Method, {Str("Extra")}, addCompiled, "Object"},
          {L"AddCompiled",
           Method,
           {Str("Item_1")},
           addCompiled,
           FromItems(internal + "-2147221497:Invalid Name: Item_1\r\n:DataItem.AddCompiled(ItemName=Item_1")},
          {L"Remove", Method, {I4(1)}, removeItem, "Empty"},
          {L"Remove",
           Method,
           {I4(7)},
           removeItem,
           FromItems(std::string("80040006 \"Invalid Handle: 7") + InGroup)},
          {L"RemoveByName", Method, {Str("item_2")}, removeItemByName, "Empty"},
          {L"RemoveByName",
           Method,
           {Str("Other")},
           removeItemByName,
           FromItems(std::string("80040007 \"Invalid Name: Other") + InGroup)},
          {L"RemoveAll", Method, {}, removeAllItems, "Empty"},
          {L"NewEnum", Get, {}, [](Items& i, Slot& a) { return i.get_NewEnum(a.Unknown()); }, "Unknown"},
      },
      TwoItems);
}

TEST(ItemsMembers, RefuseChangesOfARunningServer) {
  const std::string refused = FromItems("80040001 \"Invalid State: Server not stopped");
  CheckMembers<Items>(
      {
          {L"Add", Method, {Str("DW108"), Missing()}, addItem, refused},
          {L"Remove", Method, {I4(1)}, removeItem, refused},
          {L"RemoveByName", Method, {Str("Item_1")}, removeItemByName, refused},
          {L"RemoveAll", Method, {}, removeAllItems, refused},
          {L"AddCompiled", Method, {Str("Extra")}, addCompiled, "Object"},
          {L"Item", Method, {I4(1)}, itemByHandle, "Object"},
          {L"Count", Get, {}, [](Items& i, Slot& a) { return i.get_Count(a.I4()); }, "I4:2"},
      },
      RunningItems);
}

TEST(TimerTickMembers, TakeATickBySlotAndByName) {
  const auto execute = [](Tick& t, Slot& a) { return t.Execute(a.Long(0)); };
  CheckMembers<Tick>(
      {
          {L"Execute", Method, {I4(12345)}, execute, "Empty"},
          {L"Execute", Method, {I4(-1)}, execute, "Empty"},
      },
      [](Scene& scene) { return TwoGroups(scene).Query<Tick>(); });
}

}  // namespace
}  // namespace orvo::testing
