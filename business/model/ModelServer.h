// What groups and items ask of their server: to run their requests, and facts about it and the device.
//
// Everything is called on the owner's thread. Groups hold the server weakly: a group that outlives it gets
// error 91.
#pragma once

#include "platform/ThreadPlatform.h"
#include "spooler/CommunicationDriver.h"
#include "spooler/DataRequest.h"

#include <cstdint>
#include <memory>

namespace orvo {

class KELDataGroup;
class KELDataGroups;
class KELDataItem;
class KELDataServer;

// Builds requests and runs or queues them. Arrays given may have any lower bound; requests carry them from 0.
class RequestRunner {
 public:
  RequestRunner() = default;
  RequestRunner(const RequestRunner&) = delete;
  RequestRunner& operator=(const RequestRunner&) = delete;
  virtual ~RequestRunner() = default;

  // The synchronous kinds: return when the request has come to its end, after about 10 seconds at the latest,
  // and hand the record back. Its Error is 0 when the device answered; then the results are in its arrays.
  // Messages are pumped meanwhile.
  virtual std::shared_ptr<DataRequest> RunRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) = 0;
  virtual std::shared_ptr<DataRequest> RunWrite(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                                const SafeArray<Variant>& values) = 0;
  virtual std::shared_ptr<DataRequest> RunReadAll(KELDataGroup& group) = 0;
  virtual std::shared_ptr<DataRequest> RunWriteAll(KELDataGroup& group,
                                                   const SafeArray<std::uint8_t>& buffer) = 0;
  virtual std::shared_ptr<DataRequest> RunReadItem(KELDataItem& item) = 0;
  virtual std::shared_ptr<DataRequest> RunWriteItem(KELDataItem& item, const Variant& value) = 0;

  // The asynchronous kinds: queue the request and return its transaction id, 0 when it could not be queued.
  // Raise errQueueFull when all ids are in use.
  virtual std::int32_t QueueRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) = 0;
  virtual std::int32_t QueueWrite(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                  const SafeArray<Variant>& values) = 0;
  virtual std::int32_t QueueReadAll(KELDataGroup& group) = 0;
  virtual std::int32_t QueueWriteAll(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                     const SafeArray<std::uint8_t>& buffer) = 0;
  virtual std::int32_t QueueRatedRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) = 0;
  virtual std::int32_t QueueRatedReadAll(KELDataGroup& group) = 0;
  virtual void Cancel(std::int32_t transactionId) = 0;
};

class DeviceFacts {
 public:
  DeviceFacts() = default;
  DeviceFacts(const DeviceFacts&) = delete;
  DeviceFacts& operator=(const DeviceFacts&) = delete;
  virtual ~DeviceFacts() = default;

  virtual std::int32_t ServerStatus() const = 0;
  // The device object of the selected device type, or null.
  virtual std::shared_ptr<DeviceObject> Device() const = 0;
  // Whether the driver transfers whole groups; false also when the question fails.
  virtual bool TransfersWholeGroups() = 0;
  // Whether a group of this total length in words and this many items fits the device. Driver failures are
  // passed on.
  virtual bool CheckVariable(std::int32_t totalWordLength, std::int32_t itemCount) = 0;
  // How many groups the device holds defined, and how many of them may be active at once. Driver failures are
  // passed on.
  virtual std::int32_t GroupCapacity() = 0;
  virtual std::int32_t UsableGroupCapacity() = 0;
  // Whether one more group may be active.
  virtual bool CanActivateGroup() = 0;
  // Defines (-1) or releases (0) the group on the device; false when the driver refuses.
  virtual bool DefineOnDevice(const KELDataGroup& group, std::int32_t define) = 0;
  virtual std::shared_ptr<orvo::KELDataGroups> Groups() const = 0;
  // The server as its clients know it.
  virtual std::shared_ptr<KELDataServer> Server() = 0;
};

class ModelServer : public RequestRunner, public DeviceFacts {};

}  // namespace orvo
