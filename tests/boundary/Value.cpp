#include "boundary/Value.h"

#include "com/Bstr.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace orvo::testing {

namespace {

template <class Member, class T>
Value Make(VARTYPE type, Member VARIANT::*member, T content) {
  Value value;
  value->vt = type;
  (value.Get()->*member) = static_cast<Member>(content);
  return value;
}

// A test that cannot make its own values is no test.
void Must(HRESULT result) {
  if (FAILED(result)) std::abort();
}

std::string ElementName(VARTYPE type) {
  switch (type) {
    case VT_I1:
      return "I1";
    case VT_UI1:
      return "UI1";
    case VT_I2:
      return "I2";
    case VT_UI2:
      return "UI2";
    case VT_I4:
      return "I4";
    case VT_UI4:
      return "UI4";
    case VT_INT:
      return "Int";
    case VT_UINT:
      return "UInt";
    case VT_I8:
      return "I8";
    case VT_UI8:
      return "UI8";
    case VT_R4:
      return "R4";
    case VT_R8:
      return "R8";
    case VT_CY:
      return "Money";
    case VT_DATE:
      return "Date";
    case VT_BSTR:
      return "Str";
    case VT_BOOL:
      return "Bool";
    case VT_ERROR:
      return "Error";
    case VT_DISPATCH:
      return "Dispatch";
    case VT_UNKNOWN:
      return "Unknown";
    case VT_VARIANT:
      return "Variant";
    default:
      return "Type" + std::to_string(type);
  }
}

// What SafeArrayPutElement wants: the element itself for strings and objects, else its address.
void* ElementAddress(VARIANT& element, VARTYPE type) {
  if (type == VT_VARIANT) return &element;
  if (type == VT_BSTR || type == VT_DISPATCH || type == VT_UNKNOWN) return element.byref;
  return &element.byref;
}

}  // namespace

Value::Value(const Value& other) {
  VariantInit(&value_);
  Must(VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)));
}

Value& Value::operator=(const Value& other) {
  if (this != &other) Must(VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)));
  return *this;
}

VARIANT* Value::Put() noexcept {
  VariantClear(&value_);
  return &value_;
}

Value I1(int value) {
  return Make(VT_I1, &VARIANT::cVal, value);
}
Value UI1(int value) {
  return Make(VT_UI1, &VARIANT::bVal, value);
}
Value I2(int value) {
  return Make(VT_I2, &VARIANT::iVal, value);
}
Value UI2(int value) {
  return Make(VT_UI2, &VARIANT::uiVal, value);
}
Value I4(LONG value) {
  return Make(VT_I4, &VARIANT::lVal, value);
}
Value UI4(ULONG value) {
  return Make(VT_UI4, &VARIANT::ulVal, value);
}
Value I8(LONGLONG value) {
  return Make(VT_I8, &VARIANT::llVal, value);
}
Value UI8(ULONGLONG value) {
  return Make(VT_UI8, &VARIANT::ullVal, value);
}
Value R4(float value) {
  return Make(VT_R4, &VARIANT::fltVal, value);
}
Value R8(double value) {
  return Make(VT_R8, &VARIANT::dblVal, value);
}
Value Days(double value) {
  return Make(VT_DATE, &VARIANT::date, value);
}
Value Str(std::string_view text) {
  return Make(VT_BSTR, &VARIANT::bstrVal, com::NewBstr(text));
}
Value Flag(bool value) {
  return Flag16(value ? VARIANT_TRUE : VARIANT_FALSE);
}
Value Flag16(short value) {
  return Make(VT_BOOL, &VARIANT::boolVal, value);
}
Value ErrorValue(SCODE code) {
  return Make(VT_ERROR, &VARIANT::scode, code);
}
Value Missing() {
  return ErrorValue(DISP_E_PARAMNOTFOUND);
}

Value Money(LONGLONG scaled) {
  Value value;
  value->vt = VT_CY;
  value->cyVal.int64 = scaled;
  return value;
}

Value Null() {
  Value value;
  value->vt = VT_NULL;
  return value;
}

Value Object(IDispatch* object) {
  if (object != nullptr) object->AddRef();
  return Make(VT_DISPATCH, &VARIANT::pdispVal, object);
}

Value Unknown(IUnknown* object) {
  if (object != nullptr) object->AddRef();
  return Make(VT_UNKNOWN, &VARIANT::punkVal, object);
}

Value Array(VARTYPE element, LONG lower, std::initializer_list<Value> elements) {
  Value array;
  array->parray = SafeArrayCreateVector(element, lower, static_cast<ULONG>(elements.size()));
  if (array->parray == nullptr) std::abort();
  array->vt = static_cast<VARTYPE>(VT_ARRAY | element);
  LONG index = lower;
  for (Value content : elements) {
    if (element != VT_VARIANT) Must(VariantChangeType(content.Get(), content.Get(), 0, element));
    Must(SafeArrayPutElement(array->parray, &index, ElementAddress(*content.Get(), element)));
    ++index;
  }
  return array;
}

Value NoArray(VARTYPE element) {
  Value array;
  array->vt = static_cast<VARTYPE>(VT_ARRAY | element);
  array->parray = nullptr;
  return array;
}

Value FixedSize(Value array) {
  array->parray->fFeatures |= FADF_FIXEDSIZE;
  return array;
}

Value Ref(Value& variable) {
  Value reference;
  reference->vt = VT_BYREF | VT_VARIANT;
  reference->pvarVal = variable.Get();
  return reference;
}

Value TypedRef(Value& variable) {
  Value reference;
  reference->vt = static_cast<VARTYPE>(VT_BYREF | variable->vt);
  reference->byref = &variable->byref;
  return reference;
}

std::string Hex(HRESULT result) {
  char text[12];
  std::snprintf(text, sizeof text, "%08lX", static_cast<unsigned long>(result));
  return text;
}

std::string AsVariants(const std::string& text) {
  const std::size_t bracket = text.find('[');
  if (bracket == std::string::npos || text.back() != ']' || text.find(':') < bracket) return text;
  const std::string type = text.substr(0, bracket);
  if (type == "Variant") return text;
  const std::size_t colon = text.find(':');
  std::string result = "Variant" + text.substr(bracket, colon + 1 - bracket);
  std::istringstream elements(text.substr(colon + 1, text.size() - colon - 2));
  std::string element;
  for (const char* separator = " "; elements >> element; separator = ", ") {
    if (element.back() == ',') element.pop_back();
    result += separator + type + ":" + element;
  }
  return result + "]";
}

std::string Text(SAFEARRAY* array) {
  if (array == nullptr) return "NoArray";
  VARTYPE type = VT_EMPTY;
  SafeArrayGetVartype(array, &type);
  LONG lower = 0;
  LONG upper = -1;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  std::string text = ElementName(type) + "[" + std::to_string(lower) + ":";
  for (LONG index = lower; index <= upper; ++index) {
    Value element;
    if (type != VT_VARIANT) element->vt = type;
    void* const address = type == VT_VARIANT ? static_cast<void*>(element.Get()) : &element->byref;
    Must(SafeArrayGetElement(array, &index, address));
    std::string content = Text(element);
    if (type != VT_VARIANT) content = content.substr(content.find(':') + 1);
    text += (index == lower ? " " : ", ") + content;
  }
  return text + "]";
}

std::string Text(const VARIANT& value) {
  if (value.vt == (VT_BYREF | VT_VARIANT)) return Text(*value.pvarVal);
  if ((value.vt & VT_ARRAY) != 0) return Text((value.vt & VT_BYREF) != 0 ? *value.pparray : value.parray);
  if ((value.vt & VT_BYREF) != 0) {
    Value content;
    Must(VariantCopyInd(content.Get(), const_cast<VARIANT*>(&value)));
    return Text(content);
  }
  std::ostringstream text;
  text.precision(15);
  switch (value.vt) {
    case VT_EMPTY:
      return "Empty";
    case VT_NULL:
      return "Null";
    case VT_BSTR:
      return "Str:\"" + com::TextOf(value.bstrVal) + "\"";
    case VT_BOOL:
      if (value.boolVal == VARIANT_TRUE) return "Bool:True";
      return value.boolVal == VARIANT_FALSE ? "Bool:False" : "Bool:" + std::to_string(value.boolVal);
    case VT_ERROR:
      return "Error:" + Hex(value.scode);
    case VT_DISPATCH:
      return value.pdispVal == nullptr ? "Nothing" : "Object";
    case VT_UNKNOWN:
      return value.punkVal == nullptr ? "NoUnknown" : "Unknown";
    case VT_R4:
      text << value.fltVal;
      break;
    case VT_R8:
      text << value.dblVal;
      break;
    case VT_DATE:
      text << value.date;
      break;
    case VT_CY:
      text << value.cyVal.int64;
      break;
    case VT_I1:
      text << int{value.cVal};
      break;
    case VT_UI1:
      text << int{value.bVal};
      break;
    case VT_I2:
      text << value.iVal;
      break;
    case VT_UI2:
      text << value.uiVal;
      break;
    case VT_I4:
      text << value.lVal;
      break;
    case VT_INT:
      text << value.intVal;
      break;
    case VT_UI4:
      text << value.ulVal;
      break;
    case VT_UINT:
      text << value.uintVal;
      break;
    case VT_I8:
      text << value.llVal;
      break;
    case VT_UI8:
      text << value.ullVal;
      break;
    default:
      return "Type" + std::to_string(value.vt);
  }
  return ElementName(value.vt) + ":" + text.str();
}

}  // namespace orvo::testing
