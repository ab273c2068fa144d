// Calls every member of every class by name with generated arguments:
//
//   invoke_fuzz [--seed N] [--calls N] [--round N [--stop N]]
//
// The seed is printed first; without --seed it is the fixed one. --round runs one round of that seed alone,
// --stop its first calls only, and both print each call. The exit code is 0 when nothing was found.
#include "AllocationCount.h"
#include "Fuzzer.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace {

[[noreturn]] void Crashed(const char* how) {
  std::printf("FAILED: %s in %s\n", how, orvo::testing::Fuzzer::Doing());
  std::fflush(stdout);
  std::_Exit(3);
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* crash) {
  char how[80];
  std::snprintf(how, sizeof how, "exception %08lX at %p", crash->ExceptionRecord->ExceptionCode,
                crash->ExceptionRecord->ExceptionAddress);
  Crashed(how);
}

}  // namespace

int main(int count, char** arguments) {
  std::uint64_t seed = 20240115;
  std::uint64_t calls = 200000;
  long long round = -1;
  int stop = orvo::testing::Fuzzer::CallsPerRound;
  for (int i = 1; i + 1 < count; i += 2) {
    const std::uint64_t value = std::strtoull(arguments[i + 1], nullptr, 10);
    if (std::strcmp(arguments[i], "--seed") == 0) seed = value;
    if (std::strcmp(arguments[i], "--calls") == 0) calls = value;
    if (std::strcmp(arguments[i], "--stop") == 0) stop = static_cast<int>(value);
    if (std::strcmp(arguments[i], "--round") == 0) round = static_cast<long long>(value);
  }
  std::printf("invoke_fuzz --seed %llu --calls %llu\n", static_cast<unsigned long long>(seed),
              static_cast<unsigned long long>(calls));
  std::fflush(stdout);
  SetUnhandledExceptionFilter(OnCrash);
  std::signal(SIGABRT, [](int) { Crashed("abort"); });
  std::set_terminate([] { Crashed("terminate"); });

  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (!orvo::testing::WatchAutomationMemory()) std::printf("the system's allocator cannot be watched\n");
  orvo::testing::Fuzzer fuzzer(seed);
  if (round >= 0) {
    fuzzer.PrintCalls();
    fuzzer.RunRound(static_cast<std::uint64_t>(round), stop);
  } else {
    for (std::uint64_t number = 0; fuzzer.Calls() < calls && fuzzer.Failures() == 0; ++number)
      fuzzer.RunRound(number);
    if (fuzzer.Failures() == 0 && calls >= 100000) fuzzer.CheckCoverage();
  }
  std::printf("%s", fuzzer.Summary().c_str());
  std::printf(fuzzer.Failures() == 0 ? "PASSED\n" : "%d failures\n", fuzzer.Failures());
  CoUninitialize();
  return fuzzer.Failures() == 0 ? 0 : 1;
}
