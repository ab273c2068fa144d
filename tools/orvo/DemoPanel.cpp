#include "DemoPanel.h"

#include "simulated/SimulatedPanel.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace orvo::client {

namespace {

// A motor bit, a fill level, a torque, a counter of pieces, a temperature.
PanelOptions Plant() {
  PanelOptions options;
  options.signals = {
      {PanelSignalKind::Square, "BI100.3", 0, 1, 3000},
      {PanelSignalKind::Ramp, "BY103", 0, 100, 8000},
      {PanelSignalKind::Sine, "WO104", -200, 200, 6000},
      {PanelSignalKind::Counter, "DW108", 70000, 70500, 250000},
      {PanelSignalKind::Sine, "FL112", 18.5, 21.5, 9000},
  };
  return options;
}

// A batch, a recipe, a stamp.
void FillMemory(PanelMemory& memory) {
  constexpr std::string_view recipe = "Vanilla 3%";
  memory.PutWord(106, 0x1234);
  memory.PutBytes(200, std::span(reinterpret_cast<const std::uint8_t*>(recipe.data()), recipe.size()));
  for (std::int32_t k = 0; k < 6; ++k)
    memory.PutByte(32768 + 3 * 256 + k, static_cast<std::uint8_t>(0xA0 + k));
}

}  // namespace

void RegisterBuiltInPanel(DriverRegistry& registry, bool plant) {
  if (!plant) {
    RegisterSimulatedPanel(registry);
    return;
  }
  RegisterSimulatedPanel(registry, Plant(),
                         [](const std::shared_ptr<SimulatedPanel>& panel) { FillMemory(panel->Memory()); });
}

}  // namespace orvo::client
