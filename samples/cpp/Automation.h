// What a C++ program needs for automation objects, in few lines: pointers that release, texts, arrays, errors
// as exceptions. With Visual C++ you may use <atlbase.h> or #import instead.
#pragma once

#include <ole2.h>

#include <initializer_list>
#include <stdexcept>
#include <string>

namespace sample {

// Release() at the end of the scope.
template <class Interface>
class Pointer {
 public:
  Pointer() = default;
  Pointer(const Pointer&) = delete;
  Pointer& operator=(const Pointer&) = delete;
  ~Pointer() {
    if (pointer_ != nullptr) pointer_->Release();
  }
  Interface** Put() { return &pointer_; }  // for the call that fills it, once
  Interface* Get() const { return pointer_; }
  Interface* operator->() const { return pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

// An automation string.
class Text {
 public:
  Text() = default;
  explicit Text(const wchar_t* text) : text_(SysAllocString(text)) {}
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(text_); }
  BSTR* Put() { return &text_; }
  BSTR Get() const { return text_; }
  std::wstring Copy() const {
    return text_ == nullptr ? std::wstring() : std::wstring(text_, SysStringLen(text_));
  }

 private:
  BSTR text_ = nullptr;
};

// A value of any kind; as text by the rules of automation.
class Value {
 public:
  Value() { VariantInit(&value_); }
  explicit Value(long number) : Value() {
    value_.vt = VT_I4;
    value_.lVal = number;
  }
  explicit Value(const wchar_t* text) : Value() {
    value_.vt = VT_BSTR;
    value_.bstrVal = SysAllocString(text);
  }
  Value(const Value& other) : Value() { VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)); }
  Value& operator=(const Value&) = delete;
  ~Value() { VariantClear(&value_); }
  VARIANT* Put() { return &value_; }
  const VARIANT& Get() const { return value_; }
  std::wstring Display() const {
    VARIANT text;
    VariantInit(&text);
    if (FAILED(VariantChangeType(&text, const_cast<VARIANT*>(&value_), 0, VT_BSTR))) return L"?";
    std::wstring result(text.bstrVal, SysStringLen(text.bstrVal));
    VariantClear(&text);
    return result;
  }

 private:
  VARIANT value_;
};

// The absent optional argument.
inline VARIANT Missing() {
  VARIANT missing;
  VariantInit(&missing);
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

// A one-dimensional array; the server may put another one in its place.
class Array {
 public:
  Array() = default;  // no array: the server makes one
  explicit Array(std::initializer_list<long> numbers)
      : array_(SafeArrayCreateVector(VT_I4, 0, static_cast<ULONG>(numbers.size()))) {
    long index = 0;
    for (long number : numbers) {
      SafeArrayPutElement(array_, &index, &number);
      ++index;
    }
  }
  explicit Array(std::initializer_list<Value> values)
      : array_(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(values.size()))) {
    long index = 0;
    for (const Value& value : values) {
      SafeArrayPutElement(array_, &index, const_cast<VARIANT*>(&value.Get()));
      ++index;
    }
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() {
    if (array_ != nullptr) SafeArrayDestroy(array_);
  }
  SAFEARRAY** Put() { return &array_; }
  SAFEARRAY* Get() const { return array_; }

 private:
  SAFEARRAY* array_ = nullptr;
};

inline long LowerBound(SAFEARRAY* array) {
  long bound = 0;
  SafeArrayGetLBound(array, 1, &bound);
  return bound;
}

inline long UpperBound(SAFEARRAY* array) {
  long bound = -1;
  SafeArrayGetUBound(array, 1, &bound);
  return bound;
}

inline long NumberAt(SAFEARRAY* array, long index) {
  long number = 0;
  SafeArrayGetElement(array, &index, &number);
  return number;
}

inline std::wstring DisplayAt(SAFEARRAY* array, long index) {
  Value value;
  SafeArrayGetElement(array, &index, value.Put());
  return value.Display();
}

// What a failed call reports: number, text, and who reports it.
struct Failure {
  HRESULT number;
  std::wstring description;
  std::wstring source;
};

// The text that Windows has for a number.
inline std::wstring SystemText(HRESULT number) {
  wchar_t text[256];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(number), 0, text, 256, nullptr);
  while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n'))
    --length;
  return length == 0 ? L"no description" : std::wstring(text, length);
}

// Throws a Failure when `result` is one. Follows every call of the server.
inline void Check(HRESULT result) {
  if (SUCCEEDED(result)) return;
  Failure failure{result, SystemText(result), L""};
  Pointer<IErrorInfo> information;
  if (GetErrorInfo(0, information.Put()) == S_OK) {
    Text description;
    Text source;
    if (information->GetDescription(description.Put()) == S_OK) failure.description = description.Copy();
    if (information->GetSource(source.Put()) == S_OK) failure.source = source.Copy();
  }
  throw failure;
}

}  // namespace sample
