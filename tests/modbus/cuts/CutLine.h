// A driver that reads and writes without an end through a line that is disturbed every few seconds, and the
// judge of what it answers. Seeded; real time.
//
// A finding is thrown as std::runtime_error: a value that the item cannot have, an error that no disturbance
// explains, a request without exactly one answer, threads or files that stay.
#pragma once

#include "modbus/DriverScene.h"
#include "modbus/FaultProxy.h"
#include "modbus/ForeignServer.h"
#include "modbus/PtyLink.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

namespace orvo::modbus_test {

class CutLine {
 public:
  struct Counts {
    std::uint64_t requests = 0;
    std::uint64_t values = 0;
    std::map<std::string, std::uint64_t> errors;
    std::map<std::string, std::uint64_t> disturbances;
    long growth = 0;  // of the process's memory after the first quarter of the time, in kB
  };

  // `pause`: the mean time between two disturbances.
  CutLine(bool serial, std::uint64_t seed, std::chrono::milliseconds pause);

  // Then everything is read once more without a disturbance, and must be right.
  void Run(std::chrono::milliseconds time);
  const Counts& Counted() const noexcept { return counts_; }
  int Connections() { return proxy_.Count("connections"); }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr int FirstWritten = 1000;  // address of the holding registers that are written
  static constexpr int Written = 200;

  int Random(int first, int last);
  void DisturbWhenDue();
  void Read();
  void Write();
  // Items and what each of them must be read as: one of these.
  struct Wanted {
    std::vector<std::string> items;
    std::vector<std::set<std::string>> outcomes;
    std::vector<std::optional<int>> registers;  // which one of those that are written
  };
  Wanted RandomItems();
  void AddWord(Wanted& wanted, int address);
  // A value that a register may hold from now on.
  void Judge(const Wanted& wanted, const Outcomes& outcomes);

  const bool serial_;
  std::mt19937_64 random_;
  const std::chrono::milliseconds pause_;
  ForeignServer server_;
  FaultProxy proxy_;
  std::optional<PtyLink> line_;
  DriverScene scene_;
  Clock::time_point nextDisturbance_;
  bool refusing_ = false;
  std::array<std::set<std::string>, Written>
      held_;  // what each register may hold: one, or more after a failed write
  long residentWarm_ = 0;
  Counts counts_;
};

}  // namespace orvo::modbus_test
