#include "unit/modbus/DeviceThread.h"

#include "modbus/RtuFrame.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace orvo::modbus {

Octets FromHex(const std::string& text) {
  Octets bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(word, nullptr, 16)));
  return bytes;
}

Octets WithCrc(Octets frame) {
  const std::uint16_t crc = Crc16(frame);
  frame.push_back(static_cast<std::uint8_t>(crc & 0xFFU));
  frame.push_back(static_cast<std::uint8_t>(crc >> 8U));
  return frame;
}

DeviceThread::DeviceThread(Transport transport, DeviceReplies replies)
    : transport_(transport), replies_(std::move(replies)), stop_(eventfd(0, EFD_CLOEXEC)) {
  if (transport == Transport::Tcp)
    ListenOnTcp();
  else
    MakeTerminal();
  thread_ = std::thread([this] { transport_ == Transport::Tcp ? ServeTcp() : Serve(descriptor_); });
}

DeviceThread::~DeviceThread() {
  eventfd_write(stop_, 1);
  thread_.join();
  for (const int descriptor : {stop_, descriptor_, otherSide_})
    if (descriptor >= 0) close(descriptor);
}

void DeviceThread::ListenOnTcp() {
  descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(descriptor_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(descriptor_, 8) != 0 ||
      getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    throw std::runtime_error("no port");
  port_ = ntohs(address.sin_port);
}

void DeviceThread::MakeTerminal() {
  descriptor_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  std::array<char, 64> name{};
  if (grantpt(descriptor_) != 0 || unlockpt(descriptor_) != 0 ||
      ptsname_r(descriptor_, name.data(), name.size()) != 0)
    throw std::runtime_error("no terminal");
  terminal_ = name.data();
  otherSide_ = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios settings{};
  tcgetattr(otherSide_, &settings);
  cfmakeraw(&settings);
  tcsetattr(otherSide_, TCSANOW, &settings);
}

Settings DeviceThread::Connection(int timeoutMs) const {
  Settings settings;
  settings.transport = transport_;
  settings.host = "127.0.0.1";
  settings.port = port_;
  settings.device = terminal_;
  settings.baud = 19200;
  settings.timeout = std::chrono::milliseconds(timeoutMs);
  return settings;
}

void DeviceThread::Send(const Octets& bytes) const {
  if (write(descriptor_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("not sent");
}

bool DeviceThread::Await(int descriptor) const {
  std::array<pollfd, 2> waited{{{stop_, POLLIN, 0}, {descriptor, POLLIN, 0}}};
  poll(waited.data(), waited.size(), -1);
  return waited[0].revents == 0;
}

void DeviceThread::ServeTcp() {
  while (Await(descriptor_)) {
    const int connection = accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC);
    Serve(connection);
    close(connection);
  }
}

void DeviceThread::Serve(int descriptor) {
  while (Await(descriptor)) {
    std::array<std::uint8_t, 512> bytes{};
    const ssize_t count = read(descriptor, bytes.data(), bytes.size());
    if (count <= 0) return;
    const DeviceReply reply = replies_(number_++, {bytes.begin(), bytes.begin() + count});
    if (!reply.bytes.empty() && write(descriptor, reply.bytes.data(), reply.bytes.size()) < 0) return;
    if (reply.ends) return;
  }
}

}  // namespace orvo::modbus
