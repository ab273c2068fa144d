// The sink that a driver holds: the driver is owned by the spooler and must not own it in turn.
//
// After the spooler's end every operation fails with 91.
#pragma once

#include "spooler/DataRequests.h"

#include <memory>

namespace orvo {

class WeakSink final : public IEventNotify {
 public:
  explicit WeakSink(std::weak_ptr<DataRequests> spooler) : spooler_(std::move(spooler)) {}

  // The spooler, or null when it has ended.
  std::shared_ptr<DataRequests> Spooler() const { return spooler_.lock(); }

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override {
    Target()->AsyncReadComplete(DATAValues, ItemErrors);
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) override {
    Target()->AsyncReadGroupComplete(Buffer, Error);
  }
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override {
    Target()->AsyncWriteComplete(ItemErrors);
  }
  void AsyncWriteGroupComplete(std::int32_t Error) override { Target()->AsyncWriteGroupComplete(Error); }
  void DownloadFirmwareComplete() override { Target()->DownloadFirmwareComplete(); }
  void DownloadFirmwareInProgress(std::int16_t Percent) override {
    Target()->DownloadFirmwareInProgress(Percent);
  }
  void DownloadProjectComplete() override { Target()->DownloadProjectComplete(); }
  void DownloadProjectInProgress(std::int16_t Percent) override {
    Target()->DownloadProjectInProgress(Percent);
  }

 private:
  std::shared_ptr<DataRequests> Target() const {
    std::shared_ptr<DataRequests> spooler = spooler_.lock();
    if (!spooler) RaiseRuntimeError(RuntimeError::ObjectNotSet);
    return spooler;
  }

  std::weak_ptr<DataRequests> spooler_;
};

}  // namespace orvo
