#include "ModbusServer.h"

#include <arpa/inet.h>
#include <modbus/modbus.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <vector>

namespace orvo::bench {

namespace {

constexpr int Registers = 65536;

int PortOf(int descriptor) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
  return ntohs(address.sin_port);
}

[[noreturn]] void Serve(modbus_t* context, int listening, std::atomic<std::uint64_t>& requests) {
  modbus_mapping_t* const memory = modbus_mapping_new(0, 0, Registers, 0);
  if (memory == nullptr) _exit(1);
  for (int k = 0; k < Registers; ++k)
    memory->tab_registers[k] = static_cast<std::uint16_t>(k);
  std::vector<pollfd> waited{{listening, POLLIN, 0}};
  std::array<std::uint8_t, MODBUS_TCP_MAX_ADU_LENGTH> query{};
  while (poll(waited.data(), waited.size(), -1) > 0) {
    for (std::size_t k = waited.size(); k-- > 1;) {
      if (waited[k].revents == 0) continue;
      modbus_set_socket(context, waited[k].fd);
      const int length = modbus_receive(context, query.data());
      if (length > 0) {
        requests.fetch_add(1);
        modbus_reply(context, query.data(), length, memory);
      } else if (length < 0) {
        close(waited[k].fd);
        waited.erase(waited.begin() + static_cast<std::ptrdiff_t>(k));
      }
    }
    if (waited[0].revents == 0) continue;
    int accepting = listening;
    const int connection = modbus_tcp_accept(context, &accepting);
    if (connection >= 0) waited.push_back({connection, POLLIN, 0});
  }
  _exit(0);
}

}  // namespace

ModbusServer::ModbusServer() {
  void* const shared =
      mmap(nullptr, sizeof(*requests_), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) throw std::runtime_error("no memory to share with the server");
  requests_ = new (shared) std::atomic<std::uint64_t>(0);
  modbus_t* const context = modbus_new_tcp("127.0.0.1", 0);
  const int listening = context == nullptr ? -1 : modbus_tcp_listen(context, 4);
  if (listening < 0) throw std::runtime_error("the server cannot listen");
  port_ = PortOf(listening);
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(0);
    Serve(context, listening, *requests_);
  }
  close(listening);
  modbus_free(context);
  if (process_ < 0) throw std::runtime_error("no process for the server");
}

ModbusServer::~ModbusServer() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  munmap(requests_, sizeof(*requests_));
}

}  // namespace orvo::bench
