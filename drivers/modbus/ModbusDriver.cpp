#include "modbus/ModbusDriver.h"

#include "errors/AutomationError.h"
#include "errors/modConstant.h"
#include "modbus/ItemError.h"
#include "modbus/LibmodbusLine.h"
#include "modbus/ModbusDevice.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

namespace orvo::modbus {

namespace {

constexpr std::int32_t LastComPort = 255;
constexpr std::int32_t LastLongOrder = 3;
constexpr std::int32_t OnlyTcp = 1;
constexpr std::int32_t OnlyRtu = 2;

void RequireSameLength(std::size_t addresses, std::size_t others, std::string_view what) {
  if (addresses == others) return;
  throw AutomationError(BadValue, std::to_string(addresses) + " addresses come with " + std::to_string(others) +
                                      ' ' + std::string(what));
}

// A value that the worker's thread may hold and end. No item takes an object, or an array of anything but
// bytes: an error value, which none takes either, goes in its place.
Variant ForWorker(const Variant& value) {
  if (value.IsByteArray() || (!value.IsArray() && !value.Is(VariantKind::Object))) return value.Unshared();
  return ErrorCode{BadValue};
}

std::vector<ItemRequest> ItemsOf(const SafeArray<double>& addresses,
                                 const SafeArray<std::int16_t>& dimensions) {
  RequireSameLength(addresses.Size(), dimensions.Size(), "dimensions");
  std::vector<ItemRequest> items(addresses.Size());
  for (std::size_t k = 0; k < items.size(); ++k) {
    items[k].compiledAddress = addresses.View()[k];
    items[k].dimension = dimensions.View()[k];
  }
  return items;
}

// "V2.11-3" is 2.11.
float FirstNumber(std::string_view text) {
  const std::size_t digit = text.find_first_of("0123456789");
  if (digit == std::string_view::npos) return 0;
  std::size_t end = text.find_first_not_of("0123456789", digit);
  if (end < text.size() && text[end] == '.') end = text.find_first_not_of("0123456789", end + 1);
  const std::string_view number = text.substr(digit, end == std::string_view::npos ? end : end - digit);
  float value = 0;
  std::from_chars(number.data(), number.data() + number.size(), value, std::chars_format::fixed);
  return value;
}

// "a small panel": no connection, and no attempt at one.
bool IsOnlyWords(std::string_view text) {
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  return text.find(' ') != std::string_view::npos &&
         std::all_of(text.begin(), text.end(), [&](char c) { return c == ' ' || isLetter(c); });
}

bool Excludes(std::int32_t networkType, Transport transport) {
  return networkType == (transport == Transport::Tcp ? OnlyRtu : OnlyTcp);
}

}  // namespace

std::shared_ptr<ModbusDriver> ModbusDriver::Make(DriverHost host, LineFactory factory) {
  if (!factory) factory = [](const Settings& settings) { return std::make_unique<LibmodbusLine>(settings); };
  return std::make_shared<ModbusDriver>(Passkey{}, host, std::move(factory));
}

ModbusDriver::ModbusDriver(Passkey /*key*/, DriverHost host, LineFactory factory)
    : platform_(host.platform), factory_(std::move(factory)), state_(std::make_unique<LinkState>()) {}

// Both threads are told before the first is waited for.
ModbusDriver::~ModbusDriver() {
  if (worker_) worker_->Stop();
}

void ModbusDriver::RequireClosed(std::string_view what) const {
  if (worker_) throw AutomationError(WrongState, std::string(what) + " while communication is open");
}

template <class Number>
void ModbusDriver::RequireAsStated(std::string_view what, std::optional<Number> stated, Number value) const {
  if (!stated || *stated == value) return;
  throw AutomationError(BadValue, std::string(what) + " is " + std::to_string(*stated) + ", not " +
                                      std::to_string(value) + ": the connection '" + connection_ +
                                      "' states it");
}

void ModbusDriver::SetEventSink(std::shared_ptr<IEventNotify> Sink) {
  sink_ = std::move(Sink);
}

void ModbusDriver::RequireReadyForRequest() const {
  if (!worker_) throw AutomationError(WrongState, "Communication is closed");
  if (!sink_) throw AutomationError(WrongState, "There is no event sink to answer to");
  if (request_) throw AutomationError(DeviceBusy, "The previous request is not answered yet");
}

void ModbusDriver::WriteItems(const SafeArray<double>& CompiledAddresses,
                              const SafeArray<std::int16_t>& Dimensions, const SafeArray<Variant>& DATAValues) {
  RequireReadyForRequest();
  RequireSameLength(CompiledAddresses.Size(), DATAValues.Size(), "values");
  std::vector<ItemRequest> items = ItemsOf(CompiledAddresses, Dimensions);
  for (std::size_t k = 0; k < items.size(); ++k)
    items[k].value = ForWorker(DATAValues.View()[k]);
  Take(WorkerJob::Kind::Write, std::move(items));
}

void ModbusDriver::ReadItems(const SafeArray<double>& CompiledAddresses,
                             const SafeArray<std::int16_t>& Dimensions) {
  RequireReadyForRequest();
  Take(WorkerJob::Kind::Read, ItemsOf(CompiledAddresses, Dimensions));
}

void ModbusDriver::Take(WorkerJob::Kind kind, std::vector<ItemRequest> items) {
  const Request request{kind, items.size(), lastNumber_ + 1};
  // Made here, called there, and handed back whole by Post. The driver is looked up on its own thread only: on
  // the other one it must not end.
  auto answer = [&platform = platform_, weak = weak_from_this(), number = request.number](ItemResults results) {
    platform.Post([weak, number, results = std::move(results)]() mutable {
      if (const auto driver = weak.lock()) driver->Answer(number, std::move(results));
    });
  };
  worker_->Start({kind, std::move(items), std::move(answer)});
  lastNumber_ = request.number;
  request_ = request;
}

void ModbusDriver::Answer(std::uint64_t number, ItemResults results) {
  if (!request_ || request_->number != number) return;
  const auto self = shared_from_this();              // the handler may let go of the driver,
  const std::shared_ptr<IEventNotify> sink = sink_;  // replace the sink
  const WorkerJob::Kind kind = request_->kind;
  request_.reset();  // and send the next request
  if (!sink) return;
  const SafeArray<std::int32_t> errors(std::move(results.errors));
  const SafeArray<Variant> values(std::move(results.values));
  try {
    if (kind == WorkerJob::Kind::Read)
      sink->AsyncReadComplete(values, errors);
    else
      sink->AsyncWriteComplete(errors);
  } catch (...) {
    return;  // the sink's own failure: there is nobody to pass it on to
  }
}

void ModbusDriver::WriteGroup(std::int32_t /*GroupId*/, const SafeArray<std::uint8_t>& /*Buffer*/) {
  throw AutomationError(WrongState, "A Modbus device transfers no whole groups");
}

void ModbusDriver::ReadGroup(std::int32_t /*GroupId*/, const SafeArray<std::uint8_t>& /*Buffer*/) {
  throw AutomationError(WrongState, "A Modbus device transfers no whole groups");
}

Settings ModbusDriver::WholeSettings() const {
  if (!settings_) throw AutomationError(WrongState, "There is no device: no connection is chosen");
  Settings settings = *settings_;
  settings.timeout = settings.timeout.value_or(std::chrono::milliseconds(timeout_));
  settings.longs = settings.longs.value_or(static_cast<LongOrder>(wordIO_));
  if (settings.transport == Transport::Tcp) return settings;
  settings.baud = settings.baud.value_or(baudRate_);
  if (settings.device.empty()) {
    if (comPortNumber_ == 0)
      throw AutomationError(WrongState, "There is no serial port: the connection '" + connection_ +
                                            "' names none, and the port number is 0");
    settings.device = "/dev/ttyS" + std::to_string(comPortNumber_ - 1);
  }
  return settings;
}

void ModbusDriver::OpenCommunication(bool Open) {
  if (!Open) throw AutomationError(BadValue, "OpenCommunication takes true only");
  if (worker_) return;
  EndChoosing();
  const Settings settings = WholeSettings();
  ending_.reset();
  worker_ = std::make_unique<Worker>(
      factory_(settings), Link::Terms{*settings.timeout, settings.identify, settings.hold},
      ExchangeOptions{{*settings.longs, settings.words, settings.text}, settings.gap, settings.bits}, *state_);
  worker_->AwaitFirstAttempt();
}

void ModbusDriver::CloseCommunication() {
  if (!worker_) return;
  worker_->Stop();
  ending_ = std::move(worker_);
  if (!request_) return;
  // What the line makes of it comes under the former number, to nobody. The call holds the driver: who closes
  // and lets go of it at once still gets the answer.
  request_->number = ++lastNumber_;
  platform_.Post([driver = shared_from_this(), request = *request_] {
    driver->Answer(request.number, ItemResults::Failed(request.items, LinkDown));
  });
}

float ModbusDriver::BootVersion() {
  return 0;
}

std::string ModbusDriver::BootDate() {
  return {};
}

float ModbusDriver::FirmwareVersion() {
  return FirstNumber(state_->Get().identification.revision);
}

std::string ModbusDriver::BoardDescription() {
  const LinkFacts facts = state_->Get();
  if (worker_ && !facts.connected) return "no connection: " + facts.reason;
  const Identification& identification = facts.identification;
  if (identification.vendor.empty() || identification.product.empty())
    return identification.vendor + identification.product;
  return identification.vendor + ' ' + identification.product;
}

std::int32_t ModbusDriver::BoardStatus() {
  return state_->Get().exception;
}

std::int32_t ModbusDriver::CommunicationStatus() {
  if (!worker_) return Closed;
  const LinkFacts facts = state_->Get();
  if (!facts.connected) return Connecting;
  return facts.answered ? Answering : Unanswered;
}

void ModbusDriver::DownloadFirmware(const std::string& /*FileName*/, std::int32_t /*Flag*/) {
  throw AutomationError(NeverReached, "A Modbus device takes no downloads");
}

void ModbusDriver::DownloadProject(const std::string& /*FileName*/, std::int32_t /*Flag*/) {
  throw AutomationError(NeverReached, "A Modbus device takes no downloads");
}

bool ModbusDriver::StatesPort() const {
  return settings_ && (settings_->transport == Transport::Tcp || !settings_->device.empty());
}

// What the connection states stands above what was put meanwhile.
void ModbusDriver::EndChoosing() {
  if (!StatesPort()) comPortNumber_ = choice_.comPortNumber.value_or(comPortNumber_);
  if (!settings_ || !settings_->baud) baudRate_ = choice_.baudRate.value_or(baudRate_);
  choosing_ = false;
  choice_ = {};
}

std::int32_t ModbusDriver::BaudRate() {
  if (choice_.baudRate) return *choice_.baudRate;
  return settings_ ? settings_->baud.value_or(baudRate_) : baudRate_;
}

void ModbusDriver::PutBaudRate(std::int32_t NewValue) {
  RequireClosed("The baud rate does not change");
  if (!IsBaudRate(NewValue))
    throw AutomationError(
        BadValue, "There is no baud rate " + std::to_string(NewValue) + ": customary are 300 to 115200");
  if (choosing_) {
    choice_.baudRate = NewValue;
    return;
  }
  if (settings_) RequireAsStated("The baud rate", settings_->baud, NewValue);
  baudRate_ = NewValue;
}

void ModbusDriver::Reserved18() {}

bool ModbusDriver::SetConfigurationMode() {
  if (!worker_) choosing_ = true;
  return true;
}

void ModbusDriver::SetGroupDefinition(std::int32_t /*GroupId*/, std::int32_t Define) {
  if (Define != DefineOnDevice && Define != ReleaseOnDevice)
    throw AutomationError(
        BadValue, "A definition is made with -1 or released with 0, not with " + std::to_string(Define));
}

std::int32_t ModbusDriver::GroupCapacity() {
  return std::numeric_limits<std::int16_t>::max();
}

void ModbusDriver::PutNetworkType(std::int32_t NewValue) {
  RequireClosed("The network type does not change");
  if (NewValue < 0 || NewValue > OnlyRtu)
    throw AutomationError(BadValue, "There is no network type " + std::to_string(NewValue) +
                                        ": 0 takes every connection, 1 TCP only, 2 RTU only");
  if (settings_ && Excludes(NewValue, settings_->transport))
    throw AutomationError(BadValue, "The network type " + std::to_string(NewValue) +
                                        " does not take the connection '" + connection_ + "'");
  networkType_ = NewValue;
}

void ModbusDriver::Reserved23() {}

std::int16_t ModbusDriver::MinorVersion() {
  return 0;
}

std::int16_t ModbusDriver::MajorVersion() {
  return 1;
}

std::string ModbusDriver::Description() {
  return "Modbus devices, over TCP or a serial line (RTU)";
}

void ModbusDriver::PutComPortNumber(std::int32_t NewValue) {
  RequireClosed("The port does not change");
  if (NewValue < 0 || NewValue > LastComPort)
    throw AutomationError(BadValue, "Port " + std::to_string(NewValue) + " is not within 0..255");
  if (choosing_) {
    choice_.comPortNumber = NewValue;
    return;
  }
  if (StatesPort()) RequireAsStated("The port", std::optional<std::int32_t>(0), NewValue);
  comPortNumber_ = NewValue;
}

std::int32_t ModbusDriver::ComPortNumber() {
  if (choice_.comPortNumber) return *choice_.comPortNumber;
  return StatesPort() ? 0 : comPortNumber_;
}

void ModbusDriver::Reserved29() {}

std::string ModbusDriver::ProjectName() {
  return projectName_;
}

void ModbusDriver::PutProjectName(const std::string& NewValue) {
  projectName_ = NewValue;
}

bool ModbusDriver::GroupTransfer() {
  return false;
}

bool ModbusDriver::CheckVariable(std::int32_t /*TotalWordLength*/, std::int32_t /*ItemCount*/) {
  return true;
}

void ModbusDriver::PutWordIO(std::int16_t NewValue) {
  RequireClosed("The byte order does not change");
  if (NewValue < 0 || NewValue > LastLongOrder)
    throw AutomationError(
        BadValue, "There is no byte order " + std::to_string(NewValue) + ": 0 is abcd, 1 cdab, 2 badc, 3 dcba");
  if (settings_ && settings_->longs)
    RequireAsStated("The byte order", std::optional(static_cast<std::int16_t>(*settings_->longs)), NewValue);
  wordIO_ = NewValue;
}

std::int16_t ModbusDriver::WordIO() {
  return settings_ && settings_->longs ? static_cast<std::int16_t>(*settings_->longs) : wordIO_;
}

void ModbusDriver::PutTimeout(std::int16_t NewValue) {
  RequireClosed("The time-out does not change");
  if (NewValue < 1)
    throw AutomationError(BadValue, "A time-out of " + std::to_string(NewValue) + " ms is below 1");
  if (settings_ && settings_->timeout)
    RequireAsStated("The time-out in ms", std::optional(static_cast<std::int16_t>(settings_->timeout->count())),
                    NewValue);
  timeout_ = NewValue;
}

std::int16_t ModbusDriver::Timeout() {
  return settings_ && settings_->timeout ? static_cast<std::int16_t>(settings_->timeout->count()) : timeout_;
}

bool ModbusDriver::FirmwareDownloadNeeded() {
  return false;
}

bool ModbusDriver::ProjectDownloadNeeded() {
  return false;
}

std::shared_ptr<DeviceObject> ModbusDriver::CreateDevice(const std::string& DeviceKind) {
  RequireClosed("The device does not change");
  if (DeviceKind.empty() || IsOnlyWords(DeviceKind)) return nullptr;
  Settings settings = Settings::Parse(DeviceKind);
  if (Excludes(networkType_, settings.transport))
    throw AutomationError(BadValue, "The network type " + std::to_string(networkType_) + " takes " +
                                        (networkType_ == OnlyTcp ? "TCP" : "RTU") + " connections only, not '" +
                                        DeviceKind + "'");
  auto device = std::make_shared<ModbusDevice>(settings.blocks);
  // The device of before has a say no more, but its late answers may come over the same line.
  ending_.reset();  // its thread tells the state what it leaves behind
  LinkFacts facts;
  facts.unanswered = state_->Get().unanswered;
  auto state = std::make_unique<LinkState>();
  state->Put(facts);
  comPortNumber_ = choice_.comPortNumber.value_or(comPortNumber_);
  baudRate_ = choice_.baudRate.value_or(baudRate_);
  choosing_ = false;
  choice_ = {};
  connection_ = DeviceKind;
  settings_ = std::move(settings);
  state_ = std::move(state);
  return device;
}

}  // namespace orvo::modbus
