#include "simulated/PanelFaults.h"

#include "errors/AutomationError.h"

#include <utility>

namespace orvo {

namespace {

constexpr std::array<std::string_view, PanelOperationCount> Names{"SetEventSink",
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
  return Names[static_cast<std::size_t>(operation) - 1];
}

void PanelFaults::FailNext(PanelOperation operation, std::int32_t number, std::string text, int times) {
  if (times >= 1) Of(operation).failures.push_back({number, std::move(text), times});
}

void PanelFaults::Enter(PanelOperation operation) {
  State& state = Of(operation);
  ++state.calls;
  if (state.failures.empty()) return;
  const Failure failure = state.failures.front();
  if (--state.failures.front().times == 0) state.failures.pop_front();
  throw AutomationError(failure.number, failure.text);
}

}  // namespace orvo
