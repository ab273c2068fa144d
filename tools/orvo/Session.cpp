#include "Session.h"

#include "errors/AutomationError.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string_view>

namespace orvo::client {

const char* const DemoDriverFile =
    "[Drivers]\n"
    "DataCommunication=SimulatedPanel.Channel\n"
    "NetworkType=0\n"
    "1=PanelA\n"
    "2=PanelB\n";

namespace {

// A small plant: a motor bit, a fill level, a temperature, a speed, a recipe.
PanelOptions DemoPanel() {
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

void FillDemoMemory(PanelMemory& memory) {
  constexpr std::string_view recipe = "Vanilla 3%";
  memory.PutWord(106, 0x1234);
  memory.PutBytes(200, std::span(reinterpret_cast<const std::uint8_t*>(recipe.data()), recipe.size()));
  for (std::int32_t k = 0; k < 6; ++k)
    memory.PutByte(32768 + 3 * 256 + k, static_cast<std::uint8_t>(0xA0 + k));
}

// A file that is gone when the session is.
class TemporaryFile {
 public:
  explicit TemporaryFile(const char* text) {
    const auto unique = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = std::filesystem::temp_directory_path() / ("orvo-drivers-" + std::to_string(unique) + ".ini");
    std::ofstream file(path_, std::ios::binary);
    file << text;
    if (!file.flush()) RaiseRuntimeError(RuntimeError::PathFileAccess, path_.string());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  std::string Name() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace

Session::Session() {
  RegisterSimulatedPanel(drivers_, DemoPanel(),
                         [](const std::shared_ptr<SimulatedPanel>& panel) { FillDemoMemory(panel->Memory()); });
  server = KELDataServer::Create({platform, files_, drivers_});
}

void Session::Configure(const std::string& driverFile, std::int32_t deviceType) {
  std::optional<TemporaryFile> own;  // read again when the device type is selected
  if (driverFile.empty()) own.emplace(DemoDriverFile);
  server->SetDriverConfigurationFile(own ? own->Name() : driverFile);
  server->PutDeviceType(deviceType);
}

std::shared_ptr<KELDataGroup> Session::AddItems(const std::string& groupName,
                                                const std::vector<std::string>& itemIds) {
  std::shared_ptr<KELDataGroup> group = server->KELDataGroups()->Add(groupName);
  for (const std::string& itemId : itemIds) {
    const std::size_t colon = itemId.find(':');
    const std::shared_ptr<KELDataItem> item = group->KELDataItems()->Add(itemId.substr(0, colon));
    const std::string option = colon == std::string::npos ? "" : itemId.substr(colon + 1);
    if (option == "signed")
      item->PutSigned(true);
    else if (option == "bcd")
      item->PutBCD(true);
    else if (!option.empty())
      RaiseRuntimeError(RuntimeError::InvalidProcedureCall,
                        "'" + itemId + "': an item is ID, ID:signed or ID:bcd");
  }
  return group;
}

}  // namespace orvo::client
