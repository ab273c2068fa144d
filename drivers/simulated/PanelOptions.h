// What a simulated panel is made with.
#pragma once

#include "simulated/PanelImage.h"
#include "simulated/PanelSignal.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orvo {

struct PanelOptions {
  // From a read or write to its answer. 0: by the next pass of the message loop; otherwise at least the
  // platform's shortest timer period.
  std::chrono::milliseconds completionDelay{20};

  std::set<std::string> deviceKinds{"PanelA", "PanelB"};  // exact names; all kinds have the same memory
  std::int32_t groupCapacity = 8;                         // definitions held at once
  bool groupTransfer = false;
  std::int32_t maximumGroupWords = 4096;  // CheckVariable: per group, in 16-bit words
  std::int32_t maximumGroupItems = 1'000'000;

  std::vector<PanelSignal> signals;
  PanelImage heldFirmware;
  PanelImage heldProject;

  float bootVersion = 1.0F;
  std::string bootDate = "2024-01-15";
  float firmwareVersion = 1.0F;
  std::string boardDescription = "Simulated panel";
  std::int16_t majorVersion = 1;
  std::int16_t minorVersion = 0;
  std::string description = "Simulated panel driver";

  // What the properties that can be put answer until they are.
  std::int32_t baudRate = 9600;
  std::int32_t comPortNumber = 1;
  std::int32_t networkType = 0;
  std::int16_t wordIO = 0;
  std::int16_t timeout = 1000;
  std::string projectName;

  // Fixed answers; nothing: as the panel finds it.
  std::optional<std::int32_t> boardStatus;
  std::optional<std::int32_t> communicationStatus;
  std::optional<bool> firmwareDownloadNeeded;
  std::optional<bool> projectDownloadNeeded;

  // A panel script (PanelScript.h) that is applied when the panel is made; empty: none.
  std::string script;
};

}  // namespace orvo
