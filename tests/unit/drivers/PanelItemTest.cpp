#include "PanelFixture.h"
#include "simulated/PanelItem.h"

#include <limits>

namespace orvo {
namespace {

using testing::FailureOf;
using testing::LogText;

class PanelItem : public ::testing::Test {
 protected:
  void Write(const std::string& identifier, const Variant& value) {
    const PanelIdentifier item = PanelIdentifier::Parse(identifier);
    WritePanelItem(memory, item.address, item.wordLength, value);
  }
  std::string Read(const std::string& identifier) {
    const PanelIdentifier item = PanelIdentifier::Parse(identifier);
    return LogText(ReadPanelItem(memory, item.address, item.wordLength));
  }
  std::string Written(const std::string& identifier, const Variant& value) {
    Write(identifier, value);
    return Read(identifier);
  }

  PanelMemory memory;
};

TEST_F(PanelItem, ABitOrByteIsReadWithItsWholeWord) {
  memory.PutWord(100, 0x1234);
  EXPECT_EQ(Read("BI100.3"), "UI1[52,18]");
  EXPECT_EQ(Read("BY100"), "UI1[52,18]");
  EXPECT_EQ(Read("BY101"), "UI1[52,18]");
  EXPECT_EQ(Read("WO100"), "UI1[52,18]");
}

TEST_F(PanelItem, ABitIsWrittenAlone) {
  memory.PutWord(100, 0xF0F0);
  Write("BI100.0", std::int32_t{1});
  EXPECT_EQ(memory.Word(100), 0xF0F1);
  Write("BI100.15", std::int32_t{0});
  EXPECT_EQ(memory.Word(100), 0x70F1);
  Write("BI100.9", true);
  EXPECT_EQ(memory.Word(100), 0x72F1);
  Write("BI100.9", Variant());
  EXPECT_EQ(memory.Word(100), 0x70F1);
}

TEST_F(PanelItem, AByteIsWrittenAlone) {
  memory.PutWord(100, 0x1234);
  Write("BY101", std::int32_t{0xAB});
  EXPECT_EQ(memory.Word(100), 0x12AB);
  EXPECT_EQ(memory.Byte(101), 0xAB);
  Write("BY100", std::int32_t{0x1CD});
  EXPECT_EQ(memory.Word(100), 0xCDAB);
  EXPECT_EQ(memory.Byte(100), 0xCD);
}

TEST_F(PanelItem, NumbersAreReadInReverseAndOtherBytesAsTheyLie) {
  memory.PutBytes(100, std::array<std::uint8_t, 4>{1, 2, 3, 4});
  memory.PutBytes(32768, std::array<std::uint8_t, 4>{5, 6, 7, 8});
  EXPECT_EQ(Read("BI100.8"), "UI1[2,1]");
  EXPECT_EQ(Read("BY101"), "UI1[2,1]");
  EXPECT_EQ(Read("WO102"), "UI1[4,3]");
  EXPECT_EQ(Read("DW100"), "UI1[4,3,2,1]");
  EXPECT_EQ(Read("FL100"), "UI1[4,3,2,1]");
  EXPECT_EQ(Read("ST001004"), "UI1[1,2,3,4]");
  EXPECT_EQ(Read("RA004"), "UI1[5,6,7,8]");
}

TEST_F(PanelItem, NumbersOfEveryKindAreTaken) {
  EXPECT_EQ(Written("WO100", std::int16_t{-2}), "UI1[254,255]");
  EXPECT_EQ(Written("WO100", std::int32_t{65535}), "UI1[255,255]");
  EXPECT_EQ(Written("WO100", std::int32_t{0x12345}), "UI1[69,35]");
  EXPECT_EQ(Written("WO100", std::uint8_t{7}), "UI1[7,0]");
  EXPECT_EQ(Written("WO100", 2.5), "UI1[2,0]");
  EXPECT_EQ(Written("WO100", 3.0F), "UI1[3,0]");
  EXPECT_EQ(Written("WO100", Currency{50000}), "UI1[5,0]");
  EXPECT_EQ(Written("WO100", Decimal{0, false, 0, 9}), "UI1[9,0]");
  EXPECT_EQ(Written("WO100", true), "UI1[255,255]");
  EXPECT_EQ(Written("WO100", std::int8_t{-1}), "UI1[255,255]");
  EXPECT_EQ(Written("WO100", std::uint16_t{513}), "UI1[1,2]");
  EXPECT_EQ(Written("DW100", std::int32_t{-2}), "UI1[254,255,255,255]");
  EXPECT_EQ(Written("DW100", 4294967295.0), "UI1[255,255,255,255]");
  EXPECT_EQ(Written("DW100", std::uint32_t{0x01020304}), "UI1[4,3,2,1]");
  EXPECT_EQ(Written("DW100", std::int64_t{-1}), "UI1[255,255,255,255]");
  EXPECT_EQ(Written("DW100", std::uint64_t{5}), "UI1[5,0,0,0]");
  EXPECT_EQ(Written("FL100", 1.5), "UI1[0,0,192,63]");
  EXPECT_EQ(Written("FL100", std::int32_t{-1}), "UI1[0,0,128,191]");
}

TEST_F(PanelItem, BytesAreTakenUpToTheItemsLength) {
  EXPECT_EQ(Written("ST001004", Variant::OfBytes(std::array<std::uint8_t, 4>{65, 66, 32, 32})),
            "UI1[65,66,32,32]");
  EXPECT_EQ(Written("ST001004", Variant::OfBytes(std::array<std::uint8_t, 2>{1, 2})), "UI1[1,2,32,32]");
  EXPECT_EQ(Written("ST001004", SafeArray<std::uint8_t>({9, 8, 7}, 1)), "UI1[9,8,7,32]");
  EXPECT_EQ(Written("RA013", Variant::OfBytes(std::array<std::uint8_t, 4>{1, 2, 3, 4})), "UI1[1,2,3,4]");
  EXPECT_EQ(memory.Byte(32768 + 256), 1);
}

TEST_F(PanelItem, EmptyAndNullStoreZeros) {
  for (const char* identifier : {"WO100", "DW100", "FL100", "ST001004", "RA014"}) {
    for (const Variant& nothing : {Variant(), Variant::Null()}) {
      const PanelAddress item = PanelIdentifier::Parse(identifier).address;
      for (std::int32_t k = 0; k < 6; ++k)
        memory.PutByte(item.address + k, 0xEE);
      const std::string zeros = Written(identifier, nothing);
      EXPECT_EQ(zeros.find_first_of("123456789", 3), std::string::npos) << identifier << ' ' << zeros;
      EXPECT_EQ(memory.Byte(item.address + 5), 0xEE) << identifier;
    }
  }
}

TEST_F(PanelItem, AWrongValueIsError10AndChangesNothing) {
  struct Row {
    const char* identifier;
    Variant value;
    const char* failure;
  };
  const Variant bytes = Variant::OfBytes(std::array<std::uint8_t, 2>{1, 2});
  const Row rows[] = {
      {"WO100", "5", "10:The item takes numbers only"},
      {"WO100", bytes, "10:The item takes numbers only"},
      {"WO100", Date{5}, "10:The item takes numbers only"},
      {"BI100.1", "1", "10:The item takes numbers only"},
      {"BY101", SafeArray<std::int32_t>({1}), "10:The item takes numbers only"},
      {"FL100", "1.5", "10:The item takes numbers only"},
      {"FL100", 1e300, "10:Overflow"},
      {"DW100", 1e300, "10:Overflow"},
      {"DW100", std::numeric_limits<double>::quiet_NaN(), "10:Overflow"},
      {"ST001004", "text", "10:The item takes byte arrays only"},
      {"ST001004", std::int32_t{5}, "10:The item takes byte arrays only"},
      {"ST001001", Variant::OfBytes(std::array<std::uint8_t, 3>{1, 2, 3}),
       "10:The item has room for 2 bytes, not for 3"},
      {"RA014", SafeArray<std::int16_t>({1}), "10:The item takes byte arrays only"},
  };
  for (const Row& row : rows) {
    const std::string before = Written(row.identifier, Variant());
    EXPECT_EQ(FailureOf([&] { Write(row.identifier, row.value); }), row.failure) << row.identifier;
    EXPECT_EQ(Read(row.identifier), before) << row.identifier;
  }
}

TEST_F(PanelItem, ADimensionWithoutPlaceIsError10) {
  const PanelAddress last{PanelItemKind::Word, 65534, 0};
  EXPECT_EQ(LogText(ReadPanelItem(memory, last, 1)), "UI1[0,0]");
  EXPECT_EQ(FailureOf([&] { ReadPanelItem(memory, last, 2); }),
            "10:An item of 2 words at byte 65534 reaches past the memory");
  EXPECT_EQ(FailureOf([&] { ReadPanelItem(memory, last, 0); }), "10:An item of 0 words has no place");
  EXPECT_EQ(FailureOf([&] { WritePanelItem(memory, last, -1, std::int32_t{1}); }),
            "10:An item of -1 words has no place");
  EXPECT_EQ(FailureOf([&] { WritePanelItem(memory, last, 2, std::int32_t{1}); }),
            "10:An item of 2 words at byte 65534 reaches past the memory");
  EXPECT_EQ(memory.Word(65534), 0);
}

TEST_F(PanelItem, ALargerDimensionReadsOnBehindTheItem) {
  memory.PutDoubleWord(100, 0x04030201);
  EXPECT_EQ(LogText(ReadPanelItem(memory, {PanelItemKind::Byte, 101, 0}, 2)), "UI1[1,2,3,4]");
}

}  // namespace
}  // namespace orvo
