// A plant in which one public operation meets one failure of the driver: the set-up before it, a picture of all
// that a client can see, and the proof afterwards that the server goes on and that nothing is left of it.
//
// Groups: "G" (GroupId 5, buffer of ten bytes) with the items a WO1, b DW2, c FL3, and "H" (GroupId 6) with
// d WO4. Both are subscribed; events stand in the plant's log, those of H with "H " before them.
#pragma once

#include "faults/FaultyDriver.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace orvo::testing {

struct FaultSetup {
  std::int32_t status = 3;   // 0: not even a driver
  bool wholeGroups = false;  // the driver transfers whole groups
  bool active = false;       // G is refreshed every 1000 ms; one refresh was delivered
  bool downloads = false;    // firmware and project are to be downloaded while opening
  bool full = false;         // the device holds two definitions, those of H and of a third group
  bool fresh = false;        // communication was never open and nothing was read
};

// What can be seen, by name: "Status", "G.Active", "G.a.DATAValue".
using Picture = std::map<std::string, std::string>;
// "G.Active=False, Status=3": what is other in `after`. Of a group or an item that is new or gone only the list
// that it stands in is told.
std::string Difference(const Picture& before, const Picture& after);

class FaultScene {
  const std::int64_t liveBefore_ = AutomationObject::LiveCount();  // before the plant is made

 public:
  explicit FaultScene(const FaultSetup& setup);
  ~FaultScene();
  FaultScene(const FaultScene&) = delete;
  FaultScene& operator=(const FaultScene&) = delete;

  std::unique_ptr<Plant> plant = std::make_unique<Plant>();
  std::unique_ptr<FaultyDriver> driver = std::make_unique<FaultyDriver>(*plant);
  std::shared_ptr<KELDataGroup> group;  // G; null at status 0
  std::shared_ptr<KELDataItem> item;    // its first; null below status 2

  KELDataServer& Server() const { return *plant->server; }
  KELDataGroups& Groups() const { return *plant->server->KELDataGroups(); }
  KELDataItems& Items() const { return *group->KELDataItems(); }
  void Advance(std::chrono::milliseconds duration) const { plant->Advance(duration); }

  Picture Look() const;
  // Events so far, joined by "; ", and forgotten.
  std::string TakeEvents();

  // Once the driver is well again: what did not work before does now, and each request gets its own answer. The
  // same server, groups and items go on where they are; what a failed configuration took away is made anew.
  // What was wrong, or nothing.
  std::string Recover();
  // Ends everything. What is left over, or nothing.
  std::string End();

 private:
  void MakeGroups();
  void OpenForTheFirstTime();
  void Reconfigure();
  std::string GoOn();
  std::string ReadsItsOwn();
  std::string AsynchronousReadsTheirOwn();
  std::string WritesItsOwn();
  std::string RefreshesItsOwn();

  const FaultSetup setup_;
};

// "[I2:21,I4:22,R4:23]" and "[R8:21,R8:22,R4:23]": what the items of G hold after a read with this serial, item
// by item and as a whole group.
std::string ItemValues(int serial);
std::string GroupValues(int serial);

}  // namespace orvo::testing
