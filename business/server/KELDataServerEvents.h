// The events of the server. The numbers are their dispatch identifiers. Raised inside the download, on the
// owner's thread.
#pragma once

#include <cstdint>

namespace orvo {

class KELDataServerEvents {
 public:
  KELDataServerEvents() = default;
  KELDataServerEvents(const KELDataServerEvents&) = delete;
  KELDataServerEvents& operator=(const KELDataServerEvents&) = delete;
  virtual ~KELDataServerEvents() = default;

  virtual void DownloadFirmwareInProgress(std::int16_t /*Percent*/) {}  // 1
  virtual void DownloadProjectInProgress(std::int16_t /*Percent*/) {}   // 2
  virtual void DownloadFirmwareComplete() {}                            // 3
  virtual void DownloadProjectComplete() {}                             // 4
};

}  // namespace orvo
