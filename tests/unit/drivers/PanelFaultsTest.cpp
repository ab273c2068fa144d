#include "PanelFixture.h"
#include "simulated/PanelFaults.h"

#include <algorithm>

namespace orvo {
namespace {

using testing::FailureOf;
using testing::Log;

PanelFaults Scripted(const std::string& text) {
  const PanelScript script = PanelScript::Parse("test", text);
  PanelFaults faults;
  faults.PutScript(script.seed, script.faults);
  return faults;
}

// The failures of the next calls of ReadItems, "-" for one that goes through.
std::string Calls(PanelFaults& faults, int count) {
  std::string calls;
  for (int call = 0; call < count; ++call) {
    const std::string failure = FailureOf([&] { faults.Enter(PanelOperation::ReadItems); });
    calls += failure == "0:" ? "-" : failure.substr(0, failure.find(':'));
  }
  return calls;
}

TEST(PanelFaultRules, AfterAndTimesSayWhichCallsAreHit) {
  PanelFaults always = Scripted("fault ReadItems fail 3");
  EXPECT_EQ(Calls(always, 4), "3333");
  PanelFaults after = Scripted("fault ReadItems fail 3 after 2");
  EXPECT_EQ(Calls(after, 5), "--333");
  PanelFaults times = Scripted("fault ReadItems fail 3 times 2");
  EXPECT_EQ(Calls(times, 5), "33---");
  PanelFaults both = Scripted("fault ReadItems fail 3 after 1 times 2");
  EXPECT_EQ(Calls(both, 5), "-33--");
  EXPECT_EQ(both.Calls(PanelOperation::ReadItems), 5);
}

TEST(PanelFaultRules, TheFirstThatHitsDecidesAndTheOthersHaveSeenTheCall) {
  PanelFaults faults = Scripted("fault ReadItems fail 3 times 2\nfault ReadItems fail 4 after 1 times 2");
  EXPECT_EQ(Calls(faults, 6), "3344--");
}

TEST(PanelFaultRules, OnlyItsOwnOperationIsHit) {
  PanelFaults faults = Scripted("fault WriteItems fail 3\nfault PutBaudRate fail 4");
  EXPECT_EQ(Calls(faults, 1), "-");
  EXPECT_EQ(FailureOf([&] { faults.Enter(PanelOperation::BaudRate); }), "0:");
  EXPECT_EQ(FailureOf([&] { faults.Enter(PanelOperation::PutBaudRate); }),
            "4:PutBaudRate fails by the panel's script");
}

TEST(PanelFaultRules, TheSameSeedIsTheSameRunAndAnotherOneAnother) {
  const std::string chance = "fault ReadItems fail 3 chance 30 %";
  PanelFaults first = Scripted("seed 7\n" + chance);
  PanelFaults second = Scripted("seed 7\n" + chance);
  PanelFaults other = Scripted("seed 8\n" + chance);
  const std::string run = Calls(first, 1000);
  EXPECT_EQ(Calls(second, 1000), run);
  EXPECT_NE(Calls(other, 1000), run);
  const auto hits = std::count(run.begin(), run.end(), '3');
  EXPECT_GT(hits, 250);
  EXPECT_LT(hits, 350);
}

TEST(PanelFaultRules, AChanceOf0NeverHitsAndACallThatIsSparedDoesNotCountForTimes) {
  PanelFaults never = Scripted("fault ReadItems fail 3 chance 0 %");
  EXPECT_EQ(Calls(never, 20), std::string(20, '-'));
  PanelFaults twice = Scripted("fault ReadItems fail 3 chance 20 % times 2");
  const std::string run = Calls(twice, 500);
  EXPECT_EQ(std::count(run.begin(), run.end(), '3'), 2);
  EXPECT_NE(run.substr(0, 2), "33");
}

TEST(PanelFaultRules, AScriptReplacesTheOneBeforeAndLeavesTheControlFaceAlone) {
  PanelFaults faults = Scripted("fault ReadItems fail 3");
  faults.FailNext(PanelOperation::ReadItems, 4, "control", 2);
  EXPECT_EQ(Calls(faults, 1), "3");
  const PanelScript next = PanelScript::Parse("test", "fault ReadItems fail 5 after 1 times 1");
  faults.PutScript(next.seed, next.faults);
  EXPECT_EQ(Calls(faults, 4), "445-") << "the control face was there before the script";
  faults.PutScript(next.seed, next.faults);
  EXPECT_EQ(Calls(faults, 4), "-5--") << "its counters begin anew";
}

TEST(PanelFaultRules, ARefusedReadOrWriteIsBusyAndAnotherOperationIsToldSo) {
  PanelFaults faults = Scripted("fault ReadItems refuse times 1\nfault CheckVariable refuse times 1");
  EXPECT_EQ(FailureOf([&] { faults.Enter(PanelOperation::ReadItems); }),
            "1:The panel is busy and refuses ReadItems");
  EXPECT_TRUE(faults.Enter(PanelOperation::CheckVariable));
  EXPECT_FALSE(faults.Enter(PanelOperation::CheckVariable));
}

TEST(PanelFaultRules, ItemErrorsAndTheFaultOfTheAnswerAreDecidedApart) {
  PanelFaults faults = Scripted(
      "fault WO100 fail 5 times 1\nfault WO100 fail 6\nfault WO102 fail 7\nfault WO102 twice\n"
      "fault ReadItems never times 1\n");
  const double first = PanelIdentifier::Parse("WO100").address.Encode();
  const double second = PanelIdentifier::Parse("WO102").address.Encode();
  const std::vector<double> both{first, second, first};
  PanelAnswerPlan plan = faults.Plan(PanelOperation::ReadItems, both);
  EXPECT_EQ(plan.ErrorOf(first), 5);
  EXPECT_EQ(plan.ErrorOf(second), 7);
  EXPECT_EQ(plan.ErrorOf(1.0), 0);
  EXPECT_TRUE(plan.Is(PanelFaultAction::Twice)) << "its line comes first";
  plan = faults.Plan(PanelOperation::ReadItems, std::vector<double>{first});
  EXPECT_EQ(plan.ErrorOf(first), 6);
  EXPECT_TRUE(plan.Is(PanelFaultAction::Never)) << "not used up by the request before";
  plan = faults.Plan(PanelOperation::ReadItems, std::vector<double>{});
  EXPECT_FALSE(plan.fault.has_value());
}

TEST(PanelFaultRules, AnOperationWithoutFaultIsFoundByItsExactName) {
  EXPECT_EQ(FindPanelOperation("Timeout"), PanelOperation::Timeout);
  EXPECT_EQ(FindPanelOperation("timeout"), std::nullopt);
  EXPECT_EQ(SimilarPanelOperation("TIMEOUT"), "Timeout");
  EXPECT_EQ(SimilarPanelOperation("Time"), "");
}

}  // namespace
}  // namespace orvo
