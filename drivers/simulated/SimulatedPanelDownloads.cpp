// Firmware and project of the simulated panel.
#include "errors/AutomationError.h"
#include "simulated/SimulatedPanel.h"

namespace orvo {

namespace {

// Sets a flag for as long as it lives.
class Raised {
 public:
  explicit Raised(bool& flag) noexcept : flag_(flag) { flag = true; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
  ~Raised() { flag_ = false; }

 private:
  bool& flag_;
};

// A byte of a block or image that was changed on its way.
void Corrupt(std::string& bytes) {
  bytes.back() = static_cast<char>(bytes.back() ^ 1);
}

}  // namespace

void SimulatedPanel::DownloadFirmware(const std::string& FileName, std::int32_t /*Flag*/) {
  faults_->Enter(PanelOperation::DownloadFirmware);
  Download(PanelOperation::DownloadFirmware, FileName, options_.heldFirmware,
           &IEventNotify::DownloadFirmwareInProgress, &IEventNotify::DownloadFirmwareComplete);
}

void SimulatedPanel::DownloadProject(const std::string& FileName, std::int32_t /*Flag*/) {
  faults_->Enter(PanelOperation::DownloadProject);
  Download(PanelOperation::DownloadProject, FileName, options_.heldProject,
           &IEventNotify::DownloadProjectInProgress, &IEventNotify::DownloadProjectComplete);
}

void SimulatedPanel::Download(PanelOperation operation, const std::string& fileName, PanelImage& held,
                              void (IEventNotify::*progress)(std::int16_t), void (IEventNotify::*complete)()) {
  const auto self = shared_from_this();  // a handler may let go of the driver
  RequireClosed("No download");
  if (downloading_) throw AutomationError(PanelWrongState, "Another download runs");
  const Raised running(downloading_);
  const std::string name(fileName.data(), fileName.size());  // a handler may change the caller's text
  const std::string content = files_.ReadWhole(name);
  if (content.empty()) throw AutomationError(PanelBadValue, "'" + name + "' is empty");

  const std::size_t blocks = (content.size() + DownloadBlockSize - 1) / DownloadBlockSize;
  const std::uint32_t checksum = Crc32(content);
  std::string image;  // as the panel has received it
  for (std::size_t block = 1; block <= blocks; ++block) {
    const auto fault = faults_->AtBlock(operation, block);
    if (fault && *fault != PanelFaultAction::Corrupt) {
      const bool restarts = *fault == PanelFaultAction::Restart;
      if (restarts) Restart();
      throw AutomationError(PanelDownloadFailed, "The download of '" + name + "' broke off at block " +
                                                     std::to_string(block) + " of " + std::to_string(blocks) +
                                                     (restarts ? ": the panel restarted" : ""));
    }
    std::string bytes = content.substr((block - 1) * DownloadBlockSize, DownloadBlockSize);
    const std::uint32_t blockChecksum = Crc32(bytes);
    if (fault) Corrupt(bytes);
    if (Crc32(bytes) != blockChecksum)
      throw AutomationError(PanelDownloadFailed, "The download of '" + name + "' was refused at block " +
                                                     std::to_string(block) + " of " + std::to_string(blocks) +
                                                     ": its checksum is wrong");
    image += bytes;
    const auto percent = static_cast<std::int16_t>(block * 100 / blocks);
    Tell([progress, percent](IEventNotify& sink) { (sink.*progress)(percent); });
  }
  if (faults_->AtBlock(operation, 0)) Corrupt(image);
  if (Crc32(image) != checksum)
    throw AutomationError(PanelDownloadFailed,
                          "The download of '" + name + "' was refused: the checksum of the image is wrong");
  held = {PanelImageName(name), checksum};
  Tell([complete](IEventNotify& sink) { (sink.*complete)(); });
}

bool SimulatedPanel::FirmwareDownloadNeeded() {
  faults_->Enter(PanelOperation::FirmwareDownloadNeeded);
  return DownloadNeeded(options_.heldFirmware, options_.firmwareDownloadNeeded);
}

bool SimulatedPanel::ProjectDownloadNeeded() {
  faults_->Enter(PanelOperation::ProjectDownloadNeeded);
  return DownloadNeeded(options_.heldProject, options_.projectDownloadNeeded);
}

bool SimulatedPanel::DownloadNeeded(const PanelImage& held, std::optional<bool> fixed) const {
  if (fixed) return *fixed;
  return !options_.projectName.empty() && PanelImageName(options_.projectName) != held.name;
}

}  // namespace orvo
