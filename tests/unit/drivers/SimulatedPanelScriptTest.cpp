// Scripts as a whole: where they come from, what applying one does, the line, restarts, properties.
#include "ScriptedPanelFixture.h"

namespace orvo {
namespace {

using testing::FailureOf;
using testing::Log;
using testing::PanelTest;
using testing::ScriptedPanelTest;
using namespace std::chrono_literals;

class PanelScripts : public ScriptedPanelTest {};

TEST_F(PanelScripts, ADeviceKindNamesTheFileOfItsScript) {
  files.PutFile("C:\\line 7?\\plant.panel", "set BoardDescription \"Line 7\"\nmemory WO100 7\n");
  EXPECT_NE(panel->CreateDevice("PanelB?C:\\line 7?\\plant.panel"), nullptr);
  EXPECT_EQ(panel->BoardDescription(), "Line 7");
  EXPECT_EQ(panel->Memory().Word(100), 7);
  EXPECT_EQ(panel->Faults().Calls(PanelOperation::CreateDevice), 1);
}

TEST_F(PanelScripts, AKindWithoutFileLeavesThePanelAsItIs) {
  panel->LoadScript("test", "set BoardDescription \"Line 7\"\nmemory WO100 7");
  EXPECT_NE(panel->CreateDevice("PanelA"), nullptr);
  EXPECT_EQ(panel->BoardDescription(), "Line 7");
  EXPECT_EQ(panel->Memory().Word(100), 7);
}

TEST_F(PanelScripts, AFileThatCannotBeReadOrIsWrongLeavesThePanelAsItWas) {
  panel->LoadScript("test", "set BoardDescription \"Line 7\"\nmemory WO100 7\nfault ReadItems fail 3");
  files.PutFile("wrong.panel", "set BoardDescription \"Line 8\"\nmemory WO100 8\nsignal WO100\n");
  EXPECT_EQ(FailureOf([&] { panel->CreateDevice("PanelB?none.panel"); }),
            "10:The panel script 'none.panel' cannot be read: File not found: none.panel");
  EXPECT_EQ(
      FailureOf([&] { panel->CreateDevice("PanelB?"); }),
      "10:The device kind 'PanelB?' names no panel script after the '?'; write it like PanelB?plant.panel");
  EXPECT_EQ(FailureOf([&] { panel->CreateDevice("PanelB?wrong.panel"); }),
            "10:The panel script 'wrong.panel' has 1 mistake:\r\nline 3: the kind of signal is missing; write "
            "it like: "
            "signal FL112 sine 18.5 to 21.5 every 9 s");
  EXPECT_EQ(FailureOf([&] { panel->LoadScript("mine", "oops"); }).substr(0, 35),
            "10:The panel script 'mine' has 1 mi");
  files.PutFile("good.panel", "set BoardDescription \"Line 9\"");
  EXPECT_EQ(panel->CreateDevice("PanelX?good.panel"), nullptr) << "an unknown kind";
  EXPECT_EQ(panel->BoardDescription(), "Line 7");
  EXPECT_EQ(panel->Memory().Word(100), 7);
  panel->OpenCommunication(true);
  EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }).substr(0, 2), "3:");
}

TEST_F(PanelScripts, AScriptSaysWhichKindsThereAre) {
  files.PutFile("kinds.panel", "set DeviceKinds \"Small\"");
  EXPECT_EQ(panel->CreateDevice("PanelB?kinds.panel"), nullptr);
  EXPECT_NE(panel->CreateDevice("PanelB"), nullptr);
  EXPECT_NE(panel->CreateDevice("Small?kinds.panel"), nullptr);
  EXPECT_EQ(panel->CreateDevice("PanelB"), nullptr);
}

TEST_F(PanelScripts, TheCallThatAppliesAScriptIsTheFirstThatItsFaultHits) {
  files.PutFile("refuses.panel", "fault CreateDevice refuse");
  files.PutFile("fails.panel", "fault CreateDevice fail 4 \"no device\" times 1");
  EXPECT_EQ(panel->CreateDevice("PanelB?refuses.panel"), nullptr);
  EXPECT_EQ(FailureOf([&] { panel->CreateDevice("PanelB?fails.panel"); }), "4:no device");
  EXPECT_NE(panel->CreateDevice("PanelB"), nullptr);
  EXPECT_EQ(FailureOf([&] { panel->CreateDevice("PanelB?fails.panel"); }), "4:no device");
}

TEST_F(PanelScripts, OptionsBringAScriptThatAFileReplaces) {
  PanelOptions options;
  options.boardDescription = "made";
  options.description = "made";
  options.signals = {{PanelSignalKind::Counter, "WO200", 5, 5, 10}};
  options.script = "set BoardDescription \"scripted\"\nmemory WO100 7\nsignal WO202 constant 6";
  Remake(options);
  EXPECT_EQ(panel->BoardDescription(), "scripted");
  panel->OpenCommunication(true);
  EXPECT_EQ(AnswerOfRead({"WO100", "WO200", "WO202"}), (Log{"ReadComplete UI1[7,0]=0 UI1[5,0]=0 UI1[6,0]=0"}));
  files.PutFile("other.panel", "set Description \"other\"");
  EXPECT_NE(panel->CreateDevice("PanelA?other.panel"), nullptr);
  EXPECT_EQ(panel->BoardDescription() + ' ' + panel->Description(), "made other");
  EXPECT_EQ(AnswerOfRead({"WO100", "WO200", "WO202"}), (Log{"ReadComplete UI1[0,0]=0 UI1[5,0]=0 UI1[0,0]=0"}));
  options.script = "oops";
  DriverRegistry registry;
  EXPECT_EQ(FailureOf([&] { RegisterSimulatedPanel(registry, options); }).substr(0, 52),
            "10:The panel script 'PanelOptions::script' has 1 mis");
}

TEST_F(PanelScripts, TheSameScriptAppliedAgainBeginsFromTheStart) {
  const std::string text =
      "memory WO100 7\nsignal WO102 counter 0 to 60000 every 10 ms\nfault ReadItems fail 3 after 1 times 1\n"
      "link cut at 100 ms for 50 ms";
  for (int round = 0; round < 2; ++round) {
    Script(text);
    panel->Memory().PutWord(104, 9);
    Read({"WO100", "WO102", "WO104"});
    AdvanceTo(30);
    EXPECT_EQ(FailureOf([&] { Read({"WO100"}); }).substr(0, 2), "3:");
    Write({{"WO100", std::int32_t{1}}});
    AdvanceTo(110);
    EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkCut);
    EXPECT_EQ(LogUntil(1000), (Log{"20 ReadComplete UI1[7,0]=0 UI1[2,0]=0 UI1[9,0]=0", "50 WriteComplete 0"}));
  }
}

TEST_F(PanelScripts, ApplyingAScriptLeavesCommunicationDefinitionsAndRequestsOnTheirWay) {
  Script("fault ReadItems late 1 s times 1\nfault ReadItems delay 2 s");
  panel->SetGroupDefinition(3, -1);
  Read({"WO100"});
  AdvanceTo(50);
  Read({"WO100", "WO102"});
  AdvanceTo(100);
  panel->LoadScript("next", "memory WO102 9");
  EXPECT_EQ(panel->Definitions(3), 1);
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkOpen);
  EXPECT_EQ(LogUntil(9000), (Log{"1020 ReadComplete UI1[0,0]=0", "2070 ReadComplete UI1[0,0]=0 UI1[9,0]=0"}));
}

TEST_F(PanelScripts, WhatWasPutStaysUnlessTheScriptSetsIt) {
  panel->PutBaudRate(1200);
  panel->PutProjectName("mine");
  panel->PutTimeout(7);
  panel->LoadScript("one", "set BaudRate 300\nset WordIO 5\nset BootDate \"then\"");
  EXPECT_EQ(panel->BaudRate(), 300);
  EXPECT_EQ(panel->WordIO(), 5);
  panel->PutBaudRate(600);
  panel->LoadScript("two", "");
  EXPECT_EQ(panel->BaudRate(), 600);
  EXPECT_EQ(panel->ProjectName(), "mine");
  EXPECT_EQ(panel->Timeout(), 7);
  EXPECT_EQ(panel->BootDate(), "2024-01-15");
}

TEST_F(PanelScripts, WhatOnlyAnEarlierScriptSetGoesBackToItsFirstValue) {
  panel->PutWordIO(3);
  panel->LoadScript("one",
                    "set BaudRate 19200\nset ComPortNumber 4\nset ProjectName \"p\"\nset WordIO 5\n"
                    "set Timeout 6\nset NetworkType 7\nset HeldProject \"held\"");
  panel->LoadScript("two", "");
  EXPECT_EQ(panel->BaudRate(), 9600);
  EXPECT_EQ(panel->ComPortNumber(), 1);
  EXPECT_EQ(panel->ProjectName(), "");
  EXPECT_EQ(panel->WordIO(), 3) << "put before";
  EXPECT_EQ(panel->Timeout(), 1000);
  EXPECT_EQ(panel->NetworkType(), 0);
  EXPECT_EQ(panel->HeldProject().name, "");
}

TEST_F(PanelScripts, ADownloadedImageIsGoneWhenAScriptIsApplied) {
  files.PutFile("new.fw", "f");
  panel->LoadScript("one", "");
  panel->DownloadFirmware("new.fw", 0);
  EXPECT_EQ(panel->HeldFirmware().name, "new");
  panel->LoadScript("two", "");
  EXPECT_EQ(panel->HeldFirmware().name, "");
}

TEST_F(PanelScripts, EachPropertyAnswersWhatTheScriptSetsUntilItIsPut) {
  panel->LoadScript(
      "test",
      "set BootVersion 1.25\nset BootDate \"bd\"\nset FirmwareVersion 2.5\nset BoardDescription \"b\"\n"
      "set BoardStatus 8\nset CommunicationStatus 9\nset BaudRate 300\nset GroupCapacity 1\n"
      "set MinorVersion 2\nset MajorVersion 3\nset Description \"d\"\nset ComPortNumber 4\n"
      "set ProjectName \"p\"\nset GroupTransfer True\nset WordIO 5\nset Timeout 6\nset NetworkType 7\n"
      "set FirmwareDownloadNeeded True\nset ProjectDownloadNeeded False\nset HeldFirmware \"hf\"\n"
      "set HeldProject \"hp\"\nset MaximumGroupWords 10\nset MaximumGroupItems 2");
  EXPECT_EQ(panel->BootVersion(), 1.25F);
  EXPECT_EQ(panel->BootDate(), "bd");
  EXPECT_EQ(panel->FirmwareVersion(), 2.5F);
  EXPECT_EQ(panel->BoardDescription(), "b");
  EXPECT_EQ(panel->BoardStatus(), 8);
  EXPECT_EQ(panel->CommunicationStatus(), 9);
  EXPECT_EQ(panel->BaudRate(), 300);
  EXPECT_EQ(panel->GroupCapacity(), 1);
  EXPECT_EQ(panel->MinorVersion(), 2);
  EXPECT_EQ(panel->MajorVersion(), 3);
  EXPECT_EQ(panel->Description(), "d");
  EXPECT_EQ(panel->ComPortNumber(), 4);
  EXPECT_EQ(panel->ProjectName(), "p");
  EXPECT_TRUE(panel->GroupTransfer());
  EXPECT_EQ(panel->WordIO(), 5);
  EXPECT_EQ(panel->Timeout(), 6);
  EXPECT_EQ(panel->NetworkType(), 7);
  EXPECT_TRUE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
  EXPECT_EQ(panel->HeldFirmware().name, "hf");
  EXPECT_EQ(panel->HeldProject().name, "hp");
  EXPECT_TRUE(panel->CheckVariable(10, 2));
  EXPECT_FALSE(panel->CheckVariable(11, 2));
  EXPECT_FALSE(panel->CheckVariable(10, 3));
  panel->PutBaudRate(9600);
  panel->PutProjectName("other");
  panel->OpenCommunication(true);
  panel->SetConfigurationMode();
  EXPECT_EQ(panel->BaudRate(), 9600);
  EXPECT_EQ(panel->BoardStatus(), 8) << "fixed";
  EXPECT_EQ(panel->CommunicationStatus(), 9) << "fixed";
  EXPECT_FALSE(panel->ProjectDownloadNeeded()) << "fixed";
}

TEST_F(PanelScripts, AHandlerMayApplyAScript) {
  Script("memory WO100 1\nfault ReadItems twice");
  then = [&] { panel->LoadScript("inside", "memory WO100 2"); };
  Read({"WO100"});
  AdvanceTo(100);
  Read({"WO100"});
  EXPECT_EQ(LogUntil(1000),
            (Log{"20 ReadComplete UI1[1,0]=0", "20 ReadComplete UI1[1,0]=0", "120 ReadComplete UI1[2,0]=0"}));
  panel->CloseCommunication();
  files.PutFile("new.fw", std::string(3 * 1024, 'x'));
  then = [&] {
    panel->LoadScript("inside", "set HeldFirmware \"other\"\nfault DownloadFirmware break at block 3");
  };
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }).substr(0, 2), "4:");
  EXPECT_EQ(panel->HeldFirmware().name, "other");
}

// --- The line

TEST_F(PanelScripts, ACutLinkLosesEveryRequestThatItTouches) {
  Script("link cut at 1 s for 500 ms every 10 s");
  for (const std::int64_t begin : {0, 970, 990, 1480, 1500, 10975, 11495}) {
    AdvanceTo(begin);
    Read({"WO100"});
  }
  EXPECT_EQ(LogUntil(20000),
            (Log{"20 ReadComplete UI1[0,0]=0", "990 ReadComplete UI1[0,0]=0", "1010 ReadComplete Empty=5",
                 "1500 ReadComplete Empty=5", "1520 ReadComplete UI1[0,0]=0", "10995 ReadComplete UI1[0,0]=0",
                 "11515 ReadComplete Empty=5"}));
}

TEST_F(PanelScripts, ALinkCutForGoodIsCutForGood) {
  Script("link cut at 1 s");
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkOpen);
  AdvanceTo(1000);
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkCut);
  AdvanceTo(100'000'000);
  Write({{"WO100", std::int32_t{1}}});
  EXPECT_EQ(LogUntil(100'001'000), (Log{"100000020 WriteComplete 5"}));
  panel->LoadScript("none", "");
  EXPECT_EQ(panel->CommunicationStatus(), SimulatedPanel::LinkOpen);
}

TEST(PanelLink, ACutTouchesTheMomentsFromItsBeginningUpToItsEnd) {
  const PanelLinkCut once{100, 50, 0};
  EXPECT_FALSE(once.Touches(0, 99));
  EXPECT_TRUE(once.Touches(0, 100));
  EXPECT_TRUE(once.Touches(149, 149));
  EXPECT_FALSE(once.Touches(150, 1000));
  EXPECT_TRUE(once.Touches(0, 1000)) << "a cut in between";
  const PanelLinkCut often{100, 50, 200};
  EXPECT_TRUE(often.Touches(349, 349));
  EXPECT_FALSE(often.Touches(350, 499));
  EXPECT_TRUE(often.Touches(350, 500));
  EXPECT_TRUE(often.Touches(160, 1290));
}

// --- Downloads

class PanelScriptDownloads : public PanelTest {
 protected:
  void SetUp() override { files.PutFile("new.fw", std::string(3 * 1024, 'x')); }
};

TEST_F(PanelScriptDownloads, ARestartBreaksTheDownloadAndForgetsWhatIsNotHeld) {
  panel->LoadScript("test",
                    "set HeldFirmware \"old\"\nset GroupTransfer True\nmemory WO100 7\n"
                    "fault DownloadFirmware restart at block 3 times 1");
  panel->SetGroupDefinition(1, -1);
  panel->PutBaudRate(1200);
  panel->Memory().PutWord(100, 1);
  panel->Memory().PutWord(200, 1);
  EXPECT_TRUE(panel->SetConfigurationMode());
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }),
            "4:The download of 'new.fw' broke off at block 3 of 3: the panel restarted");
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 33", "FirmwareInProgress 66"}));
  EXPECT_EQ(panel->HeldFirmware().name, "old");
  EXPECT_EQ(panel->Definitions(), 0);
  EXPECT_EQ(panel->BoardStatus(), SimulatedPanel::BoardReady);
  EXPECT_EQ(panel->Memory().Word(100), 7);
  EXPECT_EQ(panel->Memory().Word(200), 0);
  EXPECT_EQ(panel->BaudRate(), 1200) << "a setting of the line, not of the panel";
  panel->OpenCommunication(true);
  EXPECT_EQ(FailureOf([&] { panel->ReadGroup(1, {1}); }), "10:Group 1 is not defined on the panel");
  panel->CloseCommunication();
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }), "0:");
  EXPECT_EQ(panel->HeldFirmware().name, "new");
}

TEST_F(PanelScriptDownloads, EachDownloadHasItsOwnFaults) {
  panel->LoadScript(
      "test",
      "fault DownloadFirmware break at block 2 after 1 times 1\nfault DownloadProject corrupt at block 1\n"
      "fault DownloadFirmware corrupt after 1");
  Log failures;
  for (int download = 0; download < 3; ++download)
    failures.push_back(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }));
  failures.push_back(FailureOf([&] { panel->DownloadProject("new.fw", 0); }));
  EXPECT_EQ(failures, (Log{"0:", "4:The download of 'new.fw' broke off at block 2 of 3",
                           "4:The download of 'new.fw' was refused: the checksum of the image is wrong",
                           "4:The download of 'new.fw' was refused at block 1 of 3: its checksum is wrong"}));
}

TEST_F(PanelScriptDownloads, TheControlFacesFaultsStandBesideEachOther) {
  panel->CorruptDownloadedImage();
  panel->CorruptDownloadBlock(9);
  panel->CorruptDownloadBlock(2);
  panel->FailDownloadAtBlock(3);
  panel->FailDownloadAtBlock(0);
  Log failures;
  for (int download = 0; download < 3; ++download)
    failures.push_back(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }));
  EXPECT_EQ(failures,
            (Log{"4:The download of 'new.fw' was refused at block 2 of 3: its checksum is wrong",
                 "4:The download of 'new.fw' was refused: the checksum of the image is wrong", "0:"}));
}

// --- The same seed, the same run

TEST_F(PanelScripts, TheSameSeedGivesTheSameLogAndAnotherOneAnother) {
  const auto run = [&](int seed) {
    Remake({});
    Script("seed " + std::to_string(seed) +
           "\nfault ReadItems delay 50 ms chance 20 %\nfault ReadItems twice chance 20 %\nfault WO100 fail 5 "
           "chance 30 %");
    for (std::int64_t begin = 0; begin < 10000; begin += 100) {
      AdvanceTo(begin);
      Read({"WO100"});
    }
    return LogUntil(20000);
  };
  const Log first = run(1);
  EXPECT_EQ(run(1), first);
  EXPECT_NE(run(2), first);
  EXPECT_GT(first.size(), 105U);
}

}  // namespace
}  // namespace orvo
