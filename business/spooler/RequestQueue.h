// A queue of requests, oldest first, threaded through the records themselves.
//
// A record is in at most one queue. Appending a record that already is in the queue makes it come out once
// more, right after its first time: it is never linked to itself.
#pragma once

#include "spooler/DataRequest.h"

#include <cstdint>
#include <memory>

namespace orvo {

class RequestQueue {
 public:
  RequestQueue() = default;
  RequestQueue(const RequestQueue&) = delete;
  RequestQueue& operator=(const RequestQueue&) = delete;
  ~RequestQueue() { Unlink(); }

  const std::shared_ptr<DataRequest>& Head() const noexcept {
    return head_;
  }  // oldest, empty when the queue is
  const std::shared_ptr<DataRequest>& Tail() const noexcept { return tail_; }  // newest

  // Appends at the tail. Returns false, and changes nothing, for no record and for one that is in another
  // queue.
  bool Append(const std::shared_ptr<DataRequest>& request);
  // Takes the head out; empty when the queue is.
  std::shared_ptr<DataRequest> TakeHead();
  // Whether a record with this id is in the queue; searched from the tail to the head.
  bool Contains(std::int32_t transactionId) const noexcept;
  bool Holds(const DataRequest& request) const noexcept { return request.queue_ == this; }

 private:
  void Unlink() noexcept;

  std::shared_ptr<DataRequest> head_;
  std::shared_ptr<DataRequest> tail_;
};

}  // namespace orvo
