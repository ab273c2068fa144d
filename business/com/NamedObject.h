// Calls of a foreign object by the names of its members.
//
// Names are looked up once. Arrays are passed by value as arrays of variants, at any depth: every language can
// index those. Errors: 438 with the member's name for a member that the object has not got, the object's own
// number and text for what it raises.
#pragma once

#include "com/ComPtr.h"
#include "com/SafeArrayAccess.h"
#include "values/Variant.h"

#include <oaidl.h>

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orvo::com {

class NamedObject {
 public:
  // The arguments of one call, in declared order.
  class Arguments {
   public:
    Arguments& Add(const Variant& value);
    // Null is passed as Nothing.
    Arguments& Add(const ComPtr<IDispatch>& object);
    // The called member may change `variable`, which outlives the call.
    Arguments& AddReference(VARIANT& variable);

   private:
    friend class NamedObject;
    VARIANT& Append();

    std::deque<OwnedVariant> owned_;
    std::vector<VARIANT> passed_;
  };

  explicit NamedObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  // Asked each time until the object has got the member.
  bool Has(const wchar_t* name);
  void Do(const wchar_t* name, const Arguments& arguments = {});
  // A function or a property; `result` is empty before.
  void Ask(const wchar_t* name, const Arguments& arguments, VARIANT* result);
  Variant Ask(const wchar_t* name, const Arguments& arguments = {});
  void Put(const wchar_t* name, const Variant& value);

  // `convert` of the answer; a failure of it names the member.
  template <class Convert>
  auto AskAs(Convert convert, const wchar_t* name, const Arguments& arguments = {}) {
    const Variant answer = Ask(name, arguments);
    try {
      return convert(answer);
    } catch (const AutomationError& error) {
      RaiseBadAnswer(name, error);
    }
  }

 private:
  DISPID IdOf(const wchar_t* name);
  void Invoke(const wchar_t* name, WORD flags, const Arguments& arguments, VARIANT* result);
  [[noreturn]] static void RaiseBadAnswer(const wchar_t* name, const AutomationError& error);

  const ComPtr<IDispatch> object_;
  std::map<std::wstring, DISPID, std::less<>> ids_;
};

}  // namespace orvo::com
