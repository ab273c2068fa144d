#include "KitRun.h"
#include "errors/AutomationError.h"
#include "kit/Checks.h"
#include "kit/DriverTestKit.h"
#include "simulated/SimulatedPanel.h"

#include <set>
#include <string_view>

namespace orvo::testing {

namespace {

using kit::Verdict;

std::vector<kit::Check> AllChecks() {
  std::vector<kit::Check> all;
  for (const auto group : {kit::DeviceChecks(), kit::CommunicationChecks(), kit::PropertyChecks(),
                           kit::ReadChecks(), kit::WriteChecks(), kit::SequenceChecks(), kit::EndChecks(),
                           kit::SessionChecks(), kit::GroupChecks(), kit::DownloadChecks()})
    all.insert(all.end(), group.begin(), group.end());
  return all;
}

TEST(DriverTestKit, ChecksHaveNamesOfTheirOwnAndASentenceEach) {
  std::set<std::string_view> names;
  for (const kit::CheckInfo& check : kit::DriverTestKit::Checks()) {
    EXPECT_TRUE(names.insert(check.name).second) << check.name;
    EXPECT_EQ(check.name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-"), std::string_view::npos)
        << check.name;
    EXPECT_TRUE(check.asks.ends_with('.')) << check.asks;
  }
  EXPECT_EQ(names.size(), AllChecks().size());
}

TEST(DriverTestKit, AChecksGroundIsAlwaysAnEarlierCheck) {
  std::set<std::string> earlier;
  for (const kit::Check& check : AllChecks()) {
    std::string needs(check.needs);
    while (!needs.empty()) {
      const std::string name = needs.substr(0, needs.find(' '));
      needs.erase(0, name.size() + 1);
      EXPECT_TRUE(earlier.contains(name)) << check.info.name << " needs " << name;
    }
    earlier.insert(std::string(check.info.name));
  }
}

TEST(DriverTestKit, APlanWithoutItemsIsRefused) {
  KitRun run;
  try {
    run.Run([](DriverHost host) { return SimulatedPanel::Make(host); });
    FAIL() << "nothing could have been read";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.Number(), 5);
    EXPECT_NE(error.Description().find("names no item"), std::string::npos) << error.Description();
  }
}

TEST(DriverTestKit, ResultsAreReportedOneByOneInTheOrderOfTheChecks) {
  KitRun run;
  run.plan.deviceKind = "PanelB";
  run.plan.items = {"WO100"};
  kit::DriverTestKit kit(
      run.platform, run.files, [](DriverHost host) { return SimulatedPanel::Make(host); }, run.plan);
  std::vector<std::string_view> reported;
  const auto results = kit.Run([&](const kit::CheckResult& result) { reported.push_back(result.check.name); });
  const auto checks = kit::DriverTestKit::Checks();
  ASSERT_EQ(reported.size(), checks.size());
  ASSERT_EQ(results.size(), checks.size());
  for (std::size_t k = 0; k < checks.size(); ++k) {
    EXPECT_EQ(reported[k], checks[k].name);
    EXPECT_EQ(results[k].check.name, checks[k].name);
  }
}

TEST(DriverTestKit, WhatThePlanDoesNotNameIsNotTouched) {
  KitRun run;
  run.plan.deviceKind = "PanelB";
  run.plan.items = {"WO100"};
  run.files.PutFile("firmware.bin", "f");
  std::vector<std::shared_ptr<SimulatedPanel>> panels;
  run.Run([&](DriverHost host) {
    panels.push_back(SimulatedPanel::Make(host));
    return panels.back();
  });
  EXPECT_EQ(run.Detail("writes"), "no value is given that may be written");
  EXPECT_EQ(run.Detail("reads-back"), "no value is given that may be written") << "the first cause is told";
  EXPECT_EQ(run.Detail("refuses-wrong-items"), "no wrong identifier is given");
  EXPECT_EQ(run.Detail("downloads-firmware"), "no firmware and no project is given that may be downloaded");
  for (const auto& panel : panels) {
    EXPECT_EQ(panel->Faults().Calls(PanelOperation::WriteItems), 0);
    EXPECT_EQ(panel->Faults().Calls(PanelOperation::WriteGroup), 0);
    EXPECT_EQ(panel->Faults().Calls(PanelOperation::DownloadFirmware), 0);
    EXPECT_EQ(panel->Faults().Calls(PanelOperation::SetConfigurationMode), 0);
  }
  EXPECT_FALSE(panels.empty());
  panels.clear();
}

// What the value of a plan becomes, by the check that writes it.
std::string OutcomeOfWriting(const std::string& item, const std::string& value) {
  KitRun run;
  run.plan.deviceKind = "PanelB";
  run.plan.items = {"WO100"};
  run.plan.writes = {{item, value}};
  run.Run([](DriverHost host) { return SimulatedPanel::Make(host); });
  if (run.Failed().empty()) return run.Detail("reads-back").empty() ? "read back" : run.Detail("reads-back");
  return run.Failed() + ": " + run.Detail(run.Failed());
}

TEST(DriverTestKit, ValuesOfEveryTypeAreWrittenAndReadBack) {
  for (const auto& [item, value] : std::vector<std::pair<std::string, std::string>>{{"WO100", "-32768"},
                                                                                    {"WO100", "65535"},
                                                                                    {"DW100", "4294967295"},
                                                                                    {"DW100", "-1"},
                                                                                    {"BI100.3", "1"},
                                                                                    {"BY101", "200"},
                                                                                    {"FL100", "-2.5e3"},
                                                                                    {"ST0020010", "Vanilla 3%"},
                                                                                    {"ST0020010", ""},
                                                                                    {"RA036", "a0 A1b2"}})
    EXPECT_EQ(OutcomeOfWriting(item, value), "read back") << item << " = " << value;
}

TEST(DriverTestKit, AValueThatDoesNotFitItsItemIsNamed) {
  const auto outcome = [](const std::string& item, const std::string& value, const std::string& why) {
    EXPECT_EQ(OutcomeOfWriting(item, value),
              "writes: '" + value + "' cannot be written to '" + item + "': " + why);
  };
  outcome("WO100", "seven", "it is no number");
  outcome("WO100", "1.5", "it is no whole number of 32 bits");
  outcome("DW100", "4294967296", "it is no whole number of 32 bits");
  outcome("FL100", "", "it is no number");
  outcome("ST0020010", "Vanilla 3% and more", "it is longer than the item");
  outcome("RA032", "A0 A1 A2", "it is longer than the item");
  outcome("RA032", "A0 A", "it ends in half a byte");
  outcome("RA032", "A0 G1", "it is no row of bytes such as A0 A1");
}

}  // namespace

}  // namespace orvo::testing
