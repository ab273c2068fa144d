// What the Modbus driver costs beside plain libmodbus: 1,000 registers in a row as 1,000 items, against the 8
// reads that they take, of the same server on loopback, in turns.
//
// Prints a line per figure: its name, the number of items and the figure, separated by tabs. Times are
// microseconds for all items, of the best round and (name/median) of the median one.
//   modbus_bench [ROUNDS [PORT NAME]]
// Without a port the server is one of libmodbus in a process of its own, which also counts the requests; else
// the one on that port of loopback, called NAME in the names of the figures. Its registers must be there.

#include "ModbusServer.h"
#include "modbus/Address.h"
#include "modbus/Exchange.h"
#include "modbus/LibmodbusLine.h"
#include "modbus/ModbusDriver.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"

#include <modbus/modbus.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvo::bench {

namespace {

constexpr std::int32_t Items = 1000;
constexpr std::int32_t PerRequest = 125;
constexpr std::chrono::seconds Limit{10};

void Require(bool is, const char* what) {
  if (!is) throw std::runtime_error(what);
}

// What a program would do that knows libmodbus and its registers.
class PlainReader {
 public:
  explicit PlainReader(int port) : context_(modbus_new_tcp("127.0.0.1", port)) {
    Require(context_ != nullptr && modbus_set_slave(context_, 1) == 0 && modbus_connect(context_) == 0,
            "plain libmodbus does not connect");
  }
  PlainReader(const PlainReader&) = delete;
  PlainReader& operator=(const PlainReader&) = delete;
  ~PlainReader() {
    modbus_close(context_);
    modbus_free(context_);
  }
  void Read() {
    for (std::int32_t first = 0; first < Items; first += PerRequest)
      Require(modbus_read_registers(context_, first, PerRequest,
                                    &registers_[static_cast<std::size_t>(first)]) == PerRequest,
              "plain libmodbus does not read");
  }

 private:
  modbus_t* context_;
  std::array<std::uint16_t, Items> registers_{};
};

class CountingSink final : public IEventNotify {
 public:
  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override {
    ++completions;
    good = DATAValues.Size() == Items && std::all_of(ItemErrors.View().begin(), ItemErrors.View().end(),
                                                     [](std::int32_t error) { return error == 0; });
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>&, std::int32_t) override {}
  void AsyncWriteComplete(const SafeArray<std::int32_t>&) override {}
  void AsyncWriteGroupComplete(std::int32_t) override {}
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t) override {}

  std::uint64_t completions = 0;
  bool good = false;
};

class DriverReader {
 public:
  explicit DriverReader(int port) {
    driver_->SetEventSink(sink_);
    const auto device = driver_->CreateDevice("tcp://127.0.0.1:" + std::to_string(port) + "?unit=1");
    for (std::int32_t k = 0; k < Items; ++k) {
      std::array<char, 16> id{};
      std::snprintf(id.data(), id.size(), "WO4%04d", static_cast<int>(k + 1));
      double address = 0;
      std::int32_t words = 0;
      std::int32_t type = 0;
      device->CompileItemId(id.data(), address, words, type);
      addresses_.Append(address);
      dimensions_.Append(static_cast<std::int16_t>(words));
    }
    driver_->OpenCommunication(true);
    Require(driver_->CommunicationStatus() == modbus::ModbusDriver::Answering, "the driver does not connect");
  }
  // From the call to the completion's arrival on this thread.
  void Read() {
    const std::uint64_t before = sink_->completions;
    driver_->ReadItems(addresses_, dimensions_);
    Require(platform_.RunUntil([&] { return sink_->completions != before; }, Limit),
            "the driver does not answer");
    Require(sink_->good, "an item was not read");
  }

 private:
  PortablePlatform platform_;
  DiskFiles files_;
  std::shared_ptr<CountingSink> sink_ = std::make_shared<CountingSink>();
  std::shared_ptr<modbus::ModbusDriver> driver_ = modbus::ModbusDriver::Make({platform_, files_});
  SafeArray<double> addresses_;
  SafeArray<std::int16_t> dimensions_;
};

// The driver without its thread.
class ExchangeReader {
 public:
  explicit ExchangeReader(int port) : line_(SettingsOf(port)) {
    for (std::int32_t k = 0; k < Items; ++k) {
      modbus::ItemRequest item;
      item.compiledAddress =
          modbus::Address{modbus::ItemKind::Word, modbus::Area::HoldingRegisters, k}.Encode();
      item.dimension = 1;
      items_.push_back(item);
    }
    Require(line_.Connect().IsDone(), "the line does not connect");
  }
  void Read() {
    const auto results = exchange_.Read(items_);
    Require(std::count(results.errors.begin(), results.errors.end(), 0) == Items, "an item was not read");
  }

 private:
  static modbus::Settings SettingsOf(int port) {
    auto settings = modbus::Settings::Parse("tcp://127.0.0.1:" + std::to_string(port));
    settings.timeout = Limit;
    return settings;
  }

  modbus::LibmodbusLine line_;
  modbus::Exchange exchange_{line_, {}};
  std::vector<modbus::ItemRequest> items_;
};

double Microseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

struct Series {
  std::string name;
  std::function<void()> read;
  std::vector<double> times;

  void Print() {
    std::sort(times.begin(), times.end());
    std::printf("%s\t%d\t%.1f\n", name.c_str(), Items, times.front());
    std::printf("%s/median\t%d\t%.1f\n", name.c_str(), Items, times[times.size() / 2]);
  }
};

int Main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 2000;
  std::optional<ModbusServer> own;
  if (argc <= 2) own.emplace();
  const int port = own ? own->Port() : std::atoi(argv[2]);
  const std::string name = argc > 3 ? argv[3] : "libmodbus";

  PlainReader plain(port);
  DriverReader driver(port);
  ExchangeReader exchange(port);
  if (own) {
    driver.Read();
    const std::uint64_t before = own->Requests();
    driver.Read();
    std::printf("ModbusRequests\t%d\t%d\n", Items, static_cast<int>(own->Requests() - before));
  }
  std::array<Series, 3> series{Series{"ModbusPlain/" + name, [&] { plain.Read(); }, {}},
                               Series{"ModbusDriver/" + name, [&] { driver.Read(); }, {}},
                               Series{"ModbusExchange/" + name, [&] { exchange.Read(); }, {}}};
  for (int round = 0; round < rounds; ++round)
    for (Series& one : series)
      one.times.push_back(Microseconds(one.read));
  for (Series& one : series)
    one.Print();
  return 0;
}

}  // namespace

}  // namespace orvo::bench

int main(int argc, char** argv) {
  try {
    return orvo::bench::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
}
