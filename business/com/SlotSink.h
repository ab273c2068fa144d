// The event sink of a COM server behind the core's sink, for drivers of the core that a COM server uses.
#pragma once

#include "IORVOBusiness_h.h"
#include "com/ComPtr.h"
#include "spooler/IEventNotify.h"

namespace orvo::com {

class SlotSink final : public orvo::IEventNotify {
 public:
  explicit SlotSink(ComPtr<::IEventNotify> sink) : sink_(std::move(sink)) {}

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
  using Sink = ::IEventNotify;

  const ComPtr<Sink> sink_;
};

}  // namespace orvo::com
