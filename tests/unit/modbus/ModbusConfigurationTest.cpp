// Saved configurations of a server with the driver: each loads whatever connection was chosen before.
#include "errors/AutomationError.h"
#include "modbus/ModbusDriver.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "unit/modbus/FailureText.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace orvo::modbus {

class ModbusConfigurationTest : public ::testing::Test {
 protected:
  ModbusConfigurationTest() {
    files.PutFile("drivers.ini",
                  "[Drivers]\nDataCommunication=Modbus.Channel\n1=tcp://127.0.0.1\n2=rtu:?unit=3\n"
                  "3=rtu:/dev/ttyS9?baud=9600\n4=rtu:/dev/ttyS9?baud=19200\n");
    drivers.Register(ModbusDriver::ProgId, [](DriverHost host) {
      return ModbusDriver::Make(host, [](const Settings&) -> std::unique_ptr<Line> {
        throw std::logic_error("nothing is opened here");
      });
    });
    server = MakeServer();
    for (int type = 1; type <= 4; ++type) {
      const auto saving = MakeServer();
      saving->PutDeviceType(type);
      if (type == 2) {
        saving->PutComPortNumber(7);
        saving->PutBaudRate(4800);
      }
      saving->SaveConfigurationToFile(NameOf(type));
    }
  }

  std::shared_ptr<KELDataServer> MakeServer() {
    auto made = KELDataServer::Create({platform, files, drivers});
    made->SetDriverConfigurationFile("drivers.ini");
    return made;
  }
  static std::string NameOf(int type) { return "type" + std::to_string(type) + ".cfg"; }
  std::string Load(const std::string& name) {
    return FailureText([&] { server->LoadConfigurationFromFile(name, Variant(false)); });
  }
  // "2: port 7 baud 4800"
  std::string Chosen() {
    return std::to_string(server->DeviceType()) + ": port " + std::to_string(server->ComPortNumber()) +
           " baud " + std::to_string(server->BaudRate());
  }

  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  std::shared_ptr<KELDataServer> server;
};

TEST_F(ModbusConfigurationTest, EachLoadsAfterEveryOther) {
  const std::string chosen[] = {"1: port 0 baud 9600", "2: port 7 baud 4800", "3: port 0 baud 9600",
                                "4: port 0 baud 19200"};
  for (int before = 1; before <= 4; ++before)
    for (int type = 1; type <= 4; ++type) {
      server = MakeServer();
      for (const int step : {before, type}) {
        ASSERT_EQ(Load(NameOf(step)), "0:") << type << " after " << before;
        EXPECT_EQ(Chosen(), chosen[step - 1]) << type << " after " << before;
      }
    }
}

TEST_F(ModbusConfigurationTest, EachLoadsAfterTheDeviceTypeOfAnotherWasChosen) {
  for (const auto& [before, type] : {std::pair{1, 2}, {3, 4}, {2, 1}, {4, 3}}) {
    server = MakeServer();
    server->PutDeviceType(before);
    EXPECT_EQ(Load(NameOf(type)), "0:") << type << " after " << before;
    EXPECT_EQ(server->DeviceType(), type);
  }
}

// What the connection states stands above the file.
TEST_F(ModbusConfigurationTest, AFileThatContradictsItsConnectionLoadsAndTheConnectionStands) {
  files.PutFile("odd.cfg", "[Communication Parameters]\nComPortNumber=5\nBaudRate=300\nDeviceType=4\n");
  EXPECT_EQ(Load("odd.cfg"), "0:");
  EXPECT_EQ(Chosen(), "4: port 0 baud 19200");
}

TEST_F(ModbusConfigurationTest, AValueThatIsNoneFailsTheLoad) {
  server->PutDeviceType(1);
  files.PutFile("odd.cfg", "[Communication Parameters]\nBaudRate=9601\nDeviceType=2\n");
  EXPECT_NE(Load("odd.cfg"), "0:");
  EXPECT_EQ(Chosen(), "1: port 0 baud 9600");
}

TEST_F(ModbusConfigurationTest, OutsideOfALoadAnotherValueThanTheConnectionsIsRefused) {
  for (const bool loaded : {false, true}) {
    if (loaded)
      ASSERT_EQ(Load(NameOf(3)), "0:");
    else
      server->PutDeviceType(3);
    EXPECT_NE(FailureText([&] { server->PutBaudRate(19200); }), "0:");
    EXPECT_NE(FailureText([&] { server->PutComPortNumber(1); }), "0:");
    EXPECT_EQ(Chosen(), "3: port 0 baud 9600");
  }
}

}  // namespace orvo::modbus
