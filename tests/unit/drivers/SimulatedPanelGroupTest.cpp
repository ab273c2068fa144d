// Whole groups, on the line of the panel. What they hold seen from a server: WholeGroupTest.cpp.
#include "PanelFixture.h"

#include <utility>

namespace orvo {
namespace {

using namespace std::chrono_literals;
using testing::FailureOf;
using testing::Log;
using testing::OpenPanelTest;

class PanelGroups : public OpenPanelTest {
 protected:
  PanelGroups() { panel->SetGroupDefinition(1, -1); }
  // The answer of a read of group 1 of two bytes, made now and waited for.
  Log AnswerOfGroupRead() {
    panel->ReadGroup(1, SafeArray<std::uint8_t>(2));
    platform.Advance(20ms);
    return TakeLog();
  }
};

TEST_F(PanelGroups, NumbersLieMostSignificantByteFirstInTheImage) {
  Write({{"BI256.0", std::int32_t{1}},
         {"BY259", std::int32_t{200}},
         {"WO260", std::int32_t{0x1234}},
         {"DW262", std::int32_t{0x01020304}},
         {"FL266", 1.5F},
         {"ST002702", Variant::OfBytes(std::array<std::uint8_t, 2>{65, 66})}});
  platform.Advance(20ms);
  panel->ReadGroup(1, SafeArray<std::uint8_t>(16));
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"WriteComplete 0 0 0 0 0 0",
                            "ReadGroupComplete UI1[0,1,0,200,18,52,1,2,3,4,63,192,0,0,65,66]=0"}));
}

TEST_F(PanelGroups, AWrittenImageIsReadItemByItem) {
  panel->WriteGroup(1, {0, 1, 0, 200, 0x12, 0x34, 1, 2, 3, 4, 63, 192, 0, 0, 65, 66});
  platform.Advance(20ms);
  EXPECT_EQ(AnswerOfRead({"BI256.0", "BY259", "WO260", "DW262", "FL266", "ST002702"}),
            (Log{"WriteGroupComplete 0",
                 "ReadComplete UI1[1,0]=0 UI1[200,0]=0 UI1[52,18]=0 UI1[4,3,2,1]=0 UI1[0,0,192,63]=0 "
                 "UI1[65,66]=0"}));
}

TEST_F(PanelGroups, ARequestIsAnsweredOnceAfterTheDelay) {
  panel->WriteGroup(1, {1, 2});
  EXPECT_TRUE(panel->IsOutstanding());
  platform.Advance(19ms);
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(panel->Memory().Word(256), 0);
  platform.Advance(1ms);
  EXPECT_EQ(TakeLog(), (Log{"WriteGroupComplete 0"}));
  EXPECT_FALSE(panel->IsOutstanding());
  panel->ReadGroup(1, SafeArray<std::uint8_t>(2));
  platform.Advance(10s);
  EXPECT_EQ(TakeLog(), (Log{"ReadGroupComplete UI1[1,2]=0"}));
  EXPECT_EQ(platform.TimersAlive(), 0U);
}

TEST_F(PanelGroups, AnEmptyImageIsAnsweredToo) {
  panel->WriteGroup(1, {});
  platform.Advance(20ms);
  panel->ReadGroup(1, {});
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"WriteGroupComplete 0", "ReadGroupComplete UI1[]=0"}));
}

TEST_F(PanelGroups, ARequestDuringWhichTheLinkWasCutIsLostAndTheNextOneIsNot) {
  panel->ReadGroup(1, {7, 8});
  panel->CutLink(true);
  panel->CutLink(false);
  platform.Advance(20ms);
  panel->WriteGroup(1, {7, 8});
  panel->CutLink(true);
  panel->CutLink(false);
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadGroupComplete UI1[7,8]=5", "WriteGroupComplete 5"}));
  EXPECT_EQ(AnswerOfGroupRead(), (Log{"ReadGroupComplete UI1[0,0]=0"}));
}

TEST_F(PanelGroups, ClosingAnswersOnceAndTheDefinitionStays) {
  panel->ReadGroup(1, {7, 8});
  panel->CloseCommunication();
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadGroupComplete UI1[7,8]=5"}));
  panel->OpenCommunication(true);
  EXPECT_EQ(AnswerOfGroupRead(), (Log{"ReadGroupComplete UI1[0,0]=0"}));
}

TEST_F(PanelGroups, ARefusedRequestIsNotAnsweredAndTheNextOneIsTaken) {
  panel->Faults().FailNext(PanelOperation::ReadGroup, 3, "no carrier");
  panel->Faults().FailNext(PanelOperation::WriteGroup, 4, "noise");
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(1, {0}); }), "3:no carrier");
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(1, {9}); }), "4:noise");
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(AnswerOfGroupRead(), (Log{"ReadGroupComplete UI1[0,0]=0"}));
}

TEST_F(PanelGroups, SignalsMoveBeforeAnImageIsWritten) {
  PanelOptions options;
  options.signals = {{PanelSignalKind::Counter, "WO256", 1, 1, 10},
                     {PanelSignalKind::Counter, "WO258", 2, 2, 10}};
  Remake(options);
  panel->OpenCommunication(true);
  panel->SetGroupDefinition(1, -1);
  panel->WriteGroup(1, {0x12, 0x34});
  platform.Advance(20ms);
  EXPECT_EQ(panel->Memory().Word(256), 0x1234);
  EXPECT_EQ(panel->Memory().Word(258), 2);
  TakeLog();
  EXPECT_EQ(AnswerOfGroupRead(), (Log{"ReadGroupComplete UI1[0,1]=0"}));
}

}  // namespace
}  // namespace orvo
