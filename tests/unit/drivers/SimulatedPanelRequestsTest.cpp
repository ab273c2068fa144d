#include "PanelFixture.h"

#include <array>

namespace orvo {
namespace {

using namespace std::chrono_literals;
using testing::FailureOf;
using testing::Log;
using testing::OpenPanelTest;
using testing::PanelTest;

class PanelRequests : public OpenPanelTest {};

TEST_F(PanelRequests, AReadIsAnsweredOnceAfterTheDelay) {
  panel->Memory().PutWord(100, 0x1234);
  Read({"WO100", "BY101"});
  EXPECT_TRUE(panel->IsOutstanding());
  platform.Advance(19ms);
  EXPECT_EQ(TakeLog(), Log{});
  platform.Advance(1ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[52,18]=0 UI1[52,18]=0"}));
  EXPECT_FALSE(panel->IsOutstanding());
  EXPECT_EQ(platform.TimersAlive(), 0U);
  platform.Advance(10s);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelRequests, EachKindOfItemIsReadAndWritten) {
  const auto bytes = [](std::initializer_list<std::uint8_t> list) {
    return Variant(SafeArray<std::uint8_t>(list));
  };
  Write({{"BI100.3", std::int32_t{1}},
         {"BY103", std::int32_t{200}},
         {"WO104", std::int32_t{-2}},
         {"DW106", 4294967295.0},
         {"FL110", 1.5F},
         {"ST002003", bytes({65, 66, 67, 32})},
         {"RA014", bytes({1, 2, 3, 4})}});
  platform.Advance(20ms);
  EXPECT_EQ(AnswerOfRead({"BI100.3", "BY103", "WO104", "DW106", "FL110", "ST002003", "RA014"}),
            (Log{"WriteComplete 0 0 0 0 0 0 0",
                 "ReadComplete UI1[8,0]=0 UI1[200,0]=0 UI1[254,255]=0 UI1[255,255,255,255]=0 UI1[0,0,192,63]=0 "
                 "UI1[65,66,67,32]=0 UI1[1,2,3,4]=0"}));
}

TEST_F(PanelRequests, AnEmptyListIsAnsweredToo) {
  Read({});
  platform.Advance(20ms);
  Write({});
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete", "WriteComplete"}));
}

TEST_F(PanelRequests, MemoryIsReadAndChangedAtTheAnswer) {
  Read({"WO100"});
  panel->Memory().PutWord(100, 7);
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[7,0]=0"}));
  Write({{"WO100", std::int32_t{8}}});
  platform.Advance(19ms);
  EXPECT_EQ(panel->Memory().Word(100), 7);
  platform.Advance(1ms);
  EXPECT_EQ(panel->Memory().Word(100), 8);
}

TEST_F(PanelRequests, WithoutDelayTheNextPassAnswersNotTheCall) {
  panel->Options().completionDelay = 0ms;
  Read({"WO100"});
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(platform.TimersAlive(), 0U);
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[0,0]=0"}));
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelRequests, AWrongAddressOrDimensionIsAnErrorOfItsItemOnly) {
  panel->ReadItems({0.0, Compiled("WO100"), Compiled("WO100"), Compiled("WO65534"), Compiled("WO100") + 0.5},
                   {1, 1, 0, 2, 1});
  platform.Advance(20ms);
  panel->WriteItems({0.0, Compiled("WO100"), Compiled("WO102"), Compiled("WO104")}, {1, 1, 0, 1},
                    {std::int32_t{1}, "text", std::int32_t{3}, std::int32_t{4}});
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(),
            (Log{"ReadComplete Empty=10 UI1[0,0]=0 Empty=10 Empty=10 Empty=10", "WriteComplete 10 10 10 0"}));
  EXPECT_EQ(panel->Memory().DoubleWord(100), 0U);
  EXPECT_EQ(panel->Memory().Word(104), 4);
}

TEST_F(PanelRequests, ASecondRequestIsRefusedUntilTheFirstIsAnswered) {
  Read({"WO100"});
  const std::string busy = "1:The previous request is not answered yet";
  panel->SetGroupDefinition(1, -1);
  EXPECT_EQ(FailureOf([&] { Read({"WO102"}); }), busy);
  EXPECT_EQ(FailureOf([&] { Write({{"WO102", std::int32_t{1}}}); }), busy);
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(1, {}); }), busy);
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(1, {}); }), busy);
  platform.Advance(100ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(AnswerOfRead({"WO102"}), (Log{"ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelRequests, ArraysOfDifferentLengthsAreRefused) {
  const double word = Compiled("WO100");
  EXPECT_EQ(FailureOf([&] { panel->ReadItems({word}, {1, 1}); }), "10:1 addresses come with 2 dimensions");
  EXPECT_EQ(FailureOf([&] { panel->WriteItems({word}, SafeArray<std::int16_t>(), {Variant()}); }),
            "10:1 addresses come with 0 dimensions");
  EXPECT_EQ(FailureOf([&] {
              panel->WriteItems({word, word}, {1, 1}, {Variant()});
            }),
            "10:2 addresses come with 1 values");
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelTest, AClosedPanelOrOneWithoutSinkRefusesRequests) {
  const std::string closed = "2:Communication is closed";
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), closed);
  EXPECT_EQ(FailureOf([&] { Write({{"WO100", Variant()}}); }), closed);
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(1, {}); }), closed);
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(1, {}); }), closed);
  panel->OpenCommunication(true);
  panel->SetEventSink(nullptr);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "2:There is no event sink to answer to");
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelRequests, TheHandlerOfAnAnswerMaySendTheNextRequest) {
  int left = 2;
  sink->onLine = [&](const std::string&) {
    if (left-- > 0) Read({"WO100"});
  };
  Read({"WO100"});
  platform.Advance(60ms);
  const std::string answer = "ReadComplete UI1[0,0]=0";
  EXPECT_EQ(TakeLog(), (Log{answer, answer, answer}));
}

TEST_F(PanelRequests, AHandlerThatFailsIsCountedAndTheRequestStaysAnswered) {
  sink->onLine = [](const std::string&) { throw AutomationError(91, "gone"); };
  Read({"WO100"});
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(panel->FailedCallbacks(), 1);
  EXPECT_FALSE(panel->IsOutstanding());
}

TEST_F(PanelRequests, ALateTickOfTheTimerAnswersNothing) {
  int timer = 0;
  for (int id = 1; id < 1000 && timer == 0; ++id)
    if (platform.DeliverLateTick(id)) timer = id;
  ASSERT_EQ(timer, 0) << "a timer was killed before the test";
  Read({"WO100"});
  platform.Advance(20ms);
  TakeLog();
  Read({"WO102"});
  for (int id = 1; id < 1000 && timer == 0; ++id)
    if (platform.DeliverLateTick(id)) timer = id;
  ASSERT_NE(timer, 0);
  EXPECT_EQ(TakeLog(), Log{});
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[0,0]=0"}));
}

// --- The end of communication, of the link, of the driver

TEST_F(PanelRequests, ClosingAnswersTheOutstandingRequestWithTheNextPass) {
  panel->Memory().PutWord(100, 7);
  Read({"WO100", "WO102"});
  panel->CloseCommunication();
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(platform.TimersAlive(), 0U);
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5 Empty=5"}));
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelRequests, ClosingAnswersEveryKindOfRequestAndChangesNoMemory) {
  panel->SetGroupDefinition(0, -1);
  const auto closed = [&](const std::function<void()>& request) {
    panel->OpenCommunication(true);
    request();
    panel->CloseCommunication();
    platform.PumpOnce();
    return TakeLog();
  };
  EXPECT_EQ(closed([&] { Write({{"WO0", std::int32_t{7}}}); }), (Log{"WriteComplete 5"}));
  EXPECT_EQ(closed([&] { panel->WriteGroup(0, {1, 2}); }), (Log{"WriteGroupComplete 5"}));
  EXPECT_EQ(panel->Memory().Word(0), 0);
  panel->Memory().PutWord(0, 7);
  EXPECT_EQ(closed([&] { panel->ReadGroup(0, {1, 2}); }), (Log{"ReadGroupComplete UI1[1,2]=5"}));
}

TEST_F(PanelRequests, ARequestWithoutDelayIsAnsweredOnceAlsoWhenCommunicationCloses) {
  panel->Options().completionDelay = 0ms;
  Read({"WO100"});
  panel->CloseCommunication();
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5"}));
}

TEST_F(PanelRequests, AClosedRequestStaysOutstandingUntilItsAnswer) {
  Read({"WO100"});
  panel->CloseCommunication();
  panel->OpenCommunication(true);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "1:The previous request is not answered yet");
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5"}));
  EXPECT_EQ(AnswerOfRead({"WO100"}), (Log{"ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelRequests, ClosingTwiceAnswersOnce) {
  Read({"WO100"});
  panel->CloseCommunication();
  panel->CloseCommunication();
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5"}));
}

TEST_F(PanelRequests, TheEndOfTheDriverLeavesNothingBehind) {
  Read({"WO100"});
  panel.reset();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(PanelRequests, AfterClosingTheAnswerComesAlsoWhenTheDriverIsReleasedAndThenThePanelIsGone) {
  Read({"WO100"});
  const std::weak_ptr<SimulatedPanel> released = panel;
  panel->CloseCommunication();
  panel.reset();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(TakeLog(), Log{});
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5"}));
  EXPECT_TRUE(released.expired());
  EXPECT_EQ(sink.use_count(), 1);
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelRequests, ARequestThatClosingTwiceEndedLeavesTheNextOneAlone) {
  Read({"WO100"});
  panel->CloseCommunication();
  panel->OpenCommunication(true);
  panel->CloseCommunication();
  panel->OpenCommunication(true);
  sink->onLine = [&](const std::string&) {
    sink->onLine = {};
    Read({"WO102"});
  };
  platform.PumpOnce();
  const std::weak_ptr<SimulatedPanel> released = panel;
  panel.reset();
  EXPECT_TRUE(released.expired());
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5"}));
}

TEST_F(PanelRequests, TheHandlerOfAnAnswerMayLetGoOfTheDriver) {
  sink->onLine = [&](const std::string&) { panel.reset(); };
  Read({"WO100"});
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(PanelRequests, ACutLinkAnswersEveryRequestWithError5) {
  panel->SetGroupDefinition(0, -1);
  panel->CutLink(true);
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkCut);
  Read({"WO0", "WO2"});
  platform.Advance(19ms);
  EXPECT_EQ(TakeLog(), Log{});
  platform.Advance(1ms);
  Write({{"WO0", std::int32_t{1}}});
  platform.Advance(20ms);
  panel->ReadGroup(0, {9});
  platform.Advance(20ms);
  panel->WriteGroup(0, {9});
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5 Empty=5", "WriteComplete 5", "ReadGroupComplete UI1[9]=5",
                            "WriteGroupComplete 5"}));
  EXPECT_EQ(panel->Memory().Word(0), 0);
  panel->CutLink(false);
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkOpen);
  EXPECT_EQ(AnswerOfRead({"WO0"}), (Log{"ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelRequests, ARequestDuringWhichTheLinkWasCutIsLost) {
  Read({"WO100"});
  panel->CutLink(true);
  panel->CutLink(false);
  platform.Advance(20ms);
  panel->CutLink(true);
  Read({"WO100"});
  panel->CutLink(false);
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadComplete Empty=5", "ReadComplete Empty=5"}));
}

// --- Scripted faults

TEST_F(PanelRequests, AnItemFaultAnswersForItsItemUntilTakenBack) {
  panel->PutItemFault("WO100", 7);
  panel->PutItemFault("BI100.1", -5);
  Write({{"WO100", std::int32_t{1}}, {"BY100", std::int32_t{2}}, {"WO102", std::int32_t{3}}});
  platform.Advance(20ms);
  EXPECT_EQ(AnswerOfRead({"WO100", "BY100", "BI100.1", "BI100.2", "WO102"}),
            (Log{"WriteComplete 7 0 0", "ReadComplete Empty=7 UI1[0,2]=0 Empty=-5 UI1[0,2]=0 UI1[3,0]=0"}));
  panel->PutItemFault("WO100", 0);
  EXPECT_EQ(AnswerOfRead({"WO100", "BI100.1"}), (Log{"ReadComplete UI1[0,2]=0 Empty=-5"}));
  EXPECT_EQ(FailureOf([&] { panel->PutItemFault("WO1", 7); }),
            "10:Item identifier 'WO1': the address 1 is odd, it must be even; write it like WO100");
}

TEST_F(PanelRequests, ARefusedRequestIsNotAnsweredAndTheNextOneIsTaken) {
  panel->Faults().FailNext(PanelOperation::ReadItems, 3, "no carrier");
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "3:no carrier");
  platform.Advance(1s);
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(AnswerOfRead({"WO100"}), (Log{"ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::ReadItems), 2);
}

// --- Whole groups

TEST_F(PanelRequests, AGroupIsItsPartOfTheMemory) {
  panel->SetGroupDefinition(1, -1);
  panel->SetGroupDefinition(130, -1);
  panel->SetGroupDefinition(-1, -1);
  panel->WriteGroup(1, {1, 2, 3});
  platform.Advance(20ms);
  panel->WriteGroup(130, {4, 5});
  platform.Advance(20ms);
  panel->WriteGroup(-1, {6});
  platform.Advance(20ms);
  EXPECT_EQ(panel->Memory().DoubleWord(256), 0x01020300U);
  EXPECT_EQ(panel->Memory().Word(2 * 256), 0x0405);
  EXPECT_EQ(panel->Memory().Byte(127 * 256), 6);
  TakeLog();
  panel->ReadGroup(1, SafeArray<std::uint8_t>(4, 0, 0xEE));
  platform.Advance(19ms);
  EXPECT_EQ(TakeLog(), Log{});
  platform.Advance(1ms);
  EXPECT_EQ(TakeLog(), (Log{"ReadGroupComplete UI1[1,2,3,0]=0"}));
}

TEST_F(PanelRequests, AGroupThatIsNotDefinedOrTooLongIsRefused) {
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(5, {1}); }), "10:Group 5 is not defined on the panel");
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(5, {1}); }), "10:Group 5 is not defined on the panel");
  panel->SetGroupDefinition(127, -1);
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(127, SafeArray<std::uint8_t>(65536 - 127 * 256 + 1)); }),
            "10:Group 127: a buffer of 33025 bytes reaches past the memory");
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(127, SafeArray<std::uint8_t>(65536 - 127 * 256)); }), "0:");
  platform.Advance(20ms);
  EXPECT_EQ(TakeLog(), (Log{"WriteGroupComplete 0"}));
}

}  // namespace
}  // namespace orvo
