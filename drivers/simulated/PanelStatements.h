// The statements of a panel script: one line each.
#pragma once

#include "simulated/PanelScript.h"

#include <string_view>

namespace orvo {

// Reads the line and adds what it says to the script; an empty line and a comment say nothing. Error 10 with a
// text that tells what is wrong and how it is written; then the script is as it was.
void ReadPanelStatement(std::string_view text, PanelScript& script);

}  // namespace orvo
