#include "com/TimerTickFace.h"

#include "com/KELDataGroupsFacade.h"

namespace orvo::com {

HRESULT TimerTickFace::QueryInterface(REFIID iid, void** result) {
  return owner_.QueryInterface(iid, result);
}

ULONG TimerTickFace::AddRef() {
  return owner_.AddRef();
}

ULONG TimerTickFace::Release() {
  return owner_.Release();
}

HRESULT TimerTickFace::GetTypeInfoCount(UINT* count) {
  return owner_.GetTypeInfoCount(count);
}

HRESULT TimerTickFace::GetTypeInfo(UINT number, LCID, ITypeInfo** result) {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  return number == 0 ? owner_.TickInfo(result) : DISP_E_BADINDEX;
}

HRESULT TimerTickFace::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr) return E_POINTER;
  ComPtr<ITypeInfo> info;
  const HRESULT failed = owner_.TickInfo(info.Put());
  return FAILED(failed) ? failed : DispGetIDsOfNames(info.Get(), names, count, ids);
}

HRESULT TimerTickFace::Invoke(DISPID id, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                              VARIANT* result, EXCEPINFO* failure, UINT* argument) {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  return owner_.InvokeTick(this, id, locale, flags, arguments, result, failure, argument);
}

HRESULT TimerTickFace::Execute(LONG* lTimerId) {
  return owner_.Execute(lTimerId);
}

}  // namespace orvo::com
