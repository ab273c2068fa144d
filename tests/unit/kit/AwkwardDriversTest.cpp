// The kit against drivers with a single slip each: exactly the checks that must notice do.
#include "AwkwardDriver.h"
#include "KitRun.h"
#include "kit/ThreadCount.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ostream>

namespace orvo::testing {

namespace {

using namespace std::chrono_literals;
using kit::Verdict;

void RunBoard(KitRun& run, const DriverRegistry::Factory& factory) {
  run.files.PutFile("firmware.bin", "f");
  run.plan.deviceKind = "Board";
  if (run.plan.items.empty()) run.plan.items = {"R0", "R1"};
  run.plan.writes = {{"R0", "7"}, {"R1", "-1"}};
  run.plan.wrongItems = {"X1"};
  run.plan.firmwareFile = "firmware.bin";
  run.plan.timeout = 1s;
  run.Run(factory);
}

void RunSlip(KitRun& run, Slip slip) {
  Leftovers leftovers;
  RunBoard(run, [&](DriverHost host) { return std::make_shared<AwkwardDriver>(host, slip, leftovers); });
}

TEST(DriverUnderTest, WithoutASlipItPasses) {
  KitRun run;
  RunSlip(run, Slip::None);
  EXPECT_EQ(run.Failed(), "");
  EXPECT_EQ(run.Detail("refuses-groups-while-closed"), "the driver transfers no whole groups");
  KitRun groups;
  RunSlip(groups, Slip::TransfersGroups);
  EXPECT_EQ(groups.Failed(), "");
  EXPECT_EQ(groups.Detail("long-session-of-groups"), "");
}

TEST(DriverUnderTest, WithoutValuesToWriteGroupsAreRead) {
  KitRun run;
  Leftovers leftovers;
  run.plan.deviceKind = "Board";
  run.plan.items = {"R0"};
  run.Run([&](DriverHost host) {
    return std::make_shared<AwkwardDriver>(host, Slip::TakesGroupWritesWhileClosed, leftovers);
  });
  EXPECT_EQ(run.Failed(), "");
  EXPECT_EQ(run.Detail("refuses-groups-while-closed") + run.Detail("long-session-of-group-reads"), "");
  EXPECT_EQ(run.Detail("long-session-of-groups"), "no value is given that may be written");
}

TEST(DriverUnderTest, AFactoryThatGivesOneDriverAgainIsFound) {
  KitRun run;
  Leftovers leftovers;
  std::shared_ptr<AwkwardDriver> only;
  RunBoard(run, [&](DriverHost host) {
    if (!only) only = std::make_shared<AwkwardDriver>(host, Slip::None, leftovers);
    return only;
  });
  EXPECT_EQ(run.Failed(), "makes-drivers");
  EXPECT_EQ(run.Detail("makes-drivers"), "the factory gives the same driver again");
  only.reset();
}

TEST(DriverUnderTest, AFactoryThatGivesNothingOrFailsIsFound) {
  KitRun nothing;
  RunBoard(nothing, [](DriverHost) { return nullptr; });
  EXPECT_EQ(nothing.Failed(), "makes-drivers");
  EXPECT_EQ(nothing.Detail("makes-drivers"), "the factory made no driver");
  KitRun failing;
  RunBoard(failing,
           [](DriverHost) -> std::shared_ptr<CommunicationDriver> { throw AutomationError(3, "no port"); });
  EXPECT_EQ(failing.Detail("makes-drivers"), "the factory failed with 3 (no port)");
  EXPECT_EQ(failing.Detail("takes-sink"), "it builds on makes-drivers, which failed");
  EXPECT_EQ(failing.Detail("reads"), "it builds on makes-drivers, which failed") << "the first cause is told";
}

TEST(DriverUnderTest, ALengthThatDoesNotFitTheIdentifierIsFound) {
  KitRun run;
  run.plan.items = {"WO0"};
  RunSlip(run, Slip::None);
  EXPECT_EQ(run.Failed(), "");
  EXPECT_EQ(run.Detail("fits-identifiers"), "");
  run.plan.items = {"WO0", "DW0"};
  RunSlip(run, Slip::None);
  EXPECT_EQ(run.Failed(), "fits-identifiers");
  EXPECT_EQ(run.Detail("fits-identifiers"),
            "'DW0' is compiled to type 0 and 1 words; by its letters it has type 0 and 2 words");
}

struct SlipRow {
  const char* name;
  Slip slip;
  const char* failed;
  const char* detail;  // what the first of them saw
};

std::ostream& operator<<(std::ostream& out, const SlipRow& row) {
  return out << row.name;
}

class SingleSlip : public ::testing::TestWithParam<SlipRow> {};

TEST_P(SingleSlip, IsFoundByTheRightCheck) {
  if (GetParam().slip == Slip::LeavesAThread && !kit::ThreadCount())
    GTEST_SKIP() << "this system does not tell how many threads a process has";
  KitRun run;
  RunSlip(run, GetParam().slip);
  const std::string failed = GetParam().failed;
  EXPECT_EQ(run.Failed(), failed);
  EXPECT_EQ(run.Detail(failed.substr(0, failed.find(' '))), GetParam().detail);
  EXPECT_EQ(run.platform.TimersAlive(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Slips, SingleSlip,
    ::testing::Values(
        SlipRow{"KnowsEveryKind", Slip::KnowsEveryKind, "knows-no-other-kind",
                "CreateDevice gives a device for the kind 'no such kind of device'"},
        SlipRow{"TakesEveryIdentifier", Slip::TakesEveryIdentifier, "refuses-wrong-items",
                "'X1' is taken for an identifier"},
        SlipRow{"RefusesWithoutText", Slip::RefusesWithoutText, "refuses-wrong-items",
                "CompileItemId of 'X1' is refused with 10 and no text"},
        SlipRow{"CompilesAnew", Slip::CompilesAnew, "compiles-alike",
                "'R0' is compiled to other facts the second time"},
        SlipRow{"CompilesNonsense", Slip::CompilesNonsense, "compiles-items", "'R0' has a length of 0 words"},
        SlipRow{"ExtractsText", Slip::ExtractsText, "extracts-numbers reads-back",
                "ExtractValue of 'R0' makes something else of a number"},
        SlipRow{"RefusesLoadedItems", Slip::RefusesLoadedItems, "accepts-loaded-items",
                "ItemLoaded of 'R0' failed with 10 (not loaded)"},
        SlipRow{"ThrowsForeignException", Slip::ThrowsForeignException,
                "refuses-while-closed reads answers-on-owners-thread closing-answers release-under-way",
                "ReadItems before the opening threw something other than an AutomationError: a slip"},
        SlipRow{"TakesWhileClosed", Slip::TakesWhileClosed, "refuses-while-closed refuses-writes-while-closed",
                "ReadItems is taken before the opening"},
        SlipRow{"AnswersInsideTheCall", Slip::AnswersInsideTheCall,
                "answers-outside-the-call answers-writes-once reads-from-the-handler "
                "survives-a-failing-handler closing-answers",
                "the answer came inside the call of ReadItems"},
        SlipRow{"AnswersOnAThread", Slip::AnswersOnAThread,
                "reads answers-on-owners-thread writes closing-answers",
                "no answer on the owner's thread within 1 s, but 1 call of the sink on another thread"},
        SlipRow{"CountsFromOne", Slip::CountsFromOne, "answers-arrays closing-answers",
                "the errors begin at 1, not at 0"},
        SlipRow{"AnswersNumbers", Slip::AnswersNumbers, "answers-bytes answers-errors-with-empty reads-back",
                "the value of 'R0' is no array of bytes"},
        SlipRow{"AnswersHalfTheBytes", Slip::AnswersHalfTheBytes,
                "answers-bytes answers-errors-with-empty reads-back",
                "the value of 'R0' has 1 byte instead of 2"},
        SlipRow{"AnswersAWrite", Slip::AnswersAWrite, "reads closing-answers",
                "the answer is AsyncWriteComplete instead of AsyncReadComplete"},
        SlipRow{"ValueBesideAnError", Slip::ValueBesideAnError, "answers-errors-with-empty closing-answers",
                "the value of 'address 0' is not Empty beside error 10"},
        SlipRow{"ForgetsWrites", Slip::ForgetsWrites, "reads-back",
                "'R0' does not read what was written to it"},
        SlipRow{"ForgetsTimeout", Slip::ForgetsTimeout, "keeps-properties",
                "Timeout answers 1000 after 1500 was put"},
        SlipRow{"KeepsRefusedBaudRate", Slip::KeepsRefusedBaudRate, "keeps-properties",
                "BaudRate answers 19200 after 9600 was put"},
        SlipRow{"AnswersAnotherVersion", Slip::AnswersAnotherVersion, "answers-identity",
                "MinorVersion answers something else the second time"},
        SlipRow{"FitsByLuck", Slip::FitsByLuck, "checks-sizes",
                "CheckVariable refuses 1000 words and accepts 10000"},
        SlipRow{"NegativeCapacity", Slip::NegativeCapacity, "answers-capacity", "GroupCapacity is -1"},
        SlipRow{"FreesTheLineLate", Slip::FreesTheLineLate, "reads-from-the-handler",
                "ReadItems inside AsyncReadComplete failed with 1 (busy)"},
        SlipRow{"ForgetsTheFirstRequest", Slip::ForgetsTheFirstRequest, "keeps-requests-apart",
                "2 errors for 1 address"},
        SlipRow{"AnswersInReverse", Slip::AnswersInReverse, "keeps-requests-apart", "2 errors for 1 address"},
        SlipRow{"RepeatsAfterAFailure", Slip::RepeatsAfterAFailure, "survives-a-failing-handler",
                "2 answers instead of 1 to a read whose handler failed"},
        SlipRow{"LetsExceptionsOut", Slip::LetsExceptionsOut, "survives-a-failing-handler",
                "an exception left the driver's timer or posted call: 91 (Object variable or With block "
                "variable not set: the handler of a test fails)"},
        SlipRow{"StopsAfterAFailure", Slip::StopsAfterAFailure, "survives-a-failing-handler",
                "ReadItems after it failed with 1 (busy)"},
        SlipRow{"HangsOnWrongLengths", Slip::HangsOnWrongLengths, "survives-wrong-lengths",
                "ReadItems after it failed with 1 (busy)"},
        SlipRow{"FailsToOpenAgain", Slip::FailsToOpenAgain, "opens",
                "OpenCommunication threw something other than an AutomationError: open already"},
        SlipRow{"FailsWhenOpen", Slip::FailsWhenOpen, "opens-twice",
                "the second OpenCommunication threw something other than an AutomationError: open"},
        SlipRow{"FailsWhenClosed", Slip::FailsWhenClosed, "closes-twice",
                "CloseCommunication before the first opening threw something other than an AutomationError: "
                "closed"},
        SlipRow{"TiresOfReading", Slip::TiresOfReading, "reads-again-and-again",
                "ReadItems failed with 99 (tired)"},
        SlipRow{"KeepsTheFormerSink", Slip::KeepsTheFormerSink, "answers-the-new-sink",
                "the former sink is still held after another one was set"},
        SlipRow{"CallsAWithdrawnSink", Slip::CallsAWithdrawnSink, "lives-without-a-sink",
                "1 answer instead of 0 at a sink that was withdrawn"},
        SlipRow{"ClosesInSilence", Slip::ClosesInSilence, "closing-answers-writes closing-answers",
                "no answer by the next pass of the message loop"},
        SlipRow{"AnswersInsideClose", Slip::AnswersInsideClose, "closing-answers-writes closing-answers",
                "the answer came inside a call into the driver"},
        SlipRow{"StaysBusyAfterClose", Slip::StaysBusyAfterClose, "closing-clears",
                "ReadItems after closing and opening failed with 1 (busy)"},
        SlipRow{"ForgetsWhenReleased", Slip::ForgetsWhenReleased, "closing-answers-though-released",
                "no answer by the next pass of the message loop"},
        SlipRow{"AnswersAfterItsEnd", Slip::AnswersAfterItsEnd,
                "closing-answers-though-released release-under-way says-nothing-after-its-end",
                "2 answers instead of 1 to one read"},
        SlipRow{"KeepsItself", Slip::KeepsItself, "release-under-way ends-when-released leaves-the-sink",
                "the driver is still alive 1 s after its release"},
        SlipRow{"LeavesATimer", Slip::LeavesATimer, "leaves-no-timer",
                "1 timer still running after the driver's release"},
        SlipRow{"LeavesAThread", Slip::LeavesAThread, "leaves-no-thread",
                "1 thread still running after the driver's release"},
        SlipRow{"KeepsTheSink", Slip::KeepsTheSink, "answers-the-new-sink leaves-the-sink",
                "the former sink is still held after another one was set"},
        SlipRow{"ProgressFalls", Slip::ProgressFalls, "downloads-firmware", "progress went from 50 % to 40 %"},
        SlipRow{"ReportsTwice", Slip::ReportsTwice, "downloads-firmware",
                "DownloadFirmwareComplete came after the completion"},
        SlipRow{"ReportsLater", Slip::ReportsLater, "downloads-firmware",
                "events came after DownloadFirmware had returned"},
        SlipRow{"DownloadsNothing", Slip::DownloadsNothing, "fails-without-a-file",
                "DownloadFirmware of a file that does not exist does not fail"},
        SlipRow{"ReportsNoProgress", Slip::ReportsNoProgress, "downloads-firmware", "no progress was reported"},
        SlipRow{"ProgressEndsEarly", Slip::ProgressEndsEarly, "downloads-firmware", "progress ended at 99 %"},
        SlipRow{"TakesWritesWhileClosed", Slip::TakesWritesWhileClosed, "refuses-writes-while-closed",
                "WriteItems is taken before the opening"},
        SlipRow{"ClosesReadsWithoutErrors", Slip::ClosesReadsWithoutErrors, "closing-answers",
                "the close answers item 1 of 2 with error 0"},
        SlipRow{"ClosesWritesWithoutErrors", Slip::ClosesWritesWithoutErrors, "closing-answers-writes",
                "the close answers item 1 of 2 with error 0"},
        SlipRow{"ClosesWritesInSilence", Slip::ClosesWritesInSilence, "closing-answers-writes",
                "no answer by the next pass of the message loop"},
        SlipRow{"TakesGroupReadsWhileClosed", Slip::TakesGroupReadsWhileClosed, "refuses-groups-while-closed",
                "ReadGroup is taken after the closing"},
        SlipRow{"TakesGroupWritesWhileClosed", Slip::TakesGroupWritesWhileClosed, "refuses-groups-while-closed",
                "WriteGroup is taken after the closing"},
        SlipRow{"ClosesGroupReadsWithoutErrors", Slip::ClosesGroupReadsWithoutErrors, "closing-answers-groups",
                "the close answers the group with error 0"},
        SlipRow{"ClosesGroupWritesWithoutErrors", Slip::ClosesGroupWritesWithoutErrors,
                "closing-answers-group-writes", "the close answers the group with error 0"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace

}  // namespace orvo::testing
