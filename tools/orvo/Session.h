// What every command of the client works with: this thread's platform, the drivers that it knows, and one
// server.
//
// While a session lives, a signal that was noted (Interrupt) closes communication within 50 ms of pumping and
// releases a synchronous call that waits. Its end closes communication.
#pragma once

#include "BuiltInFiles.h"
#include "Connection.h"
#include "DriverLog.h"
#include "DriverSources.h"
#include "ItemArgument.h"
#include "platform/portable/PortablePlatform.h"
#include "server/KELDataServer.h"
#include "spooler/DriverRegistry.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orvo::client {

// Items that a command works on: those of the command line, or those of the configuration.
struct Selection {
  std::vector<std::string> items;
  std::string group;  // one group of the configuration; empty: all
};

class Session {
 public:
  Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // Chooses driver and device type, loads the configuration, applies the settings: status 2. Raises what the
  // server raises, UsageError for settings.
  void Configure(const Connection& connection);
  // Opens communication. errCommunication with the driver's text when the driver cannot; the server is at
  // status 3 then all the same.
  void Open();
  void Close();

  // A group with these items. errInvalidItemId for an identifier that the device does not know.
  std::shared_ptr<KELDataGroup> AddItems(const std::string& groupName, const std::vector<ItemArgument>& items);
  // The groups of the selection; items of the command line are in a new one called `groupName`.
  // UsageError when there is neither an item nor a configuration with items.
  std::vector<std::shared_ptr<KELDataGroup>> Select(const Selection& selection, const std::string& groupName);

  bool HasConfiguration() const noexcept { return hasConfiguration_; }

  // Closes communication when the client is to end. Called by a timer while messages are pumped.
  void PollInterrupt();
  // Ends the wait of the synchronous call that is in progress; it finds error 1.
  void ReleaseWaiting();

  const DriverLog& Log() const noexcept { return *log_; }
  const DriverSources& Sources() const noexcept { return sources_; }

  PortablePlatform platform;

 private:
  // errInvalidDeviceType tells which types the driver configuration file has.
  void PutDeviceType(std::int32_t deviceType);
  void LoadConfiguration(const Connection& connection, std::int32_t deviceType);

  BuiltInFiles files_;
  std::string driverFile_;
  const std::shared_ptr<DriverLog> log_ = std::make_shared<DriverLog>();
  DriverSources sources_;
  DriverRegistry own_;       // what there is
  DriverRegistry observed_;  // the same, each driver inside an ObservedDriver
  bool hasConfiguration_ = false;
  bool interrupted_ = false;
  std::int32_t pollTimer_ = 0;

 public:
  std::shared_ptr<KELDataServer> server;  // ends before what it runs on
};

// The driver configuration file of the built-in panel.
std::string BuiltInDriverFile(const std::string& panelFile);

}  // namespace orvo::client
