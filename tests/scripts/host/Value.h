// A VARIANT that clears itself, and the few conversions that the script host needs.
#pragma once

#include <ole2.h>

#include <string>
#include <string_view>

namespace orvo::testing {

class Value {
 public:
  Value() noexcept { VariantInit(&raw_); }
  explicit Value(std::wstring_view text) noexcept : Value() {
    raw_.vt = VT_BSTR;
    raw_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  ~Value() { VariantClear(&raw_); }

  VARIANT* Raw() noexcept { return &raw_; }
  VARIANT Detach() noexcept {
    const VARIANT result = raw_;
    VariantInit(&raw_);
    return result;
  }

 private:
  VARIANT raw_;
};

// The variant itself, behind any references to a variant.
const VARIANT& Followed(const VARIANT& value) noexcept;

// What Echo prints of a value; arrays and objects are named by their type.
std::wstring TextOf(const VARIANT& value);

// A whole number; throws HostError with the name of the argument when the value is none.
long NumberOf(const VARIANT& value, const wchar_t* what);

// The value as one of `type`; `result` is empty before. Throws HostError when it cannot be converted.
void Convert(const VARIANT& value, VARTYPE type, VARIANT& result);

std::wstring TextOf(BSTR text);
std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view utf8);

}  // namespace orvo::testing
