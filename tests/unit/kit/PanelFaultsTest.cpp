// The kit against the simulated panel: a faultless one passes, and each fault that its script knows is found.
#include "KitRun.h"
#include "kit/ThreadCount.h"
#include "simulated/SimulatedPanel.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <ostream>

namespace orvo::testing {

namespace {

using namespace std::chrono_literals;
using kit::Verdict;

// A panel that has everything to be tested, a firmware of three blocks and a project of two. The script comes
// with the device, or, with `early`, when the panel is made.
void RunPanel(KitRun& run, const std::string& script, bool early = false) {
  PanelOptions options;
  options.groupTransfer = true;
  if (early) options.script = script;
  run.files.PutFile("plant.panel", script + "\n");
  run.files.PutFile("firmware.bin", std::string(3 * SimulatedPanel::DownloadBlockSize, 'f'));
  run.files.PutFile("project.bin", std::string(2 * SimulatedPanel::DownloadBlockSize, 'p'));
  run.plan.deviceKind = early ? "PanelB" : "PanelB?plant.panel";
  run.plan.items = {"WO100", "FL104"};
  run.plan.writes = {{"WO100", "7"}, {"FL104", "2.5"}};
  run.plan.wrongItems = {"XX1", "WO101"};
  run.plan.firmwareFile = "firmware.bin";
  run.plan.projectFile = "project.bin";
  run.plan.timeout = 5s;
  run.Run([&](DriverHost host) { return SimulatedPanel::Make(host, options); });
}

TEST(PanelUnderTest, AFaultlessPanelPassesEveryCheck) {
  KitRun run;
  RunPanel(run, "");
  EXPECT_EQ(run.Failed(), "");
  EXPECT_EQ(run.Names(Verdict::NotApplicable), kit::ThreadCount() ? "" : "leaves-no-thread");
  EXPECT_EQ(run.platform.TimersAlive(), 0U);
}

struct FaultRow {
  const char* script;
  const char* failed;  // exactly these checks
  const char* detail;  // what the first of them saw begins so
};

std::ostream& operator<<(std::ostream& out, const FaultRow& row) {
  return out << row.script;
}

class ScriptedFault : public ::testing::TestWithParam<FaultRow> {};

TEST_P(ScriptedFault, IsFoundByTheRightCheck) {
  KitRun run;
  RunPanel(run, GetParam().script);
  const std::string failed = GetParam().failed;
  EXPECT_EQ(run.Failed(), failed);
  EXPECT_THAT(run.Detail(failed.substr(0, failed.find(' '))), ::testing::StartsWith(GetParam().detail));
  EXPECT_EQ(run.platform.TimersAlive(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ScriptedFault,
    ::testing::Values(
        FaultRow{"fault ReadItems never", "reads closing-answers", "no answer within 5 s"},
        FaultRow{"fault ReadItems twice", "answers-once closing-answers", "2 answers instead of 1 to one read"},
        FaultRow{"fault ReadItems late 3 s", "closing-answers",
                 "no answer by the next pass of the message loop"},
        FaultRow{"fault ReadItems late 8 s", "reads closing-answers", "no answer within 5 s"},
        FaultRow{"fault ReadItems delay 6 s", "reads", "no answer within 5 s"},
        FaultRow{"fault ReadItems refuse", "reads", "ReadItems failed with 1"},
        FaultRow{"fault ReadItems fail 3 \"line noise\"", "reads", "ReadItems failed with 3 (line noise)"},
        FaultRow{"fault ReadItems short 1", "answers-arrays closing-answers", "1 error for 2 addresses"},
        FaultRow{"fault ReadItems long 2", "answers-arrays closing-answers", "4 errors for 2 addresses"},
        FaultRow{"fault WriteItems never", "writes", "no answer within 5 s"},
        FaultRow{"fault WriteItems twice", "answers-writes-once", "2 answers instead of 1 to one write"},
        FaultRow{"fault WriteItems late 8 s", "writes", "no answer within 5 s"},
        FaultRow{"fault WriteItems delay 6 s", "writes", "no answer within 5 s"},
        FaultRow{"fault WriteItems refuse", "writes", "WriteItems failed with 1"},
        FaultRow{"fault WriteItems fail 3", "writes", "WriteItems failed with 3"},
        FaultRow{"fault WriteItems short 1", "answers-write-arrays", "1 error for 2 addresses"},
        FaultRow{"fault WriteItems long 1", "answers-write-arrays", "3 errors for 2 addresses"},
        FaultRow{"fault ReadGroup never", "reads-groups closing-answers-groups", "no answer within 5 s"},
        FaultRow{"fault ReadGroup twice", "reads-groups closing-answers-groups",
                 "2 answers instead of 1 to one read of the group"},
        FaultRow{"fault ReadGroup late 8 s", "reads-groups closing-answers-groups", "no answer within 5 s"},
        FaultRow{"fault ReadGroup delay 6 s", "reads-groups", "no answer within 5 s"},
        FaultRow{"fault ReadGroup refuse", "reads-groups", "ReadGroup failed with 1"},
        FaultRow{"fault ReadGroup fail 5", "reads-groups", "ReadGroup failed with 5"},
        FaultRow{"fault ReadGroup short 1", "answers-group-buffer", "the buffer has 5 bytes instead of 6"},
        FaultRow{"fault ReadGroup long 1", "answers-group-buffer", "the buffer has 7 bytes instead of 6"},
        FaultRow{"fault WriteGroup never", "writes-groups", "no answer within 5 s"},
        FaultRow{"fault WriteGroup twice", "writes-groups",
                 "3 answers instead of 2 to a read and a write of the group"},
        FaultRow{"fault WriteGroup late 8 s", "writes-groups", "no answer within 5 s"},
        FaultRow{"fault WriteGroup delay 6 s", "writes-groups", "no answer within 5 s"},
        FaultRow{"fault WriteGroup refuse", "writes-groups", "WriteGroup failed with 1"},
        FaultRow{"fault WriteGroup fail 5", "writes-groups", "WriteGroup failed with 5"}));

// What is late, but not so late that no answer came in time, comes too late after a close.
constexpr const char* LateAfterClose = "no answer by the next pass of the message loop";
INSTANTIATE_TEST_SUITE_P(
    LateWithinTheTimeout, ScriptedFault,
    ::testing::Values(
        FaultRow{"fault ReadItems late 700 ms", "closing-answers", LateAfterClose},
        FaultRow{"fault WriteItems late 700 ms", "closing-answers-writes", LateAfterClose},
        FaultRow{"fault ReadGroup late 700 ms", "closing-answers-groups", LateAfterClose},
        FaultRow{"fault WriteGroup late 700 ms", "closing-answers-group-writes", LateAfterClose},
        FaultRow{"fault FL104 late 700 ms", "closing-answers-writes closing-answers", LateAfterClose},
        FaultRow{"fault ReadItems late 700 ms after 6", "long-session-of-reads", LateAfterClose},
        FaultRow{"fault WriteItems late 700 ms after 6", "long-session", LateAfterClose},
        FaultRow{"fault ReadGroup late 700 ms after 6", "long-session-of-group-reads", LateAfterClose},
        FaultRow{"fault WriteGroup late 700 ms after 6", "long-session-of-groups", LateAfterClose},
        FaultRow{"fault FL104 late 700 ms after 6", "long-session-of-reads", LateAfterClose}));

INSTANTIATE_TEST_SUITE_P(
    AfterSomeRequests, ScriptedFault,
    ::testing::Values(
        FaultRow{"fault ReadItems never after 6", "long-session-of-reads", "no answer within 5 s"},
        FaultRow{"fault ReadItems twice after 6", "long-session-of-reads", "8 answers after 7 requests"},
        FaultRow{"fault ReadItems twice after 20 times 1", "long-session-of-reads",
                 "22 answers after 21 requests"},
        FaultRow{"fault ReadItems late 8 s after 6", "long-session-of-reads", "no answer within 5 s"},
        FaultRow{"fault ReadItems delay 6 s after 6", "long-session-of-reads", "no answer within 5 s"},
        FaultRow{"fault ReadItems refuse after 6", "long-session-of-reads", "ReadItems failed with 1"},
        FaultRow{"fault ReadItems fail 3 after 6", "long-session-of-reads", "ReadItems failed with 3"},
        FaultRow{"fault ReadItems short 1 after 6", "long-session-of-reads", "1 error for 2 addresses"},
        FaultRow{"fault ReadItems long 1 after 6", "long-session-of-reads", "3 errors for 2 addresses"},
        FaultRow{"fault WriteItems never after 6", "long-session", "no answer within 5 s"},
        FaultRow{"fault WriteItems twice after 6", "long-session", "15 answers after 14 requests"},
        FaultRow{"fault WriteItems short 1 after 6", "long-session", "1 error for 2 addresses"},
        FaultRow{"fault FL104 fail 5 after 8", "long-session-of-reads", "request 9 is answered with error 5"},
        FaultRow{"fault ReadGroup never after 6", "long-session-of-group-reads", "no answer within 5 s"},
        FaultRow{"fault ReadGroup short 1 after 6", "long-session-of-group-reads",
                 "the buffer has 5 bytes instead of 6"},
        FaultRow{"fault WriteGroup twice after 6", "long-session-of-groups", "15 answers after 14 requests"},
        FaultRow{"link cut at 300 ms for 10 ms every 1 min", "long-session-of-reads long-session-of-groups",
                 "request 15 is answered with error 5"}));

INSTANTIATE_TEST_SUITE_P(
    Items, ScriptedFault,
    ::testing::Values(
        FaultRow{"fault FL104 fail 5", "reads-without-errors writes-without-errors",
                 "'FL104' is answered with error 5"},
        FaultRow{"fault FL104 refuse", "compiles-items", "CompileItemId answers False for 'FL104'"},
        FaultRow{"fault FL104 never", "reads writes closing-answers", "no answer within 5 s"},
        FaultRow{"fault FL104 twice", "answers-once answers-writes-once closing-answers",
                 "2 answers instead of 1 to one read"},
        FaultRow{"fault FL104 late 8 s", "reads writes closing-answers", "no answer within 5 s"},
        FaultRow{"fault FL104 delay 6 s", "reads writes", "no answer within 5 s"},
        FaultRow{"fault FL104 short 1", "answers-arrays answers-write-arrays closing-answers",
                 "1 error for 2 addresses"},
        FaultRow{"fault FL104 long 1", "answers-arrays answers-write-arrays closing-answers",
                 "3 errors for 2 addresses"},
        FaultRow{"signal WO100 constant 8", "reads-back", "'WO100' does not read what was written to it"},
        FaultRow{"link cut at 0 s", "reads-without-errors writes-without-errors reads-groups",
                 "'WO100' is answered with error 5"},
        FaultRow{"link cut at 0 s for 1 s", "reads-without-errors writes-without-errors reads-groups",
                 "'WO100' is answered with error 5"}));

INSTANTIATE_TEST_SUITE_P(Downloads, ScriptedFault,
                         ::testing::Values(FaultRow{"fault SetConfigurationMode refuse",
                                                    "enters-configuration-mode",
                                                    "SetConfigurationMode answers False"},
                                           FaultRow{"fault DownloadFirmware break at block 2",
                                                    "downloads-firmware", "DownloadFirmware failed with 4"},
                                           FaultRow{"fault DownloadFirmware restart at block 3",
                                                    "downloads-firmware", "DownloadFirmware failed with 4"},
                                           FaultRow{"fault DownloadProject corrupt at block 1",
                                                    "downloads-project", "DownloadProject failed with 4"},
                                           FaultRow{"fault DownloadProject corrupt", "downloads-project",
                                                    "DownloadProject failed with 4"}));

INSTANTIATE_TEST_SUITE_P(
    Operations, ScriptedFault,
    ::testing::Values(FaultRow{"fault CreateDevice refuse", "knows-kind",
                               "CreateDevice gives no device for the kind 'PanelB?plant.panel'"},
                      FaultRow{"fault CheckVariable refuse", "checks-sizes",
                               "CheckVariable refuses a group of one item of 1 words"},
                      FaultRow{"set GroupCapacity 0", "reads-groups closing-answers-groups",
                               "SetGroupDefinition, define group 1 failed with 10"},
                      FaultRow{"fault CreateDevice fail 3", "knows-kind", "CreateDevice failed with 3"}));

// Each operation that the system calls, failing.
class FailingOperation : public ::testing::TestWithParam<const char*> {};

TEST_P(FailingOperation, IsFoundAndNamed) {
  KitRun run;
  const std::string name = GetParam();
  RunPanel(run, "fault " + name + " fail 4711 \"scripted for a test\"", true);
  bool named = false;
  for (const kit::CheckResult& result : run.results)
    named = named || (result.verdict == Verdict::Failed &&
                      result.detail.find("failed with 4711 (scripted for a test)") != std::string::npos);
  EXPECT_TRUE(named) << "failed: " << run.Failed();
}

INSTANTIATE_TEST_SUITE_P(Contract, FailingOperation,
                         ::testing::Values("SetEventSink", "WriteItems", "ReadItems", "WriteGroup", "ReadGroup",
                                           "OpenCommunication", "CloseCommunication", "BootVersion", "BootDate",
                                           "FirmwareVersion", "BoardDescription", "BoardStatus",
                                           "CommunicationStatus", "DownloadFirmware", "DownloadProject",
                                           "BaudRate", "PutBaudRate", "SetConfigurationMode",
                                           "SetGroupDefinition", "GroupCapacity", "PutNetworkType",
                                           "MinorVersion", "MajorVersion", "Description", "PutComPortNumber",
                                           "ComPortNumber", "ProjectName", "PutProjectName", "GroupTransfer",
                                           "CheckVariable", "PutWordIO", "WordIO", "PutTimeout", "Timeout",
                                           "FirmwareDownloadNeeded", "ProjectDownloadNeeded", "CreateDevice"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace

}  // namespace orvo::testing
