// The operations of the simulated panel by name: how often each was called, and the failures scripted for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
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

class PanelFaults {
 public:
  // The next `times` calls of `operation` fail with `number` and `text`, after the failures scripted earlier
  // for it are used up. A `times` below 1 scripts nothing.
  void FailNext(PanelOperation operation, std::int32_t number, std::string text, int times = 1);
  // How often `operation` was called, failed calls included.
  int Calls(PanelOperation operation) const noexcept { return Of(operation).calls; }

  // Called by each operation before it does anything: counts it, and throws the failure that is next.
  void Enter(PanelOperation operation);

 private:
  struct Failure {
    std::int32_t number;
    std::string text;
    int times;
  };
  struct State {
    int calls = 0;
    std::deque<Failure> failures;
  };
  const State& Of(PanelOperation operation) const noexcept {
    return states_[static_cast<std::size_t>(operation) - 1];
  }
  State& Of(PanelOperation operation) noexcept { return states_[static_cast<std::size_t>(operation) - 1]; }

  std::array<State, PanelOperationCount> states_;
};

}  // namespace orvo
