// Each fault of a script, by the whole log of what the sink is told and when.
#include "ScriptedPanelFixture.h"

namespace orvo {
namespace {

using testing::FailureOf;
using testing::Log;
using testing::LoggingSink;
using testing::ScriptedPanelTest;

class PanelScriptFaults : public ScriptedPanelTest {
 protected:
  void WriteWord(const std::string& identifier, std::int32_t value) { Write({{identifier, value}}); }
};

TEST_F(PanelScriptFaults, AFailureIsTheCallsAndNothingIsAnswered) {
  Script("fault ReadItems fail 3 \"line noise\" after 1 times 1");
  Read({"WO100"});
  AdvanceTo(100);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "3:line noise");
  AdvanceTo(200);
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[0,0]=0", "220 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, AnItemsFailureIsItsErrorInReadsAndWritesAndTheOthersAreServed) {
  Script("fault WO104 fail 5 after 1 times 2");
  WriteWord("WO104", 7);
  AdvanceTo(20);
  Write({{"WO104", std::int32_t{8}}, {"WO106", std::int32_t{9}}});
  AdvanceTo(40);
  Read({"WO104", "WO106", "BY105", "WO104"});
  AdvanceTo(60);
  Read({"WO104"});
  EXPECT_EQ(LogUntil(1000),
            (Log{"20 WriteComplete 0", "40 WriteComplete 5 0",
                 "60 ReadComplete Empty=5 UI1[9,0]=0 UI1[7,0]=0 Empty=5", "80 ReadComplete UI1[7,0]=0"}));
}

TEST_F(PanelScriptFaults, ARefusedRequestIsBusy) {
  Script(
      "fault ReadItems refuse times 1\nfault WriteItems refuse times 1\nfault ReadGroup refuse times 1\n"
      "fault WriteGroup refuse times 1");
  panel->SetGroupDefinition(1, -1);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "1:The panel is busy and refuses ReadItems");
  EXPECT_EQ(FailureOf([&] { WriteWord("WO100", 1); }), "1:The panel is busy and refuses WriteItems");
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(1, {1}); }), "1:The panel is busy and refuses ReadGroup");
  EXPECT_EQ(FailureOf([&] { panel->WriteGroup(1, {1}); }), "1:The panel is busy and refuses WriteGroup");
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ARefusedQuestionIsAnsweredNo) {
  Script(
      "fault SetConfigurationMode refuse times 1\nfault CheckVariable refuse times 1\nfault CreateDevice "
      "refuse times 1");
  EXPECT_FALSE(panel->SetConfigurationMode());
  EXPECT_EQ(panel->BoardStatus(), SimulatedPanel::BoardReady);
  EXPECT_TRUE(panel->SetConfigurationMode());
  EXPECT_FALSE(panel->CheckVariable(1, 1));
  EXPECT_TRUE(panel->CheckVariable(1, 1));
  EXPECT_EQ(panel->CreateDevice("PanelB"), nullptr);
  EXPECT_NE(panel->CreateDevice("PanelB"), nullptr);
}

TEST_F(PanelScriptFaults, ARefusedItemDoesNotCompileAndLeavesTheResultsAlone) {
  Script("fault WO104 refuse after 1");
  const auto device = panel->CreateDevice("PanelB");
  double address = -1;
  std::int32_t words = -1;
  std::int32_t type = -1;
  EXPECT_TRUE(device->CompileItemId("WO104", address, words, type));
  address = -1;
  EXPECT_FALSE(device->CompileItemId("WO104", address, words, type));
  EXPECT_EQ(address, -1);
  EXPECT_TRUE(device->CompileItemId("WO106", address, words, type));
  panel->LoadScript("none", "");
  EXPECT_TRUE(device->CompileItemId("WO104", address, words, type)) << "the device object follows its panel";
  panel.reset();
  EXPECT_TRUE(device->CompileItemId("WO104", address, words, type));
}

TEST_F(PanelScriptFaults, ADelayedAnswerIsOutstandingMeanwhileAndSeesThePanelOfItsMoment) {
  Script("fault ReadItems delay 2 s times 1\nsignal WO100 counter 0 to 60000 every 1 ms");
  Read({"WO100"});
  AdvanceTo(2019);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "1:The previous request is not answered yet");
  AdvanceTo(2020);
  Read({"WO100"});
  EXPECT_EQ(LogUntil(9000), (Log{"2020 ReadComplete UI1[228,7]=0", "2040 ReadComplete UI1[248,7]=0"}));
}

TEST_F(PanelScriptFaults, ClosingAnswersADelayedRequestAtOnce) {
  Script("fault WriteItems delay 2 s");
  WriteWord("WO100", 1);
  AdvanceTo(500);
  panel->CloseCommunication();
  EXPECT_EQ(LogUntil(9000), (Log{"500 WriteComplete 5"}));
  EXPECT_EQ(panel->Memory().Word(100), 0);
  EXPECT_EQ(platform.TimersAlive(), 0U);
}

TEST_F(PanelScriptFaults, ARequestThatIsNeverAnsweredStaysOutstandingUntilTheCloseWhichAnswersNothing) {
  Script("fault WriteItems never times 1");
  WriteWord("WO100", 1);
  AdvanceTo(3'600'000);
  EXPECT_TRUE(panel->IsOutstanding());
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }), "1:The previous request is not answered yet");
  panel->CloseCommunication();
  EXPECT_FALSE(panel->IsOutstanding());
  panel->OpenCommunication(true);
  Read({"WO100"});
  EXPECT_EQ(LogUntil(3'700'000), (Log{"3600020 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ARequestThatIsNeverAnsweredEndsWithThePanel) {
  Script("fault ReadItems never");
  Read({"ST0020010"});
  const std::weak_ptr<SimulatedPanel> ended = panel;
  panel.reset();
  EXPECT_TRUE(ended.expired());
  EXPECT_EQ(sink.use_count(), 1);
  EXPECT_EQ(LogUntil(9000), Log{});
}

TEST_F(PanelScriptFaults, AnAnswerGivenTwiceIsTheSameTwice) {
  Script(
      "fault ReadItems twice times 1\nfault WriteItems twice times 1\nfault ReadGroup twice\nfault WriteGroup "
      "twice");
  panel->SetGroupDefinition(0, -1);
  WriteWord("WO0", 258);
  AdvanceTo(20);
  Read({"WO0"});
  AdvanceTo(40);
  panel->ReadGroup(0, {9, 9});
  AdvanceTo(60);
  panel->WriteGroup(0, {9, 9});
  AdvanceTo(80);
  Read({"WO0"});
  EXPECT_EQ(LogUntil(1000), (Log{"20 WriteComplete 0", "20 WriteComplete 0", "40 ReadComplete UI1[2,1]=0",
                                 "40 ReadComplete UI1[2,1]=0", "60 ReadGroupComplete UI1[1,2]=0",
                                 "60 ReadGroupComplete UI1[1,2]=0", "80 WriteGroupComplete 0",
                                 "80 WriteGroupComplete 0", "100 ReadComplete UI1[9,9]=0"}));
}

TEST_F(PanelScriptFaults, TheSecondAnswerComesWithTheNextPassNotInsideTheFirst) {
  Script("fault ReadItems twice");
  Read({"WO100"});
  platform.Jump(std::chrono::milliseconds(20));
  platform.PumpOnce();
  EXPECT_EQ(TakeLog().size(), 1U);
  platform.PumpOnce();
  EXPECT_EQ(TakeLog().size(), 1U);
  platform.PumpOnce();
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelScriptFaults, TheSecondAnswerComesAlsoWhileTheNextRequestIsInFlight) {
  Script("fault ReadItems twice times 1");
  panel->Memory().PutWord(102, 5);
  then = [&] { Read({"WO102"}); };
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000),
            (Log{"20 ReadComplete UI1[0,0]=0", "20 ReadComplete UI1[0,0]=0", "40 ReadComplete UI1[5,0]=0"}));
}

TEST_F(PanelScriptFaults, ASecondAnswerAlsoFollowsTheAnswerOfAClose) {
  Script("fault ReadItems twice");
  Read({"WO100"});
  panel->CloseCommunication();
  EXPECT_EQ(LogUntil(1000), (Log{"0 ReadComplete Empty=5", "0 ReadComplete Empty=5"}));
}

TEST_F(PanelScriptFaults, ASecondAnswerGoesToTheSinkThatIsSetThen) {
  Script("fault ReadItems twice");
  const auto other = std::make_shared<LoggingSink>();
  then = [&] { panel->SetEventSink(other); };
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(other->log, (Log{"ReadComplete UI1[0,0]=0"}));
  then = [] {};
  panel->SetEventSink(sink);
  then = [&] { panel->SetEventSink(nullptr); };
  Read({"WO100"});
  EXPECT_EQ(LogUntil(2000), (Log{"1020 ReadComplete UI1[0,0]=0"}));
  EXPECT_EQ(panel->FailedCallbacks(), 0);
}

TEST_F(PanelScriptFaults, ASecondAnswerOfAPanelThatEndedDoesNotCome) {
  Script("fault ReadItems twice");
  then = [&] { panel.reset(); };
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ALateAnswerComesInTheMiddleOfTheNextRequest) {
  Script("fault ReadItems late 30 ms times 1");
  panel->Memory().PutWord(100, 1);
  Read({"WO100"});
  AdvanceTo(19);
  EXPECT_TRUE(panel->IsOutstanding());
  AdvanceTo(20);
  EXPECT_FALSE(panel->IsOutstanding()) << "the panel has done it";
  panel->Memory().PutWord(100, 2);
  AdvanceTo(40);
  Read({"WO100", "WO102"});
  EXPECT_EQ(LogUntil(9000), (Log{"50 ReadComplete UI1[1,0]=0", "60 ReadComplete UI1[2,0]=0 UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ALateAnswerIsNotBroughtForwardByACloseAndThenTellsThatTheLinkWasClosed) {
  Script("fault WriteItems late 3 s");
  WriteWord("WO100", 1);
  AdvanceTo(10);
  panel->CloseCommunication();
  AdvanceTo(100);
  panel->OpenCommunication(true);
  Read({"WO100"});
  EXPECT_EQ(LogUntil(9000), (Log{"120 ReadComplete UI1[0,0]=0", "3020 WriteComplete 5"}));
  WriteWord("WO100", 1);
  AdvanceTo(9500);
  panel->CloseCommunication();
  EXPECT_EQ(LogUntil(20000), (Log{"12020 WriteComplete 0"}));
  EXPECT_EQ(platform.TimersAlive(), 0U);
}

TEST_F(PanelScriptFaults, SeveralLateAnswersComeEachAtItsTime) {
  Script("fault ReadItems late 3 s times 1\nfault ReadItems late 1 s times 1");
  Read({"WO100"});
  AdvanceTo(20);
  Read({"WO100", "WO102"});
  AdvanceTo(40);
  Read({"WO104"});
  EXPECT_EQ(LogUntil(9000), (Log{"60 ReadComplete UI1[0,0]=0", "1040 ReadComplete UI1[0,0]=0 UI1[0,0]=0",
                                 "3020 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ALateAnswerOfAPanelThatEndedDoesNotComeAndLeavesNoTimer) {
  Script("fault ReadItems late 3 s");
  Read({"WO100"});
  AdvanceTo(100);
  EXPECT_EQ(platform.TimersAlive(), 1U);
  panel->CloseCommunication();
  panel.reset();
  EXPECT_EQ(platform.TimersAlive(), 0U);
  EXPECT_EQ(sink.use_count(), 1);
  EXPECT_EQ(LogUntil(9000), Log{});
}

TEST_F(PanelScriptFaults, ALateAnswerFindsANewSinkOrNone) {
  Script("fault ReadItems late 3 s");
  Read({"WO100"});
  AdvanceTo(100);
  panel->SetEventSink(nullptr);
  AdvanceTo(3100);
  panel->SetEventSink(sink);
  Read({"WO100"});
  AdvanceTo(3200);
  const auto other = std::make_shared<LoggingSink>();
  panel->SetEventSink(other);
  EXPECT_EQ(LogUntil(9000), Log{});
  EXPECT_EQ(other->log, (Log{"ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, TheHandlerOfALateAnswerMayLetGoOfThePanel) {
  Script("fault ReadItems late 3 s");
  Read({"WO100"});
  then = [&] { panel.reset(); };
  EXPECT_EQ(LogUntil(9000), (Log{"3020 ReadComplete UI1[0,0]=0"}));
}

TEST_F(PanelScriptFaults, ALateTickOfALateAnswerTellsNothing) {
  Script("fault ReadItems late 3 s times 1");
  Read({"WO100"});
  AdvanceTo(5000);
  EXPECT_EQ(TakeLog().size(), 1U);
  int delivered = 0;
  for (int id = 1; id < 1000; ++id)
    if (platform.DeliverLateTick(id)) ++delivered;
  EXPECT_EQ(delivered, 2);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelScriptFaults, AnswersComeShortOrLong) {
  Script(
      "fault ReadItems short 1 times 1\nfault ReadItems short 9 times 1\nfault ReadItems long 2\n"
      "fault WriteItems short 1 times 1\nfault WriteItems long 1\nfault ReadGroup short 1 times 1\nfault "
      "ReadGroup long 2\n");
  panel->SetGroupDefinition(0, -1);
  for (int answer = 1; answer <= 3; ++answer) {
    Read({"WO100", "WO102"});
    AdvanceTo(answer * 20);
  }
  for (int answer = 4; answer <= 5; ++answer) {
    Write({{"WO0", std::int32_t{258}}, {"WO2", std::int32_t{3}}});
    AdvanceTo(answer * 20);
  }
  for (int answer = 6; answer <= 7; ++answer) {
    panel->ReadGroup(0, {9, 9, 9});
    AdvanceTo(answer * 20);
  }
  EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[0,0]=0", "40 ReadComplete",
                                 "60 ReadComplete UI1[0,0]=0 UI1[0,0]=0 Empty=0 Empty=0", "80 WriteComplete 0",
                                 "100 WriteComplete 0 0 0", "120 ReadGroupComplete UI1[1,2]=0",
                                 "140 ReadGroupComplete UI1[1,2,0,0,0]=0"}));
}

TEST_F(PanelScriptFaults, AnItemBringsItsFaultToEveryRequestThatContainsIt) {
  Script(
      "fault WO100 twice\nfault WO102 short 1\nfault WO104 delay 1 s\nfault WO106 late 1 s\nfault WO108 never\n"
      "fault WO110 long 1");
  Read({"WO98", "WO100"});
  AdvanceTo(1000);
  Read({"WO102"});
  AdvanceTo(2000);
  Write({{"WO98", std::int32_t{1}}, {"WO104", std::int32_t{1}}});
  AdvanceTo(4000);
  WriteWord("WO106", 1);
  AdvanceTo(6000);
  Read({"WO110"});
  AdvanceTo(7000);
  Read({"BY100", "BI102.0", "WO98"});
  AdvanceTo(8000);
  Read({"WO108"});
  EXPECT_EQ(
      LogUntil(20000),
      (Log{"20 ReadComplete UI1[0,0]=0 UI1[0,0]=0", "20 ReadComplete UI1[0,0]=0 UI1[0,0]=0",
           "1020 ReadComplete", "3020 WriteComplete 0 0", "5020 WriteComplete 0",
           "6020 ReadComplete UI1[0,0]=0 Empty=0", "7020 ReadComplete UI1[0,0]=0 UI1[0,0]=0 UI1[1,0]=0"}));
}

TEST_F(PanelScriptFaults, AWholeGroupHasTheFaultsOfItsOperationsOnly) {
  Script("fault WO0 never\nfault ReadGroup delay 1 s\nfault WriteGroup late 1 s");
  panel->SetGroupDefinition(0, -1);
  panel->ReadGroup(0, {9});
  AdvanceTo(2000);
  panel->WriteGroup(0, {8});
  EXPECT_EQ(LogUntil(9000), (Log{"1020 ReadGroupComplete UI1[0]=0", "3020 WriteGroupComplete 0"}));
}

TEST_F(PanelScriptFaults, ARequestThatWasNotTakenUsesUpNoFaultOfTheAnswer) {
  Script("fault ReadItems twice times 1");
  panel->CloseCommunication();
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }).substr(0, 2), "2:");
  panel->OpenCommunication(true);
  EXPECT_EQ(FailureOf([&] { panel->ReadItems({1.0}, {1, 1}); }).substr(0, 3), "10:");
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000).size(), 2U);
}

TEST_F(PanelScriptFaults, WithoutAnswerTimeFaultsStillComeByTheMessageLoop) {
  Script(
      "answer after 0 ms\nfault ReadItems twice times 1\nfault ReadItems late 50 ms times 1\nfault ReadItems "
      "delay 1 s");
  Read({"WO100"});
  EXPECT_EQ(TakeLog(), Log{});
  AdvanceTo(100);
  Read({"WO102"});
  AdvanceTo(200);
  Read({"WO104"});
  const std::string answer = " ReadComplete UI1[0,0]=0";
  EXPECT_EQ(LogUntil(9000), (Log{"0" + answer, "0" + answer, "150" + answer, "1200" + answer}));
}

}  // namespace
}  // namespace orvo
