#include "modbus/PtyLink.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace orvo::modbus_test {

PtyLink::PtyLink() : PtyLink(std::string()) {}

PtyLink::PtyLink(const std::string& tcpPort) : tcpPort_(tcpPort) {
  std::string folder = "/tmp/orvo-modbus-line-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) throw std::system_error(errno, std::generic_category(), folder);
  folder_ = folder;
  Repair();
}

PtyLink::~PtyLink() {
  Break();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void PtyLink::Break() {
  socat_.reset();
  if (held_ >= 0) ::close(held_);
  held_ = -1;
  std::filesystem::remove(Device());
  std::filesystem::remove(OtherDevice());
}

void PtyLink::Repair() {
  socat_ = std::make_unique<ChildProcess>(std::vector<std::string>{
      "socat", "-d", "-d", "pty,raw,echo=0,link=" + Device(),
      tcpPort_.empty() ? "pty,raw,echo=0,link=" + OtherDevice() : "tcp:127.0.0.1:" + tcpPort_});
  socat_->AwaitLog("starting data transfer loop");
  held_ = ::open(Device().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (held_ < 0) throw std::system_error(errno, std::generic_category(), Device());
}

}  // namespace orvo::modbus_test
