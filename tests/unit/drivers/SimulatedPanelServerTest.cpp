// A server and the simulated panel in virtual time: another driver right after closing, and definitions that
// the server forgot.
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"
#include "support/EventLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace orvo {
namespace {

using namespace std::chrono_literals;
using testing::GroupEventLog;
using testing::Log;
using testing::LogText;

class PanelOfAServer : public ::testing::Test {
 protected:
  PanelOfAServer() {
    files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n");
    PanelOptions options;
    options.groupCapacity = 3;
    RegisterSimulatedPanel(drivers, options, [this](const auto& made) { panel = made; });
    server = KELDataServer::Create({platform, files, drivers});
    Configure();
  }
  void TearDown() override {
    server.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), before_);
    EXPECT_EQ(platform.TimersAlive(), 0U);
  }
  void Configure() {
    server->SetDriverConfigurationFile("drivers.ini");
    server->PutDeviceType(1);
  }
  std::shared_ptr<KELDataGroup> AddActiveGroup(const std::string& prefix = "") {
    auto group = server->KELDataGroups()->Add();
    group->KELDataItems()->Add("WO100");
    group->PutUpdateRate(500);
    group->PutSubscribed(true);
    group->Events().Advise(std::make_shared<GroupEventLog>(events, prefix));
    group->PutActive(true);
    return group;
  }

  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  std::weak_ptr<SimulatedPanel> panel;  // the one made last; the server alone holds it
  std::shared_ptr<KELDataServer> server;
  Log events;

 private:
  const std::int64_t before_ = AutomationObject::LiveCount();
};

TEST_F(PanelOfAServer, ADriverChosenAnewRightAfterClosingDuringARequestServesTheNextOnes) {
  const auto group = AddActiveGroup();
  server->OpenCommunication();
  for (int step = 0; step < 1000 && !panel.lock()->IsOutstanding(); ++step)
    platform.Advance(10ms);
  ASSERT_TRUE(panel.lock()->IsOutstanding());
  const std::weak_ptr<SimulatedPanel> former = panel;

  server->CloseCommunication();
  Configure();
  server->OpenCommunication();
  ASSERT_NE(panel.lock(), former.lock());
  platform.PumpOnce();
  EXPECT_TRUE(former.expired());

  panel.lock()->Memory().PutWord(100, 7);
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1}, values, errors);
  EXPECT_EQ(LogText(values) + ' ' + LogText(errors), "[I2:7] [0]");
  events.clear();
  panel.lock()->Memory().PutWord(100, 8);
  platform.Advance(2s);
  EXPECT_EQ(events, (Log{"DataChange [1] [I2:8]"}));
}

TEST_F(PanelOfAServer, TheDriverConfigurationFileNamesThePanelsScript) {
  files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA?plant.panel\n");
  files.PutFile("plant.panel",
                "memory WO100 7\nset BoardDescription \"Line 7\"\nfault WO102 fail 5\nfault WO104 refuse");
  Configure();
  EXPECT_EQ(server->BoardDescription(), "Line 7");
  const auto group = server->KELDataGroups()->Add();
  group->KELDataItems()->Add("WO100");
  group->KELDataItems()->Add("WO102");
  EXPECT_THROW(group->KELDataItems()->Add("WO104"), AutomationError);
  server->OpenCommunication();
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  group->SyncRead({1, 2}, values, errors);
  EXPECT_EQ(LogText(values.At(0)) + ' ' + LogText(errors), "I2:7 [0,5]");
}

TEST_F(PanelOfAServer, AMistakeInTheScriptReachesTheClientWithItsLine) {
  files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA?plant.panel\n");
  files.PutFile("plant.panel", "seed 1\nmemory WO101 7\n");
  std::string text;
  try {
    Configure();
  } catch (const AutomationError& error) {
    text = error.Description();
  }
  EXPECT_NE(text.find("The panel script 'plant.panel' has 1 mistake:\r\nline 2: Item identifier 'WO101'"),
            std::string::npos)
      << text;
}

TEST_F(PanelOfAServer, AWriteThatIsNeverAnsweredStopsEveryLaterRequestOfItsServerOnly) {
  files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA?plant.panel\n");
  files.PutFile("plant.panel", "fault WriteItems never\nmemory WO100 7");
  Configure();
  auto group = server->KELDataGroups()->Add();
  group->KELDataItems()->Add("WO100");
  const auto read = [&] {
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    group->SyncRead({1}, values, errors);
    return LogText(values) + ' ' + LogText(errors);
  };
  server->OpenCommunication();
  EXPECT_EQ(read(), "[I2:7] [0]");
  const auto begin = platform.Now();
  SafeArray<std::int32_t> errors;
  group->SyncWrite({1}, {std::int32_t{1}}, errors);
  EXPECT_EQ((platform.Now() - begin) / 1s, 10) << "the system's own time-out";
  EXPECT_EQ(LogText(errors), "[1]");
  EXPECT_EQ(read(), "[Empty] [1]");
  server->CloseCommunication();
  server->OpenCommunication();
  EXPECT_EQ(read(), "[Empty] [1]");
  EXPECT_EQ(panel.lock()->Memory().Word(100), 7) << "nothing was written";
  server = KELDataServer::Create({platform, files, drivers});
  Configure();
  group = server->KELDataGroups()->Add();
  group->KELDataItems()->Add("WO100");
  server->OpenCommunication();
  EXPECT_EQ(read(), "[I2:7] [0]");
}

TEST_F(PanelOfAServer, GroupsKeepRefreshingHoweverManyDefinitionsWereForgotten) {
  for (int cycle = 1; cycle <= 3 * 3; ++cycle) {
    SCOPED_TRACE(cycle);
    server->KELDataGroups()->RemoveAll();
    const std::string prefix = std::to_string(cycle) + ' ';  // removed groups report what was on its way
    const auto first = AddActiveGroup(prefix);
    const auto second = AddActiveGroup(prefix);
    first->SetGroupId(2 * cycle);
    second->SetGroupId(2 * cycle + 1);
    panel.lock()->Memory().PutWord(100, static_cast<std::uint16_t>(cycle));
    events.clear();
    server->OpenCommunication();
    platform.Advance(2s);
    const std::string change = "DataChange [1] [I2:" + std::to_string(cycle) + "]";
    EXPECT_EQ(std::count(events.begin(), events.end(), prefix + change), 2);
    EXPECT_EQ(panel.lock()->Definitions(2 * cycle), 1);
    EXPECT_EQ(panel.lock()->Definitions(2 * cycle + 1), 1);
    server->CloseCommunication();
  }
  EXPECT_EQ(panel.lock()->Definitions(), 3);
}

}  // namespace
}  // namespace orvo
