// A driver whose calls come back into the server: the driver is replaced, communication is opened and closed,
// the server is let go.

#include "conformance/DriverReentrancyTest.h"
#include "errors/modIDataErrors.h"
#include "support/AnsweringDevice.h"

#include <functional>
#include <set>
#include <vector>

namespace orvo::testing {
namespace {

// Each SetDriverConfigurationFile makes a driver of its own, numbered from 1; only the system and, for the
// latest, the plant hold it.
class DriverReplaced : public DriverReentrancyTest {
 protected:
  DriverReplaced() {
    plant->drivers.Register("Scripted.Channel", [this](DriverHost) {
      plant->driver = std::make_shared<ScriptedDriver>();
      ++made;
      if (prepare) prepare(*plant->driver);
      return plant->driver;
    });
  }
  void Replace() { Server().SetDriverConfigurationFile("drivers.ini"); }
  int made = 0;
  std::function<void(ScriptedDriver&)> prepare;
};

TEST_F(DriverReplaced, InTheDefinitionAndAgainInTheReadThatFollowsEachDriverLastsUntilItsCallReturns) {
  Log calls;
  prepare = [&](ScriptedDriver& driver) {
    driver.groupTransfer = true;
    const std::weak_ptr<ScriptedDriver> self = plant->driver;
    const auto replace = [this, self, &calls, number = made](const std::string& operation) {
      Server().CloseCommunication();
      Replace();
      calls.push_back(std::to_string(number) + " " + operation + (self.expired() ? " too late" : ""));
    };
    driver.during["SetGroupDefinition"] = [replace] { replace("SetGroupDefinition"); };
    driver.during["ReadGroup"] = [replace] { replace("ReadGroup"); };
  };
  plant->Configure();
  const std::shared_ptr<KELDataGroup> group = AddWords({"WO1"});
  Server().OpenCommunication();
  std::int32_t id = 0;
  group->AsyncReadAll(id);
  Advance(100ms);
  EXPECT_EQ(calls, (Log{"1 SetGroupDefinition", "2 ReadGroup"}));
  EXPECT_EQ(made, 3);
  EXPECT_EQ(Server().ServerStatus(), 2);
  // The third driver may answer for the request that the second one took.
  Driver().Sink().AsyncReadGroupComplete({0, 41}, 0);
  Server().OpenCommunication();
  Advance(200ms);
  EXPECT_EQ(plant->events, (Log{"AsyncReadAllComplete 1 [1] [R8:41] [0]"}));
}

TEST_F(DriverReplaced, InTheNetworkTypesPutServerAndSpoolerUseTheSameNewDriver) {
  prepare = [this](ScriptedDriver& driver) {
    driver.baudRate = made;
    driver.groupTransfer = made == 2;
    if (made == 1) driver.during["PutNetworkType"] = [this] { Replace(); };
  };
  Replace();
  EXPECT_EQ(made, 2);
  EXPECT_EQ(Server().BaudRate(), 2);
  EXPECT_TRUE(Server().TransfersWholeGroups());
  EXPECT_TRUE(Driver().HasSink());
  EXPECT_EQ(Driver().networkType, 3);
}

using DriverReentrancy = DriverReentrancyTest;

TEST_F(DriverReentrancy, ACloseInsideTheSpoolersTickKeepsTheRequestForTheNextOpen) {
  plant->Open();
  Server().CloseCommunication();
  const std::shared_ptr<KELDataGroup> group = plant->AddGroup({"WO1"});
  plant->AnswerByItself();
  Server().OpenCommunication();
  std::int32_t id = 0;
  group->AsyncRead({1}, id);
  // Due with the spooler's tick and started after it: runs in the pump of that tick.
  std::size_t timersInside = 0;
  plant->platform.SetTimer(50ms, [&](std::int32_t timerId) {
    plant->platform.KillTimer(timerId);
    timersInside = plant->platform.TimersAlive();
    Server().CloseCommunication();
  });
  Advance(300ms);
  EXPECT_EQ(timersInside, 1U);
  EXPECT_EQ(Calls("ReadItems"), 0);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  EXPECT_EQ(plant->events, Log{});
  Server().OpenCommunication();
  Advance(300ms);
  EXPECT_EQ(Calls("ReadItems"), 1);
  EXPECT_EQ(plant->events, (Log{"AsyncReadComplete 1 [1] [I2:1] [0]"}));
}

TEST_F(DriverReentrancy, AnOpenInsideTheMakingOfADeviceRefusesTheDeviceType) {
  plant->Configure();
  Driver().during["CreateDevice"] = [this] { Server().OpenCommunication(); };
  try {
    Server().PutDeviceType(1);
    ADD_FAILURE() << "nothing was raised";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.Number(), errInvalidState);
    EXPECT_NE(error.Description().find("Server is running"), std::string::npos) << error.Description();
  }
  EXPECT_EQ(Server().ServerStatus(), 3);
  EXPECT_EQ(Server().DeviceType(), 2);
}

// Two active groups, communication closed.
struct TwoGroups {
  explicit TwoGroups(Plant& plant) {
    plant.Configure();
    for (std::shared_ptr<KELDataGroup>* group : {&first, &second}) {
      *group = plant.AddGroup({"WO1"});
      (*group)->PutUpdateRate(300);
      (*group)->PutActive(true);
    }
  }
  std::shared_ptr<KELDataGroup> first;
  std::shared_ptr<KELDataGroup> second;
};

TEST_F(DriverReentrancy, ACloseInsideTheStartOfTheGroupsIsNotUndoneByTheRestOfTheOpen) {
  const TwoGroups groups(*plant);
  Driver().during["SetGroupDefinition"] = [this] {
    Driver().during.erase("SetGroupDefinition");
    Server().CloseCommunication();
  };
  Server().OpenCommunication();
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  EXPECT_TRUE(groups.first->Active());
  EXPECT_EQ(Driver().log.back(), "CloseCommunication()");
  Advance(2s);
  EXPECT_EQ(Calls("ReadItems"), 0);
  Server().OpenCommunication();
  EXPECT_EQ(Server().ServerStatus(), 3);
  EXPECT_EQ(plant->platform.TimersAlive(), 3U);
}

TEST_F(DriverReentrancy, ACloseAndAnOpenInsideTheStartOfTheGroupsLeaveCommunicationOpen) {
  const TwoGroups groups(*plant);
  Driver().during["SetGroupDefinition"] = [this] {
    Driver().during.erase("SetGroupDefinition");
    Server().CloseCommunication();
    Server().OpenCommunication();
  };
  Server().OpenCommunication();
  EXPECT_EQ(Server().ServerStatus(), 3);
  Advance(2s);
  EXPECT_GT(Calls("ReadItems"), 0);
}

TEST_F(DriverReentrancy, ActivatingAClosedGroupLeavesNoTimerAlive) {
  plant->Configure();
  const std::shared_ptr<KELDataGroup> group = AddWords({"WO1"});
  Server().OpenCommunication();
  // The status is still 3 there, and the groups' timers are stopped already.
  Driver().during["CloseCommunication"] = [&] { group->PutActive(true); };
  Server().CloseCommunication();
  group->PutActive(false);
  ASSERT_EQ(plant->platform.TimersAlive(), 1U);
  group->PutActive(true);
  EXPECT_TRUE(group->Active());
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(DriverReentrancy, ActivatingAGroupAgainWhileTheGroupsAreStartedStopsItsTimer) {
  const TwoGroups groups(*plant);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
  // While the groups are started the status is still 2: the first group has its timer by then.
  std::size_t before = 0;
  Driver().during["SetGroupDefinition"] = [&] {
    if (groups.first->TimerId() < 0) return;
    before = plant->platform.TimersAlive();
    groups.first->PutActive(false);
    groups.first->PutActive(true);
    EXPECT_EQ(plant->platform.TimersAlive(), before - 1);
    Server().CloseCommunication();
  };
  Server().OpenCommunication();
  EXPECT_EQ(before, 2U);
  EXPECT_TRUE(groups.first->Active());
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

TEST_F(DriverReentrancy, AnActivationWhoseDefinitionClosesCommunicationLeavesNoTimerAlive) {
  plant->Configure();
  const std::shared_ptr<KELDataGroup> group = AddWords({"WO1"});
  Server().OpenCommunication();
  Driver().during["SetGroupDefinition"] = [this] { Server().CloseCommunication(); };
  group->PutActive(true);
  EXPECT_EQ(Server().ServerStatus(), 2);
  EXPECT_TRUE(group->Active());
  EXPECT_EQ(plant->platform.TimersAlive(), 0U);
}

// A client's whole round, one step after the other, until the server is let go.
void RunRound(Plant& plant, AnsweringDevice& device) {
  const auto step = [&](const std::function<void(KELDataServer&)>& run) {
    if (!plant.server) return;
    KELDataServer& server = *plant.server;
    ErrorNumberOf([&] { run(server); });
  };
  std::shared_ptr<KELDataGroup> group;
  std::int32_t id = 0;
  SafeArray<std::int32_t> handles{1, 2};
  SafeArray<Variant> values;
  SafeArray<std::int32_t> errors;
  step([](KELDataServer& server) { server.SetDriverConfigurationFile("drivers.ini"); });
  step([](KELDataServer& server) { server.PutDeviceType(2); });
  step([](KELDataServer& server) { server.LoadConfigurationFromFile("plant.cfg"); });
  for (const auto& property : std::vector<std::function<void(KELDataServer&)>>{
           [](KELDataServer& server) { server.MinorVersion(); },
           [](KELDataServer& server) { server.MajorVersion(); },
           [](KELDataServer& server) { server.Description(); },
           [](KELDataServer& server) { server.BootVersion(); },
           [](KELDataServer& server) { server.BootDate(); },
           [](KELDataServer& server) { server.FirmwareVersion(); },
           [](KELDataServer& server) { server.BoardDescription(); },
           [](KELDataServer& server) { server.BoardStatus(); },
           [](KELDataServer& server) { server.CommunicationStatus(); },
           [](KELDataServer& server) { server.WordIO(); }, [](KELDataServer& server) { server.PutWordIO(1); },
           [](KELDataServer& server) { server.Timeout(); }, [](KELDataServer& server) { server.PutTimeout(5); },
           [](KELDataServer& server) { server.ComPortNumber(); },
           [](KELDataServer& server) { server.PutComPortNumber(2); },
           [](KELDataServer& server) { server.ProjectName(); },
           [](KELDataServer& server) { server.PutProjectName("plant"); },
           [](KELDataServer& server) { server.BaudRate(); },
           [](KELDataServer& server) { server.PutBaudRate(9600); }})
    step(property);
  step([&](KELDataServer& server) { group = server.KELDataGroups()->Add("G"); });
  step([&](KELDataServer&) {
    group->KELDataItems()->Add("WO1");
    group->KELDataItems()->Add("WO2");
    group->PutSubscribed(true);
    group->PutUpdateRate(300);
    group->PutActive(true);
    plant.Watch(*group);
  });
  step([](KELDataServer& server) { server.SaveConfigurationToFile("saved.cfg"); });
  step([](KELDataServer& server) { server.DownloadFirmware("a.fw"); });
  step([](KELDataServer& server) { server.DownloadProject("a.obj"); });
  step([](KELDataServer& server) {
    server.PutAutoDownloadFirmware(true);
    server.PutAutoDownloadProject(true);
    server.OpenCommunication();
  });
  for (const bool wholeGroups : {false, true}) {
    plant.driver->groupTransfer = wholeGroups;
    device.image.assign(4, 0);
    step([&](KELDataServer&) { group->AsyncReadAll(id); });
    plant.Advance(500ms);
    step([&](KELDataServer&) { group->AsyncWriteAll(handles, {"1", "2"}, id); });
    plant.Advance(500ms);
    step([&](KELDataServer&) { group->SyncReadAll(handles, values, errors); });
    handles = {1, 2};
    step([&](KELDataServer&) { group->SyncWriteAll(handles, {"1", "2"}, errors); });
  }
  step([](KELDataServer& server) { server.CloseCommunication(); });
  plant.Advance(1s);
}

// Runs the round and lets the server go within the driver's call number `position`, counted from 0. The
// operations of the calls, in their order.
std::vector<std::string> RoundWithReleaseAt(std::size_t position, bool& released) {
  AnsweringDevice device;
  Plant plant;
  plant.files.PutFile(
      "plant.cfg",
      "[Communication Parameters]\r\nComPortNumber=1\r\nBaudRate=9600\r\nTimeout=5\r\nWordIO=1\r\n");
  ScriptedDriver& driver = *plant.driver;
  driver.projectName = "plant";
  driver.firmwareDownloadNeeded = driver.projectDownloadNeeded = true;
  device.Serve(plant);
  std::vector<std::string> operations;
  for (const char* name : {"SetEventSink",
                           "WriteItems",
                           "ReadItems",
                           "WriteGroup",
                           "ReadGroup",
                           "OpenCommunication",
                           "CloseCommunication",
                           "BootVersion",
                           "BootDate",
                           "FirmwareVersion",
                           "BoardDescription",
                           "BoardStatus",
                           "CommunicationStatus",
                           "DownloadFirmware",
                           "DownloadProject",
                           "BaudRate",
                           "PutBaudRate",
                           "SetConfigurationMode",
                           "SetGroupDefinition",
                           "GroupCapacity",
                           "PutNetworkType",
                           "MinorVersion",
                           "MajorVersion",
                           "Description",
                           "PutComPortNumber",
                           "ComPortNumber",
                           "ProjectName",
                           "PutProjectName",
                           "GroupTransfer",
                           "CheckVariable",
                           "PutWordIO",
                           "WordIO",
                           "PutTimeout",
                           "Timeout",
                           "FirmwareDownloadNeeded",
                           "ProjectDownloadNeeded",
                           "CreateDevice"}) {
    const std::function<void()> before = driver.during[name];
    driver.during[name] = [&, name, before] {
      if (operations.size() == position) plant.server.reset();
      operations.emplace_back(name);
      released = released || (!plant.server && operations.size() == position + 1);
      if (before) before();
    };
  }
  RunRound(plant, device);
  driver.during.clear();
  return operations;
}

TEST(DriverReleasesTheServer, WithinAnyCallOfAFullRoundNothingBreaksAndNothingStaysAlive) {
  const std::int64_t liveBefore = AutomationObject::LiveCount();
  bool never = false;
  const std::vector<std::string> round = RoundWithReleaseAt(SIZE_MAX, never);
  EXPECT_FALSE(never);
  EXPECT_EQ(AutomationObject::LiveCount(), liveBefore);
  EXPECT_EQ((std::set<std::string>(round.begin(), round.end()).size()), 37U) << "the round misses operations";
  for (std::size_t position = 0; position < round.size(); ++position) {
    SCOPED_TRACE(std::to_string(position) + " " + round[position]);
    bool released = false;
    const std::vector<std::string> calls = RoundWithReleaseAt(position, released);
    EXPECT_TRUE(released);
    ASSERT_GT(calls.size(), position);
    EXPECT_EQ(calls[position], round[position]);
    EXPECT_EQ(AutomationObject::LiveCount(), liveBefore);
  }
}

}  // namespace
}  // namespace orvo::testing
