#include "spooler/RequestQueue.h"

namespace orvo {

bool RequestQueue::Append(const std::shared_ptr<DataRequest>& request) {
  if (!request) return false;
  if (request->queue_ == this) {
    ++request->repeats_;
    return true;
  }
  if (request->queue_ != nullptr) return false;
  request->queue_ = this;
  request->priorReq_ = nullptr;
  request->nextReq_ = tail_;
  if (tail_)
    tail_->priorReq_ = request;
  else
    head_ = request;
  tail_ = request;
  return true;
}

std::shared_ptr<DataRequest> RequestQueue::TakeHead() {
  std::shared_ptr<DataRequest> taken = head_;
  if (!taken) return taken;
  if (taken->repeats_ > 0) {
    --taken->repeats_;
    return taken;
  }
  head_ = std::move(taken->priorReq_);
  if (head_)
    head_->nextReq_ = nullptr;
  else
    tail_ = nullptr;
  taken->priorReq_ = nullptr;
  taken->nextReq_ = nullptr;
  taken->queue_ = nullptr;
  return taken;
}

bool RequestQueue::Contains(std::int32_t transactionId) const noexcept {
  for (const DataRequest* request = tail_.get(); request != nullptr; request = request->nextReq_.get())
    if (request->transactionId_ == transactionId) return true;
  return false;
}

// The links of a queue are a circle of ownership: it is opened record by record, without recursion.
void RequestQueue::Unlink() noexcept {
  while (head_) {
    head_->repeats_ = 0;
    TakeHead();
  }
}

}  // namespace orvo
