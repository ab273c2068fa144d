#include "kit/DriverSession.h"

#include "errors/AutomationError.h"
#include "errors/ErrorHandling.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <exception>

namespace orvo::kit {

namespace {

// Short enough that what is decided on another thread is seen soon.
constexpr std::chrono::milliseconds Slice{20};

[[noreturn]] void FailWithCaught(const std::string& name) {
  try {
    throw;
  } catch (const CheckFailed&) {
    throw;
  } catch (const NotApplicable&) {
    throw;
  } catch (const AutomationError& error) {
    throw CheckFailed{name + " failed with " + std::to_string(error.Number()) + " (" + error.Description() +
                      ")"};
  } catch (const std::exception& error) {
    throw CheckFailed{name + " threw something other than an AutomationError: " + error.what()};
  } catch (...) {
    throw CheckFailed{name + " threw something other than an AutomationError"};
  }
}

}  // namespace

std::string CaughtText() {
  const AutomationError caught = CaughtError();
  return std::to_string(caught.Number()) + " (" + caught.Description() + ")";
}

std::string Counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string Seconds(std::chrono::milliseconds duration) {
  return ToText(static_cast<double>(duration.count()) / 1000.0) + " s";
}

DriverSession::DriverSession(WatchedPlatform& platform, Files& files, const DriverRegistry::Factory& factory,
                             const DriverTestPlan& plan)
    : platform_(platform), files_(files), factory_(factory), plan_(plan) {}

DriverSession::~DriverSession() {
  if (sink_) sink_->onEvent = nullptr;
  Suppressed([&] {
    if (driver_ && open_) driver_->CloseCommunication();
  });
  // The device and the items may need the driver's library, not the driver.
  device_.reset();
  driver_.reset();
  Suppressed([&] { platform_.PumpOnce(); });
  platform_.End();
}

std::shared_ptr<CommunicationDriver> DriverSession::MakeAnother() {
  std::shared_ptr<CommunicationDriver> driver;
  Call("the factory", [&] { driver = factory_({platform_, files_}); });
  if (!driver) throw CheckFailed{"the factory made no driver"};
  return driver;
}

CommunicationDriver& DriverSession::Driver() {
  if (!driver_) {
    driver_ = MakeAnother();
    weakDriver_ = driver_;
  }
  return *driver_;
}

CommunicationDriver& DriverSession::Connected() {
  CommunicationDriver& driver = Driver();
  if (!connected_) {
    if (plan_.networkType) Call("PutNetworkType", [&] { driver.PutNetworkType(*plan_.networkType); });
    Call("SetEventSink", [&] { driver.SetEventSink(sink_); });
    connected_ = true;
  }
  return driver;
}

DeviceObject& DriverSession::Device() {
  if (!device_) {
    CommunicationDriver& driver = Connected();
    Call("CreateDevice", [&] { device_ = driver.CreateDevice(plan_.deviceKind); });
    if (!device_) throw CheckFailed{"CreateDevice gives no device for the kind '" + plan_.deviceKind + "'"};
  }
  return *device_;
}

CompiledItem DriverSession::Compile(const std::string& id) {
  CompiledItem item{id, 0, 0, 0};
  DeviceObject& device = Device();
  const bool valid = Ask("CompileItemId of '" + id + "'",
                         [&] { return device.CompileItemId(id, item.address, item.words, item.type); });
  if (!valid) throw CheckFailed{"CompileItemId answers False for '" + id + "'"};
  return item;
}

const std::vector<CompiledItem>& DriverSession::Items() {
  if (items_.empty()) {
    for (const std::string& id : plan_.items)
      items_.push_back(Compile(id));
  }
  return items_;
}

CommunicationDriver& DriverSession::Opened() {
  Device();  // a server opens nothing before it has a device
  CommunicationDriver& driver = Connected();
  if (!open_) {
    Call("OpenCommunication", [&] { driver.OpenCommunication(true); });
    open_ = true;
  }
  return driver;
}

void DriverSession::Close() {
  open_ = false;
  Call("CloseCommunication", [&] { Driver().CloseCommunication(); });
}

void DriverSession::Release() {
  device_.reset();
  driver_.reset();
  open_ = false;
  connected_ = false;
}

void DriverSession::ReplaceSink() {
  const auto sink = std::make_shared<RecordingSink>();
  // The former one lives through the call: the driver may tell it something yet.
  Call("SetEventSink", [&] { Driver().SetEventSink(sink); });
  sink_ = sink;
}

void DriverSession::Call(const std::string& name, const std::function<void()>& call) {
  const std::shared_ptr<RecordingSink> sink = sink_;
  const RecordingSink::InsideCall inside(*sink);
  try {
    call();
  } catch (...) {
    FailWithCaught(name);
  }
}

bool DriverSession::MayRefuse(const std::string& name, const std::function<void()>& call) {
  bool taken = true;
  Call(name, [&] {
    try {
      call();
    } catch (const AutomationError& error) {
      taken = false;
      if (error.Description().empty())
        throw CheckFailed{name + " is refused with " + std::to_string(error.Number()) + " and no text"};
    }
  });
  return taken;
}

void DriverSession::Read(const std::vector<CompiledItem>& items) {
  SafeArray<double> addresses;
  SafeArray<std::int16_t> dimensions;
  for (const CompiledItem& item : items) {
    addresses.Append(item.address);
    dimensions.Append(static_cast<std::int16_t>(item.words));
  }
  Driver().ReadItems(addresses, dimensions);
}

void DriverSession::ReadOrSkip(const std::vector<CompiledItem>& items) {
  if (!MayRefuse("ReadItems", [&] { Read(items); })) throw NotApplicable{"ReadItems is refused"};
}

void DriverSession::Write(const std::vector<std::pair<CompiledItem, Variant>>& items) {
  SafeArray<double> addresses;
  SafeArray<std::int16_t> dimensions;
  SafeArray<Variant> values;
  for (const auto& [item, value] : items) {
    addresses.Append(item.address);
    dimensions.Append(static_cast<std::int16_t>(item.words));
    values.Append(value);
  }
  Driver().WriteItems(addresses, dimensions, values);
}

SinkEvent DriverSession::AwaitAnswer(SinkEventKind kind, std::size_t number) {
  const std::shared_ptr<RecordingSink> sink = sink_;
  if (!RunUntil([&] { return sink->answers.size() > number; }, plan_.timeout)) {
    if (sink->EventsOfOtherThreads() > 0)
      throw CheckFailed{"no answer on the owner's thread within " + Seconds(plan_.timeout) + ", but " +
                        Counted(sink->EventsOfOtherThreads(), "call") + " of the sink on another thread"};
    throw CheckFailed{"no answer within " + Seconds(plan_.timeout)};
  }
  SinkEvent answer = sink->answers[number];
  if (answer.kind != kind)
    throw CheckFailed{"the answer is " + SinkEventName(answer.kind) + " instead of " + SinkEventName(kind)};
  return answer;
}

SinkEvent DriverSession::AwaitOnly(SinkEventKind kind, std::size_t number) {
  if (const std::size_t count = sink_->answers.size(); count != number)
    throw CheckFailed{Counted(count, "answer") + " after " + Counted(number, "request")};
  SinkEvent answer = AwaitAnswer(kind, number);
  RunFor(std::chrono::milliseconds::zero());
  if (const std::size_t count = sink_->answers.size(); count != number + 1)
    throw CheckFailed{Counted(count, "answer") + " after " + Counted(number + 1, "request")};
  return answer;
}

void DriverSession::RequireAnswers(std::size_t count, const std::string& after) {
  const std::shared_ptr<RecordingSink> sink = sink_;
  RunFor(plan_.quiet);
  if (sink->answers.size() == count) return;
  throw CheckFailed{Counted(sink->answers.size(), "answer") + " instead of " + std::to_string(count) + ' ' +
                    after};
}

SinkEvent DriverSession::CloseAndRequireAnswer(SinkEventKind kind, std::size_t items, std::size_t number) {
  Close();
  return RequireClosingAnswer(kind, items, number);
}

SinkEvent DriverSession::RequireClosingAnswer(SinkEventKind kind, std::size_t items, std::size_t number) {
  // One pass for what the close has posted, one for what this has posted in turn; no time passes.
  constexpr int passes = 2;
  for (int k = 0; k < passes; ++k)
    RunFor(std::chrono::milliseconds::zero());
  if (sink_->answers.size() <= number) throw CheckFailed{"no answer by the next pass of the message loop"};
  SinkEvent answer = sink_->answers[number];
  if (answer.insideCall) throw CheckFailed{"the answer came inside a call into the driver"};
  if (answer.kind != kind) throw CheckFailed{"the answer is " + SinkEventName(answer.kind)};
  if (kind == SinkEventKind::ReadGroupComplete || kind == SinkEventKind::WriteGroupComplete) {
    if (answer.error == 0) throw CheckFailed{"the close answers the group with error 0"};
    return answer;
  }
  RequireArrays(answer, items);
  for (std::size_t k = 0; k < items; ++k) {
    const std::string item = "item " + std::to_string(k + 1) + " of " + std::to_string(items);
    if (answer.errors.View()[k] == 0) throw CheckFailed{"the close answers " + item + " with error 0"};
    if (kind == SinkEventKind::ReadComplete && !answer.values.View()[k].IsEmpty())
      throw CheckFailed{"the close answers " + item + " with a value beside error " +
                        std::to_string(answer.errors.View()[k])};
  }
  return answer;
}

void DriverSession::RequireArrays(const SinkEvent& answer, std::size_t count) {
  const auto require = [&](const char* what, std::size_t size, std::int32_t lowerBound) {
    if (size != count)
      throw CheckFailed{Counted(size, what) + " for " + std::to_string(count) +
                        (count == 1 ? " address" : " addresses")};
    if (size != 0 && lowerBound != 0)
      throw CheckFailed{"the " + std::string(what) + "s begin at " + std::to_string(lowerBound) + ", not at 0"};
  };
  require("error", answer.errors.Size(), answer.errors.LowerBound());
  if (answer.kind == SinkEventKind::ReadComplete)
    require("value", answer.values.Size(), answer.values.LowerBound());
}

bool DriverSession::RunUntil(const std::function<bool()>& done, std::chrono::milliseconds atMost) {
  const std::uint32_t start = platform_.TickCount();
  if (done()) return true;
  while (true) {
    platform_.PumpOnce();
    if (done()) return true;
    const std::chrono::milliseconds elapsed{static_cast<std::uint32_t>(platform_.TickCount() - start)};
    if (elapsed >= atMost) return false;
    platform_.WaitForWork(std::min(atMost - elapsed, Slice));
  }
}

void DriverSession::RunFor(std::chrono::milliseconds duration) {
  RunUntil([] { return false; }, duration);
}

}  // namespace orvo::kit
