// The driver over libmodbus, with its thread, against a device of the test's own.
#include "modbus/ModbusDriver.h"
#include "platform/portable/DiskFiles.h"
#include "platform/portable/PortablePlatform.h"
#include "unit/modbus/DeviceThread.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>

namespace orvo::modbus {

TEST(ModbusDriverLine, NoticesTheEndOfAnIdleConnectionAndConnectsAnew) {
  std::mutex mutex;
  std::condition_variable changed;
  int identified = 0;
  const DeviceThread device(Transport::Tcp, [&](int, const Octets& bytes) {
    const std::lock_guard lock(mutex);
    ++identified;
    changed.notify_all();
    return DeviceReply{{bytes[0], bytes[1], 0, 0, 0, 3, 1, 0xAB, 1}, identified < 3};
  });
  PortablePlatform platform;
  DiskFiles files;
  const auto driver = ModbusDriver::Make({platform, files});
  driver->CreateDevice("tcp://127.0.0.1:" + std::to_string(device.Connection(1).port) + "?timeout=20000");
  driver->OpenCommunication(true);
  std::unique_lock lock(mutex);
  EXPECT_TRUE(changed.wait_for(lock, std::chrono::seconds(30), [&] { return identified == 3; }));
}

TEST(ModbusDriverLine, ClosingEndsWhatWaitsOnTheLine) {
  std::mutex mutex;
  std::condition_variable changed;
  bool asked = false;
  const DeviceThread device(Transport::Tcp, [&](int number, const Octets& bytes) {
    if (number == 0) return DeviceReply{{bytes[0], bytes[1], 0, 0, 0, 3, 1, 0xAB, 1}, false};
    const std::lock_guard lock(mutex);
    asked = true;
    changed.notify_all();
    return DeviceReply{};
  });
  class NoSink final : public IEventNotify {
    void AsyncReadComplete(const SafeArray<Variant>& /*values*/,
                           const SafeArray<std::int32_t>& /*errors*/) override {}
    void AsyncReadGroupComplete(const SafeArray<std::uint8_t>& /*buffer*/, std::int32_t /*error*/) override {}
    void AsyncWriteComplete(const SafeArray<std::int32_t>& /*errors*/) override {}
    void AsyncWriteGroupComplete(std::int32_t /*error*/) override {}
    void DownloadFirmwareComplete() override {}
    void DownloadFirmwareInProgress(std::int16_t /*percent*/) override {}
    void DownloadProjectComplete() override {}
    void DownloadProjectInProgress(std::int16_t /*percent*/) override {}
  };
  PortablePlatform platform;
  DiskFiles files;
  auto driver = ModbusDriver::Make({platform, files});
  driver->SetEventSink(std::make_shared<NoSink>());
  const auto made =
      driver->CreateDevice("tcp://127.0.0.1:" + std::to_string(device.Connection(1).port) + "?timeout=20000");
  double address = 0;
  std::int32_t length = 0;
  std::int32_t type = 0;
  made->CompileItemId("WO40001", address, length, type);
  driver->OpenCommunication(true);
  driver->ReadItems({address}, {1});
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return asked; });
  }
  const auto before = std::chrono::steady_clock::now();
  driver->CloseCommunication();
  platform.PumpOnce();
  driver.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

}  // namespace orvo::modbus
