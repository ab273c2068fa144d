// Which object stands for which: from a core object to its facade, and from a facade back to the core object.
#pragma once

#include "com/ComPtr.h"
#include "values/AutomationObject.h"

#include <memory>

namespace orvo::com {

// Offered by every facade of this module and by nothing else; never leaves the process.
MIDL_INTERFACE("64df3710-7d24-4780-9ba4-47998269f657")
IFacade : public IUnknown {
  // The core object behind the facade; null when it has ended.
  // Only on the thread to which it belongs: elsewhere it counts as a foreign object.
  virtual std::shared_ptr<AutomationObject> CoreObject() = 0;
  // Takes a reference unless the last one has gone: then the facade is on its way out.
  virtual bool TryHold() noexcept = 0;
};

// The core object behind an interface pointer of ours, or null for a foreign object.
std::shared_ptr<AutomationObject> OwnObject(IUnknown* object);

// The facade of a core object: the one that a client holds already, or a new one. Null for null and for an
// object that has no facade class.
ComPtr<IUnknown> FacadeOfAny(const std::shared_ptr<AutomationObject>& object);

}  // namespace orvo::com

#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(orvo::com::IFacade, 0x64df3710, 0x7d24, 0x4780, 0x9b, 0xa4, 0x47, 0x99, 0x82, 0x69, 0xf6, 0x57)
#endif
