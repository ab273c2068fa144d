#include "com/KELDataItemFacade.h"

#include "com/Arguments.h"
#include "model/KELDataGroup.h"

namespace orvo::com {

namespace {

bool WasGiven(const VARIANT* argument) {
  if (argument == nullptr) return false;
  const VARIANT& behind = Dereferenced(*argument);
  return V_VT(&behind) != VT_ERROR || V_ERROR(&behind) != DISP_E_PARAMNOTFOUND;
}

}  // namespace

KELDataItemFacade::KELDataItemFacade(std::shared_ptr<orvo::KELDataItem> core)
    : Facade(std::move(core), CLSID_KELDataItem, "ORVOBusiness.KELDataItem") {}

HRESULT KELDataItemFacade::get_Handle(LONG* Result) {
  return Answer(Result, [&] { return Object()->Handle(); });
}

HRESULT KELDataItemFacade::get_ItemName(BSTR* Result) {
  return Answer(Result, [&] { return Object()->ItemName(); });
}

HRESULT KELDataItemFacade::get_ItemId(BSTR* Result) {
  return Answer(Result, [&] { return Object()->ItemId(); });
}

HRESULT KELDataItemFacade::get_Parent(_KELDataGroup** Result) {
  return Answer(Result, [&] { return Object()->Parent(); });
}

HRESULT KELDataItemFacade::get_AccessRights(LONG* Result) {
  return Answer(Result, [&] { return Object()->AccessRights(); });
}

HRESULT KELDataItemFacade::get_USERValue(VARIANT* Result) {
  return Answer(Result, [&] { return Object()->USERValue(); });
}

HRESULT KELDataItemFacade::get_DATAValue(VARIANT* Result) {
  return Answer(Result, [&] { return Object()->DATAValue(); });
}

HRESULT KELDataItemFacade::get_TimeStamp(DATE* Result) {
  return Answer(Result, [&] { return Object()->TimeStamp(); });
}

HRESULT KELDataItemFacade::SyncRead(VARIANT* USERValue, LONG* Error, VARIANT* TimeStamp) {
  return Call([&] {
    Referred(USERValue);
    Referred(Error);
    Variant value;
    std::int32_t error = 0;
    Variant time;
    Object()->SyncRead(value, error, &time);
    if (error == 0) {  // otherwise the caller's variables keep what they had
      PutVariable(value, USERValue);
      if (WasGiven(TimeStamp)) PutVariable(time, TimeStamp);
    }
    *Error = error;
  });
}

HRESULT KELDataItemFacade::SyncWrite(VARIANT USERValue, LONG* Error) {
  return Call([&] {
    std::int32_t error = Referred(Error);
    Object()->SyncWrite(ValueOf(USERValue), error);
    *Error = error;
  });
}

HRESULT KELDataItemFacade::get_ItemGroupBufferOffset(LONG* Result) {
  return Answer(Result, [&] { return Object()->ItemGroupBufferOffset(); });
}

HRESULT KELDataItemFacade::get_ItemType(LONG* Result) {
  return Answer(Result, [&] { return Object()->ItemType(); });
}

HRESULT KELDataItemFacade::get_ItemWordLength(LONG* Result) {
  return Answer(Result, [&] { return Object()->ItemWordLength(); });
}

HRESULT KELDataItemFacade::put_Signed(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutSigned(NewValue != VARIANT_FALSE); });
}

HRESULT KELDataItemFacade::get_Signed(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->Signed(); });
}

HRESULT KELDataItemFacade::put_BCD(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutBCD(NewValue != VARIANT_FALSE); });
}

HRESULT KELDataItemFacade::get_BCD(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->BCD(); });
}

}  // namespace orvo::com
