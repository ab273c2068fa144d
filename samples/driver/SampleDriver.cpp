// Sample.Channel: a driver for a device that is a piece of memory, to begin an own driver with.
//
// Identifiers: WO0..WO9 words of 16 bits, FL0..FL3 floating-point numbers, ST0000020 a text of 20 characters.
// The system reads the size of a value out of the first letters of an identifier (and the length of a text
// behind its five digits). Requests are taken at once and answered by the next pass of the message loop, with
// errors when communication was closed meanwhile. A driver with a real line starts its transfer in Take, on a
// thread of its own when the line blocks, and comes back through host.platform.Post.
#include "errors/AutomationError.h"
#include "spooler/DriverLibrary.h"
#include "values/VariantConversion.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using orvo::AutomationError;
using orvo::SafeArray;
using orvo::Variant;
using Bytes = std::vector<std::uint8_t>;

enum DriverError : std::int32_t { Busy = 1, WrongState = 2, LinkDown = 5, BadValue = 10 };
enum ItemType : std::int32_t { Integer = 0, Text = 1, Float = 2 };

// The items of one kind: `name` and a digit up to `last`.
struct ItemKind {
  std::string_view name;
  char last;
  std::int32_t words;
  ItemType type;
};
constexpr ItemKind Kinds[] = {{"WO", '9', 1, Integer}, {"FL", '3', 2, Float}, {"ST000002", '0', 10, Text}};

// The address is 100 * (kind + 1) + digit: never 0, which stands for an item that is gone.
const ItemKind* KindOf(double address) {
  for (std::size_t k = 0; k < std::size(Kinds); ++k) {
    const double digit = address - 100.0 * static_cast<double>(k + 1);
    if (digit >= 0 && digit <= Kinds[k].last - '0' && digit == std::floor(digit)) return &Kinds[k];
  }
  return nullptr;
}

class SampleDevice : public orvo::DeviceObject {
 public:
  bool CompileItemId(const std::string& ItemId, double& CompiledAddress, std::int32_t& WordLength,
                     std::int32_t& ItemType) override {
    for (std::size_t k = 0; k < std::size(Kinds); ++k) {
      const ItemKind& kind = Kinds[k];
      if (ItemId.size() != kind.name.size() + 1 || !ItemId.starts_with(kind.name)) continue;
      if (ItemId.back() < '0' || ItemId.back() > kind.last) continue;
      CompiledAddress = 100.0 * static_cast<double>(k + 1) + (ItemId.back() - '0');
      WordLength = kind.words;
      ItemType = kind.type;
      return true;
    }
    return false;
  }
  // Each item is a whole number of words: there is nothing to cut out.
  void ExtractValue(double, Variant&, std::int32_t) override {}
};

class SampleDriver : public orvo::CommunicationDriver, public std::enable_shared_from_this<SampleDriver> {
 public:
  explicit SampleDriver(orvo::DriverHost host) : host_(host) {}

  void SetEventSink(std::shared_ptr<orvo::IEventNotify> Sink) override { sink_ = std::move(Sink); }

  void ReadItems(const SafeArray<double>& CompiledAddresses,
                 const SafeArray<std::int16_t>& Dimensions) override {
    RequireSameLength(CompiledAddresses.Size(), Dimensions.Size());
    Take([this, CompiledAddresses, Dimensions](orvo::IEventNotify& sink) {
      std::vector<Variant> values;
      std::vector<std::int32_t> errors;
      for (std::size_t k = 0; k < CompiledAddresses.Size(); ++k) {
        Bytes* const item = Find(CompiledAddresses.View()[k], Dimensions.View()[k]);
        errors.push_back(open_ ? (item ? 0 : BadValue) : LinkDown);
        values.push_back(errors.back() == 0 ? Variant::OfBytes(*item) : Variant());  // Empty beside an error
      }
      sink.AsyncReadComplete(SafeArray<Variant>(std::move(values)), SafeArray<std::int32_t>(std::move(errors)));
    });
  }
  void WriteItems(const SafeArray<double>& CompiledAddresses, const SafeArray<std::int16_t>& Dimensions,
                  const SafeArray<Variant>& DATAValues) override {
    RequireSameLength(CompiledAddresses.Size(), Dimensions.Size());
    RequireSameLength(CompiledAddresses.Size(), DATAValues.Size());
    Take([this, CompiledAddresses, Dimensions, DATAValues](orvo::IEventNotify& sink) {
      std::vector<std::int32_t> errors;
      for (std::size_t k = 0; k < CompiledAddresses.Size(); ++k) {
        Bytes* const item = Find(CompiledAddresses.View()[k], Dimensions.View()[k]);
        errors.push_back(open_ ? (item && Store(*item, DATAValues.View()[k]) ? 0 : BadValue) : LinkDown);
      }
      sink.AsyncWriteComplete(SafeArray<std::int32_t>(std::move(errors)));
    });
  }
  void WriteGroup(std::int32_t, const SafeArray<std::uint8_t>&) override { NoGroups(); }
  void ReadGroup(std::int32_t, const SafeArray<std::uint8_t>&) override { NoGroups(); }

  void OpenCommunication(bool) override { open_ = true; }
  // What is outstanding is answered with errors: its posted call finds communication closed.
  void CloseCommunication() override { open_ = false; }

  float BootVersion() override { return 1.0F; }
  std::string BootDate() override { return "2024-01-15"; }
  float FirmwareVersion() override { return 1.0F; }
  std::string BoardDescription() override { return "Sample board"; }
  std::int32_t BoardStatus() override { return 0; }
  std::int32_t CommunicationStatus() override { return open_ ? 1 : 0; }
  void DownloadFirmware(const std::string&, std::int32_t) override { NoDownloads(); }
  void DownloadProject(const std::string&, std::int32_t) override { NoDownloads(); }
  std::int32_t BaudRate() override { return baudRate_; }
  void PutBaudRate(std::int32_t NewValue) override { baudRate_ = NewValue; }
  void Reserved18() override {}
  bool SetConfigurationMode() override { return false; }
  void SetGroupDefinition(std::int32_t, std::int32_t) override { NoGroups(); }
  std::int32_t GroupCapacity() override { return 0; }
  void PutNetworkType(std::int32_t) override {}
  void Reserved23() override {}
  std::int16_t MinorVersion() override { return 0; }
  std::int16_t MajorVersion() override { return 1; }
  std::string Description() override { return "Sample driver"; }
  void PutComPortNumber(std::int32_t NewValue) override { comPortNumber_ = NewValue; }
  std::int32_t ComPortNumber() override { return comPortNumber_; }
  void Reserved29() override {}
  std::string ProjectName() override { return projectName_; }
  void PutProjectName(const std::string& NewValue) override { projectName_ = NewValue; }
  bool GroupTransfer() override { return false; }
  bool CheckVariable(std::int32_t TotalWordLength, std::int32_t) override { return TotalWordLength <= 4096; }
  void PutWordIO(std::int16_t NewValue) override { wordIO_ = NewValue; }
  std::int16_t WordIO() override { return wordIO_; }
  void PutTimeout(std::int16_t NewValue) override { timeout_ = NewValue; }
  std::int16_t Timeout() override { return timeout_; }
  bool FirmwareDownloadNeeded() override { return false; }
  bool ProjectDownloadNeeded() override { return false; }
  std::shared_ptr<orvo::DeviceObject> CreateDevice(const std::string& DeviceKind) override {
    return DeviceKind == "SampleBoard" ? std::make_shared<SampleDevice>() : nullptr;
  }

 private:
  static void RequireSameLength(std::size_t a, std::size_t b) {
    if (a != b) throw AutomationError(BadValue, "The request's arrays have different lengths");
  }
  [[noreturn]] static void NoGroups() { throw AutomationError(BadValue, "The board holds no groups"); }
  [[noreturn]] static void NoDownloads() { throw AutomationError(BadValue, "The board takes no downloads"); }

  // Takes a request, or refuses it by throwing. The posted call holds the driver, so the answer comes even if
  // everybody else lets go of it meanwhile.
  void Take(std::function<void(orvo::IEventNotify&)> answer) {
    if (!open_) throw AutomationError(WrongState, "Communication is closed");
    if (!sink_) throw AutomationError(WrongState, "There is no event sink to answer to");
    if (outstanding_) throw AutomationError(Busy, "The previous request is not answered yet");
    outstanding_ = true;
    host_.platform.Post([self = shared_from_this(), answer = std::move(answer)] {
      self->outstanding_ = false;  // the handler may send the next request
      const auto sink = self->sink_;
      try {
        if (sink) answer(*sink);
      } catch (...) {
        // A posted call must not throw, and a handler that fails has nobody to be told of it.
      }
    });
  }

  // The bytes of an item, the least significant first; null for an address or a length that is none.
  Bytes* Find(double address, std::int16_t words) {
    const ItemKind* const kind = KindOf(address);
    if (!kind || kind->words != words) return nullptr;
    Bytes& bytes = memory_[address];
    bytes.resize(static_cast<std::size_t>(words) * 2);
    return &bytes;
  }
  static bool Store(Bytes& item, const Variant& value) {
    std::uint32_t number = 0;
    if (value.IsByteArray()) {
      if (value.ElementCount() > item.size()) return false;
      std::copy(value.Bytes().begin(), value.Bytes().end(), item.begin());
      return true;
    }
    try {
      if (value.Is(orvo::VariantKind::R4))
        number = std::bit_cast<std::uint32_t>(value.Get<float>());
      else if (!value.IsEmpty())
        number = static_cast<std::uint32_t>(orvo::ToI4(value));
    } catch (const AutomationError&) {
      return false;
    }
    for (std::size_t k = 0; k < item.size(); ++k)
      item[k] = k < 4 ? static_cast<std::uint8_t>(number >> (8 * k)) : std::uint8_t{0};
    return true;
  }

  const orvo::DriverHost host_;
  std::shared_ptr<orvo::IEventNotify> sink_;
  std::map<double, Bytes> memory_;  // by compiled address
  bool open_ = false;
  bool outstanding_ = false;
  std::int32_t baudRate_ = 9600;
  std::int32_t comPortNumber_ = 1;
  std::int16_t wordIO_ = 0;
  std::int16_t timeout_ = 1000;
  std::string projectName_;
};

}  // namespace

ORVO_DRIVER_LIBRARY("Sample.Channel", "A piece of memory, to begin an own driver with",
                    [](orvo::DriverHost host) -> std::shared_ptr<orvo::CommunicationDriver> {
                      return std::make_shared<SampleDriver>(host);
                    });
