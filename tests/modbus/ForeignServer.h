// A Modbus server that is none of ours, as a process on loopback: servers/pymodbus_server.py (TCP and RTU) and
// servers/modbus_serial_server.js (TCP). Both hold the same values: see RegisterValue and BitValue.
#pragma once

#include "modbus/Area.h"
#include "modbus/ChildProcess.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace orvo::modbus_test {

enum class Package { Pymodbus, ModbusSerial };

inline constexpr Package EachPackage[] = {Package::Pymodbus, Package::ModbusSerial};

std::ostream& operator<<(std::ostream& out, Package package);
// Why the servers of a package cannot be started; empty when they can.
std::string MissingReason(Package package);

// What every address of a table holds until something is written into it.
std::uint16_t RegisterValue(modbus::Area area, std::int32_t address);
bool BitValue(modbus::Area area, std::int32_t address);

class ForeignServer {
 public:
  // Listens when the constructor returns. `options`: of the server's command line.
  explicit ForeignServer(Package package, std::vector<std::string> options = {});

  const std::string& Port() const noexcept { return port_; }
  // "tcp://127.0.0.1:PORT".
  std::string Connection() const { return "tcp://127.0.0.1:" + port_; }
  void Kill();
  // On the same port, with everything as at the beginning.
  void Restart();
  // Stands still with its connections open, and goes on.
  void Freeze();
  void Thaw();
  std::string Log() const { return process_ ? process_->Log() : std::string(); }

 private:
  void Start();

  Package package_;
  std::vector<std::string> options_;
  std::string port_ = "0";  // or the device
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace orvo::modbus_test
