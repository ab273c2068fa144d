// A type library as text: complete, stable, one line per member, so that two libraries can be compared line by
// line.
//
//   interface _KELDataGroups
//     guid {70F2534D-...}
//     flags hidden dual nonextensible oleautomation dispatchable
//     base IDispatch
//     helpstring "The groups of a server, ..."
//     9 method Item id 0 ([in] long* Handle, [out, retval] _KELDataGroup** Result) "The group with this handle"
//
// A member starts with its slot in the vtable (7 is the first behind IDispatch): the text is the same for 32
// and 64 bits.
#pragma once

#include <string>

struct ITypeLib;

namespace orvo {

// Lines end in LF, text is UTF-8. Throws std::runtime_error, with what failed and the HRESULT.
std::string TypeLibraryText(ITypeLib* library);

}  // namespace orvo
