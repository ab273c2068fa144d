#include "com/EventSinks.h"

#include "com/ArrayArgument.h"
#include "com/Automation.h"
#include "com/FacadeIdentity.h"
#include "com/VariantCodec.h"

namespace orvo::com {

DispatchSink::DispatchSink(IUnknown& sink, REFIID events) : identity_(&sink) {
  typed_ = SUCCEEDED(sink.QueryInterface(events, target_.PutVoid())) && target_;
  if (typed_) return;
  if (FAILED(sink.QueryInterface(__uuidof(IDispatch), target_.PutVoid())) || !target_)
    RaiseResult(CONNECT_E_CANNOTCONNECT, "The sink offers neither the event interface nor dispatch");
}

VARIANT& DispatchSink::Arguments::Append() {
  VARIANT& passed = passed_.emplace_back();
  VariantInit(&passed);
  return passed;
}

DispatchSink::Arguments& DispatchSink::Arguments::Add(std::int32_t value) {
  VARIANT& passed = Append();
  V_VT(&passed) = VT_I4;
  V_I4(&passed) = value;
  return *this;
}

DispatchSink::Arguments& DispatchSink::Arguments::Add(std::int16_t value) {
  VARIANT& passed = Append();
  V_VT(&passed) = VT_I2;
  V_I2(&passed) = value;
  return *this;
}

DispatchSink::Arguments& DispatchSink::Arguments::Add(bool value) {
  VARIANT& passed = Append();
  V_VT(&passed) = VT_BOOL;
  V_BOOL(&passed) = value ? VARIANT_TRUE : VARIANT_FALSE;
  return *this;
}

void DispatchSink::Arguments::AppendArray(OwnedSafeArray array, VARTYPE type) {
  VARIANT& owned = *values_.emplace_back().Get();
  V_ARRAY(&owned) = array.Detach();
  V_VT(&owned) = static_cast<VARTYPE>(VT_ARRAY | type);
  if (!typed_) Require(MakeIndexable(owned));
  VARIANT& passed = Append();
  if (typed_) {
    V_VT(&passed) = static_cast<VARTYPE>(V_VT(&owned) | VT_BYREF);
    V_ARRAYREF(&passed) = &V_ARRAY(&owned);
  } else {
    passed = owned;
  }
}

DispatchSink::Arguments& DispatchSink::Arguments::Add(const SafeArray<std::int32_t>& values) {
  AppendArray(NewArray(values), VT_I4);
  return *this;
}

DispatchSink::Arguments& DispatchSink::Arguments::Add(const SafeArray<Variant>& values) {
  AppendArray(NewArray(values), VT_VARIANT);
  return *this;
}

DispatchSink::Arguments& DispatchSink::Arguments::AddReference(std::int16_t value) {
  if (!typed_) return Add(value);
  VARIANT& owned = *values_.emplace_back().Get();
  V_VT(&owned) = VT_I2;
  V_I2(&owned) = value;
  VARIANT& passed = Append();
  V_VT(&passed) = VT_I2 | VT_BYREF;
  V_I2REF(&passed) = &V_I2(&owned);
  return *this;
}

DispatchSink::Arguments& DispatchSink::Arguments::AddReference(const std::shared_ptr<DataRequest>& request) {
  VARIANT& owned = *values_.emplace_back().Get();
  V_DISPATCH(&owned) = FacadeOfAny(request).Query<IDispatch>().Detach();
  V_VT(&owned) = VT_DISPATCH;
  VARIANT& passed = Append();
  if (typed_) {
    V_VT(&passed) = VT_DISPATCH | VT_BYREF;
    V_DISPATCHREF(&passed) = &V_DISPATCH(&owned);
  } else {
    passed = owned;
  }
  return *this;
}

void DispatchSink::Fire(DISPID event, Arguments& arguments) {
  // A call by name takes its arguments last to first.
  std::vector<VARIANT> reversed(arguments.passed_.rbegin(), arguments.passed_.rend());
  DISPPARAMS parameters{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  const ComPtr<IDispatch> target = target_;
  EXCEPINFO failure{};
  // What a handler answers, and how it fails, is the client's own affair.
  target->Invoke(event, IID_NULL, LOCALE_NEUTRAL, DISPATCH_METHOD, &parameters, nullptr, &failure, nullptr);
  SysFreeString(failure.bstrDescription);
  SysFreeString(failure.bstrSource);
  SysFreeString(failure.bstrHelpFile);
  SetErrorInfo(0, nullptr);  // its text belongs to no call of ours
}

void ServerSink::DownloadFirmwareInProgress(std::int16_t Percent) {
  Arguments arguments = NewArguments();
  Fire(1, arguments.Add(Percent));
}

void ServerSink::DownloadProjectInProgress(std::int16_t Percent) {
  Arguments arguments = NewArguments();
  Fire(2, arguments.Add(Percent));
}

void ServerSink::DownloadFirmwareComplete() {
  Arguments arguments = NewArguments();
  Fire(3, arguments);
}

void ServerSink::DownloadProjectComplete() {
  Arguments arguments = NewArguments();
  Fire(4, arguments);
}

void GroupSink::DataChange(const SafeArray<std::int32_t>& DataHandles, const SafeArray<Variant>& USERValues) {
  Arguments arguments = NewArguments();
  Fire(1, arguments.Add(DataHandles).Add(USERValues));
}

void GroupSink::AsyncReadComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                  const SafeArray<Variant>& USERValues,
                                  const SafeArray<std::int32_t>& DataErrors) {
  Arguments arguments = NewArguments();
  Fire(2, arguments.Add(TransactionId).Add(DataHandles).Add(USERValues).Add(DataErrors));
}

void GroupSink::AsyncReadAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                     const SafeArray<Variant>& USERValues,
                                     const SafeArray<std::int32_t>& DataErrors) {
  Arguments arguments = NewArguments();
  Fire(3, arguments.Add(TransactionId).Add(DataHandles).Add(USERValues).Add(DataErrors));
}

void GroupSink::AsyncWriteAllComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                      const SafeArray<std::int32_t>& DataErrors) {
  Arguments arguments = NewArguments();
  Fire(4, arguments.Add(TransactionId).Add(DataHandles).Add(DataErrors));
}

void GroupSink::AsyncWriteComplete(std::int32_t TransactionId, const SafeArray<std::int32_t>& DataHandles,
                                   const SafeArray<std::int32_t>& DataErrors) {
  Arguments arguments = NewArguments();
  Fire(5, arguments.Add(TransactionId).Add(DataHandles).Add(DataErrors));
}

void GroupSink::AsyncCancelComplete(std::int32_t TransactionId, bool Success) {
  Arguments arguments = NewArguments();
  Fire(6, arguments.Add(TransactionId).Add(Success));
}

void SpoolerSink::FireRequest(DISPID event, const std::shared_ptr<DataRequest>& request) {
  Arguments arguments = NewArguments();
  Fire(event, arguments.AddReference(request));
}

void SpoolerSink::ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  FireRequest(1, RRequest);
}

void SpoolerSink::ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  FireRequest(2, RRequest);
}

void SpoolerSink::WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) {
  FireRequest(3, WRequest);
}

void SpoolerSink::CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) {
  FireRequest(4, CRequest);
}

void SpoolerSink::DownloadFirmwareComplete() {
  Arguments arguments = NewArguments();
  Fire(5, arguments);
}

void SpoolerSink::DownloadFirmwareInProgress(std::int16_t Percent) {
  Arguments arguments = NewArguments();
  Fire(6, arguments.AddReference(Percent));
}

void SpoolerSink::DownloadProjectComplete() {
  Arguments arguments = NewArguments();
  Fire(7, arguments);
}

void SpoolerSink::DownloadProjectInProgress(std::int16_t Percent) {
  Arguments arguments = NewArguments();
  Fire(8, arguments.AddReference(Percent));
}

}  // namespace orvo::com
