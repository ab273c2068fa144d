#include "simulated/PanelOperation.h"

#include "values/Text.h"

#include <algorithm>
#include <array>

namespace orvo {

namespace {

constexpr std::array<std::string_view, PanelOperationCount> OperationNames{"SetEventSink",
                                                                           "WriteItems",
                                                                           "ReadItems",
                                                                           "WriteGroup",
                                                                           "ReadGroup",
                                                                           "OpenCommunication",
                                                                           "CloseCommunication",
                                                                           "BootVersion",
                                                                           "BootDate",
                                                                           "FirmwareVersion",
                                                                           "BoardDescription",
                                                                           "BoardStatus",
                                                                           "CommunicationStatus",
                                                                           "DownloadFirmware",
                                                                           "DownloadProject",
                                                                           "BaudRate",
                                                                           "PutBaudRate",
                                                                           "Reserved18",
                                                                           "SetConfigurationMode",
                                                                           "SetGroupDefinition",
                                                                           "GroupCapacity",
                                                                           "PutNetworkType",
                                                                           "Reserved23",
                                                                           "MinorVersion",
                                                                           "MajorVersion",
                                                                           "Description",
                                                                           "PutComPortNumber",
                                                                           "ComPortNumber",
                                                                           "Reserved29",
                                                                           "ProjectName",
                                                                           "PutProjectName",
                                                                           "GroupTransfer",
                                                                           "CheckVariable",
                                                                           "PutWordIO",
                                                                           "WordIO",
                                                                           "PutTimeout",
                                                                           "Timeout",
                                                                           "FirmwareDownloadNeeded",
                                                                           "ProjectDownloadNeeded",
                                                                           "CreateDevice"};
static_assert(static_cast<std::size_t>(PanelOperation::CreateDevice) == PanelOperationCount);

}  // namespace

std::string_view PanelOperationName(PanelOperation operation) noexcept {
  return OperationNames[static_cast<std::size_t>(operation) - 1];
}

std::optional<PanelOperation> FindPanelOperation(std::string_view name) noexcept {
  const auto found = std::find(OperationNames.begin(), OperationNames.end(), name);
  if (found == OperationNames.end()) return std::nullopt;
  return static_cast<PanelOperation>(found - OperationNames.begin() + 1);
}

std::string_view SimilarPanelOperation(std::string_view name) {
  const auto found =
      std::find_if(OperationNames.begin(), OperationNames.end(),
                   [folded = FoldCase(name)](std::string_view own) { return FoldCase(own) == folded; });
  return found == OperationNames.end() ? std::string_view() : *found;
}

}  // namespace orvo
