// One driver under test, from its making to its end, and the steps that the checks are made of.
//
// A step that finds an offence throws CheckFailed with what was seen; a check that has no ground throws
// NotApplicable with the reason. The end of the session closes and releases the driver and stops what it left
// behind, whatever state it is in.
#pragma once

#include "kit/DriverTestPlan.h"
#include "kit/RecordingSink.h"
#include "kit/WatchedPlatform.h"
#include "spooler/DriverRegistry.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo::kit {

struct CheckFailed {
  std::string seen;
};
struct NotApplicable {
  std::string reason;
};

// An identifier with what the device object made of it.
struct CompiledItem {
  std::string id;
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
};

// "3 (line noise)"; call it inside a catch block.
std::string CaughtText();

class DriverSession {
 public:
  DriverSession(WatchedPlatform& platform, Files& files, const DriverRegistry::Factory& factory,
                const DriverTestPlan& plan);
  DriverSession(const DriverSession&) = delete;
  DriverSession& operator=(const DriverSession&) = delete;
  ~DriverSession();

  const DriverTestPlan& Plan() const noexcept { return plan_; }
  WatchedPlatform& Platform() noexcept { return platform_; }
  RecordingSink& Sink() noexcept { return *sink_; }

  // --- The driver. Each makes what it needs of the former ones.

  std::shared_ptr<CommunicationDriver> MakeAnother();
  CommunicationDriver& Driver();
  // The driver with its network type and the sink, as a server hands them over.
  CommunicationDriver& Connected();
  DeviceObject& Device();
  CompiledItem Compile(const std::string& id);
  const std::vector<CompiledItem>& Items();
  CommunicationDriver& Opened();
  void Close();
  // Gives the driver and its device up; `sink` too. What is left of them: see below.
  void Release();
  bool DriverHasEnded() const { return weakDriver_.expired(); }
  bool SinkHasEnded() const { return weakSink_.expired(); }
  // Takes a new sink, and hands it to the driver; the former one is given up.
  void ReplaceSink();
  void ReleaseSink() { sink_.reset(); }

  // --- Steps.

  // Runs a call into the driver; what comes through the sink meanwhile counts as inside of it. A failure of the
  // call is CheckFailed with `name` and the error.
  void Call(const std::string& name, const std::function<void()>& call);
  template <class Question>
  auto Ask(const std::string& name, Question&& question) {
    decltype(question()) answer{};
    Call(name, [&] { answer = question(); });
    return answer;
  }
  // The same for a call that may be refused by an AutomationError; anything else that is thrown is CheckFailed.
  // Returns whether it was taken.
  bool MayRefuse(const std::string& name, const std::function<void()>& call);

  void Read(const std::vector<CompiledItem>& items);
  // For checks of what comes afterwards: NotApplicable when the read is refused.
  void ReadOrSkip(const std::vector<CompiledItem>& items);
  void Write(const std::vector<std::pair<CompiledItem, Variant>>& items);
  // The next answer, `number` counted from 0; CheckFailed when it does not come within the plan's time-out, or
  // is of another kind.
  SinkEvent AwaitAnswer(SinkEventKind kind, std::size_t number = 0);
  // The same; CheckFailed also when others than the first `number` have come before, or another comes by the
  // next pass.
  SinkEvent AwaitOnly(SinkEventKind kind, std::size_t number);
  // Looks out for the quiet period and then requires that exactly `count` answers have come in all.
  void RequireAnswers(std::size_t count, const std::string& after);
  // Closes while a request is under way; see RequireClosingAnswer.
  SinkEvent CloseAndRequireAnswer(SinkEventKind kind, std::size_t items, std::size_t number = 0);
  // The latest answer, `number` counted from 0, is the one that a close gave to a request of so many items (a
  // group has none): it has come by the next pass of the message loop, outside of any call, of this kind, and
  // with an error and an Empty value for each item.
  SinkEvent RequireClosingAnswer(SinkEventKind kind, std::size_t items, std::size_t number = 0);
  // Values and errors of a read: as many as items, lower bound 0.
  static void RequireArrays(const SinkEvent& answer, std::size_t count);

  // Runs the message loop until `done`, at most for `atMost`; at least one pass unless it is done at once.
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost);
  void RunFor(std::chrono::milliseconds duration);

 private:
  WatchedPlatform& platform_;
  Files& files_;
  const DriverRegistry::Factory& factory_;
  const DriverTestPlan& plan_;

  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>();
  std::shared_ptr<CommunicationDriver> driver_;
  std::shared_ptr<DeviceObject> device_;
  std::vector<CompiledItem> items_;
  bool connected_ = false;
  bool open_ = false;
  std::weak_ptr<CommunicationDriver> weakDriver_;
  std::weak_ptr<RecordingSink> weakSink_ = sink_;
};

// "2 items", "1 item".
std::string Counted(std::size_t count, const std::string& what);
// "2.5 s"
std::string Seconds(std::chrono::milliseconds duration);

}  // namespace orvo::kit
