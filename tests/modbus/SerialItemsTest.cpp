// The serial line: pymodbus on one pseudo terminal, the driver on the other.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "modbus/PtyLink.h"

namespace orvo::modbus_test {
namespace {

TEST(SerialItemsTest, EveryKindIsReadAndWrittenOnASerialLine) {
  const PtyLink line;
  const ForeignServer server(Package::Pymodbus, {"--rtu", line.OtherDevice(), "--unit", "17", "--identify",
                                                 "Meyer|Press|V2.5", "--hole", "4:60"});
  DriverScene scene(line.Connection() + "&timeout=5000&unit=17&block03=40300&order=cdab");
  scene.Open();
  EXPECT_EQ(scene.Driver().CommunicationStatus(), 1);
  EXPECT_EQ(scene.Driver().BoardDescription(), "Meyer Press");
  EXPECT_FLOAT_EQ(scene.Driver().FirmwareVersion(), 2.5F);
  const Orders orders{"cdab"};
  const auto holding = Area::HoldingRegisters;
  const std::vector<std::string> items{"BI00001",  "BI10003", "BI30005.9", "BY40009.8", "WO30011",
                                       "WO465536", "DW40021", "FL40030",   "ST400405",  "RA0307",
                                       "WO40060",  "WO40061", "WO40062",   "RA03246"};
  const Outcomes expected{BitOutcome(Area::Coils, 0),
                          BitOutcome(Area::DiscreteInputs, 2),
                          WordOutcome(Area::InputRegisters, 4),
                          WordOutcome(holding, 8),
                          WordOutcome(Area::InputRegisters, 10),
                          WordOutcome(holding, 65535),
                          LongOutcome(holding, 20, orders),
                          LongOutcome(holding, 29, orders),
                          TextOutcome(holding, 39, 5),
                          RawOutcome(holding, 299, 7),
                          WordOutcome(holding, 59),
                          "error 10",
                          WordOutcome(holding, 61),
                          RawOutcome(holding, 299, 246)};
  for (int round = 0; round < 3; ++round)
    EXPECT_EQ(scene.Read(items), expected);
  EXPECT_EQ(scene.Write({{"BI00003", Variant(std::int16_t{1})},
                         {"DW40110", Variant(std::int32_t{0x11223344})},
                         {"BI40120.3", Variant(std::int16_t{1})},
                         {"WO40060", Variant(std::int32_t{5})},
                         {"WO40061", Variant(std::int32_t{6})},
                         {"WO30001", Variant(std::int32_t{7})}}),
            (Outcomes{"error 0", "error 0", "error 0", "error 0", "error 10", "error 10"}));
  EXPECT_EQ(scene.Read({"BI00003", "DW40110", "WO40060"}), (Outcomes{"0100", "44332211", "0500"}));
  EXPECT_EQ(scene.Extract("BI40120.3", scene.Read({"BI40120.3"}).front()), 1);
}

TEST(SerialItemsTest, AnotherUnitOnTheLineIsNotHeard) {
  const PtyLink line;
  const ForeignServer server(Package::Pymodbus, {"--rtu", line.OtherDevice(), "--unit", "17"});
  DriverScene scene(line.Connection() + "&timeout=150&unit=3");
  scene.Open();
  EXPECT_EQ(scene.Read({"WO40001", "BI00001"}), (Outcomes{"error 5", "error 3"}));
  EXPECT_NE(scene.Driver().CommunicationStatus(), 1);
}

}  // namespace
}  // namespace orvo::modbus_test
