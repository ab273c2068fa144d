// Receives the events of a group.
#pragma once

#include "Automation.h"
#include "ORVOBusiness_h.h"

#include <cstdio>

namespace sample {

// An event is a call of Invoke with the event's number; the arguments stand in reverse order.
class GroupEvents : public IDispatch {
 public:
  int Changes() const { return changes_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (id != __uuidof(IUnknown) && id != __uuidof(IDispatch) && id != __uuidof(__KELDataGroup))
      return E_NOINTERFACE;
    *result = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  // It lives on the stack of its user, who ends the connection first: references need not be counted.
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                                   EXCEPINFO*, UINT*) override {
    constexpr DISPID DataChange = 1;
    constexpr DISPID AsyncWriteComplete = 5;
    if (event == DataChange && parameters->cArgs == 2) {
      OnDataChange(*parameters->rgvarg[1].pparray, *parameters->rgvarg[0].pparray);
    } else if (event == AsyncWriteComplete && parameters->cArgs == 3) {
      std::printf("  AsyncWriteComplete: transaction %ld\n", parameters->rgvarg[2].lVal);
    }
    return S_OK;
  }

 private:
  void OnDataChange(SAFEARRAY* handles, SAFEARRAY* values) {
    ++changes_;
    std::printf("  DataChange:");
    for (long k = LowerBound(handles); k <= UpperBound(handles); ++k)
      std::printf("  item %ld = %ls", NumberAt(handles, k), DisplayAt(values, k).c_str());
    std::printf("\n");
  }

  int changes_ = 0;
};

// From here to the end of the scope the group's events arrive in `sink`.
class Connection {
 public:
  Connection(IUnknown* group, IDispatch* sink) {
    Pointer<IConnectionPointContainer> container;
    Check(
        group->QueryInterface(__uuidof(IConnectionPointContainer), reinterpret_cast<void**>(container.Put())));
    Check(container->FindConnectionPoint(__uuidof(__KELDataGroup), point_.Put()));
    Check(point_->Advise(sink, &cookie_));
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { point_->Unadvise(cookie_); }

 private:
  Pointer<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

}  // namespace sample
