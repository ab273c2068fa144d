// Sending a request to the driver, by its kind.

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "spooler/DataRequests.h"

#include <cstddef>

namespace orvo {

void DataRequests::Send(const std::shared_ptr<DataRequest>& request, const RequestKind& kind) {
  bool taken = false;
  Suppressed([&] {
    if (kind.scope == RequestScope::WholeGroup) {
      taken = SendGroup(*request, kind);
    } else {
      SendItems(*request, kind);
      taken = true;
    }
  });
  if (!taken) NotSent(*request, kind);
}

// Fails when the addresses cannot be had: a request never goes to the device without them.
void DataRequests::SendItems(const DataRequest& request, const RequestKind& kind) {
  SafeArray<double> addresses;
  SafeArray<std::int16_t> dimensions;
  if (kind.scope == RequestScope::SingleItem) {
    const std::shared_ptr<RequestItem> item = request.ReqItem();
    if (!item) RaiseRuntimeError(RuntimeError::ObjectNotSet);
    addresses = item->CompiledAddressArray();
    dimensions = item->DimensionArray();
  } else {
    const std::shared_ptr<RequestGroup> group = request.ReqGroup();
    if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
    addresses = group->AddressesAsOf(request.Handles(), request.ItemsEpoch());
    dimensions = group->DimensionsAsOf(request.Handles(), request.ItemsEpoch());
  }
  if (kind.direction == RequestDirection::Read)
    Driver()->ReadItems(addresses, dimensions);
  else
    Driver()->WriteItems(addresses, dimensions, request.DATAValues());
}

// False when the group cannot have a definition on the device.
bool DataRequests::SendGroup(const DataRequest& request, const RequestKind& kind) {
  const std::shared_ptr<RequestGroup> group = request.ReqGroup();
  if (!group) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  if (!group->EnsureDefined()) return false;
  // A read carries the group's own buffer, a write the request's.
  if (kind.direction == RequestDirection::Read)
    Driver()->ReadGroup(group->GroupId(), group->CompiledBuffer());
  else
    Driver()->WriteGroup(group->GroupId(), request.Buffer());
  return true;
}

// The driver did not take the request. Asynchronous kinds are dropped; a waiting caller finds 99.
void DataRequests::NotSent(DataRequest& request, const RequestKind& kind) {
  state_ = State::Idle;
  if (kind.caller == RequestCaller::Waiting) {
    if (kind.scope == RequestScope::WholeGroup)
      request.PutError(NeverReached);
    else
      // With an upper bound below -1 there is no such array: then the errors stay.
      Suppressed([&] {
        request.SetErrors(SafeArray<std::int32_t>(
            static_cast<std::size_t>(std::int64_t{request.Errors().UpperBound()} + 1), 0, NeverReached));
      });
    request.Conclude();
  }
  GiveUpWaiting(request);
}

}  // namespace orvo
