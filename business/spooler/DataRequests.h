// The spooler: every read and write of device data goes through it, one at a time, oldest first.
//
// Two queues: requests that wait to be sent, and finished ones that wait to be delivered. ProcessNext and
// DeliverNext, called alternately by the spooler timer, move them on; the driver's completions come in through
// IEventNotify. Everything runs on the owner's thread; every wait pumps messages, so any function can be
// entered again while it runs. Two locks guard the queues against that. Apart from AddRequest
// (full queue), PutDataComm (the driver's SetEventSink) and the sink's handlers no function raises an error: a
// step that fails is skipped and the next one runs.
#pragma once

#include "platform/ThreadPlatform.h"
#include "spooler/CommunicationDriver.h"
#include "spooler/DataRequest.h"
#include "spooler/ReentrancyLock.h"
#include "spooler/RequestQueue.h"
#include "spooler/SpoolerEvents.h"
#include "spooler/modMonoSpooler.h"
#include "values/AutomationObject.h"
#include "values/EventSource.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo {

class DataRequests final : public AutomationObject, public IEventNotify {
 public:
  // `platform` outlives the spooler.
  static std::shared_ptr<DataRequests> Create(ThreadPlatform& platform);
  explicit DataRequests(ThreadPlatform& platform);
  ~DataRequests() override;

  void StartSpooler();
  void StopSpooler();

  // Stores the driver (null withdraws it) and registers this spooler as its event sink. A failure of the
  // driver's SetEventSink is passed on; the driver is stored then.
  void PutDataComm(std::shared_ptr<CommunicationDriver> NewValue);

  // Queues a request and returns the transaction id that it gets, 1..999; 0 when it was not queued: no record,
  // one that is queued already, or a lock that could not be had (a synchronous caller is released then). Raises
  // errQueueFull when the next id is that of the oldest finished request, else of the request sent last, else
  // of the oldest waiting one (other outstanding ids are not looked at); then nothing changes.
  std::int32_t AddRequest(const std::shared_ptr<DataRequest>& aDataReq);
  // Appends a finished request to the delivery queue. When the lock cannot be had the result is lost.
  void AddDeliver(const std::shared_ptr<DataRequest>& aDataReq);
  // Empties both queues. The request in flight, the next id and the cancel list stay as they are.
  void Clear();
  // Sends the oldest waiting request to the driver, unless one is in flight.
  void ProcessNext();
  // Raises the event of the oldest finished request.
  void DeliverNext();
  // True when the driver took the file. Progress and completion arrive as events meanwhile.
  bool DownloadFirmware(const std::string& FileName);
  bool DownloadProject(const std::string& FileName);
  // Marks an outstanding request as cancelled; it takes effect when the request's turn to be sent comes. Other
  // ids are ignored. An id whose request is in flight or finished stays marked and hits a later request with
  // the same id.
  void AsyncCancel(std::int32_t TransactionId);

  // The client-side events. Withdraw with EventSource::Unadvise.
  EventSource<SpoolerEvents>& Events() noexcept { return events_; }

  // For the server: a request is in flight.
  bool IsBusy() const noexcept { return state_ == State::InFlight; }
  // The driver's whole-group capability as it answers it, -1 or 0; 0 also when the question fails.
  std::int16_t DriverState();
  // Defines (-1) or releases (0) a group on the device. True when the driver raised no error.
  bool DefineDeviceGroup(const RequestGroup& group, std::int32_t define);

  // IEventNotify. A completion belongs to the request in flight whatever it is; without one the handlers fail
  // with 91.
  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override;
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) override;
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override;
  void AsyncWriteGroupComplete(std::int32_t Error) override;
  void DownloadFirmwareComplete() override;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectComplete() override;
  void DownloadProjectInProgress(std::int16_t Percent) override;

 private:
  enum class State : std::int32_t { Idle = 1, InFlight = 2 };

  std::shared_ptr<DataRequests> Hold() { return std::static_pointer_cast<DataRequests>(shared_from_this()); }
  std::int32_t OldestOutstandingId() const noexcept;
  std::shared_ptr<DataRequest> TakeFirstRequest();
  bool TakeFromCancelList(std::int32_t transactionId) noexcept;
  void NoteInCancelList(std::int32_t transactionId);
  void GiveUpWaiting(const DataRequest& request) noexcept;
  // Sends by kind; the state is in flight, and is idle again when the driver did not take the request.
  void Send(const std::shared_ptr<DataRequest>& request, const RequestKind& kind);
  void SendItems(const DataRequest& request, const RequestKind& kind);
  bool SendGroup(const DataRequest& request, const RequestKind& kind);
  void NotSent(DataRequest& request, const RequestKind& kind);
  std::shared_ptr<CommunicationDriver> Driver() const;
  DataRequest& RequestInFlight() const;
  void Finish();
  static void EmptyQueue(RequestQueue& queue);

  // Constant after construction.
  ThreadPlatform& platform_;
  modMonoSpooler& timer_;

  std::shared_ptr<CommunicationDriver> dataComm_;
  EventSource<SpoolerEvents> events_;
  std::int32_t nextTransactionId_ = 1;
  RequestQueue requests_;
  RequestQueue deliveries_;
  std::shared_ptr<DataRequest> currentRequest_;
  State state_ = State::Idle;
  ReentrancyLock requestLock_;               // the request queue and the cancel list
  ReentrancyLock deliveryLock_;              // the delivery queue
  std::vector<std::int32_t> cancelList_{0};  // 0 marks a free slot
};

}  // namespace orvo
