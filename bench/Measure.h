// What the benchmarks have in common: sizes, figures, and time that is taken by hand.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <ctime>

namespace orvo::bench {

// Seconds of processor time of this thread: what other programs do to the machine hardly shows in it.
inline double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Runs `step` as one iteration of a benchmark with manual time.
template <class Step>
void TimeByHand(benchmark::State& state, Step&& step) {
  const double start = ThreadSeconds();
  step();
  state.SetIterationTime(ThreadSeconds() - start);
}

inline std::size_t ItemsOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

// The figure of a row: nanoseconds per item, for an iteration that handles all items.
inline void ReportPerItem(benchmark::State& state) {
  state.counters["figure"] =
      benchmark::Counter(static_cast<double>(ItemsOf(state)) / 1e9,
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

inline void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(1000)->Arg(10000)->Arg(100000);
}

}  // namespace orvo::bench
