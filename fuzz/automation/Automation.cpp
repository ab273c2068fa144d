// The double's functions. Conversions are the core's own (values/VariantConversion.h): what is fuzzed is the
// way of the arguments, not the conversion of a value.
#include "AutomationDouble.h"
#include "com/FacadeIdentity.h"
#include "com/VariantCodec.h"
#include "values/VariantConversion.h"

#include <cstdlib>
#include <new>

namespace orvo::fuzz {

namespace {

std::int64_t blocksAlive = 0;
CalledMember calledMember;

// In front of a string: its length in units.
struct StringHead {
  std::size_t length;
};
// Around an array: its element type.
struct ArrayBlock {
  VARTYPE type;
  SAFEARRAY array;
};
ArrayBlock* BlockOf(SAFEARRAY* array) {
  return reinterpret_cast<ArrayBlock*>(reinterpret_cast<char*>(array) - offsetof(ArrayBlock, array));
}

ULONG ElementSize(VARTYPE type) {
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
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_I8:
    case VT_UI8:
      return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_DECIMAL:
      return sizeof(DECIMAL);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

std::size_t CountOf(const SAFEARRAY& array) {
  return array.rgsabound[0].cElements;
}

// Calls visit(element as a variant of the elements' type, shallow); what it leaves there goes back.
template <class Visit>
HRESULT ForElements(SAFEARRAY* array, Visit&& visit) {
  const VARTYPE type = BlockOf(array)->type;
  if (type == VT_VARIANT) {
    auto* elements = static_cast<VARIANT*>(array->pvData);
    for (std::size_t k = 0; k < CountOf(*array); ++k)
      if (const HRESULT failed = visit(elements[k]); FAILED(failed)) return failed;
    return S_OK;
  }
  if (type != VT_BSTR && type != VT_DISPATCH && type != VT_UNKNOWN) return S_OK;
  auto* elements = static_cast<void**>(array->pvData);
  for (std::size_t k = 0; k < CountOf(*array); ++k) {
    VARIANT element{};
    V_VT(&element) = type;
    V_BYREF(&element) = elements[k];
    const HRESULT failed = visit(element);
    elements[k] = V_BYREF(&element);
    if (FAILED(failed)) return failed;
  }
  return S_OK;
}

SAFEARRAY* CopyOf(SAFEARRAY* source);

// `target` is bitwise a copy; what it refers to becomes its own.
HRESULT Deepen(VARIANT* target) {
  if ((V_VT(target) & VT_BYREF) != 0) return S_OK;
  if ((V_VT(target) & VT_ARRAY) != 0) {
    if (V_ARRAY(target) != nullptr) V_ARRAY(target) = CopyOf(V_ARRAY(target));
  } else if (V_VT(target) == VT_BSTR) {
    if (V_BSTR(target) != nullptr)
      V_BSTR(target) = SysAllocStringLen(V_BSTR(target), SysStringLen(V_BSTR(target)));
  } else if (V_VT(target) == VT_DISPATCH || V_VT(target) == VT_UNKNOWN) {
    if (V_UNKNOWN(target) != nullptr) V_UNKNOWN(target)->AddRef();
  }
  return S_OK;
}

SAFEARRAY* CopyOf(SAFEARRAY* source) {
  SAFEARRAY* copy = SafeArrayCreateVector(BlockOf(source)->type, source->rgsabound[0].lLbound,
                                          source->rgsabound[0].cElements);
  const std::size_t bytes = CountOf(*source) * source->cbElements;
  if (bytes > 0) std::memcpy(copy->pvData, source->pvData, bytes);
  ForElements(copy, [](VARIANT& element) { return Deepen(&element); });
  return copy;
}

HRESULT ResultOfCaught() {
  try {
    throw;
  } catch (const AutomationError& error) {
    return error.Number() == static_cast<std::int32_t>(RuntimeError::Overflow) ? DISP_E_OVERFLOW
                                                                               : DISP_E_TYPEMISMATCH;
  }
}

}  // namespace

void SetCalledMember(CalledMember member) {
  calledMember = std::move(member);
}
std::int64_t AutomationBlocks() noexcept {
  return blocksAlive;
}

ScriptArrayDouble::ScriptArrayDouble(std::vector<VARIANT>& elements, bool isExtended)
    : isExtended_(isExtended) {
  ++blocksAlive;
  for (std::size_t k = 0; k < elements.size(); ++k) {
    VARIANT copy;
    VariantInit(&copy);
    VariantCopy(&copy, &elements[k]);
    values_[std::to_wstring(k)] = copy;
  }
  VARIANT length{};
  V_VT(&length) = VT_I4;
  V_I4(&length) = static_cast<LONG>(elements.size());
  values_[L"length"] = length;
}

ScriptArrayDouble::~ScriptArrayDouble() {
  for (auto& [name, value] : values_)
    VariantClear(&value);
  --blocksAlive;
}

HRESULT ScriptArrayDouble::QueryInterface(REFIID iid, void** object) {
  *object = nullptr;
  const bool has =
      iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch) || (isExtended_ && iid == __uuidof(IDispatchEx));
  if (!has) return E_NOINTERFACE;
  *object = static_cast<IDispatchEx*>(this);
  AddRef();
  return S_OK;
}
ULONG ScriptArrayDouble::AddRef() {
  return ++references_;
}
ULONG ScriptArrayDouble::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT ScriptArrayDouble::GetDispID(BSTR name, DWORD flags, DISPID* id) {
  const std::wstring text(name, SysStringLen(name));
  if (values_.find(text) == values_.end() && (flags & fdexNameEnsure) == 0) return DISP_E_UNKNOWNNAME;
  names_.push_back(text);
  *id = static_cast<DISPID>(names_.size());
  return S_OK;
}
HRESULT ScriptArrayDouble::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) {
  if (values_.find(names[0]) == values_.end()) return DISP_E_UNKNOWNNAME;
  names_.emplace_back(names[0]);
  ids[0] = static_cast<DISPID>(names_.size());
  return S_OK;
}
HRESULT ScriptArrayDouble::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                                  EXCEPINFO*, UINT*) {
  if (id < 1 || static_cast<std::size_t>(id) > names_.size()) return DISP_E_MEMBERNOTFOUND;
  VARIANT& value = values_[names_[static_cast<std::size_t>(id) - 1]];
  return (flags & DISPATCH_PROPERTYPUT) != 0 ? VariantCopyInd(&value, arguments->rgvarg)
                                             : VariantCopy(result, &value);
}

}  // namespace orvo::fuzz

using orvo::fuzz::blocksAlive;

template <>
const GUID& DoubleUuidOf<IUnknown>() {
  static constexpr GUID id{1, 0, 0, {}};
  return id;
}
template <>
const GUID& DoubleUuidOf<IDispatch>() {
  static constexpr GUID id{2, 0, 0, {}};
  return id;
}
template <>
const GUID& DoubleUuidOf<IDispatchEx>() {
  static constexpr GUID id{3, 0, 0, {}};
  return id;
}
template <>
const GUID& DoubleUuidOf<IErrorInfo>() {
  static constexpr GUID id{4, 0, 0, {}};
  return id;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  using orvo::fuzz::StringHead;
  auto* head =
      static_cast<StringHead*>(std::malloc(sizeof(StringHead) + (std::size_t{length} + 1) * sizeof(OLECHAR)));
  if (head == nullptr) return nullptr;
  head->length = length;
  auto* string = reinterpret_cast<BSTR>(head + 1);
  if (text != nullptr && length > 0) std::memcpy(string, text, length * sizeof(OLECHAR));
  string[length] = 0;
  ++blocksAlive;
  return string;
}
void SysFreeString(BSTR string) {
  if (string == nullptr) return;
  std::free(reinterpret_cast<orvo::fuzz::StringHead*>(string) - 1);
  --blocksAlive;
}
UINT SysStringLen(BSTR string) {
  return string == nullptr ? 0
                           : static_cast<UINT>((reinterpret_cast<orvo::fuzz::StringHead*>(string) - 1)->length);
}

void VariantInit(VARIANT* value) {
  std::memset(static_cast<void*>(value), 0, sizeof *value);
}

HRESULT VariantClear(VARIANT* value) {
  if ((V_VT(value) & VT_BYREF) == 0) {
    if ((V_VT(value) & VT_ARRAY) != 0) {
      if (V_ARRAY(value) != nullptr)
        if (const HRESULT failed = SafeArrayDestroy(V_ARRAY(value)); FAILED(failed)) return failed;
    } else if (V_VT(value) == VT_BSTR) {
      SysFreeString(V_BSTR(value));
    } else if (V_VT(value) == VT_DISPATCH || V_VT(value) == VT_UNKNOWN) {
      if (V_UNKNOWN(value) != nullptr) V_UNKNOWN(value)->Release();
    }
  }
  VariantInit(value);
  return S_OK;
}

HRESULT VariantCopy(VARIANT* target, VARIANT* source) {
  if (target == source) return S_OK;
  VARIANT copy = *source;
  if (const HRESULT failed = orvo::fuzz::Deepen(&copy); FAILED(failed)) return failed;
  VariantClear(target);
  *target = copy;
  return S_OK;
}

HRESULT VariantCopyInd(VARIANT* target, VARIANT* source) {
  VARIANT* from = source;
  for (int depth = 0; V_VT(from) == (VT_BYREF | VT_VARIANT); ++depth) {
    if (depth > 16 || V_VARIANTREF(from) == nullptr) return E_INVALIDARG;
    from = V_VARIANTREF(from);
  }
  if ((V_VT(from) & VT_BYREF) == 0) return VariantCopy(target, from);
  if (V_BYREF(from) == nullptr) return E_INVALIDARG;
  VARIANT behind;
  VariantInit(&behind);
  const auto type = static_cast<VARTYPE>(V_VT(from) & ~VT_BYREF);
  if ((type & VT_ARRAY) != 0) {
    V_ARRAY(&behind) = *V_ARRAYREF(from);
  } else if (type == VT_DECIMAL) {
    std::memcpy(&V_DECIMAL(&behind), V_BYREF(from), sizeof(DECIMAL));
  } else {
    const ULONG size = orvo::fuzz::ElementSize(type);
    if (size == 0) return DISP_E_BADVARTYPE;
    std::memcpy(&V_I8(&behind), V_BYREF(from), size);
  }
  V_VT(&behind) = type;
  return VariantCopy(target, &behind);
}

HRESULT VariantChangeTypeEx(VARIANT* target, VARIANT* source, LCID, USHORT, VARTYPE type) {
  VARIANT behind;
  VariantInit(&behind);
  if (const HRESULT failed = VariantCopyInd(&behind, source); FAILED(failed)) return failed;
  HRESULT result = S_OK;
  const auto isObject = [](VARTYPE each) { return each == VT_DISPATCH || each == VT_UNKNOWN; };
  if (V_VT(&behind) == type || (isObject(V_VT(&behind)) && isObject(type))) {
    VariantClear(target);
    *target = behind;
    V_VT(target) = type;
    return S_OK;
  }
  try {
    VARTYPE wanted = type;
    if (type == VT_INT) wanted = VT_I4;
    if (type == VT_UINT) wanted = VT_UI4;
    if (wanted > VT_UI8 || isObject(wanted) || wanted == VT_VARIANT) {
      result = DISP_E_TYPEMISMATCH;
    } else {
      orvo::com::PutValue(orvo::ChangeKind(orvo::com::ValueOf(behind), static_cast<orvo::VariantKind>(wanted)),
                          target);
      V_VT(target) = type;
    }
  } catch (...) {
    result = orvo::fuzz::ResultOfCaught();
  }
  VariantClear(&behind);
  return result;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower, ULONG count) {
  using orvo::fuzz::ArrayBlock;
  const ULONG size = orvo::fuzz::ElementSize(type);
  if (size == 0) return nullptr;
  auto* block = static_cast<ArrayBlock*>(std::calloc(1, sizeof(ArrayBlock)));
  if (block == nullptr) return nullptr;
  block->type = type;
  SAFEARRAY& array = block->array;
  array.cDims = 1;
  array.fFeatures = type == VT_BSTR       ? FADF_BSTR
                    : type == VT_UNKNOWN  ? FADF_UNKNOWN
                    : type == VT_DISPATCH ? FADF_DISPATCH
                    : type == VT_VARIANT  ? FADF_VARIANT
                                          : FADF_HAVEVARTYPE;
  array.cbElements = size;
  array.rgsabound[0] = {count, lower};
  array.pvData = std::calloc(std::size_t{count} + 1, size);
  ++blocksAlive;
  return &array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  if (array->cLocks > 0) return DISP_E_ARRAYISLOCKED;
  orvo::fuzz::ForElements(array, [](VARIANT& element) { return VariantClear(&element); });
  std::free(array->pvData);
  std::free(orvo::fuzz::BlockOf(array));
  --blocksAlive;
  return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) {
  *type = orvo::fuzz::BlockOf(array)->type;
  return S_OK;
}
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}
HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
  --array->cLocks;
  return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** info) {
  *info = nullptr;
  return S_FALSE;
}
HRESULT SetErrorInfo(ULONG, IErrorInfo*) {
  return S_OK;
}
HRESULT CreateErrorInfo(ICreateErrorInfo** info) {
  *info = nullptr;
  return E_OUTOFMEMORY;
}
DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, LPWSTR, DWORD, void*) {
  return 0;
}
void* LocalFree(void*) {
  return nullptr;
}

HRESULT DispCallFunc(void*, ULONG_PTR, CALLCONV, VARTYPE, UINT count, VARTYPE* types, VARIANT** arguments,
                     VARIANT* result) {
  VariantInit(result);
  V_VT(result) = VT_I4;
  V_I4(result) = orvo::fuzz::calledMember(std::vector<VARTYPE>(types, types + count),
                                          std::vector<VARIANT*>(arguments, arguments + count));
  return S_OK;
}

namespace orvo::com {

// No facades here: every object is a foreign one.
std::shared_ptr<AutomationObject> OwnObject(IUnknown*) {
  return nullptr;
}
ComPtr<IUnknown> FacadeOfAny(const std::shared_ptr<AutomationObject>&) {
  return nullptr;
}

}  // namespace orvo::com
