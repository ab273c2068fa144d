// The driver's side of the fault scenes: every operation of the scripted driver and its device is traced, fails
// where it was armed to, and otherwise does its work; the device behind it holds other values at each read.
//
// Items are WO<n>, DW<n> and FL<n> with the addresses n, 100+n and 200+n. The k-th request that is taken (its
// serial is k) reads 10k+n for the item with the number n; a whole group is read as a word, a double word and a
// single with the numbers 1, 2 and 3, ten bytes.
#pragma once

#include "faults/DriverFailure.h"
#include "support/Plant.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orvo::testing {

// One request that the driver took.
struct TakenRequest {
  std::string operation;
  int serial = 0;
  SafeArray<double> addresses;
  SafeArray<Variant> values;
  SafeArray<std::uint8_t> buffer;
  std::string call = {};  // with all its arguments, as the scripted driver's log has it
};

class FaultyDriver {
 public:
  // Plays the driver of `plant`, which outlives it.
  explicit FaultyDriver(Plant& plant);

  // From now on `operation` fails: each call of it, or only the `nth` one from here on.
  void Arm(const std::string& operation, const DriverFailure& failure, int nth = 0);
  void Disarm() { armed_.clear(); }
  // How often an armed failure was raised.
  int Raised() const noexcept { return raised_; }

  // The operations that the system called.
  std::set<std::string> called;
  // Number of requests taken so far.
  int Serial() const noexcept { return serial_; }
  std::vector<TakenRequest> taken;

  // What is done about a request that was taken; by default ProperAnswer from a posted call.
  std::function<void(const TakenRequest&)> answer;
  void AnswerLater(const TakenRequest& request);
  void ProperAnswer(const TakenRequest& request);
  // The sink, called from a place that outlives the server: its failure (nobody is there any more, or nothing
  // is in flight) is the driver's business. Returns the failure's number, 0 without one.
  std::int32_t Tell(const std::function<void(IEventNotify&)>& completion);

  // What a read brings, as values of the device and as the bytes of a whole group.
  static SafeArray<Variant> ValuesOf(const TakenRequest& request);
  static std::vector<std::uint8_t> ImageOf(int serial);

 private:
  struct Armed {
    DriverFailure failure;
    int nth;
    int calls = 0;
  };
  void Call(const std::string& operation);
  void Take(const std::string& operation);
  void PrepareDevice(ScriptedDevice& device);

  Plant& plant_;
  std::map<std::string, Armed> armed_;
  int raised_ = 0;
  int serial_ = 0;
};

// The operations by the names that ScriptedDriver has for them.
const std::vector<std::string>& DriverOperations();

}  // namespace orvo::testing
