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

void NameRecorder::Take(const std::string& name, DISPPARAMS& arguments) {
  const auto give = [&](UINT index, const char* answer) {
    VARIANT& argument = arguments.rgvarg[arguments.cArgs - 1 - index];
    if (argument.vt == (VT_BYREF | VT_VARIANT)) VariantCopy(argument.pvarVal, recorder_->answers[answer].Get());
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
  // The answer "Device" makes a device that is called by name too.
  if (name == "CreateDevice" && Text(answer) == "Str:\"Device\"") {
    const ComPtr<IDispatch> device(new NameRecorder(recorder_));
    answer = Object(device.Get());
  }
  VariantCopy(result, answer.Get());
}

}  // namespace orvo::testing
