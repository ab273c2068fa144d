// The events of a group, in their published order. Raised only while the group is subscribed, on the owner's
// thread, from its message loop. A handler may call back into everything; arrays have the lower bound 0 and are
// parallel.
#pragma once

#include "values/Variant.h"

#include <cstdint>

namespace orvo {

class KELDataGroupEvents {
 public:
  KELDataGroupEvents() = default;
  KELDataGroupEvents(const KELDataGroupEvents&) = delete;
  KELDataGroupEvents& operator=(const KELDataGroupEvents&) = delete;
  virtual ~KELDataGroupEvents() = default;

  // The items whose device value changed since the previous refresh, with their client values.
  virtual void DataChange(const SafeArray<std::int32_t>& /*DataHandles*/,
                          const SafeArray<Variant>& /*USERValues*/) {}
  // The end of the asynchronous read with this id. An error of 0 is success; the value beside another error is
  // no reading of the device.
  virtual void AsyncReadComplete(std::int32_t /*TransactionId*/, const SafeArray<std::int32_t>& /*DataHandles*/,
                                 const SafeArray<Variant>& /*USERValues*/,
                                 const SafeArray<std::int32_t>& /*DataErrors*/) {}
  // The same for a read of the whole group as one block.
  virtual void AsyncReadAllComplete(std::int32_t /*TransactionId*/,
                                    const SafeArray<std::int32_t>& /*DataHandles*/,
                                    const SafeArray<Variant>& /*USERValues*/,
                                    const SafeArray<std::int32_t>& /*DataErrors*/) {}
  // The end of an asynchronous write of the whole group as one block.
  virtual void AsyncWriteAllComplete(std::int32_t /*TransactionId*/,
                                     const SafeArray<std::int32_t>& /*DataHandles*/,
                                     const SafeArray<std::int32_t>& /*DataErrors*/) {}
  virtual void AsyncWriteComplete(std::int32_t /*TransactionId*/,
                                  const SafeArray<std::int32_t>& /*DataHandles*/,
                                  const SafeArray<std::int32_t>& /*DataErrors*/) {}
  // A cancelled request was taken out of the queue before it was sent.
  virtual void AsyncCancelComplete(std::int32_t /*TransactionId*/, bool /*Success*/) {}
};

}  // namespace orvo
