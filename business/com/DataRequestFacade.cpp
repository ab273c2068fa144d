#include "com/DataRequestFacade.h"

#include "com/Arguments.h"
#include "model/KELDataGroup.h"

#include <cstring>

namespace orvo::com {

DataRequestFacade::DataRequestFacade(std::shared_ptr<orvo::DataRequest> core)
    : Facade(std::move(core), CLSID_DataRequest, "ORVOBusiness.DataRequest") {}

HRESULT DataRequestFacade::get_PriorReq(_DataRequest** Result) {
  return Answer(Result, [&] { return Object()->PriorReq(); });
}

HRESULT DataRequestFacade::putref_PriorReq(_DataRequest* NewValue) {
  return Call([&] { Object()->PutPriorReq(CoreOf<orvo::DataRequest>(NewValue)); });
}

HRESULT DataRequestFacade::get_NextReq(_DataRequest** Result) {
  return Answer(Result, [&] { return Object()->NextReq(); });
}

HRESULT DataRequestFacade::putref_NextReq(_DataRequest* NewValue) {
  return Call([&] { Object()->PutNextReq(CoreOf<orvo::DataRequest>(NewValue)); });
}

HRESULT DataRequestFacade::get_RequestType(::ReqType* Result) {
  return Answer(Result, [&] { return Object()->RequestType(); });
}

HRESULT DataRequestFacade::put_RequestType(::ReqType NewValue) {
  // Clients may send numbers that the enumeration does not have: the bits are taken as they are.
  std::int32_t number = 0;
  std::memcpy(&number, &NewValue, sizeof number);
  return Call([&] { Object()->PutRequestType(number); });
}

HRESULT DataRequestFacade::get_ReqGroup(_KELDataGroup** Result) {
  return Answer(Result, [&] { return std::dynamic_pointer_cast<orvo::KELDataGroup>(Object()->ReqGroup()); });
}

HRESULT DataRequestFacade::putref_ReqGroup(_KELDataGroup* NewValue) {
  return Call([&] { Object()->PutReqGroup(CoreOf<orvo::KELDataGroup>(NewValue)); });
}

HRESULT DataRequestFacade::get_ReqItem(_KELDataItem** Result) {
  return Answer(Result, [&] { return std::dynamic_pointer_cast<orvo::KELDataItem>(Object()->ReqItem()); });
}

HRESULT DataRequestFacade::putref_ReqItem(_KELDataItem* NewValue) {
  return Call([&] { Object()->PutReqItem(CoreOf<orvo::KELDataItem>(NewValue)); });
}

HRESULT DataRequestFacade::get_TransactionId(LONG* Result) {
  return Answer(Result, [&] { return Object()->TransactionId(); });
}

HRESULT DataRequestFacade::put_TransactionId(LONG NewValue) {
  return Call([&] { Object()->PutTransactionId(NewValue); });
}

HRESULT DataRequestFacade::get_TickSent(LONG* Result) {
  return Answer(Result, [&] { return Object()->TickSent(); });
}

HRESULT DataRequestFacade::put_TickSent(LONG NewValue) {
  return Call([&] { Object()->PutTickSent(NewValue); });
}

HRESULT DataRequestFacade::get_Error(LONG* Result) {
  return Answer(Result, [&] { return Object()->Error(); });
}

HRESULT DataRequestFacade::put_Error(LONG NewValue) {
  return Call([&] { Object()->PutError(NewValue); });
}

HRESULT DataRequestFacade::get_Handles(SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->Handles(); });
}

HRESULT DataRequestFacade::get_DATAValues(SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->DATAValues(); });
}

HRESULT DataRequestFacade::get_Errors(SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->Errors(); });
}

HRESULT DataRequestFacade::get_Buffer(SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->Buffer(); });
}

HRESULT DataRequestFacade::SetHandles(SAFEARRAY** ItemHandles) {
  return Call([&] { Object()->SetHandles(ArrayArgumentOf<std::int32_t>(ItemHandles)); });
}

HRESULT DataRequestFacade::SetDATAValues(SAFEARRAY** ItemDATAValues) {
  return Call([&] { Object()->SetDATAValues(ArrayArgumentOf<Variant>(ItemDATAValues)); });
}

HRESULT DataRequestFacade::SetErrors(SAFEARRAY** ItemErrors) {
  return Call([&] { Object()->SetErrors(ArrayArgumentOf<std::int32_t>(ItemErrors)); });
}

HRESULT DataRequestFacade::SetBuffer(SAFEARRAY** Buffer) {
  return Call([&] { Object()->SetBuffer(ArrayArgumentOf<std::uint8_t>(Buffer)); });
}

HRESULT DataRequestFacade::GetDATAValues(SAFEARRAY** ItemDATAValues) {
  return Call([&] {
    SafeArray<Variant> values;
    Object()->GetDATAValues(values);
    Referred(ItemDATAValues);
    PutArray(values, ItemDATAValues);
  });
}

}  // namespace orvo::com
