// The event sink that a communication driver calls back, its operations in slot order.
//
// Called on the owner's thread only, from its message loop or inside a call into the driver. A completion
// carries no transaction id: the system has at most one read or write in flight, and each completion belongs to
// that one. A handler that fails throws: the driver's callback has failed then, and the request stays in
// flight.
#pragma once

#include "values/Variant.h"

#include <cstdint>

namespace orvo {

class IEventNotify {
 public:
  IEventNotify() = default;
  IEventNotify(const IEventNotify&) = delete;
  IEventNotify& operator=(const IEventNotify&) = delete;
  virtual ~IEventNotify() = default;

  // The end of ReadItems: values and errors (0 = success) by position of the request's addresses.
  virtual void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                                 const SafeArray<std::int32_t>& ItemErrors) = 0;
  // The end of ReadGroup: the whole group's bytes and one error for all of it.
  virtual void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) = 0;
  // The end of WriteItems.
  virtual void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) = 0;
  // The end of WriteGroup.
  virtual void AsyncWriteGroupComplete(std::int32_t Error) = 0;
  virtual void DownloadFirmwareComplete() = 0;
  virtual void DownloadFirmwareInProgress(std::int16_t Percent) = 0;
  virtual void DownloadProjectComplete() = 0;
  virtual void DownloadProjectInProgress(std::int16_t Percent) = 0;
};

}  // namespace orvo
