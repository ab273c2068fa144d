// Calls by name, and what a call answered as one line of text.
//
// A call that succeeded is written as its result ("I4:5", "Empty" for none). One that failed is written as
// number, description and source: `80040006 "Invalid Handle: 9" ORVOBusiness.KELDataGroups`; a call by name
// that was refused before it reached the object as `80020005 argument 1`, counted from the left.
#pragma once

#include "boundary/Value.h"

#include <string>
#include <vector>

namespace orvo::testing {

inline constexpr WORD Get = DISPATCH_PROPERTYGET;
inline constexpr WORD Method = DISPATCH_METHOD;
inline constexpr WORD Set = DISPATCH_PROPERTYPUT;
inline constexpr WORD SetObject = DISPATCH_PROPERTYPUTREF;

// The member that a call without a name means.
inline constexpr DISPID DefaultMember = DISPID_VALUE;

// What a call by name answered.
struct Reply {
  HRESULT result = S_OK;
  Value value;
  std::string text;
};

DISPID IdOf(IDispatch* object, const wchar_t* name);
// Arguments in declared order.
Reply Invoke(IDispatch* object, DISPID id, WORD flags, const std::vector<Value>& arguments = {});
Reply Invoke(IDispatch* object, const wchar_t* name, WORD flags, const std::vector<Value>& arguments = {});
// With all that Invoke takes; arguments of `given` in their own (reversed) order.
Reply InvokeRaw(IDispatch* object, DISPID id, WORD flags, DISPPARAMS given, LCID locale = 0);

// The answer of a slot: its result, or the error with the information it left.
std::string SlotText(HRESULT result, const Value& value);
std::string SlotText(HRESULT result);

template <class Interface>
IDispatch* Dispatch(const ComPtr<Interface>& object) {
  return static_cast<IDispatch*>(object.Get());
}

}  // namespace orvo::testing
