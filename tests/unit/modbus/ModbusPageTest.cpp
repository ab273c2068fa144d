// docs/modbus.md says what the code does: every row of its tables is tried.
#include "FailureText.h"
#include "modbus/AnswerError.h"
#include "modbus/Identifier.h"
#include "modbus/ItemValue.h"
#include "modbus/ModbusDriver.h"
#include "support/DocumentPage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace orvo::modbus {
namespace {

using testing::DocumentPage;

class ModbusPage : public ::testing::Test {
 protected:
  const DocumentPage page{ORVO_MODBUS_PAGE};
  // As the example of the page has it.
  const RawBlocks blocks{{3, {Area::HoldingRegisters, 99}}};
};

TEST_F(ModbusPage, EachIdentifierHasTheLengthAndTypeOfItsRow) {
  const std::vector<std::string> types{"integer", "string", "floating point", "raw"};
  std::set<std::string> codes;
  for (const DocumentPage::Row& row : page.Table("identifier", 12)) {
    SCOPED_TRACE(row[0]);
    const Identifier parsed = Identifier::Parse(row[0], blocks);
    EXPECT_EQ(std::to_string(parsed.wordLength), row[2]);
    EXPECT_EQ(types[static_cast<std::size_t>(parsed.itemType)], row[3]);
    codes.insert(row[0].substr(0, 2));
  }
  EXPECT_EQ(codes.size(), 7U) << "every type code has a row";
}

TEST_F(ModbusPage, EachWrongIdentifierHasTheTextOfItsRow) {
  for (const DocumentPage::Row& row : page.Table("wrong", 20))
    EXPECT_EQ(FailureText([&] { Identifier::Parse(row[0], blocks); }),
              "10:Item identifier '" + row[0] + "': " + row[1]);
}

TEST_F(ModbusPage, EachWrongConnectionHasTheTextOfItsRow) {
  for (const DocumentPage::Row& row : page.Table("wrong connection", 25))
    EXPECT_EQ(FailureText([&] { Settings::Parse(row[0]); }), "10:Connection '" + row[0] + "': " + row[1]);
}

TEST_F(ModbusPage, EachOptionIsTakenByTheConnectionsOfItsRow) {
  for (const DocumentPage::Row& row : page.Table("option", 12)) {
    SCOPED_TRACE(row[0]);
    EXPECT_EQ(FailureText([&] { Settings::Parse("rtu:?" + row[0]); }), "0:");
    const bool rtuOnly = row[3].starts_with("rtu only");
    EXPECT_EQ(FailureText([&] { Settings::Parse("tcp://127.0.0.1?" + row[0]); }) == "0:", !rtuOnly);
  }
}

// Every option that the parser lists has a row.
TEST_F(ModbusPage, EachOptionHasItsRow) {
  std::string names;
  for (const DocumentPage::Row& row : page.Table("option", 12)) {
    const std::string name = row[0].substr(0, row[0].find('='));
    if (name != "block03") names += name + ", ";
  }
  const std::string failure = FailureText([] { Settings::Parse("rtu:?none=1"); });
  EXPECT_NE(failure.find("only " + names + "block00..block99;"), std::string::npos) << names << failure;
}

std::string RegisterText(std::uint16_t word) {
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), "%02X %02X", word >> 8, word & 0xFF);
  return text.data();
}

TEST_F(ModbusPage, EachByteOrderIsAsDrawn) {
  const Address item = Identifier::Parse("DW40001", {}).address;
  std::set<std::string> numbers;
  for (const DocumentPage::Row& row : page.Table("order", 4)) {
    SCOPED_TRACE(row[0]);
    ByteOrder order;
    order.longs = *Settings::Parse("rtu:?order=" + row[0]).longs;
    const RegisterImage image = ImageOfValue(item, order, 2, std::int32_t{0x11223344});
    EXPECT_EQ(RegisterText(image.registers[0]), row[1]);
    EXPECT_EQ(RegisterText(image.registers[1]), row[2]);
    EXPECT_EQ(std::to_string(static_cast<int>(order.longs)), row[3]);
    numbers.insert(row[3]);
  }
  EXPECT_EQ(numbers.size(), 4U);
}

TEST_F(ModbusPage, EachExceptionHasTheErrorOfItsRow) {
  std::set<std::string> errors;
  for (const DocumentPage::Row& row : page.Table("error", 6))
    errors.insert(row[0]);
  EXPECT_EQ(errors, (std::set<std::string>{"1", "2", "3", "4", "5", "10"}));
  for (const DocumentPage::Row& row : page.Table("exception", 10)) {
    SCOPED_TRACE(row[0]);
    const auto code = static_cast<std::uint8_t>(std::stoi(row[0]));
    EXPECT_EQ(std::to_string(ErrorOf({Answer::Kind::Refused, code, {}})), row[2]);
    EXPECT_TRUE(errors.contains(row[2]));
  }
}

TEST_F(ModbusPage, EachStatusHasItsRow) {
  std::vector<std::string> numbers;
  for (const DocumentPage::Row& row : page.Table("status", 4))
    numbers.push_back(row[0]);
  EXPECT_EQ(numbers, (std::vector<std::string>{
                         std::to_string(ModbusDriver::Closed), std::to_string(ModbusDriver::Answering),
                         std::to_string(ModbusDriver::Connecting), std::to_string(ModbusDriver::Unanswered)}));
}

}  // namespace
}  // namespace orvo::modbus
