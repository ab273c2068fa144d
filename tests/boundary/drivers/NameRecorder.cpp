#include "boundary/drivers/NameRecorder.h"

#include "com/Bstr.h"

#include <algorithm>

namespace orvo::testing {

namespace {

const std::set<std::string> Methods = {
    "SetEventSink",    "WriteItems",           "ReadItems",          "WriteGroup",
    "ReadGroup",       "OpenCommunication",    "CloseCommunication", "DownloadFirmware",
    "DownloadProject", "SetConfigurationMode", "SetGroupDefinition", "CheckVariable",
    "CreateDevice",    "CompileItemId",        "ExtractValue",       "ItemLoaded"};

HRESULT RaiseByName(const Raised& failure, EXCEPINFO* raised) {
  if (failure.text.empty() && failure.code == 0) return failure.result;
  raised->scode = failure.code == 0 ? failure.result : 0;
  raised->wCode = failure.code;
  raised->bstrDescription = com::NewBstr(failure.text);
  return DISP_E_EXCEPTION;
}

}  // namespace

HRESULT NameRecorder::QueryInterface(REFIID iid, void** result) {
  *result = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IDispatch)) return E_NOINTERFACE;
  *result = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG NameRecorder::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT NameRecorder::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) {
  ++lookups;
  const std::string name = com::TextOf(std::wstring_view(*names));
  ids[0] = DISPID_UNKNOWN;
  if (missing.contains(name)) return DISP_E_UNKNOWNNAME;
  names_.push_back(name);
  ids[0] = static_cast<DISPID>(names_.size());
  return S_OK;
}

HRESULT NameRecorder::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                             EXCEPINFO* failure, UINT*) {
  std::string name = names_.at(static_cast<std::size_t>(id) - 1);
  const bool isPut = flags == DISPATCH_PROPERTYPUT;
  const WORD wanted = Methods.contains(name) ? DISPATCH_METHOD : DISPATCH_PROPERTYGET;
  if (!isPut && (flags & wanted) == 0) return DISP_E_MEMBERNOTFOUND;
  if (isPut) {
    if (arguments->cNamedArgs != 1 || arguments->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)
      return DISP_E_PARAMNOTFOUND;
    name += '=';
  }
  // The value of ExtractValue is declared as a variant.
  if (typed && name != "ExtractValue" && !IsTyped(*arguments)) return DISP_E_TYPEMISMATCH;
  std::string texts;
  for (UINT i = arguments->cArgs; i > 0; --i)
    texts += (texts.empty() ? "" : ", ") + Text(arguments->rgvarg[i - 1]);
  const Raised* raised = texts.empty() ? recorder_->Called(name, {}) : recorder_->Called(name, {texts});
  if (name == "SetEventSink")
    recorder_->sink = ComPtr<IUnknown>(static_cast<IUnknown*>(V_DISPATCH(&arguments->rgvarg[0])));
  if (raised != nullptr) return RaiseByName(*raised, failure);
  Take(name, *arguments);
  if (result != nullptr) PutAnswer(name, result);
  return S_OK;
}

bool NameRecorder::IsTyped(const DISPPARAMS& arguments) {
  return std::none_of(arguments.rgvarg, arguments.rgvarg + arguments.cArgs, [](const VARIANT& argument) {
    return argument.vt == (VT_BYREF | VT_VARIANT) || (argument.vt & (VT_BYREF | VT_ARRAY)) == VT_ARRAY;
  });
}

void NameRecorder::Take(const std::string& name, DISPPARAMS& arguments) {
  const auto give = [&](UINT index, const char* answer) {
    VARIANT& argument = arguments.rgvarg[arguments.cArgs - 1 - index];
    VARIANT* const given = recorder_->answers[answer].Get();
    if (argument.vt == (VT_BYREF | VT_VARIANT))
      VariantCopy(argument.pvarVal, given);
    else if (argument.vt == (VT_BYREF | VT_R8))
      *argument.pdblVal = given->dblVal;
    else if (argument.vt == (VT_BYREF | VT_I4))
      *argument.plVal = given->lVal;
  };
  if (name == "CompileItemId") {
    give(1, "Address");
    give(2, "Length");
    give(3, "Type");
  } else if (name == "ExtractValue") {
    give(1, "Value");
  }
}

void NameRecorder::PutAnswer(const std::string& name, VARIANT* result) {
  Value answer;
  if (const auto found = recorder_->answers.find(name); found != recorder_->answers.end())
    answer = found->second;
  VariantCopy(result, answer.Get());
}

}  // namespace orvo::testing
