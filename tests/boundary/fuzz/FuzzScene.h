// The system that calls are generated for: one server in virtual time with files in memory, an object of every
// class, and what the calls hand out.
#pragma once

#include "ArgumentMaker.h"
#include "FuzzRandom.h"
#include "ORVOBusiness_h.h"
#include "com/ThreadHome.h"
#include "platform/simulated/SimulatedPlatform.h"

#include <array>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace orvo::testing {

struct FuzzMember {
  DISPID id = 0;
  std::string name;
};

// One dispatch interface of the system and the objects that have it.
struct FuzzClass {
  std::string name;
  const com::InterfaceInfo* info = nullptr;
  std::vector<FuzzMember> members;
  std::vector<com::ComPtr<IDispatch>> objects;  // never empty
};

class FuzzScene {
 public:
  // `called` runs when a client's object is called, a sink for example.
  FuzzScene(FuzzRandom& random, std::function<void()> called);
  FuzzScene(const FuzzScene&) = delete;
  FuzzScene& operator=(const FuzzScene&) = delete;
  ~FuzzScene();

  std::vector<FuzzClass>& Classes() noexcept { return classes_; }
  const FuzzWorld& World() const noexcept { return world_; }

  void Open();
  // Closes communication if a call has opened it.
  void Close();
  // Connects a sink to some object with events.
  void Advise();
  // Takes an object that a call handed out; some are kept as targets of later calls.
  void Take(IUnknown* object);
  void Advance(std::chrono::milliseconds duration) { Platform().Advance(duration); }

 private:
  SimulatedPlatform& Platform() { return static_cast<SimulatedPlatform&>(home_->Platform()); }
  void AddClass(REFIID iid, com::ComPtr<IDispatch> first);
  void AddGroup(const com::ComPtr<_KELDataGroups>& groups, const wchar_t* name);
  void NoteObjects();
  void BreakCircles();

  FuzzRandom& random_;
  FuzzWorld world_;
  std::shared_ptr<com::ThreadHome> home_;
  com::ComPtr<_KELDataServer> server_;
  com::ComPtr<_DataRequests> spooler_;
  std::vector<FuzzClass> classes_;
  // All that were a target once: a client can chain them in circles, which only it can open again.
  std::vector<com::ComPtr<_DataRequest>> requests_;
};

}  // namespace orvo::testing
