#include "spooler/DriverRegistry.h"

#include "errors/AutomationError.h"
#include "values/Text.h"

#include <utility>

namespace orvo {

void DriverRegistry::Register(const std::string& ProgId, Factory factory) {
  factories_.insert_or_assign(FoldCase(ProgId), std::move(factory));
}

void DriverRegistry::SetFallback(Fallback fallback) {
  fallback_ = std::move(fallback);
}

std::shared_ptr<CommunicationDriver> DriverRegistry::Create(const std::string& ProgId, DriverHost host) const {
  std::shared_ptr<CommunicationDriver> driver;
  if (const auto found = factories_.find(FoldCase(ProgId)); found != factories_.end())
    driver = found->second(host);
  else if (fallback_)
    driver = fallback_(ProgId, host);
  if (!driver)
    RaiseRuntimeError(RuntimeError::CannotCreateObject, "no driver is registered as '" + ProgId + "'");
  return driver;
}

}  // namespace orvo
