#include "Terminal.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace orvo::client {

void PrepareOutput() {}

bool OutputIsTerminal() {
  return isatty(STDOUT_FILENO) == 1;
}

bool OutputIsPipe() {
  struct stat facts {};
  return fstat(STDOUT_FILENO, &facts) == 0 && (S_ISFIFO(facts.st_mode) || S_ISSOCK(facts.st_mode));
}

bool OutputCanBeRedrawn() {
  if (!OutputIsTerminal()) return false;
  const char* kind =
      std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nothing here changes the environment
  return kind != nullptr && std::string_view(kind) != "dumb";
}

TerminalSize OutputSize() {
  winsize size{};
  // The operation's number decides the kind of its argument; the system offers no other way to ask.
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return {};
  return {size.ws_row, size.ws_col};
}

}  // namespace orvo::client
