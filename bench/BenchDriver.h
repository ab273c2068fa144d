// A communication driver as cheap as memory: every answer lies ready before the measurement and is handed over,
// shared, by the next pass of the message loop. What a benchmark then measures is the system, not a driver.
//
// An item's compiled address is its index in the plant + 1.
#pragma once

#include "Items.h"
#include "spooler/DriverRegistry.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvo::bench {

class BenchDriver final : public CommunicationDriver {
 public:
  static constexpr const char* ProgId = "Bench.Channel";

  explicit BenchDriver(DriverHost host) : platform_(host.platform) {}

  // Makes the answers for groups of `perGroup` items, `items` in all. A changing plant answers every read of a
  // group with values other than those of the read before, an unchanging one with equal ones that lie
  // elsewhere.
  void Prepare(std::size_t items, std::size_t perGroup, bool wholeGroups, bool changing);
  // Which of the two answers the next reads get.
  void NextPhase() noexcept { phase_ ^= 1U; }
  // How long an answer takes; 0: until the next pass of the message loop.
  void PutDelay(std::chrono::milliseconds delay) noexcept { delay_ = delay; }
  // Answers of the same values in memory of their own, which then is what the server holds.
  void PutOwnAnswers(bool own) noexcept { ownAnswers_ = own; }
  std::uint64_t Reads() const noexcept { return reads_; }

  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override { sink_ = std::move(Sink); }
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  // Groups are numbered from 1.
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void OpenCommunication(bool) override {}
  void CloseCommunication() override {}
  float BootVersion() override { return 1.0F; }
  std::string BootDate() override { return {}; }
  float FirmwareVersion() override { return 1.0F; }
  std::string BoardDescription() override { return {}; }
  std::int32_t BoardStatus() override { return 0; }
  std::int32_t CommunicationStatus() override { return 0; }
  void DownloadFirmware(const std::string&, std::int32_t) override {}
  void DownloadProject(const std::string&, std::int32_t) override {}
  std::int32_t BaudRate() override { return baudRate_; }
  void PutBaudRate(std::int32_t NewValue) override { baudRate_ = NewValue; }
  void Reserved18() override {}
  bool SetConfigurationMode() override { return true; }
  void SetGroupDefinition(std::int32_t, std::int32_t) override {}
  std::int32_t GroupCapacity() override { return 1000; }
  void PutNetworkType(std::int32_t) override {}
  void Reserved23() override {}
  std::int16_t MinorVersion() override { return 0; }
  std::int16_t MajorVersion() override { return 1; }
  std::string Description() override { return {}; }
  void PutComPortNumber(std::int32_t NewValue) override { comPortNumber_ = NewValue; }
  std::int32_t ComPortNumber() override { return comPortNumber_; }
  void Reserved29() override {}
  std::string ProjectName() override { return projectName_; }
  void PutProjectName(const std::string& NewValue) override { projectName_ = NewValue; }
  bool GroupTransfer() override { return wholeGroups_; }
  bool CheckVariable(std::int32_t, std::int32_t) override { return true; }
  void PutWordIO(std::int16_t NewValue) override { wordIO_ = NewValue; }
  std::int16_t WordIO() override { return wordIO_; }
  void PutTimeout(std::int16_t NewValue) override { timeout_ = NewValue; }
  std::int16_t Timeout() override { return timeout_; }
  bool FirmwareDownloadNeeded() override { return false; }
  bool ProjectDownloadNeeded() override { return false; }
  std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) override;

 private:
  struct GroupAnswers {
    std::array<SafeArray<Variant>, 2> values;
    SafeArray<std::int32_t> errors;
    std::array<SafeArray<std::uint8_t>, 2> buffer;
  };

  void Answer(std::function<void()> completion);

  ThreadPlatform& platform_;
  std::shared_ptr<IEventNotify> sink_;
  std::vector<GroupAnswers> groups_;
  std::size_t perGroup_ = 0;
  bool wholeGroups_ = false;
  bool ownAnswers_ = false;
  unsigned phase_ = 0;
  std::chrono::milliseconds delay_{0};
  std::int32_t timer_ = 0;
  std::uint64_t reads_ = 0;
  std::int32_t baudRate_ = 9600;
  std::int32_t comPortNumber_ = 1;
  std::int16_t wordIO_ = 0;
  std::int16_t timeout_ = 1000;
  std::string projectName_;
};

}  // namespace orvo::bench
