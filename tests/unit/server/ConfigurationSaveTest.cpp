// What a save writes, what it refuses, and what it leaves behind.

#include "server/SavedConfiguration.h"
#include "unit/server/ConfigurationFixture.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace orvo::testing {
namespace {

using ConfigurationSave = ConfigurationTest;

TEST_F(ConfigurationSave, AServerWithoutGroupsSavesAnEmptyGroupsSectionAndNoGroupSections) {
  Driver().baudRate = 19200;
  Driver().comPortNumber = 3;
  Driver().wordIO = -7;
  Driver().timeout = 1000;
  Server().PutAutoDownloadProject(true);
  Server().SetDeviceName("Press line");
  EXPECT_EQ(Saved(),
            "[Communication Parameters]\r\nBaudRate=19200\r\nComPortNumber=3\r\nDeviceType=2\r\n"
            "DeviceName=Press line\r\nQZPar1=-7\r\nQZPar2=1000\r\nAutoDownloadFirmware=False\r\n"
            "AutoDownloadProject=True\r\n[Groups]\r\n");
}

TEST_F(ConfigurationSave, GroupsAndItemsFollowInTheirOrderAndEachFieldEndsInAHash) {
  const auto first = Server().KELDataGroups()->Add("B first");
  const auto second = Server().KELDataGroups()->Add("A second");
  first->PutActive(true);
  first->PutUpdateRate(500);
  first->SetGroupId(7);
  first->SetCompiledBufferDimension(16);
  second->PutSubscribed(true);
  const auto item = first->KELDataItems()->Add("WO100", "Speed");
  item->PutSigned(true);
  item->SetItemGroupBufferOffset(4);
  item->SetAccessRights(3);
  item->SetCompiledAddress(0.1);
  first->KELDataItems()->Add("DW102")->PutBCD(true);
  const std::string text = Saved();
  EXPECT_EQ(text.substr(text.find("[Groups]")),
            "[Groups]\r\nB first=True#False#500#7#15#\r\nA second=False#True#0#0#\r\n"
            "[Group:B first]\r\nSpeed=WO100#0#4#1#0.1#3#True#False#\r\nItem_1=DW102#0#0#2#2#0#False#True#\r\n"
            "[Group:A second]\r\n");
}

TEST_F(ConfigurationSave, IsRefusedAtStatus1AndStatus3) {
  Server().OpenCommunication();
  const std::string refused = Own(errInvalidState, "Server not stopped");
  EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }), refused);
  plant = std::make_unique<Plant>();
  EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }), refused);
  EXPECT_FALSE(plant->files.HasFile("saved.ini"));
}

TEST_F(ConfigurationSave, RefusesNamesThatTheFormatCannotCarryBeforeAnythingIsWritten) {
  const std::vector<std::string> names = {"a=b", "a#b", "[a",  "a]", "a\nb",  "a\rb",
                                          " a",  "a ",  "\ta", ";a", "a\x01", "\xC3("};
  plant->files.PutFile("saved.ini", "old");
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(IsCarried(name));
    const auto groups = Server().KELDataGroups();
    groups->Add(name);
    EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }),
              Own(errInvalidName, name + ": this group name can't be saved"));
    groups->RemoveAll();
    const auto items = groups->Add("G")->KELDataItems();
    items->Add("WO1", name);
    EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }),
              Own(errInvalidName, name + ": this item name can't be saved"));
    items->RemoveAll();
    items->Add("WO1")->SetItemId(name);
    EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }),
              Own(errInvalidItemId, name + ": this item identifier can't be saved"));
    groups->RemoveAll();
  }
  EXPECT_EQ(plant->files.ReadWhole("saved.ini"), "old");
  EXPECT_TRUE(plant->files.Log().empty());
}

TEST_F(ConfigurationSave, WritesATemporaryBesideTheFileFlushesAndRenames) {
  const std::size_t size = Saved().size();
  EXPECT_EQ(plant->files.Log(),
            (std::vector<std::string>{
                "Create saved.ini.saving", "Write saved.ini.saving " + std::to_string(size),
                "Flush saved.ini.saving", "Close saved.ini.saving", "Rename saved.ini.saving -> saved.ini"}));
}

TEST_F(ConfigurationSave, AFailureAtAnyStepLeavesTheOldFileAndNamesTheFile) {
  const std::vector<std::pair<MemoryFiles::Step, RuntimeError>> rows = {
      {MemoryFiles::CreateFile, RuntimeError::PermissionDenied},
      {MemoryFiles::CreateFile, RuntimeError::PathNotFound},
      {MemoryFiles::WriteFile, RuntimeError::DiskFull},
      {MemoryFiles::FlushFile, RuntimeError::DiskFull},
      {MemoryFiles::CloseFile, RuntimeError::PathFileAccess},
      {MemoryFiles::RenameFile, RuntimeError::PathFileAccess}};
  plant->files.PutFile("saved.ini", "old");
  for (const auto& [step, error] : rows) {
    SCOPED_TRACE(static_cast<int>(step));
    plant->files.FailNext(step, error);
    EXPECT_EQ(
        ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }),
        std::to_string(static_cast<int>(error)) + ": " + std::string(RuntimeErrorText(error)) + ": saved.ini");
    EXPECT_EQ(plant->files.ReadWhole("saved.ini"), "old");
    EXPECT_FALSE(plant->files.HasFile("saved.ini.saving"));
  }
}

TEST_F(ConfigurationSave, ADriverThatFailsLeavesTheOldFile) {
  plant->files.PutFile("saved.ini", "old");
  for (const char* operation : {"BaudRate", "ComPortNumber", "WordIO", "Timeout"}) {
    Driver().Fail(operation, 4, "line", 1);
    EXPECT_EQ(ErrorOf([&] { Server().SaveConfigurationToFile("saved.ini"); }), Own(errCommunication, "line"));
  }
  EXPECT_EQ(plant->files.ReadWhole("saved.ini"), "old");
}

}  // namespace
}  // namespace orvo::testing
