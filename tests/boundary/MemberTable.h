// Tables of members: one row is one call that is made both by slot and by name, each time in a scene of its
// own, and must answer the same.
#pragma once

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "com/Bstr.h"

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace orvo::testing {

// Where a slot leaves its result and finds its arguments.
class Slot {
 public:
  explicit Slot(std::vector<Value> arguments) : arguments_(std::move(arguments)) {}

  // The result, to be filled.
  short* I2() { return &As(VT_I2)->iVal; }
  LONG* I4() { return &As(VT_I4)->lVal; }
  ::ReqType* Kind() { return reinterpret_cast<::ReqType*>(I4()); }
  float* R4() { return &As(VT_R4)->fltVal; }
  DATE* Days() { return &As(VT_DATE)->date; }
  BSTR* Str() { return &As(VT_BSTR)->bstrVal; }
  VARIANT_BOOL* Flag() { return &As(VT_BOOL)->boolVal; }
  VARIANT* Any() { return result_.Put(); }
  SAFEARRAY** Array(VARTYPE element) { return &As(static_cast<VARTYPE>(VT_ARRAY | element))->parray; }
  IUnknown** Unknown() { return &As(VT_UNKNOWN)->punkVal; }
  template <class Interface>
  Interface** Object() {
    static_assert(std::is_base_of_v<IDispatch, Interface>);
    return reinterpret_cast<Interface**>(&As(VT_DISPATCH)->pdispVal);
  }

  // Argument `index`, by value or by reference.
  VARIANT& In(std::size_t index) { return *arguments_[index].Get(); }
  LONG* Long(std::size_t index) { return &In(index).lVal; }
  BSTR* Name(std::size_t index) { return &In(index).bstrVal; }
  SAFEARRAY** Elements(std::size_t index) { return &In(index).parray; }

  Value& Result() { return result_; }
  const std::vector<Value>& Arguments() const { return arguments_; }

 private:
  VARIANT* As(VARTYPE type) {
    VARIANT* const result = result_.Put();
    result->llVal = 0;
    result->vt = type;
    return result;
  }

  Value result_;
  std::vector<Value> arguments_;
};

// One call. `answer` is what it answers; with outputs " | " and what each of them holds afterwards.
template <class Interface>
struct Row {
  using SlotCall = std::function<HRESULT(Interface&, Slot&)>;
  using Prepare = std::function<void(Scene&)>;

  Row(const wchar_t* callName, WORD callFlags, std::vector<Value> callArguments, SlotCall slotCall,
      std::string expected, std::vector<std::size_t> outputArguments = std::vector<std::size_t>(),
      Prepare prepare = Prepare())
      : name(callName),
        flags(callFlags),
        arguments(std::move(callArguments)),
        slot(std::move(slotCall)),
        answer(std::move(expected)),
        outputs(std::move(outputArguments)),
        before(std::move(prepare)) {}

  const wchar_t* name;
  WORD flags;
  std::vector<Value> arguments;  // typed as declared
  SlotCall slot;
  std::string answer;
  std::vector<std::size_t> outputs;
  Prepare before;
};

inline std::string WithOutputs(std::string text, const std::vector<Value>& arguments,
                               const std::vector<std::size_t>& outputs) {
  for (const std::size_t index : outputs)
    text += " | " + Text(arguments[index]);
  return text;
}

// `object` prepares a scene and gives the object that the calls go to.
template <class Interface, class Prepare>
void CheckMembers(const std::vector<Row<Interface>>& rows, Prepare&& object) {
  for (std::size_t number = 0; number < rows.size(); ++number) {
    const Row<Interface>& row = rows[number];
    SCOPED_TRACE("row " + std::to_string(number + 1) + ": " + com::TextOf(std::wstring_view(row.name)));
    {
      Scene scene;
      const ComPtr<Interface> target = object(scene);
      if (row.before) row.before(scene);
      Slot slot(row.arguments);
      const HRESULT result = row.slot(*target.Get(), slot);
      EXPECT_EQ(WithOutputs(SlotText(result, slot.Result()), slot.Arguments(), row.outputs), row.answer)
          << "by slot";
      if (FAILED(result)) slot.Result() = Value();
    }
    {
      Scene scene;
      const ComPtr<Interface> target = object(scene);
      if (row.before) row.before(scene);
      std::vector<Value> variables = row.arguments;
      std::vector<Value> passed = variables;
      for (const std::size_t index : row.outputs)
        passed[index] = variables[index]->vt == VT_EMPTY ? Ref(variables[index]) : TypedRef(variables[index]);
      const Reply reply = Invoke(target.Get(), row.name, row.flags, passed);
      // A script can index arrays of variants only: a result that is an array is one of these.
      const std::string answer = row.outputs.empty() ? AsVariants(row.answer) : row.answer;
      EXPECT_EQ(WithOutputs(reply.text, variables, row.outputs), answer) << "by name";
    }
  }
}

}  // namespace orvo::testing
