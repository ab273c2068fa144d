// docs/panel.md says what the code does: every row of its tables and both of its examples are tried.
#include "PanelFixture.h"
#include "simulated/PanelSetting.h"

#include <fstream>
#include <set>
#include <sstream>

namespace orvo {
namespace {

using testing::FailureOf;

using Row = std::vector<std::string>;

// The cells of "| a | b |", without the marks of code.
Row Cells(const std::string& line) {
  Row cells;
  std::istringstream rest(line.substr(1));
  for (std::string cell; std::getline(rest, cell, '|');) {
    const std::size_t first = cell.find_first_not_of(' ');
    cells.push_back(first == std::string::npos ? ""
                                               : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
  }
  if (!cells.empty() && cells.front().starts_with('`') &&
      cells.front().find('`', 1) == cells.front().size() - 1)
    cells.front() = cells.front().substr(1, cells.front().size() - 2);
  return cells;
}

class PanelPage : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ifstream page(ORVO_PANEL_PAGE);
    ASSERT_TRUE(page) << ORVO_PANEL_PAGE;
    for (std::string line; std::getline(page, line);)
      lines_.push_back(line);
  }
  // The rows of the tables whose first column has this heading; at least `least` of them.
  std::vector<Row> Table(const std::string& heading, std::size_t least) {
    std::vector<Row> rows;
    bool inside = false;
    for (const std::string& line : lines_) {
      if (!line.starts_with('|')) {
        inside = false;
        continue;
      }
      Row cells = Cells(line);
      if (cells.front() == heading)
        inside = true;
      else if (inside && !cells.front().starts_with("---"))
        rows.push_back(std::move(cells));
    }
    EXPECT_GE(rows.size(), least) << heading;
    return rows;
  }
  // The block of code with this mark.
  std::string Block(const std::string& mark) {
    std::string block;
    bool inside = false;
    for (const std::string& line : lines_) {
      if (line == "```" + mark)
        inside = true;
      else if (line == "```")
        inside = false;
      else if (inside)
        block += line + '\n';
    }
    EXPECT_NE(block, "") << mark;
    return block;
  }

 private:
  std::vector<std::string> lines_;
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
