// A double of the automation types and of the few functions that business/com works with, so that its sources
// compile and run where a fuzzer runs. Layouts and numbers are those of the platform's own interface; texts
// hold one UTF-16 unit per wchar_t, whatever its size here. What the functions do is in Automation.cpp; what
// lives is counted, see AutomationDouble.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using ULONG_PTR = std::uintptr_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using DISPID = std::int32_t;
using MEMBERID = std::int32_t;
using HREFTYPE = std::uint32_t;
using OLECHAR = wchar_t;
using BSTR = wchar_t*;
using LPOLESTR = wchar_t*;
using LPWSTR = wchar_t*;
using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
using DATE = double;

constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;

constexpr HRESULT ResultOfBits(std::uint32_t bits) {
  return static_cast<HRESULT>(bits);
}
constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = ResultOfBits(0x80004001U);
constexpr HRESULT E_NOINTERFACE = ResultOfBits(0x80004002U);
constexpr HRESULT E_POINTER = ResultOfBits(0x80004003U);
constexpr HRESULT E_FAIL = ResultOfBits(0x80004005U);
constexpr HRESULT E_OUTOFMEMORY = ResultOfBits(0x8007000EU);
constexpr HRESULT E_INVALIDARG = ResultOfBits(0x80070057U);
constexpr HRESULT DISP_E_MEMBERNOTFOUND = ResultOfBits(0x80020003U);
constexpr HRESULT DISP_E_PARAMNOTFOUND = ResultOfBits(0x80020004U);
constexpr HRESULT DISP_E_TYPEMISMATCH = ResultOfBits(0x80020005U);
constexpr HRESULT DISP_E_UNKNOWNNAME = ResultOfBits(0x80020006U);
constexpr HRESULT DISP_E_BADVARTYPE = ResultOfBits(0x80020008U);
constexpr HRESULT DISP_E_EXCEPTION = ResultOfBits(0x80020009U);
constexpr HRESULT DISP_E_OVERFLOW = ResultOfBits(0x8002000AU);
constexpr HRESULT DISP_E_BADINDEX = ResultOfBits(0x8002000BU);
constexpr HRESULT DISP_E_ARRAYISLOCKED = ResultOfBits(0x8002000DU);
constexpr HRESULT DISP_E_BADPARAMCOUNT = ResultOfBits(0x8002000EU);
constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = ResultOfBits(0x8002000FU);
constexpr bool FAILED(HRESULT result) {
  return result < 0;
}
constexpr bool SUCCEEDED(HRESULT result) {
  return result >= 0;
}

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
  friend bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using REFIID = const GUID&;
constexpr GUID IID_NULL{};

template <class Interface>
const GUID& DoubleUuidOf();
#define __uuidof(type) DoubleUuidOf<type>()
#define MIDL_INTERFACE(uuid) struct

// --- Values.

enum VARENUM : int {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_RECORD = 36,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_TYPEMASK = 0xFFF,
};

struct CY {
  std::int64_t int64;
};
struct DECIMAL {
  std::uint16_t wReserved;
  std::uint8_t scale;
  std::uint8_t sign;
  std::uint32_t Hi32;
  std::uint64_t Lo64;
};
constexpr std::uint8_t DECIMAL_NEG = 0x80;

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};
struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
};
constexpr USHORT FADF_AUTO = 0x0001;
constexpr USHORT FADF_STATIC = 0x0002;
constexpr USHORT FADF_EMBEDDED = 0x0004;
constexpr USHORT FADF_FIXEDSIZE = 0x0010;
constexpr USHORT FADF_HAVEVARTYPE = 0x0080;
constexpr USHORT FADF_BSTR = 0x0100;
constexpr USHORT FADF_UNKNOWN = 0x0200;
constexpr USHORT FADF_DISPATCH = 0x0400;
constexpr USHORT FADF_VARIANT = 0x0800;

struct IUnknown;
struct IDispatch;
struct VARIANT {
  union {
    struct {
      VARTYPE vt;
      WORD reserved[3];
      union {
        LONGLONG llVal;
        LONG lVal;
        SHORT iVal;
        BYTE bVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        SAFEARRAY** pparray;
        IDispatch** ppdispVal;
        VARIANT* pvarVal;
        void* byref;
        void* record[2];
      };
    };
    DECIMAL decVal;
  };
};

#define V_VT(value) ((value)->vt)
#define V_I8(value) ((value)->llVal)
#define V_I4(value) ((value)->lVal)
#define V_I2(value) ((value)->iVal)
#define V_UI1(value) ((value)->bVal)
#define V_R8(value) ((value)->dblVal)
#define V_BOOL(value) ((value)->boolVal)
#define V_ERROR(value) ((value)->scode)
#define V_BSTR(value) ((value)->bstrVal)
#define V_UNKNOWN(value) ((value)->punkVal)
#define V_DISPATCH(value) ((value)->pdispVal)
#define V_ARRAY(value) ((value)->parray)
#define V_ARRAYREF(value) ((value)->pparray)
#define V_DISPATCHREF(value) ((value)->ppdispVal)
#define V_VARIANTREF(value) ((value)->pvarVal)
#define V_BYREF(value) ((value)->byref)
#define V_DECIMAL(value) ((value)->decVal)

constexpr USHORT VARIANT_ALPHABOOL = 2;
constexpr LCID LOCALE_NEUTRAL = 0;
constexpr LCID LOCALE_USER_DEFAULT = 0x0400;

BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR string);
UINT SysStringLen(BSTR string);
void VariantInit(VARIANT* value);
HRESULT VariantClear(VARIANT* value);
HRESULT VariantCopy(VARIANT* target, VARIANT* source);
HRESULT VariantCopyInd(VARIANT* target, VARIANT* source);
HRESULT VariantChangeTypeEx(VARIANT* target, VARIANT* source, LCID locale, USHORT flags, VARTYPE type);
SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower, ULONG count);
HRESULT SafeArrayDestroy(SAFEARRAY* array);
HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type);
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data);
HRESULT SafeArrayUnaccessData(SAFEARRAY* array);

// --- Objects.

enum INVOKEKIND : int {
  INVOKE_FUNC = 1,
  INVOKE_PROPERTYGET = 2,
  INVOKE_PROPERTYPUT = 4,
  INVOKE_PROPERTYPUTREF = 8
};
enum CALLCONV : int { CC_CDECL = 1, CC_STDCALL = 4 };
constexpr WORD DISPATCH_METHOD = 1;
constexpr WORD DISPATCH_PROPERTYGET = 2;
constexpr WORD DISPATCH_PROPERTYPUT = 4;
constexpr DISPID DISPID_VALUE = 0;
constexpr DISPID DISPID_UNKNOWN = -1;
constexpr DISPID DISPID_PROPERTYPUT = -3;
constexpr DWORD fdexNameCaseSensitive = 1;
constexpr DWORD fdexNameEnsure = 2;

struct DISPPARAMS {
  VARIANT* rgvarg;
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};
struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  void* pvReserved;
  HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};

struct IUnknown {
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;
};
struct ITypeInfo : IUnknown {};
struct IDispatch : IUnknown {
  virtual HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                         EXCEPINFO* failure, UINT* argument) = 0;
};
struct IDispatchEx : IDispatch {
  virtual HRESULT GetDispID(BSTR name, DWORD flags, DISPID* id) = 0;
};
struct IErrorInfo : IUnknown {
  virtual HRESULT GetDescription(BSTR* text) = 0;
};
struct ICreateErrorInfo : IUnknown {
  virtual HRESULT SetGUID(REFIID iid) = 0;
  virtual HRESULT SetDescription(LPOLESTR text) = 0;
  virtual HRESULT SetSource(LPOLESTR text) = 0;
};
template <>
const GUID& DoubleUuidOf<IUnknown>();
template <>
const GUID& DoubleUuidOf<IDispatch>();
template <>
const GUID& DoubleUuidOf<IDispatchEx>();
template <>
const GUID& DoubleUuidOf<IErrorInfo>();
HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
HRESULT CreateErrorInfo(ICreateErrorInfo** info);
HRESULT DispCallFunc(void* object, ULONG_PTR offset, CALLCONV convention, VARTYPE returned, UINT count,
                     VARTYPE* types, VARIANT** arguments, VARIANT* result);

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD language, LPWSTR buffer, DWORD size,
                     void* arguments);
void* LocalFree(void* memory);
