#include "com/KELDataGroupFacade.h"

#include "com/Arguments.h"
#include "com/CollectionEnumerator.h"

#include <limits>

namespace orvo::com {

KELDataGroupFacade::KELDataGroupFacade(std::shared_ptr<orvo::KELDataGroup> core)
    : SourceFacade(std::move(core), CLSID_KELDataGroup, "ORVOBusiness.KELDataGroup") {}

HRESULT KELDataGroupFacade::get_Handle(LONG* Result) {
  return Answer(Result, [&] { return Object()->Handle(); });
}

HRESULT KELDataGroupFacade::get_GroupName(BSTR* Result) {
  return Answer(Result, [&] { return Object()->GroupName(); });
}

HRESULT KELDataGroupFacade::get_KELDataItems(_KELDataItems** Result) {
  return Answer(Result, [&] { return Object()->KELDataItems(); });
}

HRESULT KELDataGroupFacade::get_Parent(_KELDataServer** Result) {
  return Answer(Result, [&] { return Object()->Parent(); });
}

HRESULT KELDataGroupFacade::get_Active(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->Active(); });
}

HRESULT KELDataGroupFacade::put_Active(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutActive(Boolean::FromRaw(NewValue)); });
}

HRESULT KELDataGroupFacade::get_Subscribed(VARIANT_BOOL* Result) {
  return Answer(Result, [&] { return Object()->Subscribed(); });
}

HRESULT KELDataGroupFacade::put_Subscribed(VARIANT_BOOL NewValue) {
  return Call([&] { Object()->PutSubscribed(NewValue != VARIANT_FALSE); });
}

HRESULT KELDataGroupFacade::get_UpdateRate(LONG* Result) {
  return Answer(Result, [&] { return Object()->UpdateRate(); });
}

HRESULT KELDataGroupFacade::put_UpdateRate(LONG NewValue) {
  return Call([&] { Object()->PutUpdateRate(NewValue); });
}

HRESULT KELDataGroupFacade::SyncRead(SAFEARRAY** Handles, SAFEARRAY** Values, SAFEARRAY** Errors) {
  return Call([&] {
    Object()->RequireRunning();
    const SafeArray<std::int32_t> handles = ArrayArgumentOf<std::int32_t>(Handles);
    SafeArray<Variant> values = ArrayArgumentOf<Variant>(Values);
    SafeArray<std::int32_t> errors = ArrayArgumentOf<std::int32_t>(Errors);
    RequireRoom(Values, handles.Size());
    RequireRoom(Errors, handles.Size());
    Object()->SyncRead(handles, values, errors);
    PutArray(values, Values);
    PutArray(errors, Errors);
  });
}

HRESULT KELDataGroupFacade::SyncReadAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) {
  return Call([&] {
    const std::shared_ptr<orvo::KELDataGroup> group = Object();
    group->RequireRunning();
    const auto count = static_cast<std::size_t>(group->ItemCount());
    for (SAFEARRAY** const array : {Handles, USERValues, Errors})
      RequireRoom(array, count);
    SafeArray<std::int32_t> handles;
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    group->SyncReadAll(handles, values, errors);
    PutArray(handles, Handles);
    PutArray(values, USERValues);
    PutArray(errors, Errors);
  });
}

HRESULT KELDataGroupFacade::SyncWrite(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) {
  return Call([&] {
    Object()->RequireRunning();
    const SafeArray<std::int32_t> handles = ArrayArgumentOf<std::int32_t>(Handles);
    SafeArray<std::int32_t> errors = ArrayArgumentOf<std::int32_t>(Errors);
    RequireRoom(Errors, handles.Size());
    Object()->SyncWrite(handles, ArrayArgumentOf<Variant>(USERValues), errors);
    PutArray(errors, Errors);
  });
}

HRESULT KELDataGroupFacade::SyncWriteAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, SAFEARRAY** Errors) {
  return Call([&] {
    Object()->RequireRunning();
    const SafeArray<std::int32_t> handles = ArrayArgumentOf<std::int32_t>(Handles);
    SafeArray<std::int32_t> errors = ArrayArgumentOf<std::int32_t>(Errors);
    RequireRoom(Errors, handles.Size());
    Object()->SyncWriteAll(handles, ArrayArgumentOf<Variant>(USERValues), errors);
    PutArray(errors, Errors);
  });
}

HRESULT KELDataGroupFacade::AsyncRead(SAFEARRAY** Handles, LONG* TransactionId) {
  return Call([&] {
    Object()->RequireRunning();
    std::int32_t id = Referred(TransactionId);
    Object()->AsyncRead(ArrayArgumentOf<std::int32_t>(Handles), id);
    *TransactionId = id;
  });
}

HRESULT KELDataGroupFacade::AsyncReadAll(LONG* TransactionId) {
  return Call([&]() -> HRESULT {
    Referred(TransactionId);
    constexpr std::int32_t Untouched = std::numeric_limits<std::int32_t>::min();
    std::int32_t id = Untouched;
    Object()->AsyncReadAll(id);
    // A group without items queues nothing; a success that leaves the caller's variable alone.
    if (id == Untouched) return S_FALSE;
    *TransactionId = id;
    return S_OK;
  });
}

HRESULT KELDataGroupFacade::AsyncWrite(SAFEARRAY** Handles, SAFEARRAY** USERValues, LONG* TransactionId) {
  return Call([&] {
    Object()->RequireRunning();
    std::int32_t id = Referred(TransactionId);
    Object()->AsyncWrite(ArrayArgumentOf<std::int32_t>(Handles), ArrayArgumentOf<Variant>(USERValues), id);
    *TransactionId = id;
  });
}

HRESULT KELDataGroupFacade::AsyncWriteAll(SAFEARRAY** Handles, SAFEARRAY** USERValues, LONG* TransactionId) {
  return Call([&] {
    Object()->RequireRunning();
    std::int32_t id = Referred(TransactionId);
    Object()->AsyncWriteAll(ArrayArgumentOf<std::int32_t>(Handles), ArrayArgumentOf<Variant>(USERValues), id);
    *TransactionId = id;
  });
}

HRESULT KELDataGroupFacade::AsyncCancel(LONG* TransactionId) {
  return Call([&] { Object()->AsyncCancel(Referred(TransactionId)); });
}

HRESULT KELDataGroupFacade::CompileVariable(SAFEARRAY** Handles, SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->CompileVariable(ArrayArgumentOf<std::int32_t>(Handles)); });
}

HRESULT KELDataGroupFacade::GetDimension(SAFEARRAY** Handles, SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->GetDimension(ArrayArgumentOf<std::int32_t>(Handles)); });
}

HRESULT KELDataGroupFacade::get_GroupId(LONG* Result) {
  return Answer(Result, [&] { return Object()->GroupId(); });
}

HRESULT KELDataGroupFacade::get_CompiledBuffer(SAFEARRAY** Result) {
  return Answer(Result, [&] { return Object()->CompiledBuffer(); });
}

HRESULT KELDataGroupFacade::SetCompiledBufferDimension(LONG* NewValue) {
  return Call([&] { Object()->SetCompiledBufferDimension(Referred(NewValue)); });
}

}  // namespace orvo::com
