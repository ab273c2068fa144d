// Connects the functions of a script to the events of an object, by name: the event DataChange calls the
// function prefix + "DataChange". An event without a function is ignored.
//
// The link is the sink of the connection. It offers plain IDispatch only, as a script does: the source then
// passes arrays in the form that scripts can use.
#pragma once

#include "Counted.h"

#include <ocidl.h>
#include <wrl/client.h>

#include <map>
#include <string>

namespace orvo::testing {

class EventLink : public Counted<IDispatch> {
 public:
  // Advises `source` on its default event interface, which it names by IProvideClassInfo2; throws HostError
  // with what is missing. `target` is any object of the script; the functions are looked up at each event.
  static Microsoft::WRL::ComPtr<EventLink> Connect(IDispatch* source, IDispatch* target, std::wstring prefix);

  // Withdraws the sink. Later events go nowhere, also when the source still knows the link.
  void Disconnect();
  bool IsOf(IDispatch* source) const;

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* failure, UINT* argument) override;

 private:
  EventLink(IDispatch* target, std::wstring prefix);
  // Reads the names of the events, and which interface they belong to.
  void ReadEvents(ITypeInfo* events);

  Microsoft::WRL::ComPtr<IDispatch> target_;
  std::wstring prefix_;
  std::map<DISPID, std::wstring> names_;
  Microsoft::WRL::ComPtr<IUnknown> source_;
  Microsoft::WRL::ComPtr<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

}  // namespace orvo::testing
