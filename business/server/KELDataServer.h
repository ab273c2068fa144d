// The data server: the object that a client creates first. It owns the groups and the spooler, holds the
// communication driver and the device object, and decides by its status what may be changed.
//
// One server per thread; every function runs on that thread. Properties marked "driver" are not stored: each
// access goes to the driver, whose failures are raised again as the system's own (RaiseDriverError); without a
// driver they raise errInternal. Functions may be called from inside event handlers; the last reference may be
// released there too.
#pragma once

#include "errors/modConstant.h"
#include "model/KELDataGroups.h"
#include "model/ModelServer.h"
#include "platform/Files.h"
#include "platform/ThreadPlatform.h"
#include "server/ConfigurationProblem.h"
#include "server/KELDataServerEvents.h"
#include "spooler/DataRequests.h"
#include "spooler/DriverRegistry.h"
#include "values/AutomationObject.h"
#include "values/EventSource.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvo {

class IniFile;

// What a server runs on. All three outlive it and everything that it hands out.
struct ServerEnvironment {
  ThreadPlatform& platform;
  Files& files;
  const DriverRegistry& drivers;
};

class KELDataServer final : public AutomationObject, public ModelServer {
 public:
  // A new server: status 1, no driver, no groups.
  static std::shared_ptr<KELDataServer> Create(ServerEnvironment environment);
  explicit KELDataServer(ServerEnvironment environment);
  ~KELDataServer() override;

  std::int16_t MinorVersion();                            // driver
  std::int16_t MajorVersion();                            // driver
  std::string Description();                              // "KEL Active Data Server", CR LF, driver
  std::string DeviceName() const { return deviceName_; }  // from a loaded configuration
  float BootVersion();                                    // driver
  std::string BootDate();                                 // driver
  float FirmwareVersion();                                // driver
  std::string BoardDescription();                         // driver
  std::int32_t BoardStatus();                             // driver
  std::int32_t CommunicationStatus();                     // driver
  // 1 not configured, 2 configured and communication closed, 3 communication open.
  std::int32_t ServerStatus() const noexcept override { return status_; }
  std::shared_ptr<orvo::KELDataGroups> KELDataGroups() const { return groups_; }
  bool AutoDownloadFirmware() const noexcept { return autoDownloadFirmware_; }
  void PutAutoDownloadFirmware(bool NewValue) noexcept { autoDownloadFirmware_ = NewValue; }
  bool AutoDownloadProject() const noexcept { return autoDownloadProject_; }
  void PutAutoDownloadProject(bool NewValue) noexcept { autoDownloadProject_ = NewValue; }

  // driver. kept: the puts of WordIO, Timeout and DeviceType raise errInvalidState "Server is running" while
  // communication is open; those of ComPortNumber, ProjectName and BaudRate go to the driver at any status.
  std::int16_t WordIO();
  void PutWordIO(std::int16_t NewValue);
  std::int16_t Timeout();
  void PutTimeout(std::int16_t NewValue);
  std::int32_t ComPortNumber();
  void PutComPortNumber(std::int32_t NewValue);
  std::string ProjectName();
  void PutProjectName(const std::string& NewValue);
  std::int32_t BaudRate();
  void PutBaudRate(std::int32_t NewValue);

  // 0 until one was selected. The put makes the driver's device object for the kind that the driver
  // configuration file, read anew, names under the number, and sets the status to 2. Raises
  // errInvalidDeviceType for a type that the driver does not know (an unreadable file names none) and
  // errInternal for any other failure: status and type stay then, but there is no device object any more.
  std::int32_t DeviceType() const noexcept { return deviceType_; }
  void PutDeviceType(std::int32_t NewValue);

  // Applies a saved configuration: communication parameters, groups, items. All groups are removed first; the
  // file's name becomes the ProjectName. Without `bIgnoreErrors`, or when it is true, the failure of a single
  // key, group or item is passed over and the load goes on; when it is false the first one is raised and what
  // was applied before it stays: errInvalidFileFormat with file, section and key for a malformed value,
  // errCommunication, errInvalidGroupSize, or the failing step's own error. Always raised: errInvalidState
  // "Server is running" while communication is open, errInternal for a `bIgnoreErrors` that is no boolean, a
  // file that cannot be read (70, 75, 7), errInvalidFileFormat for one without "Communication Parameters".
  void LoadConfigurationFromFile(const std::string& FileName,
                                 const std::optional<Variant>& bIgnoreErrors = std::nullopt);
  // Loads a file as LoadConfigurationFromFile does with failures passed over, and tells all that was passed
  // over, in the order of the lines: what could not be applied, and what nothing reads. Raises errInvalidState
  // "Server is running" while communication is open, and 53, 70, 75, 76 or 7 for a file that cannot be read:
  // nothing changes then. Not part of the automation interface.
  std::vector<ConfigurationProblem> CheckConfigurationFile(const std::string& FileName);
  // Writes the whole set-up to a file. Raises errInvalidState "Server not stopped" unless the status is 2, a
  // name that the format cannot carry (errInvalidName, errInvalidItemId), a property's failure, 61, 70, 75 or
  // 76 for a file that cannot be written. After a failure an existing file is as it was (a disk that
  // fails at the very end may hold the new one already).
  void SaveConfigurationToFile(const std::string& FileName);

  // Reads the driver configuration file, makes the driver that its section "Drivers" names and connects it to
  // the spooler. Raises errInvalidState "Server is running" while communication is open; otherwise the failing
  // step's own error (53 no such file, 5 no such key, 13 or 6 a bad number, 429 no such driver): the steps
  // before it stay done.
  void SetDriverConfigurationFile(const std::string& FileName);
  // Downloads firmware and project when the driver needs and the server allows it, opens the driver, starts
  // spooler and groups, status 3. Never raises: read the status and CommunicationStatus. kept: a driver that
  // cannot open leaves status 3 too.
  void OpenCommunication();
  // Stops spooler and groups and closes the driver; status 3 becomes 2. Never raises. Requests that are still
  // queued are sent after the next open.
  void CloseCommunication();

  // Loads a file into the device. Raise errInvalidState "Server not stopped" unless the status is 2. Progress
  // and completion are raised meanwhile. kept: a transfer that fails is not reported by the call; the
  // completion event does not come then.
  void DownloadFirmware(const std::string& FileName);
  void DownloadProject(const std::string& FileName);

  EventSource<KELDataServerEvents>& Events() noexcept { return events_; }

  // For the other classes of the system and for tests.
  const std::shared_ptr<DataRequests>& Spooler() const noexcept { return pReqSpooler; }
  void SetDeviceName(std::string name) { deviceName_ = std::move(name); }
  // The device object, or error 91.
  std::shared_ptr<DeviceObject> RequireDevice() const;
  // A synchronous request has come back: its caller stops waiting.
  void SynchronousRequestDelivered(DataRequest& request) noexcept;

  // RequestRunner.
  std::shared_ptr<DataRequest> RunRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) override;
  std::shared_ptr<DataRequest> RunWrite(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                                        const SafeArray<Variant>& values) override;
  std::shared_ptr<DataRequest> RunReadAll(KELDataGroup& group) override;
  std::shared_ptr<DataRequest> RunWriteAll(KELDataGroup& group, const SafeArray<std::uint8_t>& buffer) override;
  std::shared_ptr<DataRequest> RunReadItem(KELDataItem& item) override;
  std::shared_ptr<DataRequest> RunWriteItem(KELDataItem& item, const Variant& value) override;
  std::int32_t QueueRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) override;
  std::int32_t QueueWrite(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                          const SafeArray<Variant>& values) override;
  std::int32_t QueueReadAll(KELDataGroup& group) override;
  std::int32_t QueueWriteAll(KELDataGroup& group, const SafeArray<std::int32_t>& handles,
                             const SafeArray<std::uint8_t>& buffer) override;
  std::int32_t QueueRatedRead(KELDataGroup& group, const SafeArray<std::int32_t>& handles) override;
  std::int32_t QueueRatedReadAll(KELDataGroup& group) override;
  void Cancel(std::int32_t transactionId) override;

  // DeviceFacts.
  std::shared_ptr<DeviceObject> Device() const override { return device_; }
  bool TransfersWholeGroups() override;
  bool CheckVariable(std::int32_t totalWordLength, std::int32_t itemCount) override;
  std::int32_t GroupCapacity() override;
  std::int32_t UsableGroupCapacity() override;
  bool CanActivateGroup() override;
  bool DefineOnDevice(const KELDataGroup& group, std::int32_t define) override;
  std::shared_ptr<orvo::KELDataGroups> Groups() const override { return groups_; }
  std::shared_ptr<KELDataServer> Server() override { return Hold(); }

 private:
  std::shared_ptr<KELDataServer> Hold() { return std::static_pointer_cast<KELDataServer>(shared_from_this()); }
  std::shared_ptr<CommunicationDriver> RequireDriver() const;
  template <class Question>
  auto FromDriver(Question&& question);
  // Whether the saved facts of an item are those that the device compiles of its identifier; the difference as
  // a text otherwise.
  std::string CompiledDifference(const KELDataItem& item) const;
  void ApplyConfiguration(const IniFile& file, const std::string& FileName,
                          const std::function<void(std::size_t, const AutomationError&)>& failed);
  void RequireNotRunning() const;
  void RequireStopped() const;
  void DownloadWhatIsNeeded();
  static std::string DownloadName(const std::string& projectName, const char* extension);
  std::shared_ptr<DataRequest> NewRequest(ReqType type, KELDataGroup& group) const;
  std::shared_ptr<DataRequest> ListRequest(ReqType type, KELDataGroup& group,
                                           const SafeArray<std::int32_t>& handles) const;
  std::shared_ptr<DataRequest> ItemRequest(ReqType type, KELDataItem& item) const;
  void RunSynchronous(const std::shared_ptr<DataRequest>& request);
  void AwaitSynchronous(DataRequest& request);

  // Constant after construction.
  const ServerEnvironment environment_;
  modMonoSpooler& timer_;

  std::shared_ptr<orvo::KELDataGroups> groups_;
  std::int32_t status_ = StatusNotConfigured;
  std::int32_t deviceType_ = 0;
  std::uint32_t closings_ = 0;  // how often CloseCommunication was called
  bool autoDownloadFirmware_ = false;
  bool autoDownloadProject_ = false;
  std::string deviceName_;
  std::optional<std::string> driverConfiguration_;  // the file's name; read again at each use
  std::shared_ptr<DeviceObject> device_;
  std::shared_ptr<CommunicationDriver> driver_;
  std::shared_ptr<DataRequests> pReqSpooler;
  EventSource<KELDataServerEvents> events_;
};

}  // namespace orvo
