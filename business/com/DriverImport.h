// COM drivers as drivers of the core.
//
// A driver that offers ICommunicationDriver is called by its slots, one that offers dispatch only by the same
// names. Failures arrive with the driver's own number and text.
#pragma once

#include "com/Automation.h"
#include "com/ComPtr.h"
#include "spooler/CommunicationDriver.h"
#include "spooler/DriverRegistry.h"

#include <memory>
#include <string>

namespace orvo::com {

// The driver behind a COM object; null for null. Error 438 for an object that offers neither interface.
std::shared_ptr<CommunicationDriver> ImportDriver(const ComPtr<IUnknown>& object);

// A new driver from its programmatic identifier; null when no class is registered under it. Error 429, with a
// text that names the identifier and the reason, when the class cannot be created.
std::shared_ptr<CommunicationDriver> CreateComDriver(const std::string& progId, DriverHost host);

}  // namespace orvo::com
