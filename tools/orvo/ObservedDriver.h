// A driver that hands every operation on to another one and notes in a DriverLog what became of it. The device
// objects that it makes do the same. Answers and failures reach the caller unchanged.
#pragma once

#include "DriverLog.h"
#include "spooler/CommunicationDriver.h"

#include <memory>
#include <string>

namespace orvo::client {

class ObservedDriver final : public CommunicationDriver {
 public:
  // Neither may be null.
  ObservedDriver(std::shared_ptr<CommunicationDriver> driver, std::shared_ptr<DriverLog> log);

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
  template <class Call>
  auto Noted(const char* operation, Call&& call);

  const std::shared_ptr<CommunicationDriver> driver_;
  const std::shared_ptr<DriverLog> log_;
};

}  // namespace orvo::client
