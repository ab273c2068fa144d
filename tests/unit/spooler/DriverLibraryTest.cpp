// A driver in a real library: what crosses the boundary between two pieces of C++ that were linked apart.
#include "platform/portable/SystemLibraries.h"
#include "platform/simulated/MemoryFiles.h"
#include "platform/simulated/SimulatedPlatform.h"
#include "spooler/DriverLibraries.h"
#include "spooler/DriverLibrary.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

namespace orvo::testing {

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

class KeepingSink final : public IEventNotify {
 public:
  SafeArray<Variant> values;
  int answers = 0;

  void AsyncReadComplete(const SafeArray<Variant>& DATAValues, const SafeArray<std::int32_t>&) override {
    values = DATAValues;
    ++answers;
  }
  void AsyncReadGroupComplete(const SafeArray<std::uint8_t>&, std::int32_t) override {}
  void AsyncWriteComplete(const SafeArray<std::int32_t>&) override { ++answers; }
  void AsyncWriteGroupComplete(std::int32_t) override {}
  void DownloadFirmwareComplete() override {}
  void DownloadFirmwareInProgress(std::int16_t) override {}
  void DownloadProjectComplete() override {}
  void DownloadProjectInProgress(std::int16_t) override {}
};

class DriverLibraryTest : public ::testing::Test {
 protected:
  std::shared_ptr<CommunicationDriver> Make() {
    return libraries.Create("SimulatedPanel.Channel", {platform, files});
  }

  SimulatedPlatform platform;
  MemoryFiles files;
  SystemLibraries loader;
  DriverLibraries libraries{loader, {fs::path(ORVO_PANEL_LIBRARY).parent_path().string()}};
};

TEST_F(DriverLibraryTest, ARealLibraryIsListedAndMakesDrivers) {
  bool listed = false;
  for (const DriverLibraries::Found& found : libraries.List())
    listed = listed || (found.progId == "SimulatedPanel.Channel" && found.refusal.empty() &&
                        found.path == ORVO_PANEL_LIBRARY && !found.description.empty());
  EXPECT_TRUE(listed);
  const auto driver = Make();
  ASSERT_TRUE(driver);
  EXPECT_NE(driver, Make());
  EXPECT_EQ(driver->BoardDescription(), "Simulated panel");
}

TEST_F(DriverLibraryTest, AnErrorCrossesTheBoundaryWithNumberAndText) {
  const auto driver = Make();
  try {
    driver->PutBaudRate(1);
    FAIL() << "the panel has no baud rate 1";
  } catch (const AutomationError& error) {
    EXPECT_EQ(error.Number(), 10);
    EXPECT_EQ(error.Description(), "The panel has no baud rate 1");
  }
}

TEST_F(DriverLibraryTest, ValuesOutliveTheDriverThatMadeThem) {
  const auto sink = std::make_shared<KeepingSink>();
  auto driver = Make();
  driver->SetEventSink(sink);
  auto device = driver->CreateDevice("PanelB");
  ASSERT_TRUE(device);
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  ASSERT_TRUE(
      device->CompileItemId("ST0020040", address, words, type));  // longer than what lies inside a variant
  driver->OpenCommunication(true);
  const std::vector<std::uint8_t> written(40, 'x');
  driver->WriteItems({address}, {static_cast<std::int16_t>(words)}, {Variant::OfBytes(written)});
  platform.Advance(1s);
  driver->ReadItems({address}, {static_cast<std::int16_t>(words)});
  platform.Advance(1s);
  driver->CloseCommunication();
  device.reset();
  driver.reset();
  EXPECT_EQ(sink->answers, 2);
  EXPECT_EQ(platform.TimersAlive(), 0U);
  ASSERT_EQ(sink->values.Size(), 1U);
  EXPECT_EQ(sink->values.At(0), Variant::OfBytes(written));
}

TEST_F(DriverLibraryTest, ALibraryUnderAnotherNameIsRefused) {
  std::string folder = (fs::temp_directory_path() / "orvo-drivers-XXXXXX").string();
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  fs::copy_file(ORVO_PANEL_LIBRARY, folder + "/Other.Channel.so");
  const DriverLibraries other(loader, {folder});
  EXPECT_EQ(other.List().at(0).refusal,
            "the library '" + folder +
                "/Other.Channel.so' holds the driver 'SimulatedPanel.Channel': name it "
                "'SimulatedPanel.Channel.so'");
  fs::remove_all(folder);
}

}  // namespace

}  // namespace orvo::testing
