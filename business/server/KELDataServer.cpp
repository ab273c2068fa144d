// The server itself: construction, destruction, properties and the facts that groups and items ask for.

#include "server/KELDataServer.h"

#include "errors/ErrorHandling.h"
#include "errors/modConstant.h"
#include "server/SpoolerHandlers.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace orvo {

std::shared_ptr<KELDataServer> KELDataServer::Create(ServerEnvironment environment) {
  auto server = std::make_shared<KELDataServer>(environment);
  server->groups_->SetParent(std::weak_ptr<ModelServer>(server));
  server->pReqSpooler = DataRequests::Create(environment.platform);
  server->pReqSpooler->Events().Advise(std::make_shared<SpoolerHandlers>(server));
  server->timer_.RegisterSpooler(server->pReqSpooler);
  return server;
}

KELDataServer::KELDataServer(ServerEnvironment environment)
    : environment_(environment),
      timer_(environment.platform.ModuleState<modMonoSpooler>()),
      groups_(orvo::KELDataGroups::Create(environment.platform)) {}

KELDataServer::~KELDataServer() {
  // Another server may have taken over the thread's timer meanwhile; that one goes on.
  if (pReqSpooler && timer_.IsRegistered(*pReqSpooler)) {
    timer_.ServerTerminating = true;
    pReqSpooler->StopSpooler();
  }
  pReqSpooler.reset();
  status_ = StatusStopped;
  groups_.reset();
  driverConfiguration_.reset();
  device_.reset();
}

std::shared_ptr<CommunicationDriver> KELDataServer::RequireDriver() const {
  if (!driver_) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return driver_;
}

// Asks or tells the driver something; its failure, or its absence, is raised as the system's own error.
template <class Question>
auto KELDataServer::FromDriver(Question&& question) {
  const std::shared_ptr<KELDataServer> self = Hold();
  try {
    const std::shared_ptr<CommunicationDriver> driver = RequireDriver();
    return std::forward<Question>(question)(*driver);
  } catch (...) {
    const AutomationError caught = CaughtError();
    RaiseDriverError(caught.Number(), caught.Description());
  }
}

void KELDataServer::RequireNotRunning() const {
  if (status_ != StatusNotConfigured && status_ != StatusStopped)
    RaiseDataError(errInvalidState, "Server is running");
}

void KELDataServer::RequireStopped() const {
  if (status_ != StatusStopped) RaiseDataError(errInvalidState, "Server not stopped");
}

std::shared_ptr<DeviceObject> KELDataServer::RequireDevice() const {
  if (!device_) RaiseRuntimeError(RuntimeError::ObjectNotSet);
  return device_;
}

std::int16_t KELDataServer::MinorVersion() {
  return FromDriver([](CommunicationDriver& driver) { return driver.MinorVersion(); });
}

std::int16_t KELDataServer::MajorVersion() {
  return FromDriver([](CommunicationDriver& driver) { return driver.MajorVersion(); });
}

std::string KELDataServer::Description() {
  return FromDriver(
      [](CommunicationDriver& driver) { return "KEL Active Data Server\r\n" + driver.Description(); });
}

float KELDataServer::BootVersion() {
  return FromDriver([](CommunicationDriver& driver) { return driver.BootVersion(); });
}

std::string KELDataServer::BootDate() {
  return FromDriver([](CommunicationDriver& driver) { return driver.BootDate(); });
}

float KELDataServer::FirmwareVersion() {
  return FromDriver([](CommunicationDriver& driver) { return driver.FirmwareVersion(); });
}

std::string KELDataServer::BoardDescription() {
  return FromDriver([](CommunicationDriver& driver) { return driver.BoardDescription(); });
}

std::int32_t KELDataServer::BoardStatus() {
  return FromDriver([](CommunicationDriver& driver) { return driver.BoardStatus(); });
}

std::int32_t KELDataServer::CommunicationStatus() {
  return FromDriver([](CommunicationDriver& driver) { return driver.CommunicationStatus(); });
}

std::int16_t KELDataServer::WordIO() {
  return FromDriver([](CommunicationDriver& driver) { return driver.WordIO(); });
}

void KELDataServer::PutWordIO(std::int16_t NewValue) {
  RequireNotRunning();
  FromDriver([&](CommunicationDriver& driver) { driver.PutWordIO(NewValue); });
}

std::int16_t KELDataServer::Timeout() {
  return FromDriver([](CommunicationDriver& driver) { return driver.Timeout(); });
}

void KELDataServer::PutTimeout(std::int16_t NewValue) {
  RequireNotRunning();
  FromDriver([&](CommunicationDriver& driver) { driver.PutTimeout(NewValue); });
}

std::int32_t KELDataServer::ComPortNumber() {
  return FromDriver([](CommunicationDriver& driver) { return driver.ComPortNumber(); });
}

void KELDataServer::PutComPortNumber(std::int32_t NewValue) {
  FromDriver([&](CommunicationDriver& driver) { driver.PutComPortNumber(NewValue); });
}

std::string KELDataServer::ProjectName() {
  return FromDriver([](CommunicationDriver& driver) { return driver.ProjectName(); });
}

void KELDataServer::PutProjectName(const std::string& NewValue) {
  FromDriver([&](CommunicationDriver& driver) { driver.PutProjectName(NewValue); });
}

std::int32_t KELDataServer::BaudRate() {
  return FromDriver([](CommunicationDriver& driver) { return driver.BaudRate(); });
}

void KELDataServer::PutBaudRate(std::int32_t NewValue) {
  FromDriver([&](CommunicationDriver& driver) { driver.PutBaudRate(NewValue); });
}

bool KELDataServer::TransfersWholeGroups() {
  return pReqSpooler->DriverState() != 0;
}

bool KELDataServer::CheckVariable(std::int32_t totalWordLength, std::int32_t itemCount) {
  return RequireDriver()->CheckVariable(totalWordLength, itemCount);
}

std::int32_t KELDataServer::GroupCapacity() {
  return RequireDriver()->GroupCapacity();
}

std::int32_t KELDataServer::UsableGroupCapacity() {
  // In 64 bits, so that a driver's lowest number does not wrap to the highest.
  const std::int64_t usable = std::int64_t{GroupCapacity()} - 1;
  return static_cast<std::int32_t>(std::max<std::int64_t>(usable, std::numeric_limits<std::int32_t>::min()));
}

bool KELDataServer::CanActivateGroup() {
  return groups_->ActiveCount() < UsableGroupCapacity();
}

bool KELDataServer::DefineOnDevice(const KELDataGroup& group, std::int32_t define) {
  return pReqSpooler->DefineDeviceGroup(group, define);
}

}  // namespace orvo
