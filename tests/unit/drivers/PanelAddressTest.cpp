#include "PanelFixture.h"

#include <cmath>
#include <limits>
#include <set>

namespace orvo {
namespace {

using Kind = PanelItemKind;

struct Row {
  const char* identifier;
  PanelAddress address;
  std::int32_t wordLength;
  std::int32_t itemType;
};

const Row Rows[] = {
    {"BI0.0", {Kind::Bit, 0, 0}, 1, 0},
    {"BI100.3", {Kind::Bit, 100, 3}, 1, 0},
    {"BI100.09", {Kind::Bit, 100, 9}, 1, 0},
    {"BI65534.15", {Kind::Bit, 65534, 15}, 1, 0},
    {"BY0", {Kind::Byte, 0, 0}, 1, 0},
    {"BY101", {Kind::Byte, 101, 0}, 1, 0},
    {"BY65535", {Kind::Byte, 65535, 0}, 1, 0},
    {"WO100", {Kind::Word, 100, 0}, 1, 0},
    {"WO00100", {Kind::Word, 100, 0}, 1, 0},
    {"WO65534", {Kind::Word, 65534, 0}, 1, 0},
    {"DW8", {Kind::DoubleWord, 8, 0}, 2, 0},
    {"DW65532", {Kind::DoubleWord, 65532, 0}, 2, 0},
    {"FL12", {Kind::Single, 12, 0}, 2, 2},
    {"FL65532", {Kind::Single, 65532, 0}, 2, 2},
    {"ST0020010", {Kind::String, 200, 0}, 5, 1},
    {"ST002011", {Kind::String, 201, 0}, 1, 1},
    {"ST00200255", {Kind::String, 200, 0}, 128, 1},
    {"ST655342", {Kind::String, 65534, 0}, 1, 1},
    {"RA0316", {Kind::Raw, 32768 + 3 * 256, 0}, 8, 3},
    {"RA001", {Kind::Raw, 32768, 0}, 1, 3},
    {"RA99256", {Kind::Raw, 32768 + 99 * 256, 0}, 128, 3},
};

TEST(PanelIdentifier, EachFormYieldsAddressWordLengthAndType) {
  for (const Row& row : Rows) {
    SCOPED_TRACE(row.identifier);
    const PanelIdentifier parsed = PanelIdentifier::Parse(row.identifier);
    EXPECT_EQ(parsed.address, row.address);
    EXPECT_EQ(parsed.wordLength, row.wordLength);
    EXPECT_EQ(parsed.itemType, row.itemType);
  }
}

TEST(PanelIdentifier, EachWrongFormIsRefusedWithATextOfItsOwn) {
  struct Wrong {
    const char* identifier;
    const char* text;
  };
  const Wrong wrongs[] = {
      {"", "it is empty; write it like WO100"},
      {"W", "the type code 'W' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO100"},
      {"XX100", "the type code 'XX' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO100"},
      {"dw100", "the type code 'dw' must be upper-case; write it like DW100"},
      {"Ra0316", "the type code 'Ra' must be upper-case; write it like RA0316"},
      {"WO", "the address is missing; write it like WO100"},
      {"WO10x", "the address '10x' is no decimal number; write it like WO100"},
      {"WO-2", "the address '-2' is no decimal number; write it like WO100"},
      {"WO 2", "the address ' 2' is no decimal number; write it like WO100"},
      {"WO100.3", "the address '100.3' is no decimal number; write it like WO100"},
      {"WO000100", "the address '000100' has more than 5 digits; write it like WO100"},
      {"WO65536", "the address 65536 is not within 0..65535; write it like WO100"},
      {"WO101", "the address 101 is odd, it must be even; write it like WO100"},
      {"DW101", "the address 101 is odd, it must be even; write it like DW100"},
      {"FL101", "the address 101 is odd, it must be even; write it like FL100"},
      {"BI101.0", "the address 101 is odd, it must be even; write it like BI100.3"},
      {"DW65534", "its 4 bytes from 65534 on reach past the last byte 65535; write it like DW100"},
      {"FL65534", "its 4 bytes from 65534 on reach past the last byte 65535; write it like FL100"},
      {"BY", "the address is missing; write it like BY101"},
      {"BI100", "the bit number after a '.' is missing; write it like BI100.3"},
      {"BI100.", "the bit number is missing; write it like BI100.3"},
      {"BI.3", "the address is missing; write it like BI100.3"},
      {"BI100.x", "the bit number 'x' is no decimal number; write it like BI100.3"},
      {"BI100.16", "the bit number 16 is not within 0..15; write it like BI100.3"},
      {"BI100.003", "the bit number '003' has more than 2 digits; write it like BI100.3"},
      {"ST", "the address needs 5 digits, here ''; write it like ST0020010"},
      {"ST200", "the address needs 5 digits, here '200'; write it like ST0020010"},
      {"ST2oo0010", "the address needs 5 digits, here '2oo00'; write it like ST0020010"},
      {"ST7000010", "the address 70000 is not within 0..65535; write it like ST0020010"},
      {"ST00200", "the size is missing; write it like ST0020010"},
      {"ST00200ab", "the size 'ab' is no decimal number; write it like ST0020010"},
      {"ST002000", "the size 0 is not within 1..255; write it like ST0020010"},
      {"ST00200256", "the size 256 is not within 1..255; write it like ST0020010"},
      {"ST002000010", "the size '0010' has more than 3 digits; write it like ST0020010"},
      {"ST655343", "its 4 bytes from 65534 on reach past the last byte 65535; write it like ST0020010"},
      {"ST655351", "its 2 bytes from 65535 on reach past the last byte 65535; write it like ST0020010"},
      {"RA", "the block number needs 2 digits, here ''; write it like RA0316"},
      {"RA3", "the block number needs 2 digits, here '3'; write it like RA0316"},
      {"RAx316", "the block number needs 2 digits, here 'x3'; write it like RA0316"},
      {"RA03", "the size is missing; write it like RA0316"},
      {"RA03x", "the size 'x' is no decimal number; write it like RA0316"},
      {"RA030", "the size 0 is not within 1..256; write it like RA0316"},
      {"RA03257", "the size 257 is not within 1..256; write it like RA0316"},
  };
  for (const Wrong& wrong : wrongs) {
    EXPECT_EQ(testing::FailureOf([&] { PanelIdentifier::Parse(wrong.identifier); }),
              "10:Item identifier '" + std::string(wrong.identifier) + "': " + wrong.text);
  }
}

// Every address that an identifier can name.
template <class Visit>
void ForEachAddress(Visit&& visit) {
  for (std::int32_t a = 0; a < 65536; ++a) {
    visit(PanelAddress{Kind::Byte, a, 0});
    if (a <= 65534) visit(PanelAddress{Kind::String, a, 0});
    if (a % 2 != 0) continue;
    visit(PanelAddress{Kind::Word, a, 0});
    for (std::int32_t bit = 0; bit < 16; ++bit)
      visit(PanelAddress{Kind::Bit, a, bit});
    if (a > 65532) continue;
    visit(PanelAddress{Kind::DoubleWord, a, 0});
    visit(PanelAddress{Kind::Single, a, 0});
  }
  for (std::int32_t block = 0; block < 100; ++block)
    visit(PanelAddress{Kind::Raw, 32768 + 256 * block, 0});
}

TEST(PanelAddress, EveryAddressComesBackFromItsCompiledForm) {
  int count = 0;
  ForEachAddress([&count](const PanelAddress& address) {
    ++count;
    ASSERT_EQ(PanelAddress::Decode(address.Encode()), address);
  });
  EXPECT_EQ(count, 65536 + 65535 + 32768 + 32768 * 16 + 2 * 32767 + 100);
}

TEST(PanelAddress, EveryOtherWholeNumberDecodesToNothing) {
  std::set<double> valid;
  ForEachAddress([&valid](const PanelAddress& address) { valid.insert(address.Encode()); });
  std::size_t decoded = 0;
  for (std::int32_t number = -10; number < (1 << 23) + 10; ++number)
    if (PanelAddress::Decode(number)) ++decoded;
  EXPECT_EQ(decoded, valid.size());
}

TEST(PanelAddress, FractionsAndExtremesDecodeToNothing) {
  const double word = PanelAddress{Kind::Word, 100, 0}.Encode();
  for (const double number :
       {0.0, -0.0, word + 0.5, -word, 1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_FALSE(PanelAddress::Decode(number)) << number;
}

TEST(PanelAddress, TheCompiledFormIsAsDocumented) {
  EXPECT_EQ((PanelAddress{Kind::Bit, 100, 3}.Encode()), 100 + 3 * 65536 + 1048576);
  EXPECT_EQ((PanelAddress{Kind::Raw, 32768, 0}.Encode()), 32768 + 7 * 1048576);
}

TEST(PanelAddress, OnlyAByteMayLieInsideItsWord) {
  EXPECT_EQ((PanelAddress{Kind::Byte, 101, 0}.WordAddress()), 100);
  EXPECT_EQ((PanelAddress{Kind::Byte, 100, 0}.WordAddress()), 100);
  EXPECT_EQ((PanelAddress{Kind::String, 101, 0}.WordAddress()), 101);
}

}  // namespace
}  // namespace orvo
