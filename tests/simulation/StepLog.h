// What happened in a simulated plant, step by step: counted, hashed, and the latest steps kept.
//
// Two runs with the same hash did the same things at the same times in the same order.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace orvo::testing {

class StepLog {
 public:
  static constexpr std::size_t Kept = 200;

  // `what` is a literal. The numbers are what the step is about: ids, handles, errors, counts.
  void Note(std::chrono::milliseconds now, const char* what, std::int64_t a = 0, std::int64_t b = 0,
            std::int64_t c = 0);
  // From now on each step is also written as a line; null ends that.
  void PutEcho(std::ostream* echo) noexcept { echo_ = echo; }

  std::uint64_t Steps() const noexcept { return steps_; }
  std::uint64_t Hash() const noexcept { return hash_; }
  // The latest steps, one per line, the oldest first.
  std::string Tail() const;

 private:
  struct Step {
    std::chrono::milliseconds now{0};
    const char* what = "";
    std::int64_t a = 0;
    std::int64_t b = 0;
    std::int64_t c = 0;
  };
  static std::string Line(const Step& step);
  void Mix(std::uint64_t number) noexcept;

  std::array<Step, Kept> latest_{};
  std::uint64_t steps_ = 0;
  std::uint64_t hash_ = 0xCBF29CE484222325U;
  std::ostream* echo_ = nullptr;
};

}  // namespace orvo::testing
