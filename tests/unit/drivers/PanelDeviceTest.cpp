#include "PanelFixture.h"
#include "simulated/PanelDevice.h"

namespace orvo {
namespace {

using testing::LogText;

std::string Extracted(const std::string& identifier, Variant value) {
  PanelDevice device;
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device.CompileItemId(identifier, address, words, type));
  device.ExtractValue(address, value, 0);
  return LogText(value);
}

TEST(PanelDevice, CompilesAnIdentifier) {
  PanelDevice device;
  double address = 0;
  std::int32_t words = 0;
  std::int32_t type = 0;
  EXPECT_TRUE(device.CompileItemId("FL100", address, words, type));
  EXPECT_EQ(address, PanelIdentifier::Parse("FL100").address.Encode());
  EXPECT_EQ(words, 2);
  EXPECT_EQ(type, 2);
}

TEST(PanelDevice, AWrongIdentifierFailsAndLeavesTheResultsAlone) {
  PanelDevice device;
  double address = 7;
  std::int32_t words = 8;
  std::int32_t type = 9;
  EXPECT_EQ(testing::FailureOf([&] { device.CompileItemId("WO1", address, words, type); }),
            "10:Item identifier 'WO1': the address 1 is odd, it must be even; write it like WO100");
  EXPECT_EQ(address, 7);
  EXPECT_EQ(words, 8);
  EXPECT_EQ(type, 9);
}

TEST(PanelDevice, IsolatesTheBitOfADecodedWord) {
  EXPECT_EQ(Extracted("BI100.0", std::int16_t{1}), "I2:1");
  EXPECT_EQ(Extracted("BI100.1", std::int16_t{1}), "I2:0");
  EXPECT_EQ(Extracted("BI100.15", std::int16_t{-32768}), "I2:1");
  EXPECT_EQ(Extracted("BI100.14", std::int16_t{-32768}), "I2:0");
}

TEST(PanelDevice, IsolatesTheByteOfADecodedWord) {
  EXPECT_EQ(Extracted("BY100", std::int16_t{0x12F4}), "I2:18");
  EXPECT_EQ(Extracted("BY101", std::int16_t{0x12F4}), "I2:244");
  EXPECT_EQ(Extracted("BY100", std::int16_t{-1}), "I2:255");
}

TEST(PanelDevice, TakesTheBitOrByteOfAGroupsImageFromTheLowEndOfItsOwnWord) {
  EXPECT_EQ(Extracted("BI100.0", 1.0), "I2:1");
  EXPECT_EQ(Extracted("BI100.15", 1.0), "I2:1");
  EXPECT_EQ(Extracted("BI100.15", 32768.0), "I2:0");
  EXPECT_EQ(Extracted("BI100.3", 65535.0), "I2:1");
  EXPECT_EQ(Extracted("BI100.3", -1.0), "I2:1");
  EXPECT_EQ(Extracted("BY100", 200.0), "I2:200");
  EXPECT_EQ(Extracted("BY101", 200.0), "I2:200");
  EXPECT_EQ(Extracted("BY100", 65281.0), "I2:1");
  EXPECT_EQ(Extracted("BY100", -1.0), "I2:255");
  EXPECT_EQ(Extracted("BY100", 4294967295.0), "I2:255");
}

TEST(PanelDevice, LeavesAWrittenValueOfABitOrByteAlone) {
  EXPECT_EQ(Extracted("BI100.3", std::int32_t{1}), "I4:1");
  EXPECT_EQ(Extracted("BY101", std::int32_t{200}), "I4:200");
}

TEST(PanelDevice, LeavesWhatIsNoWordAlone) {
  EXPECT_EQ(Extracted("BY101", Variant()), "Empty");
  EXPECT_EQ(Extracted("BY101", "text"), "String:\"text\"");
  EXPECT_EQ(Extracted("BI100.0", 1.5), "R8:1.5");
  EXPECT_EQ(Extracted("BI100.0", 4294967296.0), "R8:4294967296");
}

TEST(PanelDevice, LeavesTheValuesOfOtherItemsAlone) {
  EXPECT_EQ(Extracted("WO100", std::int16_t{-2}), "I2:-2");
  EXPECT_EQ(Extracted("WO100", 65534.0), "R8:65534");
  EXPECT_EQ(Extracted("DW100", 70000.0), "R8:70000");
  EXPECT_EQ(Extracted("DW100", std::int32_t{70000}), "I4:70000");
  EXPECT_EQ(Extracted("FL100", 1.5F), "R4:1.5");
  EXPECT_EQ(Extracted("ST0020010", "ab"), "String:\"ab\"");
}

TEST(PanelDevice, AnAddressOfNothingIsError10) {
  PanelDevice device;
  Variant value(std::int16_t{5});
  EXPECT_EQ(testing::FailureOf([&] { device.ExtractValue(0, value, 0); }),
            "10:The compiled address names no item of the panel");
  EXPECT_EQ(LogText(value), "I2:5");
}

}  // namespace
}  // namespace orvo
