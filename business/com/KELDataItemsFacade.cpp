#include "com/KELDataItemsFacade.h"

#include "com/Arguments.h"
#include "com/CollectionEnumerator.h"
#include "model/KELDataGroup.h"

namespace orvo::com {

KELDataItemsFacade::KELDataItemsFacade(std::shared_ptr<orvo::KELDataItems> core)
    : Facade(std::move(core), CLSID_KELDataItems, "ORVOBusiness.KELDataItems") {}

HRESULT KELDataItemsFacade::get_Parent(_KELDataGroup** Result) {
  return Answer(Result, [&] { return Object()->Parent(); });
}

HRESULT KELDataItemsFacade::get_Count(LONG* Result) {
  return Answer(Result, [&] { return Object()->Count(); });
}

HRESULT KELDataItemsFacade::Item(LONG* Handle, _KELDataItem** Result) {
  return Answer(Result, [&] { return Object()->Item(Referred(Handle)); });
}

HRESULT KELDataItemsFacade::ItemByName(BSTR* ItemName, _KELDataItem** Result) {
  return Answer(Result, [&] { return Object()->ItemByName(TextOf(Referred(ItemName))); });
}

HRESULT KELDataItemsFacade::Add(BSTR* ItemId, VARIANT ItemName, _KELDataItem** Result) {
  return Answer(Result, [&] { return Object()->Add(TextOf(Referred(ItemId)), OptionalValue(ItemName)); });
}

HRESULT KELDataItemsFacade::AddCompiled(BSTR* ItemName, _KELDataItem** Result) {
  return Answer(Result, [&] { return Object()->AddCompiled(TextOf(Referred(ItemName))); });
}

HRESULT KELDataItemsFacade::Remove(LONG* Handle) {
  return Call([&] { Object()->Remove(Referred(Handle)); });
}

HRESULT KELDataItemsFacade::RemoveByName(BSTR* ItemName) {
  return Call([&] { Object()->RemoveByName(TextOf(Referred(ItemName))); });
}

HRESULT KELDataItemsFacade::RemoveAll() {
  return Call([&] { Object()->RemoveAll(); });
}

HRESULT KELDataItemsFacade::get_NewEnum(IUnknown** Result) {
  return Answer(Result, [&] { return EnumeratorOver(Object()->NewEnum()); });
}

}  // namespace orvo::com
