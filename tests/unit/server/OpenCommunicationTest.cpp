// Opening communication: its steps in their order, each suppressed when it fails.

#include "unit/server/ServerFixture.h"

#include <functional>
#include <stdexcept>
#include <vector>

namespace orvo::testing {
namespace {

class OpenCommunication : public ServerTest {
 protected:
  // Status 2, everything out of date and allowed, project "plant", and the log shows questions too.
  void Outdate() {
    BringTo(2);
    Driver().firmwareDownloadNeeded = true;
    Driver().projectDownloadNeeded = true;
    Driver().projectName = "plant";
    Server().PutAutoDownloadFirmware(true);
    Server().PutAutoDownloadProject(true);
    Driver().logQuestions = true;
  }
  Log LogOfOpening() {
    Driver().log.clear();
    EXPECT_EQ(ErrorOf([this] { Server().OpenCommunication(); }), "none");
    return Driver().log;
  }
};

const Log FullLog{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
                  "FirmwareDownloadNeeded()", "ProjectName()",           "DownloadFirmware(plant.fw,0)",
                  "ProjectDownloadNeeded()",  "ProjectName()",           "DownloadProject(plant.obj,0)",
                  "OpenCommunication(true)"};

TEST_F(OpenCommunication, ANewServerStaysNotConfiguredWithoutAnError) {
  EXPECT_EQ(ErrorOf([this] { Server().OpenCommunication(); }), "none");
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(OpenCommunication, AServerWithADriverButNoTypeAsksNothingAndStartsNothing) {
  BringTo(1);
  Driver().firmwareDownloadNeeded = true;
  Server().PutAutoDownloadFirmware(true);
  Driver().logQuestions = true;
  EXPECT_EQ(LogOfOpening(), Log{});
  EXPECT_EQ(Server().ServerStatus(), 1);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(OpenCommunication, DownloadsBothWhenBothAreNeededAndAllowed) {
  Outdate();
  EXPECT_EQ(LogOfOpening(), FullLog);
  EXPECT_EQ(Server().ServerStatus(), 3);
}

// Every combination of what the driver needs, what the server allows, what becomes of configuration mode, of
// each download and of opening itself.
struct Situation {
  bool firmwareNeeded, projectNeeded, firmwareAllowed, projectAllowed;
  int mode;  // 0 accepted, 1 refused, 2 the call fails
  bool firmwareFails, projectFails, openFails;
};

Log ExpectedLog(const Situation& s) {
  Log log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()"};
  const bool firmware = s.firmwareNeeded && s.firmwareAllowed;
  const bool project = s.projectNeeded && s.projectAllowed;
  if (firmware || project) log.push_back("SetConfigurationMode()");
  if ((firmware || project) && s.mode == 0) {
    log.push_back("FirmwareDownloadNeeded()");
    if (firmware) log.insert(log.end(), {"ProjectName()", "DownloadFirmware(plant.fw,0)"});
    log.push_back("ProjectDownloadNeeded()");
    if (project) log.insert(log.end(), {"ProjectName()", "DownloadProject(plant.obj,0)"});
  }
  log.push_back("OpenCommunication(true)");
  return log;
}

std::string Name(const Situation& s) {
  return std::string("needs ") + (s.firmwareNeeded ? "F" : "-") + (s.projectNeeded ? "P" : "-") + " allows " +
         (s.firmwareAllowed ? "F" : "-") + (s.projectAllowed ? "P" : "-") + " mode " + std::to_string(s.mode) +
         (s.firmwareFails ? " F fails" : "") + (s.projectFails ? " P fails" : "") +
         (s.openFails ? " open fails" : "");
}

std::vector<Situation> EverySituation() {
  std::vector<Situation> all;
  for (unsigned bits = 0; bits < 128; ++bits) {
    const auto bit = [bits](unsigned position) { return (bits >> position & 1) != 0; };
    for (const int mode : {0, 1, 2})
      all.push_back({bit(0), bit(1), bit(2), bit(3), mode, bit(4), bit(5), bit(6)});
  }
  return all;
}

TEST_F(OpenCommunication, EveryCombinationRunsItsStepsInOrderAndEndsOpen) {
  for (const Situation& s : EverySituation()) {
    SCOPED_TRACE(Name(s));
    StartAt(SimulatedPlatform::DefaultStart);
    Outdate();
    Driver().firmwareDownloadNeeded = s.firmwareNeeded;
    Driver().projectDownloadNeeded = s.projectNeeded;
    Server().PutAutoDownloadFirmware(s.firmwareAllowed);
    Server().PutAutoDownloadProject(s.projectAllowed);
    Driver().configurationModeAccepted = s.mode == 0;
    if (s.mode == 2) Driver().Fail("SetConfigurationMode", 4, "no answer");
    if (s.firmwareFails) Driver().Fail("DownloadFirmware", 1, "no file");
    if (s.projectFails) Driver().Fail("DownloadProject", 1, "no file");
    if (s.openFails) Driver().Fail("OpenCommunication", 1, "no port");
    EXPECT_EQ(LogOfOpening(), ExpectedLog(s));
    EXPECT_EQ(Server().ServerStatus(), 3);
    EXPECT_EQ(plant->platform.TimersAlive(), 1U);
    EXPECT_NE(TimerModule().TimerId(), 0);
  }
}

TEST_F(OpenCommunication, WithoutAutomaticDownloadsNeitherDownloadNorConfigurationModeIsTried) {
  Outdate();
  Server().PutAutoDownloadFirmware(false);
  Server().PutAutoDownloadProject(false);
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "OpenCommunication(true)"}));
}

TEST_F(OpenCommunication, AProjectOutOfDateAloneIsDownloadedOnlyWhenProjectsAreAllowed) {
  Outdate();
  Driver().firmwareDownloadNeeded = false;
  Server().PutAutoDownloadProject(false);
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "OpenCommunication(true)"}));
  Server().CloseCommunication();
  Server().PutAutoDownloadProject(true);
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
                 "FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "ProjectName()",
                 "DownloadProject(plant.obj,0)", "OpenCommunication(true)"}));
}

TEST_F(OpenCommunication, ARefusedConfigurationModeSkipsBothDownloadsButOpens) {
  Outdate();
  Driver().configurationModeAccepted = false;
  EXPECT_EQ(LogOfOpening(), (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()",
                                 "SetConfigurationMode()", "OpenCommunication(true)"}));
  EXPECT_EQ(Server().ServerStatus(), 3);
}

TEST_F(OpenCommunication, EachFailingStepIsSkippedAndTheNextOneRuns) {
  const struct {
    const char* failing;
    int times;
    Log log;
  } rows[] = {
      {"FirmwareDownloadNeeded",
       ScriptedDriver::Always,
       {"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
        "FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "ProjectName()", "DownloadProject(plant.obj,0)",
        "OpenCommunication(true)"}},
      {"FirmwareDownloadNeeded", 1, FullLog},  // the project alone asks for configuration mode
      {"ProjectDownloadNeeded",
       ScriptedDriver::Always,
       {"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
        "FirmwareDownloadNeeded()", "ProjectName()", "DownloadFirmware(plant.fw,0)", "ProjectDownloadNeeded()",
        "OpenCommunication(true)"}},
      {"ProjectDownloadNeeded", 1, FullLog},
      {"SetConfigurationMode",
       ScriptedDriver::Always,
       {"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
        "OpenCommunication(true)"}},
      {"ProjectName",
       ScriptedDriver::Always,
       {"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
        "FirmwareDownloadNeeded()", "ProjectName()", "ProjectDownloadNeeded()", "ProjectName()",
        "OpenCommunication(true)"}},
      {"ProjectName",
       1,
       {"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
        "FirmwareDownloadNeeded()", "ProjectName()", "ProjectDownloadNeeded()", "ProjectName()",
        "DownloadProject(plant.obj,0)", "OpenCommunication(true)"}},
      {"DownloadFirmware", ScriptedDriver::Always, FullLog},
      {"DownloadProject", ScriptedDriver::Always, FullLog},
      {"OpenCommunication", ScriptedDriver::Always, FullLog},
  };
  for (const auto& row : rows) {
    for (const std::int32_t number : {1, 0, static_cast<std::int32_t>(errInternal)}) {
      SCOPED_TRACE(std::string(row.failing) + " x " + std::to_string(row.times));
      StartAt(SimulatedPlatform::DefaultStart);
      Outdate();
      Driver().Fail(row.failing, number, "torn", row.times);
      EXPECT_EQ(LogOfOpening(), row.log);
      EXPECT_EQ(Server().ServerStatus(), 3);
      EXPECT_EQ(plant->platform.TimersAlive(), 1U);
    }
  }
}

TEST_F(OpenCommunication, AForeignExceptionInAStepIsSuppressedToo) {
  for (const char* step : {"FirmwareDownloadNeeded", "ProjectDownloadNeeded", "SetConfigurationMode",
                           "ProjectName", "DownloadFirmware", "DownloadProject", "OpenCommunication"}) {
    SCOPED_TRACE(step);
    StartAt(SimulatedPlatform::DefaultStart);
    Outdate();
    Driver().during[step] = [] { throw std::runtime_error("foreign"); };
    EXPECT_EQ(LogOfOpening().back(), "OpenCommunication(true)");
    EXPECT_EQ(Server().ServerStatus(), 3);
  }
}

TEST_F(OpenCommunication, EveryQuestionFailingAtOnceStillOpens) {
  Outdate();
  for (const char* step : {"FirmwareDownloadNeeded", "ProjectDownloadNeeded", "SetConfigurationMode",
                           "ProjectName", "OpenCommunication"})
    Driver().Fail(step, 1, "dead");
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "OpenCommunication(true)"}));
  EXPECT_EQ(Server().ServerStatus(), 3);
}

TEST_F(OpenCommunication, EachDownloadIsAskedForAgainBeforeItIsDone) {
  Outdate();
  Driver().during["SetConfigurationMode"] = [this] { Driver().firmwareDownloadNeeded = false; };
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
                 "FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "ProjectName()",
                 "DownloadProject(plant.obj,0)", "OpenCommunication(true)"}));
  Server().CloseCommunication();
  Driver().during.clear();
  Driver().firmwareDownloadNeeded = true;
  Driver().during["DownloadFirmware"] = [this] { Driver().projectDownloadNeeded = false; };
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
                 "FirmwareDownloadNeeded()", "ProjectName()", "DownloadFirmware(plant.fw,0)",
                 "ProjectDownloadNeeded()", "OpenCommunication(true)"}));
}

TEST_F(OpenCommunication, AFirmwareDownloadThatMakesTheProjectOutOfDateIsFollowedByTheProject) {
  Outdate();
  Driver().projectDownloadNeeded = false;
  Driver().during["DownloadFirmware"] = [this] { Driver().projectDownloadNeeded = true; };
  EXPECT_EQ(LogOfOpening(), FullLog);
}

TEST_F(OpenCommunication, TheFlagsCountAsTheyAreWhenEachDownloadIsDecided) {
  Outdate();
  Driver().during["SetConfigurationMode"] = [this] { Server().PutAutoDownloadFirmware(false); };
  Driver().during["ProjectDownloadNeeded"] = [this] { Server().PutAutoDownloadProject(true); };
  EXPECT_EQ(LogOfOpening(),
            (Log{"FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "SetConfigurationMode()",
                 "FirmwareDownloadNeeded()", "ProjectDownloadNeeded()", "ProjectName()",
                 "DownloadProject(plant.obj,0)", "OpenCommunication(true)"}));
}

TEST_F(OpenCommunication, DownloadFilesAreNamedFromTheProjectCutAtItsLastDotAnywhere) {
  const struct {
    const char* project;
    const char* stem;
  } rows[] = {
      {"plant", "plant"},
      {"plant.prj", "plant"},
      {"a.b.c", "a.b"},
      {"C:\\dir.old\\proj", "C:\\dir"},
      {"", ""},
      {".prj", ""},
      {"plant.", "plant"},
      {"plant..", "plant."},
      {"/srv/a.b/p.c", "/srv/a.b/p"},
      {"Pl\xC3\xA4ne 2.neu", "Pl\xC3\xA4ne 2"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.project);
    StartAt(SimulatedPlatform::DefaultStart);
    Outdate();
    Driver().logQuestions = false;
    Driver().projectName = row.project;
    EXPECT_EQ(LogOfOpening(),
              (Log{"SetConfigurationMode()", std::string("DownloadFirmware(") + row.stem + ".fw,0)",
                   std::string("DownloadProject(") + row.stem + ".obj,0)", "OpenCommunication(true)"}));
  }
}

TEST_F(OpenCommunication, DownloadsReportTheirProgressWhileTheyRunAndTheStatusIsStillTwo) {
  Outdate();
  const auto sink = std::make_shared<ServerEventLog>(plant->events);
  Server().Events().Advise(sink);
  Driver().during["DownloadFirmware"] = [this] {
    EXPECT_EQ(Server().ServerStatus(), 2);
    Driver().Sink().DownloadFirmwareInProgress(40);
    Driver().Sink().DownloadFirmwareInProgress(100);
    Driver().Sink().DownloadFirmwareComplete();
    plant->events.push_back("taken");
  };
  Driver().during["DownloadProject"] = [this] {
    Driver().Sink().DownloadProjectInProgress(-1);
    Driver().Sink().DownloadProjectComplete();
  };
  Server().OpenCommunication();
  EXPECT_EQ(plant->events,
            (Log{"DownloadFirmwareInProgress 40", "DownloadFirmwareInProgress 100", "DownloadFirmwareComplete",
                 "taken", "DownloadProjectInProgress -1", "DownloadProjectComplete"}));
}

TEST_F(OpenCommunication, TheDriverIsOpenedFirstThenTheSpoolerStartsThenTheGroupsThenTheStatusChanges) {
  BringTo(2);
  const auto group = Server().KELDataGroups()->Add();
  group->PutUpdateRate(500);
  group->PutActive(true);
  Driver().during["OpenCommunication"] = [this] {
    EXPECT_EQ(plant->platform.TimersAlive(), 0U);
    EXPECT_EQ(Server().ServerStatus(), 2);
  };
  bool asked = false;
  Driver().during["SetGroupDefinition"] = [&] {
    asked = true;
    EXPECT_NE(TimerModule().TimerId(), 0);
    EXPECT_EQ(plant->platform.TimersAlive(), 1U);
    EXPECT_EQ(Server().ServerStatus(), 2);
  };
  Server().OpenCommunication();
  EXPECT_TRUE(asked);
  EXPECT_EQ(Driver().log, (Log{"OpenCommunication(true)", "SetGroupDefinition(0,-1)"}));
  EXPECT_EQ(plant->platform.TimersAlive(), 2U);
  EXPECT_EQ(Server().ServerStatus(), 3);
}

TEST_F(OpenCommunication, AGroupThatGetsNoDefinitionIsPassedOverAndTheNextOneStarts) {
  BringTo(2);
  const auto groups = Server().KELDataGroups();
  const auto first = groups->Add();
  const auto second = groups->Add();
  first->PutActive(true);
  second->PutActive(true);
  Driver().Fail("SetGroupDefinition", 1, "full", 1);
  Server().OpenCommunication();
  EXPECT_EQ(first->TimerId(), -1);
  EXPECT_NE(second->TimerId(), -1);
  EXPECT_EQ(Server().ServerStatus(), 3);
}

TEST_F(OpenCommunication, AfterAFailedOpenTheSpoolerSendsRequestsAllTheSame) {
  BringTo(2);
  const auto group = plant->AddGroup({"WO100"});
  Driver().Fail("OpenCommunication", 1, "no port");
  Server().OpenCommunication();
  EXPECT_EQ(Server().ServerStatus(), 3);
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  plant->Advance(50ms);
  EXPECT_EQ(Driver().log, (Log{"OpenCommunication(true)", "ReadItems(addresses=[1],dimensions=[1])"}));
}

TEST_F(OpenCommunication, OpeningTwiceRunsTheStepsAgainAndStartsNoSecondSpoolerTimer) {
  BringTo(2);
  Server().OpenCommunication();
  const std::int32_t timer = TimerModule().TimerId();
  EXPECT_EQ(LogOfOpening(), Log{"OpenCommunication(true)"});
  EXPECT_EQ(Server().ServerStatus(), 3);
  EXPECT_EQ(plant->platform.TimersAlive(), 1U);
  EXPECT_EQ(TimerModule().TimerId(), timer);
}

TEST_F(OpenCommunication, AServerWhoseLatestTypeFailedOpensWithItsFormerOne) {
  BringTo(2);
  EXPECT_EQ(ErrorNumberOf([this] { Server().PutDeviceType(5); }), errInvalidDeviceType);
  Server().OpenCommunication();
  EXPECT_EQ(Server().ServerStatus(), 3);
  EXPECT_EQ(Server().DeviceType(), 2);
}

TEST_F(OpenCommunication, LastReleaseInsideADownloadLetsTheOpeningEndInPeace) {
  Outdate();
  const std::weak_ptr<KELDataServer> server = plant->server;
  Driver().during["DownloadFirmware"] = [this] { plant->server.reset(); };
  Server().OpenCommunication();
  EXPECT_EQ(Driver().log, FullLog);
  EXPECT_TRUE(server.expired());
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

}  // namespace
}  // namespace orvo::testing
