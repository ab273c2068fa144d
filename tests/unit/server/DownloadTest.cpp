// Downloads on request and on opening: who is asked for what, and which events come in which order.

#include "simulated/SimulatedPanel.h"
#include "unit/server/ServerFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::testing {
namespace {

class Downloads : public ServerTest {
 protected:
  void WatchServer() { Server().Events().Advise(std::make_shared<ServerEventLog>(plant->events)); }
  // Connects a simulated panel in place of the scripted driver: status 2.
  void ConnectPanel() {
    RegisterSimulatedPanel(plant->drivers, {}, [this](const auto& made) { panel = made; });
    plant->files.PutFile("panel.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n");
    Server().SetDriverConfigurationFile("panel.ini");
    Server().PutDeviceType(1);
    WatchServer();
  }
  void PutBlocks(const std::string& file, std::size_t blocks) {
    plant->files.PutFile(file, std::string(blocks * SimulatedPanel::DownloadBlockSize - 1, 'x'));
  }
  std::string Firmware(const std::string& file) {
    return ErrorOf([&] { Server().DownloadFirmware(file); });
  }
  std::string Project(const std::string& file) {
    return ErrorOf([&] { Server().DownloadProject(file); });
  }

  std::weak_ptr<SimulatedPanel> panel;
};

const std::string NotStopped = Own(errInvalidState, "Server not stopped");

TEST_F(Downloads, ANewServerRefusesThem) {
  EXPECT_EQ(Project("plant.obj"), NotStopped);
  EXPECT_EQ(Firmware("plant.fw"), NotStopped);
}

TEST_F(Downloads, AServerWithADriverButNoDeviceTypeRefusesThem) {
  BringTo(StatusNotConfigured);
  EXPECT_EQ(Project("plant.obj"), NotStopped);
  EXPECT_EQ(Firmware("plant.fw"), NotStopped);
  EXPECT_EQ(Driver().log, Log{});
}

TEST_F(Downloads, AreRefusedFromOpeningUntilClosingHasBroughtTheStatusBack) {
  BringTo(StatusRunning);
  EXPECT_EQ(Firmware("plant.fw"), NotStopped);
  EXPECT_EQ(Project("plant.obj"), NotStopped);
  EXPECT_EQ(Driver().log, Log{});
  Server().CloseCommunication();
  EXPECT_EQ(Firmware("plant.fw"), "none");
  EXPECT_EQ(Project("plant.obj"), "none");
  EXPECT_EQ(Driver().log,
            (Log{"CloseCommunication()", "DownloadFirmware(plant.fw,0)", "DownloadProject(plant.obj,0)"}));
}

TEST_F(Downloads, TheDriverGetsTheNameUnchangedWithTheFlag0) {
  BringTo(StatusStopped);
  Driver().logQuestions = true;
  for (const std::string name : {"plant", "plant.prj", "C:\\dir.old\\a b.bin", "", " f\xC3\xBC ", "x.fw.obj"}) {
    SCOPED_TRACE(name);
    Driver().log.clear();
    EXPECT_EQ(Firmware(name), "none");
    EXPECT_EQ(Driver().log, Log{"DownloadFirmware(" + name + ",0)"});
    Driver().log.clear();
    EXPECT_EQ(Project(name), "none");
    EXPECT_EQ(Driver().log, Log{"DownloadProject(" + name + ",0)"});
    EXPECT_EQ(Server().ServerStatus(), StatusStopped);
  }
}

TEST_F(Downloads, ATransferThatFailsIsNotReportedAndTheNextOneRuns) {
  BringTo(StatusStopped);
  WatchServer();
  for (const std::int32_t number : {1, 2, 4, 10, 53, 99}) {
    SCOPED_TRACE(number);
    Driver().Fail("DownloadFirmware", number, "broken", 1);
    Driver().Fail("DownloadProject", number, "broken", 1);
    EXPECT_EQ(Firmware("a"), "none");
    EXPECT_EQ(Project("b"), "none");
    EXPECT_EQ(Server().ServerStatus(), StatusStopped);
  }
  EXPECT_EQ(plant->events, Log{});
  Driver().log.clear();
  EXPECT_EQ(Firmware("c"), "none");
  EXPECT_EQ(Driver().log, Log{"DownloadFirmware(c,0)"});
}

TEST_F(Downloads, EventsReachTheClientInsideTheCallInTheirOrderWithTheSamePercent) {
  BringTo(StatusStopped);
  WatchServer();
  const std::vector<std::int16_t> percents = {0, 40, 40, 39, 100, -1, 32767, -32768};
  Driver().during["DownloadFirmware"] = [&] {
    for (const std::int16_t percent : percents)
      Driver().Sink().DownloadFirmwareInProgress(percent);
    Driver().Sink().DownloadFirmwareComplete();
    plant->events.push_back("the driver returns");
  };
  Driver().during["DownloadProject"] = [&] {
    for (const std::int16_t percent : percents)
      Driver().Sink().DownloadProjectInProgress(percent);
    Driver().Sink().DownloadProjectComplete();
    plant->events.push_back("the driver returns");
  };
  const auto expected = [&](const std::string& name) {
    Log log;
    for (const std::int16_t percent : percents)
      log.push_back(name + "InProgress " + std::to_string(percent));
    log.insert(log.end(), {name + "Complete", "the driver returns"});
    return log;
  };
  EXPECT_EQ(Firmware("a"), "none");
  EXPECT_EQ(std::exchange(plant->events, {}), expected("DownloadFirmware"));
  EXPECT_EQ(Project("a"), "none");
  EXPECT_EQ(plant->events, expected("DownloadProject"));
}

TEST_F(Downloads, AFileOfThreeBlocksGivesThreeReportsAndCompletion) {
  ConnectPanel();
  PutBlocks("plant.bin", 3);
  EXPECT_EQ(Firmware("plant.bin"), "none");
  EXPECT_EQ(std::exchange(plant->events, {}),
            (Log{"DownloadFirmwareInProgress 33", "DownloadFirmwareInProgress 66",
                 "DownloadFirmwareInProgress 100", "DownloadFirmwareComplete"}));
  EXPECT_EQ(panel.lock()->HeldFirmware().name, "plant");
  EXPECT_EQ(panel.lock()->HeldProject().name, "");
  EXPECT_EQ(Project("plant.bin"), "none");
  EXPECT_EQ(plant->events, (Log{"DownloadProjectInProgress 33", "DownloadProjectInProgress 66",
                                "DownloadProjectInProgress 100", "DownloadProjectComplete"}));
  EXPECT_EQ(panel.lock()->HeldProject().name, "plant");
  EXPECT_EQ(Server().ServerStatus(), StatusStopped);
}

TEST_F(Downloads, OneThatBreaksOffReportsItsBlocksAndNoCompletion) {
  ConnectPanel();
  PutBlocks("plant.bin", 3);
  panel.lock()->FailDownloadAtBlock(2);
  EXPECT_EQ(Project("plant.bin"), "none");
  EXPECT_EQ(plant->events, Log{"DownloadProjectInProgress 33"});
  EXPECT_EQ(Project("nowhere.bin"), "none");
  EXPECT_EQ(plant->events, Log{"DownloadProjectInProgress 33"});
  EXPECT_EQ(panel.lock()->HeldProject().name, "");
}

TEST_F(Downloads, OpeningDownloadsFirmwareThenProjectUnderTheNameCutAtItsLastDot) {
  struct Row {
    const char* projectName;
    const char* base;
  };
  for (const Row& row : {Row{"plant", "plant"},
                         {"plant.prj", "plant"},
                         {"plant.v2.prj", "plant.v2"},
                         {"work/dir.old/proj", "work/dir"},
                         {"C:\\dir.old\\proj", "C:\\dir"}}) {
    SCOPED_TRACE(row.projectName);
    StartAt(SimulatedPlatform::DefaultStart);
    ConnectPanel();
    const std::string base = row.base;
    PutBlocks(base + ".fw", 3);
    PutBlocks(base + ".obj", 2);
    Server().PutProjectName(row.projectName);
    Server().PutAutoDownloadFirmware(true);
    Server().PutAutoDownloadProject(true);
    Server().OpenCommunication();
    EXPECT_EQ(std::exchange(plant->events, {}),
              (Log{"DownloadFirmwareInProgress 33", "DownloadFirmwareInProgress 66",
                   "DownloadFirmwareInProgress 100", "DownloadFirmwareComplete", "DownloadProjectInProgress 50",
                   "DownloadProjectInProgress 100", "DownloadProjectComplete"}));
    EXPECT_EQ(Server().ServerStatus(), StatusRunning);
    EXPECT_EQ(Server().CommunicationStatus(), SimulatedPanel::LinkOpen);
    Server().CloseCommunication();
    Server().OpenCommunication();  // the panel holds both now
    EXPECT_EQ(plant->events, Log{});
  }
}

}  // namespace
}  // namespace orvo::testing
