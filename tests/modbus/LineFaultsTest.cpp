// Faults of the line: what becomes of the request that meets one, and that everything is right afterwards.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "modbus/FaultProxy.h"
#include "modbus/PtyLink.h"

namespace orvo::modbus_test {
namespace {

class LineFaultsTest : public EachPackageTest {};
INSTANTIATE_TEST_SUITE_P(Each, LineFaultsTest, ::testing::ValuesIn(EachPackage), PackageName);

struct FaultRow {
  const char* fault;    // of the proxy, of the one answer
  const char* outcome;  // of the items that were asked for; "value" is the right one
};

const std::vector<std::string> TwoBlocks{"WO40001", "DW40011", "WO40300"};

Outcomes RightOnes() {
  return {WordOutcome(Area::HoldingRegisters, 0), LongOutcome(Area::HoldingRegisters, 10),
          WordOutcome(Area::HoldingRegisters, 299)};
}

// The first block meets the fault; the second one is right, or not tried at all.
Outcomes AfterFault(const std::string& outcome) {
  if (outcome == "value") return RightOnes();
  return {outcome, outcome, "error 5"};
}

// Meets each fault once and is well again after each.
void MeetEachFault(DriverScene& scene, FaultProxy& proxy, const std::vector<FaultRow>& rows) {
  scene.Open();
  for (const FaultRow& row : rows) {
    SCOPED_TRACE(row.fault);
    ASSERT_EQ(scene.ReadWhenConnected(TwoBlocks), RightOnes());
    const std::size_t answers = scene.Answers();
    proxy.Do(std::string("on 3 once ") + row.fault);
    EXPECT_EQ(scene.Read(TwoBlocks), AfterFault(row.outcome)) << proxy.Log();
    EXPECT_EQ(scene.Answers(), answers + 1);
    proxy.Do("pass");
    ASSERT_EQ(scene.ReadWhenConnected(TwoBlocks), RightOnes()) << proxy.Log();
    EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
  }
}

TEST_P(LineFaultsTest, EachFaultOnTcpCostsOneRequestAtMost) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=250");
  MeetEachFault(scene, proxy,
                {{"slow 40", "value"},
                 {"slow 700", "error 3"},
                 {"drip 1", "value"},
                 {"drip 60", "error 3"},
                 {"half", "error 3"},
                 // The connection has ended, on a request that may be asked once more.
                 {"half-end", "value"},
                 {"end", "value"},
                 {"swallow", "error 3"},
                 {"lose", "error 3"},
                 {"hold", "error 3"},
                 {"late", "error 3"},
                 {"stale", "error 4"},
                 {"wrong-id", "error 4"},
                 // The number of the transaction alone tells whose answer it is, its function how long it is.
                 {"wrong-unit", "value"},
                 {"wrong-length 3", "value"},
                 {"wrong-length -2", "value"},
                 {"wrong-function", "error 4"},
                 {"garbage 20", "error 4"},
                 {"garbage 200", "error 4"}});
}

TEST_P(LineFaultsTest, AnAnswerThatComesTwiceIsNeverTakenForAnother) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=250");
  scene.Open();
  proxy.Do("twice");
  const Outcomes right = RightOnes();
  for (int round = 0; round < 20; ++round) {
    const Outcomes outcomes = scene.Read(TwoBlocks);
    for (std::size_t at = 0; at < outcomes.size(); ++at)
      ASSERT_TRUE(outcomes[at] == right[at] || outcomes[at] == "error 4" || outcomes[at] == "error 5")
          << TwoBlocks[at] << ": " << outcomes[at];
  }
  proxy.Do("pass");
  EXPECT_EQ(scene.ReadWhenConnected(TwoBlocks, {"error 4"}), right);
}

TEST_P(LineFaultsTest, ExceptionsBecomeTheErrorsOfItems) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000");
  scene.Open();
  struct Row {
    int exception;
    const char* outcome;
    bool ends;  // nothing more is tried of the same list
  };
  for (const Row& row :
       {Row{1, "error 10", false}, Row{2, "error 10", false}, Row{3, "error 10", false},
        Row{4, "error 4", false}, Row{5, "error 1", false}, Row{6, "error 1", false}, Row{7, "error 4", false},
        Row{8, "error 4", false}, Row{9, "error 4", false}, Row{10, "error 5", true}, Row{11, "error 3", true},
        Row{12, "error 4", false}, Row{100, "error 4", false}, Row{255, "error 4", false}}) {
    SCOPED_TRACE(row.exception);
    proxy.Do("on 3 exception " + std::to_string(row.exception));
    EXPECT_EQ(scene.Read(TwoBlocks), (Outcomes{row.outcome, row.outcome, row.ends ? "error 5" : row.outcome}));
    // To each function: what one does not do may be tried by another.
    proxy.Do("exception " + std::to_string(row.exception));
    const std::string outcome = row.outcome;
    EXPECT_EQ(scene.Write({{"WO40001", Variant(std::int32_t{RegisterValue(Area::HoldingRegisters, 0)})}}),
              Outcomes{outcome});
    // The device did answer.
    EXPECT_EQ(scene.Driver().BoardStatus(), row.exception <= 11 ? row.exception : -1);
    EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
    proxy.Do("pass");
    EXPECT_EQ(scene.Read(TwoBlocks), RightOnes());
    EXPECT_EQ(scene.Driver().BoardStatus(), 0);
  }
  EXPECT_EQ(proxy.Count("connections"), 1) << "a device that refuses is well connected";
}

TEST_P(LineFaultsTest, AWriteIsNeverSentASecondTime) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=250");
  scene.Open();
  int value = 1000;
  for (const auto& [fault, outcome] :
       {FaultRow{"swallow", "error 3"}, FaultRow{"lose", "error 3"}, FaultRow{"half", "error 3"},
        FaultRow{"end", "error 3"}, FaultRow{"half-end", "error 3"}, FaultRow{"wrong-id", "error 4"},
        FaultRow{"slow 700", "error 3"}, FaultRow{"garbage 20", "error 4"}}) {
    SCOPED_TRACE(fault);
    ASSERT_EQ(scene.ReadWhenConnected(TwoBlocks), RightOnes());
    proxy.Do("reset");
    proxy.Do(std::string("on 16 once ") + fault);
    EXPECT_EQ(scene.Write({{"WO40200", Variant(std::int32_t{++value})},
                           {"WO40201", Variant(std::int32_t{value})},
                           {"WO40300", Variant(std::int32_t{value})}}),
              (Outcomes{outcome, outcome, "error 5"}));
    EXPECT_EQ(proxy.Count("f16"), 1);
    const bool reached = std::string(fault) != "lose";
    const std::string written =
        Hex({static_cast<std::uint8_t>(value - !reached), static_cast<std::uint8_t>((value - !reached) >> 8)});
    EXPECT_EQ(scene.ReadWhenConnected({"WO40200", "WO40201", "WO40300"}),
              (Outcomes{written, written, WordOutcome(Area::HoldingRegisters, 299)}));
    EXPECT_EQ(proxy.Count("f16"), 1);
  }
}

TEST_P(LineFaultsTest, AConnectionThatIsCutBetweenTwoRequestsGoesUnnoticedByReadsAndWrites) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000");
  scene.Open();
  for (int round = 0; round < 10; ++round) {
    proxy.Do("cut");
    ASSERT_EQ(scene.Read(TwoBlocks), RightOnes()) << round;
    proxy.Do("cut");
    ASSERT_EQ(scene.Write({{"WO40500", Variant(std::int32_t{round})}}), Outcomes{"error 0"}) << round;
  }
  EXPECT_GE(proxy.Count("connections"), 20);
}

// --- serial
// ---------------------------------------------------------------------------------------------------------

TEST(SerialLineFaultsTest, EachFaultOnRtuCostsOneRequestAtMost) {
  const ForeignServer server(Package::Pymodbus, {"--rtu-over-tcp"});
  FaultProxy proxy(server.Port(), true);
  const PtyLink line(proxy.Port());
  DriverScene scene(line.Connection() + "&timeout=250");
  MeetEachFault(scene, proxy,
                {{"slow 40", "value"},
                 {"slow 700", "error 3"},
                 {"drip 1", "value"},
                 {"drip 60", "error 3"},
                 {"half", "error 3"},
                 {"swallow", "error 3"},
                 {"lose", "error 3"},
                 {"late", "error 3"},
                 {"stale", "error 4"},
                 {"wrong-unit", "error 4"},
                 {"wrong-function", "error 4"},
                 {"wrong-length -2", "error 4"},
                 {"wrong-crc", "error 4"},
                 {"wrong-bit", "error 4"},
                 {"garbage 20", "error 4"}});
}

TEST(SerialLineFaultsTest, ALateAnswerIsNeverTakenForThatOfALaterRequest) {
  const ForeignServer server(Package::Pymodbus, {"--rtu-over-tcp"});
  FaultProxy proxy(server.Port(), true);
  const PtyLink line(proxy.Port());
  DriverScene scene(line.Connection() + "&timeout=200&gap=0");
  scene.Open();
  const auto holding = Area::HoldingRegisters;
  const auto item = [](int address) { return "WO" + std::to_string(40001 + address); };
  int address = 0;
  for (const char* const fault : {"late", "slow 210", "slow 230", "slow 260", "slow 320", "slow 420"}) {
    SCOPED_TRACE(fault);
    for (int round = 0; round < 3; ++round) {
      // Requests of one shape, each for another register: whatever is mixed up has a wrong value.
      proxy.Do(std::string("on 3 once ") + fault);
      const std::string first = scene.Read({item(address)}).front();
      ASSERT_TRUE(first == "error 3" || first == WordOutcome(holding, address)) << first << '\n' << proxy.Log();
      for (const int next : {address + 1, address + 2, address + 3}) {
        const std::string outcome = scene.Read({item(next)}).front();
        ASSERT_TRUE(outcome == WordOutcome(holding, next) || outcome.starts_with("error ")) << outcome << '\n'
                                                                                            << proxy.Log();
      }
      address += 4;
      ASSERT_EQ(scene.ReadWhenConnected({item(address)}, {"error 3", "error 4"}),
                Outcomes{WordOutcome(holding, address)});
    }
  }
}

TEST(SerialLineFaultsTest, WhatArrivesUnaskedIsNoAnswer) {
  const ForeignServer server(Package::Pymodbus, {"--rtu-over-tcp"});
  FaultProxy proxy(server.Port(), true);
  const PtyLink line(proxy.Port());
  DriverScene scene(line.Connection() + "&timeout=250");
  scene.Open();
  ASSERT_EQ(scene.Read({"WO40001"}), Outcomes{WordOutcome(Area::HoldingRegisters, 0)});
  for (int round = 0; round < 5; ++round) {
    proxy.Do("say 010302AAAA4657");
    const std::string outcome = scene.Read({"WO40001"}).front();
    ASSERT_NE(outcome, "AAAA");
    ASSERT_EQ(scene.ReadWhenConnected({"WO40001"}, {"error 3", "error 4"}),
              Outcomes{WordOutcome(Area::HoldingRegisters, 0)});
  }
}

TEST(SerialLineFaultsTest, ALineThatIsTakenAwayComesBack) {
  const ForeignServer server(Package::Pymodbus, {"--rtu-over-tcp"});
  PtyLink line(server.Port());
  DriverScene scene(line.Connection() + "&timeout=250");
  scene.Open();
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
  EXPECT_EQ(scene.Read(TwoBlocks), RightOnes());
  line.Break();
  scene.UntilStatus(2);
  EXPECT_EQ(scene.Read(TwoBlocks), Outcomes(3, "error 5"));
  line.Repair();
  scene.UntilStatus(1);
  EXPECT_EQ(scene.ReadWhenConnected(TwoBlocks), RightOnes());
}

}  // namespace
}  // namespace orvo::modbus_test
