#include "ArgumentMaker.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

namespace orvo::testing {

namespace {

constexpr std::size_t GuardSize = 32;
constexpr std::byte GuardByte{0xA5};

constexpr VARTYPE ScalarTypes[] = {VT_I2,       VT_I4,    VT_R4,   VT_R8,      VT_CY,      VT_DATE, VT_BSTR,
                                   VT_DISPATCH, VT_ERROR, VT_BOOL, VT_UNKNOWN, VT_DECIMAL, VT_I1,   VT_UI1,
                                   VT_UI2,      VT_UI4,   VT_I8,   VT_UI8,     VT_INT,     VT_UINT};
// No type of an argument, or one without a value behind it.
constexpr VARTYPE InvalidTypes[] = {
    15,         VT_VOID,           VT_HRESULT,          VT_PTR,      VT_SAFEARRAY, VT_CARRAY,
    VT_LPSTR,   VT_LPWSTR,         VT_USERDEFINED,      VT_FILETIME, VT_BLOB,      VT_CLSID,
    VT_VARIANT, VT_VECTOR | VT_I4, VT_RESERVED | VT_I4, 0x0FFF,      0x1FFF,       VT_INT_PTR};
constexpr LONG Numbers[] = {0,
                            1,
                            -1,
                            2,
                            3,
                            4,
                            5,
                            7,
                            10,
                            99,
                            100,
                            127,
                            128,
                            255,
                            256,
                            999,
                            1000,
                            32767,
                            32768,
                            -32768,
                            65535,
                            65536,
                            -2,
                            100000,
                            std::numeric_limits<LONG>::max(),
                            std::numeric_limits<LONG>::min()};
constexpr std::wstring_view Texts[] = {
    L"",          L"0",          L"1",         L"2",           L"-1",         L"1.5",
    L"true",      L"Group_1",    L"group_1",   L"Line",        L"Item_1",     L"Item_2",
    L"WO100",     L"BY101",      L"BI100.3",   L"DW108",       L"FL112",      L"ST0020010",
    L"RA0316",    L"WO99999",    L"XX1",       L"drivers.ini", L"saved.ini",  L"panel.fw",
    L"panel.obj", L"none.ini",   L"other.ini", L"99999999999", L"1e400",      L"#",
    L"=[x]\r\ny", L"\xE9\x20AC", L"\xD800",    L"\xDC00x",     L"31/12/2020", L"&hFF"};

}  // namespace

ArgumentMaker::~ArgumentMaker() {
  // Last made first: what was made later may lead to what was made earlier.
  for (auto block = blocks_.rbegin(); block != blocks_.rend(); ++block) {
    void* const place = PlaceOf(*block);
    switch (block->content) {
      case Content::Plain:
        break;
      case Content::Variant:
        for (std::size_t i = 0; i < block->count; ++i)
          VariantClear(static_cast<VARIANT*>(place) + i);
        break;
      case Content::String:
        SysFreeString(*static_cast<BSTR*>(place));
        break;
      case Content::Object:
        if (IUnknown* object = *static_cast<IUnknown**>(place)) object->Release();
        break;
      case Content::Array:
        if (SAFEARRAY* array = *static_cast<SAFEARRAY**>(place)) {
          array->cLocks = 0;
          SafeArrayDestroy(array);
        }
        break;
    }
  }
}

void* ArgumentMaker::Reserve(std::size_t size, Content content, std::size_t count) {
  Block& block = blocks_.emplace_back();
  block.size = size;
  block.content = content;
  block.count = count;
  block.memory = std::make_unique<std::byte[]>(size + 2 * GuardSize);
  std::fill_n(block.memory.get(), GuardSize, GuardByte);
  std::fill_n(block.memory.get() + GuardSize + size, GuardSize, GuardByte);
  return PlaceOf(block);
}

void* ArgumentMaker::PlaceOf(const Block& block) {
  return block.memory.get() + GuardSize;
}

bool ArgumentMaker::GuardsAreWhole() const {
  const auto isGuard = [](std::byte each) { return each == GuardByte; };
  return std::all_of(blocks_.begin(), blocks_.end(), [&](const Block& block) {
    const std::byte* const behind = block.memory.get() + GuardSize + block.size;
    return std::all_of(block.memory.get(), block.memory.get() + GuardSize, isGuard) &&
           std::all_of(behind, behind + GuardSize, isGuard);
  });
}

VARIANT* ArgumentMaker::MakeList(std::size_t count) {
  return static_cast<VARIANT*>(Reserve(count * sizeof(VARIANT), Content::Variant, count));
}

VARIANT& ArgumentMaker::Variable() {
  return *static_cast<VARIANT*>(Reserve(sizeof(VARIANT), Content::Variant));
}

VARTYPE ArgumentMaker::AnyType() {
  return random_.Pick(ScalarTypes);
}

LONG ArgumentMaker::AnyNumber(bool sensible) {
  if (sensible && !random_.OneIn(4)) return random_.Between(0, 4);
  return random_.OneIn(3) ? static_cast<LONG>(random_.Next()) : random_.Pick(Numbers);
}

BSTR ArgumentMaker::AnyText(bool sensible) {
  if (!sensible && random_.OneIn(8)) return nullptr;
  if (!sensible && random_.OneIn(6)) {
    wchar_t text[40];
    const std::size_t length = random_.Below(40);
    for (std::size_t i = 0; i < length; ++i)
      text[i] = static_cast<wchar_t>(random_.OneIn(4) ? random_.Next() : random_.Between(0, 127));
    return SysAllocStringLen(text, static_cast<UINT>(length));
  }
  const std::wstring_view text = random_.Pick(Texts);
  return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

void ArgumentMaker::FillObject(VARIANT& value, VARTYPE type) {
  V_UNKNOWN(&value) = nullptr;
  V_VT(&value) = type;
  if (random_.OneIn(6)) return;
  if (random_.OneIn(2) && !world_.objects.empty()) {
    IUnknown* const object = random_.Pick(std::span(world_.objects));
    object->QueryInterface(type == VT_DISPATCH ? __uuidof(IDispatch) : __uuidof(IUnknown),
                           reinterpret_cast<void**>(&V_UNKNOWN(&value)));
    return;
  }
  auto habit = static_cast<Habit>(random_.Below(HabitCount));
  if (type == VT_DISPATCH && habit == Habit::NoDispatch) habit = Habit::NoNames;
  V_DISPATCH(&value) = ClientObject::New(habit, world_.called).Detach();
}

void ArgumentMaker::FillScriptArray(VARIANT& value, VARTYPE type) {
  const auto habit = random_.OneIn(4) ? static_cast<Habit>(random_.Below(HabitCount - 1)) : Habit::Array;
  auto object = ClientObject::New(habit, world_.called);
  ClientObject& array = *ClientObject::Of(object.Get());
  array.PutLength(random_.Between(0, 4));
  for (LONG i = 0; i < array.Length(); ++i)
    if (!random_.OneIn(6)) FillSensible(*array.Element(i), type);
  V_DISPATCH(&value) = object.Detach();
  V_VT(&value) = VT_DISPATCH;
}

void ArgumentMaker::FillScalar(VARIANT& value, VARTYPE type) {
  V_VT(&value) = type;
  switch (type) {
    case VT_EMPTY:
    case VT_NULL:
      return;
    case VT_BSTR:
      V_BSTR(&value) = AnyText(false);
      return;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      FillObject(value, type);
      return;
    case VT_R4:
      V_R4(&value) =
          random_.OneIn(8) ? std::numeric_limits<float>::infinity() : static_cast<float>(AnyNumber(false)) / 3;
      return;
    case VT_R8:
    case VT_DATE:
      V_R8(&value) = random_.OneIn(4) ? std::numeric_limits<double>::quiet_NaN() : AnyNumber(false) * 0.25;
      if (random_.OneIn(8)) V_R8(&value) *= 1e300;
      return;
    case VT_ERROR:
      V_ERROR(&value) = random_.OneIn(2) ? DISP_E_PARAMNOTFOUND : static_cast<SCODE>(random_.Next());
      return;
    case VT_BOOL:
      V_BOOL(&value) = static_cast<VARIANT_BOOL>(random_.Between(-2, 2));
      return;
    case VT_DECIMAL:
      // The type shares its place with the value.
      V_DECIMAL(&value) = {};
      V_DECIMAL(&value).scale = static_cast<BYTE>(random_.Between(0, 28));
      V_DECIMAL(&value).sign = random_.OneIn(2) ? DECIMAL_NEG : BYTE{0};
      V_DECIMAL(&value).Lo64 = random_.Next() >> random_.Below(64);
      V_VT(&value) = VT_DECIMAL;
      return;
    default:
      V_I8(&value) = random_.OneIn(4) ? static_cast<LONGLONG>(random_.Next()) : AnyNumber(false);
      return;
  }
}

void ArgumentMaker::FillSensible(VARIANT& value, VARTYPE type) {
  if (random_.OneIn(12)) {
    FillScalar(value, AnyType());
    return;
  }
  if (type == VT_VARIANT) {
    constexpr VARTYPE Usual[] = {VT_I2,  VT_I4,    VT_R8, VT_BSTR, VT_BOOL,
                                 VT_UI1, VT_EMPTY, VT_R4, VT_DATE, VT_I8};
    type = random_.Pick(Usual);
  }
  switch (type) {
    case VT_EMPTY:
      return;
    case VT_BSTR:
      V_BSTR(&value) = AnyText(true);
      V_VT(&value) = VT_BSTR;
      return;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      FillObject(value, random_.OneIn(4) ? VT_UNKNOWN : VT_DISPATCH);
      return;
    case VT_BOOL:
      V_VT(&value) = VT_BOOL;
      V_BOOL(&value) = random_.OneIn(2) ? VARIANT_TRUE : VARIANT_FALSE;
      return;
    default:
      break;
  }
  // A number, in a type of the caller's language.
  constexpr VARTYPE Kinds[] = {VT_I2, VT_I4, VT_R8, VT_I4, VT_UI1, VT_I8, VT_UI2};
  const VARTYPE kind = random_.OneIn(3) ? type : random_.Pick(Kinds);
  const LONG number = AnyNumber(true);
  FillScalar(value, kind);
  if (kind == VT_R8 || kind == VT_DATE)
    V_R8(&value) = number;
  else if (kind == VT_R4)
    V_R4(&value) = static_cast<float>(number);
  else if (kind != VT_DECIMAL && kind != VT_ERROR)
    V_I8(&value) = number;
}

void ArgumentMaker::FillReference(VARIANT& value, VARTYPE type, bool sensible) {
  V_VT(&value) = static_cast<VARTYPE>(VT_BYREF | type);
  if (random_.OneIn(40)) {
    V_BYREF(&value) = nullptr;
    return;
  }
  VARIANT scalar;
  VariantInit(&scalar);
  if (sensible) FillSensible(scalar, type);
  if (V_VT(&scalar) != type) {
    VariantClear(&scalar);
    FillScalar(scalar, type);
  }
  const auto content = type == VT_BSTR                             ? Content::String
                       : type == VT_DISPATCH || type == VT_UNKNOWN ? Content::Object
                                                                   : Content::Plain;
  constexpr std::size_t Small[] = {1, 2, 4, 8};
  std::size_t size = Small[3];
  if (type == VT_I1 || type == VT_UI1) size = Small[0];
  if (type == VT_I2 || type == VT_UI2 || type == VT_BOOL) size = Small[1];
  if (type == VT_I4 || type == VT_UI4 || type == VT_INT || type == VT_UINT || type == VT_R4 || type == VT_ERROR)
    size = Small[2];
  if (type == VT_DECIMAL) size = sizeof(DECIMAL);
  V_BYREF(&value) = Reserve(size, content);
  std::memcpy(V_BYREF(&value), type == VT_DECIMAL ? static_cast<void*>(&V_DECIMAL(&scalar)) : &V_I8(&scalar),
              size);
}

void ArgumentMaker::FillInvalid(VARIANT& value) {
  V_VT(&value) = static_cast<VARTYPE>(random_.Pick(InvalidTypes) | (random_.OneIn(3) ? VT_BYREF : 0) |
                                      (random_.OneIn(4) ? VT_ARRAY : 0));
  V_I8(&value) = 0;  // no function can know what a type like this holds
}

void ArgumentMaker::FillAny(VARIANT& argument) {
  switch (random_.Below(12)) {
    case 0:
      V_VT(&argument) = random_.OneIn(2) ? VT_EMPTY : VT_NULL;
      return;
    case 1:
    case 2:
      FillScalar(argument, AnyType());
      return;
    case 3:
    case 4:
      FillReference(argument, AnyType(), false);
      return;
    case 5:
    case 6:
      FillArray(argument, random_.OneIn(3) ? VARTYPE{VT_VARIANT} : AnyType(), 0, false);
      return;
    case 7:
    case 8: {
      VARIANT& variable = Variable();
      FillAny(variable);
      V_VT(&argument) = VT_BYREF | VT_VARIANT;
      V_VARIANTREF(&argument) = &variable;
      if (random_.OneIn(40)) V_VARIANTREF(&argument) = nullptr;
      return;
    }
    case 9:
      FillScriptArray(argument, VT_VARIANT);
      return;
    case 10:
      if (!random_.OneIn(8)) {
        FillSensible(argument, VT_VARIANT);
        return;
      }
      // A variable that refers to itself.
      V_VARIANTREF(&argument) = &Variable();
      V_VT(&argument) = VT_BYREF | VT_VARIANT;
      *V_VARIANTREF(&argument) = argument;
      return;
    default:
      FillInvalid(argument);
      return;
  }
}

void ArgumentMaker::FillFor(const com::Parameter& parameter, VARIANT& argument) {
  if (random_.OneIn(10)) {
    FillAny(argument);
    return;
  }
  // Values of a variable are wrapped once more: that is how most languages pass a variable.
  VARIANT* value = &argument;
  if (random_.OneIn(2)) {
    value = &Variable();
    V_VT(&argument) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&argument) = value;
  }
  if (parameter.isArray) {
    if (random_.OneIn(8)) return;
    if (random_.OneIn(5))
      FillScriptArray(*value, parameter.type);
    else if (random_.OneIn(8))
      FillSensible(*value, parameter.type);
    else
      FillArray(*value, random_.OneIn(3) ? VARTYPE{VT_VARIANT} : parameter.type, 0, true);
  } else if (parameter.type != VT_VARIANT && parameter.type != VT_EMPTY && random_.OneIn(3)) {
    FillReference(*value, parameter.type, true);
  } else {
    FillSensible(*value, parameter.type);
  }
}

}  // namespace orvo::testing
