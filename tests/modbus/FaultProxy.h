// servers/fault_proxy.py as a process: between a client and a server, it spoils answers on command.
#pragma once

#include "modbus/ChildProcess.h"

#include <map>
#include <string>

namespace orvo::modbus_test {

class FaultProxy {
 public:
  // Before the server on `targetPort`; `rtu`: frames of RTU instead of TCP.
  explicit FaultProxy(const std::string& targetPort, bool rtu = false);

  const std::string& Port() const noexcept { return port_; }
  std::string Connection() const { return "tcp://127.0.0.1:" + port_; }
  // A command of the proxy (its file lists them). Throws when it does not know it.
  void Do(const std::string& command);
  // Counted since the last "reset": "requests", "answers", "connections", "bytes", "f3" (requests of function
  // 3), ...; 0 when there was none.
  int Count(const std::string& what);
  // Each frame that came through.
  std::string Log() const { return process_.Log(); }

 private:
  std::string Ask(const std::string& command);

  ChildProcess process_;
  std::string port_;
};

}  // namespace orvo::modbus_test
