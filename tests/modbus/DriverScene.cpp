#include "modbus/DriverScene.h"

#include "errors/AutomationError.h"
#include "modbus/ModbusDriver.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <stdexcept>

namespace orvo::modbus_test {

namespace {

// The end of a wait is looked for that often, for conditions that no posted call makes true.
constexpr std::chrono::milliseconds LookAgain{10};

}  // namespace

std::string Hex(const std::vector<std::uint8_t>& bytes) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

Variant Bytes(const std::vector<std::uint8_t>& bytes) {
  return Variant::OfBytes(bytes);
}

DriverScene::DriverScene(const std::string& connection)
    : driver_(modbus::ModbusDriver::Make({platform_, files_})) {
  driver_->SetEventSink(sink_);
  device_ = driver_->CreateDevice(connection);
  if (device_ == nullptr) throw std::runtime_error("no device for " + connection);
  timer_ = platform_.SetTimer(LookAgain, [](std::int32_t) {});
}

DriverScene::~DriverScene() {
  platform_.KillTimer(timer_);
}

void DriverScene::Close() {
  driver_->CloseCommunication();
}

DriverScene::Compiled DriverScene::Compile(const std::string& item) {
  Compiled compiled;
  if (!device_->CompileItemId(item, compiled.address, compiled.words, compiled.type))
    throw std::runtime_error("no item " + item);
  return compiled;
}

void DriverScene::AskRead(const std::vector<std::string>& items) {
  SafeArray<double> addresses;
  SafeArray<std::int16_t> dimensions;
  for (const std::string& item : items) {
    const Compiled compiled = Compile(item);
    addresses.Append(compiled.address);
    dimensions.Append(static_cast<std::int16_t>(compiled.words));
  }
  ForgetAnswers();
  const kit::RecordingSink::InsideCall inside(*sink_);
  driver_->ReadItems(addresses, dimensions);
  ++requests_;
}

void DriverScene::AskWrite(const std::vector<std::pair<std::string, Variant>>& items) {
  SafeArray<double> addresses;
  SafeArray<std::int16_t> dimensions;
  SafeArray<Variant> values;
  for (const auto& [item, value] : items) {
    const Compiled compiled = Compile(item);
    addresses.Append(compiled.address);
    dimensions.Append(static_cast<std::int16_t>(compiled.words));
    values.Append(value);
  }
  ForgetAnswers();
  const kit::RecordingSink::InsideCall inside(*sink_);
  driver_->WriteItems(addresses, dimensions, values);
  ++requests_;
}

Outcomes DriverScene::Await() {
  Until([this] { return !sink_->answers.empty(); }, "an answer");
  // Whatever was posted together with it: a second answer would be there now.
  platform_.PumpOnce();
  return TakeAnswer();
}

void DriverScene::ForgetAnswers() {
  if (sink_->answers.size() > 1) throw std::runtime_error("one more answer after that to a request");
  answersBefore_ = Answers();
  sink_->answers.clear();
}

Outcomes DriverScene::TakeAnswer() {
  if (sink_->answers.size() != 1) throw std::runtime_error("more than one answer to a request");
  const kit::SinkEvent& answer = sink_->answers.back();
  if (answer.insideCall) throw std::runtime_error("an answer inside of the call");
  if (sink_->EventsOfOtherThreads() != 0) throw std::runtime_error("an answer on another thread");
  Outcomes outcomes;
  for (std::size_t position = 0; position < answer.errors.Size(); ++position) {
    const std::int32_t error = answer.errors.View()[position];
    if (answer.kind == kit::SinkEventKind::WriteComplete) {
      outcomes.push_back("error " + std::to_string(error));
      continue;
    }
    const Variant& value = answer.values.View()[position];
    if (error != 0) {
      outcomes.push_back("error " + std::to_string(error) + (value.IsEmpty() ? "" : " with a value"));
      continue;
    }
    const auto bytes = value.Bytes();
    outcomes.push_back(Hex({bytes.begin(), bytes.end()}));
  }
  return outcomes;
}

Outcomes DriverScene::Read(const std::vector<std::string>& items) {
  AskRead(items);
  return Await();
}

Outcomes DriverScene::Write(const std::vector<std::pair<std::string, Variant>>& items) {
  AskWrite(items);
  return Await();
}

Outcomes DriverScene::ReadWhenConnected(const std::vector<std::string>& items, const Outcomes& others) {
  Outcomes outcomes;
  const auto failed = [&](const std::string& outcome) {
    return outcome == "error 5" || std::find(others.begin(), others.end(), outcome) != others.end();
  };
  const auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < Limit) {
    outcomes = Read(items);
    if (std::none_of(outcomes.begin(), outcomes.end(), failed)) return outcomes;
    platform_.RunFor(LookAgain);  // a client asks in its own time, too
  }
  throw std::runtime_error("not connected any more: the last outcome is " + outcomes.front());
}

std::int32_t DriverScene::Extract(const std::string& item, const std::string& outcome) {
  const auto byte = [&](std::size_t at) { return std::stoi(outcome.substr(at, 2), nullptr, 16); };
  Variant value(static_cast<std::int16_t>(byte(2) << 8 | byte(0)));
  device_->ExtractValue(Compile(item).address, value, 0);
  return ToI4(value);
}

void DriverScene::Until(const std::function<bool()>& condition, const std::string& what) {
  if (!platform_.RunUntil(condition, Limit)) throw std::runtime_error("waited in vain for " + what);
}

void DriverScene::UntilStatus(std::int32_t status) {
  std::int32_t last = 0;
  const auto reached = [&] { return (last = driver_->CommunicationStatus()) == status; };
  if (!platform_.RunUntil(reached, Limit))
    throw std::runtime_error("waited in vain for status " + std::to_string(status) + "; it is " +
                             std::to_string(last));
}

}  // namespace orvo::modbus_test
