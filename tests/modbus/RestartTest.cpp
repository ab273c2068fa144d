// Servers that end, come back, and stand still.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "modbus/FaultProxy.h"

namespace orvo::modbus_test {
namespace {

class RestartTest : public EachPackageTest {};
INSTANTIATE_TEST_SUITE_P(Each, RestartTest, ::testing::ValuesIn(EachPackage), PackageName);

const std::vector<std::string> ThreeAreas{"WO40001", "WO30010", "BI10001"};

Outcomes RightValues() {
  return {WordOutcome(Area::HoldingRegisters, 0), WordOutcome(Area::InputRegisters, 9),
          BitOutcome(Area::DiscreteInputs, 0)};
}

TEST_P(RestartTest, AServerThatEndsBetweenRequestsIsMissedAndFoundAgain) {
  ForeignServer server(GetParam());
  DriverScene scene(server.Connection() + "?timeout=300");
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 0);
  scene.Open();
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(scene.Read(ThreeAreas), RightValues());
    server.Kill();
    scene.UntilStatus(2);  // without any request
    EXPECT_EQ(scene.Read(ThreeAreas), Outcomes(3, "error 5"));
    EXPECT_EQ(scene.Write({{"WO40001", Variant(std::int32_t{1})}}), Outcomes{"error 5"});
    server.Restart();
    scene.Until([&] { return scene.Driver().CommunicationStatus() != 2; }, "a connection");  // the same
    EXPECT_EQ(scene.ReadWhenConnected(ThreeAreas), RightValues());
    EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
  }
  scene.Close();
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 0);
}

TEST_P(RestartTest, AServerThatEndsWithinARequestAnswersItWithAnError) {
  ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=20000");
  scene.Open();
  EXPECT_EQ(scene.Read(ThreeAreas), RightValues());
  for (int round = 0; round < 2; ++round) {
    proxy.Do("reset");
    server.Freeze();
    scene.AskRead(ThreeAreas);
    scene.Until([&] { return proxy.Count("requests") == 1; }, "the request");
    server.Kill();
    EXPECT_EQ(scene.Await(), Outcomes(3, "error 5"));
    server.Restart();
    EXPECT_EQ(scene.ReadWhenConnected(ThreeAreas), RightValues());
  }
}

TEST_P(RestartTest, AServerThatStandsStillCostsOneTimeOutAndIsHeardAgain) {
  ForeignServer server(GetParam());
  DriverScene scene(server.Connection() + "?timeout=200");
  scene.Open();
  EXPECT_EQ(scene.Read(ThreeAreas), RightValues());
  server.Freeze();
  // In the order of areas and addresses the third one is asked for first.
  EXPECT_EQ(scene.Read(ThreeAreas), (Outcomes{"error 5", "error 5", "error 3"}));
  EXPECT_NE(scene.Driver().CommunicationStatus(), 1);
  for (int round = 0; round < 3; ++round) {
    const Outcomes outcomes = scene.Read(ThreeAreas);
    EXPECT_TRUE(outcomes.back() == "error 3" || outcomes.back() == "error 5") << outcomes.back();
  }
  server.Thaw();
  EXPECT_EQ(scene.ReadWhenConnected(ThreeAreas, {"error 3"}), RightValues());
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
}

TEST_P(RestartTest, OpeningWithoutAServerSucceedsAndTheServerIsFoundWhenItComes) {
  ForeignServer server(GetParam());
  DriverScene scene(server.Connection() + "?timeout=300");
  server.Kill();
  scene.Open();
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 2);
  EXPECT_EQ(scene.Read(ThreeAreas), Outcomes(3, "error 5"));
  server.Restart();
  scene.UntilStatus(1);
  EXPECT_EQ(scene.Read(ThreeAreas), RightValues());
}

TEST_P(RestartTest, AWriteAfterARestartReachesTheNewServer) {
  ForeignServer server(GetParam());
  DriverScene scene(server.Connection() + "?timeout=300");
  scene.Open();
  ASSERT_EQ(scene.Read(ThreeAreas), RightValues());
  server.Restart();
  Outcomes outcomes = scene.Write({{"WO40500", Variant(std::int32_t{0x4321})}});
  // An attempt while there was no server puts the next one off.
  if (outcomes == Outcomes{"error 5"}) {
    scene.Until([&] { return scene.Driver().CommunicationStatus() != 2; }, "a connection");
    outcomes = scene.Write({{"WO40500", Variant(std::int32_t{0x4321})}});
  }
  EXPECT_EQ(outcomes, Outcomes{"error 0"});
  EXPECT_EQ(scene.Read({"WO40500"}), Outcomes{"2143"});
}

TEST_P(RestartTest, ADeviceTellsWhatItIs) {
  ForeignServer server(GetParam(), {"--identify", "Meyer & Sons|Press 7|V2.11"});
  DriverScene scene(server.Connection() + "?timeout=300");
  EXPECT_EQ(scene.Driver().BoardDescription(), "");
  scene.Open();
  EXPECT_EQ(scene.Driver().BoardDescription(), "Meyer & Sons Press 7");
  EXPECT_FLOAT_EQ(scene.Driver().FirmwareVersion(), 2.11F);
  EXPECT_EQ(scene.Read(ThreeAreas), RightValues());
}

TEST_P(RestartTest, ADeviceThatDoesNotTellWhatItIsIsReadAllTheSame) {
  ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  for (const char* const fault : {"pass", "on 43 exception 1", "on 43 swallow", "on 43 lose",
                                  "on 43 garbage 30", "on 43 half", "on 43 wrong-id", "on 43 end"}) {
    SCOPED_TRACE(fault);
    proxy.Do(fault);
    DriverScene scene(proxy.Connection() + "?timeout=250");
    scene.Open();
    EXPECT_EQ(scene.ReadWhenConnected(ThreeAreas), RightValues());
    EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
    EXPECT_EQ(scene.Driver().BoardDescription(), "");
    EXPECT_EQ(scene.Driver().FirmwareVersion(), 0.0F);
  }
}

}  // namespace
}  // namespace orvo::modbus_test
