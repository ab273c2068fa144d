#include "faults/FaultyDriver.h"

#include "simulated/PanelOperation.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace orvo::testing {

namespace {

// What the operations of a download report before they end.
void ReportDownload(ScriptedDriver& driver, bool firmware) {
  IEventNotify& sink = driver.Sink();
  firmware ? sink.DownloadFirmwareInProgress(40) : sink.DownloadProjectInProgress(40);
  firmware ? sink.DownloadFirmwareComplete() : sink.DownloadProjectComplete();
}

bool CompileNumbered(const std::string& itemId, double& address, std::int32_t& wordLength,
                     std::int32_t& itemType) {
  const std::string_view code = std::string_view(itemId).substr(0, 2);
  int number = 0;
  if (itemId.size() > 2) std::from_chars(itemId.data() + 2, itemId.data() + itemId.size(), number);
  if (number == 0 || (code != "WO" && code != "DW" && code != "FL")) return false;
  address = number + (code == "DW" ? 100 : code == "FL" ? 200 : 0);
  wordLength = code == "WO" ? 1 : 2;
  itemType = code == "FL" ? 2 : 0;
  return true;
}

}  // namespace

const std::vector<std::string>& DriverOperations() {
  static const std::vector<std::string> operations = [] {
    std::vector<std::string> names;
    for (std::size_t slot = 1; slot <= PanelOperationCount; ++slot)
      names.emplace_back(PanelOperationName(static_cast<PanelOperation>(slot)));
    return names;
  }();
  return operations;
}

FaultyDriver::FaultyDriver(Plant& plant) : plant_(plant) {
  answer = [this](const TakenRequest& request) { AnswerLater(request); };
  ScriptedDriver& driver = *plant_.driver;
  for (const std::string& operation : DriverOperations())
    driver.during[operation] = [this, operation] { Call(operation); };
  for (const char* const operation : {"ReadItems", "WriteItems", "ReadGroup", "WriteGroup"})
    driver.during[operation] = [this, operation] {
      Call(operation);
      Take(operation);
    };
  for (const bool firmware : {true, false}) {
    const std::string operation = firmware ? "DownloadFirmware" : "DownloadProject";
    driver.during[operation] = [this, operation, firmware] {
      Call(operation);
      ReportDownload(*plant_.driver, firmware);
    };
  }
  driver.prepareDevice = [this](ScriptedDevice& device) { PrepareDevice(device); };
  plant_.drivers.Register("Scripted.Channel", [this](DriverHost) {
    Call("factory");
    return plant_.driver;
  });
}

void FaultyDriver::PrepareDevice(ScriptedDevice& device) {
  device.compile = [this](const std::string& itemId, double& address, std::int32_t& wordLength,
                          std::int32_t& itemType) {
    Call("CompileItemId");
    return CompileNumbered(itemId, address, wordLength, itemType);
  };
  device.extract = [this](double, Variant&) { Call("ExtractValue"); };
  device.loaded = [this](const std::string&, double, std::int32_t, std::int32_t) { Call("ItemLoaded"); };
}

void FaultyDriver::Arm(const std::string& operation, const DriverFailure& failure, int nth) {
  armed_.insert_or_assign(operation, Armed{failure, nth});
}

void FaultyDriver::Call(const std::string& operation) {
  called.insert(operation);
  const auto found = armed_.find(operation);
  if (found == armed_.end()) return;
  ++found->second.calls;
  if (found->second.nth != 0 && found->second.nth != found->second.calls) return;
  ++raised_;
  found->second.failure.raise(found->second.failure);
}

void FaultyDriver::Take(const std::string& operation) {
  const ScriptedDriver& driver = *plant_.driver;
  const bool whole = operation == "ReadGroup" || operation == "WriteGroup";
  TakenRequest request{operation, ++serial_, {}, {}, {}, driver.log.back()};
  if (whole) request.buffer = driver.lastBuffer;
  if (!whole) request.addresses = driver.lastAddresses;
  if (operation == "WriteItems") request.values = driver.lastValues;
  taken.push_back(request);
  answer(request);
}

void FaultyDriver::AnswerLater(const TakenRequest& request) {
  plant_.platform.Post([this, request] { ProperAnswer(request); });
}

std::int32_t FaultyDriver::Tell(const std::function<void(IEventNotify&)>& completion) {
  return ErrorNumberOf([&] { completion(plant_.driver->Sink()); });
}

void FaultyDriver::ProperAnswer(const TakenRequest& request) {
  const std::size_t count = request.addresses.Size();
  Tell([&](IEventNotify& sink) {
    if (request.operation == "ReadItems")
      sink.AsyncReadComplete(ValuesOf(request), SafeArray<std::int32_t>(count));
    if (request.operation == "WriteItems") sink.AsyncWriteComplete(SafeArray<std::int32_t>(count));
    if (request.operation == "ReadGroup")
      sink.AsyncReadGroupComplete(SafeArray<std::uint8_t>(ImageOf(request.serial)), 0);
    if (request.operation == "WriteGroup") sink.AsyncWriteGroupComplete(0);
  });
}

SafeArray<Variant> FaultyDriver::ValuesOf(const TakenRequest& request) {
  SafeArray<Variant> values(request.addresses.Size());
  for (std::size_t k = 0; k < request.addresses.Size(); ++k) {
    const int address = static_cast<int>(request.addresses.View()[k]);
    const int number = 10 * request.serial + address % 100;
    if (address < 100) values.Edit()[k] = Word(static_cast<std::uint16_t>(number));
    if (address >= 100 && address < 200) values.Edit()[k] = DoubleWord(static_cast<std::uint32_t>(number));
    if (address >= 200) values.Edit()[k] = DoubleWord(std::bit_cast<std::uint32_t>(static_cast<float>(number)));
  }
  return values;
}

std::vector<std::uint8_t> FaultyDriver::ImageOf(int serial) {
  std::vector<std::uint8_t> image;
  const auto put = [&image](std::uint32_t number, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
      image.push_back(static_cast<std::uint8_t>(number >> shift));
  };
  put(static_cast<std::uint32_t>(10 * serial + 1), 2);
  put(static_cast<std::uint32_t>(10 * serial + 2), 4);
  put(std::bit_cast<std::uint32_t>(static_cast<float>(10 * serial + 3)), 4);
  return image;
}

}  // namespace orvo::testing
