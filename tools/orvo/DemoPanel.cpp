#include "DemoPanel.h"

#include "simulated/SimulatedPanel.h"

namespace orvo::client {

namespace {

// A motor bit, a fill level, a torque, a batch, a counter of pieces, a temperature, a recipe, a stamp.
constexpr const char* Plant = R"(
signal BI100.3 square 0 to 1 every 3 s
signal BY103 ramp 0 to 100 every 8 s
signal WO104 sine -200 to 200 every 6 s
memory WO106 0x1234
signal DW108 counter 70000 to 70500 every 250 s
signal FL112 sine 18.5 to 21.5 every 9 s
memory ST0020010 "Vanilla 3%"
memory RA036 A0 A1 A2 A3 A4 A5
)";

}  // namespace

void RegisterBuiltInPanel(DriverRegistry& registry, bool plant) {
  PanelOptions options;
  if (plant) options.script = Plant;
  RegisterSimulatedPanel(registry, options);
}

}  // namespace orvo::client
