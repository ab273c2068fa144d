// A panel in virtual time with a sink that keeps a log, for the tests of the simulated panel.
#pragma once

#include "errors/AutomationError.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "simulated/PanelAddress.h"
#include "simulated/SimulatedPanel.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::testing {

using namespace std::chrono_literals;
using Log = std::vector<std::string>;

// Writes one line per callback: "ReadComplete UI1[1,2]=0 Empty=10", "WriteGroupComplete 5", "FirmwareInProgress
// 50".
class LoggingSink : public IEventNotify {
 public:
  Log log;
  std::function<void(const std::string& line)> onLine;  // called with each line; may throw

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override {
    std::string line = "ReadComplete";
    ASSERT_EQ(DATAValues.Size(), ItemErrors.Size());
    for (std::size_t k = 0; k < ItemErrors.Size(); ++k)
      line += ' ' + LogText(DATAValues.View()[k]) + '=' + std::to_string(ItemErrors.View()[k]);
    Add(line);
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& Buffer, std::int32_t Error) override {
    Add("ReadGroupComplete " + LogText(Buffer) + '=' + std::to_string(Error));
  }
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override {
    std::string line = "WriteComplete";
    for (const std::int32_t error : ItemErrors.View())
      line += ' ' + std::to_string(error);
    Add(line);
  }
  void AsyncWriteGroupComplete(std::int32_t Error) override {
    Add("WriteGroupComplete " + std::to_string(Error));
  }
  void DownloadFirmwareComplete() override { Add("FirmwareComplete"); }
  void DownloadFirmwareInProgress(std::int16_t Percent) override {
    Add("FirmwareInProgress " + std::to_string(Percent));
  }
  void DownloadProjectComplete() override { Add("ProjectComplete"); }
  void DownloadProjectInProgress(std::int16_t Percent) override {
    Add("ProjectInProgress " + std::to_string(Percent));
  }

 private:
  void Add(const std::string& line) {
    log.push_back(line);
    if (onLine) onLine(line);
  }
};

// The number and text of the failure of `call`; "0:" when it does not fail.
inline std::string FailureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const AutomationError& error) {
    return std::to_string(error.Number()) + ':' + error.Description();
  }
  return "0:";
}

class PanelTest : public ::testing::Test {
 protected:
  PanelTest() { Remake({}); }
  ~PanelTest() override {
    panel.reset();
    EXPECT_EQ(platform.TimersAlive(), 0U);
  }

  void Remake(PanelOptions options) {
    panel = SimulatedPanel::Make({platform, files}, std::move(options));
    panel->SetEventSink(sink);
  }
  static double Compiled(const std::string& identifier) {
    return PanelIdentifier::Parse(identifier).address.Encode();
  }
  static std::int16_t Words(const std::string& identifier) {
    return static_cast<std::int16_t>(PanelIdentifier::Parse(identifier).wordLength);
  }
  void Read(const std::vector<std::string>& identifiers) {
    SafeArray<double> addresses;
    SafeArray<std::int16_t> dimensions;
    for (const std::string& identifier : identifiers) {
      addresses.Append(Compiled(identifier));
      dimensions.Append(Words(identifier));
    }
    panel->ReadItems(addresses, dimensions);
  }
  void Write(const std::vector<std::pair<std::string, Variant>>& items) {
    SafeArray<double> addresses;
    SafeArray<std::int16_t> dimensions;
    SafeArray<Variant> values;
    for (const auto& [identifier, value] : items) {
      addresses.Append(Compiled(identifier));
      dimensions.Append(Words(identifier));
      values.Append(value);
    }
    panel->WriteItems(addresses, dimensions, values);
  }
  // The log since the last call.
  Log TakeLog() { return std::exchange(sink->log, {}); }
  // The answer of a read made now and waited for.
  Log AnswerOfRead(const std::vector<std::string>& identifiers) {
    Read(identifiers);
    platform.Advance(20ms);
    return TakeLog();
  }

  SimulatedPlatform platform;
  MemoryFiles files;
  std::shared_ptr<LoggingSink> sink = std::make_shared<LoggingSink>();
  std::shared_ptr<SimulatedPanel> panel;
};

// A panel that is open.
class OpenPanelTest : public PanelTest {
 protected:
  OpenPanelTest() { panel->OpenCommunication(true); }
};

}  // namespace orvo::testing
