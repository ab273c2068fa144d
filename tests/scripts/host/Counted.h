// Reference counting and identity of a small automation object with one interface. Starts with one reference,
// for the ComPtr that attaches it; used on one thread only.
#pragma once

#include <unknwn.h>

namespace orvo::testing {

template <class Interface>
class Counted : public Interface {
 public:
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(iid, __uuidof(IUnknown)) && !IsEqualIID(iid, __uuidof(Interface))) return E_NOINTERFACE;
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  Counted() = default;
  virtual ~Counted() = default;

 private:
  ULONG references_ = 1;
};

}  // namespace orvo::testing
