// Arrays as each kind of caller passes them by name: every shape for every array argument, in and out.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/ScriptArray.h"

#include <functional>

namespace orvo::testing {
namespace {

class ArrayForms : public Boundary {
 protected:
  // Words 1 and 2; the panel holds 11 and 12.
  ArrayForms() {
    scene.Configure();
    group = scene.AddGroup({"WO100", "WO102"});
    scene.server->OpenCommunication();
    EXPECT_EQ(Call(L"SyncWrite", {Handles(), Array(VT_VARIANT, 0, {I2(11), I2(12)}), Value()}), "Empty");
  }
  static Value Handles() { return Array(VT_I4, 0, {I4(1), I4(2)}); }
  std::string Call(const wchar_t* name, const std::vector<Value>& arguments) {
    return Invoke(group.Get(), name, Method, arguments).text;
  }

  ComPtr<_KELDataGroup> group;
};

struct Form {
  const char* name;
  std::function<std::vector<Value>(Value& variable)> make;  // fills the variable; returns what is passed
};

TEST_F(ArrayForms, HandlesOfEveryShape) {
  ScriptArray script({I4(1), R8(2)});
  Value inner;
  const std::vector<Form> forms = {
      {"a literal of small integers",
       [](Value&) {
         return std::vector{Array(VT_VARIANT, 0, {I2(1), I2(2)})};
       }},
      {"a literal of mixed numbers",
       [](Value&) {
         return std::vector{Array(VT_VARIANT, 0, {R8(1), Str("2")})};
       }},
      {"a variable with an array of variants",
       [](Value& v) {
         return v = Array(VT_VARIANT, 0, {I2(1), I4(2)}), std::vector{Ref(v)};
       }},
      {"a fixed array: a reference behind a reference",
       [&](Value& v) {
         inner = FixedSize(Array(VT_VARIANT, 0, {I2(1), I2(2)}));
         v = TypedRef(inner);
         return std::vector{Ref(v)};
       }},
      {"a variable with an array of its own bounds",
       [](Value& v) {
         return v = Array(VT_I4, 5, {I4(1), I4(2)}), std::vector{Ref(v)};
       }},
      {"a typed array by value",
       [](Value&) {
         return std::vector{Array(VT_I4, -3, {I4(1), I4(2)})};
       }},
      {"a typed array by reference",
       [](Value& v) {
         return v = Array(VT_I4, 1, {I4(1), I4(2)}), std::vector{TypedRef(v)};
       }},
      {"bytes",
       [](Value&) {
         return std::vector{Array(VT_UI1, 0, {I4(1), I4(2)})};
       }},
      {"signed bytes",
       [](Value&) {
         return std::vector{Array(VT_I1, 0, {I4(1), I4(2)})};
       }},
      {"16-bit integers",
       [](Value&) {
         return std::vector{Array(VT_I2, 0, {I4(1), I4(2)})};
       }},
      {"unsigned 16-bit integers",
       [](Value&) {
         return std::vector{Array(VT_UI2, 0, {I4(1), I4(2)})};
       }},
      {"unsigned 32-bit integers",
       [](Value&) {
         return std::vector{Array(VT_UI4, 0, {I4(1), I4(2)})};
       }},
      {"64-bit integers",
       [](Value&) {
         return std::vector{Array(VT_I8, 0, {I4(1), I4(2)})};
       }},
      {"unsigned 64-bit integers",
       [](Value&) {
         return std::vector{Array(VT_UI8, 0, {I4(1), I4(2)})};
       }},
      {"machine integers",
       [](Value&) {
         return std::vector{Array(VT_INT, 0, {I4(1), I4(2)})};
       }},
      {"doubles",
       [](Value&) {
         return std::vector{Array(VT_R8, 0, {I4(1), I4(2)})};
       }},
      {"texts",
       [](Value&) {
         return std::vector{Array(VT_BSTR, 0, {I4(1), I4(2)})};
       }},
      {"a script's array object", [&](Value&) { return std::vector{Object(&script)}; }},
      {"a variable with a script's array object",
       [&](Value& v) { return v = Object(&script), std::vector{Ref(v)}; }},
  };
  for (const Form& form : forms) {
    SCOPED_TRACE(form.name);
    Value variable;
    const std::vector<Value> passed = form.make(variable);
    const std::string before = Text(passed.front());
    Value values;
    Value errors;
    EXPECT_EQ(Call(L"SyncRead", {passed.front(), Ref(values), Ref(errors)}), "Empty");
    const std::string content = Text(values);
    EXPECT_NE(content.find(" I2:11, I2:12]"), std::string::npos) << content;
    // Errors have the bounds of the handles; a script's object counts from 0.
    const std::size_t bracket = before.find('[');
    const std::string lower =
        bracket == std::string::npos ? "0" : before.substr(bracket + 1, before.find(':') - bracket - 1);
    EXPECT_EQ(Text(errors), "Variant[" + lower + ": I4:0, I4:0]");
    EXPECT_EQ(Text(passed.front()), before) << "an argument that only goes in is as it was";
  }
  EXPECT_EQ(script.Content(), "I4:1, R8:2");
}

TEST_F(ArrayForms, OneHandleMayStandForAnArray) {
  Value values;
  Value errors;
  for (const Value& one : {I4(2), I2(2), R8(2), Str("2"), UI1(2)}) {
    SCOPED_TRACE(Text(one));
    EXPECT_EQ(Call(L"SyncRead", {one, Ref(values), Ref(errors)}), "Empty");
    EXPECT_EQ(Text(values), "Variant[0: I2:12]");
  }
  Value variable = I2(1);
  EXPECT_EQ(Call(L"SyncRead", {Ref(variable), Ref(values), Ref(errors)}), "Empty");
  EXPECT_EQ(Text(values), "Variant[0: I2:11]");
  EXPECT_EQ(Text(variable), "I2:1");
  EXPECT_EQ(Call(L"SyncRead", {Value(), Ref(values), Ref(errors)}), "Empty") << "empty stands for no elements";
  EXPECT_EQ(Text(errors), "Variant[0:]");
}

TEST_F(ArrayForms, ResultsReachEveryKindOfVariable) {
  const Value handles = Handles();
  ScriptArray script({});
  Value fixed = FixedSize(Array(VT_VARIANT, 0, {Value(), Value()}));
  struct Out {
    const char* name;
    Value variable;
    std::function<Value(Value&)> pass;
    std::string answer;
  };
  const auto byVariant = [](Value& v) { return Ref(v); };
  const auto byType = [](Value& v) { return TypedRef(v); };
  std::vector<Out> outs = {
      {"an empty variable", Value(), byVariant, "Variant[0: I2:11, I2:12]"},
      {"a variable that holds a text", Str("old"), byVariant, "Variant[0: I2:11, I2:12]"},
      {"a variable that holds Null", Null(), byVariant, "Variant[0: I2:11, I2:12]"},
      {"a dynamic array of the length", Array(VT_VARIANT, 0, {I2(1), I2(2)}), byVariant,
       "Variant[0: I2:11, I2:12]"},
      {"a dynamic array that is too short", Array(VT_VARIANT, 0, {I2(1)}), byVariant,
       "Variant[0: I2:11, I2:12]"},
      {"a typed variant array by reference", Array(VT_VARIANT, 0, {I2(1)}), byType, "Variant[0: I2:11, I2:12]"},
      {"a typed array that was never dimensioned", NoArray(VT_VARIANT), byType, "Variant[0: I2:11, I2:12]"},
      {"an array of longs by reference", Array(VT_I4, 0, {I4(1), I4(2)}), byType, "I4[0: 11, 12]"},
      {"an array of texts by reference", Array(VT_BSTR, 0, {I4(1), I4(2)}), byType, "Str[0: \"11\", \"12\"]"},
  };
  for (Out& out : outs) {
    SCOPED_TRACE(out.name);
    Value errors;
    EXPECT_EQ(Call(L"SyncRead", {handles, out.pass(out.variable), Ref(errors)}), "Empty");
    EXPECT_EQ(Text(out.variable), out.answer);
  }
  Value reference = TypedRef(fixed);
  Value errors;
  EXPECT_EQ(Call(L"SyncRead", {handles, Ref(reference), Ref(errors)}), "Empty");
  EXPECT_EQ(Text(fixed), "Variant[0: I2:11, I2:12]") << "in place";
  EXPECT_EQ(Call(L"SyncRead", {handles, Object(&script), Ref(errors)}), "Empty");
  EXPECT_EQ(script.Content(), "I2:11, I2:12");
  EXPECT_EQ(Call(L"SyncRead", {handles, Array(VT_VARIANT, 0, {}), I4(0)}), "Empty")
      << "by value: nothing comes back";
}

TEST_F(ArrayForms, AFixedArrayWithoutRoomIsAnErrorBeforeAnyEffect) {
  Value fixed = FixedSize(Array(VT_VARIANT, 0, {Str("old")}));
  Value reference = TypedRef(fixed);
  Value errors = Str("old");
  const auto outstanding = scene.Panel()->Faults().Calls(PanelOperation::ReadItems);
  const Reply reply = Invoke(group.Get(), L"SyncRead", Method, {Handles(), Ref(reference), Ref(errors)});
  EXPECT_TRUE(FAILED(reply.result)) << reply.text;
  EXPECT_EQ(Text(fixed), "Variant[0: Str:\"old\"]");
  EXPECT_EQ(Text(errors), "Str:\"old\"");
  EXPECT_EQ(scene.Panel()->Faults().Calls(PanelOperation::ReadItems), outstanding) << "nothing was read";
}

TEST_F(ArrayForms, ValuesToWriteOfEveryShape) {
  ScriptArray script({I4(7), Str("8")});
  Value inner = FixedSize(Array(VT_VARIANT, 0, {I2(7), I2(8)}));
  Value reference = TypedRef(inner);
  Value variable = Array(VT_VARIANT, 1, {I2(7), R8(8)});
  const std::vector<Value> shapes = {
      Array(VT_VARIANT, 0, {I2(7), I2(8)}),
      Array(VT_I4, 0, {I4(7), I4(8)}),
      Array(VT_UI1, 0, {I4(7), I4(8)}),
      Array(VT_UI2, 0, {I4(7), I4(8)}),
      Array(VT_R8, 0, {I4(7), I4(8)}),
      Array(VT_BSTR, 0, {I4(7), I4(8)}),
      Array(VT_VARIANT, 4, {I4(7), Str("8")}),
      Object(&script),
      Ref(reference),
      Ref(variable),
  };
  for (const Value& shape : shapes) {
    for (const wchar_t* member : {L"SyncWrite", L"SyncWriteAll"}) {
      SCOPED_TRACE(Text(shape));
      const std::string before = Text(shape);
      Value errors;
      EXPECT_EQ(Call(L"SyncWrite", {Handles(), Array(VT_VARIANT, 0, {I2(0), I2(0)}), Ref(errors)}), "Empty");
      EXPECT_EQ(Call(member, {Handles(), shape, Ref(errors)}), "Empty");
      EXPECT_NE(Text(errors).find(": I4:0, I4:0]"), std::string::npos) << Text(errors);
      EXPECT_EQ(Text(shape), before);
      Value values;
      EXPECT_EQ(Call(L"SyncRead", {Handles(), Ref(values), Ref(errors)}), "Empty");
      EXPECT_EQ(Text(values), "Variant[0: I2:7, I2:8]");
    }
  }
}

TEST_F(ArrayForms, WhatIsNoNumberIsATypeMismatchWithItsPlace) {
  Value values;
  Value errors;
  const std::string mismatch = Hex(DISP_E_TYPEMISMATCH);
  EXPECT_EQ(Call(L"SyncRead", {Array(VT_VARIANT, 0, {I2(1), Str("two")}), Ref(values), Ref(errors)}),
            mismatch + " argument 0");
  EXPECT_EQ(Call(L"SyncRead", {Array(VT_VARIANT, 0, {Array(VT_I4, 0, {I4(1)})}), Ref(values), Ref(errors)}),
            mismatch + " argument 0");
  EXPECT_EQ(Call(L"GetDimension", {Object(Dispatch(group))}), mismatch + " argument 0")
      << "an object without a length";
  EXPECT_EQ(Call(L"SyncRead", {R8(3e10), Ref(values), Ref(errors)}), Hex(DISP_E_OVERFLOW) + " argument 0");
  EXPECT_EQ(Text(values) + Text(errors), "EmptyEmpty");
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  Value square;
  square->parray = SafeArrayCreate(VT_I4, 2, bounds);
  square->vt = VT_ARRAY | VT_I4;
  EXPECT_EQ(Call(L"GetDimension", {square}), mismatch + " argument 0") << "two dimensions";
}

TEST_F(ArrayForms, AllThreeResultsOfReadAll) {
  Value handles;
  Value values = Array(VT_VARIANT, 1, {I2(1)});
  Value errors = Array(VT_I4, 0, {I4(5), I4(5)});
  EXPECT_EQ(Call(L"SyncReadAll", {Ref(handles), Ref(values), TypedRef(errors)}), "Empty");
  EXPECT_EQ(Text(handles), "Variant[0: I4:1, I4:2]");
  EXPECT_EQ(Text(values), "Variant[0: I2:11, I2:12]");
  EXPECT_EQ(Text(errors), "I4[0: 0, 0]");
}

TEST_F(ArrayForms, TransactionIdsReachEveryKindOfVariable) {
  for (Value variable : {Value(), I4(0), I2(0), R8(0), Str("0")}) {
    SCOPED_TRACE(Text(variable));
    EXPECT_EQ(Call(L"AsyncReadAll", {Ref(variable)}), "Empty");
    EXPECT_EQ(Text(variable).substr(0, 3), "I4:");
    scene.Advance(300ms);
  }
  Value text = Str("no number");
  EXPECT_EQ(Call(L"AsyncReadAll", {Ref(text)}), Hex(DISP_E_TYPEMISMATCH) + " argument 0");
  EXPECT_EQ(Text(text), "Str:\"no number\"");
  Value small = I2(0);
  EXPECT_EQ(Call(L"AsyncReadAll", {TypedRef(small)}), "Empty");
  EXPECT_EQ(Text(small), "I2:7") << "a typed variable keeps its type";
  Value wide = UI8(0);
  EXPECT_EQ(Call(L"AsyncRead", {Handles(), TypedRef(wide)}), "Empty");
  EXPECT_EQ(Text(wide), "UI8:8");
  EXPECT_EQ(Call(L"AsyncReadAll", {I4(0)}), "Empty") << "by value: it has nowhere to go";
  scene.Advance(1s);
}

TEST_F(ArrayForms, ATextVariableGetsAValueAsText) {
  const ComPtr<_KELDataItem> item = scene.Item(group, 1);
  Value text = Str("");
  Value error = I2(5);
  EXPECT_EQ(Invoke(item.Get(), L"SyncRead", Method, {TypedRef(text), TypedRef(error)}).text, "Empty");
  EXPECT_EQ(Text(text), "Str:\"11\"");
  EXPECT_EQ(Text(error), "I2:0");
}

TEST_F(ArrayForms, AnEmptyGroupLeavesTheVariableAlone) {
  scene.server->CloseCommunication();
  const ComPtr<_KELDataGroup> empty = scene.AddGroup();
  scene.server->OpenCommunication();
  for (Value variable : {Value(), Str("old"), I2(5)}) {
    const std::string before = Text(variable);
    EXPECT_EQ(Invoke(empty.Get(), L"AsyncReadAll", Method, {Ref(variable)}).text.substr(0, 5),
              before == "Str:\"old\"" ? Hex(DISP_E_TYPEMISMATCH).substr(0, 5) : "Empty");
    EXPECT_EQ(Text(variable), before);
  }
}

}  // namespace
}  // namespace orvo::testing
