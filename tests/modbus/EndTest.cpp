// Closing and releasing while something is wrong with the line.

#include "kit/ThreadCount.h"
#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "modbus/FaultProxy.h"
#include "modbus/PtyLink.h"

#include <filesystem>

namespace orvo::modbus_test {
namespace {

// Far longer than a test may take: what ends earlier was ended.
const std::string Forever = "timeout=30000";
constexpr std::chrono::seconds Soon{20};

const char* const Faults[] = {"hold", "half", "drip 400", "slow 30000", "swallow", "lose", "garbage 3"};

std::ptrdiff_t OpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

// One request that has met the fault.
void MeetFault(DriverScene& scene, FaultProxy& proxy, const std::string& fault) {
  proxy.Do("reset");
  proxy.Do("on 3 " + fault);
  scene.AskRead({"WO40001", "WO40300"});
  scene.Until([&] { return proxy.Count("f3") == 1; }, "the request");
}

TEST(EndTest, ClosingDuringEachFaultAnswersOnceByTheNextPass) {
  const ForeignServer server(Package::Pymodbus);
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?" + Forever);
  const auto start = std::chrono::steady_clock::now();
  for (const char* const fault : Faults) {
    SCOPED_TRACE(fault);
    proxy.Do("pass");
    scene.Open();
    MeetFault(scene, proxy, fault);
    const std::size_t answers = scene.Answers();
    scene.Close();
    EXPECT_EQ(scene.Answers(), answers) << "not inside of the call";
    scene.Platform().PumpOnce();
    EXPECT_EQ(scene.Answers(), answers + 1);
    EXPECT_EQ(scene.Await(), (Outcomes{"error 5", "error 5"}));
    EXPECT_EQ(scene.Driver().CommunicationStatus(), 0);
    // What was held back finds nobody.
    proxy.Do("release");
    proxy.Do("pass");
    scene.Open();
    EXPECT_EQ(scene.Read({"WO40300", "WO40001"}),
              (Outcomes{WordOutcome(Area::HoldingRegisters, 299), WordOutcome(Area::HoldingRegisters, 0)}));
    scene.Close();
    scene.Platform().PumpOnce();
    EXPECT_EQ(scene.Answers(), answers + 2);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, Soon);
}

TEST(EndTest, ReleasingDuringEachFaultEndsThreadsAndFiles) {
  const ForeignServer server(Package::Pymodbus);
  FaultProxy proxy(server.Port());
  const auto threads = kit::ThreadCount();
  const std::ptrdiff_t files = OpenFiles();
  const auto start = std::chrono::steady_clock::now();
  for (const char* const fault : Faults) {
    for (const bool closedFirst : {false, true}) {
      SCOPED_TRACE(std::string(fault) + (closedFirst ? ", closed first" : ""));
      proxy.Do("pass");
      DriverScene scene(proxy.Connection() + "?" + Forever);
      scene.Open();
      MeetFault(scene, proxy, fault);
      if (closedFirst) scene.Close();
      scene.Release();
      // The driver lives on in the answer that is under way.
      scene.Platform().PumpOnce();
      scene.Platform().PumpOnce();
      EXPECT_LE(scene.Answers(), 1U);
      if (closedFirst) {
        EXPECT_EQ(scene.Answers(), 1U);
      }
      EXPECT_EQ(kit::ThreadCount(), threads);
    }
    EXPECT_EQ(OpenFiles(), files);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, Soon);
}

TEST(EndTest, ClosingAndReleasingWhileNobodyListensEndsSoon) {
  const auto threads = kit::ThreadCount();
  ForeignServer server(Package::Pymodbus);
  server.Kill();
  const auto start = std::chrono::steady_clock::now();
  for (int round = 0; round < 3; ++round) {
    DriverScene scene(server.Connection() + "?" + Forever);
    scene.Open();
    EXPECT_EQ(scene.Read({"WO40001"}), Outcomes{"error 5"});
    scene.Close();
    scene.Open();
    scene.AskRead({"WO40001"});
    scene.Release();
  }
  EXPECT_EQ(kit::ThreadCount(), threads);
  EXPECT_LT(std::chrono::steady_clock::now() - start, Soon);
}

TEST(EndTest, ClosingAndReleasingASerialLineWaitsForOneTimeOutAtMost) {
  const ForeignServer server(Package::Pymodbus, {"--rtu-over-tcp"});
  FaultProxy proxy(server.Port(), true);
  const PtyLink line(proxy.Port());
  const auto threads = kit::ThreadCount();
  for (const char* const fault : {"late", "half", "drip 60", "slow 700", "swallow", "lose"}) {
    SCOPED_TRACE(fault);
    proxy.Do("pass");
    DriverScene scene(line.Connection() + "&timeout=300");
    scene.Open();
    scene.ReadWhenConnected({"WO40001"}, {"error 3", "error 4"});
    MeetFault(scene, proxy, fault);
    const std::size_t answers = scene.Answers();
    scene.Close();
    scene.Platform().PumpOnce();
    EXPECT_EQ(scene.Answers(), answers + 1);
    EXPECT_EQ(scene.Await(), (Outcomes{"error 5", "error 5"}));
    // What is still on its way belongs to nobody when the line is opened anew. (A device on a line answers in
    // order.)
    proxy.Do("pass");
    scene.Open();
    EXPECT_EQ(scene.ReadWhenConnected({"WO40300"}, {"error 3", "error 4"}),
              Outcomes{WordOutcome(Area::HoldingRegisters, 299)})
        << proxy.Log();
    scene.Release();
    EXPECT_EQ(kit::ThreadCount(), threads);
  }
}

}  // namespace
}  // namespace orvo::modbus_test
