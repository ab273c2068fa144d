#include "com/FacadeIdentity.h"

#include "com/DataRequestFacade.h"
#include "com/DataRequestsFacade.h"
#include "com/KELDataGroupFacade.h"
#include "com/KELDataGroupsFacade.h"
#include "com/KELDataItemFacade.h"
#include "com/KELDataItemsFacade.h"
#include "com/KELDataServerFacade.h"

namespace orvo::com {

namespace {

// Makes the facade if the object is of class Core.
template <class FacadeClass, class Core>
bool Make(const std::shared_ptr<AutomationObject>& object, ComPtr<IUnknown>& facade) {
  std::shared_ptr<Core> core = std::dynamic_pointer_cast<Core>(object);
  if (!core) return false;
  auto* made = new FacadeClass(std::move(core));
  facade = ComPtr<IUnknown>(static_cast<IFacade*>(made));
  return true;
}

}  // namespace

std::shared_ptr<AutomationObject> OwnObject(IUnknown* object) {
  if (object == nullptr) return nullptr;
  ComPtr<IFacade> facade;
  if (FAILED(object->QueryInterface(__uuidof(IFacade), facade.PutVoid())) || !facade) return nullptr;
  return facade->CoreObject();
}

ComPtr<IUnknown> FacadeOfAny(const std::shared_ptr<AutomationObject>& object) {
  if (!object) return nullptr;
  auto* const facade = static_cast<IFacade*>(object->Facade());
  if (facade != nullptr && facade->TryHold()) return ComPtr<IUnknown>::Adopt(facade);
  ComPtr<IUnknown> made;
  Make<KELDataItemFacade, orvo::KELDataItem>(object, made) ||
      Make<KELDataGroupFacade, orvo::KELDataGroup>(object, made) ||
      Make<DataRequestFacade, orvo::DataRequest>(object, made) ||
      Make<KELDataItemsFacade, orvo::KELDataItems>(object, made) ||
      Make<KELDataGroupsFacade, orvo::KELDataGroups>(object, made) ||
      Make<KELDataServerFacade, orvo::KELDataServer>(object, made) ||
      Make<DataRequestsFacade, orvo::DataRequests>(object, made);
  return made;
}

}  // namespace orvo::com
