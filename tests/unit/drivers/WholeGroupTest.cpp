// A server and the simulated panel in virtual time: what whole groups hold, against the same items one by one.
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "server/KELDataServer.h"
#include "simulated/SimulatedPanel.h"
#include "support/EventLog.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orvo {
namespace {

using namespace std::chrono_literals;
using testing::GroupEventLog;
using testing::Log;
using testing::LogText;

// The image of group 127 begins here; block 0 of the raw bytes lies 256 bytes further on, so this is the one
// group in whose image an item of each kind has the same place as on its own.
constexpr std::int32_t ImageGroup = 127;
constexpr std::int32_t ImageStart = 127 * 256;
constexpr std::int32_t ImageBytes = 256 + 6;

struct PlacedItem {
  const char* identifier;
  std::int32_t offset;
};
const std::vector<PlacedItem> EachKind{
    {"BI32512.0", 0}, {"BY32515", 2},   {"WO32516", 4}, {"DW32518", 6},
    {"FL32522", 10},  {"ST325266", 14}, {"RA006", 256},
};

class WholeGroup : public ::testing::Test {
 protected:
  void TearDown() override {
    group.reset();
    server.reset();
    panel.reset();
    EXPECT_EQ(AutomationObject::LiveCount(), before_);
    EXPECT_EQ(platform.TimersAlive(), 0U);
  }
  void Start(std::vector<PanelSignal> signals = {}) {
    PanelOptions options;
    options.groupTransfer = true;
    options.signals = std::move(signals);
    files.PutFile("drivers.ini", "[Drivers]\nDataCommunication=SimulatedPanel.Channel\n1=PanelA\n");
    RegisterSimulatedPanel(drivers, options, [this](auto made) { panel = made; });
    server = KELDataServer::Create({platform, files, drivers});
    server->SetDriverConfigurationFile("drivers.ini");
    server->PutDeviceType(1);
    group = server->KELDataGroups()->Add();
    group->SetGroupId(ImageGroup);
    group->PutSubscribed(true);
    group->Events().Advise(std::make_shared<GroupEventLog>(events));
  }
  void Add(const std::vector<PlacedItem>& items) {
    for (const PlacedItem& placed : items)
      group->KELDataItems()->Add(placed.identifier)->SetItemGroupBufferOffset(placed.offset);
    group->SetCompiledBufferDimension(ImageBytes);
  }
  // "[values] [errors]" of a read of all items.
  std::string ReadAll() {
    SafeArray<std::int32_t> handles;
    SafeArray<Variant> values;
    SafeArray<std::int32_t> errors;
    group->SyncReadAll(handles, values, errors);
    return LogText(values) + ' ' + LogText(errors);
  }
  std::string WriteAll(const SafeArray<std::int32_t>& handles, const SafeArray<Variant>& values) {
    SafeArray<std::int32_t> errors;
    group->SyncWriteAll(handles, values, errors);
    return LogText(errors);
  }
  // "[values]" that the items hold.
  std::string Held() {
    SafeArray<Variant> values;
    for (std::int32_t handle = 1; handle <= group->KELDataItems()->Count(); ++handle)
      values.Append(group->KELDataItems()->Item(handle)->USERValue());
    return LogText(values);
  }
  std::vector<int> Image(std::int32_t offset, std::int32_t count) {
    const auto bytes = panel->Memory().Bytes(ImageStart + offset, count);
    return {bytes.begin(), bytes.end()};
  }

  SimulatedPlatform platform;
  MemoryFiles files;
  DriverRegistry drivers;
  std::shared_ptr<SimulatedPanel> panel;
  std::shared_ptr<KELDataServer> server;
  std::shared_ptr<KELDataGroup> group;
  Log events;

 private:
  const std::int64_t before_ = AutomationObject::LiveCount();
};

const SafeArray<std::int32_t> AllHandles{1, 2, 3, 4, 5, 6, 7};

SafeArray<Variant> ValueOfEachKind() {
  return {std::int32_t{1},
          std::int32_t{200},
          std::int32_t{0xFEDC},
          4023233417.0,  // EFCDAB89
          1.5F,
          "abc",
          Variant::OfBytes(std::array<std::uint8_t, 6>{9, 8, 7, 6, 5, 4})};
}

TEST_F(WholeGroup, WhatWasWrittenIsReadBack) {
  Start();
  Add(EachKind);
  server->OpenCommunication();
  EXPECT_EQ(WriteAll(AllHandles, ValueOfEachKind()), "[0,0,0,0,0,0,0]");
  const std::string values = "[I2:1,I2:200,R8:65244,R8:4023233417,R4:1.5,String:\"abc   \",UI1[9,8,7,6,5,4]]";
  EXPECT_EQ(Held(), values);
  EXPECT_EQ(Image(0, 20), (std::vector<int>{0,    1,    0, 200, 0xFE, 0xDC, 0xEF, 0xCD, 0xAB, 0x89,
                                            0x3F, 0xC0, 0, 0,   'a',  'b',  'c',  ' ',  ' ',  ' '}));
  EXPECT_EQ(ReadAll(), values + " [0,0,0,0,0,0,0]");
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::WriteGroup), 1);
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::ReadGroup), 1);
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::ReadItems), 0);
}

TEST_F(WholeGroup, ItsItemsHaveTheSameClientValuesOneByOne) {
  Start();
  Add(EachKind);
  server->OpenCommunication();
  const std::string values =
      "[I2:1,I2:200,R8:65244,R8:4023233417,R4:1.5,String:\"abc   \",UI1[9,8,7,6,5,4]] [0,0,0,0,0,0,0]";
  WriteAll(AllHandles, ValueOfEachKind());
  panel->Options().groupTransfer = false;
  EXPECT_EQ(ReadAll(), values);
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::ReadItems), 1);

  // and the other way: written one by one over zeros, read as a whole
  panel->Memory().PutBytes(ImageStart, std::vector<std::uint8_t>(ImageBytes));
  EXPECT_EQ(WriteAll(AllHandles, ValueOfEachKind()), "[0,0,0,0,0,0,0]");
  panel->Options().groupTransfer = true;
  EXPECT_EQ(ReadAll(), values);
}

TEST_F(WholeGroup, EveryBitAndEitherByteTakesAWordOfItsOwn) {
  Start();
  Add({{"BI100.3", 0}, {"BI100.15", 2}, {"BY100", 4}, {"BY101", 6}});
  server->OpenCommunication();
  EXPECT_EQ(WriteAll({1, 2, 3, 4}, {std::int32_t{1}, std::int32_t{1}, std::int32_t{5}, std::int32_t{255}}),
            "[0,0,0,0]");
  EXPECT_EQ(Held(), "[I2:1,I2:1,I2:5,I2:255]");
  EXPECT_EQ(Image(0, 8), (std::vector<int>{0, 1, 0, 1, 0, 5, 0, 255}));
  EXPECT_EQ(ReadAll(), "[I2:1,I2:1,I2:5,I2:255] [0,0,0,0]");
  EXPECT_EQ(WriteAll({2}, {std::int32_t{0}}), "[0]");
  EXPECT_EQ(Held(), "[I2:1,I2:0,I2:5,I2:255]");
}

TEST_F(WholeGroup, AMovingWordIsTheSameAsOneByOne) {
  Start({{PanelSignalKind::Counter, "WO32516", 0x1230, 0x1300, 1000}});
  Add({{"WO32516", 4}});
  server->OpenCommunication();
  platform.Advance(7s);
  EXPECT_EQ(ReadAll(), "[R8:4663] [0]");
  panel->Options().groupTransfer = false;
  EXPECT_EQ(ReadAll(), "[I2:4663] [0]");
}

TEST_F(WholeGroup, ARefreshReportsWhatMoved) {
  Start({{PanelSignalKind::Square, "WO32516", 0x1234, 0x4321, 4000},
         {PanelSignalKind::Square, "BI32512.0", 0, 1, 8000}});
  Add(EachKind);
  group->PutUpdateRate(500);
  group->PutActive(true);
  server->OpenCommunication();
  platform.Advance(4500ms);
  EXPECT_EQ(events, (Log{"DataChange [1,2,3,4,5,6,7] "
                         "[I2:0,I2:0,R8:4660,R8:0,R4:0,String:\"\",UI1[0,0,0,0,0,0]]",
                         "DataChange [3] [R8:17185]", "DataChange [1,3] [I2:1,R8:4660]"}));
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::ReadItems), 0);
}

TEST_F(WholeGroup, AsynchronousRequestsAreAnsweredOnce) {
  Start();
  Add({{"WO32516", 4}});
  server->OpenCommunication();
  std::int32_t transaction = 0;
  group->AsyncWriteAll({1}, {std::int32_t{0x1234}}, transaction);
  group->AsyncReadAll(transaction);
  platform.Advance(10s);
  EXPECT_EQ(events, (Log{"AsyncWriteAllComplete 1 [1] [0]", "AsyncReadAllComplete 2 [1] [R8:4660] [0]"}));
}

TEST_F(WholeGroup, ACutLinkIsTheErrorOfEveryItemAndChangesNothing) {
  Start();
  Add({{"BI32512.0", 0}, {"WO32516", 4}});
  server->OpenCommunication();
  WriteAll({1, 2}, {std::int32_t{1}, std::int32_t{0x1234}});
  panel->CutLink(true);
  EXPECT_EQ(ReadAll(), "[Empty,Empty] [5,5]");
  EXPECT_EQ(WriteAll({1, 2}, {std::int32_t{0}, std::int32_t{7}}), "[5,5]");
  EXPECT_EQ(Held(), "[I2:1,R8:4660]");
  EXPECT_EQ(Image(0, 6), (std::vector<int>{0, 1, 0, 0, 0x12, 0x34}));
  panel->CutLink(false);
  EXPECT_EQ(ReadAll(), "[I2:1,R8:4660] [0,0]");
}

TEST_F(WholeGroup, ARefusedRequestNeverReachedTheDeviceAndTheNextOneIsTaken) {
  Start();
  Add({{"WO32516", 4}});
  server->OpenCommunication();
  panel->Memory().PutWord(32516, 7);
  panel->Faults().FailNext(PanelOperation::ReadGroup, 3, "no carrier");
  panel->Faults().FailNext(PanelOperation::WriteGroup, 4, "noise");
  EXPECT_EQ(ReadAll(), "[Empty] [99]");
  EXPECT_EQ(WriteAll({1}, {std::int32_t{8}}), "[99]");
  EXPECT_EQ(panel->Memory().Word(32516), 7);
  EXPECT_EQ(ReadAll(), "[R8:7] [0]");
}

TEST_F(WholeGroup, ARequestThatClosingEndedIsReportedOnceAfterReopening) {
  Start();
  Add({{"WO32516", 4}});
  server->OpenCommunication();
  std::int32_t transaction = 0;
  group->AsyncReadAll(transaction);
  platform.Advance(60ms);  // the spooler sends every 50 ms, the panel answers after 20
  ASSERT_TRUE(panel->IsOutstanding());
  server->CloseCommunication();
  platform.Advance(1s);
  EXPECT_FALSE(panel->IsOutstanding());
  EXPECT_EQ(events, Log{});
  server->OpenCommunication();
  EXPECT_EQ(ReadAll(), "[R8:0] [0]");
  platform.Advance(1s);
  EXPECT_EQ(events, (Log{"AsyncReadAllComplete 1 [1] [Empty] [5]"}));
}

}  // namespace
}  // namespace orvo
