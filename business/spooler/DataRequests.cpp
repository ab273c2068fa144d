#include "spooler/DataRequests.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "spooler/WeakSink.h"

#include <algorithm>

namespace orvo {

std::shared_ptr<DataRequests> DataRequests::Create(ThreadPlatform& platform) {
  return std::make_shared<DataRequests>(platform);
}

DataRequests::DataRequests(ThreadPlatform& platform)
    : platform_(platform), timer_(platform.ModuleState<modMonoSpooler>()) {}

DataRequests::~DataRequests() {
  if (timer_.UnregisterSpooler(*this)) timer_.Stop();
}

void DataRequests::StartSpooler() {
  timer_.Start();
}

void DataRequests::StopSpooler() {
  timer_.Stop();
}

void DataRequests::PutDataComm(std::shared_ptr<CommunicationDriver> NewValue) {
  const std::shared_ptr<CommunicationDriver> previous = std::exchange(dataComm_, std::move(NewValue));
  const std::shared_ptr<CommunicationDriver> driver = dataComm_;
  if (driver) driver->SetEventSink(std::make_shared<WeakSink>(Hold()));
}

std::int32_t DataRequests::AddRequest(const std::shared_ptr<DataRequest>& aDataReq) {
  const std::shared_ptr<DataRequests> self = Hold();
  const std::shared_ptr<DataRequest> request = aDataReq;
  if (!request) return 0;
  if (!requestLock_.Take(platform_)) {
    GiveUpWaiting(*request);
    return 0;
  }
  if (nextTransactionId_ == 0 || nextTransactionId_ == LastTransactionId + 1) nextTransactionId_ = 1;
  // kept: only one outstanding id is looked at, that of the oldest request in the first place that holds one.
  if (nextTransactionId_ == OldestOutstandingId()) {
    requestLock_.Release();
    RaiseDataError(errQueueFull, "");
  }
  if (requests_.Holds(*request) || !requests_.Append(request)) {
    requestLock_.Release();
    GiveUpWaiting(*request);
    return 0;
  }
  request->PutTransactionId(nextTransactionId_++);
  const std::int32_t transactionId = requests_.Tail()->TransactionId();
  requestLock_.Release();
  return transactionId;
}

std::int32_t DataRequests::OldestOutstandingId() const noexcept {
  if (deliveries_.Head()) return deliveries_.Head()->TransactionId();
  if (currentRequest_) return currentRequest_->TransactionId();
  if (requests_.Head()) return requests_.Head()->TransactionId();
  return LastTransactionId + 1;
}

void DataRequests::AddDeliver(const std::shared_ptr<DataRequest>& aDataReq) {
  const std::shared_ptr<DataRequests> self = Hold();
  const std::shared_ptr<DataRequest> request = aDataReq;
  if (!request) return;
  if (!deliveryLock_.Take(platform_)) {
    GiveUpWaiting(*request);
    return;
  }
  const bool queued = deliveries_.Append(request);
  deliveryLock_.Release();
  if (!queued) GiveUpWaiting(*request);
}

// A request whose way through the spooler ends here undelivered: releases who waits for it.
void DataRequests::GiveUpWaiting(const DataRequest& request) noexcept {
  if (IsSynchronous(request.RequestType())) timer_.SyncRequestPending = false;
  if (IsRated(request.RequestType()) && request.ReqGroup())
    Suppressed([&] { request.ReqGroup()->RefreshDropped(); });
}

void DataRequests::Clear() {
  const std::shared_ptr<DataRequests> self = Hold();
  if (requestLock_.Take(platform_)) {
    EmptyQueue(requests_);
    requestLock_.Release();
  }
  if (deliveryLock_.Take(platform_)) {
    EmptyQueue(deliveries_);
    deliveryLock_.Release();
  }
}

void DataRequests::EmptyQueue(RequestQueue& queue) {
  while (const std::shared_ptr<DataRequest> request = queue.TakeHead()) {
    if (IsRated(request->RequestType()) && request->ReqGroup())
      Suppressed([&] { request->ReqGroup()->RefreshDropped(); });
  }
}

std::shared_ptr<DataRequest> DataRequests::TakeFirstRequest() {
  if (!requestLock_.Take(platform_)) return nullptr;
  std::shared_ptr<DataRequest> request = requests_.TakeHead();
  requestLock_.Release();
  return request;
}

void DataRequests::ProcessNext() {
  if (state_ != State::Idle) return;
  const std::shared_ptr<DataRequests> self = Hold();
  state_ = State::InFlight;
  currentRequest_ = TakeFirstRequest();
  const std::shared_ptr<DataRequest> request = currentRequest_;
  if (!request) {
    state_ = State::Idle;
    return;
  }
  const RequestKind* kind = FindRequestKind(request->RequestType());
  if (TakeFromCancelList(request->TransactionId())) {
    if (kind != nullptr && kind->caller == RequestCaller::Client)
      events_.Raise([&](SpoolerEvents& sink) { sink.CancelRequestComplete(request); });
    if (kind != nullptr && kind->caller == RequestCaller::Refresh) GiveUpWaiting(*request);
    // kept: a cancelled synchronous request leaves its caller to the caller's own time-out.
    state_ = State::Idle;
    return;
  }
  // kept: a request of an unknown kind is neither sent nor delivered, and the state stays in flight.
  if (kind != nullptr) Send(request, *kind);
}

bool DataRequests::TakeFromCancelList(std::int32_t transactionId) noexcept {
  bool found = false;
  for (std::int32_t& cancelled : cancelList_) {
    if (cancelled != transactionId || cancelled == 0) continue;
    cancelled = 0;
    found = true;
  }
  return found;
}

void DataRequests::NoteInCancelList(std::int32_t transactionId) {
  for (std::int32_t& cancelled : cancelList_) {
    if (cancelled == transactionId) return;
    if (cancelled != 0) continue;
    cancelled = transactionId;
    return;
  }
  cancelList_.push_back(transactionId);
}

void DataRequests::DeliverNext() {
  const std::shared_ptr<DataRequests> self = Hold();
  if (!deliveryLock_.Take(platform_)) {
    if (deliveries_.Head() && IsSynchronous(deliveries_.Head()->RequestType()))
      timer_.SyncRequestPending = false;
    return;
  }
  const std::shared_ptr<DataRequest> head = deliveries_.Head();
  if (!head) {
    deliveryLock_.Release();
    return;
  }
  platform_.PumpOnce();
  // What ran in the pump may have broken the lock and emptied or delivered the head.
  if (deliveries_.Head() != head) {
    deliveryLock_.Release();
    return;
  }
  deliveries_.TakeHead();
  if (const RequestKind* kind = FindRequestKind(head->RequestType())) {
    events_.Raise([&](SpoolerEvents& sink) {
      if (kind->caller == RequestCaller::Refresh)
        sink.ReadRatedRequestComplete(head);
      else if (kind->direction == RequestDirection::Read)
        sink.ReadRequestComplete(head);
      else
        sink.WriteRequestComplete(head);
    });
  }
  deliveryLock_.Release();
}

void DataRequests::AsyncCancel(std::int32_t TransactionId) {
  const std::shared_ptr<DataRequests> self = Hold();
  if (!deliveryLock_.Take(platform_)) return;
  if (!requestLock_.Take(platform_)) {
    deliveryLock_.Release();
    return;
  }
  const bool outstanding = requests_.Contains(TransactionId) || deliveries_.Contains(TransactionId) ||
                           (currentRequest_ && currentRequest_->TransactionId() == TransactionId);
  // kept: an id in flight or finished stays in the list and drops the next request that gets the same id.
  if (outstanding) NoteInCancelList(TransactionId);
  deliveryLock_.Release();
  requestLock_.Release();
}

bool DataRequests::DownloadFirmware(const std::string& FileName) {
  return Suppressed([&] { Driver()->DownloadFirmware(FileName, 0); });
}

bool DataRequests::DownloadProject(const std::string& FileName) {
  return Suppressed([&] { Driver()->DownloadProject(FileName, 0); });
}

std::int16_t DataRequests::DriverState() {
  const bool wholeGroups = AnswerOr(false, [&] { return Driver()->GroupTransfer(); });
  return wholeGroups ? std::int16_t{-1} : std::int16_t{0};
}

bool DataRequests::DefineDeviceGroup(const RequestGroup& group, std::int32_t define) {
  return Suppressed([&] { Driver()->SetGroupDefinition(group.GroupId(), define); });
}

// A reference of the caller's own: a driver's call can come back in and replace the driver.
std::shared_ptr<CommunicationDriver> DataRequests::Driver() const {
  if (!dataComm_) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return dataComm_;
}

}  // namespace orvo
