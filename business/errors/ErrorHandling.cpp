#include "errors/ErrorHandling.h"

namespace orvo {

std::string InternalErrorDetail(const AutomationError& caught, std::string_view trace) {
  std::string detail = std::to_string(caught.Number());
  // kept: the trace has no closing parenthesis; support tools split it at its fixed openings.
  detail.append(":").append(caught.Description()).append("\r\n").append(trace);
  return detail;
}

void RaiseTraced(const AutomationError& caught, std::string_view trace, OwnErrors own) {
  if (own == OwnErrors::PassThrough && FindDataError(caught.Number()) != nullptr) throw caught;
  RaiseDataError(errInternal, InternalErrorDetail(caught, trace));
}

}  // namespace orvo
