// What the type library says about one dispatch interface: its type information and a table of its members.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"

#include <cstddef>
#include <vector>

namespace orvo::com {

// One declared parameter.
struct Parameter {
  VARTYPE type = VT_EMPTY;  // of the value, or of the elements; enumerations are VT_I4, interfaces VT_DISPATCH
  bool isArray = false;
  bool byReference = false;
  bool isIn = false;
  bool isOut = false;
  bool isOptional = false;
  bool isResult = false;  // [out, retval]

  // How the parameter is passed.
  VARTYPE PassedType() const noexcept {
    return static_cast<VARTYPE>(type | (isArray ? VT_ARRAY : 0) | (byReference ? VT_BYREF : 0));
  }
};

// One declared member: a method, or the get, put or put-by-reference of a property.
struct Member {
  MEMBERID id = 0;
  INVOKEKIND kind = INVOKE_FUNC;
  ULONG_PTR vtableOffset = 0;
  CALLCONV convention = CC_STDCALL;
  std::vector<Parameter> parameters;  // without the result
  Parameter result;                   // VT_EMPTY when there is none

  // How many arguments a caller must give at least.
  std::size_t RequiredCount() const noexcept;
};

class InterfaceInfo {
 public:
  // `typeInfo` describes the dispatch face of a dual interface.
  explicit InterfaceInfo(ComPtr<ITypeInfo> typeInfo);

  const ComPtr<ITypeInfo>& TypeInfo() const noexcept { return typeInfo_; }
  REFIID Id() const noexcept { return id_; }
  // The member that a call with these flags means, or null. A call of the enumerator as a method means its get.
  const Member* Find(DISPID id, WORD flags) const noexcept;
  bool HasId(DISPID id) const noexcept;

 private:
  ComPtr<ITypeInfo> typeInfo_;
  IID id_{};
  std::vector<Member> members_;
};

}  // namespace orvo::com
