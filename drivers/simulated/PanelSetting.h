// What a panel script sets: the panel's answers and limits by name.
#pragma once

#include "simulated/PanelOptions.h"
#include "simulated/PanelScriptLine.h"

#include <functional>
#include <string_view>
#include <vector>

namespace orvo {

using PanelSetting = std::function<void(PanelOptions& options)>;

// Reads name and value of a setting, to the end of the line. Fails like the line itself (error 10).
PanelSetting ReadPanelSetting(PanelScriptLine& line);

// One for each setting, as scripts write it: "set BaudRate 19200".
std::vector<std::string_view> PanelSettingExamples();

// The baud rates that a panel has; the text lists them.
bool IsPanelBaudRate(std::int32_t rate) noexcept;

}  // namespace orvo
