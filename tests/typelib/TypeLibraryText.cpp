#include "TypeLibraryText.h"

#include <ole2.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orvo {
namespace {

void Check(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%s failed: 0x%08lX", what, static_cast<unsigned long>(result));
  throw std::runtime_error(text.data());
}

// A reference that ends with its scope.
template <class Interface>
class Held {
 public:
  Held() = default;
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() {
    if (pointer_ != nullptr) pointer_->Release();
  }
  Interface** Put() noexcept { return &pointer_; }
  Interface* Get() const noexcept { return pointer_; }
  Interface* operator->() const noexcept { return pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

// An automation string that ends with its scope.
class Text {
 public:
  Text() = default;
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  ~Text() { SysFreeString(text_); }
  BSTR* Put() noexcept { return &text_; }
  std::string Utf8() const {
    const int length = static_cast<int>(SysStringLen(text_));
    if (length == 0) return {};
    const int size = WideCharToMultiByte(CP_UTF8, 0, text_, length, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text_, length, result.data(), size, nullptr, nullptr);
    return result;
  }

 private:
  BSTR text_ = nullptr;
};

using FlagName = std::pair<unsigned, std::string_view>;

template <std::size_t Count>
std::string Flags(unsigned value, const std::array<FlagName, Count>& names, std::string_view separator) {
  std::string text;
  for (const auto& [flag, name] : names) {
    if ((value & flag) == 0) continue;
    if (!text.empty()) text += separator;
    text += name;
    value &= ~flag;
  }
  if (value != 0) text += (text.empty() ? "" : std::string(separator)) + "other " + std::to_string(value);
  return text;
}

constexpr std::array<FlagName, 15> TypeFlags{{{TYPEFLAG_FAPPOBJECT, "appobject"},
                                              {TYPEFLAG_FCANCREATE, "cancreate"},
                                              {TYPEFLAG_FLICENSED, "licensed"},
                                              {TYPEFLAG_FPREDECLID, "predeclid"},
                                              {TYPEFLAG_FHIDDEN, "hidden"},
                                              {TYPEFLAG_FCONTROL, "control"},
                                              {TYPEFLAG_FDUAL, "dual"},
                                              {TYPEFLAG_FNONEXTENSIBLE, "nonextensible"},
                                              {TYPEFLAG_FOLEAUTOMATION, "oleautomation"},
                                              {TYPEFLAG_FRESTRICTED, "restricted"},
                                              {TYPEFLAG_FAGGREGATABLE, "aggregatable"},
                                              {TYPEFLAG_FREPLACEABLE, "replaceable"},
                                              {TYPEFLAG_FDISPATCHABLE, "dispatchable"},
                                              {TYPEFLAG_FREVERSEBIND, "reversebind"},
                                              {TYPEFLAG_FPROXY, "proxy"}}};
constexpr std::array<FlagName, 4> LibraryFlags{{{LIBFLAG_FRESTRICTED, "restricted"},
                                                {LIBFLAG_FCONTROL, "control"},
                                                {LIBFLAG_FHIDDEN, "hidden"},
                                                {LIBFLAG_FHASDISKIMAGE, "hasdiskimage"}}};
constexpr std::array<FlagName, 5> MemberFlags{{{FUNCFLAG_FRESTRICTED, "restricted"},
                                               {FUNCFLAG_FSOURCE, "source"},
                                               {FUNCFLAG_FHIDDEN, "hidden"},
                                               {FUNCFLAG_FUSESGETLASTERROR, "usesgetlasterror"},
                                               {FUNCFLAG_FNONBROWSABLE, "nonbrowsable"}}};
constexpr std::array<FlagName, 7> ParameterFlags{{{PARAMFLAG_FIN, "in"},
                                                  {PARAMFLAG_FOUT, "out"},
                                                  {PARAMFLAG_FLCID, "lcid"},
                                                  {PARAMFLAG_FRETVAL, "retval"},
                                                  {PARAMFLAG_FOPT, "optional"},
                                                  {PARAMFLAG_FHASDEFAULT, "default"},
                                                  {PARAMFLAG_FHASCUSTDATA, "custom"}}};
constexpr std::array<FlagName, 4> InterfaceFlags{{{IMPLTYPEFLAG_FDEFAULT, "default"},
                                                  {IMPLTYPEFLAG_FSOURCE, "source"},
                                                  {IMPLTYPEFLAG_FRESTRICTED, "restricted"},
                                                  {IMPLTYPEFLAG_FDEFAULTVTABLE, "defaultvtable"}}};
constexpr std::array<FlagName, 4> InvokeKinds{{{INVOKE_FUNC, "method"},
                                               {INVOKE_PROPERTYGET, "propget"},
                                               {INVOKE_PROPERTYPUT, "propput"},
                                               {INVOKE_PROPERTYPUTREF, "propputref"}}};

std::string GuidText(const GUID& guid) {
  std::array<wchar_t, 40> wide{};
  StringFromGUID2(guid, wide.data(), static_cast<int>(wide.size()));
  std::string text;
  for (const wchar_t character : wide)
    if (character != 0) text += static_cast<char>(character);
  return text;
}

std::string NameOf(ITypeInfo* type, MEMBERID member = MEMBERID_NIL) {
  Text name;
  Check(type->GetDocumentation(member, name.Put(), nullptr, nullptr, nullptr), "reading a name");
  return name.Utf8();
}

// The helpstring in quotes; "" when there is none.
std::string HelpOf(ITypeInfo* type, MEMBERID member = MEMBERID_NIL) {
  Text help;
  Check(type->GetDocumentation(member, nullptr, help.Put(), nullptr, nullptr), "reading a helpstring");
  return '"' + help.Utf8() + '"';
}

std::string TypeText(ITypeInfo* owner, const TYPEDESC& type) {
  switch (type.vt) {
    case VT_PTR:
      return TypeText(owner, *type.lptdesc) + '*';
    case VT_SAFEARRAY:
      return "SAFEARRAY(" + TypeText(owner, *type.lptdesc) + ')';
    case VT_USERDEFINED: {
      Held<ITypeInfo> referenced;
      Check(owner->GetRefTypeInfo(type.hreftype, referenced.Put()), "following a type");
      return NameOf(referenced.Get());
    }
    case VT_I2:
      return "short";
    case VT_I4:
      return "long";
    case VT_R4:
      return "float";
    case VT_R8:
      return "double";
    case VT_UI1:
      return "unsigned char";
    case VT_BSTR:
      return "BSTR";
    case VT_BOOL:
      return "VARIANT_BOOL";
    case VT_VARIANT:
      return "VARIANT";
    case VT_DATE:
      return "DATE";
    case VT_DISPATCH:
      return "IDispatch*";
    case VT_UNKNOWN:
      return "IUnknown*";
    case VT_HRESULT:
      return "HRESULT";
    case VT_VOID:
      return "void";
    default:
      return "type " + std::to_string(type.vt);
  }
}

std::string MemberText(ITypeInfo* type, const FUNCDESC& member, bool slots) {
  std::array<BSTR, 32> names{};
  UINT known = 0;
  Check(type->GetNames(member.memid, names.data(), static_cast<UINT>(names.size()), &known), "reading names");
  std::string text = "  ";
  if (slots) text += std::to_string(static_cast<std::size_t>(member.oVft) / sizeof(void*)) + ' ';
  text += Flags(static_cast<unsigned>(member.invkind), InvokeKinds, "+") + ' ' + NameOf(type, member.memid) +
          " id " + std::to_string(member.memid) + " (";
  for (int k = 0; k < member.cParams; ++k) {
    const ELEMDESC& parameter = member.lprgelemdescParam[k];
    if (k > 0) text += ", ";
    text += '[' + Flags(parameter.paramdesc.wParamFlags, ParameterFlags, ", ") + "] " +
            TypeText(type, parameter.tdesc);
    // Names are asked for by identifier, which the members of a property share: theirs say nothing.
    if (member.invkind == INVOKE_FUNC && static_cast<UINT>(k) + 1 < known) {
      const BSTR name = names[static_cast<std::size_t>(k) + 1];
      text += ' ' + std::string(name, name + SysStringLen(name));
    }
  }
  for (UINT k = 0; k < known; ++k)
    SysFreeString(names[k]);
  text += ')';
  const std::string result = TypeText(type, member.elemdescFunc.tdesc);
  if (result != (slots ? "HRESULT" : "void")) text += " -> " + result;
  if (const std::string flags = Flags(member.wFuncFlags, MemberFlags, " "); !flags.empty())
    text += " {" + flags + '}';
  return text + ' ' + HelpOf(type, member.memid) + '\n';
}

std::string EnumerationValue(ITypeInfo* type, const VARDESC& value) {
  return "  " + NameOf(type, value.memid) + " = " + std::to_string(V_I4(value.lpvarValue)) + '\n';
}

class Type {
 public:
  explicit Type(ITypeInfo* type) : type_(type) { Check(type_->GetTypeAttr(&attributes_), "reading a type"); }
  Type(const Type&) = delete;
  Type& operator=(const Type&) = delete;
  ~Type() { type_->ReleaseTypeAttr(attributes_); }

  std::string Text(bool dualFace = false) const {
    std::string text;
    if (attributes_->typekind == TKIND_DISPATCH && (attributes_->wTypeFlags & TYPEFLAG_FDUAL) != 0) {
      // What callers bind to are the slots of the other face.
      HREFTYPE reference{};
      Held<ITypeInfo> other;
      Check(type_->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), "finding the slots of a type");
      Check(type_->GetRefTypeInfo(reference, other.Put()), "finding the slots of a type");
      return Type(other.Get()).Text(true);
    }
    text = '\n' + Kind() + ' ' + NameOf(type_) + "\n  guid " + GuidText(attributes_->guid) + '\n';
    unsigned flags = attributes_->wTypeFlags;
    if (dualFace) flags |= TYPEFLAG_FDUAL;
    if (const std::string names = Flags(flags, TypeFlags, " "); !names.empty())
      text += "  flags " + names + '\n';
    if (attributes_->typekind == TKIND_INTERFACE) text += "  base " + BaseName() + '\n';
    text += "  helpstring " + HelpOf(type_) + '\n';
    return text + (attributes_->typekind == TKIND_COCLASS ? Interfaces() : Members());
  }

 private:
  std::string Kind() const {
    switch (attributes_->typekind) {
      case TKIND_ENUM:
        return "enum";
      case TKIND_INTERFACE:
        return "interface";
      case TKIND_DISPATCH:
        return "dispinterface";
      case TKIND_COCLASS:
        return "coclass";
      default:
        return "kind " + std::to_string(attributes_->typekind);
    }
  }

  std::string BaseName() const {
    HREFTYPE reference{};
    Held<ITypeInfo> base;
    Check(type_->GetRefTypeOfImplType(0, &reference), "finding a base");
    Check(type_->GetRefTypeInfo(reference, base.Put()), "finding a base");
    return NameOf(base.Get());
  }

  std::string Members() const {
    std::string text;
    for (UINT k = 0; k < attributes_->cVars; ++k) {
      VARDESC* value = nullptr;
      Check(type_->GetVarDesc(k, &value), "reading a value");
      text += EnumerationValue(type_, *value);
      type_->ReleaseVarDesc(value);
    }
    for (UINT k = 0; k < attributes_->cFuncs; ++k) {
      FUNCDESC* member = nullptr;
      Check(type_->GetFuncDesc(k, &member), "reading a member");
      // The seven of IDispatch, which a dispinterface counts as its own, are everybody's.
      if (attributes_->typekind != TKIND_DISPATCH || (member->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0)
        text += MemberText(type_, *member, attributes_->typekind == TKIND_INTERFACE);
      type_->ReleaseFuncDesc(member);
    }
    return text;
  }

  std::string Interfaces() const {
    std::string text;
    for (UINT k = 0; k < attributes_->cImplTypes; ++k) {
      HREFTYPE reference{};
      INT flags = 0;
      Held<ITypeInfo> implemented;
      Check(type_->GetRefTypeOfImplType(k, &reference), "finding an interface of a class");
      Check(type_->GetRefTypeInfo(reference, implemented.Put()), "finding an interface of a class");
      Check(type_->GetImplTypeFlags(k, &flags), "reading the flags of an interface");
      const std::string names = Flags(static_cast<unsigned>(flags), InterfaceFlags, " ");
      text += "  implements " + NameOf(implemented.Get()) + (names.empty() ? "" : ' ' + names) + '\n';
    }
    return text;
  }

  ITypeInfo* type_;
  TYPEATTR* attributes_ = nullptr;
};

}  // namespace

std::string TypeLibraryText(ITypeLib* library) {
  Text name;
  Text help;
  Check(library->GetDocumentation(-1, name.Put(), help.Put(), nullptr, nullptr), "reading the library's name");
  TLIBATTR* attributes = nullptr;
  Check(library->GetLibAttr(&attributes), "reading the library");
  std::string text = "library " + name.Utf8() + "\n  guid " + GuidText(attributes->guid) + "\n  version " +
                     std::to_string(attributes->wMajorVerNum) + '.' + std::to_string(attributes->wMinorVerNum) +
                     "\n  lcid " + std::to_string(attributes->lcid) + '\n';
  // Whether the library was loaded from a file of its own is no matter of its contents.
  const unsigned flags = attributes->wLibFlags & ~static_cast<unsigned>(LIBFLAG_FHASDISKIMAGE);
  library->ReleaseTLibAttr(attributes);
  if (const std::string names = Flags(flags, LibraryFlags, " "); !names.empty())
    text += "  flags " + names + '\n';
  text += "  helpstring \"" + help.Utf8() + "\"\n";
  for (UINT k = 0; k < library->GetTypeInfoCount(); ++k) {
    Held<ITypeInfo> type;
    Check(library->GetTypeInfo(k, type.Put()), "reading a type");
    text += Type(type.Get()).Text();
  }
  return text;
}

}  // namespace orvo
