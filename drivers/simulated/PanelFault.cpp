#include "simulated/PanelFault.h"

#include <algorithm>
#include <array>

namespace orvo {

namespace {

using Operation = PanelOperation;

constexpr std::array<std::string_view, 11> ActionNames{"fail",  "refuse", "delay", "never",   "twice",  "late",
                                                       "short", "long",   "break", "restart", "corrupt"};
static_assert(static_cast<std::size_t>(PanelFaultAction::Corrupt) + 1 == ActionNames.size());

bool IsReadOrWrite(Operation operation) noexcept {
  return operation >= Operation::WriteItems && operation <= Operation::ReadGroup;
}

bool IsDownload(Operation operation) noexcept {
  return operation == Operation::DownloadFirmware || operation == Operation::DownloadProject;
}

bool CanBeRefused(Operation operation) noexcept {
  return IsReadOrWrite(operation) || operation == Operation::SetConfigurationMode ||
         operation == Operation::CheckVariable || operation == Operation::CreateDevice;
}

}  // namespace

std::string_view PanelFaultActionName(PanelFaultAction action) noexcept {
  return ActionNames[static_cast<std::size_t>(action)];
}

std::optional<PanelFaultAction> FindPanelFaultAction(std::string_view name) noexcept {
  const auto found = std::find(ActionNames.begin(), ActionNames.end(), name);
  if (found == ActionNames.end()) return std::nullopt;
  return static_cast<PanelFaultAction>(found - ActionNames.begin());
}

bool PanelFaultFits(PanelFaultAction action, std::optional<PanelOperation> operation) noexcept {
  switch (action) {
    case PanelFaultAction::Fail:
      return true;
    case PanelFaultAction::Refuse:
      return !operation || CanBeRefused(*operation);
    case PanelFaultAction::Delay:
    case PanelFaultAction::Never:
    case PanelFaultAction::Twice:
    case PanelFaultAction::Late:
      return !operation || IsReadOrWrite(*operation);
    case PanelFaultAction::Short:
    case PanelFaultAction::Long:
      // The answer to the writing of a group holds no array.
      return !operation || (IsReadOrWrite(*operation) && *operation != Operation::WriteGroup);
    case PanelFaultAction::Break:
    case PanelFaultAction::Restart:
    case PanelFaultAction::Corrupt:
      return operation && IsDownload(*operation);
  }
  return false;
}

}  // namespace orvo
