// Makes the objects of one creatable class.
#pragma once

#include "com/ComPtr.h"
#include "com/ModuleCount.h"

#include <atomic>

namespace orvo::com {

class ClassFactory final : public IClassFactory {
 public:
  using Make = ComPtr<IUnknown> (*)();

  explicit ClassFactory(Make make) : make_(make) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;
  // Aggregation is refused.
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** result) override;
  STDMETHODIMP LockServer(BOOL lock) override;

 private:
  virtual ~ClassFactory() = default;

  ModuleLock lock_;
  const Make make_;
  std::atomic<ULONG> references_{0};
};

}  // namespace orvo::com
