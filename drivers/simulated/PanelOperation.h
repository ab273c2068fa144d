// The operations of the driver contract by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace orvo {

// The operations of the driver contract; the values are their slots. A property that is put has an entry of its
// own.
enum class PanelOperation : std::int32_t {
  SetEventSink = 1,
  WriteItems,
  ReadItems,
  WriteGroup,
  ReadGroup,
  OpenCommunication,
  CloseCommunication,
  BootVersion,
  BootDate,
  FirmwareVersion,
  BoardDescription,
  BoardStatus,
  CommunicationStatus,
  DownloadFirmware,
  DownloadProject,
  BaudRate,
  PutBaudRate,
  Reserved18,
  SetConfigurationMode,
  SetGroupDefinition,
  GroupCapacity,
  PutNetworkType,
  Reserved23,
  MinorVersion,
  MajorVersion,
  Description,
  PutComPortNumber,
  ComPortNumber,
  Reserved29,
  ProjectName,
  PutProjectName,
  GroupTransfer,
  CheckVariable,
  PutWordIO,
  WordIO,
  PutTimeout,
  Timeout,
  FirmwareDownloadNeeded,
  ProjectDownloadNeeded,
  CreateDevice,
};
inline constexpr std::size_t PanelOperationCount = 40;

// The name of the enumerator.
std::string_view PanelOperationName(PanelOperation operation) noexcept;
// The operation of exactly this name.
std::optional<PanelOperation> FindPanelOperation(std::string_view name) noexcept;
// The name of the operation that differs from `name` in case only; empty when there is none.
std::string_view SimilarPanelOperation(std::string_view name);

}  // namespace orvo
