// What a client does with a server: configure, open, read, take events, close.
#pragma once

#include "Library.h"
#include "ORVOBusiness_h.h"

#include <string>

namespace orvo::testing {

// A sink for a group's events that counts them.
class CountingSink final : public IDispatch {
 public:
  int AsyncReads() const noexcept { return asyncReads_; }

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override;

 private:
  virtual ~CountingSink() = default;
  ULONG references_ = 0;
  int asyncReads_ = 0;
};

// Driver, device type, a group with an item: communication can be opened then.
com::ComPtr<_KELDataGroup> Configure(_KELDataServer& server, const std::wstring& driverFile);

// Opens, reads synchronously, reads asynchronously until the event has come, writes, closes.
void Exchange(_KELDataServer& server, _KELDataGroup& group);

}  // namespace orvo::testing
