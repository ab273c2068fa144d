#include "Terminal.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cstdio>

namespace orvo::client {

void PrepareOutput() {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

bool OutputIsTerminal() {
  return _isatty(_fileno(stdout)) != 0;
}

bool OutputIsPipe() {
  struct _stat64 facts {};
  return _fstat64(_fileno(stdout), &facts) == 0 && (facts.st_mode & _S_IFMT) == _S_IFIFO;
}

// A console takes the control sequences for text unless it is told otherwise.
bool OutputCanBeRedrawn() {
  return false;
}

TerminalSize OutputSize() {
  return {};
}

}  // namespace orvo::client
