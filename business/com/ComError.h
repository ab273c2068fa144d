// Failures on their way across the boundary.
//
// Outward: every exception of the core becomes an HRESULT with error information (number, description, source).
// Numbers of the system's table are HRESULTs as they stand; the classic run-time numbers n travel as 0x800A0000
// + n. Inward: the failure of a foreign object becomes an AutomationError with the number and the text that
// came.
#pragma once

#include "com/Automation.h"
#include "errors/AutomationError.h"

#include <string_view>

namespace orvo::com {

HRESULT ResultOf(std::int32_t number) noexcept;
std::int32_t NumberOf(HRESULT result) noexcept;

// Leaves error information for the caller of the present call and returns `result`.
HRESULT Report(HRESULT result, std::string_view description, std::string_view source, REFIID iid) noexcept;
// The same for the exception being handled; call it inside a catch block only.
HRESULT ReportCaught(std::string_view source, REFIID iid) noexcept;

// Raises a failed HRESULT of the boundary's own, for example E_INVALIDARG, with a text.
[[noreturn]] void RaiseResult(HRESULT result, std::string_view description);
// Raises the failure of a call into a foreign object, with the error information that it left.
[[noreturn]] void RaiseForeign(HRESULT result);
// The same for a call by name, with what it filled in; frees the strings of `info`.
[[noreturn]] void RaiseForeign(HRESULT result, EXCEPINFO& info);
inline void Require(HRESULT result) {
  if (FAILED(result)) RaiseForeign(result);
}

}  // namespace orvo::com
