// A server of libmodbus in a process of its own, on a free port of loopback. It ends with this object, and with
// the process that made it.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>

namespace orvo::bench {

class ModbusServer {
 public:
  // Every register holds its address. std::runtime_error when it cannot be started. No thread may run yet: it
  // is a fork of this process.
  ModbusServer();
  ModbusServer(const ModbusServer&) = delete;
  ModbusServer& operator=(const ModbusServer&) = delete;
  ~ModbusServer();

  int Port() const noexcept { return port_; }
  // Requests that it answered, of all connections.
  std::uint64_t Requests() const noexcept { return requests_->load(); }

 private:
  std::atomic<std::uint64_t>* requests_;  // in memory that both processes share
  int port_ = 0;
  pid_t process_ = 0;
};

}  // namespace orvo::bench
