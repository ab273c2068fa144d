// The wish of the outside that the client ends: Ctrl-C, SIGTERM, a terminal that has gone. A reader of the
// output that has gone is no signal: the output's state tells it.
//
// A signal only leaves a note; Session polls it, also while a synchronous call waits, and closes communication.
// The second Ctrl-C or SIGTERM ends the process at once: a driver that does not come back is left that way.
#pragma once

namespace orvo::client {

// Thrown where a command finds that it is to end.
class EndRequested {};

class Interrupt {
 public:
  // Has the signals noted from now on.
  static void Install();
  static bool Requested() noexcept;
  // Interrupted, Terminated or HungUp.
  static int ExitCode() noexcept;
  // Throws EndRequested when the client is to end.
  static void Check();
};

}  // namespace orvo::client
