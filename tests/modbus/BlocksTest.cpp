// Blocks of many items: what one request may carry, bad addresses inside, areas that cannot be written.

#include "modbus/EachPackageTest.h"
#include "modbus/ExpectedOutcome.h"
#include "modbus/FaultProxy.h"

#include <array>
#include <cstdio>

namespace orvo::modbus_test {
namespace {

class BlocksTest : public EachPackageTest {};
INSTANTIATE_TEST_SUITE_P(Each, BlocksTest, ::testing::ValuesIn(EachPackage), PackageName);

std::string Numbered(const char* form, int number) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), form, number);
  return text.data();
}

struct Rows {
  std::vector<std::string> items;
  Outcomes expected;
};

// `count` items WO or BI from the first of the area on.
Rows Many(Area area, int count) {
  Rows rows;
  for (int each = 0; each < count; ++each) {
    const bool bits = area == Area::Coils || area == Area::DiscreteInputs;
    const int reference = (modbus::DigitOf(area) - '0') * 10000 + each + 1;
    rows.items.push_back(Numbered(bits ? "BI%05d" : "WO%05d", reference));
    rows.expected.push_back(bits ? BitOutcome(area, each) : WordOutcome(area, each));
  }
  return rows;
}

TEST_P(BlocksTest, RequestsCarryAsMuchAsTheyMay) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000");
  scene.Open();
  struct Row {
    Area area;
    int items;
    int requests;
    const char* function;
  };
  for (const Row& row : {Row{Area::HoldingRegisters, 125, 1, "f3"}, Row{Area::HoldingRegisters, 126, 2, "f3"},
                         Row{Area::HoldingRegisters, 1000, 8, "f3"}, Row{Area::InputRegisters, 125, 1, "f4"},
                         Row{Area::Coils, 2000, 1, "f1"}, Row{Area::Coils, 2001, 2, "f1"},
                         Row{Area::DiscreteInputs, 2000, 1, "f2"}}) {
    SCOPED_TRACE(std::string(modbus::NameOf(row.area)) + " " + std::to_string(row.items));
    const Rows rows = Many(row.area, row.items);
    proxy.Do("reset");
    EXPECT_EQ(scene.Read(rows.items), rows.expected);
    EXPECT_EQ(proxy.Count(row.function), row.requests);
    EXPECT_EQ(proxy.Count("requests"), row.requests);
  }
}

TEST_P(BlocksTest, AThousandItemsAreWrittenInAsFewRequestsAsTheyMay) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000");
  scene.Open();
  std::vector<std::pair<std::string, Variant>> writes;
  Outcomes expected;
  for (int each = 0; each < 1000; ++each) {
    writes.emplace_back(Numbered("WO%05d", 40001 + each), Variant(std::int32_t{each}));
    expected.push_back(Hex({static_cast<std::uint8_t>(each), static_cast<std::uint8_t>(each >> 8)}));
  }
  proxy.Do("reset");
  EXPECT_EQ(scene.Write(writes), Outcomes(1000, "error 0"));
  EXPECT_EQ(proxy.Count("f16"), 9) << "123 registers in each but the last";
  EXPECT_EQ(proxy.Count("requests"), 9);
  EXPECT_EQ(scene.Read(Many(Area::HoldingRegisters, 1000).items), expected);

  writes.clear();
  for (int each = 0; each < 1969; ++each)
    writes.emplace_back(Numbered("BI%05d", 1 + each), Variant(static_cast<std::int16_t>(each % 3 == 0)));
  proxy.Do("reset");
  EXPECT_EQ(scene.Write(writes), Outcomes(1969, "error 0"));
  EXPECT_EQ(proxy.Count("requests"), 2) << "1968 coils and one";
  const Outcomes coils = scene.Read(Many(Area::Coils, 1970).items);
  for (int each = 0; each < 1969; ++each)
    ASSERT_EQ(coils[static_cast<std::size_t>(each)], each % 3 == 0 ? "0100" : "0000") << each;
  EXPECT_EQ(coils[1969], BitOutcome(Area::Coils, 1969));
}

TEST_P(BlocksTest, ABadAddressFailsAlone) {
  const ForeignServer server(GetParam(), {"--hole", "4:60-61", "--hole", "4:90", "--hole", "0:500-501"});
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000");
  scene.Open();
  Rows rows = Many(Area::HoldingRegisters, 120);
  for (const std::size_t bad : {60U, 61U, 90U})
    rows.expected[bad] = "error 10";
  EXPECT_EQ(scene.Read(rows.items), rows.expected);
  scene.Read(rows.items);  // it may have more to learn from the second one
  proxy.Do("reset");
  EXPECT_EQ(scene.Read(rows.items), rows.expected);
  EXPECT_LE(proxy.Count("requests"), 8) << "what was learned is kept";

  Rows coils = Many(Area::Coils, 1000);
  coils.expected[500] = coils.expected[501] = "error 10";
  EXPECT_EQ(scene.Read(coils.items), coils.expected);

  // A long value that touches a hole, and its neighbours.
  EXPECT_EQ(scene.Read({"WO40060", "DW40060", "FL40062", "DW40063", "DW40058"}),
            (Outcomes{WordOutcome(Area::HoldingRegisters, 59), "error 10", "error 10",
                      LongOutcome(Area::HoldingRegisters, 62), LongOutcome(Area::HoldingRegisters, 57)}));
}

TEST_P(BlocksTest, ABadAddressFailsAloneWhenWritten) {
  const ForeignServer server(GetParam(), {"--hole", "4:60-61"});
  DriverScene scene(server.Connection() + "?timeout=5000");
  scene.Open();
  EXPECT_EQ(scene.Write({{"WO40059", Variant(std::int32_t{1})},
                         {"WO40060", Variant(std::int32_t{2})},
                         {"WO40061", Variant(std::int32_t{3})},
                         {"WO40062", Variant(std::int32_t{4})},
                         {"WO40063", Variant(std::int32_t{5})}}),
            (Outcomes{"error 0", "error 0", "error 10", "error 10", "error 0"}));
  EXPECT_EQ(scene.Read({"WO40059", "WO40060", "WO40063", "WO40064"}),
            (Outcomes{"0100", "0200", "0500", WordOutcome(Area::HoldingRegisters, 63)}));
}

TEST_P(BlocksTest, AreasThatCannotBeWrittenRefuseItemByItemAndAskNothing) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000&block01=30100");
  scene.Open();
  proxy.Do("reset");
  EXPECT_EQ(scene.Write({{"WO30001", Variant(std::int32_t{1})},
                         {"BI10001", Variant(std::int16_t{1})},
                         {"WO40001", Variant(std::int32_t{7})},
                         {"FL30010", Variant(1.5F)},
                         {"RA012", Bytes({1, 2})},
                         {"BI30001.3", Variant(std::int16_t{1})}}),
            (Outcomes{"error 10", "error 10", "error 0", "error 10", "error 10", "error 10"}));
  EXPECT_EQ(proxy.Count("requests"), 1);
  EXPECT_EQ(scene.Read({"WO30001", "BI10001", "WO40001"}),
            (Outcomes{WordOutcome(Area::InputRegisters, 0), BitOutcome(Area::DiscreteInputs, 0), "0700"}));
}

TEST_P(BlocksTest, TheLongestItemsAreReadAndWrittenInOnePiece) {
  const ForeignServer server(GetParam());
  FaultProxy proxy(server.Port());
  DriverScene scene(proxy.Connection() + "?timeout=5000&block01=40201");
  scene.Open();
  EXPECT_EQ(scene.Read({"RA01246"}), Outcomes{RawOutcome(Area::HoldingRegisters, 200, 246)});
  std::vector<std::uint8_t> bytes;
  for (int each = 0; each < 246; ++each)
    bytes.push_back(static_cast<std::uint8_t>(each * 7));
  proxy.Do("reset");
  EXPECT_EQ(scene.Write({{"RA01246", Bytes(bytes)}}), Outcomes{"error 0"});
  EXPECT_EQ(scene.Read({"RA01246"}), Outcomes{Hex(bytes)});
  EXPECT_EQ(proxy.Count("requests"), 2);
}

}  // namespace
}  // namespace orvo::modbus_test
