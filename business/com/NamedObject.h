// Calls of a foreign object by the names of its members.
//
// Names are looked up once. Arrays are passed by value as arrays of variants, at any depth, and variables as
// references to variants: that is what every script can use. An object that refuses these (a member with
// declared types, late bound) is called again with typed arrays and typed variables by reference. Errors: 438
// with the member's name for a member that the object has not got, 13 and 450 for arguments that it refuses,
// the object's own number and text for what it raises.
#pragma once

#include "com/ComPtr.h"
#include "com/SafeArrayAccess.h"
#include "values/Variant.h"

#include <oaidl.h>

#include <functional>
#include <map>
#include <memory>
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
    struct Argument {
      Variant value;
      ComPtr<IDispatch> object;
      bool isObject = false;
      VARIANT* variable = nullptr;
    };
    std::vector<Argument> list_;
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
  struct Member {
    DISPID id = DISPID_UNKNOWN;
    bool typed = false;  // it wants arguments of its declared types
  };
  // By name. Held by a call: the owner of this object may let go of it inside.
  using Members = std::map<std::wstring, Member, std::less<>>;
  class Call;

  Member& Find(const wchar_t* name);
  void Invoke(const wchar_t* name, WORD flags, const Arguments& arguments, VARIANT* result);
  [[noreturn]] static void RaiseBadAnswer(const wchar_t* name, const AutomationError& error);

  const ComPtr<IDispatch> object_;
  const std::shared_ptr<Members> members_ = std::make_shared<Members>();
};

}  // namespace orvo::com
