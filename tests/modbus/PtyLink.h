// A serial line of pseudo terminals, made by socat in a folder of its own: two devices that are connected, or
// one device that is connected to a TCP port of loopback.
#pragma once

#include "modbus/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>

namespace orvo::modbus_test {

class PtyLink {
 public:
  PtyLink();                                     // Device() and OtherDevice()
  explicit PtyLink(const std::string& tcpPort);  // Device() and the port
  PtyLink(const PtyLink&) = delete;
  PtyLink& operator=(const PtyLink&) = delete;
  ~PtyLink();

  std::string Device() const { return (folder_ / "driver").string(); }
  std::string OtherDevice() const { return (folder_ / "device").string(); }
  // "rtu://DEVICE?baud=115200&parity=none": pseudo terminals know no parity.
  std::string Connection() const { return "rtu://" + Device() + "?baud=115200&parity=none"; }
  // The devices are gone, and come back under the same names.
  void Break();
  void Repair();

 private:
  std::filesystem::path folder_;
  std::string tcpPort_;
  std::unique_ptr<ChildProcess> socat_;
  int held_ = -1;  // the driver's end, once more: socat ends when nobody has it open
};

}  // namespace orvo::modbus_test
