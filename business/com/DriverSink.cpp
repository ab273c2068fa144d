#include "com/DriverSink.h"

#include "com/Arguments.h"
#include "com/ScriptBytes.h"
#include "spooler/WeakSink.h"

namespace orvo::com {

ComPtr<::IEventNotify> SinkBySlot(std::shared_ptr<orvo::IEventNotify> sink) {
  if (!sink) return nullptr;
  if (const auto weak = std::dynamic_pointer_cast<WeakSink>(sink))
    if (const std::shared_ptr<DataRequests> spooler = weak->Spooler())
      return FacadeOfAny(spooler).Query<::IEventNotify>();
  return ComPtr<::IEventNotify>(new DriverSink(std::move(sink)));
}

ComPtr<IDispatch> SinkByName(std::shared_ptr<orvo::IEventNotify> sink) {
  if (!sink) return nullptr;
  return ComPtr<IDispatch>(static_cast<::IEventNotifyDispatch*>(new DriverSink(std::move(sink))));
}

DriverSink::DriverSink(std::shared_ptr<orvo::IEventNotify> sink)
    : DispatchObject("ORVOBusiness.DriverSink"), sink_(std::move(sink)) {}

HRESULT DriverSink::AsyncReadComplete(SAFEARRAY** DATAValues, SAFEARRAY** ItemErrors) {
  return Call([&] {
    sink_->AsyncReadComplete(WithBytes(ArrayArgumentOf<Variant>(DATAValues)),
                             ArrayArgumentOf<std::int32_t>(ItemErrors));
  });
}

HRESULT DriverSink::AsyncReadGroupComplete(SAFEARRAY** Buffer, LONG* Error) {
  return Call([&] { sink_->AsyncReadGroupComplete(ArrayArgumentOf<std::uint8_t>(Buffer), Referred(Error)); });
}

HRESULT DriverSink::AsyncWriteComplete(SAFEARRAY** ItemErrors) {
  return Call([&] { sink_->AsyncWriteComplete(ArrayArgumentOf<std::int32_t>(ItemErrors)); });
}

HRESULT DriverSink::AsyncWriteGroupComplete(LONG* Error) {
  return Call([&] { sink_->AsyncWriteGroupComplete(Referred(Error)); });
}

HRESULT DriverSink::DownloadFirmwareComplete() {
  return Call([&] { sink_->DownloadFirmwareComplete(); });
}

HRESULT DriverSink::DownloadFirmwareInProgress(short* Percent) {
  return Call([&] { sink_->DownloadFirmwareInProgress(Referred(Percent)); });
}

HRESULT DriverSink::DownloadProjectComplete() {
  return Call([&] { sink_->DownloadProjectComplete(); });
}

HRESULT DriverSink::DownloadProjectInProgress(short* Percent) {
  return Call([&] { sink_->DownloadProjectInProgress(Referred(Percent)); });
}

}  // namespace orvo::com
