// A whole system in virtual time: platform, files, drivers, one server, and the logs of what happens.
//
// The driver configuration file "drivers.ini" names the scripted driver "Scripted.Channel", NetworkType 3,
// device types 1=PanelA, 2=PanelB, 9=Unknown.
#pragma once

#include "errors/AutomationError.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "support/EventLog.h"
#include "support/ScriptedDriver.h"

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>

namespace orvo::testing {

using namespace std::chrono_literals;

class Plant {
 public:
  explicit Plant(const CivilTime& localTime = SimulatedPlatform::DefaultStart);

  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  // Made anew by each SetDriverConfigurationFile; set before that it is the one that the factory hands out.
  std::shared_ptr<ScriptedDriver> driver = std::make_shared<ScriptedDriver>();
  std::shared_ptr<KELDataServer> server;
  Log events;

  ServerEnvironment Environment() { return {platform, files, drivers}; }
  // Driver file and device type 2: status 2.
  void Configure();
  // Configure and open: status 3.
  void Open();
  // Adds a group with one item per identifier, subscribed, its events in `events`.
  std::shared_ptr<KELDataGroup> AddGroup(std::initializer_list<const char*> itemIds);
  std::shared_ptr<GroupEventLog> Watch(KELDataGroup& group, const std::string& prefix = "");
  void Advance(std::chrono::milliseconds duration) { platform.Advance(duration); }

  // From now on the driver answers each read and write by itself, `delay` after it took it: reads with `Answer`
  // of each address, writes with error 0.
  void AnswerByItself(std::chrono::milliseconds delay = 0ms);
  // What a read of the item with this compiled address brings; by default the two bytes of the address as a
  // word.
  std::function<Variant(double address, std::int16_t dimension)> Answer;
};

// "number: description" of the error that `call` raises; "none" when it raises none.
std::string ErrorOf(const std::function<void()>& call);
// The number alone; 0 when it raises none.
std::int32_t ErrorNumberOf(const std::function<void()>& call);
// A word's bytes as a driver delivers them.
Variant Word(std::uint16_t value);
Variant DoubleWord(std::uint32_t value);
Variant Bytes(std::initializer_list<int> bytes);

}  // namespace orvo::testing
