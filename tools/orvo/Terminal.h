// The standard output: whether it is a terminal, how large that is, and what the system must be told first.
#pragma once

#include <cstddef>

namespace orvo::client {

struct TerminalSize {
  std::size_t rows = 24;
  std::size_t columns = 80;
};

// Call it before the first output: line ends are written as they are.
void PrepareOutput();
bool OutputIsTerminal();
// Whether another program reads the output.
bool OutputIsPipe();
// Whether the output is a terminal on which a table can be drawn over itself.
bool OutputCanBeRedrawn();
// As it is now; 24 by 80 when the system does not tell.
TerminalSize OutputSize();

}  // namespace orvo::client
