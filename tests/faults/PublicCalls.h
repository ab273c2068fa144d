// Every operation of the public interface that can reach the driver, and those that must not, each in the
// states in which it does something else.
#pragma once

#include "faults/FaultScene.h"

#include <functional>
#include <string>
#include <vector>

namespace orvo::testing {

struct PublicCall {
  std::string name;  // unique: "Server.get BaudRate at 2", "Group.SyncReadAll of groups"
  FaultSetup setup;
  // What a client gets: "ok", a result as text, or what was raised; and the events until all is quiet after
  // " | ".
  std::function<std::string(FaultScene&)> run;
};

const std::vector<PublicCall>& PublicCalls();
const PublicCall& PublicCallNamed(const std::string& name);

// The properties of the server that are the driver's: operation of the driver, "get " or "put " and the name.
struct DriverProperty {
  std::string operation;
  std::string member;
  bool atStatus3;  // allowed while communication is open
  std::function<void(KELDataServer&)> use;
};
const std::vector<DriverProperty>& DriverProperties();

}  // namespace orvo::testing
