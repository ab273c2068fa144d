#include "Value.h"

#include "HostError.h"

namespace orvo::testing {

const VARIANT& Followed(const VARIANT& value) noexcept {
  const VARIANT* last = &value;
  while (last->vt == (VT_BYREF | VT_VARIANT))
    last = last->pvarVal;
  return *last;
}

std::wstring TextOf(const VARIANT& value) {
  const VARIANT& last = Followed(value);
  if (last.vt == VT_NULL) return L"Null";
  if (last.vt == VT_ERROR) return L"Error " + std::to_wstring(last.scode);
  if ((last.vt & VT_ARRAY) != 0) return L"(array of type " + std::to_wstring(last.vt & VT_TYPEMASK) + L")";
  Value text;
  if (FAILED(VariantChangeTypeEx(text.Raw(), const_cast<VARIANT*>(&last), LOCALE_INVARIANT, VARIANT_ALPHABOOL,
                                 VT_BSTR)))
    return L"(a value of type " + std::to_wstring(last.vt) + L")";
  return TextOf(text.Raw()->bstrVal);
}

long NumberOf(const VARIANT& value, const wchar_t* what) {
  Value number;
  if (FAILED(VariantChangeTypeEx(number.Raw(), const_cast<VARIANT*>(&Followed(value)), LOCALE_INVARIANT, 0,
                                 VT_I4)))
    throw HostError(DISP_E_TYPEMISMATCH, std::wstring(what) + L" is not a whole number: " + TextOf(value));
  return number.Raw()->lVal;
}

void Convert(const VARIANT& value, VARTYPE type, VARIANT& result) {
  const VARIANT& last = Followed(value);
  const HRESULT code =
      type == VT_VARIANT ? VariantCopyInd(&result, const_cast<VARIANT*>(&last))
                         : VariantChangeTypeEx(&result, const_cast<VARIANT*>(&last), LOCALE_INVARIANT, 0, type);
  Require(code, TextOf(value) + L" cannot be made type " + std::to_wstring(type));
}

std::wstring TextOf(BSTR text) {
  return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

std::string Utf8(std::wstring_view text) {
  const int size = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), size, result.data(), bytes, nullptr, nullptr);
  return result;
}

std::wstring Wide(std::string_view utf8) {
  const int bytes = static_cast<int>(utf8.size());
  const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, nullptr, 0);
  std::wstring result(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, result.data(), size);
  return result;
}

}  // namespace orvo::testing
