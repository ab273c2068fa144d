#include "Terminal.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace orvo::client {

void PrepareOutput() {
  _setmode(_fileno(stdout), _O_BINARY);
}

bool OutputIsTerminal() {
  return _isatty(_fileno(stdout)) != 0;
}

// A console takes the control sequences for text unless it is told otherwise.
bool OutputCanBeRedrawn() {
  return false;
}

TerminalSize OutputSize() {
  return {};
}

}  // namespace orvo::client
