// A client of the whole system, with the driver as a shared library: values, writes, and a plant that comes and
// goes.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "platform/portable/SystemLibraries.h"
#include "server/KELDataServer.h"
#include "spooler/DriverLibraries.h"
#include "values/VariantConversion.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace orvo::modbus_test {
namespace {

using namespace std::chrono_literals;

// The values that DataChange told, by handle.
struct Changes : KELDataGroupEvents {
  std::map<std::int32_t, std::string> values;
  std::size_t events = 0;
  void DataChange(const SafeArray<std::int32_t>& handles, const SafeArray<Variant>& userValues) override {
    ++events;
    for (std::size_t at = 0; at < handles.Size(); ++at)
      values[handles.View()[at]] = ToText(userValues.View()[at]);
  }
};

class ServerClientTest : public EachPackageTest {
 protected:
  void SetUp() override {
    EachPackageTest::SetUp();
    libraries_.PlugInto(drivers);
  }

  std::shared_ptr<KELDataServer> ServerOf(const std::string& connection) {
    const std::string file = "modbus-drivers-" + std::to_string(::getpid()) + ".ini";
    std::ofstream(file) << "[Drivers]\nDataCommunication=Modbus.Channel\nNetworkType=1\n1=" << connection
                        << '\n';
    auto server = KELDataServer::Create({platform, files, drivers});
    server->SetDriverConfigurationFile(file);
    server->PutDeviceType(1);
    std::filesystem::remove(file);
    return server;
  }

  PortablePlatform platform;
  DiskFiles files;
  DriverRegistry drivers;

 private:
  SystemLibraries loader_;
  const DriverLibraries libraries_{loader_, {ORVO_MODBUS_LIBRARIES}};
};
INSTANTIATE_TEST_SUITE_P(Each, ServerClientTest, ::testing::ValuesIn(EachPackage), PackageName);

TEST_P(ServerClientTest, AClientReadsAndWritesItemsOfEachKind) {
  const ForeignServer device(GetParam(), {"--identify", "Meyer|Press|V2.5"});
  const auto server = ServerOf(device.Connection() + "?timeout=5000&block03=40300");
  const auto group = server->KELDataGroups()->Add("Line 1");
  const std::vector<std::pair<const char*, Variant>> writes{{"BI40010.3", Variant(std::int16_t{1})},
                                                            {"BY40012.8", Variant(std::int16_t{200})},
                                                            {"WO40014", Variant(std::int32_t{40000})},
                                                            {"DW40016", Variant(std::int32_t{-70000})},
                                                            {"FL40018", Variant(-2.5)},
                                                            {"ST4002010", Variant("Cherry 4%")},
                                                            {"BI00009", Variant(std::int16_t{1})},
                                                            {"ST4005010", Variant("ABCDEFGHIJ")},
                                                            {"ST400503", Variant("xyz")}};
  SafeArray<std::int32_t> handles;
  SafeArray<Variant> values;
  for (const auto& [identifier, value] : writes) {
    handles.Append(group->KELDataItems()->Add(identifier, identifier)->Handle());
    values.Append(value);
  }
  group->KELDataItems()->ItemByName("DW40016")->PutSigned(true);
  server->OpenCommunication();
  EXPECT_EQ(server->CommunicationStatus(), 1);
  EXPECT_EQ(server->BoardDescription(), "Meyer Press");
  EXPECT_FLOAT_EQ(server->FirmwareVersion(), 2.5F);

  SafeArray<std::int32_t> errors;
  group->SyncWrite(handles, values, errors);
  EXPECT_EQ(errors, SafeArray<std::int32_t>(handles.Size(), errors.LowerBound()));
  SafeArray<Variant> read;
  group->SyncRead(handles, read, errors);
  EXPECT_EQ(errors, SafeArray<std::int32_t>(handles.Size(), errors.LowerBound()));
  std::vector<std::string> texts;
  for (const Variant& value : read.View())
    texts.push_back(ToText(value));
  // The shorter text has its last register for itself, with a zero that no text shows.
  EXPECT_EQ(texts, (std::vector<std::string>{"1", "200", "40000", "-70000", "-2.5", "Cherry 4% ", "1",
                                             "xyzEFGHIJ", "xyz"}));
  server->CloseCommunication();
  EXPECT_EQ(server->CommunicationStatus(), 0);
}

TEST_P(ServerClientTest, ARefreshedGroupSurvivesItsDeviceWithoutAnythingDoneByTheClient) {
  ForeignServer device(GetParam());
  const auto server = ServerOf(device.Connection() + "?timeout=300");
  const auto group = server->KELDataGroups()->Add("Line 1");
  const std::int32_t word = group->KELDataItems()->Add("WO40001", "Word")->Handle();
  const std::int32_t bit = group->KELDataItems()->Add("BI00005", "Bit")->Handle();
  const auto changes = std::make_shared<Changes>();
  group->Events().Advise(changes);
  group->PutSubscribed(true);
  group->PutUpdateRate(100);
  group->PutActive(true);
  server->OpenCommunication();
  const std::map<std::int32_t, std::string> right{
      {word, std::to_string(RegisterValue(Area::HoldingRegisters, 0))},
      {bit, BitValue(Area::Coils, 4) ? "1" : "0"}};
  const auto await = [&](const std::function<bool()>& condition) {
    return platform.RunUntil(condition, DriverScene::Limit);
  };
  ASSERT_TRUE(await([&] { return changes->values == right; }));

  device.Kill();
  ASSERT_TRUE(await([&] { return server->CommunicationStatus() == 2; }));
  // Each refresh tells that there is no value.
  changes->values.clear();
  ASSERT_TRUE(await([&] { return changes->values.size() == 2; }));
  EXPECT_NE(changes->values, right);
  device.Restart();
  ASSERT_TRUE(await([&] { return changes->values == right; }));
  EXPECT_EQ(server->CommunicationStatus(), 1);
  group->PutActive(false);
  server->CloseCommunication();
}

}  // namespace
}  // namespace orvo::modbus_test
