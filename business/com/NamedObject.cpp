#include "com/NamedObject.h"

#include "com/ArrayArgument.h"
#include "com/ComError.h"
#include "com/VariantCodec.h"

#include <dispex.h>

#include <deque>

namespace orvo::com {

namespace {

constexpr std::int32_t NoSuchMember = 438;
constexpr std::int32_t WrongArgumentCount = 450;

[[noreturn]] void RaiseNoSuchMember(const wchar_t* name) {
  throw AutomationError(NoSuchMember,
                        "Object doesn't support this property or method: " + TextOf(std::wstring_view(name)));
}

HRESULT FindId(IDispatch& object, const wchar_t* name, DISPID& id) {
  std::wstring copy = name;
  LPOLESTR names = copy.data();
  const HRESULT result = object.GetIDsOfNames(IID_NULL, &names, 1, LOCALE_NEUTRAL, &id);
  if (SUCCEEDED(result)) return result;
  // Objects of VBScript classes answer to names here only.
  ComPtr<IDispatchEx> extended;
  if (FAILED(object.QueryInterface(__uuidof(IDispatchEx), extended.PutVoid()))) return result;
  const Bstr text(TextOf(std::wstring_view(name)));
  return extended->GetDispID(text.Get(), fdexNameCaseInsensitive, &id);
}

bool MeansMissing(HRESULT result) {
  return result == DISP_E_UNKNOWNNAME || result == DISP_E_MEMBERNOTFOUND;
}

// The failure of a call that the object refused, or that it raised itself.
[[noreturn]] void RaiseFailure(const wchar_t* name, HRESULT outcome, EXCEPINFO& failure) {
  if (MeansMissing(outcome)) RaiseNoSuchMember(name);
  const std::string text = TextOf(std::wstring_view(name));
  if (outcome == DISP_E_TYPEMISMATCH) RaiseRuntimeError(RuntimeError::TypeMismatch, "the arguments of " + text);
  if (outcome == DISP_E_BADPARAMCOUNT || outcome == DISP_E_PARAMNOTOPTIONAL)
    throw AutomationError(WrongArgumentCount,
                          "Wrong number of arguments or invalid property assignment: " + text);
  RaiseForeign(outcome, failure);
}

}  // namespace

// One call's arguments in the form in which they are passed.
class NamedObject::Call {
 public:
  Call(const Arguments& arguments, bool typed) {
    // A call by name takes its arguments last to first.
    for (auto each = arguments.list_.rbegin(); each != arguments.list_.rend(); ++each)
      passed_.push_back(Passed(*each, typed));
  }

  HRESULT Invoke(IDispatch& object, DISPID id, WORD flags, VARIANT* result, EXCEPINFO* failure) {
    DISPID put = DISPID_PROPERTYPUT;
    const bool isPut = flags == DISPATCH_PROPERTYPUT;
    DISPPARAMS parameters{passed_.data(), isPut ? &put : nullptr, static_cast<UINT>(passed_.size()),
                          isPut ? 1U : 0U};
    // What an earlier failure left behind is no text for this one.
    SetErrorInfo(0, nullptr);
    return object.Invoke(id, IID_NULL, LOCALE_NEUTRAL, flags, &parameters, result, failure, nullptr);
  }

 private:
  VARIANT Passed(const Arguments::Argument& argument, bool typed) {
    VARIANT passed;
    VariantInit(&passed);
    if (argument.variable != nullptr) {
      VARIANT& variable = *argument.variable;
      const bool isOwnType = typed && V_VT(&variable) != VT_EMPTY && V_VT(&variable) != VT_DECIMAL;
      V_VT(&passed) = static_cast<VARTYPE>(VT_BYREF | (isOwnType ? V_VT(&variable) : VARTYPE{VT_VARIANT}));
      V_BYREF(&passed) = isOwnType ? static_cast<void*>(&V_BYREF(&variable)) : &variable;
      return passed;
    }
    VARIANT& owned = *owned_.emplace_back().Get();
    if (argument.isObject) {
      V_VT(&owned) = VT_DISPATCH;
      V_DISPATCH(&owned) = ComPtr<IDispatch>(argument.object).Detach();
      return owned;
    }
    PutFresh(argument.value, &owned);
    if (!typed) {
      Require(MakeIndexable(owned));
    } else if (argument.value.IsArray()) {
      V_VT(&passed) = static_cast<VARTYPE>(VT_BYREF | V_VT(&owned));
      V_ARRAYREF(&passed) = &V_ARRAY(&owned);
      return passed;
    }
    return owned;
  }

  std::deque<OwnedVariant> owned_;
  std::vector<VARIANT> passed_;
};

NamedObject::Arguments& NamedObject::Arguments::Add(const Variant& value) {
  list_.push_back({value, nullptr, false, nullptr});
  return *this;
}

NamedObject::Arguments& NamedObject::Arguments::Add(const ComPtr<IDispatch>& object) {
  list_.push_back({Variant(), object, true, nullptr});
  return *this;
}

NamedObject::Arguments& NamedObject::Arguments::AddReference(VARIANT& variable) {
  list_.push_back({Variant(), nullptr, false, &variable});
  return *this;
}

bool NamedObject::Has(const wchar_t* name) {
  if (members_->contains(name)) return true;
  const ComPtr<IDispatch> held = object_;
  DISPID id = DISPID_UNKNOWN;
  const HRESULT result = FindId(*held.Get(), name, id);
  if (MeansMissing(result)) return false;
  Require(result);
  members_->insert_or_assign(name, Member{id, false});
  return true;
}

NamedObject::Member& NamedObject::Find(const wchar_t* name) {
  if (!Has(name)) RaiseNoSuchMember(name);
  return members_->find(std::wstring_view(name))->second;
}

void NamedObject::Invoke(const wchar_t* name, WORD flags, const Arguments& arguments, VARIANT* result) {
  Member& member = Find(name);
  // The owner of this object may let go of it inside the call.
  const ComPtr<IDispatch> object = object_;
  const std::shared_ptr<Members> members = members_;
  EXCEPINFO failure{};
  HRESULT outcome = Call(arguments, member.typed).Invoke(*object.Get(), member.id, flags, result, &failure);
  if (outcome == DISP_E_TYPEMISMATCH && !member.typed) {
    // Refused before the member ran, by its declared types.
    outcome = Call(arguments, true).Invoke(*object.Get(), member.id, flags, result, &failure);
    member.typed = outcome != DISP_E_TYPEMISMATCH;
  }
  if (FAILED(outcome)) RaiseFailure(name, outcome, failure);
}

void NamedObject::Do(const wchar_t* name, const Arguments& arguments) {
  Invoke(name, DISPATCH_METHOD, arguments, nullptr);
}

void NamedObject::Ask(const wchar_t* name, const Arguments& arguments, VARIANT* result) {
  // Both flags, as the languages ask: whether it is a function or a property is the object's own affair.
  Invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments, result);
}

Variant NamedObject::Ask(const wchar_t* name, const Arguments& arguments) {
  OwnedVariant result;
  Ask(name, arguments, result.Get());
  return ValueOf(result.Value());
}

void NamedObject::Put(const wchar_t* name, const Variant& value) {
  Arguments arguments;
  arguments.Add(value);
  Invoke(name, DISPATCH_PROPERTYPUT, arguments, nullptr);
}

void NamedObject::RaiseBadAnswer(const wchar_t* name, const AutomationError& error) {
  throw AutomationError(error.Number(),
                        error.Description() + ": the answer of " + TextOf(std::wstring_view(name)));
}

}  // namespace orvo::com
