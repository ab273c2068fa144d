// The argument list of a call by name, as the called member declares it.
#pragma once

#include "com/ArrayArgument.h"
#include "com/InterfaceInfo.h"
#include "com/SafeArrayAccess.h"

#include <vector>

namespace orvo::com {

class ArgumentList {
 public:
  // `given` outlives the list.
  ArgumentList(DISPPARAMS& given, const Member& member, LCID locale)
      : given_(given), member_(member), locale_(locale) {}

  // Brings the arguments into declared order and form. On failure `argument` (may be null) is the index of the
  // offending one in the caller's list.
  HRESULT Prepare(UINT* argument);
  // Calls the member; `answer` gets its result, `returned` the HRESULT as a 32-bit integer.
  HRESULT Call(IDispatch* object, const Member& member, VARIANT* answer, VARIANT* returned);
  // Hands the [in, out] arguments to the caller.
  HRESULT GiveBack(UINT* argument);

 private:
  struct Slot {
    const Parameter* declared = nullptr;
    VARIANT* given = nullptr;  // null when the caller left it out
    UINT index = 0;            // of `given` in the caller's list
    OwnedVariant value;        // the converted value
    ArrayArgument array;
    VARIANT* variable = nullptr;  // the caller's variable that gets the new value
    bool direct = false;          // the caller's own storage is passed
    VARIANT before{};             // what a variant passed by reference held, bit by bit
    VARIANT passed{};             // what the member is called with
  };

  HRESULT Assign(UINT* argument);
  HRESULT PrepareSlot(Slot& slot);
  HRESULT PrepareVariant(Slot& slot);
  HRESULT PrepareScalar(Slot& slot);
  static HRESULT GiveBackSlot(Slot& slot, LCID locale);

  DISPPARAMS& given_;
  const Member& member_;
  const LCID locale_;
  std::vector<Slot>
      slots_;  // one per declared parameter, in declared order; they refer to each other: never grown
};

}  // namespace orvo::com
