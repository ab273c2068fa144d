// What the spooler needs to know of the group and the item that a request concerns.
#pragma once

#include "values/SafeArray.h"

#include <cstdint>

namespace orvo {

// The group of a request. Arrays for the driver have the lower bound 0.
class RequestGroup {
 public:
  RequestGroup() = default;
  RequestGroup(const RequestGroup&) = delete;
  RequestGroup& operator=(const RequestGroup&) = delete;
  virtual ~RequestGroup() = default;

  // Compiled addresses and lengths in words of the items with these handles, by their index; error 6 beyond the
  // 16-bit range of indices or lengths.
  virtual SafeArray<double> CompileVariable(const SafeArray<std::int32_t>& Handles) = 0;
  virtual SafeArray<std::int16_t> GetDimension(const SafeArray<std::int32_t>& Handles) = 0;
  // The same for a request that was built at `itemsEpoch`: a handle that meanwhile belongs to another item
  // counts as unknown. The defaults know no epochs.
  virtual SafeArray<double> AddressesAsOf(const SafeArray<std::int32_t>& Handles, std::int64_t /*itemsEpoch*/) {
    return CompileVariable(Handles);
  }
  virtual SafeArray<std::int16_t> DimensionsAsOf(const SafeArray<std::int32_t>& Handles,
                                                 std::int64_t /*itemsEpoch*/) {
    return GetDimension(Handles);
  }
  // The group's identifier on the device and its byte image there.
  virtual std::int32_t GroupId() const = 0;
  virtual SafeArray<std::uint8_t> CompiledBuffer() const = 0;
  // Gets the group a definition on the device when it has none; false when it cannot have one.
  virtual bool EnsureDefined() = 0;
  virtual std::int32_t ItemCount() const = 0;
  // Milliseconds of the system tick counter at the group's latest completed request.
  virtual void PutLastUseTick(std::uint32_t tick) = 0;
  // The group's periodic read was dropped and will not be delivered.
  virtual void RefreshDropped() = 0;
};

// The item of a single-item request: its own address and length in the shapes that the driver takes, one
// element each.
class RequestItem {
 public:
  RequestItem() = default;
  RequestItem(const RequestItem&) = delete;
  RequestItem& operator=(const RequestItem&) = delete;
  virtual ~RequestItem() = default;

  virtual SafeArray<double> CompiledAddressArray() const = 0;
  virtual SafeArray<std::int16_t> DimensionArray() const = 0;  // error 6 beyond 16 bits
};

}  // namespace orvo
