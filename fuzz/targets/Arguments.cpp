// The argument list of a call by name, with a double of the automation types in place of the system's
// (automation/). Properties:
// - a list that is refused has changed nothing, is refused with a documented code, and names one of its
//   arguments
// - each parameter is passed as it is declared: type, place (positional from the back, named by number),
//   reference
// - what is passed is the caller's value, converted; elements of arrays and of script arrays one by one; what
//   is left out is marked as such
// - after the call a variable has what the member wrote, converted to the variable's own type; what the member
//   had no right to write is as it was
// - an array that comes back to a variant can be indexed by a script: it is one of variants, at any depth
// - no string, array or object is lost or freed twice
#include "Property.h"
#include "Targets.h"
#include "Values.h"
#include "automation/AutomationDouble.h"
#include "automation/CallerMemory.h"
#include "com/ArgumentList.h"
#include "com/VariantCodec.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <array>
#include <deque>
#include <memory>

namespace orvo::fuzz {

namespace {

using com::Member;
using com::Parameter;

constexpr std::array<VARTYPE, 9> ScalarTypes{VT_I2,   VT_I4,   VT_R4,   VT_R8, VT_CY,
                                             VT_DATE, VT_BSTR, VT_BOOL, VT_UI1};
constexpr std::array<VARTYPE, 5> ParameterTypes{VT_I4, VT_R8, VT_BSTR, VT_BOOL, VT_VARIANT};
constexpr std::array<VARTYPE, 6> ElementTypes{VT_I4, VT_VARIANT, VT_R8, VT_UI1, VT_I2, VT_BSTR};
constexpr std::size_t MostParameters = 4;

class Call {
 public:
  explicit Call(InputReader& input) : input_(input) {
    DeclareMember();
    GiveArguments();
  }
  void Run();

 private:
  struct Given {
    VARIANT* value = nullptr;
    Variant before;           // as it reads before the call
    bool isVariable = false;  // a variant by reference
    bool isTyped = false;     // a typed variable, or one of arrays, by reference
    bool isAlias = false;     // the same variable as another argument's
    bool isScript = false;
  };

  void DeclareMember();
  void GiveArguments();
  VARIANT TakeArgument(Given& given);
  VARIANT TakeArray();
  HRESULT Called(const std::vector<VARTYPE>& types, const std::vector<VARIANT*>& values);
  void CheckPassed(std::size_t place, const VARIANT& passed) const;
  void Write(std::size_t place, VARIANT& passed);
  void CheckGivenBack(std::size_t place) const;
  void DemandUnchanged(std::string_view property, bool outsToo) const;
  // Which of the caller's arguments a parameter gets.
  std::optional<std::size_t> IndexOf(std::size_t place) const;

  InputReader& input_;
  CallerMemory memory_;
  Member member_;
  std::vector<VARIANT> arguments_;  // as they lie in the caller's list
  std::vector<DISPID> names_;
  std::vector<Given> given_;
  std::vector<std::optional<Variant>> written_;  // by parameter
  std::vector<VARIANT*> aliases_;
  int calls_ = 0;
};

void Call::DeclareMember() {
  const std::size_t count = 1 + input_.Below(MostParameters);
  bool optional = false;
  for (std::size_t k = 0; k < count; ++k) {
    Parameter parameter;
    parameter.isIn = true;
    const std::uint8_t options = input_.Byte();
    parameter.isArray = (options & 1) != 0;
    parameter.byReference = parameter.isArray || (options & 2) != 0;
    parameter.isOut = parameter.byReference && (options & 4) != 0;
    const std::size_t type = input_.Below(30);
    parameter.type = parameter.isArray ? ElementTypes[type % ElementTypes.size()]
                                       : ParameterTypes[type % ParameterTypes.size()];
    // What follows an optional one is optional, and all of them are variants.
    optional = optional || (options & 0x18) == 0x18;
    if (optional) {
      parameter.isArray = parameter.isOut = false;
      parameter.byReference = (options & 2) != 0;
      parameter.type = VT_VARIANT;
      parameter.isOptional = true;
    }
    member_.parameters.push_back(parameter);
  }
}

VARIANT Call::TakeArray() {
  const VARTYPE type = ElementTypes[input_.Below(ElementTypes.size())];
  const std::size_t count = input_.Below(5);
  std::vector<Variant> elements(count);
  for (Variant& element : elements) {
    element = TakeScalar(input_);
    Variant converted;
    if (type != VT_VARIANT &&
        NumberOf([&] { converted = ChangeKind(element, static_cast<VariantKind>(type)); }) != 0)
      converted = ChangeKind(Variant(std::int16_t{7}), static_cast<VariantKind>(type));
    if (type != VT_VARIANT) element = converted;
  }
  const std::int32_t lower = static_cast<std::int32_t>(input_.Below(3)) - 1;
  VARIANT array;
  VariantInit(&array);
  V_ARRAY(&array) = SafeArrayCreateVector(type, lower, static_cast<ULONG>(count));
  V_VT(&array) = static_cast<VARTYPE>(VT_ARRAY | type);
  for (std::size_t k = 0; k < count; ++k) {
    VARIANT element = Fresh(elements[k]);
    const ULONG size = V_ARRAY(&array)->cbElements;
    auto* place = static_cast<char*>(V_ARRAY(&array)->pvData) + k * size;
    if (type == VT_VARIANT)
      std::memcpy(place, &element, size);
    else
      std::memcpy(place, &V_I8(&element), size);
  }
  if (input_.Below(8) == 7) V_ARRAY(&array)->fFeatures |= FADF_FIXEDSIZE;
  return array;
}

VARIANT Call::TakeArgument(Given& given) {
  VARIANT argument;
  VariantInit(&argument);
  const auto content = [&] { return input_.Flag() ? TakeArray() : Fresh(TakeScalar(input_)); };
  switch (input_.Below(11)) {
    case 0:
      return memory_.Variable(TakeArray());
    case 1: {  // a variant by reference
      V_VT(&argument) = VT_BYREF | VT_VARIANT;
      V_VARIANTREF(&argument) = &memory_.Variable(content());
      aliases_.push_back(V_VARIANTREF(&argument));
      given.isVariable = true;
      return argument;
    }
    case 2: {  // a typed variable
      const VARTYPE type = ScalarTypes[input_.Below(ScalarTypes.size())];
      Variant value = TakeScalar(input_);
      Variant converted = ChangeKind(Variant(std::int16_t{3}), static_cast<VariantKind>(type));
      FailureOf([&] { converted = ChangeKind(value, static_cast<VariantKind>(type)); });
      V_BYREF(&argument) = memory_.Typed(Fresh(converted));
      V_VT(&argument) = static_cast<VARTYPE>(VT_BYREF | type);
      given.isTyped = true;
      return argument;
    }
    case 3: {  // a variable of arrays
      const VARIANT array = TakeArray();
      V_BYREF(&argument) = memory_.Typed(array);
      V_VT(&argument) = static_cast<VARTYPE>(VT_BYREF | V_VT(&array));
      given.isTyped = true;
      return argument;
    }
    case 4: {  // a script's array
      std::vector<VARIANT> elements(input_.Below(5));
      for (VARIANT& element : elements)
        element = memory_.Variable(Fresh(TakeScalar(input_)));
      V_DISPATCH(&argument) = &memory_.Script(elements, input_.Flag());
      V_VT(&argument) = VT_DISPATCH;
      given.isScript = true;
      return argument;
    }
    case 5:
      V_VT(&argument) = VT_ERROR;
      V_ERROR(&argument) = DISP_E_PARAMNOTFOUND;
      return argument;
    case 6: {  // a reference behind a variable
      VARIANT inner;
      VariantInit(&inner);
      V_VT(&inner) = VT_BYREF | VT_I4;
      V_BYREF(&inner) = memory_.Typed(Fresh(Variant(input_.Number<std::int32_t>())));
      V_VT(&argument) = VT_BYREF | VT_VARIANT;
      V_VARIANTREF(&argument) = &memory_.Variable(inner);
      given.isTyped = true;
      return argument;
    }
    case 7:
      if (!aliases_.empty()) {
        V_VT(&argument) = VT_BYREF | VT_VARIANT;
        V_VARIANTREF(&argument) = aliases_[input_.Below(aliases_.size())];
        given.isAlias = true;
        return argument;
      }
      return memory_.Variable(Fresh(TakeScalar(input_)));
    case 8: {  // what leads nowhere
      constexpr std::array<VARTYPE, 5> Nowhere{VT_BYREF | VT_I4, VT_BYREF | VT_VARIANT, VT_ARRAY | VT_I4,
                                               VT_BYREF | VT_BSTR, VT_BYREF | VT_ARRAY | VT_VARIANT};
      V_VT(&argument) = Nowhere[input_.Below(Nowhere.size())];
      return argument;
    }
    default:
      return memory_.Variable(Fresh(TakeScalar(input_)));
  }
}

void Call::GiveArguments() {
  const std::size_t declared = member_.parameters.size();
  const std::size_t count = input_.Below(8) == 7 ? input_.Below(declared + 2) : declared;
  const std::size_t named = input_.Below(4) == 3 ? input_.Below(count + 1) : 0;
  given_.resize(count);
  arguments_.resize(count);
  for (std::size_t k = 0; k < count; ++k) {
    arguments_[k] = TakeArgument(given_[k]);
    given_[k].value = &arguments_[k];
  }
  for (std::size_t k = 0; k < named; ++k)
    names_.push_back(input_.Below(8) == 7 ? static_cast<DISPID>(input_.Byte()) - 4
                                          : static_cast<DISPID>(declared - 1 - k));
  for (Given& each : given_) {
    // Two arguments that are one variable change together.
    for (const Given& other : given_)
      if (other.isAlias && each.isVariable && V_VARIANTREF(other.value) == V_VARIANTREF(each.value))
        each.isAlias = true;
    each.before = ReadOrWhy(*each.value);
  }
}

std::optional<std::size_t> Call::IndexOf(std::size_t place) const {
  for (std::size_t k = 0; k < names_.size(); ++k)
    if (static_cast<std::size_t>(names_[k] == DISPID_PROPERTYPUT
                                     ? static_cast<DISPID>(member_.parameters.size()) - 1
                                     : names_[k]) == place)
      return k;
  const std::size_t positional = arguments_.size() - names_.size();
  return place < positional ? std::optional(arguments_.size() - 1 - place) : std::nullopt;
}

void Call::DemandUnchanged(std::string_view property, bool outsToo) const {
  for (std::size_t place = 0; place < member_.parameters.size(); ++place) {
    const std::optional<std::size_t> index = IndexOf(place);
    if (!index || given_[*index].isAlias) continue;
    if (member_.parameters[place].isOut && !outsToo) continue;
    const Variant now = ReadOrWhy(arguments_[*index]);
    Demand(IsSame(now, given_[*index].before), property,
           [&] { return Shown(given_[*index].before) + " is now " + Shown(now); });
  }
}

// What the parameter is to be passed for the caller's value.
void Call::CheckPassed(std::size_t place, const VARIANT& passed) const {
  const Parameter& declared = member_.parameters[place];
  const std::optional<std::size_t> index = IndexOf(place);
  const VARIANT* value = &passed;
  VARIANT behind;
  VariantInit(&behind);
  if (declared.isArray) {
    V_VT(&behind) = static_cast<VARTYPE>(VT_ARRAY | declared.type);
    V_ARRAY(&behind) = *V_ARRAYREF(&passed);
    value = &behind;
  } else if (declared.byReference) {
    behind = passed;
    V_VT(&behind) = static_cast<VARTYPE>(VT_BYREF | declared.type);
    value = &behind;
  }
  if (!index || (declared.isOptional && IsMissing(arguments_[*index]))) {
    Demand(IsMissing(*value), "what is left out is marked as such");
    return;
  }
  if (given_[*index].isAlias) return;
  const Variant& before = given_[*index].before;
  const Variant got = Read(*value);
  const auto converted = [](const Variant& each, VARTYPE type) {
    return type == VT_VARIANT ? each : ChangeKind(each, static_cast<VariantKind>(type));
  };
  if (!declared.isArray) {
    if (declared.type == VT_VARIANT && before.IsArray())
      Demand(HasSameElements(got, before), "a value is passed as it is", [&] { return Shown(got); });
    else
      Demand(IsSame(got, converted(before, declared.type)),
             "a value is passed converted to its parameter's type",
             [&] { return Shown(before) + " as " + Shown(got); });
    return;
  }
  std::vector<Variant> expected;
  if (before.IsArray())
    for (std::size_t k = 0; k < before.ElementCount(); ++k)
      expected.push_back(converted(before.ElementAt(k), declared.type));
  else if (!before.IsEmpty() && !(before.IsNull() && declared.isOut))
    expected.push_back(converted(before, declared.type));
  if (*V_ARRAYREF(&passed) == nullptr) {
    Demand(expected.empty(), "only nothing is passed as no array", [&] { return Shown(before); });
    return;
  }
  Demand(com::ElementType(*V_ARRAYREF(&passed)) == declared.type, "an array has its declared elements");
  Demand(HasSameElements(got, SafeArray<Variant>(expected)), "an array is passed element by element",
         [&] { return Shown(before) + " as " + Shown(got); });
  Demand(got.LowerBound() == (before.IsArray() ? before.LowerBound() : 0), "an array keeps its lower bound");
}

// The member writes into an argument that it may write to.
void Call::Write(std::size_t place, VARIANT& passed) {
  const Parameter& declared = member_.parameters[place];
  if (!declared.isOut || input_.Below(4) == 3) return;
  if (declared.isArray) {
    const std::size_t count = input_.Below(5);
    SAFEARRAY*& array = *V_ARRAYREF(&passed);
    if (com::IsFixedSize(array) && com::BoundsOf(array).count != count) return;
    std::vector<Variant> elements(count);
    for (Variant& element : elements) {
      element =
          ChangeKind(Variant(std::int32_t{input_.Byte()}),
                     declared.type == VT_VARIANT ? VariantKind::I4 : static_cast<VariantKind>(declared.type));
    }
    com::OwnedSafeArray fresh(
        SafeArrayCreateVector(declared.type, static_cast<LONG>(input_.Below(2)), static_cast<ULONG>(count)));
    for (std::size_t k = 0; k < count; ++k) {
      VARIANT element = Fresh(elements[k]);
      const ULONG size = fresh.Get()->cbElements;
      std::memcpy(
          static_cast<char*>(fresh.Get()->pvData) + k * size,
          declared.type == VT_VARIANT ? static_cast<void*>(&element) : static_cast<void*>(&V_I8(&element)),
          size);
    }
    if (com::IsFixedSize(array)) {
      com::ReplaceArray(&array, std::move(fresh));
    } else {
      SafeArrayDestroy(array);
      array = fresh.Detach();
    }
    written_[place] = Variant(SafeArray<Variant>(elements));
  } else if (declared.type == VT_VARIANT) {
    com::PutValue(TakeValue(input_), V_VARIANTREF(&passed));
    written_[place] = Read(*V_VARIANTREF(&passed));  // what is no UTF-8 is something else already
  } else {
    Variant value = ChangeKind(Variant(input_.Number<std::int16_t>()), static_cast<VariantKind>(declared.type));
    VARIANT fresh = Fresh(value);
    if (declared.type == VT_BSTR) SysFreeString(*static_cast<BSTR*>(V_BYREF(&passed)));
    const std::size_t size = declared.type == VT_BOOL ? 2 : declared.type == VT_I4 ? 4 : 8;
    std::memcpy(V_BYREF(&passed), &V_I8(&fresh), size);
    written_[place] = value;
  }
}

HRESULT Call::Called(const std::vector<VARTYPE>& types, const std::vector<VARIANT*>& values) {
  ++calls_;
  Demand(types.size() == member_.parameters.size(), "each parameter is passed");
  for (std::size_t place = 0; place < types.size(); ++place) {
    Demand(types[place] == member_.parameters[place].PassedType(),
           "a parameter is passed by its declared type");
    if (types[place] != VT_VARIANT)
      Demand(V_VT(values[place]) == types[place] &&
                 ((types[place] & VT_BYREF) == 0 || V_BYREF(values[place]) != nullptr),
             "a parameter's value has its declared type, and references lead somewhere");
    CheckPassed(place, *values[place]);
  }
  DemandUnchanged("nothing is changed before the member is called", true);
  for (std::size_t place = 0; place < types.size(); ++place)
    Write(place, *values[place]);
  return S_OK;
}

bool IsIndexable(const Variant& value) {
  if (!value.IsArray()) return true;
  if (value.Kind() != VariantKind::Variant) return false;
  for (std::size_t k = 0; k < value.ElementCount(); ++k)
    if (!IsIndexable(value.ElementAt(k))) return false;
  return true;
}

void Call::CheckGivenBack(std::size_t place) const {
  const Parameter& declared = member_.parameters[place];
  const std::optional<std::size_t> index = IndexOf(place);
  if (!index || !written_[place] || given_[*index].isAlias) return;
  const Given& given = given_[*index];
  const Variant now = ReadOrWhy(*given.value);
  const Variant& wanted = *written_[place];
  if (given.isVariable) {
    Demand(IsIndexable(now) || (!declared.isArray && declared.type != VT_VARIANT),
           "an array that comes back can be indexed", [&] { return Shown(now); });
    if (wanted.IsArray()) {
      Demand(now.IsArray() && now.ElementCount() == wanted.ElementCount(),
             "a variable gets the array that was written",
             [&] { return Shown(wanted) + " came back as " + Shown(now); });
      for (std::size_t k = 0; k < wanted.ElementCount(); ++k) {
        Variant expected = wanted.ElementAt(k);
        // A variable that held an array of the same bounds keeps its kind of elements.
        const bool kept =
            declared.isArray && given.before.IsArray() && given.before.ElementCount() == wanted.ElementCount();
        if (kept) continue;
        Demand(IsSame(now.ElementAt(k), expected), "a variable gets the elements that were written",
               [&] { return Shown(expected) + " came back as " + Shown(now.ElementAt(k)); });
      }
    } else {
      Demand(IsSame(now, wanted), "a variable gets the value that was written",
             [&] { return Shown(wanted) + " came back as " + Shown(now); });
    }
  } else if (given.isTyped && !wanted.IsArray()) {
    Demand(IsSame(now, ChangeKind(wanted, now.Kind())),
           "a typed variable gets the value that was written, converted",
           [&] { return Shown(wanted) + " came back as " + Shown(now); });
  } else if ((given.isTyped || (given.isScript && declared.isArray)) && wanted.IsArray()) {
    Demand(now.IsArray() && now.ElementCount() == wanted.ElementCount(),
           "an array variable gets the array that was written",
           [&] { return Shown(wanted) + " came back as " + Shown(now); });
    for (std::size_t k = 0; k < wanted.ElementCount(); ++k) {
      const Variant element = now.ElementAt(k);
      Variant expected = wanted.ElementAt(k);
      if (given.isTyped && given.before.Kind() != VariantKind::Variant)
        expected = ChangeKind(expected, given.before.Kind());
      Demand(IsSame(element, expected), "an array variable gets the elements that were written, converted",
             [&] { return Shown(expected) + " came back as " + Shown(element); });
    }
  } else {
    Demand(IsSame(now, given.before), "a value that was given is as it was",
           [&] { return Shown(given.before) + " is now " + Shown(now); });
  }
}

void Call::Run() {
  written_.resize(member_.parameters.size());
  SetCalledMember([this](const auto& types, const auto& values) { return Called(types, values); });
  DISPPARAMS given{arguments_.data(), names_.data(), static_cast<UINT>(arguments_.size()),
                   static_cast<UINT>(names_.size())};
  {
    com::ArgumentList list(given, member_, LOCALE_NEUTRAL);
    UINT argument = 0xFFFF;
    const HRESULT prepared = list.Prepare(&argument);
    if (FAILED(prepared)) {
      constexpr std::array Documented{DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADPARAMCOUNT,
                                      DISP_E_PARAMNOTFOUND, DISP_E_PARAMNOTOPTIONAL};
      Demand(std::find(Documented.begin(), Documented.end(), prepared) != Documented.end(),
             "a list is refused with a documented code", std::to_string(static_cast<std::uint32_t>(prepared)));
      if (prepared == DISP_E_TYPEMISMATCH || prepared == DISP_E_OVERFLOW)
        Demand(argument < arguments_.size(), "a list that is refused names the argument",
               std::to_string(argument));
      if (prepared != DISP_E_PARAMNOTFOUND && prepared != DISP_E_BADPARAMCOUNT)
        DemandUnchanged("a list that is refused changes nothing", true);
      return;
    }
    VARIANT returned;
    VARIANT answer;
    VariantInit(&answer);
    Demand(list.Call(nullptr, member_, &answer, &returned) == S_OK && calls_ == 1, "a member is called once");
    const HRESULT back = list.GiveBack(&argument);
    if (FAILED(back)) {
      Demand(back == DISP_E_TYPEMISMATCH || back == DISP_E_OVERFLOW || back == DISP_E_ARRAYISLOCKED,
             "what cannot be given back is refused with a documented code",
             std::to_string(static_cast<std::uint32_t>(back)));
      Demand(argument < arguments_.size(), "what cannot be given back is named", std::to_string(argument));
    } else {
      for (std::size_t place = 0; place < member_.parameters.size(); ++place)
        CheckGivenBack(place);
    }
    DemandUnchanged("what a member may not write is as it was", false);
  }
}

}  // namespace

void Arguments(InputReader& input) {
  const std::int64_t blocks = AutomationBlocks();
  Call(input).Run();
  SetCalledMember({});
  Demand(AutomationBlocks() == blocks, "no string, array or object is lost",
         [&] { return std::to_string(AutomationBlocks() - blocks) + " more"; });
}

}  // namespace orvo::fuzz
