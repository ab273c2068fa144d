#include "modbus/ForeignServer.h"

#include <signal.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace orvo::modbus_test {

namespace {

const std::string Servers = ORVO_MODBUS_SERVERS;
const std::string Modules = ORVO_MODBUS_MODULES;

bool IsSerial(const std::vector<std::string>& options) {
  return std::find(options.begin(), options.end(), "--rtu") != options.end();
}

}  // namespace

std::ostream& operator<<(std::ostream& out, Package package) {
  return out << (package == Package::Pymodbus ? "pymodbus" : "modbus-serial");
}

std::string MissingReason(Package package) {
  if (package == Package::Pymodbus) return {};  // a Debian package: installed with the others
  if (std::filesystem::exists(Modules + "/modbus-serial")) return {};
  std::ifstream reason(std::filesystem::path(Modules).parent_path() / "unavailable.txt");
  std::string text;
  std::getline(reason, text);
  return "the npm package modbus-serial could not be installed: " + (text.empty() ? "nobody knows why" : text);
}

std::uint16_t RegisterValue(modbus::Area area, std::int32_t address) {
  return static_cast<std::uint16_t>(address * 40503LL + 7919 * (modbus::DigitOf(area) - '0'));
}

bool BitValue(modbus::Area area, std::int32_t address) {
  return std::popcount(RegisterValue(area, address)) % 2 != 0;
}

ForeignServer::ForeignServer(Package package, std::vector<std::string> options)
    : package_(package), options_(std::move(options)) {
  Start();
}

void ForeignServer::Start() {
  std::vector<std::string> command;
  if (package_ == Package::Pymodbus)
    command = {"/usr/bin/python3", Servers + "/pymodbus_server.py"};
  else
    command = {"node", Servers + "/modbus_serial_server.js", "--modules", Modules};
  if (!IsSerial(options_)) {
    command.emplace_back("--port");
    command.push_back(port_);
  }
  command.insert(command.end(), options_.begin(), options_.end());
  process_ = std::make_unique<ChildProcess>(command);
  const std::string ready = process_->ReadLine();
  if (!ready.starts_with("listening ")) throw std::runtime_error("a server said '" + ready + "'");
  port_ = ready.substr(ready.find(' ') + 1);
}

void ForeignServer::Kill() {
  process_.reset();
}

void ForeignServer::Restart() {
  Kill();
  Start();
}

void ForeignServer::Freeze() {
  process_->Signal(SIGSTOP);
}

void ForeignServer::Thaw() {
  process_->Signal(SIGCONT);
}

}  // namespace orvo::modbus_test
