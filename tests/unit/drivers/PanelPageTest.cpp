// docs/panel.md says what the code does: every row of its tables and both of its examples are tried.
#include "PanelFixture.h"
#include "simulated/PanelSetting.h"
#include "support/DocumentPage.h"

#include <set>

namespace orvo {
namespace {

using testing::FailureOf;

using testing::DocumentPage;
using Row = DocumentPage::Row;

class PanelPage : public ::testing::Test {
 protected:
  std::vector<Row> Table(const std::string& heading, std::size_t least) { return page_.Table(heading, least); }
  std::string Block(const std::string& mark) { return page_.Block(mark); }

 private:
  const DocumentPage page_{ORVO_PANEL_PAGE};
};

TEST_F(PanelPage, EachIdentifierHasTheLengthAndTypeOfItsRow) {
  const std::vector<std::string> types{"integer", "string", "floating point", "raw"};
  std::set<std::string> codes;
  for (const Row& row : Table("identifier", 7)) {
    SCOPED_TRACE(row[0]);
    const PanelIdentifier parsed = PanelIdentifier::Parse(row[0]);
    EXPECT_EQ(std::to_string(parsed.wordLength), row[2]);
    EXPECT_EQ(types.at(static_cast<std::size_t>(parsed.itemType)), row[3]);
    codes.insert(row[0].substr(0, 2));
  }
  EXPECT_EQ(codes, (std::set<std::string>{"BI", "BY", "WO", "DW", "FL", "ST", "RA"}));
}

TEST_F(PanelPage, EachWrongIdentifierFailsWithTheTextOfItsRow) {
  for (const Row& row : Table("wrong", 20))
    EXPECT_EQ(FailureOf([&] { PanelIdentifier::Parse(row[0]); }),
              "10:Item identifier '" + row[0] + "': " + row[1]);
}

TEST_F(PanelPage, EachStatementAndFaultAndTailIsTaken) {
  std::set<std::string> actions;
  for (const char* heading : {"statement", "setting", "fault", "tail"})
    for (const Row& row : Table(heading, 4)) {
      EXPECT_EQ(FailureOf([&] { PanelScript::Parse("page", row[0]); }), "0:") << row[0];
      for (const PanelFault& fault : PanelScript::Parse("page", row[0]).faults)
        actions.insert(std::string(PanelFaultActionName(fault.action)));
    }
  EXPECT_EQ(actions.size(), 11U) << "every action has a row";
}

TEST_F(PanelPage, EachSettingHasItsRow) {
  std::vector<std::string> rows;
  for (const Row& row : Table("setting", 24))
    rows.push_back(row[0]);
  std::vector<std::string> settings;
  for (const std::string_view example : PanelSettingExamples())
    settings.emplace_back(example);
  EXPECT_EQ(rows, settings);
}

TEST_F(PanelPage, EachMistakeHasTheTextOfItsRow) {
  for (const Row& row : Table("line", 25))
    EXPECT_EQ(FailureOf([&] { PanelScript::Parse("p", row[0]); }),
              "10:The panel script 'p' has 1 mistake:\r\nline 1: " + row[1]);
}

TEST_F(PanelPage, TheTextOfTwoMistakesIsAsShown) {
  std::string shown = Block("mistakes");
  shown.pop_back();
  for (std::size_t end = shown.find('\n'); end != std::string::npos; end = shown.find('\n', end + 2))
    shown.insert(end, "\r");
  const std::string text = "\n\nsignal FL112 sine 18.5 to 21.5 every 3\n\n\n\nfault BaudRate never\n";
  EXPECT_EQ(FailureOf([&] { PanelScript::Parse("plant.panel", text); }), "10:" + shown);
}

TEST_F(PanelPage, TheCompleteScriptIsTaken) {
  const PanelScript script = PanelScript::Parse("page", Block("panel"));
  EXPECT_EQ(script.seed, 42U);
  EXPECT_EQ(script.memory.size(), 3U);
  EXPECT_EQ(script.signals.size(), 7U);
  EXPECT_EQ(script.faults.size(), 4U);
  EXPECT_EQ(script.cuts.size(), 1U);
  const PanelOptions options = script.Applied({});
  EXPECT_EQ(options.boardDescription, "Line 7");
  EXPECT_EQ(options.baudRate, 19200);
  EXPECT_EQ(options.groupCapacity, 4);
}

TEST_F(PanelPage, EveryBeginningOfTheCompleteScriptIsTakenOrRefusedWithItsLastLine) {
  const std::string text = Block("panel");
  std::size_t line = 1;
  std::size_t taken = 0;
  for (std::size_t end = 0; end < text.size(); ++end) {
    const std::string failure = FailureOf([&] { PanelScript::Parse("p", text.substr(0, end)); });
    if (failure == "0:")
      ++taken;
    else
      EXPECT_TRUE(
          failure.starts_with("10:The panel script 'p' has 1 mistake:\r\nline " + std::to_string(line) + ':'))
          << failure;
    if (text[end] == '\n') ++line;
  }
  EXPECT_GT(taken, line);
  EXPECT_LT(taken, text.size() / 2);
}

class PanelOfThePage : public PanelPage {};

TEST_F(PanelOfThePage, ShowsWhatItsScriptDescribes) {
  SimulatedPlatform platform;
  MemoryFiles files;
  files.PutFile("plant.panel", Block("panel"));
  const auto panel = SimulatedPanel::Make({platform, files});
  const auto sink = std::make_shared<testing::LoggingSink>();
  panel->SetEventSink(sink);
  ASSERT_NE(panel->CreateDevice("PanelB?plant.panel"), nullptr);
  panel->OpenCommunication(true);
  const auto read = [&](const char* identifier) {
    const PanelIdentifier item = PanelIdentifier::Parse(identifier);
    panel->ReadItems({item.address.Encode()}, {static_cast<std::int16_t>(item.wordLength)});
    platform.Advance(std::chrono::milliseconds(20));
  };
  read("WO106");
  read("ST0030019");
  read("WO120");
  EXPECT_EQ(sink->log,
            (testing::Log{"ReadComplete UI1[52,18]=0",
                          "ReadComplete UI1[50,48,50,52,45,48,49,45,49,53,32,49,50,58,48,48,58,48,48,0]=0",
                          "ReadComplete UI1[7,0]=0"}));
}

}  // namespace
}  // namespace orvo
