// The contract of a communication driver: the driver itself and the device object that it makes.
//
// The operations stand in slot order; the order is part of the contract. All of them are called on the owner's
// thread. A failure is reported by throwing AutomationError: 2 is a state error, 1, 3, 4, 5 and 99 are
// communication errors, 10 is a bad value, any other number is an internal error. Arrays have the lower bound
// 0.
//
// Reads and writes (slots 2 to 5) return as soon as the driver has taken the request; the result comes later
// through the sink. A driver answers each request that it accepted exactly once, also when the line breaks and
// when communication is closed; a request that it refuses (by throwing) is not answered. The next read or write
// comes only after the completion of the previous one.
#pragma once

#include "spooler/IEventNotify.h"

#include <cstdint>
#include <memory>
#include <string>

namespace orvo {

// Knows the item identifiers of one kind of device. Made by CommunicationDriver::CreateDevice.
class DeviceObject {
 public:
  DeviceObject() = default;
  DeviceObject(const DeviceObject&) = delete;
  DeviceObject& operator=(const DeviceObject&) = delete;
  virtual ~DeviceObject() = default;

  // Compiles an identifier. Out: the compiled address (a token of the driver's, passed back to it and never
  // interpreted), the length in 16-bit words, and the item type (0 integer, 1 string, 2 floating point, 3 raw).
  // Answers false, or fails, when the identifier is not valid for the device.
  virtual bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                             std::int32_t& ItemType) = 0;
  // Replaces `Value`, the number decoded from the item's words (or the value that was written to the item), by
  // the item's own value: isolates the bit or byte that the address names. `Reserved` is 0.
  virtual void ExtractValue(double CompiledAddress, Variant& Value, std::int32_t Reserved) = 0;
  // A saved configuration was loaded, and with it the item: after compiling, its facts were replaced by the
  // saved ones given here, and with these it will be read and written. A device that cannot serve the item so
  // fails; the item is taken out again then. The default accepts.
  virtual void ItemLoaded(const std::string& /*ItemId*/, double /*CompiledAddress*/,
                          std::int32_t /*WordLength*/, std::int32_t /*ItemType*/) {}
};

class CommunicationDriver {
 public:
  CommunicationDriver() = default;
  CommunicationDriver(const CommunicationDriver&) = delete;
  CommunicationDriver& operator=(const CommunicationDriver&) = delete;
  virtual ~CommunicationDriver() = default;

  // 1. The sink for completions and download reports; the driver holds it from now on. The system hands over a
  // sink that does not keep the server alive; after the server's end its operations fail with 91.
  virtual void SetEventSink(std::shared_ptr<IEventNotify> Sink) = 0;
  // 2. Dimensions: the items' lengths in 16-bit words, parallel to the addresses. DATAValues: device values.
  virtual void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                          const SafeArray<Variant>& DATAValues) = 0;
  // 3.
  virtual void ReadItems(const SafeArray<double>& CompiledAddresses,
                         const SafeArray<std::int16_t>& Dimensions) = 0;
  // 4. Buffer: the bytes of the whole group.
  virtual void WriteGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) = 0;
  // 5. Buffer: the group's compiled buffer, for its length.
  virtual void ReadGroup(std::int32_t GroupId, const SafeArray<std::uint8_t>& Buffer) = 0;
  // 6. The argument is always true.
  virtual void OpenCommunication(bool Open) = 0;
  // 7.
  virtual void CloseCommunication() = 0;
  // 8 to 13.
  virtual float BootVersion() = 0;
  virtual std::string BootDate() = 0;
  virtual float FirmwareVersion() = 0;
  virtual std::string BoardDescription() = 0;
  virtual std::int32_t BoardStatus() = 0;
  virtual std::int32_t CommunicationStatus() = 0;
  // 14 and 15. Progress and completion are reported through the sink, inside the call. Flag is always 0.
  virtual void DownloadFirmware(const std::string& FileName, std::int32_t Flag) = 0;
  virtual void DownloadProject(const std::string& FileName, std::int32_t Flag) = 0;
  // 16 and 17.
  virtual std::int32_t BaudRate() = 0;
  virtual void PutBaudRate(std::int32_t NewValue) = 0;
  // 18. Reserved: never called.
  virtual void Reserved18() = 0;
  // 19. True when the board accepted.
  virtual bool SetConfigurationMode() = 0;
  // 20. Define -1 defines the group on the device, 0 releases it.
  virtual void SetGroupDefinition(std::int32_t GroupId, std::int32_t Define) = 0;
  // 21. How many groups the device can hold defined.
  virtual std::int32_t GroupCapacity() = 0;
  // 22.
  virtual void PutNetworkType(std::int32_t NewValue) = 0;
  // 23. Reserved: never called.
  virtual void Reserved23() = 0;
  // 24 to 26.
  virtual std::int16_t MinorVersion() = 0;
  virtual std::int16_t MajorVersion() = 0;
  virtual std::string Description() = 0;
  // 27 and 28.
  virtual void PutComPortNumber(std::int32_t NewValue) = 0;
  virtual std::int32_t ComPortNumber() = 0;
  // 29. Reserved: never called.
  virtual void Reserved29() = 0;
  // 30 and 31.
  virtual std::string ProjectName() = 0;
  virtual void PutProjectName(const std::string& NewValue) = 0;
  // 32. True when the driver transfers whole groups as one buffer.
  virtual bool GroupTransfer() = 0;
  // 33. Whether a group of this total length in 16-bit words and this many items fits the device.
  virtual bool CheckVariable(std::int32_t TotalWordLength, std::int32_t ItemCount) = 0;
  // 34 to 37.
  virtual void PutWordIO(std::int16_t NewValue) = 0;
  virtual std::int16_t WordIO() = 0;
  virtual void PutTimeout(std::int16_t NewValue) = 0;
  virtual std::int16_t Timeout() = 0;
  // 38 and 39.
  virtual bool FirmwareDownloadNeeded() = 0;
  virtual bool ProjectDownloadNeeded() = 0;
  // 40. The device object for a kind of device, or null when the name is unknown.
  virtual std::shared_ptr<DeviceObject> CreateDevice(const std::string& DeviceKind) = 0;
};

}  // namespace orvo
