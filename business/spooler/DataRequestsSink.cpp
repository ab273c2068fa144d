// The spooler as the driver's event sink.

#include "spooler/DataRequests.h"

#include <cstddef>

namespace orvo {

// Every completion belongs to the request in flight: neither its kind nor its id nor its state is looked at.
DataRequest& DataRequests::RequestInFlight() const {
  if (!currentRequest_) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return *currentRequest_;
}

void DataRequests::Finish() {
  AddDeliver(currentRequest_);
  state_ = State::Idle;
}

void DataRequests::AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                                     const SafeArray<std::int32_t>& ItemErrors) {
  const std::shared_ptr<DataRequests> self = Hold();
  RequestInFlight().SetDATAValues(DATAValues);
  RequestInFlight().SetErrors(ItemErrors);
  Finish();
}

void DataRequests::AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) {
  const std::shared_ptr<DataRequests> self = Hold();
  const std::uint32_t tick = platform_.TickCount();
  DataRequest& request = RequestInFlight();
  const std::shared_ptr<RequestGroup> group = request.ReqGroup();
  if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  group->PutLastUseTick(tick);
  request.PutError(Error);
  request.SetErrors(SafeArray<std::int32_t>(static_cast<std::size_t>(group->ItemCount()), 0, Error));
  request.SetBuffer(Buffer);
  Finish();
}

void DataRequests::AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) {
  const std::shared_ptr<DataRequests> self = Hold();
  RequestInFlight().SetErrors(ItemErrors);
  Finish();
}

void DataRequests::AsyncWriteGroupComplete(std::int32_t Error) {
  const std::shared_ptr<DataRequests> self = Hold();
  RequestInFlight().PutError(Error);
  Finish();
}

void DataRequests::DownloadFirmwareComplete() {
  const std::shared_ptr<DataRequests> self = Hold();
  events_.Raise([](SpoolerEvents& sink) { sink.DownloadFirmwareComplete(); });
}

void DataRequests::DownloadFirmwareInProgress(std::int16_t Percent) {
  const std::shared_ptr<DataRequests> self = Hold();
  events_.Raise([=](SpoolerEvents& sink) { sink.DownloadFirmwareInProgress(Percent); });
}

void DataRequests::DownloadProjectComplete() {
  const std::shared_ptr<DataRequests> self = Hold();
  events_.Raise([](SpoolerEvents& sink) { sink.DownloadProjectComplete(); });
}

void DataRequests::DownloadProjectInProgress(std::int16_t Percent) {
  const std::shared_ptr<DataRequests> self = Hold();
  events_.Raise([=](SpoolerEvents& sink) { sink.DownloadProjectInProgress(Percent); });
}

}  // namespace orvo
