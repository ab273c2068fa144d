// A server and the simulated panel: direct, behind exporter and importer by slot, and by name. Everything that
// a client sees must be the same, step by step.

#include "boundary/Scene.h"
#include "boundary/drivers/OnlyDispatch.h"
#include "com/DriverExport.h"
#include "com/DriverImport.h"
#include "server/KELDataServer.h"
#include "support/EventLog.h"
#include "unit/drivers/PanelFixture.h"

#include <gtest/gtest.h>

namespace orvo::testing {

namespace {

enum class Path { Direct, Slot, Name };

std::shared_ptr<CommunicationDriver> Behind(Path way, const std::shared_ptr<SimulatedPanel>& panel) {
  if (way == Path::Direct) return panel;
  const ComPtr<::ICommunicationDriver> driver(new com::DriverExport(panel, "SimulatedPanel.Channel"));
  if (way == Path::Slot) return com::ImportDriver(driver.Query<IUnknown>());
  return com::ImportDriver(
      ComPtr<IUnknown>(static_cast<IUnknown*>(new OnlyDispatch(driver.Query<IDispatch>()))));
}

// One server with one panel, and a log of what its client sees.
class Story {
 public:
  Story(Path way, PanelOptions options = {}) {
    scene.Files().PutFile("drivers.ini",
                          "[Drivers]\nDataCommunication=Panel.Behind\nNetworkType=3\n2=PanelB\n7=PanelX\n");
    drivers.Register("Panel.Behind", [this, way, options](DriverHost host) {
      auto made = SimulatedPanel::Make(host, options);
      panel = made;
      return Behind(way, made);
    });
    server = orvo::KELDataServer::Create({scene.Platform(), scene.Files(), drivers});
    server->Events().Advise(std::make_shared<ServerEventLog>(log));
    server->SetDriverConfigurationFile("drivers.ini");
    server->PutDeviceType(2);
  }
  ~Story() { server.reset(); }

  std::shared_ptr<orvo::KELDataGroup> AddGroup() {
    auto group = server->KELDataGroups()->Add();
    for (const char* itemId : {"BI100.3", "BY103", "WO104", "DW108", "FL112", "ST0020010", "RA036"})
      group->KELDataItems()->Add(itemId);
    group->Events().Advise(std::make_shared<GroupEventLog>(log));
    return group;
  }
  void Note(const std::string& line) { log.push_back(line); }
  // Notes what the call failed with.
  void Try(const std::string& what, const std::function<void()>& call) { Note(what + ' ' + FailureOf(call)); }
  void Read(orvo::KELDataGroup& group) {
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    Try("SyncRead", [&] { group.SyncRead({1, 2, 3, 4, 5, 6, 7}, values, errors); });
    Note(LogText(values) + ' ' + LogText(errors));
  }

  Scene scene;
  DriverRegistry drivers;
  std::weak_ptr<SimulatedPanel> panel;
  std::shared_ptr<orvo::KELDataServer> server;
  Log log;
};

class PanelRoundTrip : public ::testing::TestWithParam<Path> {
 protected:
  // Runs the story direct and this way; the logs must be equal.
  void Compare(const std::function<void(Story&)>& tell, PanelOptions options = {}) {
    const Log expected = Told(Path::Direct, tell, options);
    EXPECT_EQ(Told(GetParam(), tell, options), expected);
    EXPECT_FALSE(expected.empty());
    EXPECT_EQ(com::ModuleCount::Value(), 0);
    EXPECT_EQ(AutomationObject::LiveCount(), 0);
  }

 private:
  static Log Told(Path way, const std::function<void(Story&)>& tell, const PanelOptions& options) {
    Story story(way, options);
    tell(story);
    return story.log;
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, PanelRoundTrip, ::testing::Values(Path::Slot, Path::Name),
                         [](const auto& way) { return way.param == Path::Slot ? "Slot" : "Name"; });

TEST_P(PanelRoundTrip, Properties) {
  Compare([](Story& story) {
    orvo::KELDataServer& server = *story.server;
    const auto note = [&](const std::string& name, const Variant& value) {
      story.Note(name + ' ' + LogText(value));
    };
    story.Try("ComPortNumber", [&] { server.PutComPortNumber(7); });
    story.Try("ComPortNumber", [&] { server.PutComPortNumber(700); });
    story.Try("BaudRate", [&] { server.PutBaudRate(19200); });
    story.Try("BaudRate", [&] { server.PutBaudRate(5); });
    story.Try("Timeout", [&] { server.PutTimeout(-1); });
    story.Try("Timeout", [&] { server.PutTimeout(250); });
    story.Try("WordIO", [&] { server.PutWordIO(3); });
    story.Try("ProjectName", [&] { server.PutProjectName("Plant \xC3\xA9.prj"); });
    story.Try("DeviceType", [&] { server.PutDeviceType(7); });
    for (int round = 0; round < 2; ++round) {
      note("port", server.ComPortNumber());
      note("baud", server.BaudRate());
      note("timeout", server.Timeout());
      note("wordIO", server.WordIO());
      note("project", server.ProjectName());
      note("boot", server.BootVersion());
      note("bootDate", server.BootDate());
      note("firmware", server.FirmwareVersion());
      note("board", server.BoardDescription());
      note("boardStatus", server.BoardStatus());
      note("line", server.CommunicationStatus());
      note("status", server.ServerStatus());
      story.Try("DeviceType", [&] { server.PutDeviceType(2); });
      server.OpenCommunication();
      story.Try("BaudRate", [&] { server.PutBaudRate(9600); });
    }
  });
}

TEST_P(PanelRoundTrip, ItemsOfEveryKindAreReadAndWritten) {
  Compare([](Story& story) {
    const auto group = story.AddGroup();
    story.Try("Add", [&] { group->KELDataItems()->Add("XX1"); });
    story.Try("Add", [&] { group->KELDataItems()->Add("WO99999999"); });
    story.server->OpenCommunication();
    story.Read(*group);
    SafeArray<std::int32_t> errors;
    story.Try("SyncWrite", [&] {
      group->SyncWrite({1, 2, 3, 4, 5, 6, 7},
                       {std::int16_t{1}, std::int32_t{200}, std::int32_t{40000}, 70000.0, 1.5,
                        Variant("\xC3\x84 b"), SafeArray<std::uint8_t>({1, 2, 3, 4, 5, 6})},
                       errors);
    });
    story.Note(LogText(errors));
    EXPECT_EQ(LogText(errors), "[0,0,0,0,0,0,0]");
    story.Read(*group);
    story.panel.lock()->PutItemFault("WO104", 7);
    story.panel.lock()->PutItemFault("FL112", 10);
    story.Read(*group);
    for (std::int32_t handle = 1; handle <= 7; ++handle) {
      const auto item = group->KELDataItems()->Item(handle);
      Variant value;
      std::int32_t error = 0;
      story.Try("item " + std::to_string(handle), [&] { item->SyncRead(value, error); });
      story.Note(LogText(value) + ' ' + std::to_string(error));
    }
  });
}

TEST_P(PanelRoundTrip, AsynchronousRequestsAndChanges) {
  Compare([](Story& story) {
    const auto group = story.AddGroup();
    group->PutUpdateRate(500);
    group->PutSubscribed(true);
    group->PutActive(true);
    story.server->OpenCommunication();
    for (int step = 0; step < 8; ++step) {
      std::int32_t transaction = 0;
      story.Try("AsyncWrite", [&] { group->AsyncWrite({3}, {std::int32_t{step}}, transaction); });
      story.Try("AsyncRead", [&] { group->AsyncRead({3, 6}, transaction); });
      story.Note(std::to_string(transaction));
      story.scene.Advance(300ms);
      if (step == 3) story.panel.lock()->CutLink(true);
      if (step == 5) story.panel.lock()->CutLink(false);
    }
  });
}

TEST_P(PanelRoundTrip, WholeGroups) {
  PanelOptions options;
  options.groupTransfer = true;
  Compare(
      [](Story& story) {
        const auto group = story.AddGroup();
        group->PutUpdateRate(500);
        group->PutSubscribed(true);
        group->PutActive(true);
        story.server->OpenCommunication();
        story.scene.Advance(2s);
        SafeArray<std::int32_t> handles;
        SafeArray<Variant> values;
        SafeArray<std::int32_t> errors;
        std::int32_t transaction = 0;
        story.Try("SyncReadAll", [&] { group->SyncReadAll(handles, values, errors); });
        story.Note(LogText(values) + ' ' + LogText(errors));
        story.Try("SyncWriteAll", [&] {
          group->SyncWriteAll({1, 2, 3, 4, 5, 6, 7},
                              {std::int16_t{1}, std::int32_t{20}, std::int32_t{40000}, 70000.0, 2.5,
                               Variant("block"), SafeArray<std::uint8_t>({9, 8, 7, 6, 5, 4})},
                              errors);
        });
        story.Note(LogText(errors));
        EXPECT_EQ(LogText(errors), "[0,0,0,0,0,0,0]");
        story.Try("AsyncReadAll", [&] { group->AsyncReadAll(transaction); });
        story.scene.Advance(2s);
        story.panel.lock()->CutLink(true);
        story.Try("SyncReadAll", [&] { group->SyncReadAll(handles, values, errors); });
        story.Note(LogText(errors));
      },
      options);
}

TEST_P(PanelRoundTrip, Downloads) {
  Compare([](Story& story) {
    story.scene.Files().PutFile("plant.fw", std::string(2500, 'f'));
    story.scene.Files().PutFile("plant.obj", std::string(1500, 'p'));
    story.server->PutProjectName("plant.prj");
    story.server->PutAutoDownloadFirmware(true);
    story.server->PutAutoDownloadProject(true);
    story.panel.lock()->FailDownloadAtBlock(2);
    story.server->OpenCommunication();
    story.server->CloseCommunication();
    story.server->OpenCommunication();
    story.Note(LogText(Variant(story.panel.lock()->ProjectDownloadNeeded())));
  });
}

TEST_P(PanelRoundTrip, AnotherDriverRightAfterClosingDuringARequest) {
  Compare([](Story& story) {
    const auto group = story.AddGroup();
    std::int32_t transaction = 0;
    story.server->OpenCommunication();
    story.Try("AsyncRead", [&] { group->AsyncRead({1}, transaction); });
    for (int step = 0; step < 1000 && !story.panel.lock()->IsOutstanding(); ++step)
      story.scene.Advance(10ms);
    story.Note(story.panel.lock()->IsOutstanding() ? "outstanding" : "not outstanding");
    const std::weak_ptr<SimulatedPanel> former = story.panel;
    story.server->CloseCommunication();
    story.server->SetDriverConfigurationFile("drivers.ini");
    story.server->PutDeviceType(2);
    story.server->OpenCommunication();
    story.scene.Advance(1s);
    story.Note(former.expired() ? "the former panel has ended" : "the former panel is alive");
    story.Read(*group);
  });
}

TEST_P(PanelRoundTrip, TheEndDuringARequest) {
  Compare([](Story& story) {
    const auto group = story.AddGroup();
    std::int32_t transaction = 0;
    story.server->OpenCommunication();
    story.Try("AsyncRead", [&] { group->AsyncRead({1}, transaction); });
    for (int step = 0; step < 1000 && !story.panel.lock()->IsOutstanding(); ++step)
      story.scene.Advance(10ms);
    story.server.reset();
    story.scene.Advance(5s);
    story.Note(story.panel.expired() ? "the panel has ended" : "the panel is alive");
  });
}

}  // namespace

}  // namespace orvo::testing
