#include "server/SpoolerHandlers.h"

#include "server/KELDataServer.h"

namespace orvo {

namespace {

// The one place where a request's group becomes the model's group again.
std::shared_ptr<KELDataGroup> GroupOf(const DataRequest& request) {
  auto group = std::dynamic_pointer_cast<KELDataGroup>(request.ReqGroup());
  if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return group;
}

}  // namespace

SpoolerHandlers::SpoolerHandlers(std::weak_ptr<KELDataServer> server) : server_(std::move(server)) {}

void SpoolerHandlers::ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  const std::shared_ptr<KELDataServer> server = server_.lock();
  if (!server) return;
  switch (RRequest->RequestType()) {
    case RT_ReadGroupItemsAsync:
      GroupOf(*RRequest)->DeliverAsyncRead(*RRequest);
      break;
    case RT_ReadGroupAsync:
      GroupOf(*RRequest)->DeliverAsyncReadAll(*RRequest);
      break;
    case RT_ReadGroupItemsSync:
    case RT_ReadItemSync:
    case RT_ReadGroupSync:
      server->SynchronousRequestDelivered(*RRequest);
      break;
    default:
      break;
  }
}

void SpoolerHandlers::ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) {
  const std::shared_ptr<KELDataServer> server = server_.lock();
  if (!server) return;
  const std::shared_ptr<KELDataGroup> group = GroupOf(*RRequest);
  try {
    if (RRequest->RequestType() == RT_ReadGroupItemsAsyncRated) group->DeliverDataChange(*RRequest);
    if (RRequest->RequestType() == RT_ReadGroupAsyncRated) group->DeliverDataChangeAll(*RRequest);
  } catch (...) {
    group->RefreshDropped();  // a delivery that fails must not end the group's refresh
    throw;
  }
}

void SpoolerHandlers::WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) {
  const std::shared_ptr<KELDataServer> server = server_.lock();
  if (!server) return;
  switch (WRequest->RequestType()) {
    case RT_WriteGroupItemsAsync:
      GroupOf(*WRequest)->DeliverAsyncWrite(*WRequest);
      break;
    case RT_WriteGroupAsync:
      GroupOf(*WRequest)->DeliverAsyncWriteAll(*WRequest);
      break;
    case RT_WriteGroupItemsSync:
    case RT_WriteItemSync:
    case RT_WriteGroupSync:
      server->SynchronousRequestDelivered(*WRequest);
      break;
    default:
      break;
  }
}

void SpoolerHandlers::CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) {
  if (const std::shared_ptr<KELDataServer> server = server_.lock())
    GroupOf(*CRequest)->DeliverCancel(*CRequest);
}

void SpoolerHandlers::DownloadFirmwareComplete() {
  if (const std::shared_ptr<KELDataServer> server = server_.lock())
    server->Events().Raise([](KELDataServerEvents& sink) { sink.DownloadFirmwareComplete(); });
}

void SpoolerHandlers::DownloadFirmwareInProgress(std::int16_t Percent) {
  if (const std::shared_ptr<KELDataServer> server = server_.lock())
    server->Events().Raise([=](KELDataServerEvents& sink) { sink.DownloadFirmwareInProgress(Percent); });
}

void SpoolerHandlers::DownloadProjectComplete() {
  if (const std::shared_ptr<KELDataServer> server = server_.lock())
    server->Events().Raise([](KELDataServerEvents& sink) { sink.DownloadProjectComplete(); });
}

void SpoolerHandlers::DownloadProjectInProgress(std::int16_t Percent) {
  if (const std::shared_ptr<KELDataServer> server = server_.lock())
    server->Events().Raise([=](KELDataServerEvents& sink) { sink.DownloadProjectInProgress(Percent); });
}

}  // namespace orvo
