#include "com/ComError.h"

#include "com/Bstr.h"
#include "com/ComPtr.h"

#include <cstdio>
#include <string>

namespace orvo::com {

namespace {

constexpr std::uint32_t ClassicBase = 0x800A0000U;
constexpr std::uint32_t ClassicMask = 0xFFFF0000U;

std::string SystemText(HRESULT result) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
      static_cast<DWORD>(result), 0, reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
  std::string text;
  if (length > 0) text = TextOf(std::wstring_view(buffer, length));
  LocalFree(buffer);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
    text.pop_back();
  if (!text.empty()) return text;
  char number[40];
  std::snprintf(number, sizeof number, "Automation error 0x%08lX",
                static_cast<unsigned long>(static_cast<std::uint32_t>(result)));
  return number;
}

}  // namespace

HRESULT ResultOf(std::int32_t number) noexcept {
  if (number < 0) return static_cast<HRESULT>(number);
  if (number > 0 && number <= 0xFFFF)
    return static_cast<HRESULT>(ClassicBase | static_cast<std::uint32_t>(number));
  return E_FAIL;  // 0 and numbers beyond 16 bits are no failure codes; the text tells what happened
}

std::int32_t NumberOf(HRESULT result) noexcept {
  const auto bits = static_cast<std::uint32_t>(result);
  if ((bits & ClassicMask) == ClassicBase) return static_cast<std::int32_t>(bits & ~ClassicMask);
  return static_cast<std::int32_t>(result);
}

HRESULT Report(HRESULT result, std::string_view description, std::string_view source, REFIID iid) noexcept {
  try {
    ComPtr<ICreateErrorInfo> creator;
    if (FAILED(CreateErrorInfo(creator.Put()))) return result;
    creator->SetGUID(iid);
    const Bstr text(description);
    creator->SetDescription(text.Get());
    const Bstr from(source);
    creator->SetSource(from.Get());
    if (const auto info = creator.Query<IErrorInfo>()) SetErrorInfo(0, info.Get());
  } catch (...) {
    SetErrorInfo(0, nullptr);  // no memory for the text; the number still goes out
  }
  return result;
}

HRESULT ReportCaught(std::string_view source, REFIID iid) noexcept {
  try {
    const AutomationError error = CaughtError();
    return Report(ResultOf(error.Number()), error.Description(), source, iid);
  } catch (...) {
    SetErrorInfo(0, nullptr);
    return E_OUTOFMEMORY;
  }
}

void RaiseResult(HRESULT result, std::string_view description) {
  throw AutomationError(static_cast<std::int32_t>(result), std::string(description));
}

void RaiseForeign(HRESULT result) {
  ComPtr<IErrorInfo> info;
  Bstr text;
  if (GetErrorInfo(0, info.Put()) == S_OK) info->GetDescription(text.Put());
  std::string description = text.Text();
  if (description.empty()) description = SystemText(result);
  throw AutomationError(NumberOf(result), std::move(description));
}

void RaiseForeign(HRESULT result, EXCEPINFO& info) {
  if (result == DISP_E_EXCEPTION && info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  std::string description = TextOf(info.bstrDescription);
  // A code of 16 bits is a classic number of the language that the object is written in.
  const std::int32_t number = info.wCode != 0 ? std::int32_t{info.wCode} : NumberOf(info.scode);
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrSource);
  SysFreeString(info.bstrHelpFile);
  info = {};
  if (result != DISP_E_EXCEPTION) RaiseForeign(result);
  SetErrorInfo(0, nullptr);
  if (description.empty()) description = SystemText(ResultOf(number));
  throw AutomationError(number, std::move(description));
}

}  // namespace orvo::com
