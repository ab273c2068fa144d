#include "PanelFixture.h"
#include "support/ScriptedDriver.h"

namespace orvo::testing {
namespace {

TEST(ScriptedDriver, LogsItsCallsWithTheirArguments) {
  ScriptedDriver driver;
  driver.SetEventSink(std::make_shared<LoggingSink>());
  driver.ReadItems({1, 2}, {1, 1});
  driver.WriteItems({1, 2.5}, {1, 2}, {std::int32_t{5}, "ab"});
  driver.ReadGroup(3, {1, 2});
  driver.WriteGroup(-1, {});
  driver.PutBaudRate(1200);
  driver.OpenCommunication(true);
  driver.SetGroupDefinition(4, -1);
  EXPECT_EQ(driver.BaudRate(), 1200);
  driver.logQuestions = true;
  EXPECT_TRUE(driver.CheckVariable(4, 2));
  EXPECT_EQ(driver.log,
            (Log{"SetEventSink()", "ReadItems(addresses=[1,2],dimensions=[1,1])",
                 "WriteItems(addresses=[1,2.5],dimensions=[1,2],values=[I4:5,String:\"ab\"])",
                 "ReadGroup(groupId=3,buffer=[1,2])", "WriteGroup(groupId=-1,buffer=[])", "PutBaudRate(1200)",
                 "OpenCommunication(true)", "SetGroupDefinition(4,-1)", "CheckVariable(4,2)"}));
  EXPECT_EQ(driver.lastAddresses, (SafeArray<double>{1, 2.5}));
  EXPECT_EQ(driver.lastGroupId, -1);
}

TEST(ScriptedDriver, WritesValuesWithTheirKind) {
  EXPECT_EQ(LogText(Variant()), "Empty");
  EXPECT_EQ(LogText(Variant::Null()), "Null");
  EXPECT_EQ(LogText(std::int16_t{-1}), "I2:-1");
  EXPECT_EQ(LogText(1.5), "R8:1.5");
  EXPECT_EQ(LogText(0.5F), "R4:0.5");
  EXPECT_EQ(LogText(true), "Boolean:true");
  EXPECT_EQ(LogText(SafeArray<std::uint8_t>({1, 2})), "UI1[1,2]");
  EXPECT_EQ(LogText(SafeArray<std::int16_t>({1})), "array of kind 2");
}

TEST(ScriptedDriver, FailsWhereScriptedAndCompletesNothingByItself) {
  ScriptedDriver driver;
  const auto sink = std::make_shared<LoggingSink>();
  EXPECT_EQ(FailureOf([&] { driver.Sink(); }), "91:Object variable or With block variable not set");
  driver.SetEventSink(sink);
  driver.Fail("ReadItems", 3, "twice", 2);
  driver.Fail("Timeout", 4, "always");
  Log failures;
  for (int call = 0; call < 3; ++call) {
    failures.push_back(FailureOf([&] { driver.ReadItems({}, {}); }));
    failures.push_back(FailureOf([&] { driver.Timeout(); }));
  }
  driver.StopFailing("Timeout");
  failures.push_back(FailureOf([&] { driver.Timeout(); }));
  EXPECT_EQ(failures, (Log{"3:twice", "4:always", "3:twice", "4:always", "0:", "4:always", "0:"}));
  EXPECT_EQ(driver.log.size(), 4U);
  EXPECT_EQ(sink->log, Log{});
  driver.Sink().AsyncWriteGroupComplete(5);
  EXPECT_EQ(sink->log, (Log{"WriteGroupComplete 5"}));
  driver.DropSink();
  EXPECT_FALSE(driver.HasSink());
}

TEST(ScriptedDriver, AHookRunsInsideTheCallBeforeItFails) {
  ScriptedDriver driver;
  Log seen;
  driver.during["DownloadFirmware"] = [&] { seen = driver.log; };
  driver.Fail("DownloadFirmware", 4, "broken");
  EXPECT_EQ(FailureOf([&] { driver.DownloadFirmware("a.fw", 0); }), "4:broken");
  EXPECT_EQ(seen, (Log{"DownloadFirmware(a.fw,0)"}));
}

TEST(ScriptedDriver, MakesDevicesForItsKinds) {
  ScriptedDriver driver;
  driver.prepareDevice = [](ScriptedDevice& device) {
    device.extract = [](double, Variant& value) { value = std::int32_t{42}; };
  };
  EXPECT_EQ(driver.CreateDevice("Unknown"), nullptr);
  const auto device = driver.CreateDevice("PanelA");
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(driver.LastDevice(), device);
  Variant value;
  device->ExtractValue(1, value, 0);
  EXPECT_EQ(LogText(value), "I4:42");
}

TEST(ScriptedDevice, CompilesTheUsualIdentifiersToRunningNumbers) {
  ScriptedDevice device;
  const auto compiled = [&device](const std::string& identifier) {
    double address = 0;
    std::int32_t words = 0;
    std::int32_t type = 0;
    if (!device.CompileItemId(identifier, address, words, type)) return std::string("no");
    return std::to_string(static_cast<int>(address)) + ' ' + std::to_string(words) + ' ' + std::to_string(type);
  };
  EXPECT_EQ(compiled("WO100"), "1 1 0");
  EXPECT_EQ(compiled("DW100"), "2 2 0");
  EXPECT_EQ(compiled("WO100"), "1 1 0");
  EXPECT_EQ(compiled("BI1.2"), "3 1 0");
  EXPECT_EQ(compiled("BY1"), "4 1 0");
  EXPECT_EQ(compiled("FL1"), "5 2 2");
  EXPECT_EQ(compiled("ST0020011"), "6 6 1");
  EXPECT_EQ(compiled("RA0316"), "7 8 3");
  EXPECT_EQ(compiled("ST00200x"), "8 0 1");
  EXPECT_EQ(compiled("wo100"), "no");
  EXPECT_EQ(compiled("WO"), "no");
  EXPECT_EQ(device.log.back(), "CompileItemId(WO)");
}

}  // namespace
}  // namespace orvo::testing
