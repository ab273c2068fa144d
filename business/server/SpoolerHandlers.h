// The server's handlers of the spooler's events: completions go to their groups, download reports to the
// client.
#pragma once

#include "spooler/SpoolerEvents.h"

#include <cstdint>
#include <memory>

namespace orvo {

class KELDataGroup;
class KELDataServer;

// Connected to the spooler that the server owns, so it holds the server weakly; after the server's end it does
// nothing.
class SpoolerHandlers final : public SpoolerEvents {
 public:
  explicit SpoolerHandlers(std::weak_ptr<KELDataServer> server);

  void ReadRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void ReadRatedRequestComplete(const std::shared_ptr<DataRequest>& RRequest) override;
  void WriteRequestComplete(const std::shared_ptr<DataRequest>& WRequest) override;
  void CancelRequestComplete(const std::shared_ptr<DataRequest>& CRequest) override;
  void DownloadFirmwareComplete() override;
  void DownloadFirmwareInProgress(std::int16_t Percent) override;
  void DownloadProjectComplete() override;
  void DownloadProjectInProgress(std::int16_t Percent) override;

 private:
  std::weak_ptr<KELDataServer> server_;
};

}  // namespace orvo
