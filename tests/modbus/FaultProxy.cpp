#include "modbus/FaultProxy.h"

#include <sstream>
#include <stdexcept>
#include <vector>

namespace orvo::modbus_test {

namespace {

std::vector<std::string> ProxyCommand(const std::string& targetPort, bool rtu) {
  std::vector<std::string> command{"/usr/bin/python3", ORVO_MODBUS_SERVERS "/fault_proxy.py", "--target",
                                   targetPort};
  if (rtu) command.emplace_back("--rtu");
  return command;
}

}  // namespace

FaultProxy::FaultProxy(const std::string& targetPort, bool rtu) : process_(ProxyCommand(targetPort, rtu)) {
  const std::string ready = process_.ReadLine();
  if (!ready.starts_with("listening ")) throw std::runtime_error("the proxy said '" + ready + "'");
  port_ = ready.substr(ready.find(' ') + 1);
}

std::string FaultProxy::Ask(const std::string& command) {
  process_.WriteLine(command);
  return process_.ReadLine();
}

void FaultProxy::Do(const std::string& command) {
  const std::string answer = Ask(command);
  if (answer != "ok") throw std::runtime_error("the proxy answered '" + answer + "' to '" + command + "'");
}

int FaultProxy::Count(const std::string& what) {
  std::istringstream counts(Ask("count"));
  std::string name;
  for (int count = 0; counts >> name >> count;)
    if (name == what) return count;
  return 0;
}

}  // namespace orvo::modbus_test
