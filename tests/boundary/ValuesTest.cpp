// Values and texts that cross the boundary both ways.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/TestSink.h"
#include "com/Bstr.h"

#include <array>

namespace orvo::testing {
namespace {

Value Wide(std::wstring_view text) {
  Value value;
  value->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  value->vt = VT_BSTR;
  return value;
}

std::wstring WideOf(BSTR text) {
  return {text, SysStringLen(text)};
}

TEST_F(Boundary, TextsKeepEveryUnit) {
  scene.Configure();
  const std::wstring names[] = {
      L"zero\0inside",          std::wstring(L"a\0b", 3),           L"\u00E4\u20AC",
      L"\U0001F600 face",       std::wstring(L"half \xD83D alone"), std::wstring(L"\xDE00", 1),
      std::wstring(40000, L'x')};
  for (const std::wstring& name : names) {
    SCOPED_TRACE(com::TextOf(std::wstring_view(name)).substr(0, 40));
    Value given = Wide(name);
    ComPtr<_KELDataGroup> group;
    ASSERT_EQ(scene.Groups()->Add(*given, group.Put()), S_OK);
    Value read;
    read->vt = VT_BSTR;
    read->bstrVal = nullptr;
    EXPECT_EQ(group->get_GroupName(&read->bstrVal), S_OK);
    EXPECT_EQ(WideOf(read->bstrVal), name);
    ComPtr<_KELDataGroup> found;
    EXPECT_EQ(scene.Groups()->ItemByName(&given->bstrVal, found.Put()), S_OK);
    EXPECT_EQ(found.Get(), group.Get());
    EXPECT_EQ(WideOf(Invoke(group.Get(), L"GroupName", Get).value->bstrVal), name);
    scene.Groups()->RemoveAll();
  }
}

TEST_F(Boundary, RecordsGiveBackEveryKindOfValue) {
  TestSink foreign{IID_NULL};
  scene.server = Scene::NewServer();
  const ComPtr<_DataRequest> record = Scene::NewRequest();
  Value decimal;
  decimal->decVal = {};
  decimal->decVal.Lo64 = 12345;
  decimal->decVal.scale = 2;
  decimal->decVal.sign = DECIMAL_NEG;
  decimal->vt = VT_DECIMAL;
  const std::array values = {
      Value(),
      Null(),
      I1(-5),
      UI1(200),
      I2(-30000),
      UI2(60000),
      I4(-2000000000),
      UI4(4000000000),
      I8(-5000000000),
      UI8(18000000000000000000ULL),
      R4(1.5F),
      R8(-0.1),
      Money(-12345),
      Days(45306.5),
      Str("text"),
      Str(""),
      Flag(true),
      Flag(false),
      ErrorValue(DISP_E_PARAMNOTFOUND),
      decimal,
      Object(Dispatch(scene.server)),
      Object(&foreign),
      Object(nullptr),
      Array(VT_UI1, 0, {I2(1), I2(255)}),
      Array(VT_I2, 3, {I2(1)}),
      Array(VT_VARIANT, 1, {Str("x"), Null()}),
      Array(VT_R8, -1, {R8(0.5)}),
      Array(VT_BSTR, 0, {Str("x"), Str("")}),
      Array(VT_I4, 0, {}),
  };
  for (const Value& value : values) {
    SCOPED_TRACE(Text(value) + " type " + std::to_string((*value).vt));
    Value given = Array(VT_VARIANT, 0, {value});
    EXPECT_EQ(record->SetDATAValues(&given->parray), S_OK);
    Value back = NoArray(VT_VARIANT);
    EXPECT_EQ(record->get_DATAValues(&back->parray), S_OK);
    LONG index = 0;
    Value element;
    ASSERT_EQ(SafeArrayGetElement(back->parray, &index, element.Get()), S_OK);
    EXPECT_EQ(Text(element), Text(value));
    EXPECT_EQ((*element).vt, (*value).vt);
    if ((*value).vt == VT_DISPATCH) {
      EXPECT_EQ((*element).pdispVal, (*value).pdispVal) << "the same object";
    }
    if ((*value).vt == VT_DECIMAL) {
      DECIMAL left = (*element).decVal;
      DECIMAL right = (*value).decVal;
      EXPECT_EQ(VarDecCmp(&left, &right), static_cast<HRESULT>(VARCMP_EQ));
    }
  }
  Value none = Array(VT_VARIANT, 0, {});
  record->SetDATAValues(&none->parray);
  EXPECT_EQ(foreign.References(), 1U) << "held by the list of this test alone";
}

TEST_F(Boundary, ReferencesInsideValuesAreFollowed) {
  const ComPtr<_DataRequest> record = Scene::NewRequest();
  Value number = I4(5);
  Value deeper = Ref(number);
  Value texts = Array(VT_BSTR, 0, {Str("x")});
  // Elements that are references stay references in an array of variants.
  Value given = Array(VT_VARIANT, 0, {Value(), Value(), Value()});
  VARIANT* elements = nullptr;
  SafeArrayAccessData(given->parray, reinterpret_cast<void**>(&elements));
  elements[0] = *TypedRef(number);
  elements[1] = *Ref(deeper);
  elements[2] = *TypedRef(texts);
  SafeArrayUnaccessData(given->parray);
  EXPECT_EQ(record->SetDATAValues(&given->parray), S_OK);
  number = I4(6);
  EXPECT_EQ(Invoke(record.Get(), L"DATAValues", Get).text, "Variant[0: I4:5, I4:5, Variant[0: Str:\"x\"]]");
}

TEST_F(Boundary, WhatTheSystemHasNoValueForIsRefused) {
  const ComPtr<_DataRequest> record = Scene::NewRequest();
  Value before = Array(VT_VARIANT, 0, {I2(1)});
  record->SetDATAValues(&before->parray);
  SAFEARRAYBOUND bounds[2] = {{1, 0}, {1, 0}};
  Value square;
  square->parray = SafeArrayCreate(VT_VARIANT, 2, bounds);
  square->vt = VT_ARRAY | VT_VARIANT;
  EXPECT_EQ(SlotText(record->SetDATAValues(&square->parray)).substr(0, 8), "800A000D");
  Value nested = Array(VT_VARIANT, 0, {square});
  EXPECT_EQ(SlotText(record->SetDATAValues(&nested->parray)).substr(0, 8), "800A000D");
  Value wrongType = Array(VT_I4, 0, {I4(1)});
  EXPECT_EQ(SlotText(record->SetDATAValues(&wrongType->parray)).substr(0, 8), "800A000D");
  Value handles = Array(VT_I2, 0, {I2(1)});
  EXPECT_EQ(SlotText(record->SetHandles(&handles->parray)).substr(0, 8), "800A000D");
  EXPECT_EQ(Invoke(record.Get(), L"DATAValues", Get).text, "Variant[0: I2:1]") << "nothing changed";
  EXPECT_EQ(Invoke(record.Get(), L"Handles", Get).text, "Variant[0:]");
}

TEST_F(Boundary, ArraysBySlotArePassedAsAFixedVariable) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100", "WO102"});
  scene.server->OpenCommunication();
  Value handles = FixedSize(Array(VT_I4, 1, {I4(1), I4(2)}));
  Value values = FixedSize(Array(VT_VARIANT, 1, {Str("old"), Str("old")}));
  Value errors = FixedSize(Array(VT_I4, 1, {I4(7), I4(7)}));
  SAFEARRAY* const place = values->parray;
  EXPECT_EQ(group->SyncRead(&handles->parray, &values->parray, &errors->parray), S_OK);
  EXPECT_EQ(values->parray, place) << "in place";
  EXPECT_EQ(Text(values) + Text(errors), "Variant[1: I2:0, I2:0]I4[1: 0, 0]");

  Value small = FixedSize(Array(VT_VARIANT, 1, {Str("old")}));
  const int reads = scene.Panel()->Faults().Calls(PanelOperation::ReadItems);
  EXPECT_EQ(SlotText(group->SyncRead(&handles->parray, &small->parray, &errors->parray)).substr(0, 8),
            "800A0009");
  EXPECT_EQ(Text(small), "Variant[1: Str:\"old\"]");
  EXPECT_EQ(scene.Panel()->Faults().Calls(PanelOperation::ReadItems), reads)
      << "found before anything was read";

  Value locked = Array(VT_VARIANT, 0, {Str("old")});
  SafeArrayLock(locked->parray);
  EXPECT_EQ(SlotText(group->SyncReadAll(&handles->parray, &locked->parray, &errors->parray)).substr(0, 8),
            "800A0009");
  SafeArrayUnlock(locked->parray);
  EXPECT_EQ(Text(locked), "Variant[0: Str:\"old\"]");
  EXPECT_EQ(Text(handles), "I4[1: 1, 2]");
}

TEST_F(Boundary, AFixedArrayKeepsItsBounds) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100", "WO102"});
  scene.server->OpenCommunication();
  Value handles = FixedSize(Array(VT_I4, 5, {I4(0), I4(0)}));
  Value values = FixedSize(Array(VT_VARIANT, 1, {Str("old"), Str("old")}));
  Value errors = FixedSize(Array(VT_I4, -1, {I4(7), I4(7)}));
  EXPECT_EQ(SlotText(group->SyncReadAll(&handles->parray, &values->parray, &errors->parray)), "Empty");
  EXPECT_EQ(Text(handles), "I4[5: 1, 2]");
  EXPECT_EQ(Text(values), "Variant[1: I2:0, I2:0]");
  EXPECT_EQ(Text(errors), "I4[-1: 0, 0]");

  Value texts = FixedSize(Array(VT_VARIANT, 1, {Str("old"), Str("old")}));
  Value codes = FixedSize(Array(VT_VARIANT, 2, {Value(), Value()}));
  Value first = TypedRef(texts);
  Value second = TypedRef(codes);
  Value numbers;
  EXPECT_EQ(Invoke(group.Get(), L"SyncReadAll", Method, {Ref(numbers), Ref(first), Ref(second)}).text, "Empty");
  EXPECT_EQ(Text(texts), "Variant[1: I2:0, I2:0]");
  EXPECT_EQ(Text(codes), "Variant[2: I4:0, I4:0]");
  Value typed = FixedSize(Array(VT_I4, 1, {I4(9), I4(9)}));
  EXPECT_EQ(Invoke(group.Get(), L"SyncRead", Method, {I4(1), Ref(numbers), TypedRef(typed)}).result == S_OK,
            false)
      << "one element too many";
  EXPECT_EQ(Invoke(group.Get(), L"SyncRead", Method, {TypedRef(handles), Ref(numbers), TypedRef(typed)}).text,
            "Empty");
  EXPECT_EQ(Text(typed), "I4[1: 0, 0]");
}

TEST_F(Boundary, OneArrayMayStandForTwoArguments) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup({"WO100", "WO102"});
  scene.server->OpenCommunication();
  Value both = Array(VT_I4, 0, {I4(1), I4(2)});
  Value values = Array(VT_VARIANT, 0, {});
  EXPECT_EQ(group->SyncRead(&both->parray, &values->parray, &both->parray), S_OK);
  EXPECT_EQ(Text(values), "Variant[0: I2:0, I2:0]");
  EXPECT_EQ(Text(both), "I4[0: 0, 0]");
  Value same = Array(VT_VARIANT, 0, {I2(1), I2(2)});
  EXPECT_EQ(Invoke(group.Get(), L"SyncRead", Method, {Ref(same), Ref(values), Ref(same)}).text, "Empty");
  EXPECT_EQ(Text(same), "Variant[0: I4:0, I4:0]");
}

TEST_F(Boundary, PropertiesArePutWithoutTheirMarkToo) {
  scene.Configure();
  const ComPtr<_KELDataGroup> group = scene.AddGroup();
  Value rate = I4(250);
  EXPECT_EQ(InvokeRaw(group.Get(), IdOf(group.Get(), L"UpdateRate"), Set, {rate.Get(), nullptr, 1, 0}).text,
            "Empty");
  EXPECT_EQ(Invoke(group.Get(), L"UpdateRate", Get).text, "I4:250");
  EXPECT_EQ(IdOf(scene.Groups().Get(), L"NewEnum"), DISPID_NEWENUM);
  EXPECT_EQ(IdOf(scene.Groups().Get(), L"Item"), DISPID_VALUE);
  EXPECT_EQ(Invoke(group.Get(), DefaultMember, Get).text, Hex(DISP_E_MEMBERNOTFOUND)) << "no collection";
}

}  // namespace
}  // namespace orvo::testing
