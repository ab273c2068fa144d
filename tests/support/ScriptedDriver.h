// A communication driver for tests whose behaviour is data: it records what it is told, answers what the test
// has put into its members, fails where the test says so, and completes nothing by itself.
//
// The log holds one line per call, the arguments as in "ReadItems(addresses=[1,2],dimensions=[1,1])",
// "PutBaudRate(9600)" or "CloseCommunication()". Values are written with their kind: "I4:5", "R8:1.5",
// "String:\"ab\"", "UI1[1,2]" for byte arrays, "Empty", "Null". Questions (every property get, GroupTransfer,
// GroupCapacity, CheckVariable and the two DownloadNeeded) are logged only with `logQuestions`: the system asks
// them as often as it likes.
//
// Each operation logs itself, runs its `during` hook, then throws if a failure is scripted for it; only then
// does it take effect. Operations are named as in CommunicationDriver.h ("ReadItems", "BaudRate",
// "PutBaudRate").
#pragma once

#include "spooler/CommunicationDriver.h"
#include "support/ScriptedDevice.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orvo::testing {

// One value as the log writes it.
std::string LogText(const Variant& value);

class ScriptedDriver : public CommunicationDriver {
 public:
  static constexpr int Always = -1;

  std::vector<std::string> log;
  bool logQuestions = false;
  // Run inside the operation of that name; may call the sink, and may throw.
  std::map<std::string, std::function<void()>> during;

  // The next `times` calls of `operation` (all, with Always) throw AutomationError(number, text).
  void Fail(const std::string& operation, std::int32_t number, const std::string& text, int times = Always);
  // Takes a scripted failure back.
  void StopFailing(const std::string& operation);

  // The sink that the system handed over. Error 91 while there is none.
  IEventNotify& Sink() const;
  bool HasSink() const noexcept { return sink_ != nullptr; }
  void DropSink() noexcept { sink_.reset(); }

  // The arguments of the latest read or write, also when it failed; a `during` hook sees them already.
  SafeArray<double> lastAddresses;
  SafeArray<std::int16_t> lastDimensions;
  SafeArray<Variant> lastValues;
  SafeArray<std::uint8_t> lastBuffer;
  std::int32_t lastGroupId = 0;

  // What the questions answer. A put stores into the same member.
  float bootVersion = 1.5F;
  std::string bootDate = "2020-01-02";
  float firmwareVersion = 2.5F;
  std::string boardDescription = "Scripted board";
  std::int32_t boardStatus = 0;
  std::int32_t communicationStatus = 0;  // not changed by OpenCommunication and CloseCommunication
  std::int32_t baudRate = 9600;
  bool configurationModeAccepted = true;
  std::int32_t groupCapacity = 8;
  std::int32_t networkType = 0;
  std::int16_t minorVersion = 2;
  std::int16_t majorVersion = 1;
  std::string description = "Scripted driver";
  std::int32_t comPortNumber = 1;
  std::string projectName;
  bool groupTransfer = false;
  bool variableFits = true;
  std::function<bool(std::int32_t words, std::int32_t items)> checkVariable;  // asked instead, when set
  std::int16_t wordIO = 0;
  std::int16_t timeout = 1000;
  bool firmwareDownloadNeeded = false;
  bool projectDownloadNeeded = false;

  // The kinds of device that CreateDevice knows.
  std::set<std::string> deviceKinds{"PanelA", "PanelB"};
  // Applied to each new device before it is handed out.
  std::function<void(ScriptedDevice&)> prepareDevice;
  // The device made last, while somebody holds it; null otherwise.
  std::shared_ptr<ScriptedDevice> LastDevice() const { return lastDevice_.lock(); }

  void SetEventSink(std::shared_ptr<IEventNotify> Sink) override;
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override;
  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override;
  void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) override;
  void OpenCommunication(bool Open) override;
  void CloseCommunication() override;
  float BootVersion() override;
  std::string BootDate() override;
  float FirmwareVersion() override;
  std::string BoardDescription() override;
  std::int32_t BoardStatus() override;
  std::int32_t CommunicationStatus() override;
  void DownloadFirmware(const std::string& FileName, std::int32_t Flag) override;
  void DownloadProject(const std::string& FileName, std::int32_t Flag) override;
  std::int32_t BaudRate() override;
  void PutBaudRate(std::int32_t NewValue) override;
  void Reserved18() override;
  bool SetConfigurationMode() override;
  void SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) override;
  std::int32_t GroupCapacity() override;
  void PutNetworkType(std::int32_t NewValue) override;
  void Reserved23() override;
  std::int16_t MinorVersion() override;
  std::int16_t MajorVersion() override;
  std::string Description() override;
  void PutComPortNumber(std::int32_t NewValue) override;
  std::int32_t ComPortNumber() override;
  void Reserved29() override;
  std::string ProjectName() override;
  void PutProjectName(const std::string& NewValue) override;
  bool GroupTransfer() override;
  bool CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) override;
  void PutWordIO(std::int16_t NewValue) override;
  std::int16_t WordIO() override;
  void PutTimeout(std::int16_t NewValue) override;
  std::int16_t Timeout() override;
  bool FirmwareDownloadNeeded() override;
  bool ProjectDownloadNeeded() override;
  std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) override;

 private:
  struct Failure {
    std::int32_t number;
    std::string text;
    int times;
  };
  void Called(const std::string& operation, const std::string& arguments);
  void Asked(const std::string& question, const std::string& arguments = {});
  void HookAndFail(const std::string& operation);

  std::shared_ptr<IEventNotify> sink_;
  std::map<std::string, Failure> failures_;
  std::weak_ptr<ScriptedDevice> lastDevice_;
};

}  // namespace orvo::testing
