#include "boundary/Calls.h"

#include "com/Bstr.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace orvo::testing {

namespace {

std::string ErrorText(HRESULT result, BSTR description, BSTR source) {
  return Hex(result) + " \"" + com::TextOf(description) + "\" " + com::TextOf(source);
}

}  // namespace

DISPID IdOf(IDispatch* object, const wchar_t* name) {
  DISPID id = DISPID_UNKNOWN;
  auto* names = const_cast<LPOLESTR>(name);
  EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &names, 1, 0, &id), S_OK) << com::TextOf(std::wstring_view(name));
  return id;
}

Reply InvokeRaw(IDispatch* object, DISPID id, WORD flags, DISPPARAMS given, LCID locale) {
  Reply reply;
  EXCEPINFO failure{};
  UINT argument = 77;
  SetErrorInfo(0, nullptr);
  reply.result = object->Invoke(id, IID_NULL, locale, flags, &given, reply.value.Put(), &failure, &argument);
  if (reply.result == DISP_E_EXCEPTION) {
    if (failure.pfnDeferredFillIn != nullptr) failure.pfnDeferredFillIn(&failure);
    EXPECT_EQ(failure.wCode, 0) << "numbers travel as HRESULTs";
    reply.text = ErrorText(failure.scode, failure.bstrDescription, failure.bstrSource);
    SysFreeString(failure.bstrDescription);
    SysFreeString(failure.bstrSource);
    SysFreeString(failure.bstrHelpFile);
  } else if (FAILED(reply.result)) {
    reply.text = Hex(reply.result);
    if (argument != 77) reply.text += " argument " + std::to_string(given.cArgs - 1 - argument);
  } else {
    reply.text = Text(reply.value);
  }
  return reply;
}

Reply Invoke(IDispatch* object, DISPID id, WORD flags, const std::vector<Value>& arguments) {
  std::vector<Value> reversed(arguments.rbegin(), arguments.rend());
  std::vector<VARIANT> passed;
  std::transform(reversed.begin(), reversed.end(), std::back_inserter(passed),
                 [](Value& value) { return *value; });
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS given{passed.data(), nullptr, static_cast<UINT>(passed.size()), 0};
  if ((flags & (Set | SetObject)) != 0) {
    given.rgdispidNamedArgs = &put;
    given.cNamedArgs = 1;
  }
  return InvokeRaw(object, id, flags, given);
}

Reply Invoke(IDispatch* object, const wchar_t* name, WORD flags, const std::vector<Value>& arguments) {
  return Invoke(object, IdOf(object, name), flags, arguments);
}

std::string SlotText(HRESULT result, const Value& value) {
  if (SUCCEEDED(result)) return Text(value);
  return SlotText(result);
}

std::string SlotText(HRESULT result) {
  if (SUCCEEDED(result)) return "Empty";
  ComPtr<IErrorInfo> info;
  com::Bstr description;
  com::Bstr source;
  if (GetErrorInfo(0, info.Put()) != S_OK) return Hex(result);
  info->GetDescription(description.Put());
  info->GetSource(source.Put());
  return ErrorText(result, description.Get(), source.Get());
}

}  // namespace orvo::testing
