// Drivers of the core as COM drivers, and back: what goes through both must be what went in.

#include "boundary/Calls.h"
#include "boundary/Scene.h"
#include "boundary/drivers/OnlyDispatch.h"
#include "boundary/drivers/Operations.h"
#include "com/DriverExport.h"
#include "com/DriverImport.h"
#include "unit/drivers/PanelFixture.h"

#include <gtest/gtest.h>

#include <thread>

namespace orvo::testing {

namespace {

ComPtr<::ICommunicationDriver> Exported(const std::shared_ptr<CommunicationDriver>& driver) {
  return ComPtr<::ICommunicationDriver>(new com::DriverExport(driver, "Test.Channel"));
}

// The name of an operation as the scripted driver has it.
std::string CoreName(const std::string& name) {
  return name.ends_with('=') ? "Put" + name.substr(0, name.size() - 1) : name;
}

class DriverExport : public Boundary, public ::testing::WithParamInterface<bool> {
 protected:
  static bool BySlot() { return GetParam(); }
  std::shared_ptr<CommunicationDriver> RoundTrip() {
    const auto object = Exported(behind);
    return com::ImportDriver(
        BySlot() ? object.Query<IUnknown>()
                 : ComPtr<IUnknown>(static_cast<IUnknown*>(new OnlyDispatch(object.Query<IDispatch>()))));
  }
  void TearDown() override {
    driver.reset();
    EXPECT_EQ(behind.use_count(), 1);
    scene.Advance(1ms);  // the exported driver has looked after answers on their way
    EXPECT_EQ(com::ModuleCount::Value(), alive);
  }

  const std::int64_t alive = com::ModuleCount::Value();
  const std::shared_ptr<ScriptedDriver> behind = std::make_shared<ScriptedDriver>();
  const std::shared_ptr<ScriptedDriver> direct = std::make_shared<ScriptedDriver>();
  std::shared_ptr<CommunicationDriver> driver = RoundTrip();
};

INSTANTIATE_TEST_SUITE_P(Ways, DriverExport, ::testing::Bool(),
                         [](const auto& way) { return way.param ? "Slot" : "Name"; });

TEST_P(DriverExport, EveryOperationIsTheSameBehindBothBoundaries) {
  direct->logQuestions = true;
  behind->logQuestions = true;
  for (const Operation& operation : Operations()) {
    EXPECT_EQ(operation.call(*driver), operation.call(*direct)) << operation.name;
    EXPECT_EQ(behind->log, direct->log);
    EXPECT_EQ(behind->log.size(), 1U);
    behind->log.clear();
    direct->log.clear();
  }
}

TEST_P(DriverExport, EveryFailureIsTheSameBehindBothBoundaries) {
  for (const Operation& operation : Operations()) {
    for (const int number : {1, 2, 10, 99, 5000, static_cast<int>(0x80040009)}) {
      behind->Fail(CoreName(operation.name), number, "text \xC3\xA9", 1);
      EXPECT_EQ(FailureOf([&] { operation.call(*driver); }), std::to_string(number) + ":text \xC3\xA9")
          << operation.name;
    }
  }
}

TEST_P(DriverExport, BoundsAreKept) {
  driver->ReadItems(SafeArray<double>(std::vector<double>{7}, 3),
                    SafeArray<std::int16_t>(std::vector<std::int16_t>{1}, -2));
  EXPECT_EQ(behind->lastAddresses.LowerBound(), 3);
  EXPECT_EQ(behind->lastDimensions.LowerBound(), -2);
}

TEST_P(DriverExport, EveryCallOfTheSinkArrives) {
  const auto sink = std::make_shared<LoggingSink>();
  const auto expected = std::make_shared<LoggingSink>();
  driver->SetEventSink(sink);
  for (IEventNotify* const each : {&behind->Sink(), static_cast<IEventNotify*>(expected.get())}) {
    each->AsyncReadComplete({std::int32_t{5}, Variant("a"), SafeArray<std::uint8_t>({1, 2}), Variant()},
                            {0, 0, 0, 10});
    each->AsyncReadGroupComplete({1, 2, 255}, 5);
    each->AsyncWriteComplete({0, -1});
    each->AsyncWriteGroupComplete(99);
    each->DownloadFirmwareComplete();
    each->DownloadFirmwareInProgress(40);
    each->DownloadProjectComplete();
    each->DownloadProjectInProgress(-1);
  }
  EXPECT_EQ(sink->log, expected->log);
  EXPECT_EQ(sink->log.size(), 8U);
  sink->onLine = [](const std::string&) { throw AutomationError(91, "no request"); };
  EXPECT_EQ(FailureOf([&] { behind->Sink().AsyncWriteGroupComplete(0); }), "91:no request");
  driver->SetEventSink(nullptr);
  EXPECT_FALSE(behind->HasSink());
  EXPECT_EQ(sink.use_count(), 1) << "a withdrawn sink is let go of";
}

TEST_P(DriverExport, DevicesAreTheSameBehindBothBoundaries) {
  EXPECT_EQ(driver->CreateDevice("PanelX"), nullptr);
  const auto device = driver->CreateDevice("PanelB");
  ASSERT_TRUE(device);
  const auto own = behind->LastDevice();
  double address = 0;
  std::int32_t length = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device->CompileItemId("DW100", address, length, type));
  EXPECT_EQ(address, 1);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(type, 0);
  EXPECT_FALSE(device->CompileItemId("XX", address, length, type));
  own->compile = [](const std::string& itemId, double&, std::int32_t&, std::int32_t&) -> bool {
    throw AutomationError(10, "bad: " + itemId);
  };
  EXPECT_EQ(FailureOf([&] { device->CompileItemId("XX", address, length, type); }), "10:bad: XX");

  own->extract = [](double at, Variant& value) { value = LogText(value) + " at " + Shown(at); };
  Variant value = std::int16_t{3};
  device->ExtractValue(7.5, value, 0);
  EXPECT_EQ(value, Variant("I2:3 at 7.5"));

  std::string heard;
  own->loaded = [&](const std::string& itemId, double at, std::int32_t words, std::int32_t kind) {
    heard = itemId + ' ' + Shown(at) + ' ' + std::to_string(words) + ' ' + std::to_string(kind);
    if (words > 1) throw AutomationError(10, "too long");
  };
  device->ItemLoaded("WO1", 4, 1, 3);
  EXPECT_EQ(heard, "WO1 4 1 3");
  EXPECT_EQ(FailureOf([&] { device->ItemLoaded("WO1", 4, 2, 3); }), "10:too long");
}

// --- The COM face itself

TEST_F(Boundary, ReservedSlotsOfAnExportedDriverAreNotImplemented) {
  const auto driver = Exported(scene.scripted);
  EXPECT_EQ(driver->Reserved18(), E_NOTIMPL);
  EXPECT_EQ(driver->Reserved23(), E_NOTIMPL);
  EXPECT_EQ(driver->Reserved29(), E_NOTIMPL);
  EXPECT_EQ(scene.scripted->log, Log{});
}

TEST_F(Boundary, ErrorsOfAnExportedDriverNameItsClass) {
  const auto driver = Exported(scene.scripted);
  scene.scripted->Fail("PutBaudRate", 2, "not while open");
  EXPECT_EQ(SlotText(driver->put_BaudRate(5)), "800A0002 \"not while open\" Test.Channel");
  EXPECT_EQ(Invoke(Dispatch(driver), L"BaudRate", Set, {I4(5)}).text,
            "800A0002 \"not while open\" Test.Channel");
  EXPECT_EQ(driver.Query<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(__uuidof(::ICommunicationDriver)),
            S_OK);
}

TEST_F(Boundary, NullPointersToAnExportedDriverAreRefused) {
  const auto driver = Exported(scene.scripted);
  EXPECT_EQ(driver->get_BaudRate(nullptr), E_POINTER);
  EXPECT_EQ(driver->CreateDevice(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(driver->ReadItems(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(driver->ReadGroup(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(scene.scripted->log, Log{});
  ComPtr<::IDeviceObject> device;
  ASSERT_EQ(driver->CreateDevice(Text16("PanelB"), device.Put()), S_OK);
  VARIANT_BOOL valid = VARIANT_TRUE;
  EXPECT_EQ(device->CompileItemId(Text16("WO1"), nullptr, nullptr, nullptr, &valid), E_POINTER);
  EXPECT_EQ(valid, VARIANT_FALSE);
  EXPECT_EQ(device->ExtractValue(1, nullptr, 0), E_POINTER);
}

TEST_F(Boundary, AnObjectThatIsNoSinkIsRefusedByAnExportedDriver) {
  const auto driver = Exported(scene.scripted);
  EXPECT_EQ(Invoke(Dispatch(driver), L"SetEventSink", Method, {Object(Dispatch(driver))}).text,
            "800A000D \"Type mismatch: the object is no event sink\" Test.Channel");
  EXPECT_EQ(scene.scripted->log, Log{});
  EXPECT_EQ(Invoke(Dispatch(driver), L"SetEventSink", Method, {Object(nullptr)}).text, "Empty");
  EXPECT_EQ(scene.scripted->log, Log{"SetEventSink(null)"});
}

TEST_F(Boundary, AnotherThreadIsRefusedByAnExportedDriver) {
  const auto driver = Exported(scene.scripted);
  HRESULT result = S_OK;
  std::thread([&] { result = driver->CloseCommunication(); }).join();
  EXPECT_EQ(Hex(result), Hex(RPC_E_WRONG_THREAD));
  EXPECT_EQ(scene.scripted->log, Log{});
}

TEST_F(Boundary, AnswersOnTheirWayOutliveAnExportedDriver) {
  const std::int64_t alive = com::ModuleCount::Value();
  auto panel = SimulatedPanel::Make({scene.Platform(), scene.Files()});
  const auto sink = std::make_shared<LoggingSink>();
  auto driver = com::ImportDriver(Exported(panel).Query<IUnknown>());
  driver->SetEventSink(sink);
  driver->OpenCommunication(true);
  driver->ReadItems({100}, {1});
  driver->CloseCommunication();
  panel.reset();
  driver.reset();
  EXPECT_GT(com::ModuleCount::Value(), alive) << "the module must stay";
  EXPECT_EQ(sink->log, Log{});
  scene.Advance(1ms);
  EXPECT_EQ(sink->log, Log{"ReadComplete Empty=5"});
  EXPECT_EQ(com::ModuleCount::Value(), alive);
}

}  // namespace

}  // namespace orvo::testing
