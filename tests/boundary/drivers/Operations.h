// Every operation of the driver contract as data: how the system calls it, and what must arrive and come back.
#pragma once

#include "boundary/Value.h"
#include "spooler/CommunicationDriver.h"

#include <functional>
#include <string>
#include <vector>

namespace orvo::testing {

struct Operation {
  std::string name;  // as the drivers of these tests write it
  // Calls it; the answer as text: "5", "True", "\"ab\"", "" for none.
  std::function<std::string(CommunicationDriver&)> call;
  // What the COM driver answers, where it answers something, and what the system gets.
  Value answer;
  std::string result;
  // The arguments as a driver receives them that is called by slot, and by name. One text when they are the
  // same.
  std::string bySlot;
  std::string byName;
};

// All operations but the device's and the reserved ones.
const std::vector<Operation>& Operations();

std::string Shown(bool value);
std::string Shown(const std::string& value);
std::string Shown(double value);

}  // namespace orvo::testing
