// A named set of items that are read and written together and can be kept up to date periodically.
//
// Made by KELDataGroups only. The collection owns the group; a client may hold it beyond its removal and beyond
// the server's end: what needs no server goes on working, the rest raises errInternal with the detail "91:...".
// Arrays of handles, values and errors are parallel by position, each from its own lower bound; results come
// back with the bounds of `Handles` (SyncRead fills a `Values` array of the same length in its own bounds).
// Every function runs on the owner's thread; the synchronous ones pump messages while they wait, so timers,
// driver events and client events run inside them.
#pragma once

#include "model/KELDataGroupEvents.h"
#include "model/KELDataItems.h"
#include "model/ModelServer.h"
#include "model/RequestResults.h"
#include "spooler/RequestParties.h"
#include "values/AutomationObject.h"
#include "values/Boolean.h"
#include "values/EventSource.h"
#include "values/Variant.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

class KELDataGroup final : public AutomationObject, public RequestGroup {
 public:
  static std::shared_ptr<KELDataGroup> Create(ThreadPlatform& platform);
  explicit KELDataGroup(ThreadPlatform& platform);
  ~KELDataGroup() override;

  std::int32_t Handle() const noexcept { return handle_; }
  const std::string& GroupName() const noexcept { return groupName_; }
  std::shared_ptr<orvo::KELDataItems> KELDataItems();
  // The server; null when it is gone.
  std::shared_ptr<KELDataServer> Parent() const;

  // Whether the group is refreshed periodically while communication is open. Only the automation true counts as
  // true. Setting it to its present value does nothing. To true: raises errInvalidValue with a text of its own
  // when as many groups are active as the device allows; when communication is open and the device gives no
  // definition the group stays inactive without an error.
  bool Active() const noexcept { return active_; }
  void PutActive(Boolean NewValue);
  // Gates every event of the group, and nothing else.
  bool Subscribed() const noexcept { return subscribed_; }
  void PutSubscribed(bool NewValue) noexcept { subscribed_ = NewValue; }
  // Period of the refresh in milliseconds; 0 is the shortest that the system's timers allow. An active group is
  // stopped and started again: should the second step fail, its error is raised and the group is inactive with
  // the new rate. Raises errInvalidValue "Update rate must be >= 0"; nothing changes then.
  std::int32_t UpdateRate() const noexcept { return updateRate_; }
  void PutUpdateRate(std::int32_t NewValue);

  // Reads and writes. All raise errInvalidState "Server isn't running" unless communication is open,
  // errInvalidHandle for a handle that no item has, and the writes errInvalidFormat "Invalid format: index="
  // with the index of the first value that its item cannot take: nothing was sent then. The synchronous ones
  // return when the device has answered, after about 10 seconds at the latest (a wait that midnight interrupts
  // has no time-out). `Errors` gets one code per item, 0 = success. When the request as a whole failed (1: the
  // spooler is busy, another synchronous call waits, or no answer came in time; after a write the outcome is
  // unknown then), every error is that code, every value is Empty and no item changes.
  void SyncRead(const SafeArray<std::int32_t>& Handles, SafeArray<Variant>& Values,
                SafeArray<std::int32_t>& Errors);
  void SyncReadAll(SafeArray<std::int32_t>& Handles, SafeArray<Variant>& USERValues,
                   SafeArray<std::int32_t>& Errors);
  void SyncWrite(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                 SafeArray<std::int32_t>& Errors);
  void SyncWriteAll(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                    SafeArray<std::int32_t>& Errors);
  // The asynchronous ones queue the request and return its transaction id, 1..999; the completion event carries
  // it. 0: the request could not be queued and no event will come. errQueueFull when all ids are in use.
  void AsyncRead(const SafeArray<std::int32_t>& Handles, std::int32_t& TransactionId);
  // A group without items queues nothing and leaves `TransactionId` as it was.
  void AsyncReadAll(std::int32_t& TransactionId);
  void AsyncWrite(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                  std::int32_t& TransactionId);
  void AsyncWriteAll(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                     std::int32_t& TransactionId);
  // Takes effect only on a request that is still queued (the id of one that was already sent stays noted and
  // drops the next request with the same id); then AsyncCancelComplete comes instead of the completion.
  void AsyncCancel(std::int32_t TransactionId);

  // Compiled addresses (opaque tokens of the driver) and lengths in words of the items with these handles. The
  // result has the bounds 0 to the upper bound of `Handles` and is indexed by the same numbers; an unknown
  // handle gives 0. Error 6 inside errInternal beyond the index 32767, or for a length outside 16 bits.
  SafeArray<double> CompileVariable(const SafeArray<std::int32_t>& Handles) override;
  SafeArray<std::int16_t> GetDimension(const SafeArray<std::int32_t>& Handles) override;
  SafeArray<double> AddressesAsOf(const SafeArray<std::int32_t>& Handles, std::int64_t itemsEpoch) override;
  SafeArray<std::int16_t> DimensionsAsOf(const SafeArray<std::int32_t>& Handles,
                                         std::int64_t itemsEpoch) override;
  // The group's identifier on the device; comes from a loaded configuration, 0 otherwise.
  std::int32_t GroupId() const override { return groupId_; }
  // A copy of the group's byte image, lower bound 0; empty before the first sizing.
  SafeArray<std::uint8_t> CompiledBuffer() const override { return compiledBuffer_; }
  // Makes the byte image `NewValue` zero bytes long, but one byte for 0. Raises errInternal with error 9 for a
  // negative length; the image stays then.
  void SetCompiledBufferDimension(std::int32_t NewValue);

  EventSource<KELDataGroupEvents>& Events() noexcept { return events_; }

  // For the other classes of the system.
  const std::string& Name() const noexcept { return groupName_; }
  std::shared_ptr<KELDataGroup> Hold() const;
  ThreadPlatform& Platform() const noexcept { return platform_; }
  orvo::KELDataItems& Items() noexcept { return items_; }
  // The guard of all reads and writes, for callers that look at their arguments first: errInvalidState "Server
  // isn't running" unless communication is open.
  void RequireRunning() const;
  // The server, or null; or error 91 when it is gone.
  std::shared_ptr<ModelServer> Server() const noexcept { return server_.lock(); }
  std::shared_ptr<ModelServer> RequireServer() const;
  void SetHandle(std::int32_t handle) noexcept { handle_ = handle; }
  void SetGroupName(std::string name) { groupName_ = std::move(name); }
  void SetParent(std::weak_ptr<ModelServer> server) noexcept { server_ = std::move(server); }
  void SetGroupId(std::int32_t id) noexcept { groupId_ = id; }
  bool IsDefined() const noexcept { return defined_; }
  void SetDefined(bool defined) noexcept { defined_ = defined; }
  std::uint32_t LastUseTick() const noexcept { return lastUseTick_; }
  void PutLastUseTick(std::uint32_t tick) override { lastUseTick_ = tick; }
  std::int32_t TimerId() const noexcept { return timerId_; }
  bool RefreshPending() const noexcept { return refreshPending_; }
  std::int32_t ItemCount() const override { return items_.Count(); }
  // Gets the group a definition on the device; gives it up. False when that fails.
  bool EnsureDefined() override;
  bool ReleaseDefinition();
  // Starts the refresh timer (after getting a definition); stops it. Whether a timer runs; true.
  bool StartUpdates();
  bool StopUpdates();
  // One tick of the refresh timer: queues a read of all items unless the previous one is outstanding.
  void Refresh();
  void RefreshDropped() override { refreshPending_ = false; }
  // Whether the group, as it is now, fits the device. A failure of the question is passed on.
  bool FitsDevice();

  // Deliveries, called by the server with a finished request.
  void DeliverAsyncRead(const DataRequest& request);
  void DeliverAsyncReadAll(const DataRequest& request);
  void DeliverAsyncWrite(const DataRequest& request);
  void DeliverAsyncWriteAll(const DataRequest& request);
  void DeliverCancel(const DataRequest& request);
  void DeliverDataChange(const DataRequest& request);
  void DeliverDataChangeAll(const DataRequest& request);

 private:
  struct ReadOut {
    SafeArray<std::int32_t> handles;
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
  };
  struct Changes {
    std::vector<std::int32_t> handles;
    std::vector<Variant> values;
  };

  std::string Trace(const char* operation) const;
  std::shared_ptr<ModelServer> RunningServer() const;
  void RequireHandles(const SafeArray<std::int32_t>& handles);
  SafeArray<Variant> RawValues(const SafeArray<std::int32_t>& handles, const SafeArray<Variant>& userValues);
  SafeArray<std::uint8_t> PackedBuffer(const SafeArray<std::int32_t>& handles,
                                       const SafeArray<Variant>& rawValues);
  SafeArray<std::int32_t> StoreWritten(const DataRequest& request, const SafeArray<std::int32_t>& handles);
  SafeArray<std::int32_t> StoreWrittenAll(const DataRequest& request, const SafeArray<std::int32_t>& handles);
  static Variant Converted(KELDataItem& item, ModelServer* server, std::int32_t& error);
  ReadOut UnpackAll(const DataRequest& request, bool stampTime);
  void WriteItems(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                  SafeArray<std::int32_t>& Errors);
  void QueueWriteItems(const SafeArray<std::int32_t>& Handles, const SafeArray<Variant>& USERValues,
                       std::int32_t& TransactionId);
  void NoteRefreshHandles(const SafeArray<std::int32_t>& handles);
  bool RefreshValueChanged(std::size_t position, const Variant& value, const KELDataItem* item) const;
  void FinishDataChange(Changes changes);
  void PutActiveFalse();
  void PutActiveTrue();
  void Raise(const std::function<void(KELDataGroupEvents&)>& event);

  ThreadPlatform& platform_;
  std::weak_ptr<ModelServer> server_;
  std::int32_t handle_ = 0;
  std::string groupName_;
  orvo::KELDataItems items_;
  bool active_ = false;
  bool subscribed_ = false;
  std::int32_t updateRate_ = 0;
  bool defined_ = false;
  std::uint32_t lastUseTick_ = 0;
  std::int32_t groupId_ = 0;
  SafeArray<std::uint8_t> compiledBuffer_;
  SafeArray<std::int32_t> refreshHandles_;  // of the refresh in progress, base 0
  std::vector<Variant> refreshValues_;      // the values that the latest refresh brought, by position
  std::int32_t timerId_;
  bool refreshPending_ = false;
  EventSource<KELDataGroupEvents> events_;
};

}  // namespace orvo
