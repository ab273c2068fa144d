// Calls of a foreign object by its slots: what failed is raised with the number and the text that the object
// left.
#pragma once

#include "com/Bstr.h"
#include "com/ComError.h"
#include "com/ComPtr.h"

#include <oaidl.h>

#include <string>
#include <utility>

namespace orvo::com {

// The object is held for the length of the call: its owner may let go of it inside. Answers the object's own
// success code.
template <class Interface, class... Declared, class... Given>
HRESULT TrySlot(const ComPtr<Interface>& object, HRESULT (STDMETHODCALLTYPE Interface::*slot)(Declared...),
                Given&&... given) {
  const ComPtr<Interface> held = object;
  // What an earlier failure left behind is no text for this one.
  SetErrorInfo(0, nullptr);
  return (held.Get()->*slot)(std::forward<Given>(given)...);
}

template <class Interface, class... Declared, class... Given>
void CallSlot(const ComPtr<Interface>& object, HRESULT (STDMETHODCALLTYPE Interface::*slot)(Declared...),
              Given&&... given) {
  Require(TrySlot(object, slot, std::forward<Given>(given)...));
}

// Questions: a number (an automation boolean is a 16-bit one), a text.
template <class Interface, class Result>
Result AskSlot(const ComPtr<Interface>& object, HRESULT (STDMETHODCALLTYPE Interface::*slot)(Result*)) {
  Result result{};
  CallSlot(object, slot, &result);
  return result;
}
template <class Interface>
std::string AskSlot(const ComPtr<Interface>& object, HRESULT (STDMETHODCALLTYPE Interface::*slot)(BSTR*)) {
  Bstr result;
  CallSlot(object, slot, result.Put());
  return result.Text();
}

}  // namespace orvo::com
