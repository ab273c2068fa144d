// Properties of the driver, what the connection states of them, and what it makes of connection texts.
#include "unit/modbus/FailureText.h"
#include "unit/modbus/ModbusDriverFixture.h"

namespace orvo::modbus {

class ModbusDriverPropertiesTest : public ModbusDriverFixture {
 protected:
  // "port 0 baud 9600 time-out 1000 order 0"
  std::string Properties() {
    return "port " + std::to_string(driver->ComPortNumber()) + " baud " + std::to_string(driver->BaudRate()) +
           " time-out " + std::to_string(driver->Timeout()) + " order " + std::to_string(driver->WordIO());
  }
  struct Put {
    const char* name;
    std::function<void(ModbusDriver&, std::int32_t)> call;
  };
  const Put port{"port", [](ModbusDriver& to, std::int32_t value) { to.PutComPortNumber(value); }};
  const Put baud{"baud", [](ModbusDriver& to, std::int32_t value) { to.PutBaudRate(value); }};
  const Put timeout{"time-out", [](ModbusDriver& to, std::int32_t value) {
                      to.PutTimeout(static_cast<std::int16_t>(value));
                    }};
  const Put order{"order",
                  [](ModbusDriver& to, std::int32_t value) { to.PutWordIO(static_cast<std::int16_t>(value)); }};
  const Put network{"network", [](ModbusDriver& to, std::int32_t value) { to.PutNetworkType(value); }};

  std::string PutText(const Put& put, std::int32_t value) {
    return FailureText([&] { put.call(*driver, value); });
  }
};

TEST_F(ModbusDriverPropertiesTest, HaveCustomaryValuesAtFirstAndKeepOthers) {
  EXPECT_EQ(Properties(), "port 0 baud 9600 time-out 1000 order 0");
  EXPECT_EQ(PutText(port, 3) + PutText(baud, 19200) + PutText(timeout, 250) + PutText(order, 1), "0:0:0:0:");
  EXPECT_EQ(Properties(), "port 3 baud 19200 time-out 250 order 1");
  EXPECT_EQ(driver->ProjectName(), "");
  driver->PutProjectName("plant.prj");
  EXPECT_EQ(driver->ProjectName(), "plant.prj");
}

TEST_F(ModbusDriverPropertiesTest, RefuseValuesThatAreNone) {
  struct Row {
    const Put& put;
    std::int32_t value;
    const char* failure;
  };
  const Row rows[] = {
      {port, -1, "10:Port -1 is not within 0..255"},
      {port, 256, "10:Port 256 is not within 0..255"},
      {port, 255, "0:"},
      {baud, 9601, "10:There is no baud rate 9601: customary are 300 to 115200"},
      {baud, 0, "10:There is no baud rate 0: customary are 300 to 115200"},
      {baud, 115200, "0:"},
      {timeout, 0, "10:A time-out of 0 ms is below 1"},
      {timeout, -5, "10:A time-out of -5 ms is below 1"},
      {timeout, 32767, "0:"},
      {order, 4, "10:There is no byte order 4: 0 is abcd, 1 cdab, 2 badc, 3 dcba"},
      {order, -1, "10:There is no byte order -1: 0 is abcd, 1 cdab, 2 badc, 3 dcba"},
      {order, 3, "0:"},
      {network, 3, "10:There is no network type 3: 0 takes every connection, 1 TCP only, 2 RTU only"},
      {network, -1, "10:There is no network type -1: 0 takes every connection, 1 TCP only, 2 RTU only"},
      {network, 2, "0:"},
  };
  for (const Row& row : rows)
    EXPECT_EQ(PutText(row.put, row.value), row.failure) << row.put.name;
}

TEST_F(ModbusDriverPropertiesTest, ReadAsTheConnectionStatesThemAndStayAsPutOtherwise) {
  PutText(port, 3);
  PutText(baud, 19200);
  PutText(timeout, 250);
  PutText(order, 1);
  struct Row {
    const char* connection;
    const char* properties;
  };
  const Row rows[] = {
      {"tcp://127.0.0.1", "port 0 baud 19200 time-out 250 order 1"},
      {"tcp://127.0.0.1?timeout=77&order=dcba", "port 0 baud 19200 time-out 77 order 3"},
      {"rtu:", "port 3 baud 19200 time-out 250 order 1"},
      {"rtu:?baud=300&order=abcd", "port 3 baud 300 time-out 250 order 0"},
      {"rtu:///dev/ttyUSB7?timeout=9", "port 0 baud 19200 time-out 9 order 1"},
  };
  for (const Row& row : rows) {
    ASSERT_TRUE(driver->CreateDevice(row.connection)) << row.connection;
    EXPECT_EQ(Properties(), row.properties) << row.connection;
  }
}

TEST_F(ModbusDriverPropertiesTest, RefuseWhatTheConnectionStatesOtherwise) {
  struct Row {
    const char* connection;
    const Put& put;
    std::int32_t value;
    const char* failure;
  };
  const Row rows[] = {
      {"tcp://[::1]?timeout=77", timeout, 77, "0:"},
      {"tcp://[::1]?timeout=77", timeout, 78,
       "10:The time-out in ms is 77, not 78: the connection 'tcp://[::1]?timeout=77' states it"},
      {"tcp://[::1]?order=cdab", order, 1, "0:"},
      {"tcp://[::1]?order=cdab", order, 0,
       "10:The byte order is 1, not 0: the connection 'tcp://[::1]?order=cdab' states it"},
      {"rtu:?baud=300", baud, 300, "0:"},
      {"rtu:?baud=300", baud, 600,
       "10:The baud rate is 300, not 600: the connection 'rtu:?baud=300' states it"},
      {"rtu:?baud=300", port, 2, "0:"},
      {"rtu:///dev/tty9", port, 0, "0:"},
      {"rtu:///dev/tty9", port, 2, "10:The port is 0, not 2: the connection 'rtu:///dev/tty9' states it"},
      {"tcp://[::1]", port, 2, "10:The port is 0, not 2: the connection 'tcp://[::1]' states it"},
      {"tcp://[::1]", network, 1, "0:"},
      {"tcp://[::1]", network, 2, "10:The network type 2 does not take the connection 'tcp://[::1]'"},
      {"rtu:", network, 1, "10:The network type 1 does not take the connection 'rtu:'"},
  };
  for (const Row& row : rows) {
    MakeDriver();
    ASSERT_TRUE(driver->CreateDevice(row.connection));
    EXPECT_EQ(PutText(row.put, row.value), row.failure) << row.connection;
  }
}

// A saved configuration brings port and baud rate before the device type.
TEST_F(ModbusDriverPropertiesTest, OfAConnectionThatIsAboutToBeChosenAreTakenWhateverThePresentOneStates) {
  struct Row {
    const char* connection;
    const char* taken;
  };
  const Row rows[] = {
      {"rtu:", "port 5 baud 300 time-out 1000 order 0"},
      {"rtu:?baud=600", "port 5 baud 600 time-out 1000 order 0"},
      {"rtu:/dev/tty9", "port 0 baud 300 time-out 1000 order 0"},
      {"tcp://127.0.0.1", "port 0 baud 300 time-out 1000 order 0"},
  };
  for (const Row& row : rows) {
    MakeDriver();
    driver->CreateDevice("rtu:/dev/ttyS9?baud=9600");
    EXPECT_TRUE(driver->SetConfigurationMode());
    EXPECT_EQ(PutText(port, 5) + PutText(baud, 300), "0:0:");
    EXPECT_EQ(PutText(port, 256).substr(0, 3) + PutText(baud, 301).substr(0, 3), "10:10:");
    EXPECT_EQ(Properties(), "port 5 baud 300 time-out 1000 order 0");
    EXPECT_EQ(FailureText([&] { driver->CreateDevice("rtu:?baud=1"); }).substr(0, 3), "10:");
    EXPECT_EQ(Properties(), "port 5 baud 300 time-out 1000 order 0");  // it goes on
    ASSERT_TRUE(driver->CreateDevice(row.connection));
    EXPECT_EQ(Properties(), row.taken) << row.connection;
    driver->CreateDevice("rtu:/dev/ttyS9?baud=9600");
    EXPECT_EQ(PutText(port, 5).substr(0, 3) + PutText(baud, 300).substr(0, 3), "10:10:");  // it is over
  }
}

TEST_F(ModbusDriverPropertiesTest, OfAConnectionThatIsNotChosenAfterAllAreDroppedWhereThePresentOneStatesThem) {
  struct Row {
    const char* connection;
    const char* left;
  };
  const Row rows[] = {
      {"rtu:", "port 5 baud 300 time-out 1000 order 0"},
      {"rtu:/dev/ttyS9?baud=9600", "port 0 baud 9600 time-out 1000 order 0"},
      {"tcp://127.0.0.1", "port 0 baud 300 time-out 1000 order 0"},
  };
  for (const Row& row : rows) {
    MakeDriver();
    driver->CreateDevice(row.connection);
    driver->SetConfigurationMode();
    EXPECT_EQ(PutText(port, 5) + PutText(baud, 300), "0:0:");
    driver->OpenCommunication(true);
    EXPECT_EQ(Properties(), row.left) << row.connection;
    EXPECT_TRUE(driver->SetConfigurationMode());
    EXPECT_EQ(PutText(port, 5).substr(0, 2), "2:");
    driver->CloseCommunication();
    driver->CreateDevice("tcp://127.0.0.1");
    EXPECT_EQ(PutText(port, 5).substr(0, 3), "10:") << "what was put while it was open is for nothing";
  }
}

TEST_F(ModbusDriverPropertiesTest, DoNotChangeWhileCommunicationIsOpen) {
  Open();
  for (const auto& [put, value] : {std::pair{port, 0}, std::pair{baud, 9600}, std::pair{timeout, 1000},
                                   std::pair{order, 0}, std::pair{network, 0}})
    EXPECT_EQ(PutText(put, value).substr(0, 2), "2:") << put.name;
  EXPECT_EQ(FailureText([&] { driver->CreateDevice("tcp://127.0.0.1"); }),
            "2:The device does not change while communication is open");
  driver->CloseCommunication();
  EXPECT_EQ(PutText(timeout, 500), "0:");
}

TEST_F(ModbusDriverPropertiesTest, AFailedDeviceChangesNothing) {
  ASSERT_TRUE(driver->CreateDevice("tcp://127.0.0.1?timeout=77"));
  PutText(network, 1);
  const std::string before = Properties();
  EXPECT_EQ(driver->CreateDevice("no such kind of device"), nullptr);
  EXPECT_EQ(driver->CreateDevice(""), nullptr);
  for (const char* const wrong :
       {"127.0.0.1", "localhost", "/dev/ttyUSB0", "PanelB", "127.0.0.1 502", "unit 3"})
    EXPECT_TRUE(FailureText([&] {
                  driver->CreateDevice(wrong);
                }).starts_with("10:Connection '" + std::string(wrong) + "': it "))
        << wrong;
  EXPECT_EQ(FailureText([&] { driver->CreateDevice("rtu:?baud=300"); }),
            "10:The network type 1 takes TCP connections only, not 'rtu:?baud=300'");
  EXPECT_EQ(FailureText([&] { driver->CreateDevice("tcp://127.0.0.1?timeout=0"); }).substr(0, 3), "10:");
  EXPECT_EQ(Properties(), before);
  EXPECT_EQ(FailureText([&] { driver->OpenCommunication(true); }), "0:");
}

TEST_F(ModbusDriverPropertiesTest, OpeningNeedsADeviceAndAPort) {
  EXPECT_EQ(FailureText([&] { driver->OpenCommunication(false); }), "10:OpenCommunication takes true only");
  EXPECT_EQ(FailureText([&] { driver->OpenCommunication(true); }),
            "2:There is no device: no connection is chosen");
  driver->CreateDevice("rtu:?unit=3");
  EXPECT_EQ(FailureText([&] { driver->OpenCommunication(true); }),
            "2:There is no serial port: the connection 'rtu:?unit=3' names none, and the port number is 0");
  EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Closed);
}

// What the line is made of: the connection, and the properties where it states nothing.
TEST_F(ModbusDriverPropertiesTest, DecideOverTheLine) {
  std::string made;
  driver = ModbusDriver::Make({platform, files}, [&](const Settings& settings) -> std::unique_ptr<Line> {
    made = settings.device + ' ' + std::to_string(settings.baud.value_or(0)) + ' ' +
           std::to_string(settings.timeout.value_or(std::chrono::milliseconds(0)).count());
    throw AutomationError(LinkDown, "no line");
  });
  PutText(port, 4);
  PutText(baud, 1200);
  PutText(timeout, 50);
  struct Row {
    const char* connection;
    const char* made;
  };
  for (const Row& row :
       {Row{"rtu:", "/dev/ttyS3 1200 50"}, Row{"rtu:///dev/x?baud=600&timeout=60", "/dev/x 600 60"},
        Row{"tcp://127.0.0.1", " 0 50"}, Row{"tcp://127.0.0.1?timeout=70", " 0 70"}}) {
    driver->CreateDevice(row.connection);
    EXPECT_EQ(FailureText([&] { driver->OpenCommunication(true); }), "5:no line");
    EXPECT_EQ(made, row.made) << row.connection;
    EXPECT_EQ(driver->CommunicationStatus(), ModbusDriver::Closed);
  }
}

TEST_F(ModbusDriverPropertiesTest, GroupsAndDownloadsAreNothingToTheDevice) {
  EXPECT_FALSE(driver->GroupTransfer());
  EXPECT_EQ(driver->GroupCapacity(), 32767);
  EXPECT_TRUE(driver->CheckVariable(100000, 5000));
  EXPECT_TRUE(driver->SetConfigurationMode());
  EXPECT_EQ(FailureText([&] { driver->SetGroupDefinition(1, -1); }), "0:");
  EXPECT_EQ(FailureText([&] { driver->SetGroupDefinition(1, 0); }), "0:");
  EXPECT_EQ(FailureText([&] { driver->SetGroupDefinition(1, 1); }),
            "10:A definition is made with -1 or released with 0, not with 1");
  EXPECT_FALSE(driver->FirmwareDownloadNeeded());
  EXPECT_FALSE(driver->ProjectDownloadNeeded());
  EXPECT_EQ(FailureText([&] { driver->DownloadFirmware("x.fw", 0); }), "99:A Modbus device takes no downloads");
  EXPECT_EQ(FailureText([&] { driver->DownloadProject("x.obj", 0); }), "99:A Modbus device takes no downloads");
  EXPECT_EQ(driver->BootVersion(), 0.0F);
  EXPECT_EQ(driver->BootDate(), "");
  EXPECT_EQ(driver->MajorVersion() * 10 + driver->MinorVersion(), 10);
  EXPECT_NE(driver->Description(), "");
}

}  // namespace orvo::modbus
