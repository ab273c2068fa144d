// Choosing the driver and the device, opening and closing communication.

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "server/IniFile.h"
#include "server/KELDataServer.h"
#include "values/VariantConversion.h"

#include <utility>

namespace orvo {

namespace {

constexpr const char* DriversSection = "Drivers";
constexpr const char* DriverKey = "DataCommunication";
constexpr const char* NetworkTypeKey = "NetworkType";

// A driver may throw what is no error of ours; a client gets number and text all the same.
template <class Call>
decltype(auto) WithOwnErrors(Call&& call) {
  try {
    return std::forward<Call>(call)();
  } catch (...) {
    throw CaughtError();
  }
}

}  // namespace

void KELDataServer::SetDriverConfigurationFile(const std::string& FileName) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireNotRunning();
  // kept: no handler of its own; a step that fails raises its own error and the steps before it stay done.
  driverConfiguration_ = FileName;
  const IniFile configuration = IniFile::Parse(environment_.files.ReadWhole(FileName));
  const std::optional<std::string> progId = configuration.Value(DriversSection, DriverKey);
  if (!progId.has_value())
    RaiseRuntimeError(RuntimeError::InvalidProcedureCall,
                      FileName + " has no key '" + DriverKey + "' in section '" + DriversSection + "'");
  driver_ = WithOwnErrors([&] {
    return environment_.drivers.Create(*progId, {environment_.platform, environment_.files});
  });
  if (const auto networkType = configuration.Value(DriversSection, NetworkTypeKey)) {
    const std::shared_ptr<CommunicationDriver> driver = driver_;
    WithOwnErrors([&] { driver->PutNetworkType(ToI4(Variant(*networkType))); });
  }
  WithOwnErrors([&] { pReqSpooler->PutDataComm(driver_); });
}

void KELDataServer::PutDeviceType(std::int32_t NewValue) {
  const std::shared_ptr<KELDataServer> self = Hold();
  RequireNotRunning();
  // Empty without a file, section or key; the driver is asked all the same.
  std::string deviceKind;
  Suppressed([&] {
    if (!driverConfiguration_) return;
    const IniFile configuration = IniFile::Parse(environment_.files.ReadWhole(*driverConfiguration_));
    deviceKind = configuration.Value(DriversSection, std::to_string(NewValue)).value_or("");
  });
  device_ = nullptr;  // kept: an assignment that fails has already given up the previous device object
  // A driver's failure is wrapped whatever its number; only the check that follows raises its own error.
  std::shared_ptr<DeviceObject> device = WithTrace(
      OwnErrors::Wrap, [&] { return ":Server.DeviceType(NewValue=" + std::to_string(NewValue); },
      [&] { return RequireDriver()->CreateDevice(deviceKind); });
  RequireNotRunning();  // the driver can come back in and open communication
  device_ = std::move(device);
  if (!device_) RaiseDataError(errInvalidDeviceType, std::to_string(NewValue));
  status_ = StatusStopped;
  deviceType_ = NewValue;
}

void KELDataServer::OpenCommunication() {
  const std::shared_ptr<KELDataServer> self = Hold();
  // Each step raises its failure and the raise is trapped: the next step runs, the call returns normally.
  const bool configured = Suppressed([&] {
    if (status_ == StatusNotConfigured) RaiseDataError(errInvalidState, "Server is not configured");
  });
  if (!configured) return;
  const std::uint32_t closings = closings_;
  DownloadWhatIsNeeded();
  Suppressed([&] {
    if (!Suppressed([&] { RequireDriver()->OpenCommunication(true); }))
      RaiseDataError(errCommunication, "Can't open communication");
  });
  // kept: these run after a failed open too, so that the server is at status 3 with its spooler running.
  Suppressed([&] { pReqSpooler->StartSpooler(); });
  Suppressed([&] { groups_->StartGroups(); });
  // What the driver called back with meanwhile counts: a close is not undone by the rest of the open.
  if (closings_ == closings)
    status_ = StatusRunning;
  else if (status_ != StatusRunning)
    CloseCommunication();
}

void KELDataServer::DownloadWhatIsNeeded() {
  const auto firmwareWanted = [&] {
    return AnswerOr(false, [&] { return RequireDriver()->FirmwareDownloadNeeded(); });
  };
  const auto projectWanted = [&] {
    return AnswerOr(false, [&] { return RequireDriver()->ProjectDownloadNeeded(); });
  };
  const bool firmwareNeeded = firmwareWanted();
  const bool projectNeeded = projectWanted();
  if (!(firmwareNeeded && autoDownloadFirmware_) && !(projectNeeded && autoDownloadProject_)) return;
  const bool configuring = Suppressed([&] {
    if (!AnswerOr(false, [&] { return RequireDriver()->SetConfigurationMode(); }))
      RaiseDataError(errCommunication, "Can't set board in configuration mode");
  });
  if (!configuring) return;
  if (firmwareWanted() && autoDownloadFirmware_) {
    Suppressed([&] {
      if (!pReqSpooler->DownloadFirmware(DownloadName(RequireDriver()->ProjectName(), ".fw")))
        RaiseDataError(errCommunication, "Can't download firmware");
    });
  }
  if (projectWanted() && autoDownloadProject_) {
    Suppressed([&] {
      if (!pReqSpooler->DownloadProject(DownloadName(RequireDriver()->ProjectName(), ".obj")))
        RaiseDataError(errCommunication, "Can't download project");
    });
  }
}

// kept: cut at the last "." anywhere, also at one inside a folder's name.
std::string KELDataServer::DownloadName(const std::string& projectName, const char* extension) {
  return projectName.substr(0, projectName.rfind('.')) + extension;
}

void KELDataServer::CloseCommunication() {
  const std::shared_ptr<KELDataServer> self = Hold();
  ++closings_;
  Suppressed([&] { pReqSpooler->StopSpooler(); });
  Suppressed([&] { groups_->StopGroups(); });
  Suppressed([&] { RequireDriver()->CloseCommunication(); });
  if (status_ == StatusRunning) status_ = StatusStopped;
}

}  // namespace orvo
