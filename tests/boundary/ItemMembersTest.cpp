// KELDataItem: each member by slot and by name.

#include "boundary/MemberTable.h"

namespace orvo::testing {
namespace {

using Item = _KELDataItem;

ComPtr<Item> Word(Scene& scene) {
  scene.Configure();
  return scene.Item(scene.AddGroup({"WO100"}), 1);
}
// The panel holds 4660 at WO100.
ComPtr<Item> RunningItem(Scene& scene) {
  ComPtr<Item> item = Word(scene);
  scene.server->OpenCommunication();
  LONG error = -1;
  EXPECT_EQ(item->SyncWrite(*I2(4660), &error), S_OK);
  EXPECT_EQ(error, 0);
  return item;
}

const auto read = [](Item& i, Slot& a) { return i.SyncRead(&a.In(0), a.Long(1), &a.In(2)); };
const auto write = [](Item& i, Slot& a) { return i.SyncWrite(a.In(0), a.Long(1)); };

TEST(ItemMembers, AnswerTheSameBySlotAndByName) {
  const auto flag = [](const wchar_t* name, bool value, auto put) {
    return Row<Item>{name, Set, {Flag(value)}, put, "Empty"};
  };
  CheckMembers<Item>(
      {
          {L"Handle", Get, {}, [](Item& i, Slot& a) { return i.get_Handle(a.I4()); }, "I4:1"},
          {L"ItemName", Get, {}, [](Item& i, Slot& a) { return i.get_ItemName(a.Str()); }, "Str:\"Item_1\""},
          {L"ItemId", Get, {}, [](Item& i, Slot& a) { return i.get_ItemId(a.Str()); }, "Str:\"WO100\""},
          {L"Parent",
           Get,
           {},
           [](Item& i, Slot& a) { return i.get_Parent(a.Object<_KELDataGroup>()); },
           "Object"},
          {L"AccessRights", Get, {}, [](Item& i, Slot& a) { return i.get_AccessRights(a.I4()); }, "I4:0"},
          {L"USERValue", Get, {}, [](Item& i, Slot& a) { return i.get_USERValue(a.Any()); }, "Empty"},
          {L"DATAValue", Get, {}, [](Item& i, Slot& a) { return i.get_DATAValue(a.Any()); }, "Empty"},
          {L"TimeStamp", Get, {}, [](Item& i, Slot& a) { return i.get_TimeStamp(a.Days()); }, "Date:0"},
          {L"ItemGroupBufferOffset",
           Get,
           {},
           [](Item& i, Slot& a) { return i.get_ItemGroupBufferOffset(a.I4()); },
           "I4:0"},
          {L"ItemType", Get, {}, [](Item& i, Slot& a) { return i.get_ItemType(a.I4()); }, "I4:0"},
          {L"ItemWordLength", Get, {}, [](Item& i, Slot& a) { return i.get_ItemWordLength(a.I4()); }, "I4:1"},
          {L"Signed", Get, {}, [](Item& i, Slot& a) { return i.get_Signed(a.Flag()); }, "Bool:False"},
          {L"BCD", Get, {}, [](Item& i, Slot& a) { return i.get_BCD(a.Flag()); }, "Bool:False"},
          flag(L"Signed", true, [](Item& i, Slot&) { return i.put_Signed(VARIANT_TRUE); }),
          flag(L"Signed", false, [](Item& i, Slot&) { return i.put_Signed(VARIANT_FALSE); }),
          flag(L"BCD", true, [](Item& i, Slot&) { return i.put_BCD(VARIANT_TRUE); }),
          flag(L"BCD", false, [](Item& i, Slot&) { return i.put_BCD(VARIANT_FALSE); }),
      },
      Word);
}

TEST(ItemMembers, ReadAndWriteNeedARunningServer) {
  const std::string refused = "80040001 \"Invalid State: Server isn't running\" ORVOBusiness.KELDataItem";
  CheckMembers<Item>(
      {
          {L"SyncRead",
           Method,
           {Str("old"), I4(5), Days(2)},
           read,
           refused + " | Str:\"old\" | I4:5 | Date:2",
           {0, 1, 2}},
          {L"SyncWrite", Method, {I2(5), I4(7)}, write, refused + " | I4:7", {1}},
      },
      Word);
}

TEST(ItemMembers, ReadAndWriteTheDevice) {
  const std::string badFormat = "8004000F \"INVALID FORMAT Format not correct\" ORVOBusiness.KELDataItem";
  // 2024-01-15 12:00:00 and the 100 milliseconds for which the write before waited are days in between.
  CheckMembers<Item>(
      {
          {L"SyncRead", Method, {Value(), I4(5), Missing()}, read, "Empty | I2:4660 | I4:0", {0, 1}},
          {L"SyncWrite", Method, {I2(12), I4(5)}, write, "Empty | I4:0", {1}},
          {L"SyncWrite", Method, {R8(12), I4(5)}, write, "Empty | I4:0", {1}},
          {L"SyncWrite", Method, {Str("12"), I4(5)}, write, "Empty | I4:0", {1}},
          {L"SyncWrite", Method, {Value(), I4(5)}, write, "Empty | I4:0", {1}},
          {L"SyncWrite", Method, {R8(1.5), I4(5)}, write, badFormat + " | I4:5", {1}},
          {L"SyncWrite", Method, {Str("no number"), I4(5)}, write, badFormat + " | I4:5", {1}},
          {L"SyncWrite", Method, {I4(70000), I4(5)}, write, badFormat + " | I4:5", {1}},
          {L"USERValue", Get, {}, [](Item& i, Slot& a) { return i.get_USERValue(a.Any()); }, "I4:4660"},
          {L"DATAValue", Get, {}, [](Item& i, Slot& a) { return i.get_DATAValue(a.Any()); }, "I4:4660"},
      },
      RunningItem);
}

TEST(ItemMembers, AFailedReadChangesNothing) {
  const auto fault = [](Scene& scene) { scene.Panel()->PutItemFault("WO100", 77); };
  CheckMembers<Item>(
      {
          {L"SyncRead",
           Method,
           {Str("old"), I4(5), Days(2)},
           read,
           "Empty | Str:\"old\" | I4:77 | Date:2",
           {0, 1, 2},
           fault},
          {L"SyncWrite", Method, {I2(3), I4(5)}, write, "Empty | I4:77", {1}, fault},
      },
      RunningItem);
}

TEST_F(Boundary, AReadGivesTheTimeToAVariableOfAnyType) {
  const ComPtr<Item> item = RunningItem(scene);
  Value value;
  LONG error = -1;
  Value time = Str("whatever it held");
  EXPECT_EQ(item->SyncRead(value.Get(), &error, time.Get()), S_OK);
  EXPECT_EQ((*time).vt, VT_DATE);
  DATE stamp = 0;
  EXPECT_EQ(item->get_TimeStamp(&stamp), S_OK);
  EXPECT_EQ((*time).date, stamp);
  EXPECT_EQ(static_cast<int>(stamp), 45306) << "2024-01-15";

  Value variable;
  Value code;
  Value when;
  EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {Ref(variable), Ref(code), Ref(when)}).text, "Empty");
  EXPECT_EQ(Text(variable), Text(value));
  EXPECT_EQ(Text(code), "I4:0");
  EXPECT_EQ((*when).vt, VT_DATE);
}

TEST_F(Boundary, SignedAndBcdExcludeEachOther) {
  const ComPtr<Item> item = Word(scene);
  const auto both = [&] {
    return Invoke(item.Get(), L"Signed", Get).text + " " + Invoke(item.Get(), L"BCD", Get).text;
  };
  item->put_Signed(VARIANT_TRUE);
  EXPECT_EQ(both(), "Bool:True Bool:False");
  Invoke(item.Get(), L"BCD", Set, {Flag(true)});
  EXPECT_EQ(both(), "Bool:False Bool:True");
  item->put_Signed(VARIANT_FALSE);
  EXPECT_EQ(both(), "Bool:False Bool:True");
}

}  // namespace
}  // namespace orvo::testing
