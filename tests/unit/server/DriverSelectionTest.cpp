// The driver configuration file and the device type.

#include "unit/server/ServerFixture.h"

#include <functional>
#include <memory>
#include <stdexcept>

namespace orvo::testing {
namespace {

class DriverSelection : public ServerTest {
 protected:
  DriverSelection() {
    plant->drivers.Register("Other.Channel", [this](DriverHost) { return other; });
    plant->files.PutFile("other.ini", "[Drivers]\nDataCommunication=Other.Channel\n1=PanelB\n7=PanelA\n");
  }
  // Puts `text` under [Drivers] of "drivers.ini".
  void PutDrivers(const std::string& text) { plant->files.PutFile("drivers.ini", "[Drivers]\n" + text); }
  std::string ErrorOfFile(const std::string& name) {
    return ErrorOf([&] { Server().SetDriverConfigurationFile(name); });
  }
  std::string ErrorOfType(std::int32_t type) {
    return ErrorOf([&] { Server().PutDeviceType(type); });
  }
  // Which driver the server asks, and which the spooler, by their answers.
  std::string InUse() {
    Driver().baudRate = 1;
    other->baudRate = 2;
    Driver().groupTransfer = false;
    other->groupTransfer = true;
    return std::string(Server().BaudRate() == 1 ? "server:first" : "server:other") +
           (Server().TransfersWholeGroups() ? " spooler:other" : " spooler:first");
  }

  std::shared_ptr<ScriptedDriver> other = std::make_shared<ScriptedDriver>();
};

TEST_F(DriverSelection, TheFileGivesDriverNetworkTypeAndSinkInThisOrderAndKeepsTheStatus) {
  Server().SetDriverConfigurationFile("drivers.ini");
  EXPECT_EQ(Driver().log, (Log{"PutNetworkType(3)", "SetEventSink()"}));
  EXPECT_EQ(Driver().networkType, 3);
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(Server().DeviceType(), 0);
  EXPECT_EQ(Server().Device(), nullptr);
}

TEST_F(DriverSelection, WithoutANetworkTypeTheDriverIsNotToldOne) {
  PutDrivers("DataCommunication=Scripted.Channel\n");
  Server().SetDriverConfigurationFile("drivers.ini");
  EXPECT_EQ(Driver().log, Log{"SetEventSink()"});
}

TEST_F(DriverSelection, ANetworkTypeIsConvertedAsAutomationConvertsTexts) {
  const struct {
    const char* text;
    const char* outcome;
  } rows[] = {
      {"0", "PutNetworkType(0)"},
      {"-1", "PutNetworkType(-1)"},
      {"  7  ", "PutNetworkType(7)"},
      {"2147483647", "PutNetworkType(2147483647)"},
      {"-2147483648", "PutNetworkType(-2147483648)"},
      {"2.5", "PutNetworkType(2)"},
      {"3.5", "PutNetworkType(4)"},
      {"2147483648", "6: Overflow"},
      {"-2147483649", "6: Overflow"},
      {"99999999999999999999", "6: Overflow"},
      {"", "13: Type mismatch"},
      {"RS485", "13: Type mismatch"},
      {"3 4", "13: Type mismatch"},
      {"3 ; a comment", "13: Type mismatch"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Driver().log.clear();
    PutDrivers(std::string("DataCommunication=Scripted.Channel\nNetworkType=") + row.text + "\n");
    const std::string error = ErrorOfFile("drivers.ini");
    if (error == "none") {
      EXPECT_EQ(Driver().log, (Log{row.outcome, "SetEventSink()"}));
    } else {
      EXPECT_EQ(error, row.outcome);
      EXPECT_EQ(Driver().log, Log{});
    }
  }
}

TEST_F(DriverSelection, WhileCommunicationIsOpenTheFileIsRefusedBeforeItIsLookedAt) {
  BringTo(3);
  EXPECT_EQ(ErrorOfFile("other.ini"), Own(errInvalidState, "Server is running"));
  EXPECT_EQ(ErrorOfFile("missing.ini"), Own(errInvalidState, "Server is running"));
  EXPECT_EQ(other->log, Log{});
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(InUse(), "server:first spooler:first");
  Server().CloseCommunication();
  EXPECT_EQ(ErrorOfType(7), Own(errInvalidDeviceType, "7"));  // still the first file
}

TEST_F(DriverSelection, AMissingFileIsError53AndKeepsTheDriver) {
  BringTo(2);
  const std::string error = ErrorOfFile("missing.ini");
  EXPECT_EQ(error.substr(0, 4), "53: ");
  EXPECT_NE(error.find("missing.ini"), std::string::npos) << error;
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(InUse(), "server:first spooler:first");
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 2);
}

TEST_F(DriverSelection, AMissingFileIsTheOneInUseAndNamesNoType) {
  BringTo(2);
  EXPECT_EQ(ErrorNumberOf([this] { Server().SetDriverConfigurationFile("missing.ini"); }), 53);
  EXPECT_EQ(ErrorOfType(2), Own(errInvalidDeviceType, "2"));
  EXPECT_EQ(Driver().log, Log{"CreateDevice()"});
  plant->files.PutFile("missing.ini", "[Drivers]\n2=PanelA\n");
  EXPECT_EQ(ErrorOfType(2), "none");
}

TEST_F(DriverSelection, EachTypeReadsTheFileAgainAndAFileThatIsGoneOrUnreadableNamesNone) {
  BringTo(2);
  PutDrivers("5=PanelA\n");
  EXPECT_EQ(ErrorOfType(5), "none");
  EXPECT_EQ(ErrorOfType(2), Own(errInvalidDeviceType, "2"));
  plant->files.FailNextRead("drivers.ini", RuntimeError::PermissionDenied);
  EXPECT_EQ(ErrorOfType(5), Own(errInvalidDeviceType, "5"));
  EXPECT_EQ(ErrorOfType(5), "none");
  plant->files.Remove("drivers.ini");
  EXPECT_EQ(ErrorOfType(5), Own(errInvalidDeviceType, "5"));
  EXPECT_EQ(Driver().log, (Log{"CreateDevice(PanelA)", "CreateDevice()", "CreateDevice()",
                               "CreateDevice(PanelA)", "CreateDevice()"}));
}

TEST_F(DriverSelection, AMissingKeyOrSectionIsError5AndKeepsTheDriverButTheNewFileIsInUse) {
  for (const char* text : {"[Drivers]\n7=PanelB\n", "[Other]\nDataCommunication=Other.Channel\n",
                           "[drivers]\nDataCommunication=Other.Channel\n",
                           "[Drivers]\ndatacommunication=Other.Channel\n7=PanelB\n", ""}) {
    SCOPED_TRACE(text);
    Server().SetDriverConfigurationFile("drivers.ini");
    Server().PutDeviceType(2);
    plant->files.PutFile("new.ini", text);
    EXPECT_EQ(ErrorNumberOf([&] { Server().SetDriverConfigurationFile("new.ini"); }), 5);
    EXPECT_EQ(other->log, Log{});
    EXPECT_EQ(InUse(), "server:first spooler:first");
    EXPECT_EQ(Server().ServerStatus(), 2);
    const bool named = std::string(text).find("7=") != std::string::npos;
    EXPECT_EQ(ErrorOfType(7), named ? "none" : Own(errInvalidDeviceType, "7"));
    EXPECT_EQ(ErrorOfType(2), Own(errInvalidDeviceType, "2"));
  }
}

TEST_F(DriverSelection, AnUnknownClassIsError429WithItsNameAndKeepsTheDriverButTheNewFileIsInUse) {
  BringTo(2);
  plant->files.PutFile("new.ini", "[Drivers]\nDataCommunication=No.Such\n7=PanelB\n");
  const std::string error = ErrorOfFile("new.ini");
  EXPECT_EQ(error.substr(0, 5), "429: ");
  EXPECT_NE(error.find("No.Such"), std::string::npos) << error;
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(InUse(), "server:first spooler:first");
  EXPECT_EQ(ErrorOfType(7), "none");
}

TEST_F(DriverSelection, AnEmptyClassNameIsError429) {
  PutDrivers("DataCommunication=\n");
  EXPECT_EQ(ErrorNumberOf([&] { Server().SetDriverConfigurationFile("drivers.ini"); }), 429);
}

TEST_F(DriverSelection, AFactorysOwnFailureIsPassedOn) {
  BringTo(2);
  plant->drivers.Register("Other.Channel", [](DriverHost) -> std::shared_ptr<CommunicationDriver> {
    throw AutomationError(70, "not for you");
  });
  EXPECT_EQ(ErrorOfFile("other.ini"), "70: not for you");
  EXPECT_EQ(InUse(), "server:first spooler:first");
}

TEST_F(DriverSelection, ANetworkTypeThatIsNoNumberLeavesTheNewDriverWithTheServerAndTheOldWithTheSpooler) {
  BringTo(2);
  for (const char* type : {"fast", "99999999999"}) {
    SCOPED_TRACE(type);
    plant->files.PutFile("new.ini",
                         std::string("[Drivers]\nDataCommunication=Other.Channel\nNetworkType=") + type);
    const std::int32_t number = ErrorNumberOf([&] { Server().SetDriverConfigurationFile("new.ini"); });
    EXPECT_EQ(number, type[0] == 'f' ? 13 : 6);
    EXPECT_EQ(other->log, Log{});
    EXPECT_FALSE(other->HasSink());
    EXPECT_EQ(InUse(), "server:other spooler:first");
    Server().SetDriverConfigurationFile("drivers.ini");
    EXPECT_EQ(InUse(), "server:first spooler:first");
  }
}

TEST_F(DriverSelection, ARefusedNetworkTypeIsTheDriversOwnErrorAndStopsBeforeTheSpooler) {
  BringTo(2);
  plant->files.PutFile("new.ini", "[Drivers]\nDataCommunication=Other.Channel\nNetworkType=4\n");
  other->Fail("PutNetworkType", 10, "no such network");
  EXPECT_EQ(ErrorOfFile("new.ini"), "10: no such network");
  EXPECT_EQ(other->log, Log{"PutNetworkType(4)"});
  EXPECT_EQ(InUse(), "server:other spooler:first");
}

TEST_F(DriverSelection, ARefusedSinkIsTheDriversOwnErrorAndTheDriverIsInUse) {
  BringTo(2);
  other->Fail("SetEventSink", 2, "not now");
  EXPECT_EQ(ErrorOfFile("other.ini"), "2: not now");
  EXPECT_EQ(other->log, Log{"SetEventSink()"});
  EXPECT_EQ(InUse(), "server:other spooler:other");
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(DriverSelection, ANewDriverLeavesStatusTypeAndTheOldDriversDeviceUntilATypeIsAssigned) {
  BringTo(2);
  const std::weak_ptr<DeviceObject> old = Server().Device();
  ASSERT_FALSE(old.expired());
  Server().SetDriverConfigurationFile("other.ini");
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 2);
  EXPECT_EQ(Server().Device(), old.lock());
  EXPECT_EQ(InUse(), "server:other spooler:other");
  Server().PutDeviceType(7);
  EXPECT_TRUE(old.expired());
  EXPECT_EQ(Server().Device(), other->LastDevice());
  EXPECT_EQ(other->log, (Log{"SetEventSink()", "CreateDevice(PanelA)"}));
}

TEST_F(DriverSelection, AReplacedDriverIsReleased) {
  BringTo(2);
  const std::weak_ptr<ScriptedDriver> old = plant->driver;
  plant->driver = std::make_shared<ScriptedDriver>();
  EXPECT_FALSE(old.expired());
  Server().SetDriverConfigurationFile("other.ini");
  EXPECT_TRUE(old.expired());
}

TEST_F(DriverSelection, TheSameFileAgainMakesItsDriverAnew) {
  int made = 0;
  plant->drivers.Register("Scripted.Channel", [&](DriverHost) {
    ++made;
    return plant->driver;
  });
  Server().SetDriverConfigurationFile("drivers.ini");
  Server().SetDriverConfigurationFile("drivers.ini");
  EXPECT_EQ(made, 2);
}

TEST_F(DriverSelection, ADriverGetsThePlatformAndTheFilesOfItsServer) {
  const ThreadPlatform* platform = nullptr;
  const Files* files = nullptr;
  plant->drivers.Register("Other.Channel", [&](DriverHost host) {
    platform = &host.platform;
    files = &host.files;
    return other;
  });
  Server().SetDriverConfigurationFile("other.ini");
  EXPECT_EQ(platform, &plant->platform);
  EXPECT_EQ(files, &plant->files);
}

TEST_F(DriverSelection, AClassNameComparesWithoutCase) {
  PutDrivers("DataCommunication=sCRIPTED.cHANNEL\n");
  EXPECT_EQ(ErrorOfFile("drivers.ini"), "none");
}

TEST_F(DriverSelection, ADeviceTypeMakesTheDeviceThatTheFileNamesAndConfiguresTheServer) {
  BringTo(1);
  Server().PutDeviceType(2);
  EXPECT_EQ(Driver().log, Log{"CreateDevice(PanelB)"});
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 2);
  ASSERT_NE(Server().Device(), nullptr);
  EXPECT_EQ(Server().Device(), Driver().LastDevice());
  const std::weak_ptr<DeviceObject> old = Server().Device();
  Server().PutDeviceType(1);
  EXPECT_EQ(Driver().log, (Log{"CreateDevice(PanelB)", "CreateDevice(PanelA)"}));
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 1);
  EXPECT_TRUE(old.expired());
}

TEST_F(DriverSelection, TheSameTypeAgainMakesANewDevice) {
  BringTo(2);
  const std::weak_ptr<DeviceObject> old = Server().Device();
  Server().PutDeviceType(2);
  EXPECT_EQ(Driver().log, Log{"CreateDevice(PanelB)"});
  EXPECT_TRUE(old.expired());
  EXPECT_NE(Server().Device(), nullptr);
}

TEST_F(DriverSelection, AnyNumberThatTheFileNamesIsAType) {
  PutDrivers(
      "DataCommunication=Scripted.Channel\n0=PanelA\n-1=PanelB\n-2147483648=PanelA\n2147483647=PanelB\n");
  Server().SetDriverConfigurationFile("drivers.ini");
  Driver().log.clear();
  for (const std::int32_t type : {0, -1, std::int32_t{-2147483647 - 1}, 2147483647}) {
    Server().PutDeviceType(type);
    EXPECT_EQ(Server().DeviceType(), type);
  }
  EXPECT_EQ(Driver().log, (Log{"CreateDevice(PanelA)", "CreateDevice(PanelB)", "CreateDevice(PanelA)",
                               "CreateDevice(PanelB)"}));
}

TEST_F(DriverSelection, ATypeNamesItsKeyInPlainDecimalOnly) {
  PutDrivers("DataCommunication=Scripted.Channel\n02=PanelA\n+2=PanelA\n2.0=PanelA\n");
  Server().SetDriverConfigurationFile("drivers.ini");
  EXPECT_EQ(ErrorOfType(2), Own(errInvalidDeviceType, "2"));
}

TEST_F(DriverSelection, AnUnknownTypeAsksForTheDeviceWithoutANameAndLeavesNone) {
  BringTo(2);
  EXPECT_EQ(ErrorOfType(5), Own(errInvalidDeviceType, "5"));
  EXPECT_EQ(Driver().log, Log{"CreateDevice()"});
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 2);
  EXPECT_EQ(Server().Device(), nullptr);
}

TEST_F(DriverSelection, ATypeWhoseKindTheDriverDoesNotKnowIsUnknownToo) {
  BringTo(2);
  EXPECT_EQ(ErrorOfType(9), Own(errInvalidDeviceType, "9"));
  EXPECT_EQ(Driver().log, Log{"CreateDevice(Unknown)"});
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(Server().DeviceType(), 2);
  EXPECT_EQ(Server().Device(), nullptr);
}

TEST_F(DriverSelection, AnUnknownTypeLeavesANewServerNotConfigured) {
  BringTo(1);
  EXPECT_EQ(ErrorOfType(-7), Own(errInvalidDeviceType, "-7"));
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(Server().DeviceType(), 0);
}

TEST_F(DriverSelection, ADriverThatKnowsADeviceWithoutANameGivesItToUnlistedTypes) {
  BringTo(1);
  Driver().deviceKinds.insert("");
  Server().PutDeviceType(1234);
  EXPECT_EQ(Driver().log, Log{"CreateDevice()"});
  EXPECT_EQ(Server().DeviceType(), 1234);
  EXPECT_EQ(Server().ServerStatus(), 2);
}

TEST_F(DriverSelection, WithoutADriverATypeIsAnInternalErrorWithItsTrace) {
  EXPECT_EQ(ErrorOfType(2), Own(errInternal,
                                "91:Object variable or With block variable not set\r\n"
                                ":Server.DeviceType(NewValue=2"));
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(Server().DeviceType(), 0);
  EXPECT_EQ(ErrorOfType(-2147483647 - 1), Own(errInternal,
                                              "91:Object variable or With block variable not set\r\n"
                                              ":Server.DeviceType(NewValue=-2147483648"));
}

TEST_F(DriverSelection, AFailingDriverMakesATypeAnInternalErrorWhateverItsNumberAndLeavesNoDevice) {
  for (const std::int32_t number : {1, 2, 0, -1, static_cast<std::int32_t>(errCommunication),
                                    static_cast<std::int32_t>(errInvalidDeviceType)}) {
    SCOPED_TRACE(number);
    Server().SetDriverConfigurationFile("drivers.ini");
    Server().PutDeviceType(2);
    Driver().Fail("CreateDevice", number, "torn", 1);
    EXPECT_EQ(ErrorOfType(1),
              Own(errInternal, std::to_string(number) + ":torn\r\n:Server.DeviceType(NewValue=1"));
    EXPECT_EQ(Server().ServerStatus(), 2);
    EXPECT_EQ(Server().DeviceType(), 2);
    EXPECT_EQ(Server().Device(), nullptr);
  }
  Driver().during["CreateDevice"] = [] { throw std::runtime_error("foreign"); };
  EXPECT_EQ(ErrorOfType(1), Own(errInternal, "440:Automation error: foreign\r\n:Server.DeviceType(NewValue=1"));
}

TEST_F(DriverSelection, ATypeIsRefusedWhileCommunicationIsOpenAndNothingChanges) {
  BringTo(3);
  const auto device = Server().Device();
  EXPECT_EQ(ErrorOfType(1), Own(errInvalidState, "Server is running"));
  EXPECT_EQ(ErrorOfType(2), Own(errInvalidState, "Server is running"));
  EXPECT_EQ(Driver().log, Log{});
  EXPECT_EQ(Server().Device(), device);
  EXPECT_EQ(Server().DeviceType(), 2);
  EXPECT_EQ(Server().ServerStatus(), 3);
}

TEST_F(DriverSelection, AFailedTypeCanBeFollowedByAGoodOne) {
  BringTo(2);
  EXPECT_EQ(ErrorOfType(5), Own(errInvalidDeviceType, "5"));
  EXPECT_EQ(ErrorOfType(1), "none");
  EXPECT_EQ(Server().DeviceType(), 1);
  EXPECT_NE(Server().Device(), nullptr);
}

}  // namespace
}  // namespace orvo::testing
