#include "PanelFixture.h"

namespace orvo {
namespace {

using testing::FailureOf;
using testing::Log;
using testing::PanelTest;

class PanelDownloads : public PanelTest {};

TEST(PanelImage, TheChecksumIsTheUsualOne) {
  EXPECT_EQ(Crc32("123456789"), 0xCBF43926U);
  EXPECT_EQ(Crc32(""), 0U);

  EXPECT_NE(Crc32("a"), Crc32("b"));
}

TEST(PanelImage, TheNameIsCutAtTheLastDotAndItsFolder) {
  EXPECT_EQ(PanelImageName("plant"), "plant");
  EXPECT_EQ(PanelImageName("plant.fw"), "plant");
  EXPECT_EQ(PanelImageName("a.b.obj"), "a.b");
  EXPECT_EQ(PanelImageName("/x/y/plant.fw"), "plant");
  EXPECT_EQ(PanelImageName("C:\\x\\plant.prj"), "plant");
  EXPECT_EQ(PanelImageName("C:\\dir.old\\plant"), "dir");
  EXPECT_EQ(PanelImageName(""), "");
}

TEST_F(PanelDownloads, ProgressIsReportedPerBlockAndThenCompletionAllInsideTheCall) {
  files.PutFile("plant.fw", std::string(2500, 'x'));
  files.PutFile("plant.obj", std::string(4096, 'y'));
  panel->DownloadFirmware("plant.fw", 0);
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 33", "FirmwareInProgress 66", "FirmwareInProgress 100",
                            "FirmwareComplete"}));
  panel->DownloadProject("plant.obj", 0);
  EXPECT_EQ(TakeLog(), (Log{"ProjectInProgress 25", "ProjectInProgress 50", "ProjectInProgress 75",
                            "ProjectInProgress 100", "ProjectComplete"}));
  EXPECT_EQ(panel->HeldFirmware(), (PanelImage{"plant", Crc32(std::string(2500, 'x'))}));
  EXPECT_EQ(panel->HeldProject(), (PanelImage{"plant", Crc32(std::string(4096, 'y'))}));
  platform.Advance(std::chrono::seconds(1));
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelDownloads, OneByteIsOneBlock) {
  files.PutFile("a/b.fw", "x");
  panel->DownloadFirmware("a/b.fw", 7);
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 100", "FirmwareComplete"}));
  EXPECT_EQ(panel->HeldFirmware().name, "b");
}

TEST_F(PanelDownloads, TheImageIsHeldWhenCompletionIsReported) {
  files.PutFile("plant.fw", "new");
  std::vector<std::string> held;
  sink->onLine = [&](const std::string&) { held.push_back(panel->HeldFirmware().name); };
  panel->DownloadFirmware("plant.fw", 0);
  EXPECT_EQ(held, (Log{"", "plant"}));
}

TEST_F(PanelDownloads, ADownloadThatBreaksOffReportsNoCompletionAndKeepsTheOldImage) {
  files.PutFile("old.fw", "old");
  files.PutFile("new.fw", std::string(3 * 1024, 'x'));
  panel->DownloadFirmware("old.fw", 0);
  const PanelImage old = panel->HeldFirmware();
  TakeLog();
  panel->FailDownloadAtBlock(3);
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }),
            "4:The download of 'new.fw' broke off at block 3 of 3");
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 33", "FirmwareInProgress 66"}));
  EXPECT_EQ(panel->HeldFirmware(), old);
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }), "0:");
  EXPECT_EQ(panel->HeldFirmware().name, "new");
}

TEST_F(PanelDownloads, ABreakBeyondTheLastBlockWaitsForALongerDownload) {
  files.PutFile("short.obj", "x");
  files.PutFile("long.obj", std::string(1025, 'x'));
  panel->FailDownloadAtBlock(2);
  panel->DownloadProject("short.obj", 0);
  EXPECT_EQ(FailureOf([&] { panel->DownloadProject("long.obj", 0); }),
            "4:The download of 'long.obj' broke off at block 2 of 2");
  EXPECT_EQ(panel->HeldProject().name, "short");
}

TEST_F(PanelDownloads, ABlockThatChangedOnTheLineIsRefusedAndTheOldImageStays) {
  files.PutFile("old.fw", "old");
  files.PutFile("new.fw", std::string(2 * 1024 + 1, 'x'));
  panel->DownloadFirmware("old.fw", 0);
  const PanelImage old = panel->HeldFirmware();
  for (std::size_t block = 1; block <= 3; ++block) {
    TakeLog();
    panel->CorruptDownloadBlock(block);
    EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("new.fw", 0); }),
              "4:The download of 'new.fw' was refused at block " + std::to_string(block) +
                  " of 3: its checksum is wrong");
    EXPECT_EQ(TakeLog().size(), block - 1);
    EXPECT_EQ(panel->HeldFirmware(), old);
  }
  panel->DownloadFirmware("new.fw", 0);
  EXPECT_EQ(TakeLog().back(), "FirmwareComplete");
  EXPECT_EQ(panel->HeldFirmware(), (PanelImage{"new", Crc32(std::string(2 * 1024 + 1, 'x'))}));
}

TEST_F(PanelDownloads, AnImageThatChangedInThePanelIsRefusedAtTheEndAndTheOldOneStays) {
  files.PutFile("old.obj", "old");
  files.PutFile("new.obj", std::string(1025, 'x'));
  panel->DownloadProject("old.obj", 0);
  const PanelImage old = panel->HeldProject();
  TakeLog();
  panel->CorruptDownloadedImage();
  EXPECT_EQ(FailureOf([&] { panel->DownloadProject("new.obj", 0); }),
            "4:The download of 'new.obj' was refused: the checksum of the image is wrong");
  EXPECT_EQ(TakeLog(), (Log{"ProjectInProgress 50", "ProjectInProgress 100"}));
  EXPECT_EQ(panel->HeldProject(), old);
  panel->DownloadProject("new.obj", 0);
  EXPECT_EQ(panel->HeldProject().name, "new");
}

TEST_F(PanelDownloads, TheNeedGoesByTheNameAlone) {
  files.PutFile("plant.fw", "one");
  panel->DownloadFirmware("plant.fw", 0);
  panel->PutProjectName("plant");
  files.PutFile("plant.fw", "two");
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
}

TEST_F(PanelDownloads, AMissingOrEmptyFileFailsWithoutAReport) {
  files.PutFile("empty.fw", "");
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("none.fw", 0); }).substr(0, 3), "53:");
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("empty.fw", 0); }), "10:'empty.fw' is empty");
  EXPECT_EQ(TakeLog(), Log{});
  EXPECT_EQ(panel->HeldFirmware(), PanelImage{});
}

TEST_F(PanelDownloads, AnOpenPanelTakesNoDownload) {
  files.PutFile("plant.fw", "x");
  panel->OpenCommunication(true);
  const std::string open = "2:No download while communication is open";
  EXPECT_EQ(FailureOf([&] { panel->DownloadFirmware("plant.fw", 0); }), open);
  EXPECT_EQ(FailureOf([&] { panel->DownloadProject("plant.fw", 0); }), open);
  EXPECT_EQ(TakeLog(), Log{});
}

TEST_F(PanelDownloads, InsideADownloadNeitherAnotherOneNorOpeningIsTaken) {
  files.PutFile("plant.fw", "x");
  Log failures;
  sink->onLine = [&](const std::string&) {
    failures.push_back(FailureOf([&] { panel->DownloadProject("plant.fw", 0); }));
    failures.push_back(FailureOf([&] { panel->OpenCommunication(true); }));
    sink->onLine = {};
  };
  panel->DownloadFirmware("plant.fw", 0);
  EXPECT_EQ(failures, (Log{"2:Another download runs", "2:OpenCommunication inside a download"}));
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 100", "FirmwareComplete"}));
  EXPECT_EQ(FailureOf([&] { panel->DownloadProject("plant.fw", 0); }), "0:");
}

TEST_F(PanelDownloads, AHandlerMayFailOrLetGoOfTheDriver) {
  files.PutFile("plant.fw", std::string(2048, 'x'));
  sink->onLine = [&](const std::string& line) {
    panel.reset();
    throw AutomationError(91, line);
  };
  panel->DownloadFirmware("plant.fw", 0);
  EXPECT_EQ(TakeLog(), (Log{"FirmwareInProgress 50", "FirmwareInProgress 100", "FirmwareComplete"}));
}

TEST_F(PanelDownloads, WithoutASinkADownloadRunsSilently) {
  files.PutFile("plant.fw", "x");
  panel->SetEventSink(nullptr);
  panel->DownloadFirmware("plant.fw", 0);
  EXPECT_EQ(panel->HeldFirmware().name, "plant");
}

TEST_F(PanelDownloads, ADownloadIsNeededWhileThePanelHoldsAnotherName) {
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
  panel->PutProjectName("C:\\work\\plant.prj");
  EXPECT_TRUE(panel->FirmwareDownloadNeeded());
  EXPECT_TRUE(panel->ProjectDownloadNeeded());
  files.PutFile("C:\\work\\plant.fw", "x");
  panel->DownloadFirmware("C:\\work\\plant.fw", 0);
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
  EXPECT_TRUE(panel->ProjectDownloadNeeded());
  panel->PutProjectName("other");
  EXPECT_TRUE(panel->FirmwareDownloadNeeded());
}

TEST_F(PanelDownloads, APanelCanBeMadeHoldingImages) {
  PanelOptions options;
  options.heldFirmware = {"plant", 1};
  options.heldProject = {"plant", 2};
  Remake(options);
  panel->PutProjectName("plant");
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
}

TEST_F(PanelDownloads, WithoutAProjectNameNothingIsNeeded) {
  PanelOptions options;
  options.heldFirmware = {"plant", 1};
  options.heldProject = {"plant", 2};
  Remake(options);
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
}

TEST_F(PanelDownloads, TheNeedCanBeScripted) {
  panel->PutFirmwareDownloadNeeded(true);
  EXPECT_TRUE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
  panel->PutProjectDownloadNeeded(true);
  EXPECT_TRUE(panel->ProjectDownloadNeeded());
  panel->PutProjectName("plant");
  panel->PutFirmwareDownloadNeeded(false);
  panel->PutProjectDownloadNeeded(false);
  EXPECT_FALSE(panel->FirmwareDownloadNeeded());
  EXPECT_FALSE(panel->ProjectDownloadNeeded());
  panel->PutFirmwareDownloadNeeded({});
  panel->PutProjectDownloadNeeded({});
  EXPECT_TRUE(panel->FirmwareDownloadNeeded());
  EXPECT_TRUE(panel->ProjectDownloadNeeded());
}

}  // namespace
}  // namespace orvo
