// The plan as a text for people, or as JSON.
#pragma once

#include "Configuration.h"
#include "GroupPlan.h"

#include <iosfwd>
#include <vector>

namespace orvo::modbus_plan {

struct Report {
  Configuration configuration;
  double latency = 0;  // ms
  std::vector<GroupPlan> groups;

  double LineLoad() const;
  double ServerLoad() const;
  bool KeepsUp() const { return ServerLoad() <= 1; }
};

void PrintText(const Report& report, std::ostream& out);
void PrintJson(const Report& report, std::ostream& out);

}  // namespace orvo::modbus_plan
