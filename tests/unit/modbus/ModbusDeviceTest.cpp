#include "FailureText.h"
#include "modbus/Identifier.h"
#include "modbus/ModbusDevice.h"
#include "support/ScriptedDriver.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace orvo::modbus {
namespace {

using testing::LogText;

const RawBlocks& BlocksOfDevice() {
  static const RawBlocks blocks{{3, {Area::HoldingRegisters, 99}}};
  return blocks;
}

double CompiledBy(ModbusDevice& device, const std::string& identifier) {
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device.CompileItemId(identifier, address, words, type));
  return address;
}

std::string ExtractedText(const std::string& identifier, Variant value) {
  ModbusDevice device(BlocksOfDevice());
  device.ExtractValue(CompiledBy(device, identifier), value, 0);
  return LogText(value);
}

TEST(ModbusDevice, CompilesAnIdentifier) {
  ModbusDevice device(BlocksOfDevice());
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device.CompileItemId("RA0316", address, words, type));
  EXPECT_EQ(address, (Address{ItemKind::Raw, Area::HoldingRegisters, 99, 0}.Encode()));
  EXPECT_EQ(words, 8);
  EXPECT_EQ(type, 3);
}

TEST(ModbusDevice, AWrongIdentifierFailsAndLeavesTheResultsAlone) {
  ModbusDevice device(BlocksOfDevice());
  double address = 7;
  std::int32_t words = 8;
  std::int32_t type = 9;
  EXPECT_EQ(FailureText([&] { device.CompileItemId("RA0416", address, words, type); }),
            "10:Item identifier 'RA0416': the connection does not say where raw block 04 begins; add an option "
            "to it like block04=40100");
  EXPECT_EQ(address, 7);
  EXPECT_EQ(words, 8);
  EXPECT_EQ(type, 9);
}

struct ExtractRow {
  const char* identifier;
  Variant value;
  const char* own;
};

TEST(ModbusDevice, IsolatesTheBitOrByteByTheKindOfTheValue) {
  const std::vector<ExtractRow> rows{
      // A decoded word.
      {"BI40001.0", std::int16_t{1}, "I2:1"},
      {"BI40001.1", std::int16_t{1}, "I2:0"},
      {"BI40001.15", std::int16_t{-32768}, "I2:1"},
      {"BI40001.14", std::int16_t{-32768}, "I2:0"},
      {"BI00001", std::int16_t{1}, "I2:1"},
      {"BI10001", std::int16_t{0}, "I2:0"},
      {"BY40001", std::int16_t{0x12F4}, "I2:244"},
      {"BY40001.0", std::int16_t{0x12F4}, "I2:244"},
      {"BY40001.8", std::int16_t{0x12F4}, "I2:18"},
      {"BY40001.8", std::int16_t{-1}, "I2:255"},
      // A group's image.
      {"BI40001.15", 1.0, "I2:1"},
      {"BI40001.15", 32768.0, "I2:0"},
      {"BI00001", 65535.0, "I2:1"},
      {"BY40001.8", 200.0, "I2:200"},
      {"BY40001", -1.0, "I2:255"},
      {"BY40001", 4294967295.0, "I2:255"},
      {"BY40001", 4294967296.0, "R8:4294967296"},
      {"BI40001.0", 1.5, "R8:1.5"},
      // A value that was written.
      {"BI40001.3", std::int32_t{1}, "I4:1"},
      {"BY40001.8", std::int32_t{200}, "I4:200"},
      {"BI00001", std::int32_t{1}, "I4:1"},
      // No word, and other items.
      {"BY40001", Variant(), "Empty"},
      {"BY40001", "text", "String:\"text\""},
      {"WO40001", std::int16_t{-2}, "I2:-2"},
      {"WO40001", 65534.0, "R8:65534"},
      {"DW40001", std::int32_t{70000}, "I4:70000"},
      {"FL40001", 1.5F, "R4:1.5"},
      {"ST4000110", "ab", "String:\"ab\""},
  };
  for (const ExtractRow& row : rows)
    EXPECT_EQ(ExtractedText(row.identifier, row.value), row.own) << row.identifier << ' ' << LogText(row.value);
}

TEST(ModbusDevice, NoNumberOfAGroupsImageIsCutOutOfWhatIsNone) {
  EXPECT_EQ(ExtractedText("BI40001.0", std::numeric_limits<double>::infinity()), "R8:inf");
  EXPECT_EQ(ExtractedText("BI40001.0", std::numeric_limits<double>::quiet_NaN()).substr(0, 3), "R8:");
}

TEST(ModbusDevice, AnAddressOfNothingIsError10) {
  ModbusDevice device(BlocksOfDevice());
  Variant value(std::int16_t{5});
  EXPECT_EQ(FailureText([&] { device.ExtractValue(0, value, 0); }),
            "10:The compiled address names no item of a Modbus device");
  EXPECT_EQ(LogText(value), "I2:5");
}

struct LoadedRow {
  const char* identifier;
  const char* compiledLike;  // the identifier whose address was saved; nothing: `address`
  double address;
  std::int32_t words;
  std::int32_t type;
  const char* failure;  // behind "Item identifier '...': "
};

TEST(ModbusDevice, TheFactsOfASavedItemAreTakenOrRefusedByName) {
  ModbusDevice device(BlocksOfDevice());
  const std::vector<LoadedRow> rows{
      {"WO40001", "WO40001", 0, 1, 0, nullptr},
      {"DW40001", "DW40001", 0, 2, 0, nullptr},
      {"FL40001", "FLH0000", 0, 2, 2, nullptr},
      {"ST4000110", "ST4000110", 0, 5, 1, nullptr},
      {"ST4000110", "ST4000110", 0, 123, 1, nullptr},
      {"RA0316", "RA0316", 0, 1, 3, nullptr},
      {"BI00001", "BI00001", 0, 1, 0, nullptr},
      {"WO40001", nullptr, 0, 1, 0, "the saved compiled address 0 names no item"},
      {"WO40001", nullptr, 7.5, 1, 0, "the saved compiled address 7.5 names no item"},
      {"WO40001", nullptr, 1e300, 1, 0, "the saved compiled address 1E+300 names no item"},
      {"WO40001", "WO40002", 0, 1, 0,
       "the saved compiled address 15728641 is another item's, here it is 15728640"},
      {"WO40001", "BY40001", 0, 1, 0,
       "the saved compiled address 11534336 is another item's, here it is 15728640"},
      {"RA0316", "RA0316", 1, 8, 3, nullptr},
      {"RA0316", nullptr, 32505956, 8, 3,
       "the saved compiled address 32505956 is another item's, here it is 32505955"},
      {"WO40001", "WO40001", 0, 2, 0, "the saved length 2 (in words) has no place there"},
      {"FL40001", "FL40001", 0, 1, 2, "the saved length 1 (in words) has no place there"},
      {"ST4000110", "ST4000110", 0, 124, 1, "the saved length 124 (in words) has no place there"},
      {"STHFFFE2", "STHFFFE2", 0, 3, 1, "the saved length 3 (in words) has no place there"},
      {"RA0316", "RA0316", 0, 0, 3, "the saved length 0 (in words) has no place there"},
      {"WO40001", "WO40001", 0, 1, 1, "the saved type 1 is not its own, 0"},
      {"FL40001", "FL40001", 0, 2, 0, "the saved type 0 is not its own, 2"},
      {"ST4000110", "ST4000110", 0, 5, 3, "the saved type 3 is not its own, 1"},
      {"WO4000", nullptr, 0, 1, 0, "the reference '4000' needs 5 or 6 digits, here 4; write it like WO40001"},
  };
  for (const LoadedRow& row : rows) {
    const double address = row.compiledLike != nullptr ? CompiledBy(device, row.compiledLike) : row.address;
    const std::string identifier = row.identifier;
    EXPECT_EQ(FailureText([&] { device.ItemLoaded(identifier, address, row.words, row.type); }),
              row.failure == nullptr ? "0:" : "10:Item identifier '" + identifier + "': " + row.failure);
  }
}

TEST(ModbusDevice, ASavedRawItemWhoseBlockHasMovedIsRefused) {
  ModbusDevice before(BlocksOfDevice());
  ModbusDevice after(RawBlocks{{3, {Area::HoldingRegisters, 199}}});
  const double saved = CompiledBy(before, "RA0316");
  EXPECT_EQ(FailureText([&] { after.ItemLoaded("RA0316", saved, 8, 3); }),
            "10:Item identifier 'RA0316': the saved compiled address 32505955 is another item's, here it is "
            "32506055");
}

}  // namespace
}  // namespace orvo::modbus
