// Every kind of item, in each area, in each order of bytes: read, written, and read back.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"

#include <array>
#include <cstring>

namespace orvo::modbus_test {
namespace {

class ItemKindsTest : public EachPackageTest {};
INSTANTIATE_TEST_SUITE_P(Each, ItemKindsTest, ::testing::ValuesIn(EachPackage), PackageName);

// All of the four orders of long values, and each of the two orders of the others.
const std::array<Orders, 4> EachOrder{Orders{"abcd", "ab", "ab"}, Orders{"cdab", "ba", "ab"},
                                      Orders{"badc", "ab", "ba"}, Orders{"dcba", "ba", "ba"}};

TEST_P(ItemKindsTest, EveryKindIsReadInEachAreaAndOrder) {
  const ForeignServer server(GetParam());
  for (const Orders& orders : EachOrder) {
    SCOPED_TRACE(orders.Options());
    DriverScene scene(server.Connection() + "?timeout=5000&block03=40300&block17=30900&" + orders.Options());
    scene.Open();
    const std::vector<std::string> items{
        "BI00001", "BI00017",  "BI10003",   "BI30005.9", "BI40001.3", "BY30007", "BY40009.8", "WO30011",
        "WO40001", "WO49999",  "WO410000",  "WO465536",  "WOHFFFF",   "DW30020", "DW40021",   "FL40030",
        "FLH2710", "ST400405", "ST3005010", "RA0307",    "RA1716",    "BIC0007", "BIDFFFF",   "WOI2710"};
    const auto coils = Area::Coils;
    const auto discrete = Area::DiscreteInputs;
    const auto input = Area::InputRegisters;
    const auto holding = Area::HoldingRegisters;
    const Outcomes expected{BitOutcome(coils, 0),
                            BitOutcome(coils, 16),
                            BitOutcome(discrete, 2),
                            WordOutcome(input, 4, orders),
                            WordOutcome(holding, 0, orders),
                            WordOutcome(input, 6, orders),
                            WordOutcome(holding, 8, orders),
                            WordOutcome(input, 10, orders),
                            WordOutcome(holding, 0, orders),
                            WordOutcome(holding, 9998, orders),
                            WordOutcome(holding, 9999, orders),
                            WordOutcome(holding, 65535, orders),
                            WordOutcome(holding, 65535, orders),
                            LongOutcome(input, 19, orders),
                            LongOutcome(holding, 20, orders),
                            LongOutcome(holding, 29, orders),
                            LongOutcome(holding, 10000, orders),
                            TextOutcome(holding, 39, 5, orders),
                            TextOutcome(input, 49, 10, orders),
                            RawOutcome(holding, 299, 7),
                            RawOutcome(input, 899, 16),
                            BitOutcome(coils, 7),
                            BitOutcome(discrete, 65535),
                            WordOutcome(input, 10000, orders)};
    EXPECT_EQ(scene.Read(items), expected) << "all of them in one request";
    for (std::size_t at = 0; at < items.size(); ++at)
      EXPECT_EQ(scene.Read({items[at]}), Outcomes{expected[at]}) << items[at] << " by itself";
  }
}

TEST_P(ItemKindsTest, WhatIsWrittenTravelsInItsOrderAndIsReadBack) {
  const float single = -12.75F;
  std::uint32_t image = 0;
  std::memcpy(&image, &single, sizeof image);
  const auto bytesOf = [](std::uint32_t value) {
    return std::vector<std::uint8_t>{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                     static_cast<std::uint8_t>(value >> 16),
                                     static_cast<std::uint8_t>(value >> 24)};
  };
  for (const Orders& orders : EachOrder) {
    SCOPED_TRACE(orders.Options());
    const ForeignServer server(GetParam());
    DriverScene scene(server.Connection() + "?timeout=5000&block03=40300&" + orders.Options());
    DriverScene plain(server.Connection() +
                      "?timeout=5000&block03=40300&block01=40100&block02=40110&block04=40120&block05=40130");
    scene.Open();
    plain.Open();
    const Outcomes written = scene.Write({{"BI00003", Variant(std::int16_t{1})},
                                          {"BI00004", Variant(std::int16_t{0})},
                                          {"WO40100", Variant(std::int32_t{0x1234})},
                                          {"DW40110", Variant(std::int32_t{0x11223344})},
                                          {"FL40120", Variant(single)},
                                          {"ST401304", Bytes({'W', 'x', 'y', 'z'})},
                                          {"RA036", Bytes({1, 2, 3, 4, 5, 6})}});
    EXPECT_EQ(written, Outcomes(7, "error 0"));
    EXPECT_EQ(scene.Read({"BI00003", "BI00004", "WO40100", "DW40110", "FL40120", "ST401304", "RA036"}),
              (Outcomes{"0100", "0000", "3412", "44332211", Hex(bytesOf(image)), "5778797A", "010203040506"}));
    // The registers themselves, as raw items give them.
    EXPECT_EQ(
        plain.Read({"RA012", "RA024", "RA044", "RA054", "RA036"}),
        (Outcomes{orders.words == "ab" ? "1234" : "3412", Hex(ToTravelling(bytesOf(0x11223344), orders.longs)),
                  Hex(ToTravelling(bytesOf(image), orders.longs)),
                  orders.text == "ab" ? "5778797A" : "78577A79", "010203040506"}));
    // What lies around them is as it was.
    const auto holding = Area::HoldingRegisters;
    EXPECT_EQ(
        plain.Read({"WO40099", "WO40101", "WO40109", "WO40112", "WO40129", "WO40132", "WO40303", "BI00005"}),
        (Outcomes{WordOutcome(holding, 98), WordOutcome(holding, 100), WordOutcome(holding, 108),
                  WordOutcome(holding, 111), WordOutcome(holding, 128), WordOutcome(holding, 131),
                  WordOutcome(holding, 302), BitOutcome(Area::Coils, 4)}));
  }
}

// One package knows the mask function, the other does not.
TEST_P(ItemKindsTest, BitsAndBytesOfARegisterAreWrittenWithoutTheOthers) {
  const ForeignServer server(GetParam());
  for (const std::string words : {"ab", "ba"}) {
    SCOPED_TRACE(words);
    DriverScene scene(server.Connection() + "?timeout=5000&words=" + words);
    scene.Open();
    ASSERT_EQ(scene.Write({{"WO40050", Variant(std::int32_t{0x5AA5})}}), Outcomes{"error 0"});
    EXPECT_EQ(scene.Write({{"BI40050.0", Variant(std::int16_t{0})},
                           {"BI40050.1", Variant(std::int16_t{1})},
                           {"BI40050.15", Variant(std::int16_t{1})}}),
              Outcomes(3, "error 0"));
    EXPECT_EQ(scene.Read({"WO40050"}), Outcomes{"A6DA"}) << "0x5AA5 with bit 0 off, 1 and 15 on";
    EXPECT_EQ(scene.Write({{"BY40050.8", Variant(std::int16_t{0x11})}}), Outcomes{"error 0"});
    EXPECT_EQ(scene.Read({"WO40050"}), Outcomes{"A611"});
    EXPECT_EQ(scene.Write({{"BY40050", Variant(std::int16_t{0x22})}}), Outcomes{"error 0"});
    EXPECT_EQ(scene.Read({"WO40050"}), Outcomes{"2211"});
    const std::string outcome = scene.Read({"BY40050.8"}).front();
    EXPECT_EQ(scene.Extract("BY40050.8", outcome), 0x11);
    EXPECT_EQ(scene.Extract("BY40050", outcome), 0x22);
    EXPECT_EQ(scene.Extract("BI40050.5", outcome), 1);
    EXPECT_EQ(scene.Extract("BI40050.2", outcome), 0);
  }
}

TEST(ItemKindsMaskTest, ADeviceWithoutTheMaskFunctionFailsBitsWhereItIsDemanded) {
  if (const std::string reason = MissingReason(Package::ModbusSerial); !reason.empty()) GTEST_SKIP() << reason;
  const ForeignServer server(Package::ModbusSerial);
  DriverScene scene(server.Connection() + "?timeout=5000&bits=mask");
  scene.Open();
  EXPECT_EQ(scene.Write({{"BI40001.3", Variant(std::int16_t{1})}, {"WO40002", Variant(std::int32_t{9})}}),
            (Outcomes{"error 10", "error 0"}));
  EXPECT_EQ(scene.Read({"WO40001", "WO40002"}), (Outcomes{WordOutcome(Area::HoldingRegisters, 0), "0900"}));
}

}  // namespace
}  // namespace orvo::modbus_test
