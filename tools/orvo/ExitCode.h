// The exit codes of the client, and the failure that is the caller's own.
#pragma once

#include <stdexcept>

namespace orvo::client {

enum ExitCode : int {
  Success = 0,
  Failed = 1,         // the system raised an error
  ItemFailed = 2,     // an item has an error of its own
  WrongUsage = 3,     // the command line makes no sense
  ProblemsFound = 4,  // config check
  FallenSilent = 5,   // watch ended while a group was silent
  HungUp = 129,       // the terminal has gone
  Interrupted = 130,  // Ctrl-C
  Terminated = 143,   // SIGTERM
};

// The command line makes no sense; the text says what is wrong with what.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace orvo::client
