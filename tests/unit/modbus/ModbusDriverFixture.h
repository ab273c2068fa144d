// The whole driver over a gated line, with its thread, in real time; nothing waits for time to pass.
#pragma once

#include "modbus/ModbusDriver.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "unit/modbus/GatedLine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvo::modbus {

// Writes each answer as one line: "read 5,6 [0,0]" (words), "write [0]", values that are Empty as "-".
class AnswerLog final : public IEventNotify {
 public:
  std::vector<std::string> lines;
  std::function<void()> onAnswer;  // inside the answer, after its line
  bool onOtherThread = false;

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues,
                         const SafeArray<std::int32_t>& ItemErrors) override {
    std::string text = "read ";
    for (const Variant& value : DATAValues.View()) {
      if (text.back() != ' ') text += ',';
      text += value.IsEmpty() ? "-" : std::to_string(value.Bytes()[0] + 256 * value.Bytes()[1]);
    }
    Note(text + (text.back() == ' ' ? "" : " "), ItemErrors);
  }
  void AsyncWriteComplete(const SafeArray<std::int32_t>& ItemErrors) override { Note("write ", ItemErrors); }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& /*Buffer*/, std::int32_t /*Error*/) override {}
  void AsyncWriteGroupComplete(std::int32_t /*Error*/) override {}
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t /*Percent*/) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t /*Percent*/) override {}

 private:
  void Note(std::string text, const SafeArray<std::int32_t>& errors) {
    onOtherThread = onOtherThread || std::this_thread::get_id() != owner_;
    text += '[';
    for (const std::int32_t error : errors.View())
      text += (text.back() == '[' ? "" : ",") + std::to_string(error);
    lines.push_back(text + ']');
    if (const auto call = onAnswer) call();
  }

  const std::thread::id owner_ = std::this_thread::get_id();
};

class ModbusDriverFixture : public ::testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  ModbusDriverFixture() { MakeDriver(); }
  ~ModbusDriverFixture() override {
    gate->LetGo();
    driver.reset();
    EXPECT_FALSE(sink->onOtherThread);
  }

  void MakeDriver() {
    driver = ModbusDriver::Make({platform, files},
                                [gate = gate](const Settings&) { return std::make_unique<GatedLine>(gate); });
    driver->SetEventSink(sink);
  }
  void Open() {
    device = driver->CreateDevice("tcp://127.0.0.1:1502");
    driver->OpenCommunication(true);
  }

  SafeArray<double> Addresses(const std::vector<std::string>& items) const {
    SafeArray<double> addresses;
    for (const std::string& item : items) {
      double address = 0;
      std::int32_t length = 0;
      std::int32_t type = 0;
      device->CompileItemId(item, address, length, type);
      addresses.Append(address);
    }
    return addresses;
  }
  void Read(const std::vector<std::string>& words) {
    driver->ReadItems(Addresses(words), SafeArray<std::int16_t>(words.size(), 0, 1));
  }
  void Write(const std::string& word, Variant value) {
    driver->WriteItems(Addresses({word}), {1}, SafeArray<Variant>(1, 0, value));
  }
  // Pumps until there are `answers` of them; what comes besides is seen by the next comparison.
  const Lines& Answers(std::size_t answers) {
    EXPECT_TRUE(platform.RunUntil([&] { return sink->lines.size() >= answers; }, std::chrono::seconds(30)));
    return sink->lines;
  }

  static std::size_t Entries(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
  }

  PortablePlatform platform;
  DiskFiles files;
  std::shared_ptr<LineGate> gate = std::make_shared<LineGate>();
  std::shared_ptr<AnswerLog> sink = std::make_shared<AnswerLog>();
  std::shared_ptr<DeviceObject> device;
  std::shared_ptr<ModbusDriver> driver;
};

}  // namespace orvo::modbus
