// The automation boundary over a system in virtual time: what a client in this process holds, and the world
// behind it.
//
// Two driver configuration files: "panel.ini" names the simulated panel, "scripted.ini" the scripted driver
// (which completes nothing by itself); both know device type 2. A scene counts what is alive: at its end
// nothing of the module may be left.
#pragma once

#include "ORVOBusiness_h.h"
#include "boundary/Value.h"
#include "com/ModuleCount.h"
#include "com/ThreadHome.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "simulated/SimulatedPanel.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <memory>

namespace orvo::testing {

using namespace std::chrono_literals;

class Scene {
 public:
  Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  // Expects that nothing is alive once the scene's own references are gone.
  ~Scene();

  // A new server, as the class factory makes it.
  static ComPtr<_KELDataServer> NewServer();
  // Driver and device type 2: status 2. Makes the server if there is none.
  void Configure(const char* driverFile = "panel.ini");
  // Configure and open: status 3.
  void Open(const char* driverFile = "panel.ini");
  // A group with one item per identifier; communication must be closed.
  ComPtr<_KELDataGroup> AddGroup(std::initializer_list<const char*> itemIds = {}, const char* name = nullptr);
  ComPtr<_KELDataGroups> Groups();
  ComPtr<_KELDataItem> Item(const ComPtr<_KELDataGroup>& group, LONG handle);
  // The spooler of the server.
  ComPtr<_DataRequests> Spooler();
  // A record as the server makes it.
  static ComPtr<_DataRequest> NewRequest();
  void Advance(std::chrono::milliseconds duration) { Platform().Advance(duration); }

  SimulatedPlatform& Platform() { return static_cast<SimulatedPlatform&>(home_->Platform()); }
  MemoryFiles& Files() { return static_cast<MemoryFiles&>(home_->FileSystem()); }
  // Objects of the boundary that are alive, the thread's home (which the scene keeps) not counted.
  std::int64_t ObjectsAlive() const { return com::ModuleCount::Value() - (home_ ? 1 : 0); }
  // Lets go of the thread's home; it must end with the last object then.
  std::weak_ptr<com::ThreadHome> DropHome();

  ComPtr<_KELDataServer> server;
  std::shared_ptr<ScriptedDriver> scripted = std::make_shared<ScriptedDriver>();
  // The panel made last.
  std::shared_ptr<SimulatedPanel> Panel() const { return panel_.lock(); }

 private:
  std::weak_ptr<SimulatedPanel> panel_;
  std::shared_ptr<com::ThreadHome> home_;
};

// A test with a scene.
class Boundary : public ::testing::Test {
 protected:
  Scene scene;
};

// A string for an argument, freed with the statement.
class Text16 {
 public:
  explicit Text16(std::string_view text) : value_(Str(text)) {}
  operator BSTR() { return value_->bstrVal; }
  BSTR* operator&() { return &value_->bstrVal; }

 private:
  Value value_;
};

}  // namespace orvo::testing
