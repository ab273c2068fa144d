// Building requests, queuing them, and waiting for the synchronous ones.

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "server/KELDataServer.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace orvo {

std::shared_ptr<DataRequest> KELDataServer::NewRequest(ReqType type, KELDataGroup& group) const {
  std::shared_ptr<DataRequest> request = DataRequest::Create();
  request->PutRequestType(type);
  request->PutReqGroup(group.Hold());
  request->PutItemsEpoch(group.Items().Epoch());
  request->PutTickSent(static_cast<std::int32_t>(environment_.platform.TickCount()));
  return request;
}

// Requests carry their arrays from 0, whatever bounds the caller's have.
std::shared_ptr<DataRequest> KELDataServer::ListRequest(ReqType type, KELDataGroup& group,
                                                        const SafeArray<std::int32_t>& handles) const {
  std::shared_ptr<DataRequest> request = NewRequest(type, group);
  SafeArray<std::int32_t> based = handles;
  based.Rebase(0);
  request->SetHandles(based);
  request->SetErrors(SafeArray<std::int32_t>(handles.Size()));
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::ItemRequest(ReqType type, KELDataItem& item) const {
  const std::shared_ptr<KELDataGroup> group = item.Parent();
  if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  std::shared_ptr<DataRequest> request = ListRequest(type, *group, {item.Handle()});
  request->PutReqItem(std::static_pointer_cast<KELDataItem>(item.shared_from_this()));
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunRead(KELDataGroup& group,
                                                    const SafeArray<std::int32_t>& handles) {
  std::shared_ptr<DataRequest> request = ListRequest(RT_ReadGroupItemsSync, group, handles);
  RunSynchronous(request);
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunWrite(KELDataGroup& group,
                                                     const SafeArray<std::int32_t>& handles,
                                                     const SafeArray<Variant>& values) {
  std::shared_ptr<DataRequest> request = ListRequest(RT_WriteGroupItemsSync, group, handles);
  request->SetDATAValues(values);
  RunSynchronous(request);
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunReadAll(KELDataGroup& group) {
  std::shared_ptr<DataRequest> request = NewRequest(RT_ReadGroupSync, group);
  request->SetBuffer(group.CompiledBuffer());
  RunSynchronous(request);
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunWriteAll(KELDataGroup& group,
                                                        const SafeArray<std::uint8_t>& buffer) {
  std::shared_ptr<DataRequest> request = NewRequest(RT_WriteGroupSync, group);
  request->SetBuffer(buffer);
  RunSynchronous(request);
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunReadItem(KELDataItem& item) {
  std::shared_ptr<DataRequest> request = ItemRequest(RT_ReadItemSync, item);
  RunSynchronous(request);
  return request;
}

std::shared_ptr<DataRequest> KELDataServer::RunWriteItem(KELDataItem& item, const Variant& value) {
  std::shared_ptr<DataRequest> request = ItemRequest(RT_WriteItemSync, item);
  request->SetDATAValues({value});
  RunSynchronous(request);
  return request;
}

std::int32_t KELDataServer::QueueRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) {
  return pReqSpooler->AddRequest(ListRequest(RT_ReadGroupItemsAsync, group, handles));
}

std::int32_t KELDataServer::QueueWrite(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                       const SafeArray<Variant>& values) {
  const std::shared_ptr<DataRequest> request = ListRequest(RT_WriteGroupItemsAsync, group, handles);
  request->SetDATAValues(values);
  return pReqSpooler->AddRequest(request);
}

std::int32_t KELDataServer::QueueReadAll(KELDataGroup& group) {
  const std::shared_ptr<DataRequest> request = NewRequest(RT_ReadGroupAsync, group);
  request->SetBuffer(group.CompiledBuffer());
  return pReqSpooler->AddRequest(request);
}

std::int32_t KELDataServer::QueueWriteAll(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                          const SafeArray<std::uint8_t>& buffer) {
  const std::shared_ptr<DataRequest> request = ListRequest(RT_WriteGroupAsync, group, handles);
  request->SetBuffer(buffer);
  return pReqSpooler->AddRequest(request);
}

std::int32_t KELDataServer::QueueRatedRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) {
  return pReqSpooler->AddRequest(ListRequest(RT_ReadGroupItemsAsyncRated, group, handles));
}

std::int32_t KELDataServer::QueueRatedReadAll(KELDataGroup& group) {
  const std::shared_ptr<DataRequest> request = NewRequest(RT_ReadGroupAsyncRated, group);
  request->SetBuffer(group.CompiledBuffer());
  return pReqSpooler->AddRequest(request);
}

void KELDataServer::Cancel(std::int32_t transactionId) {
  pReqSpooler->AsyncCancel(transactionId);
}

// The common way of every synchronous request. Never raises: the outcome is in the request's Error.
void KELDataServer::RunSynchronous(const std::shared_ptr<DataRequest>& request) {
  const std::shared_ptr<KELDataServer> self = Hold();
  if (pReqSpooler->IsBusy() || timer_.SyncRequestPending) {
    request->PutError(RequestFailed);
    return;
  }
  timer_.SyncRequestPending = true;
  try {
    pReqSpooler->AddRequest(request);
  } catch (...) {
    timer_.SyncRequestPending = false;
    request->PutError(CaughtError().Number());
    return;
  }
  AwaitSynchronous(*request);
}

void KELDataServer::AwaitSynchronous(DataRequest& request) {
  ThreadPlatform& platform = environment_.platform;
  const float start = platform.SecondsSinceMidnight();
  while (timer_.SyncRequestPending) {
    platform.PumpOnce();
    // kept: not corrected across midnight; a wait that midnight interrupts has no time-out.
    const float elapsed = platform.SecondsSinceMidnight() - start;
    if (elapsed > SynchronousTimeoutSeconds) {
      request.PutError(RequestFailed);
      pReqSpooler->AsyncCancel(request.TransactionId());
      timer_.SyncRequestPending = false;
      platform.PumpOnce();
      request.PutError(RequestFailed);  // an answer that came in while giving up is nobody's
      return;
    }
    platform.PumpOnce();
    if (!timer_.SyncRequestPending) break;
    const float left = std::clamp(SynchronousTimeoutSeconds - elapsed, 0.0F, SynchronousTimeoutSeconds);
    platform.WaitForWork(std::chrono::milliseconds(static_cast<int>(left * 1000.0F)) + MinimumTimerPeriod);
  }
  if (request.IsConcluded()) return;
  // The flag was cleared, but not for this request: it never got into the queue, its result was lost, or an
  // earlier request's late answer came. Whatever arrives for it from now on is nobody's.
  if (request.TransactionId() != 0) pReqSpooler->AsyncCancel(request.TransactionId());
  request.PutError(RequestFailed);
}

void KELDataServer::SynchronousRequestDelivered(DataRequest& request) noexcept {
  request.Conclude();
  timer_.SyncRequestPending = false;
}

}  // namespace orvo
