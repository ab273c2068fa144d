// Saves during which the process ends.

#include "support/EndingFiles.h"
#include "unit/platform/portable/DiskFixture.h"
#include "unit/server/ConfigurationFixture.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvo::testing {
namespace {

using ConfigurationOnDisk = Disk;

// How a process ends that saves, and ends at the moment.
int EndOfSaving(KELDataServer& server, EndingFiles& files, int moment, const std::string& name) {
  const pid_t process = ::fork();
  if (process == 0) {
    files.Arm(moment);
    ::_exit(ErrorNumberOf([&] { server.SaveConfigurationToFile(name); }) == 0 ? Finished : Failed);
  }
  int status = 0;
  if (process < 0 || ::waitpid(process, &status, 0) != process || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST_F(ConfigurationOnDisk, AProcessThatEndsAnywhereInASaveLeavesTheOldConfigurationOrTheNewOneWhole) {
  const std::int64_t before = AutomationObject::LiveCount();
  {
    Plant plant;
    EndingFiles files;
    const auto server = KELDataServer::Create({plant.platform, files, plant.drivers});
    server->SetDriverConfigurationFile(
        Write("drivers.ini", "[Drivers]\nDataCommunication=Scripted.Channel\n2=PanelB\n"));
    server->PutDeviceType(2);
    const std::string name = Path("plant.ini");
    server->KELDataGroups()->Add("old");
    server->SaveConfigurationToFile(name);
    const std::string oldText = files_.ReadWhole(name);
    const auto items = server->KELDataGroups()->Add("new")->KELDataItems();
    for (int k = 0; k < 3000; ++k)  // more than one write
      items->Add("WO" + std::to_string(k));
    server->SaveConfigurationToFile(Path("other.ini"));
    const std::string newText = files_.ReadWhole(Path("other.ini"));
    ASSERT_NE(oldText, newText);
    int moment = 0;
    int newFiles = 0;
    int end = 0;
    for (; (end = EndOfSaving(*server, files, moment, name)) == Ended; ++moment) {
      SCOPED_TRACE(moment);
      const std::string text = files_.ReadWhole(name);
      EXPECT_TRUE(text == oldText || text == newText);
      if (text == newText) ++newFiles;
    }
    EXPECT_EQ(end, Finished);
    EXPECT_EQ(newFiles, 1);  // after the rename alone
    // Remove, create, flush, close and rename have two moments each, two writes three each.
    EXPECT_EQ(moment, 5 * 2 + 2 * 3);
    EXPECT_EQ(files_.ReadWhole(name), newText);
    EXPECT_EQ(ErrorOf([&] { server->LoadConfigurationFromFile(name, Variant(false)); }), "none");
    EXPECT_EQ(server->KELDataGroups()->ItemByName("new")->KELDataItems()->Count(), 3000);
  }
  EXPECT_EQ(AutomationObject::LiveCount(), before);
}

}  // namespace
}  // namespace orvo::testing
