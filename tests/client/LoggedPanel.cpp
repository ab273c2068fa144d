// The simulated panel as a driver library that tells what is called: Logged.Panel.so. One line for each call
// goes to the file (or pipe) that the environment variable ORVO_LOGGED_PANEL names. Everything else is as the
// panel has it, but a download of a file whose name begins with "slow": it stands at 40 % until communication
// is closed, and breaks off then, or after ten seconds; and with ORVO_BROKEN_LINE each write raises SIGPIPE. A
// test sees with it what reaches a device, in which order, and when.
#include "errors/AutomationError.h"
#include "simulated/SimulatedPanel.h"
#include "spooler/DriverLibrary.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

namespace orvo::testing {
namespace {

class LoggedPanel final : public SimulatedPanel {
 public:
  explicit LoggedPanel(DriverHost host) : SimulatedPanel({}, host, {}), host_(host) {
    const char* const name = std::getenv("ORVO_LOGGED_PANEL");
    if (name != nullptr) log_.open(name, std::ios::app);
  }
  ~LoggedPanel() override { Log("end"); }

  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override {
    sink_ = Sink;
    SimulatedPanel::SetEventSink(std::move(Sink));
  }
  void OpenCommunication(bool Open) override {
    Log("OpenCommunication");
    SimulatedPanel::OpenCommunication(Open);
  }
  void CloseCommunication() override {
    Log("CloseCommunication");
    closed_ = true;
    SimulatedPanel::CloseCommunication();
  }
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override {
    Log("ReadItems");
    SimulatedPanel::ReadItems(CompiledAddresses, Dimensions);
  }
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override {
    Log("WriteItems");
    // What a connection that broke does to the process.
    if (std::getenv("ORVO_BROKEN_LINE") != nullptr) static_cast<void>(std::raise(SIGPIPE));
    SimulatedPanel::WriteItems(CompiledAddresses, Dimensions, DATAValues);
  }
  void DownloadFirmware(const std::string& FileName, std::int32_t Flag) override {
    Log("DownloadFirmware");
    if (FileName.starts_with("slow")) StandStill(true);
    if (FileName.starts_with("stuck")) StandStill(false);
    SimulatedPanel::DownloadFirmware(FileName, Flag);
  }

 private:
  // A pipe's reader gets the line at once.
  void Log(const char* what) { log_ << what << std::endl; }

  void StandStill(bool untilClosed) {
    using namespace std::chrono_literals;
    constexpr std::uint32_t longest = 10'000;
    closed_ = false;
    sink_->DownloadFirmwareInProgress(40);
    const std::uint32_t start = host_.platform.TickCount();
    while (!(closed_ && untilClosed) && host_.platform.TickCount() - start < longest) {
      host_.platform.PumpOnce();
      host_.platform.WaitForWork(50ms);
    }
    throw AutomationError(PanelDownloadFailed,
                          closed_ ? "Communication was closed" : "Nobody closed communication");
  }

  const DriverHost host_;
  std::ofstream log_;
  std::shared_ptr<IEventNotify> sink_;
  bool closed_ = false;
};

}  // namespace
}  // namespace orvo::testing

ORVO_DRIVER_LIBRARY("Logged.Panel", "The simulated panel, telling what is called",
                    [](orvo::DriverHost host) -> std::shared_ptr<orvo::CommunicationDriver> {
                      return std::make_shared<orvo::testing::LoggedPanel>(host);
                    });
