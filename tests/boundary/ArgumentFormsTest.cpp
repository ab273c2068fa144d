// Arguments by name that are no arrays: optional ones, numbers of any kind, references, named arguments,
// default members, properties with either flag, and what is wrong with a call and where.

#include "boundary/Calls.h"
#include "boundary/Scene.h"

namespace orvo::testing {
namespace {

class ArgumentForms : public Boundary {
 protected:
  ArgumentForms() {
    scene.Configure();
    groups = scene.Groups();
    group = scene.AddGroup({"WO100"}, "Line");
    scene.AddGroup();
  }
  std::string Of(const wchar_t* name, const std::vector<Value>& arguments) {
    return Invoke(groups.Get(), name, Method, arguments).text;
  }
  LONG Count() {
    LONG count = -1;
    groups->get_Count(&count);
    return count;
  }

  ComPtr<_KELDataGroups> groups;
  ComPtr<_KELDataGroup> group;
};

std::string Mismatch(int argument) {
  return Hex(DISP_E_TYPEMISMATCH) + " argument " + std::to_string(argument);
}

TEST_F(ArgumentForms, HandlesOfEveryNumberKind) {
  Value variable = I2(1);
  Value deeper = Ref(variable);
  for (const Value& handle :
       {I1(1), UI1(1), I2(1), UI2(1), I4(1), UI4(1), I8(1), UI8(1), R4(1), R8(1), Money(10000), Str("1"),
        Str(" 1 "), R8(0.6), Ref(variable), TypedRef(variable), Ref(deeper)}) {
    SCOPED_TRACE(Text(handle) + " type " + std::to_string((*handle).vt));
    const Reply reply = Invoke(groups.Get(), L"Item", Method, {handle});
    EXPECT_EQ((*reply.value).pdispVal, Dispatch(group)) << reply.text;
  }
  EXPECT_EQ(Text(variable), "I2:1");
  EXPECT_EQ(Of(L"Item", {Flag(true)}), "80040006 \"Invalid Handle: -1\" ORVOBusiness.KELDataGroups");
  EXPECT_EQ(Of(L"Item", {Value()}), "80040006 \"Invalid Handle: 0\" ORVOBusiness.KELDataGroups");
  EXPECT_EQ(Of(L"Item", {Str("one")}), Mismatch(0));
  EXPECT_EQ(Of(L"Item", {Null()}), Mismatch(0));
  EXPECT_EQ(Of(L"Item", {Object(Dispatch(group))}).substr(0, 8), Mismatch(0).substr(0, 8));
  EXPECT_EQ(Of(L"Item", {I8(5000000000)}), Hex(DISP_E_OVERFLOW) + " argument 0");
}

TEST_F(ArgumentForms, NamesOfEveryKind) {
  Value variable = Str("Line");
  for (const Value& name : {Str("Line"), Ref(variable), TypedRef(variable)}) {
    const Reply reply = Invoke(groups.Get(), L"ItemByName", Method, {name});
    EXPECT_EQ((*reply.value).pdispVal, Dispatch(group)) << reply.text;
  }
  EXPECT_EQ(Text(variable), "Str:\"Line\"");
  EXPECT_EQ(Of(L"Add", {I4(12)}), "Object");
  EXPECT_EQ(Of(L"ItemByName", {I2(12)}), "Object") << "a number as its text";
  EXPECT_EQ(Of(L"ItemByName", {Null()}), Mismatch(0));
}

TEST_F(ArgumentForms, OptionalArgumentsMayBeLeftOut) {
  EXPECT_EQ(Of(L"Add", {}), "Object");
  EXPECT_EQ(Of(L"Add", {Missing()}), "Object");
  Value missing = Missing();
  EXPECT_EQ(Of(L"Add", {Ref(missing)}), "Object") << "handed on from a caller that was not given it";
  EXPECT_EQ(Invoke(groups.Get(), L"ItemByName", Method, {Str("Group_4")}).text, "Object");
  EXPECT_EQ(Of(L"Add", {ErrorValue(E_FAIL)}).substr(0, 1), "8") << "another error value is no omission";
  Value empty;
  EXPECT_EQ(Of(L"Add", {Ref(empty)}), "Object") << "a fresh variable is passed, as an empty name";
  EXPECT_EQ(Of(L"ItemByName", {Str("")}), "Object");
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  scene.server->OpenCommunication();
  Value value;
  Value error;
  EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {Ref(value), Ref(error)}).text, "Empty");
  EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {Ref(value), Ref(error), Missing()}).text, "Empty");
  EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {Ref(value), Ref(error), Ref(missing)}).text, "Empty");
  EXPECT_EQ(Text(missing), "Error:80020004") << "nothing is written into an omission";
  scene.server->CloseCommunication();
  scene.server->SaveConfigurationToFile(Text16("a.cfg"));
  EXPECT_EQ(Invoke(scene.server.Get(), L"LoadConfigurationFromFile", Method, {Str("a.cfg")}).text, "Empty");
}

TEST_F(ArgumentForms, TheCountOfArgumentsIsChecked) {
  const std::string count = Hex(DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(Of(L"Item", {}), count);
  EXPECT_EQ(Of(L"Item", {I4(1), I4(2)}), count);
  EXPECT_EQ(Of(L"RemoveAll", {I4(1)}), count);
  EXPECT_EQ(Of(L"Add", {Str("a"), Str("b")}), count);
  EXPECT_EQ(Of(L"Remove", {}), count);
  EXPECT_EQ(Invoke(group.Get(), L"SyncRead", Method, {I4(1)}).text, count);
  EXPECT_EQ(InvokeRaw(group.Get(), IdOf(group.Get(), L"UpdateRate"), Set, {}).text, count);
  EXPECT_EQ(Invoke(group.Get(), L"Handle", Get, {I4(1)}).text, count);
  EXPECT_EQ(Of(L"Item", {Missing()}), Hex(DISP_E_PARAMNOTOPTIONAL) + " argument 0");
  EXPECT_EQ(Count(), 2) << "nothing happened";
}

TEST_F(ArgumentForms, MembersAnswerToTheirOwnFlags) {
  const std::string none = Hex(DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(Invoke(groups.Get(), L"Count", Set, {I4(1)}).text, none) << "read only";
  EXPECT_EQ(Invoke(groups.Get(), L"RemoveAll", Set, {I4(1)}).text, none);
  EXPECT_EQ(Invoke(group.Get(), L"UpdateRate", SetObject, {I4(100)}).text, "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"UpdateRate", Set | SetObject, {I4(200)}).text, "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"UpdateRate", Get).text, "I4:200");
  // Languages that cannot tell a method without arguments from a property use both flags.
  EXPECT_EQ(Invoke(groups.Get(), L"Count", static_cast<WORD>(Get | Method)).text, "I4:2");
  EXPECT_EQ(Invoke(groups.Get(), L"Item", static_cast<WORD>(Get | Method), {I4(1)}).text, "Object");
  EXPECT_EQ(Invoke(groups.Get(), L"RemoveAll", static_cast<WORD>(Get | Method)).text, "Empty");
}

TEST_F(ArgumentForms, ReferencesAreAssignedWithEitherFlag) {
  const ComPtr<_DataRequest> record = Scene::NewRequest();
  for (const WORD flags : {SetObject, static_cast<WORD>(Set | SetObject)}) {
    SCOPED_TRACE(flags);
    EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", flags, {Object(Dispatch(group))}).text, "Empty");
    EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", Get).value->pdispVal, Dispatch(group));
    EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", SetObject, {Object(nullptr)}).text, "Empty");
  }
  Value variable = Object(Dispatch(group));
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", SetObject, {Ref(variable)}).text, "Empty");
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", SetObject, {Unknown(nullptr)}).text, "Empty");
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", SetObject, {Unknown(group.Get())}).text, "Empty");
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", SetObject, {I4(5)}).text, Mismatch(0));
  EXPECT_EQ(Invoke(record.Get(), L"ReqGroup", Get).value->pdispVal, Dispatch(group));
  record->putref_ReqGroup(nullptr);
}

TEST_F(ArgumentForms, CollectionsAnswerWithoutANameOfTheMember) {
  // groups(1)
  EXPECT_EQ(Invoke(groups.Get(), DefaultMember, static_cast<WORD>(Get | Method), {I4(1)}).value->pdispVal,
            Dispatch(group));
  // server.KELDataGroups(1): the argument is meant for the value of the property.
  EXPECT_EQ(
      Invoke(scene.server.Get(), L"KELDataGroups", static_cast<WORD>(Get | Method), {I2(1)}).value->pdispVal,
      Dispatch(group));
  EXPECT_EQ(Invoke(scene.server.Get(), L"KELDataGroups", Get, {I4(9)}).text,
            "80040006 \"Invalid Handle: 9\" ORVOBusiness.KELDataGroups");
  EXPECT_EQ(Invoke(group.Get(), L"KELDataItems", Get, {I4(1)}).value->pdispVal, Dispatch(scene.Item(group, 1)));
}

TEST_F(ArgumentForms, NamedArgumentsFindTheirPlaces) {
  const DISPID load = IdOf(scene.server.Get(), L"LoadConfigurationFromFile");
  scene.server->SaveConfigurationToFile(Text16("a.cfg"));
  Value name = Str("a.cfg");
  Value ignore = Flag(false);
  // bIgnoreErrors:=False, FileName:="a.cfg"
  VARIANT passed[] = {*name, *ignore};
  DISPID places[] = {0, 1};
  EXPECT_EQ(InvokeRaw(scene.server.Get(), load, Method, {passed, places, 2, 2}).text, "Empty");
  // "a.cfg", bIgnoreErrors:=False
  VARIANT mixed[] = {*ignore, *name};
  DISPID second[] = {1};
  EXPECT_EQ(InvokeRaw(scene.server.Get(), load, Method, {mixed, second, 2, 1}).text, "Empty");
  // bIgnoreErrors:=False alone
  EXPECT_EQ(InvokeRaw(scene.server.Get(), load, Method, {mixed, second, 1, 1}).result, DISP_E_BADPARAMCOUNT);
  DISPID unknown[] = {7};
  EXPECT_EQ(InvokeRaw(scene.server.Get(), load, Method, {mixed, unknown, 2, 1}).result, DISP_E_PARAMNOTFOUND);
  DISPID twice[] = {0};
  EXPECT_TRUE(FAILED(InvokeRaw(scene.server.Get(), load, Method, {mixed, twice, 2, 1}).result))
      << "the first argument by place and by name";
  // SyncRead with its arguments in another order.
  const ComPtr<_KELDataGroup> read = scene.AddGroup({"WO100"}, "Read");
  scene.server->OpenCommunication();
  Value handles = Array(VT_I4, 0, {I4(1)});
  Value values;
  Value errors;
  VARIANT three[] = {*handles, *Ref(values), *Ref(errors)};
  DISPID order[] = {0, 1, 2};
  EXPECT_EQ(InvokeRaw(read.Get(), IdOf(read.Get(), L"SyncRead"), Method, {three, order, 3, 3}).text, "Empty");
  EXPECT_EQ(Text(values), "Variant[0: I2:0]");
  EXPECT_EQ(Text(errors), "Variant[0: I4:0]");
}

TEST_F(ArgumentForms, BooleansOfEveryKind) {
  for (const Value& yes : {Flag(true), I2(-1), I4(-1), R8(-1), Str("True"), Str("-1"), I4(1), I2(5)}) {
    SCOPED_TRACE(Text(yes));
    group->put_Subscribed(VARIANT_FALSE);
    EXPECT_EQ(Invoke(group.Get(), L"Subscribed", Set, {yes}).text, "Empty");
    EXPECT_EQ(Invoke(group.Get(), L"Subscribed", Get).text, "Bool:True");
  }
  for (const Value& no : {Flag(false), I2(0), Value(), Str("False"), Str("0")}) {
    SCOPED_TRACE(Text(no));
    group->put_Subscribed(VARIANT_TRUE);
    EXPECT_EQ(Invoke(group.Get(), L"Subscribed", Set, {no}).text, "Empty");
    EXPECT_EQ(Invoke(group.Get(), L"Subscribed", Get).text, "Bool:False");
  }
  EXPECT_EQ(Invoke(group.Get(), L"Subscribed", Set, {Str("perhaps")}).text, Mismatch(0));
}

TEST_F(ArgumentForms, ASmallPropertyOverflowsBeforeAnyEffect) {
  EXPECT_EQ(Invoke(scene.server.Get(), L"Timeout", Set, {I4(40000)}).text,
            Hex(DISP_E_OVERFLOW) + " argument 0");
  EXPECT_EQ(Invoke(scene.server.Get(), L"Timeout", Set, {I4(500)}).text, "Empty");
  EXPECT_EQ(Invoke(scene.server.Get(), L"Timeout", Get).text, "I2:500");
}

TEST_F(ArgumentForms, ValuesToWriteOfEveryKind) {
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  scene.server->OpenCommunication();
  Value variable = I2(7);
  Value deeper = Ref(variable);
  Value dispatch = Object(Dispatch(group));
  for (const Value& seven : {I1(7), UI1(7), I2(7), UI2(7), I4(7), UI4(7), I8(7), UI8(7), R4(7), R8(7),
                             Money(70000), Str("7"), Ref(variable), TypedRef(variable), Ref(deeper)}) {
    SCOPED_TRACE(Text(seven) + " type " + std::to_string((*seven).vt));
    Value error;
    EXPECT_EQ(Invoke(item.Get(), L"SyncWrite", Method, {I2(0), Ref(error)}).text, "Empty");
    EXPECT_EQ(Invoke(item.Get(), L"SyncWrite", Method, {seven, Ref(error)}).text, "Empty");
    EXPECT_EQ(Text(error), "I4:0");
    Value value;
    EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {Ref(value), Ref(error)}).text, "Empty");
    EXPECT_EQ(Text(value), "I2:7");
  }
  Value error = Str("5");
  EXPECT_EQ(Invoke(item.Get(), L"SyncWrite", Method, {dispatch, Ref(error)}).text,
            "8004000F \"INVALID FORMAT Format not correct\" ORVOBusiness.KELDataItem");
  EXPECT_EQ(Text(error), "Str:\"5\"") << "outputs of a failed call stay";
}

}  // namespace
}  // namespace orvo::testing
