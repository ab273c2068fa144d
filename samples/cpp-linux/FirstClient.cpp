// A first client of the library on Linux: meets an error, writes, reads, follows changes.
// Usage: first_client [DRIVER_CONFIGURATION_FILE]   (drivers.ini of this folder)

#include "errors/AutomationError.h"
#include "model/KELDataGroupEvents.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"
#include "values/VariantConversion.h"

#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>

namespace {

using namespace std::chrono_literals;

// Prints each change. Handlers run while the client pumps.
class Changes final : public orvo::KELDataGroupEvents {
 public:
  int events = 0;

  void DataChange(const orvo::SafeArray<std::int32_t>& handles,
                  const orvo::SafeArray<orvo::Variant>& values) override {
    ++events;
    for (std::size_t k = 0; k < handles.Size(); ++k)
      std::cout << "changed: item " << handles.View()[k] << " is " << orvo::ToText(values.View()[k]) << '\n';
  }
};

void RunClient(const std::string& driverFile) {
  orvo::PortablePlatform platform;  // this thread's clock, timers and message pump
  orvo::DiskFiles files;
  orvo::DriverRegistry drivers;
  orvo::RegisterSimulatedPanel(drivers);

  const auto server = orvo::KELDataServer::Create({platform, files, drivers});
  server->SetDriverConfigurationFile(driverFile);
  server->PutDeviceType(2);
  const auto group = server->KELDataGroups()->Add("Line 1");
  const auto speed = group->KELDataItems()->Add("WO100", "Speed");
  group->KELDataItems()->Add("ST0020010", "Recipe");
  try {
    group->KELDataItems()->Add("XX100");
  } catch (const orvo::AutomationError& error) {
    std::cout << "error " << error.Number() << ": " << error.Description() << '\n';
  }
  server->OpenCommunication();

  orvo::SafeArray<std::int32_t> errors;
  group->SyncWrite({1, 2}, {orvo::Variant(1500), orvo::Variant("Vanilla")}, errors);
  std::cout << "written, errors " << errors.View()[0] << " and " << errors.View()[1] << '\n';

  orvo::SafeArray<orvo::Variant> values;
  group->SyncRead({1, 2}, values, errors);
  if (errors.View()[0] == 0) std::cout << "Speed  " << orvo::ToText(values.View()[0]) << '\n';
  if (errors.View()[1] == 0) std::cout << "Recipe " << orvo::ToText(values.View()[1]) << '\n';

  const auto changes = std::make_shared<Changes>();
  const std::int32_t cookie = group->Events().Advise(changes);
  group->PutUpdateRate(100);
  group->PutSubscribed(true);
  group->PutActive(true);
  // Nothing comes unless the thread's messages are pumped.
  platform.RunUntil([&] { return changes->events > 0; }, 5s);
  group->PutActive(false);
  group->Events().Unadvise(cookie);

  server->CloseCommunication();
  std::cout << "DONE\n";
}

}  // namespace

int main(int argc, char** argv) {
  try {
    RunClient(argc > 1 ? argv[1] : "drivers.ini");
    return 0;
  } catch (const orvo::AutomationError& error) {
    std::cerr << "error " << error.Number() << ": " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "error: " << error.what() << '\n';
  }
  return 1;
}
