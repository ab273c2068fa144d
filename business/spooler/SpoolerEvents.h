// The events of the spooler, in their published order.
//
// 1 to 4 are raised when a queued or finished request gets its turn, with the record itself; 5 to 8 at once, on
// the driver's report. A handler may call back into the spooler.
#pragma once

#include "spooler/DataRequest.h"

#include <cstdint>
#include <memory>

namespace orvo {

class SpoolerEvents {
 public:
  SpoolerEvents() = default;
  SpoolerEvents(const SpoolerEvents&) = delete;
  SpoolerEvents& operator=(const SpoolerEvents&) = delete;
  virtual ~SpoolerEvents() = default;

  virtual void ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) = 0;
  virtual void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) = 0;
  virtual void WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) = 0;
  virtual void CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) = 0;
  virtual void DownloadFirmwareComplete() = 0;
  virtual void DownloadFirmwareInProgress(std::int16_t Percent) = 0;
  virtual void DownloadProjectComplete() = 0;
  virtual void DownloadProjectInProgress(std::int16_t Percent) = 0;
};

}  // namespace orvo
