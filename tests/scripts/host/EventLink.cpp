#include "EventLink.h"

#include "HostError.h"
#include "Value.h"

#include <dispex.h>

#include <utility>

namespace orvo::testing {

using Microsoft::WRL::ComPtr;

namespace {

// The default event interface of a class, from its class information.
ComPtr<ITypeInfo> DefaultEvents(ITypeInfo* ofClass) {
  TYPEATTR* attributes = nullptr;
  Require(ofClass->GetTypeAttr(&attributes), L"the class information cannot be read");
  const UINT count = attributes->cImplTypes;
  ofClass->ReleaseTypeAttr(attributes);
  for (UINT index = 0; index < count; ++index) {
    INT flags = 0;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> events;
    if (FAILED(ofClass->GetImplTypeFlags(index, &flags))) continue;
    if ((flags & (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE)) !=
        (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE))
      continue;
    if (SUCCEEDED(ofClass->GetRefTypeOfImplType(index, &reference)) &&
        SUCCEEDED(ofClass->GetRefTypeInfo(reference, &events)))
      return events;
  }
  throw HostError(E_NOINTERFACE, L"the object's class has no events");
}

ComPtr<IUnknown> IdentityOf(IUnknown* object) {
  ComPtr<IUnknown> identity;
  object->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(identity.GetAddressOf()));
  return identity;
}

}  // namespace

EventLink::EventLink(IDispatch* target, std::wstring prefix) : target_(target), prefix_(std::move(prefix)) {}

ComPtr<EventLink> EventLink::Connect(IDispatch* source, IDispatch* target, std::wstring prefix) {
  ComPtr<IProvideClassInfo2> provider;
  Require(
      source->QueryInterface(__uuidof(IProvideClassInfo2), reinterpret_cast<void**>(provider.GetAddressOf())),
      L"the object does not tell its class (IProvideClassInfo2)");
  ComPtr<ITypeInfo> ofClass;
  Require(provider->GetClassInfo(&ofClass), L"the object has no class information");
  IID eventsId{};
  Require(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &eventsId),
          L"the object does not name its events");
  ComPtr<IConnectionPointContainer> container;
  Require(source->QueryInterface(__uuidof(IConnectionPointContainer),
                                 reinterpret_cast<void**>(container.GetAddressOf())),
          L"the object has no connection points");

  ComPtr<EventLink> link;
  link.Attach(new EventLink(target, std::move(prefix)));
  link->ReadEvents(DefaultEvents(ofClass.Get()).Get());
  Require(container->FindConnectionPoint(eventsId, &link->point_),
          L"the object has no connection point for the events that it names");
  Require(link->point_->Advise(link.Get(), &link->cookie_), L"the object refuses the sink");
  link->source_ = IdentityOf(source);
  return link;
}

void EventLink::ReadEvents(ITypeInfo* events) {
  TYPEATTR* attributes = nullptr;
  Require(events->GetTypeAttr(&attributes), L"the event interface cannot be read");
  const UINT count = attributes->cFuncs;
  events->ReleaseTypeAttr(attributes);
  for (UINT index = 0; index < count; ++index) {
    FUNCDESC* function = nullptr;
    Require(events->GetFuncDesc(index, &function), L"an event cannot be read");
    const MEMBERID id = function->memid;
    events->ReleaseFuncDesc(function);
    BSTR name = nullptr;
    UINT found = 0;
    if (SUCCEEDED(events->GetNames(id, &name, 1, &found)) && found == 1) names_[id] = TextOf(name);
    SysFreeString(name);
  }
}

void EventLink::Disconnect() {
  if (point_ != nullptr) point_->Unadvise(cookie_);
  point_.Reset();
  source_.Reset();
  target_.Reset();
}

bool EventLink::IsOf(IDispatch* source) const {
  return source_ != nullptr && source_ == IdentityOf(source);
}

HRESULT STDMETHODCALLTYPE EventLink::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE EventLink::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** info) {
  if (info != nullptr) *info = nullptr;
  return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE EventLink::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* /*names*/, UINT count,
                                                   LCID /*locale*/, DISPID* ids) {
  for (UINT index = 0; ids != nullptr && index < count; ++index)
    ids[index] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT STDMETHODCALLTYPE EventLink::Invoke(DISPID id, REFIID /*iid*/, LCID locale, WORD /*flags*/,
                                            DISPPARAMS* params, VARIANT* result, EXCEPINFO* failure,
                                            UINT* argument) {
  const auto name = names_.find(id);
  if (name == names_.end()) return DISP_E_MEMBERNOTFOUND;
  if (target_ == nullptr) return S_OK;
  const ComPtr<EventLink> self(this);  // the function may disconnect
  const ComPtr<IDispatch> target = target_;
  std::wstring function = prefix_ + name->second;

  DISPID member = DISPID_UNKNOWN;
  // Objects of VBScript classes answer to names through IDispatchEx only.
  ComPtr<IDispatchEx> extended;
  if (SUCCEEDED(
          target->QueryInterface(__uuidof(IDispatchEx), reinterpret_cast<void**>(extended.GetAddressOf())))) {
    BSTR text = SysAllocString(function.c_str());
    const HRESULT found = extended->GetDispID(text, fdexNameCaseInsensitive, &member);
    SysFreeString(text);
    if (FAILED(found)) return S_OK;
    return extended->InvokeEx(member, locale, DISPATCH_METHOD, params, result, failure, nullptr);
  }
  LPOLESTR names[] = {function.data()};
  if (FAILED(target->GetIDsOfNames(IID_NULL, names, 1, locale, &member))) return S_OK;
  return target->Invoke(member, IID_NULL, locale, DISPATCH_METHOD, params, result, failure, argument);
}

}  // namespace orvo::testing
