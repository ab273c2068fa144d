#include "FailureText.h"
#include "modbus/Identifier.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::modbus {
namespace {

// Raw blocks 0, 3 and 99: at the beginning, in the middle, and 10 registers before the end.
const RawBlocks& TestBlocks() {
  static const RawBlocks blocks{
      {0, {Area::HoldingRegisters, 0}}, {3, {Area::InputRegisters, 99}}, {99, {Area::HoldingRegisters, 65526}}};
  return blocks;
}

struct IdentifierRow {
  const char* identifier;
  Address address;
  std::int32_t wordLength;
  std::int32_t itemType;
};

TEST(ModbusIdentifier, EachFormYieldsAddressWordLengthAndType) {
  constexpr Area coils = Area::Coils;
  constexpr Area discrete = Area::DiscreteInputs;
  constexpr Area input = Area::InputRegisters;
  constexpr Area holding = Area::HoldingRegisters;
  const std::vector<IdentifierRow> rows{
      {"BI00001", {ItemKind::Bit, coils, 0, 0}, 1, 0},
      {"BI09999", {ItemKind::Bit, coils, 9998, 0}, 1, 0},
      {"BI000001", {ItemKind::Bit, coils, 0, 0}, 1, 0},
      {"BI065536", {ItemKind::Bit, coils, 65535, 0}, 1, 0},
      {"BIC0000", {ItemKind::Bit, coils, 0, 0}, 1, 0},
      {"BICFFFF", {ItemKind::Bit, coils, 65535, 0}, 1, 0},
      {"BI10001", {ItemKind::Bit, discrete, 0, 0}, 1, 0},
      {"BID00FF", {ItemKind::Bit, discrete, 255, 0}, 1, 0},
      {"BI40001.0", {ItemKind::Bit, holding, 0, 0}, 1, 0},
      {"BI40001.15", {ItemKind::Bit, holding, 0, 15}, 1, 0},
      {"BI40001.09", {ItemKind::Bit, holding, 0, 9}, 1, 0},
      {"BI30002.3", {ItemKind::Bit, input, 1, 3}, 1, 0},
      {"BI465536.15", {ItemKind::Bit, holding, 65535, 15}, 1, 0},
      {"BIHFFFF.1", {ItemKind::Bit, holding, 65535, 1}, 1, 0},
      {"BY40001", {ItemKind::Byte, holding, 0, 0}, 1, 0},
      {"BY40001.0", {ItemKind::Byte, holding, 0, 0}, 1, 0},
      {"BY40001.8", {ItemKind::Byte, holding, 0, 8}, 1, 0},
      {"BYI000A.8", {ItemKind::Byte, input, 10, 8}, 1, 0},
      {"WO40001", {ItemKind::Word, holding, 0, 0}, 1, 0},
      {"WO49999", {ItemKind::Word, holding, 9998, 0}, 1, 0},
      {"WOH270F", {ItemKind::Word, holding, 9999, 0}, 1, 0},
      {"WO410000", {ItemKind::Word, holding, 9999, 0}, 1, 0},
      {"WO400001", {ItemKind::Word, holding, 0, 0}, 1, 0},
      {"WO465536", {ItemKind::Word, holding, 65535, 0}, 1, 0},
      {"WO30001", {ItemKind::Word, input, 0, 0}, 1, 0},
      {"WO365536", {ItemKind::Word, input, 65535, 0}, 1, 0},
      {"DW40001", {ItemKind::DoubleWord, holding, 0, 0}, 2, 0},
      {"DW49999", {ItemKind::DoubleWord, holding, 9998, 0}, 2, 0},
      {"DWHFFFE", {ItemKind::DoubleWord, holding, 65534, 0}, 2, 0},
      {"FL40003", {ItemKind::Single, holding, 2, 0}, 2, 2},
      {"FL365535", {ItemKind::Single, input, 65534, 0}, 2, 2},
      {"ST4000110", {ItemKind::String, holding, 0, 0}, 5, 1},
      {"ST400011", {ItemKind::String, holding, 0, 0, true}, 1, 1},
      {"ST400013", {ItemKind::String, holding, 0, 0, true}, 2, 1},
      {"ST30001246", {ItemKind::String, input, 0, 0}, 123, 1},
      {"ST40001001", {ItemKind::String, holding, 0, 0, true}, 1, 1},
      {"STH123410", {ItemKind::String, holding, 0x1234, 0}, 5, 1},
      {"STHFFFF2", {ItemKind::String, holding, 65535, 0}, 1, 1},
      {"RA001", {ItemKind::Raw, holding, 0, 0, true}, 1, 3},
      {"RA0316", {ItemKind::Raw, input, 99, 0}, 8, 3},
      {"RA0317", {ItemKind::Raw, input, 99, 0, true}, 9, 3},
      {"RA03246", {ItemKind::Raw, input, 99, 0}, 123, 3},
      {"RA9920", {ItemKind::Raw, holding, 65526, 0}, 10, 3},
  };
  for (const IdentifierRow& row : rows) {
    SCOPED_TRACE(row.identifier);
    Identifier parsed;
    EXPECT_EQ(FailureText([&] { parsed = Identifier::Parse(row.identifier, TestBlocks()); }), "0:");
    EXPECT_EQ(parsed.address, row.address);
    EXPECT_EQ(parsed.wordLength, row.wordLength);
    EXPECT_EQ(parsed.itemType, row.itemType);
    EXPECT_TRUE(parsed.address.Place(parsed.wordLength));
  }
}

struct WrongIdentifier {
  const char* identifier;
  const char* text;
};

void ExpectRefused(const std::vector<WrongIdentifier>& rows) {
  for (const WrongIdentifier& row : rows)
    EXPECT_EQ(FailureText([&] { Identifier::Parse(row.identifier, TestBlocks()); }),
              "10:Item identifier '" + std::string(row.identifier) + "': " + row.text);
}

TEST(ModbusIdentifier, AWrongTypeCodeIsRefused) {
  ExpectRefused({
      {"", "it is empty; write it like WO40001"},
      {"W", "the type code 'W' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO40001"},
      {"XX40001", "the type code 'XX' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO40001"},
      {" WO40001", "the type code ' W' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO40001"},
      {"40001", "the type code '40' is none of BI, BY, WO, DW, FL, ST, RA; write it like WO40001"},
      {"bi40001.3", "the type code 'bi' must be upper-case; write it like BI40001.3"},
      {"Dw40001", "the type code 'Dw' must be upper-case; write it like DW40001"},
      {"st4000110", "the type code 'st' must be upper-case; write it like ST4000110"},
  });
}

TEST(ModbusIdentifier, AWrongReferenceIsRefused) {
  constexpr const char* neither =
      "the reference '4000x' is neither a decimal number nor C, D, I or H with 4 hexadecimal digits; write it "
      "like WO40001";
  ExpectRefused({
      {"WO", "the reference is missing; write it like WO40001"},
      {"WO4000x", neither},
      {"WO-4001",
       "the reference '-4001' is neither a decimal number nor C, D, I or H with 4 hexadecimal digits; write it "
       "like WO40001"},
      {"WO 40001",
       "the reference ' 40001' is neither a decimal number nor C, D, I or H with 4 hexadecimal digits; write "
       "it like WO40001"},
      {"WO40001 ",
       "the reference '40001 ' is neither a decimal number nor C, D, I or H with 4 hexadecimal digits; write "
       "it like WO40001"},
      {"WO%34",
       "the reference '%34' is neither a decimal number nor C, D, I or H with 4 hexadecimal digits; write it "
       "like WO40001"},
      {"WO4000", "the reference '4000' needs 5 or 6 digits, here 4; write it like WO40001"},
      {"WO0400001", "the reference '0400001' needs 5 or 6 digits, here 7; write it like WO40001"},
      {"WO20001",
       "the reference '20001' begins with 2, which is no area: 0 coils, 1 discrete inputs, 3 input registers, "
       "4 holding registers; write it like WO40001"},
      {"WO565536",
       "the reference '565536' begins with 5, which is no area: 0 coils, 1 discrete inputs, 3 input registers, "
       "4 holding registers; write it like WO40001"},
      {"WO40000", "the number in the reference '40000' is not within 0001..9999; write it like WO40001"},
      {"BI00000", "the number in the reference '00000' is not within 0001..9999; write it like BI40001.3"},
      {"WO400000", "the number in the reference '400000' is not within 00001..65536; write it like WO40001"},
      {"WO465537", "the number in the reference '465537' is not within 00001..65536; write it like WO40001"},
      {"WO499999", "the number in the reference '499999' is not within 00001..65536; write it like WO40001"},
      {"WOH", "the reference 'H' needs 4 hexadecimal digits behind its letter, here 0; write it like WO40001"},
      {"WOH000",
       "the reference 'H000' needs 4 hexadecimal digits behind its letter, here 3; write it like WO40001"},
      {"WOH00000",
       "the reference 'H00000' needs 4 hexadecimal digits behind its letter, here 5; write it like WO40001"},
      {"WOH00G0", "'00G0' in the reference 'H00G0' is no hexadecimal number; write it like WO40001"},
      {"WOH-001", "'-001' in the reference 'H-001' is no hexadecimal number; write it like WO40001"},
      {"WOH00ff", "the hexadecimal digits of the reference 'H00ff' must be upper-case; write it like WO40001"},
      {"WOh0000", "the letter of the reference 'h0000' must be upper-case; write it like WO40001"},
  });
}

TEST(ModbusIdentifier, AreasAndEndsThatDoNotFitAreRefused) {
  ExpectRefused({
      {"BY00001", "the reference '00001' names a coil, BY needs a register; write it like BY40001"},
      {"WO00001", "the reference '00001' names a coil, WO needs a register; write it like WO40001"},
      {"DWC0000", "the reference 'C0000' names a coil, DW needs a register; write it like DW40001"},
      {"FL10001", "the reference '10001' names a discrete input, FL needs a register; write it like FL40001"},
      {"ST1000110",
       "the reference '10001' names a discrete input, ST needs a register; write it like ST4000110"},
      {"DW465536", "its 2 registers from 465536 on reach past the last one, 465536; write it like DW40001"},
      {"FLIFFFF", "its 2 registers from 365536 on reach past the last one, 365536; write it like FL40001"},
      {"STHFFFF3", "its 2 registers from 465536 on reach past the last one, 465536; write it like ST4000110"},
      {"RA9921", "its 11 registers from 465527 on reach past the last one, 465536; write it like RA0316"},
  });
}

TEST(ModbusIdentifier, WrongBitsAreRefused) {
  ExpectRefused({
      {"BI40001", "the bit number after a '.' is missing; write it like BI40001.3"},
      {"BI40001.", "the bit number is missing; write it like BI40001.3"},
      {"BI.3", "the reference is missing; write it like BI40001.3"},
      {"BI40001.x", "the bit number 'x' is no decimal number; write it like BI40001.3"},
      {"BI40001.-1", "the bit number '-1' is no decimal number; write it like BI40001.3"},
      {"BI40001.3.4", "the bit number '3.4' is no decimal number; write it like BI40001.3"},
      {"BI40001.16", "the bit number 16 is not within 0..15; write it like BI40001.3"},
      {"BI40001.003", "the bit number '003' has more than 2 digits; write it like BI40001.3"},
      {"BI00001.3", "a coil has no bits, '.3' is too much; write it like BI00001"},
      {"BI10001.0", "a discrete input has no bits, '.0' is too much; write it like BI10001"},
      {"BI00001.", "a coil has no bits, '.' is too much; write it like BI00001"},
      {"BY40001.", "the bit number is missing; write it like BY40001.8"},
      {"BY40001.4",
       "the bit number 4 is neither 0, the low byte, nor 8, the high byte; write it like BY40001.8"},
      {"BY40001.16", "the bit number 16 is not within 0..15; write it like BY40001.8"},
      {"WO40001.3", "'.3' is too much, only BI and BY name bits; write it like WO40001"},
      {"FL40001.", "'.' is too much, only BI and BY name bits; write it like FL40001"},
  });
}

TEST(ModbusIdentifier, WrongSizesAndBlocksAreRefused) {
  ExpectRefused({
      {"ST", "the reference is missing; write it like ST4000110"},
      {"ST4000",
       "the reference '4000' is too short, it has 5 characters and the size behind them; write it like "
       "ST4000110"},
      {"ST40001", "the size is missing; write it like ST4000110"},
      {"ST400010", "the size 0 is not within 1..246; write it like ST4000110"},
      {"ST40001247", "the size 247 is not within 1..246; write it like ST4000110"},
      {"ST400010010", "the size '0010' has more than 3 digits; write it like ST4000110"},
      {"ST40001x", "the size 'x' is no decimal number; write it like ST4000110"},
      {"ST40001.3", "the size '.3' is no decimal number; write it like ST4000110"},
      {"ST46553610", "the size 610 is not within 1..246; write it like ST4000110"},
      {"RA", "the block number needs 2 digits, here ''; write it like RA0316"},
      {"RA3", "the block number needs 2 digits, here '3'; write it like RA0316"},
      {"RAx316", "the block number needs 2 digits, here 'x3'; write it like RA0316"},
      {"RA03", "the size is missing; write it like RA0316"},
      {"RA030", "the size 0 is not within 1..246; write it like RA0316"},
      {"RA03247", "the size 247 is not within 1..246; write it like RA0316"},
      {"RA0216",
       "the connection does not say where raw block 02 begins; add an option to it like block02=40100"},
      {"RA02", "the connection does not say where raw block 02 begins; add an option to it like block02=40100"},
  });
}

TEST(ModbusReference, IsWrittenWithAsFewDigitsAsSuffice) {
  EXPECT_EQ((Reference{Area::Coils, 0}.Text()), "00001");
  EXPECT_EQ((Reference{Area::DiscreteInputs, 41}.Text()), "10042");
  EXPECT_EQ((Reference{Area::InputRegisters, 9998}.Text()), "39999");
  EXPECT_EQ((Reference{Area::HoldingRegisters, 9999}.Text()), "410000");
  EXPECT_EQ((Reference{Area::HoldingRegisters, 65535}.Text()), "465536");
}

TEST(ModbusReference, EachAddressComesBackFromItsText) {
  const Complaint complaint("Reference", "");
  for (const Area area : {Area::Coils, Area::DiscreteInputs, Area::InputRegisters, Area::HoldingRegisters})
    for (std::int32_t address = 0; address < AreaSize; address += address < 9990 || address > 10010 ? 9 : 1) {
      const Reference reference{area, address};
      ASSERT_EQ(Reference::Parse(reference.Text(), complaint), reference) << reference.Text();
    }
}

// Every text that is one change away from an identifier is taken or refused with a text that quotes it whole.
TEST(ModbusIdentifier, EveryTextNearAnIdentifierIsTakenOrRefusedByName) {
  int taken = 0;
  int refused = 0;
  const auto attempt = [&](const std::string& text) {
    const std::string failure = FailureText([&] {
      const Identifier parsed = Identifier::Parse(text, TestBlocks());
      ASSERT_EQ(Address::Decode(parsed.address.Encode()), parsed.address);
      ASSERT_TRUE(parsed.address.Place(parsed.wordLength));
    });
    ++(failure == "0:" ? taken : refused);
    if (failure != "0:") {
      ASSERT_TRUE(failure.starts_with("10:Item identifier '" + text + "': ")) << failure;
    }
  };
  for (const std::string whole :
       {"BI40001.3", "BI00001", "BY40001.8", "WO40001", "DWHFFFE", "ST4000110", "RA0316"})
    for (std::size_t k = 0; k <= whole.size(); ++k) {
      attempt(whole.substr(0, k));
      for (const char c : std::string("09.HAx -%\0\xFF", 11)) {
        attempt(whole.substr(0, k) + c + whole.substr(k));
        if (k < whole.size()) attempt(whole.substr(0, k) + c + whole.substr(k + 1));
      }
    }
  EXPECT_GT(taken, 50);
  EXPECT_GT(refused, 500);
}

}  // namespace
}  // namespace orvo::modbus
