#include "PanelFixture.h"

#include <limits>

namespace orvo {
namespace {

using testing::FailureOf;
using namespace std::chrono_literals;

PanelScript Parse(const std::string& text) {
  return PanelScript::Parse("test", text);
}

std::string FailureOfText(const std::string& text) {
  return FailureOf([&] { Parse(text); });
}

TEST(PanelScript, AnEmptyTextBlanksAndCommentsSayNothing) {
  for (const char* text : {"", "\n\n", "  \t \r\n# a comment\r\n\t#another \" one", "#"}) {
    const PanelScript script = Parse(text);
    EXPECT_EQ(script.seed, 0U);
    EXPECT_TRUE(script.settings.empty() && script.memory.empty() && script.signals.empty() &&
                script.faults.empty() && script.cuts.empty());
  }
}

TEST(PanelScript, EachFaultIsDescribedAsItsLineSays) {
  const PanelScript script = Parse(
      "fault ReadItems fail -3 \"line \"\"7\"\" noise\" chance 12.5 % times 3 after 10\n"
      "fault WO104 fail 0x10\n"
      "fault PutBaudRate fail 4\n"
      "fault WriteGroup delay 1.5 min\n"
      "fault ReadGroup long 4\n"
      "fault DownloadProject corrupt\n"
      "fault DownloadProject restart at block 3\n");
  ASSERT_EQ(script.faults.size(), 7U);
  const PanelFault& noise = script.faults[0];
  EXPECT_EQ(noise.operation, PanelOperation::ReadItems);
  EXPECT_EQ(noise.item, std::nullopt);
  EXPECT_EQ(noise.number, -3);
  EXPECT_EQ(noise.text, "line \"7\" noise");
  EXPECT_EQ(noise.after, 10U);
  EXPECT_EQ(noise.times, 3U);
  EXPECT_EQ(noise.chance, 12.5);
  EXPECT_EQ(script.faults[1].operation, std::nullopt);
  EXPECT_EQ(script.faults[1].item, PanelIdentifier::Parse("WO104").address.Encode());
  EXPECT_EQ(script.faults[1].number, 16);
  EXPECT_EQ(script.faults[1].times, 0U);
  EXPECT_EQ(script.faults[1].chance, 100);
  EXPECT_EQ(script.faults[2].text, "PutBaudRate fails by the panel's script");
  EXPECT_EQ(script.faults[3].action, PanelFaultAction::Delay);
  EXPECT_EQ(script.faults[3].time, 90s);
  EXPECT_EQ(script.faults[4].action, PanelFaultAction::Long);
  EXPECT_EQ(script.faults[4].count, 4U);
  EXPECT_EQ(script.faults[5].action, PanelFaultAction::Corrupt);
  EXPECT_EQ(script.faults[5].count, 0U);
  EXPECT_EQ(script.faults[6].action, PanelFaultAction::Restart);
  EXPECT_EQ(script.faults[6].count, 3U);
}

TEST(PanelScript, EveryOperationCanBeMadeToFail) {
  for (std::int32_t slot = 1; slot <= static_cast<std::int32_t>(PanelOperationCount); ++slot) {
    const auto operation = static_cast<PanelOperation>(slot);
    const PanelScript script = Parse("fault " + std::string(PanelOperationName(operation)) + " fail 3");
    ASSERT_EQ(script.faults.size(), 1U);
    EXPECT_EQ(script.faults[0].operation, operation);
  }
}

TEST(PanelScript, AnActionFitsTheOperationsForWhichItHasAMeaning) {
  struct Fit {
    const char* action;
    std::vector<PanelOperation> operations;
  };
  using P = PanelOperation;
  const std::vector<P> requests{P::WriteItems, P::ReadItems, P::WriteGroup, P::ReadGroup};
  const std::vector<P> arrays{P::WriteItems, P::ReadItems, P::ReadGroup};
  const std::vector<P> downloads{P::DownloadFirmware, P::DownloadProject};
  const std::vector<P> refusable{P::WriteItems,           P::ReadItems,     P::WriteGroup,  P::ReadGroup,
                                 P::SetConfigurationMode, P::CheckVariable, P::CreateDevice};
  for (const auto& [action, operations] :
       {Fit{"refuse", refusable}, Fit{"delay 1 s", requests}, Fit{"never", requests}, Fit{"twice", requests},
        Fit{"late 1 s", requests}, Fit{"short 1", arrays}, Fit{"long 1", arrays},
        Fit{"break at block 1", downloads}, Fit{"restart at block 1", downloads},
        Fit{"corrupt at block 1", downloads}, Fit{"corrupt", downloads}}) {
    std::vector<P> fitting;
    for (std::int32_t slot = 1; slot <= static_cast<std::int32_t>(PanelOperationCount); ++slot) {
      const auto operation = static_cast<P>(slot);
      const std::string failure =
          FailureOfText("fault " + std::string(PanelOperationName(operation)) + ' ' + action);
      if (failure == "0:")
        fitting.push_back(operation);
      else
        EXPECT_NE(failure.find("makes no sense for"), std::string::npos) << failure;
    }
    EXPECT_EQ(fitting, operations) << action;
  }
  EXPECT_NE(FailureOfText("fault WO100 break at block 1").find("makes no sense for WO100"), std::string::npos);
  EXPECT_EQ(FailureOfText("fault WO100 short 1"), "0:");
}

TEST(PanelScript, LinkCutsAndSignalsAreInMilliseconds) {
  const PanelScript script = Parse(
      "link cut at 0 s\nlink cut at 10 s for 5 s\nlink cut at 1.5 s for 250 ms every 1 h\n"
      "signal WO100 counter -5 to 5 every 0.1 s\nsignal FL104 constant -1e3\n");
  ASSERT_EQ(script.cuts.size(), 3U);
  EXPECT_EQ(script.cuts[0].forMs, 0);
  EXPECT_EQ(script.cuts[1].atMs, 10000);
  EXPECT_EQ(script.cuts[1].everyMs, 0);
  EXPECT_EQ(script.cuts[2].atMs, 1500);
  EXPECT_EQ(script.cuts[2].forMs, 250);
  EXPECT_EQ(script.cuts[2].everyMs, 3'600'000);
  ASSERT_EQ(script.signals.size(), 2U);
  EXPECT_EQ(script.signals[0].low, -5);
  EXPECT_EQ(script.signals[0].periodMs, 100);
  EXPECT_EQ(script.signals[1].At(123), -1000);
}

TEST(PanelScript, MemoryTakesEachKindOfItemWithinItsRange) {
  PanelMemory memory;
  Parse(
      "memory BI100.3 1\nmemory BY103 0xFF\nmemory WO104 -2\nmemory WO106 65535\nmemory DW108 4294967295\n"
      "memory DW112 -1\nmemory FL116 1.5\nmemory ST002003 \"\xC3\x84\"\nmemory RA003 a1 B2\n")
      .PutMemory(memory);
  EXPECT_EQ(memory.Word(100), 8);
  EXPECT_EQ(memory.Byte(103), 255);
  EXPECT_EQ(memory.Word(104), 0xFFFE);
  EXPECT_EQ(memory.Word(106), 0xFFFF);
  EXPECT_EQ(memory.DoubleWord(108), 0xFFFFFFFFU);
  EXPECT_EQ(memory.DoubleWord(112), 0xFFFFFFFFU);
  EXPECT_EQ(memory.Single(116), 1.5F);
  EXPECT_EQ(memory.DoubleWord(200), 0xC4000000U);
  EXPECT_EQ(memory.DoubleWord(32768), 0xA1B20000U);
  for (const char* line :
       {"memory BI100.3 2", "memory BY103 256", "memory BY103 -1", "memory WO104 -32769",
        "memory DW108 4294967296", "memory DW108 -2147483649", "memory FL116 1e39", "memory WO104 1e30",
        "memory WO104 0xFFFFFFFFFFFFFFFFFF", "memory WO104 0x-1", "memory WO104", "memory WO104 \"5\"",
        "memory WO104 5 6", "memory RA003", "memory ST002003 \"\xE2\x82\xAC\xE2\x89\xA0\""})
    EXPECT_EQ(FailureOfText(line).substr(0, 3), "10:") << line;
}

TEST(PanelScript, OfTwoValuesOfAnItemTheLaterStaysAndWhatIsLeftOfATextOrOfBytesIsZero) {
  PanelMemory memory;
  Parse(
      "memory ST002004 \"abcd\"\nmemory ST002004 \"x\"\nmemory RA004 A0 A1 A2 A3\nmemory RA004 B0\n"
      "memory WO100 1\nmemory WO100 2")
      .PutMemory(memory);
  EXPECT_EQ(memory.DoubleWord(200), 0x78000000U);
  EXPECT_EQ(memory.DoubleWord(32768), 0xB0000000U);
  EXPECT_EQ(memory.Word(100), 2);
}

TEST(PanelScript, EachSettingReachesItsOption) {
  const PanelOptions options =
      Parse(
          "set BootVersion 1.25\nset BootDate \"then\"\nset FirmwareVersion 2.5\n"
          "set BoardDescription \"board\"\nset BoardStatus -1\nset CommunicationStatus 9\n"
          "set BaudRate 300\nset GroupCapacity 0\nset MinorVersion -2\nset MajorVersion 3\n"
          "set Description \"d\"\nset ComPortNumber 255\nset ProjectName \"p\"\n"
          "set GroupTransfer True\nset WordIO -4\nset Timeout 0\nset NetworkType 5\n"
          "set FirmwareDownloadNeeded False\nset ProjectDownloadNeeded True\n"
          "set HeldFirmware \"f\"\nset HeldProject \"g\"\nset MaximumGroupWords 6\n"
          "set MaximumGroupItems 7\nset DeviceKinds \"A\" \"B\"\nanswer after 3 s\n")
          .Applied({});
  EXPECT_EQ(options.bootVersion, 1.25F);
  EXPECT_EQ(options.bootDate, "then");
  EXPECT_EQ(options.firmwareVersion, 2.5F);
  EXPECT_EQ(options.boardDescription, "board");
  EXPECT_EQ(options.boardStatus, -1);
  EXPECT_EQ(options.communicationStatus, 9);
  EXPECT_EQ(options.baudRate, 300);
  EXPECT_EQ(options.groupCapacity, 0);
  EXPECT_EQ(options.minorVersion, -2);
  EXPECT_EQ(options.majorVersion, 3);
  EXPECT_EQ(options.description, "d");
  EXPECT_EQ(options.comPortNumber, 255);
  EXPECT_EQ(options.projectName, "p");
  EXPECT_TRUE(options.groupTransfer);
  EXPECT_EQ(options.wordIO, -4);
  EXPECT_EQ(options.timeout, 0);
  EXPECT_EQ(options.networkType, 5);
  EXPECT_EQ(options.firmwareDownloadNeeded, false);
  EXPECT_EQ(options.projectDownloadNeeded, true);
  EXPECT_EQ(options.heldFirmware.name, "f");
  EXPECT_EQ(options.heldProject.name, "g");
  EXPECT_EQ(options.maximumGroupWords, 6);
  EXPECT_EQ(options.maximumGroupItems, 7);
  EXPECT_EQ(options.deviceKinds, (std::set<std::string>{"A", "B"}));
  EXPECT_EQ(options.completionDelay, 3s);
}

TEST(PanelScript, OfTwoSettingsTheLaterCounts) {
  EXPECT_EQ(Parse("set WordIO 1\nset WordIO 2").Applied({}).wordIO, 2);
  EXPECT_EQ(Parse("seed 1\nseed 2").seed, 2U);
}

TEST(PanelScript, EachMistakeIsToldWithItsLineInEveryFormOfText) {
  const std::string two =
      "10:The panel script 'test' has 2 mistakes:\r\nline 2: the seed is missing; write it like: "
      "seed 42\r\nline 4: 'Seed' is no statement: seed, answer, set, memory, signal, fault or link";
  EXPECT_EQ(FailureOfText("# one\nseed\n\nSeed 1"), two);
  EXPECT_EQ(FailureOfText("# one\r\nseed\r\n\r\nSeed 1\r\n"), two);
  EXPECT_EQ(FailureOfText("\xEF\xBB\xBF# one\nseed\n\nSeed 1"), two);
  EXPECT_EQ(FailureOfText("# one \xC4\nseed\n\nSeed 1"), two);
}

TEST(PanelScript, TheFirstTenMistakesAreToldAndTheOthersCounted) {
  std::string text;
  for (int line = 1; line <= 12; ++line)
    text += "seed\n";
  std::string expected = "10:The panel script 'test' has 12 mistakes:";
  for (int line = 1; line <= 10; ++line)
    expected += "\r\nline " + std::to_string(line) + ": the seed is missing; write it like: seed 42";
  EXPECT_EQ(FailureOfText(text), expected + "\r\nand 2 more");
  EXPECT_EQ(FailureOfText(text.substr(0, text.size() - 10)), expected.replace(31, 2, "10"));
}

TEST(PanelScript, TextsAreReadInWindows1252WhenTheyAreNoUtf8) {
  EXPECT_EQ(Parse("set BoardDescription \"S\xE4ge\"").Applied({}).boardDescription, "S\xC3\xA4ge");
  EXPECT_EQ(Parse("set BoardDescription \"S\xC3\xA4ge\"").Applied({}).boardDescription, "S\xC3\xA4ge");
}

TEST(PanelScript, WordsAndTextsAreKeptApart) {
  for (const char* line :
       {"set \"BootVersion\" 1", "set BootDate then", "\"seed\" 1", "set BootDate \"a\"b",
        "set BootDate a\"b\"", "set BootDate \"", "set BootDate \"a\"\"", "signal \"WO100\" constant 1"})
    EXPECT_EQ(FailureOfText(line).substr(0, 3), "10:") << line;
  EXPECT_EQ(Parse("set BootDate \"# \"\"x\"\" \" # \"").Applied({}).bootDate, "# \"x\" ");
  EXPECT_EQ(Parse("set BootDate \"\"").Applied({}).bootDate, "");
}

}  // namespace
}  // namespace orvo
