#include "Fingerprint.h"

#include "ClientObject.h"

#include <cstddef>

namespace orvo::testing {

namespace {

constexpr int Deepest = 24;  // a chain that is longer goes in circles

class Printer {
 public:
  void Value(const VARIANT& value, int depth) {
    Raw(&value, sizeof value);
    if (depth > Deepest) return;
    const VARTYPE type = V_VT(&value);
    if ((type & VT_BYREF) != 0) {
      if (V_BYREF(&value) != nullptr) Reference(V_BYREF(&value), type, depth);
    } else if ((type & VT_ARRAY) != 0) {
      Array(V_ARRAY(&value), depth);
    } else {
      Content(&V_I8(&value), type, depth);
    }
  }

  std::string Take() { return std::move(bytes_); }

 private:
  void Raw(const void* data, std::size_t size) { bytes_.append(static_cast<const char*>(data), size); }

  void Reference(const void* target, VARTYPE type, int depth) {
    if ((type & VT_ARRAY) != 0) {
      Raw(target, sizeof(SAFEARRAY*));
      Array(*static_cast<SAFEARRAY* const*>(target), depth);
      return;
    }
    const auto plain = static_cast<VARTYPE>(type & VT_TYPEMASK);
    Raw(target, SizeOf(plain));
    Content(target, plain, depth);
  }

  static std::size_t SizeOf(VARTYPE type) {
    switch (type) {
      case VT_I1:
      case VT_UI1:
        return 1;
      case VT_I2:
      case VT_UI2:
      case VT_BOOL:
        return 2;
      case VT_I4:
      case VT_UI4:
      case VT_INT:
      case VT_UINT:
      case VT_R4:
      case VT_ERROR:
        return 4;
      case VT_BSTR:
      case VT_DISPATCH:
      case VT_UNKNOWN:
        return sizeof(void*);
      case VT_CY:
      case VT_DATE:
      case VT_R8:
      case VT_I8:
      case VT_UI8:
        return 8;
      case VT_DECIMAL:
        return sizeof(DECIMAL);
      case VT_VARIANT:
        return sizeof(VARIANT);
      default:
        return 0;
    }
  }

  // What the value at `place`, whose own bytes are printed already, leads to.
  void Content(const void* place, VARTYPE type, int depth) {
    if (type == VT_VARIANT) {
      Value(*static_cast<const VARIANT*>(place), depth + 1);
    } else if (type == VT_BSTR) {
      const BSTR text = *static_cast<const BSTR*>(place);
      if (text != nullptr) Raw(text, SysStringByteLen(text) + sizeof(wchar_t));
    } else if (type == VT_DISPATCH || type == VT_UNKNOWN) {
      const ClientObject* object = ClientObject::Of(*static_cast<IUnknown* const*>(place));
      if (object == nullptr) return;
      const LONG length = object->Length();
      Raw(&length, sizeof length);
      for (const auto& [index, element] : object->Elements()) {
        Raw(&index, sizeof index);
        Value(element.Value(), depth + 1);
      }
    }
  }

  void Array(SAFEARRAY* array, int depth) {
    if (array == nullptr) return;
    Raw(array, offsetof(SAFEARRAY, rgsabound) + array->cDims * sizeof(SAFEARRAYBOUND));
    std::size_t count = 1;
    for (USHORT i = 0; i < array->cDims; ++i)
      count *= array->rgsabound[i].cElements;
    if (array->pvData == nullptr) return;
    const auto* data = static_cast<const std::byte*>(array->pvData);
    Raw(data, count * array->cbElements);
    VARTYPE type = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(array, &type)) || depth > Deepest) return;
    if (type != VT_VARIANT && type != VT_BSTR && type != VT_DISPATCH && type != VT_UNKNOWN) return;
    for (std::size_t i = 0; i < count; ++i)
      Content(data + i * array->cbElements, type, depth + 1);
  }

  std::string bytes_;
};

}  // namespace

std::string FingerprintOf(const VARIANT& value) {
  Printer printer;
  printer.Value(value, 0);
  return printer.Take();
}

}  // namespace orvo::testing
