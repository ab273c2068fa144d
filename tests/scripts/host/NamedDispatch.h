// An object for scripts that is made of named functions: IDispatch without a type library. Names compare
// without case. A function may be called as a method or read as a property; a failure that it throws
// (HostError) reaches the script with its text.
#pragma once

#include "Counted.h"
#include "Value.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {

// The arguments of one call in the order in which they were written.
class Arguments {
 public:
  explicit Arguments(const DISPPARAMS& params) noexcept : params_(params) {}

  std::size_t Size() const noexcept { return params_.cArgs; }
  // Throws HostError when there are not so many arguments.
  const VARIANT& At(std::size_t index) const;
  IDispatch* ObjectAt(std::size_t index, const wchar_t* what) const;

 private:
  const DISPPARAMS& params_;
};

class NamedDispatch : public Counted<IDispatch> {
 public:
  // Fills the result, which is empty at first.
  using Function = std::function<void(const Arguments& arguments, VARIANT& result)>;

  explicit NamedDispatch(std::wstring name) : name_(std::move(name)) {}

  // The first function added is the default member.
  void Add(std::wstring name, Function function);

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* failure, UINT* argument) override;

 private:
  std::wstring name_;
  std::vector<std::pair<std::wstring, Function>> functions_;  // the identifier is the index
};

}  // namespace orvo::testing
