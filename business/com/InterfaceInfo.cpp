#include "com/InterfaceInfo.h"

#include "com/ComError.h"

#include <algorithm>

namespace orvo::com {

namespace {

VARTYPE UserDefinedType(ITypeInfo& owner, HREFTYPE reference) {
  ComPtr<ITypeInfo> info;
  Require(owner.GetRefTypeInfo(reference, info.Put()));
  TYPEATTR* attributes = nullptr;
  Require(info->GetTypeAttr(&attributes));
  const TYPEKIND kind = attributes->typekind;
  const TYPEDESC alias = attributes->tdescAlias;
  info->ReleaseTypeAttr(attributes);
  switch (kind) {
    case TKIND_ENUM:
      return VT_I4;
    case TKIND_DISPATCH:
      return VT_DISPATCH;
    case TKIND_ALIAS:
      return alias.vt == VT_USERDEFINED ? UserDefinedType(*info.Get(), alias.hreftype) : alias.vt;
    default:
      return VT_UNKNOWN;
  }
}

// Fills type, isArray and byReference.
void Describe(ITypeInfo& owner, const TYPEDESC& declared, Parameter& parameter) {
  const TYPEDESC* type = &declared;
  int pointers = 0;
  while (type->vt == VT_PTR) {
    type = type->lptdesc;
    ++pointers;
  }
  if (type->vt == VT_SAFEARRAY) {
    parameter.isArray = true;
    const TYPEDESC* element = type->lptdesc;
    parameter.type = element->vt;
    if (element->vt == VT_USERDEFINED) parameter.type = UserDefinedType(owner, element->hreftype);
  } else if (type->vt == VT_USERDEFINED) {
    parameter.type = UserDefinedType(owner, type->hreftype);
    // The first pointer of an interface belongs to its type.
    if (parameter.type == VT_DISPATCH || parameter.type == VT_UNKNOWN) --pointers;
  } else {
    parameter.type = type->vt == VT_INT ? static_cast<VARTYPE>(VT_I4) : type->vt;
  }
  parameter.byReference = pointers > 0;
}

Member MemberOf(ITypeInfo& owner, const FUNCDESC& description) {
  Member member;
  member.id = description.memid;
  member.kind = description.invkind;
  member.vtableOffset = static_cast<ULONG_PTR>(description.oVft);
  member.convention = description.callconv;
  for (SHORT i = 0; i < description.cParams; ++i) {
    const ELEMDESC& element = description.lprgelemdescParam[i];
    const USHORT flags = element.paramdesc.wParamFlags;
    Parameter parameter;
    Describe(owner, element.tdesc, parameter);
    parameter.isIn = (flags & PARAMFLAG_FIN) != 0;
    parameter.isOut = (flags & PARAMFLAG_FOUT) != 0;
    parameter.isOptional = (flags & PARAMFLAG_FOPT) != 0;
    parameter.isResult = (flags & PARAMFLAG_FRETVAL) != 0;
    if (parameter.isResult)
      member.result = parameter;
    else
      member.parameters.push_back(parameter);
  }
  return member;
}

}  // namespace

std::size_t Member::RequiredCount() const noexcept {
  return static_cast<std::size_t>(std::count_if(parameters.begin(), parameters.end(),
                                                [](const Parameter& each) { return !each.isOptional; }));
}

InterfaceInfo::InterfaceInfo(ComPtr<ITypeInfo> typeInfo) : typeInfo_(std::move(typeInfo)) {
  TYPEATTR* attributes = nullptr;
  Require(typeInfo_->GetTypeAttr(&attributes));
  id_ = attributes->guid;
  const bool isDispatch = attributes->typekind == TKIND_DISPATCH;
  typeInfo_->ReleaseTypeAttr(attributes);

  // The dispatch face hides results and HRESULTs; the vtable face, -1, shows the functions as they are called.
  ComPtr<ITypeInfo> functions = typeInfo_;
  if (isDispatch) {
    HREFTYPE reference = 0;
    Require(typeInfo_->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
    Require(typeInfo_->GetRefTypeInfo(reference, functions.Put()));
  }
  Require(functions->GetTypeAttr(&attributes));
  const WORD count = attributes->cFuncs;
  functions->ReleaseTypeAttr(attributes);
  for (WORD i = 0; i < count; ++i) {
    FUNCDESC* description = nullptr;
    Require(functions->GetFuncDesc(i, &description));
    // Freed before a failure of the description leaves.
    struct Release {
      ITypeInfo* owner;
      FUNCDESC* description;
      ~Release() { owner->ReleaseFuncDesc(description); }
    } const release{functions.Get(), description};
    members_.push_back(MemberOf(*functions.Get(), *description));
  }
}

const Member* InterfaceInfo::Find(DISPID id, WORD flags) const noexcept {
  if (id == DISPID_NEWENUM && (flags & DISPATCH_METHOD) != 0) flags |= DISPATCH_PROPERTYGET;
  // A language that does not know whether a property takes values or references sends both flags; the value
  // comes first.
  for (const INVOKEKIND kind : {INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF}) {
    if ((flags & kind) == 0) continue;
    const auto found = std::find_if(members_.begin(), members_.end(), [&](const Member& member) {
      return member.id == id && member.kind == kind;
    });
    if (found != members_.end()) return &*found;
  }
  // Pascal assigns a variant variable as a reference, whatever the property takes.
  return flags == DISPATCH_PROPERTYPUTREF ? Find(id, DISPATCH_PROPERTYPUT) : nullptr;
}

bool InterfaceInfo::HasId(DISPID id) const noexcept {
  return std::any_of(members_.begin(), members_.end(), [id](const Member& member) { return member.id == id; });
}

}  // namespace orvo::com
