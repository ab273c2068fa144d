// KELDataGroup: each member by slot and by name, arrays with the declared element types.

#include "boundary/MemberTable.h"

namespace orvo::testing {
namespace {

using Group = _KELDataGroup;

std::string FromGroup(const std::string& error) {
  return error + "\" ORVOBusiness.KELDataGroup";
}
Value Handles(std::initializer_list<Value> elements = {I4(1), I4(2)}) {
  return Array(VT_I4, 0, elements);
}
Value Values(std::initializer_list<Value> elements) {
  return Array(VT_VARIANT, 0, elements);
}

// Items 1 WO100, 2 ST0020004.
ComPtr<Group> Stopped(Scene& scene) {
  scene.Configure();
  return scene.AddGroup({"WO100", "ST0020004"});
}
// The panel holds 513 and "abcd".
ComPtr<Group> Running(Scene& scene) {
  ComPtr<Group> group = Stopped(scene);
  scene.server->OpenCommunication();
  const Reply written =
      Invoke(group.Get(), L"SyncWrite", Method, {Handles(), Values({I2(513), Str("abcd")}), Value()});
  EXPECT_EQ(written.text, "Empty");
  return group;
}
ComPtr<Group> RunningEmpty(Scene& scene) {
  scene.Configure();
  ComPtr<Group> group = scene.AddGroup();
  scene.server->OpenCommunication();
  return group;
}

const auto syncRead = [](Group& g, Slot& a) { return g.SyncRead(a.Elements(0), a.Elements(1), a.Elements(2)); };
const auto syncReadAll = [](Group& g, Slot& a) {
  return g.SyncReadAll(a.Elements(0), a.Elements(1), a.Elements(2));
};
const auto syncWrite = [](Group& g, Slot& a) {
  return g.SyncWrite(a.Elements(0), a.Elements(1), a.Elements(2));
};
const auto syncWriteAll = [](Group& g, Slot& a) {
  return g.SyncWriteAll(a.Elements(0), a.Elements(1), a.Elements(2));
};
const auto asyncRead = [](Group& g, Slot& a) { return g.AsyncRead(a.Elements(0), a.Long(1)); };
const auto asyncReadAll = [](Group& g, Slot& a) { return g.AsyncReadAll(a.Long(0)); };
const auto asyncWrite = [](Group& g, Slot& a) { return g.AsyncWrite(a.Elements(0), a.Elements(1), a.Long(2)); };
const auto asyncWriteAll = [](Group& g, Slot& a) {
  return g.AsyncWriteAll(a.Elements(0), a.Elements(1), a.Long(2));
};
const auto asyncCancel = [](Group& g, Slot& a) { return g.AsyncCancel(a.Long(0)); };
const auto compile = [](Group& g, Slot& a) { return g.CompileVariable(a.Elements(0), a.Array(VT_R8)); };
const auto dimension = [](Group& g, Slot& a) { return g.GetDimension(a.Elements(0), a.Array(VT_I2)); };
const auto buffer = [](Group& g, Slot& a) { return g.get_CompiledBuffer(a.Array(VT_UI1)); };
const auto size = [](Group& g, Slot& a) { return g.SetCompiledBufferDimension(a.Long(0)); };

TEST(GroupMembers, AnswerTheSameBySlotAndByName) {
  CheckMembers<Group>(
      {
          {L"Handle", Get, {}, [](Group& g, Slot& a) { return g.get_Handle(a.I4()); }, "I4:1"},
          {L"GroupName",
           Get,
           {},
           [](Group& g, Slot& a) { return g.get_GroupName(a.Str()); },
           "Str:\"Group_1\""},
          {L"KELDataItems",
           Get,
           {},
           [](Group& g, Slot& a) { return g.get_KELDataItems(a.Object<_KELDataItems>()); },
           "Object"},
          {L"Parent",
           Get,
           {},
           [](Group& g, Slot& a) { return g.get_Parent(a.Object<_KELDataServer>()); },
           "Object"},
          {L"Active", Get, {}, [](Group& g, Slot& a) { return g.get_Active(a.Flag()); }, "Bool:False"},
          {L"Active", Set, {Flag(true)}, [](Group& g, Slot&) { return g.put_Active(VARIANT_TRUE); }, "Empty"},
          {L"Subscribed", Get, {}, [](Group& g, Slot& a) { return g.get_Subscribed(a.Flag()); }, "Bool:False"},
          {L"Subscribed",
           Set,
           {Flag(true)},
           [](Group& g, Slot&) { return g.put_Subscribed(VARIANT_TRUE); },
           "Empty"},
          {L"UpdateRate", Get, {}, [](Group& g, Slot& a) { return g.get_UpdateRate(a.I4()); }, "I4:0"},
          {L"UpdateRate", Set, {I4(0)}, [](Group& g, Slot&) { return g.put_UpdateRate(0); }, "Empty"},
          {L"UpdateRate",
           Set,
           {I4(-1)},
           [](Group& g, Slot&) { return g.put_UpdateRate(-1); },
           FromGroup("8004000B \"Update rate must be >= 0")},
          {L"GroupId", Get, {}, [](Group& g, Slot& a) { return g.get_GroupId(a.I4()); }, "I4:0"},
          {L"CompiledBuffer", Get, {}, buffer, "UI1[0:]"},
          {L"SetCompiledBufferDimension", Method, {I4(3)}, size, "Empty"},
          {L"GetDimension", Method, {Handles()}, dimension, "I2[0: 1, 2]"},
          {L"GetDimension", Method, {Handles({I4(9), I4(1)})}, dimension, "I2[0: 0, 1]"},
          {L"GetDimension", Method, {Array(VT_I4, 1, {I4(1), I4(2)})}, dimension, "I2[0: 0, 1, 2]"},
          {L"GetDimension", Method, {Handles({})}, dimension, "I2[0:]"},
          {L"CompileVariable", Method, {Handles({I4(9)})}, compile, "R8[0: 0]"},
          {L"CompileVariable", Method, {Array(VT_I4, 2, {I4(9)})}, compile, "R8[0: 0, 0, 0]"},
      },
      Stopped);
}

TEST(GroupMembers, TheBufferIsWhatWasSized) {
  const auto sized = [](LONG bytes) {
    return [bytes](Scene& scene) {
      LONG handle = 1;
      ComPtr<Group> group;
      scene.Groups()->Item(&handle, group.Put());
      LONG count = bytes;
      EXPECT_EQ(group->SetCompiledBufferDimension(&count), S_OK);
    };
  };
  CheckMembers<Group>(
      {
          {L"CompiledBuffer", Get, {}, buffer, "UI1[0: 0]", {}, sized(0)},
          {L"CompiledBuffer", Get, {}, buffer, "UI1[0: 0, 0, 0]", {}, sized(3)},
      },
      Stopped);
}

TEST(GroupMembers, NeedARunningServerForData) {
  const std::string refused = FromGroup("80040001 \"Invalid State: Server isn't running");
  const std::string outputs = refused + " | Variant[0: I2:7] | I4[0: 8]";
  CheckMembers<Group>(
      {
          {L"SyncRead",
           Method,
           {Handles(), Values({I2(7)}), Array(VT_I4, 0, {I4(8)})},
           syncRead,
           outputs,
           {1, 2}},
          {L"SyncReadAll",
           Method,
           {Handles(), Values({I2(7)}), Array(VT_I4, 0, {I4(8)})},
           syncReadAll,
           refused + " | I4[0: 1, 2] | Variant[0: I2:7] | I4[0: 8]",
           {0, 1, 2}},
          {L"SyncWrite",
           Method,
           {Handles(), Values({I2(7)}), Array(VT_I4, 0, {I4(8)})},
           syncWrite,
           outputs,
           {1, 2}},
          {L"SyncWriteAll",
           Method,
           {Handles(), Values({I2(7)}), Array(VT_I4, 0, {I4(8)})},
           syncWriteAll,
           outputs,
           {1, 2}},
          {L"AsyncRead", Method, {Handles(), I4(5)}, asyncRead, refused + " | I4:5", {1}},
          {L"AsyncReadAll", Method, {I4(5)}, asyncReadAll, refused + " | I4:5", {0}},
          {L"AsyncWrite",
           Method,
           {Handles(), Values({I2(7), I2(7)}), I4(5)},
           asyncWrite,
           refused + " | I4:5",
           {2}},
          {L"AsyncWriteAll",
           Method,
           {Handles(), Values({I2(7), I2(7)}), I4(5)},
           asyncWriteAll,
           refused + " | I4:5",
           {2}},
          {L"AsyncCancel", Method, {I4(5)}, asyncCancel, refused},
      },
      Stopped);
}

TEST(GroupMembers, ReadAndWriteTheDevice) {
  const Value none = Array(VT_I4, 0, {});
  const std::string both = "Variant[0: I2:513, Str:\"abcd\"]";
  CheckMembers<Group>(
      {
          {L"SyncRead",
           Method,
           {Handles(), Values({}), none},
           syncRead,
           "Empty | I4[0: 1, 2] | " + both + " | I4[0: 0, 0]",
           {0, 1, 2}},
          {L"SyncRead",
           Method,
           {Handles({I4(2)}), NoArray(VT_VARIANT), NoArray(VT_I4)},
           syncRead,
           "Empty | I4[0: 2] | Variant[0: Str:\"abcd\"] | I4[0: 0]",
           {0, 1, 2}},
          {L"SyncReadAll",
           Method,
           {none, Values({}), none},
           syncReadAll,
           "Empty | I4[0: 1, 2] | " + both + " | I4[0: 0, 0]",
           {0, 1, 2}},
          {L"SyncWrite",
           Method,
           {Handles(), Values({I2(1), Str("x")}), none},
           syncWrite,
           "Empty | I4[0: 1, 2] | Variant[0: I2:1, Str:\"x\"] | I4[0: 0, 0]",
           {0, 1, 2}},
          {L"SyncWrite",
           Method,
           {Handles(), Values({R8(0.5), Str("x")}), none},
           syncWrite,
           FromGroup("8004000F \"INVALID FORMAT Invalid format: index=0"),
           {}},
          {L"SyncWrite",
           Method,
           {Handles({I4(2), I4(1)}), Values({Str("x"), R8(0.5)}), none},
           syncWrite,
           FromGroup("8004000F \"INVALID FORMAT Invalid format: index=1"),
           {}},
          {L"SyncWriteAll",
           Method,
           {Handles(), Values({I2(1), Str("x")}), none},
           syncWriteAll,
           "Empty | I4[0: 0, 0]",
           {2}},
          {L"AsyncRead", Method, {Handles(), I4(0)}, asyncRead, "Empty | I4:2", {1}},
          {L"AsyncReadAll", Method, {I4(0)}, asyncReadAll, "Empty | I4:2", {0}},
          {L"AsyncWrite",
           Method,
           {Handles(), Values({I2(1), Str("x")}), I4(0)},
           asyncWrite,
           "Empty | I4:2",
           {2}},
          {L"AsyncWriteAll",
           Method,
           {Handles(), Values({I2(1), Str("x")}), I4(0)},
           asyncWriteAll,
           "Empty | I4:2",
           {2}},
          {L"AsyncWrite", Method, {Handles(), Values({I2(1), Null()}), I4(5)}, asyncWrite, "Empty | I4:2", {2}},
          {L"AsyncWrite",
           Method,
           {Handles(), Values({R8(0.5), Str("x")}), I4(5)},
           asyncWrite,
           FromGroup("8004000F \"INVALID FORMAT Invalid format: index=0") + " | I4:5",
           {2}},
          {L"AsyncCancel", Method, {I4(500)}, asyncCancel, "Empty"},
      },
      Running);
}

TEST(GroupMembers, OfAnEmptyGroup) {
  CheckMembers<Group>(
      {
          {L"AsyncReadAll", Method, {I4(77)}, asyncReadAll, "Empty | I4:77", {0}},
          {L"SyncReadAll",
           Method,
           {Handles(), Values({I2(7)}), Array(VT_I4, 0, {I4(8)})},
           syncReadAll,
           "Empty | I4[0:] | Variant[0:] | I4[0:]",
           {0, 1, 2}},
      },
      RunningEmpty);
}

TEST(GroupMembers, AnItemThatFailsIsAnErrorCodeBesideTheOthers) {
  const auto fault = [](Scene& scene) { scene.Panel()->PutItemFault("WO100", 77); };
  CheckMembers<Group>(
      {
          {L"SyncRead",
           Method,
           {Handles(), Values({}), Array(VT_I4, 0, {})},
           syncRead,
           "Empty | Variant[0: Empty, Str:\"abcd\"] | I4[0: 77, 0]",
           {1, 2},
           fault},
          {L"SyncWrite",
           Method,
           {Handles(), Values({I2(1), Str("x")}), Array(VT_I4, 0, {})},
           syncWrite,
           "Empty | I4[0: 77, 0]",
           {2},
           fault},
      },
      Running);
}

TEST_F(Boundary, ActiveIsTrueOnlyForMinusOne) {
  const ComPtr<Group> group = Stopped(scene);
  EXPECT_EQ(group->put_Active(1), S_OK);
  EXPECT_EQ(Invoke(group.Get(), L"Active", Get).text, "Bool:False");
  EXPECT_EQ(group->put_Active(VARIANT_TRUE), S_OK);
  EXPECT_EQ(Invoke(group.Get(), L"Active", Get).text, "Bool:True");
  Invoke(group.Get(), L"Active", Set, {Flag16(2)});
  EXPECT_EQ(Invoke(group.Get(), L"Active", Get).text, "Bool:False");
}

TEST_F(Boundary, TooManyActiveGroupsAreRefusedWithTheLimit) {
  scene.scripted->groupCapacity = 2;
  scene.Configure("scripted.ini");
  const ComPtr<Group> first = scene.AddGroup();
  const ComPtr<Group> second = scene.AddGroup();
  EXPECT_EQ(first->put_Active(VARIANT_TRUE), S_OK);
  const std::string refused = FromGroup(
      "8004000B \"Too many active groups : the max number of groups that can be active at the same time is 1");
  EXPECT_EQ(SlotText(second->put_Active(VARIANT_TRUE)), refused);
  EXPECT_EQ(Invoke(second.Get(), L"Active", Set, {Flag(true)}).text, refused);
  EXPECT_EQ(Invoke(second.Get(), L"Active", Get).text, "Bool:False");
}

}  // namespace
}  // namespace orvo::testing
