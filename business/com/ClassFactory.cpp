#include "com/ClassFactory.h"

#include "com/ComError.h"

namespace orvo::com {

HRESULT ClassFactory::QueryInterface(REFIID iid, void** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IClassFactory)) return E_NOINTERFACE;
  *result = static_cast<IClassFactory*>(this);
  AddRef();
  return S_OK;
}

ULONG ClassFactory::AddRef() {
  return ++references_;
}

ULONG ClassFactory::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  try {
    const ComPtr<IUnknown> object = make_();
    return object->QueryInterface(iid, result);
  } catch (...) {
    return ReportCaught("ORVOBusiness", __uuidof(IClassFactory));
  }
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock != FALSE)
    ModuleCount::Add();
  else
    ModuleCount::Remove();
  return S_OK;
}

}  // namespace orvo::com
