// A COM driver that offers dispatch only, and its device: what a script makes.
#pragma once

#include "boundary/drivers/Recorder.h"

#include <set>
#include <string>
#include <vector>

namespace orvo::testing {

class NameRecorder final : public IDispatch {
 public:
  explicit NameRecorder(std::shared_ptr<Recorder> recorder) : recorder_(std::move(recorder)) {}

  // Members that it has not got.
  std::set<std::string> missing;
  // Takes arrays and changed variables by reference only, as members with declared types do.
  bool typed = false;
  // How often names were looked up.
  int lookups = 0;

  STDMETHODIMP QueryInterface(REFIID iid, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  // A property takes its get and put flags, a method the method flag.
  STDMETHODIMP Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                      EXCEPINFO* failure, UINT* argument) override;

 private:
  static bool IsTyped(const DISPPARAMS& arguments);
  void Take(const std::string& name, DISPPARAMS& arguments);
  void PutAnswer(const std::string& name, VARIANT* result);

  const std::shared_ptr<Recorder> recorder_;
  std::vector<std::string> names_;  // by identifier
  ULONG references_ = 0;
};

}  // namespace orvo::testing
