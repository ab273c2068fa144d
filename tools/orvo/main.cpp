// orvo: the command-line client.

#include "CommandTree.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Terminal.h"

#include <exception>
#include <iostream>

namespace orvo::client {

static int RunClient(int count, char** arguments) {
  PrepareOutput();
  Interrupt::Install();
  int exitCode = Success;
  try {
    exitCode = CommandTree().Run(count, arguments);
  } catch (const EndRequested&) {
    exitCode = Interrupt::ExitCode();
  }
  std::cout.flush();
  if (std::cout.good()) return exitCode;
  if (Interrupt::Requested()) return Interrupt::ExitCode();
  // A reader that has gone wanted no more; anything else is a loss.
  if (OutputIsPipe()) return Success;
  std::cerr << "orvo: the output could not be written\n";
  return Failed;
}

}  // namespace orvo::client

int main(int count, char** arguments) {
  try {
    return orvo::client::RunClient(count, arguments);
  } catch (const std::exception& error) {
    std::cerr << "orvo: " << error.what() << '\n';
  }
  return orvo::client::Failed;
}
