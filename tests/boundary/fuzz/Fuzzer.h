// Generated calls by name and what must hold for each of them.
//
// A round is a scene of its own with its own seed, made from the run's seed and the round's number, so that any
// round can be run again alone.
#pragma once

#include "FuzzRandom.h"
#include "FuzzScene.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orvo::testing {

class Fuzzer {
 public:
  static constexpr int CallsPerRound = 500;

  explicit Fuzzer(std::uint64_t seed) : seed_(seed) {}

  void RunRound(std::uint64_t round, int calls = CallsPerRound);
  // Each call is printed before it is made.
  void PrintCalls() noexcept { print_ = true; }
  // Every member must have been reached, if enough calls were made for that.
  void CheckCoverage();

  int Failures() const noexcept { return failures_; }
  std::uint64_t Calls() const noexcept { return calls_; }
  std::string Summary() const;
  // What is being done now: for the report of a crash.
  static const char* Doing() noexcept;

 private:
  struct Choice {
    std::size_t type = 0;  // index of the class
    com::ComPtr<IDispatch> target;
    const com::InterfaceInfo* info = nullptr;
    const com::Member* member = nullptr;  // null when there is none for these flags
    DISPID id = 0;
    WORD flags = 0;
    std::string name;
  };
  struct Outcome {
    HRESULT result = S_OK;
    EXCEPINFO failure{};
    bool asked = false;  // the caller gave an EXCEPINFO
    UINT argument = 0;
  };
  struct Given {
    VARIANT* list = nullptr;
    UINT count = 0;
    std::vector<DISPID> names;
    // By index: the parameter that the argument is for; null for none.
    std::vector<const com::Parameter*> parameters;
    std::vector<bool> shared;  // leads to the same storage as another one
  };

  Choice Choose();
  void MakeArguments(const Choice& choice, ArgumentMaker& maker, Given& given);
  void Call();
  HRESULT Invoke(const Choice& choice, const Given& given, Outcome& outcome, VARIANT* result);
  void CallMalformed(const Choice& choice);
  void CheckOutcome(const Choice& choice, const Given& given, const Outcome& outcome);
  void CheckFailure(const Choice& choice, const Outcome& outcome);
  void CheckResult(const VARIANT& value, int depth);
  void TakeResult(const VARIANT& value);
  void Nested();
  void CheckEnd();
  void Fail(const std::string& what);

  const std::uint64_t seed_;
  std::uint64_t round_ = 0;
  std::uint64_t calls_ = 0;
  int failures_ = 0;
  int depth_ = 0;
  bool print_ = false;
  std::uint64_t systematic_ = 0;  // walks over every member with every flag
  FuzzRandom random_{0};
  std::unique_ptr<FuzzScene> scene_;
  std::map<HRESULT, std::uint64_t> results_;
  std::set<std::string> members_;    // all there are
  std::set<std::string> reached_;    // called at least once
  std::set<std::string> succeeded_;  // called with success at least once
  std::int64_t blocks_ = -1;         // in use after a quarter of the run
  std::int64_t automationBlocks_ = -1;
};

}  // namespace orvo::testing
