// A call by name of one of our own members: the caller's argument list is made into what the type library
// declares, the member is called by its place in the vtable, and what it wrote goes back to the caller.
//
// The list is normalised on a copy; a failure while that is done has changed nothing. A caller's variable is
// given the new value of an [in, out] argument after success only, and not when the member answers S_FALSE
// ("nothing done").
#pragma once

#include "com/Automation.h"
#include "com/InterfaceInfo.h"

namespace orvo::com {

// `object` is the dual interface that `info` describes. Result and EXCEPINFO as IDispatch::Invoke defines them.
HRESULT CallByName(IDispatch* object, const InterfaceInfo& info, DISPID id, LCID locale, WORD flags,
                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* failure, UINT* argument);

}  // namespace orvo::com
