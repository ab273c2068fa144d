#include "com/KELDataGroupsFacade.h"

#include "com/Arguments.h"
#include "com/CollectionEnumerator.h"

namespace orvo::com {

KELDataGroupsFacade::KELDataGroupsFacade(std::shared_ptr<orvo::KELDataGroups> core)
    : Facade(std::move(core), CLSID_KELDataGroups, "ORVOBusiness.KELDataGroups"), tick_(*this) {}

void* KELDataGroupsFacade::OtherFace(REFIID iid) {
  if (iid == __uuidof(::_IExecuteTimerTick)) return static_cast<::_IExecuteTimerTick*>(&tick_);
  return Facade::OtherFace(iid);
}

HRESULT KELDataGroupsFacade::get_Parent(_KELDataServer** Result) {
  return Answer(Result, [&] { return Object()->Parent(); });
}

HRESULT KELDataGroupsFacade::get_Count(LONG* Result) {
  return Answer(Result, [&] { return Object()->Count(); });
}

HRESULT KELDataGroupsFacade::Item(LONG* Handle, _KELDataGroup** Result) {
  return Answer(Result, [&] { return Object()->Item(Referred(Handle)); });
}

HRESULT KELDataGroupsFacade::ItemByName(BSTR* GroupName, _KELDataGroup** Result) {
  return Answer(Result, [&] { return Object()->ItemByName(TextOf(Referred(GroupName))); });
}

HRESULT KELDataGroupsFacade::Add(VARIANT GroupName, _KELDataGroup** Result) {
  return Answer(Result, [&] { return Object()->Add(OptionalValue(GroupName)); });
}

HRESULT KELDataGroupsFacade::Remove(LONG* Handle) {
  return Call([&] { Object()->Remove(Referred(Handle)); });
}

HRESULT KELDataGroupsFacade::RemoveByName(BSTR* GroupName) {
  return Call([&] { Object()->RemoveByName(TextOf(Referred(GroupName))); });
}

HRESULT KELDataGroupsFacade::RemoveAll() {
  return Call([&] { Object()->RemoveAll(); });
}

HRESULT KELDataGroupsFacade::get_NewEnum(IUnknown** Result) {
  return Answer(Result, [&] { return EnumeratorOver(Object()->NewEnum()); });
}

HRESULT KELDataGroupsFacade::Execute(LONG* lTimerId) noexcept {
  return Call([&] {
    std::int32_t timerId = Referred(lTimerId);
    Object()->Execute(timerId);
  });
}

HRESULT KELDataGroupsFacade::TickInfo(ITypeInfo** result) noexcept {
  return Call([&] {
    *result = ComPtr<ITypeInfo>(Home().Types().Interface(__uuidof(::_IExecuteTimerTick)).TypeInfo()).Detach();
  });
}

HRESULT KELDataGroupsFacade::InvokeTick(IDispatch* face, DISPID id, LCID locale, WORD flags,
                                        DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* failure,
                                        UINT* argument) noexcept {
  return Call([&] {
    const InterfaceInfo& info = Home().Types().Interface(__uuidof(::_IExecuteTimerTick));
    return CallByName(face, info, id, locale, flags, arguments, result, failure, argument);
  });
}

}  // namespace orvo::com
