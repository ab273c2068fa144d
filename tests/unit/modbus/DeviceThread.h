// A device on a thread of its own, for the line over libmodbus: takes what comes and answers what a test says,
// over a TCP port of loopback or a pseudo terminal.
#pragma once

#include "modbus/Settings.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace orvo::modbus {

using Octets = std::vector<std::uint8_t>;

// Bytes out of "01 2B FF".
Octets FromHex(const std::string& text);
// With the CRC of a serial line behind it.
Octets WithCrc(Octets frame);

// What goes back for the `number`th thing (from 0) that came, which is `bytes`. In its end the other side sees
// the end of the connection.
struct DeviceReply {
  Octets bytes;
  bool ends = false;
};
using DeviceReplies = std::function<DeviceReply(int number, const Octets& bytes)>;

class DeviceThread {
 public:
  // On TCP it serves one connection after the other.
  DeviceThread(Transport transport, DeviceReplies replies);
  DeviceThread(const DeviceThread&) = delete;
  DeviceThread& operator=(const DeviceThread&) = delete;
  ~DeviceThread();

  // The connection to it, with this time-out.
  Settings Connection(int timeoutMs) const;
  // Unasked, on a pseudo terminal.
  void Send(const Octets& bytes) const;

 private:
  void ListenOnTcp();
  void MakeTerminal();
  void ServeTcp();
  // Answers until the other side or a reply ends it.
  void Serve(int descriptor);
  // Waits until there is something to read. False: this device is to end.
  bool Await(int descriptor) const;

  const Transport transport_;
  const DeviceReplies replies_;
  const int stop_;
  int descriptor_ = -1;  // listening socket, or the device's side of the terminal
  int otherSide_ = -1;   // of the terminal: keeps it alive while nobody has it open
  int port_ = 0;
  std::string terminal_;
  int number_ = 0;
  std::thread thread_;
};

}  // namespace orvo::modbus
