#include "AwkwardDriver.h"

#include "values/VariantConversion.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace orvo::testing {

namespace {

class AwkwardDevice final : public DeviceObject {
 public:
  explicit AwkwardDevice(Slip slip) : slip_(slip) {}

  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override {
    const std::string name = ItemId.substr(0, ItemId.size() - std::min<std::size_t>(ItemId.size(), 1));
    const bool valid =
        (name == "R" || name == "WO" || name == "DW") && ItemId.back() >= '0' && ItemId.back() <= '9';
    if (!valid && slip_ == Slip::RefusesWithoutText) throw AutomationError(10, "");
    if (!valid && slip_ != Slip::TakesEveryIdentifier) return false;
    CompiledAddress = valid ? 100 + ItemId.back() : 1;
    if (slip_ == Slip::CompilesAnew) CompiledAddress += 1000 * ++calls_;
    WordLength = slip_ == Slip::CompilesNonsense ? 0 : 1;
    ItemType = 0;
    return true;
  }
  void ExtractValue(double, Variant& Value, std::int32_t) override {
    if (slip_ == Slip::ExtractsText) Value = "1";
  }
  void ItemLoaded(const std::string&, double, std::int32_t, std::int32_t) override {
    if (slip_ == Slip::RefusesLoadedItems) throw AutomationError(10, "not loaded");
  }

 private:
  const Slip slip_;
  int calls_ = 0;
};

}  // namespace

Leftovers::~Leftovers() {
  {
    const std::lock_guard lock(mutex);
    stopped = true;
  }
  stop.notify_all();
  for (std::thread& thread : threads)
    thread.join();
}

AwkwardDriver::AwkwardDriver(DriverHost host, Slip slip, Leftovers& leftovers)
    : host_(host), slip_(slip), leftovers_(leftovers) {}

AwkwardDriver::~AwkwardDriver() {
  if (timer_ != 0) host_.platform.KillTimer(timer_);
  if (Is(Slip::AnswersAfterItsEnd) && target_)
    host_.platform.Post([sink = target_] { sink->AsyncReadComplete({}, {}); });
}

void AwkwardDriver::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  if (Is(Slip::KeepsTheSink) || (Is(Slip::KeepsTheFormerSink) && target_))
    leftovers_.objects.push_back(target_);
  if (Is(Slip::KeepsTheSink)) leftovers_.objects.push_back(Sink);
  if (Is(Slip::CallsAWithdrawnSink) && !Sink) target_->AsyncWriteGroupComplete(5);
  target_ = std::move(Sink);
}

void AwkwardDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                              const SafeArray<std::int16_t>& Dimensions) {
  if (Is(Slip::ThrowsForeignException)) throw std::runtime_error("a slip");
  if (CompiledAddresses.Size() != Dimensions.Size()) {
    stuck_ = stuck_ || Is(Slip::HangsOnWrongLengths);
    throw AutomationError(10, "lengths");
  }
  constexpr int enough = 4;
  if (Is(Slip::TiresOfReading) && ++reads_ > enough) throw AutomationError(99, "tired");
  Take([this, CompiledAddresses](IEventNotify& sink) { AnswerRead(sink, CompiledAddresses); });
}

void AwkwardDriver::AnswerRead(IEventNotify& sink, const SafeArray<double>& addresses) {
  if (Is(Slip::AnswersAWrite)) return sink.AsyncWriteComplete(SafeArray<std::int32_t>(addresses.Size()));
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  for (const double address : addresses.View()) {
    const auto number = static_cast<std::uint16_t>(memory_[address]);
    const std::vector<std::uint8_t> bytes{static_cast<std::uint8_t>(number),
                                          static_cast<std::uint8_t>(number >> 8)};
    Variant value = Variant::OfBytes(bytes);
    if (Is(Slip::AnswersNumbers)) value = static_cast<std::int16_t>(number);
    if (Is(Slip::AnswersHalfTheBytes)) value = Variant::OfBytes(std::span(bytes).first(1));
    const bool closed = !open_ && !Is(Slip::ClosesReadsWithoutErrors);
    const std::int32_t error = closed ? 5 : address == 0 ? 10 : 0;
    values.Append(error == 0 || Is(Slip::ValueBesideAnError) ? value : Variant());
    errors.Append(error);
  }
  if (Is(Slip::CountsFromOne)) {
    values.Rebase(1);
    errors.Rebase(1);
  }
  sink.AsyncReadComplete(values, errors);
}

void AwkwardDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                               const SafeArray<std::int16_t>& /*Dimensions*/,
                               const SafeArray<Variant>& DATAValues) {
  if (!open_ && Is(Slip::TakesWritesWhileClosed)) return;
  Take([this, CompiledAddresses, DATAValues](IEventNotify& sink) {
    if (!open_ && Is(Slip::ClosesWritesInSilence)) return;
    SafeArray<std::int32_t> errors;
    for (std::size_t k = 0; k < CompiledAddresses.Size(); ++k) {
      errors.Append(open_ || Is(Slip::ClosesWritesWithoutErrors) ? 0 : 5);
      if (open_ && !Is(Slip::ForgetsWrites)) memory_[CompiledAddresses.View()[k]] = ToI2(DATAValues.View()[k]);
    }
    sink.AsyncWriteComplete(errors);
  });
}

void AwkwardDriver::ReadGroup(std::int32_t /*GroupId*/, const SafeArray<std::uint8_t>& Buffer) {
  if (!open_ && Is(Slip::TakesGroupReadsWhileClosed)) return;
  Take([this, Buffer](IEventNotify& sink) {
    sink.AsyncReadGroupComplete(Buffer, open_ || Is(Slip::ClosesGroupReadsWithoutErrors) ? 0 : 5);
  });
}

void AwkwardDriver::WriteGroup(std::int32_t /*GroupId*/, const SafeArray<std::uint8_t>& /*Buffer*/) {
  if (!open_ && Is(Slip::TakesGroupWritesWhileClosed)) return;
  Take([this](IEventNotify& sink) {
    sink.AsyncWriteGroupComplete(open_ || Is(Slip::ClosesGroupWritesWithoutErrors) ? 0 : 5);
  });
}

void AwkwardDriver::Take(const Answer& answer) {
  if (!open_ && Is(Slip::TakesWhileClosed)) return;
  if (!open_ || !target_) throw AutomationError(2, "closed");
  const bool queues = Is(Slip::ForgetsTheFirstRequest) || Is(Slip::AnswersInReverse);
  if (stuck_ || (!waiting_.empty() && !queues)) throw AutomationError(1, "busy");
  if (Is(Slip::AnswersInsideTheCall)) return answer(*target_);
  if (Is(Slip::AnswersOnAThread)) return AnswerOnAThread(answer);
  if (Is(Slip::ForgetsTheFirstRequest)) waiting_.clear();
  waiting_.push_back(answer);
  const auto deliver = [](AwkwardDriver& self) {
    if (self.waiting_.empty()) return;
    const bool last = self.Is(Slip::AnswersInReverse);
    const Answer next = last ? self.waiting_.back() : self.waiting_.front();
    last ? self.waiting_.pop_back() : static_cast<void>(self.waiting_.erase(self.waiting_.begin()));
    if (self.Is(Slip::FreesTheLineLate)) self.stuck_ = true;
    self.Deliver(next, self.target_);
    if (self.Is(Slip::FreesTheLineLate)) self.stuck_ = false;
  };
  if (Is(Slip::ForgetsWhenReleased))
    host_.platform.Post([weak = weak_from_this(), deliver] {
      if (const auto self = weak.lock()) deliver(*self);
    });
  else
    host_.platform.Post([self = shared_from_this(), deliver] { deliver(*self); });
  if (Is(Slip::KeepsItself)) leftovers_.objects.push_back(shared_from_this());
  if (Is(Slip::LeavesATimer)) host_.platform.SetTimer(std::chrono::milliseconds(50), [](std::int32_t) {});
}

void AwkwardDriver::Deliver(const Answer& answer, const std::shared_ptr<IEventNotify>& sink) {
  if (!sink) return;
  if (Is(Slip::LetsExceptionsOut)) return answer(*sink);
  try {
    answer(*sink);
  } catch (const AutomationError&) {
    if (Is(Slip::RepeatsAfterAFailure)) answer(*sink);
    if (Is(Slip::StopsAfterAFailure)) stuck_ = true;
  }
}

// The thread has ended when the timer's callback returns: nothing runs side by side with the test.
void AwkwardDriver::AnswerOnAThread(const Answer& answer) {
  timer_ = host_.platform.SetTimer(std::chrono::milliseconds(20), [this, answer](std::int32_t timerId) {
    host_.platform.KillTimer(timerId);
    timer_ = 0;
    std::thread([&] { answer(*target_); }).join();
  });
}

void AwkwardDriver::OpenCommunication(bool /*Open*/) {
  if (std::exchange(opened_, true) && Is(Slip::FailsToOpenAgain)) throw std::runtime_error("open already");
  if (open_ && Is(Slip::FailsWhenOpen)) throw std::runtime_error("open");
  open_ = true;
  if (Is(Slip::LeavesAThread))
    leftovers_.threads.emplace_back([&leftovers = leftovers_] {
      std::unique_lock lock(leftovers.mutex);
      leftovers.stop.wait(lock, [&] { return leftovers.stopped; });
    });
}

void AwkwardDriver::CloseCommunication() {
  if (!open_ && Is(Slip::FailsWhenClosed)) throw std::runtime_error("closed");
  open_ = false;
  if (waiting_.empty()) return;
  if (Is(Slip::StaysBusyAfterClose)) stuck_ = true;
  if (Is(Slip::AnswersInsideClose)) Deliver(waiting_.front(), target_);
  if (Is(Slip::ClosesInSilence) || Is(Slip::AnswersInsideClose)) waiting_.clear();
}

void AwkwardDriver::DownloadFirmware(const std::string& FileName, std::int32_t /*Flag*/) {
  if (Is(Slip::DownloadsNothing)) {
    target_->DownloadFirmwareInProgress(100);
    target_->DownloadFirmwareComplete();
    return;
  }
  host_.files.ReadWhole(FileName);
  if (!Is(Slip::ReportsNoProgress)) {
    target_->DownloadFirmwareInProgress(50);
    target_->DownloadFirmwareInProgress(Is(Slip::ProgressFalls) ? 40 : Is(Slip::ProgressEndsEarly) ? 99 : 100);
  }
  if (Is(Slip::ReportsLater))
    host_.platform.Post([self = shared_from_this()] { self->target_->DownloadFirmwareComplete(); });
  else
    target_->DownloadFirmwareComplete();
  if (Is(Slip::ReportsTwice)) target_->DownloadFirmwareComplete();
}

void AwkwardDriver::PutBaudRate(std::int32_t NewValue) {
  if (!Is(Slip::KeepsRefusedBaudRate) || NewValue == baudRate) return ScriptedDriver::PutBaudRate(NewValue);
  baudRate = NewValue;
  throw AutomationError(10, "no such baud rate");
}

void AwkwardDriver::PutTimeout(std::int16_t NewValue) {
  if (!Is(Slip::ForgetsTimeout)) ScriptedDriver::PutTimeout(NewValue);
}

std::int16_t AwkwardDriver::MinorVersion() {
  if (Is(Slip::AnswersAnotherVersion)) ++minorVersion;
  return minorVersion;
}

std::int32_t AwkwardDriver::GroupCapacity() {
  return Is(Slip::NegativeCapacity) ? -1 : 0;
}

bool AwkwardDriver::GroupTransfer() {
  return slip_ >= Slip::TransfersGroups;
}

bool AwkwardDriver::CheckVariable(std::int32_t TotalWordLength, std::int32_t /*ItemCount*/) {
  return Is(Slip::FitsByLuck) ? TotalWordLength != 1000 : TotalWordLength <= 1000;
}

std::shared_ptr<DeviceObject> AwkwardDriver::CreateDevice(const std::string& DeviceKind) {
  if (DeviceKind != "Board" && !Is(Slip::KnowsEveryKind)) return nullptr;
  return std::make_shared<AwkwardDevice>(slip_);
}

}  // namespace orvo::testing
