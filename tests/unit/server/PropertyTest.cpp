// The properties of the server: where each comes from, when it may be set, what becomes of driver failures.

#include "unit/server/ServerFixture.h"

#include <cstddef>
#include <functional>
#include <iterator>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>

namespace orvo::testing {
namespace {

class Property : public ServerTest {};

template <class Value>
std::string TextOf(const Value& value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

struct Getter {
  const char* call;  // the driver's operation
  std::function<std::string(KELDataServer&)> get;
  const char* value;
};

const Getter Getters[] = {
    {"MinorVersion", [](KELDataServer& s) { return TextOf(s.MinorVersion()); }, "7"},
    {"MajorVersion", [](KELDataServer& s) { return TextOf(s.MajorVersion()); }, "3"},
    {"Description", [](KELDataServer& s) { return s.Description(); }, "KEL Active Data Server\r\nA driver"},
    {"BootVersion", [](KELDataServer& s) { return TextOf(s.BootVersion()); }, "1.25"},
    {"BootDate", [](KELDataServer& s) { return s.BootDate(); }, "12/31/99"},
    {"FirmwareVersion", [](KELDataServer& s) { return TextOf(s.FirmwareVersion()); }, "4.5"},
    {"BoardDescription", [](KELDataServer& s) { return s.BoardDescription(); }, "A board"},
    {"BoardStatus", [](KELDataServer& s) { return TextOf(s.BoardStatus()); }, "-70000"},
    {"CommunicationStatus", [](KELDataServer& s) { return TextOf(s.CommunicationStatus()); }, "80000"},
    {"WordIO", [](KELDataServer& s) { return TextOf(s.WordIO()); }, "-5"},
    {"Timeout", [](KELDataServer& s) { return TextOf(s.Timeout()); }, "1234"},
    {"ComPortNumber", [](KELDataServer& s) { return TextOf(s.ComPortNumber()); }, "99999"},
    {"ProjectName", [](KELDataServer& s) { return s.ProjectName(); }, "plant.prj"},
    {"BaudRate", [](KELDataServer& s) { return TextOf(s.BaudRate()); }, "115200"},
};

void GiveValues(ScriptedDriver& driver) {
  driver.minorVersion = 7;
  driver.majorVersion = 3;
  driver.description = "A driver";
  driver.bootVersion = 1.25F;
  driver.bootDate = "12/31/99";
  driver.firmwareVersion = 4.5F;
  driver.boardDescription = "A board";
  driver.boardStatus = -70000;
  driver.communicationStatus = 80000;
  driver.wordIO = -5;
  driver.timeout = 1234;
  driver.comPortNumber = 99999;
  driver.projectName = "plant.prj";
  driver.baudRate = 115200;
}

struct Setter {
  const char* call;
  std::function<void(KELDataServer&)> put;
  const char* logged;
  bool refusedWhileOpen;
};

const Setter Setters[] = {
    {"PutWordIO", [](KELDataServer& s) { s.PutWordIO(-32768); }, "PutWordIO(-32768)", true},
    {"PutTimeout", [](KELDataServer& s) { s.PutTimeout(32767); }, "PutTimeout(32767)", true},
    {"PutComPortNumber", [](KELDataServer& s) { s.PutComPortNumber(-70000); }, "PutComPortNumber(-70000)",
     false},
    {"PutProjectName", [](KELDataServer& s) { s.PutProjectName("C:\\a b\\pl\xC3\xA4n"); },
     "PutProjectName(C:\\a b\\pl\xC3\xA4n)", false},
    {"PutBaudRate", [](KELDataServer& s) { s.PutBaudRate(std::numeric_limits<std::int32_t>::max()); },
     "PutBaudRate(2147483647)", false},
};

struct Mapping {
  std::int32_t number;
  DataError code;
};

constexpr Mapping Mappings[] = {
    {2, errInvalidState},
    {1, errCommunication},
    {3, errCommunication},
    {4, errCommunication},
    {5, errCommunication},
    {99, errCommunication},
    {10, errInvalidValue},
    {0, errInternal},
    {-1, errInternal},
    {6, errInternal},
    {9, errInternal},
    {11, errInternal},
    {91, errInternal},
    {98, errInternal},
    {100, errInternal},
    {errQueueFull, errInternal},
    {std::numeric_limits<std::int32_t>::min(), errInternal},
};

TEST_F(Property, ANewServerIsNotConfiguredAndHasItsDefaults) {
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(Server().DeviceType(), 0);
  EXPECT_FALSE(Server().AutoDownloadFirmware());
  EXPECT_FALSE(Server().AutoDownloadProject());
  EXPECT_EQ(Server().DeviceName(), "");
  EXPECT_EQ(Server().Device(), nullptr);
  ASSERT_NE(Server().KELDataGroups(), nullptr);
  EXPECT_EQ(Server().KELDataGroups()->Count(), 0);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(Property, TheGroupsAreTheSameObjectEveryTimeAndKnowTheirServer) {
  const auto groups = Server().KELDataGroups();
  EXPECT_EQ(Server().KELDataGroups(), groups);
  EXPECT_EQ(groups->Parent(), plant->server);
  BringTo(3);
  EXPECT_EQ(Server().KELDataGroups(), groups);
}

TEST_F(Property, EachAccessOfADevicePropertyAsksTheDriverOnceAtAnyStatus) {
  for (const std::int32_t status : {1, 2, 3}) {
    StartAt(SimulatedPlatform::DefaultStart);
    BringTo(status);
    GiveValues(Driver());
    Driver().logQuestions = true;
    for (const Getter& row : Getters) {
      SCOPED_TRACE(std::string(row.call) + " at status " + std::to_string(status));
      Driver().log.clear();
      EXPECT_EQ(row.get(Server()), row.value);
      EXPECT_EQ(row.get(Server()), row.value);
      const std::string call = std::string(row.call) + "()";
      EXPECT_EQ(Driver().log, (Log{call, call}));
    }
    EXPECT_EQ(Server().ServerStatus(), status);
  }
}

TEST_F(Property, TheDescriptionOfADriverWithoutOneIsTheServersOwnAndALineBreak) {
  BringTo(1);
  Driver().description.clear();
  EXPECT_EQ(Server().Description(), "KEL Active Data Server\r\n");
}

TEST_F(Property, EachPutGoesToTheDriverWithoutAnythingElseWhileCommunicationIsClosed) {
  for (const std::int32_t status : {1, 2}) {
    StartAt(SimulatedPlatform::DefaultStart);
    BringTo(status);
    Driver().logQuestions = true;
    for (const Setter& row : Setters) {
      SCOPED_TRACE(std::string(row.call) + " at status " + std::to_string(status));
      Driver().log.clear();
      row.put(Server());
      EXPECT_EQ(Driver().log, Log{row.logged});
    }
    EXPECT_EQ(Server().ServerStatus(), status);
  }
}

TEST_F(Property, OpenCommunicationRefusesTimeoutAndWordIOButPassesTheOthersOn) {
  BringTo(3);
  Driver().logQuestions = true;
  for (const Setter& row : Setters) {
    SCOPED_TRACE(row.call);
    Driver().log.clear();
    const std::string error = ErrorOf([&] { row.put(Server()); });
    EXPECT_EQ(error, row.refusedWhileOpen ? Own(errInvalidState, "Server is running") : "none");
    EXPECT_EQ(Driver().log, row.refusedWhileOpen ? Log{} : Log{row.logged});
  }
  EXPECT_EQ(Server().Timeout(), 1000);
  EXPECT_EQ(Server().BaudRate(), 2147483647);
  Server().CloseCommunication();
  Server().PutTimeout(5);
  EXPECT_EQ(Driver().timeout, 5);
}

TEST_F(Property, ADriversFailureIsMappedByItsNumberAndKeepsItsText) {
  BringTo(2);
  for (const Mapping& mapping : Mappings) {
    const std::string expected = Own(mapping.code, "line is down");
    for (const Getter& row : Getters) {
      SCOPED_TRACE(std::string(row.call) + " " + std::to_string(mapping.number));
      Driver().Fail(row.call, mapping.number, "line is down", 1);
      EXPECT_EQ(ErrorOf([&] { row.get(Server()); }), expected);
    }
    for (const Setter& row : Setters) {
      SCOPED_TRACE(std::string(row.call) + " " + std::to_string(mapping.number));
      Driver().Fail(row.call, mapping.number, "line is down", 1);
      EXPECT_EQ(ErrorOf([&] { row.put(Server()); }), expected);
    }
  }
  Driver().Fail("BaudRate", 2, "", 1);
  EXPECT_EQ(ErrorOf([&] { Server().BaudRate(); }), Own(errInvalidState, ""));
}

TEST_F(Property, AnExceptionThatIsNoAutomationErrorBecomesInternalToo) {
  BringTo(2);
  Driver().during["BaudRate"] = [] { throw std::runtime_error("torn"); };
  EXPECT_EQ(ErrorOf([&] { Server().BaudRate(); }), Own(errInternal, "Automation error: torn"));
  Driver().during["PutTimeout"] = [] { throw std::bad_alloc(); };
  EXPECT_EQ(ErrorOf([&] { Server().PutTimeout(1); }), Own(errInternal, "Out of memory"));
}

TEST_F(Property, WithoutADriverEveryDevicePropertyRaisesAnInternalErrorAndTheOthersWork) {
  const std::string expected = Own(errInternal, "Object variable or With block variable not set");
  for (const Getter& row : Getters) {
    SCOPED_TRACE(row.call);
    EXPECT_EQ(ErrorOf([&] { row.get(Server()); }), expected);
  }
  for (const Setter& row : Setters) {
    SCOPED_TRACE(row.call);
    EXPECT_EQ(ErrorOf([&] { row.put(Server()); }), expected);
  }
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_NE(Server().KELDataGroups(), nullptr);
  EXPECT_EQ(Server().DeviceType(), 0);
  EXPECT_EQ(Server().DeviceName(), "");
}

TEST_F(Property, TheDownloadFlagsAreStoredAtAnyStatusWithoutAskingTheDriver) {
  for (const std::int32_t status : {0, 1, 2, 3}) {
    SCOPED_TRACE(status);
    StartAt(SimulatedPlatform::DefaultStart);
    if (status > 0) BringTo(status);
    Driver().logQuestions = true;
    Server().PutAutoDownloadFirmware(true);
    EXPECT_TRUE(Server().AutoDownloadFirmware());
    EXPECT_FALSE(Server().AutoDownloadProject());
    Server().PutAutoDownloadProject(true);
    Server().PutAutoDownloadFirmware(false);
    EXPECT_FALSE(Server().AutoDownloadFirmware());
    EXPECT_TRUE(Server().AutoDownloadProject());
    EXPECT_EQ(Driver().log, Log{});
  }
}

TEST_F(Property, FactsForTheGroupsComeFromTheDriver) {
  BringTo(2);
  Driver().logQuestions = true;
  Driver().groupCapacity = 4;
  Driver().checkVariable = [](std::int32_t words, std::int32_t items) { return words == 70000 && items == -3; };
  EXPECT_EQ(Server().GroupCapacity(), 4);
  EXPECT_EQ(Server().UsableGroupCapacity(), 3);
  EXPECT_TRUE(Server().CheckVariable(70000, -3));
  EXPECT_FALSE(Server().CheckVariable(-3, 70000));
  EXPECT_EQ(Driver().log,
            (Log{"GroupCapacity()", "GroupCapacity()", "CheckVariable(70000,-3)", "CheckVariable(-3,70000)"}));
}

TEST_F(Property, WholeGroupTransferIsFalseWithoutADriverAndWhenTheQuestionFails) {
  EXPECT_FALSE(Server().TransfersWholeGroups());
  BringTo(2);
  EXPECT_FALSE(Server().TransfersWholeGroups());
  Driver().groupTransfer = true;
  EXPECT_TRUE(Server().TransfersWholeGroups());
  Driver().Fail("GroupTransfer", 1, "no line", 1);
  EXPECT_FALSE(Server().TransfersWholeGroups());
  EXPECT_TRUE(Server().TransfersWholeGroups());
}

TEST_F(Property, AFailingQuestionAboutCapacityOrFitReachesItsCaller) {
  EXPECT_EQ(ErrorNumberOf([&] { Server().GroupCapacity(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { Server().UsableGroupCapacity(); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { Server().CheckVariable(1, 1); }), 91);
  EXPECT_EQ(ErrorNumberOf([&] { Server().CanActivateGroup(); }), 91);
  BringTo(2);
  Driver().Fail("GroupCapacity", 4, "no line");
  Driver().Fail("CheckVariable", 5, "no line");
  EXPECT_EQ(ErrorOf([&] { Server().GroupCapacity(); }), "4: no line");
  EXPECT_EQ(ErrorOf([&] { Server().UsableGroupCapacity(); }), "4: no line");
  EXPECT_EQ(ErrorOf([&] { Server().CheckVariable(1, 1); }), "5: no line");
}

TEST_F(Property, OneMoreGroupMayBeActiveWhileFewerThanTheCapacityMinusOneAre) {
  BringTo(2);
  Driver().groupCapacity = 3;
  const auto groups = Server().KELDataGroups();
  const auto first = groups->Add();
  const auto second = groups->Add();
  groups->Add();
  EXPECT_TRUE(Server().CanActivateGroup());
  first->PutActive(true);
  EXPECT_TRUE(Server().CanActivateGroup());
  second->PutActive(true);
  EXPECT_FALSE(Server().CanActivateGroup());
  first->PutActive(false);
  EXPECT_TRUE(Server().CanActivateGroup());
  Driver().groupCapacity = 0;
  EXPECT_FALSE(Server().CanActivateGroup());
}

TEST_F(Property, DefiningAGroupPassesItsIdentifierAndTheFlagAndTellsWhetherTheDriverTookIt) {
  const auto group = Server().KELDataGroups()->Add();
  group->SetGroupId(17);
  EXPECT_FALSE(Server().DefineOnDevice(*group, -1));
  BringTo(2);
  EXPECT_TRUE(Server().DefineOnDevice(*group, -1));
  EXPECT_TRUE(Server().DefineOnDevice(*group, 0));
  Driver().Fail("SetGroupDefinition", 2, "full");
  EXPECT_FALSE(Server().DefineOnDevice(*group, -1));
  EXPECT_EQ(Driver().log,
            (Log{"SetGroupDefinition(17,-1)", "SetGroupDefinition(17,0)", "SetGroupDefinition(17,-1)"}));
}

}  // namespace
}  // namespace orvo::testing
