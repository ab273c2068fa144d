// What a fuzz target sees of the double: the member that is called, an object as scripts make them, and what is
// alive.
#pragma once

#include <AutomationTypes.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvo::fuzz {

// What a call through the vtable reaches: types and values as they are passed; answers the member's HRESULT.
using CalledMember =
    std::function<HRESULT(const std::vector<VARTYPE>& types, const std::vector<VARIANT*>& values)>;
void SetCalledMember(CalledMember member);

// Strings, arrays and script objects that are alive.
std::int64_t AutomationBlocks() noexcept;

// An array as a script makes it: named values, "length" among them.
class ScriptArrayDouble final : public IDispatchEx {
 public:
  // Elements of which the content is copied. Whether it can be extended by names that it does not have yet.
  ScriptArrayDouble(std::vector<VARIANT>& elements, bool isExtended);
  virtual ~ScriptArrayDouble();

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override;
  HRESULT Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* failure, UINT* argument) override;
  HRESULT GetDispID(BSTR name, DWORD flags, DISPID* id) override;

  std::map<std::wstring, VARIANT>& Values() noexcept { return values_; }

 private:
  ULONG references_ = 1;
  const bool isExtended_;
  std::map<std::wstring, VARIANT> values_;
  std::vector<std::wstring> names_;  // by DISPID - 1
};

}  // namespace orvo::fuzz
