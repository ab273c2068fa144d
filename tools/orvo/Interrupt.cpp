#include "Interrupt.h"

#include "ExitCode.h"

#include <atomic>
#include <csignal>

namespace orvo::client {

namespace {

// A lock-free atomic: on some systems the handler runs on another thread.
std::atomic<int> caughtSignal{0};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void NoteSignal(int signal) {
  caughtSignal = signal;
  static_cast<void>(std::signal(signal, SIG_DFL));
}

void Handle(int signal) {
  // One that is ignored from the start (nohup, a shell's background) stays ignored.
  if (std::signal(signal, NoteSignal) == SIG_IGN) static_cast<void>(std::signal(signal, SIG_IGN));
}

}  // namespace

void Interrupt::Install() {
  Handle(SIGINT);
  Handle(SIGTERM);
#ifdef SIGHUP
  Handle(SIGHUP);
#endif
#ifdef SIGBREAK
  Handle(SIGBREAK);
#endif
#ifdef SIGPIPE
  // A driver's connection breaks with it, too. Who writes finds out by himself.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
#endif
}

bool Interrupt::Requested() noexcept {
  return caughtSignal != 0;
}

int Interrupt::ExitCode() noexcept {
#ifdef SIGHUP
  if (caughtSignal == SIGHUP) return HungUp;
#endif
  return caughtSignal == SIGTERM ? Terminated : Interrupted;
}

void Interrupt::Check() {
  if (Requested()) throw EndRequested();
}

}  // namespace orvo::client
