// One unit of work for the spooler: a read or write of some items of a group, of a whole group, or of one item.
//
// The builder fills it and hands it to DataRequests::AddRequest; after completion the same record comes back,
// filled with results, through the spooler's events. Arrays are held by value: setting copies the caller's
// array in, getting copies it out. No function checks its argument or raises an error.
#pragma once

#include "spooler/ReqType.h"
#include "spooler/RequestParties.h"
#include "values/AutomationObject.h"
#include "values/Variant.h"

#include <cstdint>
#include <memory>

namespace orvo {

class RequestQueue;

class DataRequest final : public AutomationObject {
 public:
  static std::shared_ptr<DataRequest> Create();
  DataRequest() = default;
  ~DataRequest() override;

  // Queue links while the record is in a queue: PriorReq is the record queued right after this one (toward the
  // tail), NextReq the one queued right before it (toward the head). Empty outside a queue.
  std::shared_ptr<DataRequest> PriorReq() const { return priorReq_; }
  void PutPriorReq(std::shared_ptr<DataRequest> NewValue) { priorReq_ = std::move(NewValue); }
  std::shared_ptr<DataRequest> NextReq() const { return nextReq_; }
  void PutNextReq(std::shared_ptr<DataRequest> NewValue) { nextReq_ = std::move(NewValue); }

  // A ReqType; any 32-bit value is stored.
  std::int32_t RequestType() const noexcept { return requestType_; }
  void PutRequestType(std::int32_t NewValue) noexcept { requestType_ = NewValue; }

  // The group that issued the request and receives its results.
  std::shared_ptr<RequestGroup> ReqGroup() const { return reqGroup_; }
  void PutReqGroup(std::shared_ptr<RequestGroup> NewValue) { reqGroup_ = std::move(NewValue); }
  // The item of a single-item request; empty otherwise.
  std::shared_ptr<RequestItem> ReqItem() const { return reqItem_; }
  void PutReqItem(std::shared_ptr<RequestItem> NewValue) { reqItem_ = std::move(NewValue); }

  // 1..999, given by the spooler when the request is queued; 0 before.
  std::int32_t TransactionId() const noexcept { return transactionId_; }
  void PutTransactionId(std::int32_t NewValue) noexcept { transactionId_ = NewValue; }
  // System tick counter in milliseconds when the request was built; set by the builder.
  std::int32_t TickSent() const noexcept { return tickSent_; }
  void PutTickSent(std::int32_t NewValue) noexcept { tickSent_ = NewValue; }
  // 0 = success; meaningful after completion.
  std::int32_t Error() const noexcept { return error_; }
  void PutError(std::int32_t NewValue) noexcept { error_ = NewValue; }

  // Item handles, device values and item errors are parallel by position; the buffer is a whole group's byte
  // image. Requests of this system's builders carry arrays with lower bound 0.
  SafeArray<std::int32_t> Handles() const { return handles_; }
  SafeArray<Variant> DATAValues() const { return dataValues_; }
  SafeArray<std::int32_t> Errors() const { return errors_; }
  SafeArray<std::uint8_t> Buffer() const { return buffer_; }
  void SetHandles(const SafeArray<std::int32_t>& ItemHandles) { handles_ = ItemHandles; }
  void SetDATAValues(const SafeArray<Variant>& ItemDATAValues) { dataValues_ = ItemDATAValues; }
  void SetErrors(const SafeArray<std::int32_t>& ItemErrors) { errors_ = ItemErrors; }
  void SetBuffer(const SafeArray<std::uint8_t>& Buffer) { buffer_ = Buffer; }
  void GetDATAValues(SafeArray<Variant>& ItemDATAValues) const { ItemDATAValues = dataValues_; }

  // Not for clients: the group's items epoch when the request was built; it tells whether a handle still
  // belongs to the item that was meant.
  std::int64_t ItemsEpoch() const noexcept { return itemsEpoch_; }
  void PutItemsEpoch(std::int64_t epoch) noexcept { itemsEpoch_ = epoch; }

  // Not for clients: the request has come to its own end, delivered or refused by the driver. What a waiting
  // caller finds in a record that is not concluded belongs to nobody.
  bool IsConcluded() const noexcept { return concluded_; }
  void Conclude() noexcept { concluded_ = true; }

 private:
  friend class RequestQueue;

  std::shared_ptr<DataRequest> priorReq_;
  std::shared_ptr<DataRequest> nextReq_;
  std::int32_t requestType_ = 0;
  std::shared_ptr<RequestGroup> reqGroup_;
  std::shared_ptr<RequestItem> reqItem_;
  std::int32_t transactionId_ = 0;
  SafeArray<std::int32_t> handles_;
  SafeArray<Variant> dataValues_;
  SafeArray<std::int32_t> errors_;
  SafeArray<std::uint8_t> buffer_;
  std::int32_t tickSent_ = 0;
  std::int32_t error_ = 0;
  bool concluded_ = false;
  std::int64_t itemsEpoch_ = 0;

  const RequestQueue* queue_ = nullptr;  // the queue that the record is in
  std::int32_t repeats_ = 0;             // how often more the record is to be taken from it
};

}  // namespace orvo
