// Identification and frames of the serial line, byte by byte.
#include "modbus/IdentityReader.h"
#include "modbus/RtuFrame.h"
#include "unit/modbus/DeviceThread.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace orvo::modbus {

namespace {

std::string StepText(IdentityReader& reader, const std::string& pdu) {
  switch (reader.Take(FromHex(pdu))) {
    case IdentityReader::Step::Complete:
      return reader.Result().vendor + '|' + reader.Result().product + '|' + reader.Result().revision;
    case IdentityReader::Step::More:
      return "more from " + std::to_string(reader.Request()[3]);
    case IdentityReader::Step::Refused:
      return "refused " + std::to_string(reader.Exception());
    case IdentityReader::Step::Wrong:
      break;
  }
  return "wrong";
}

}  // namespace

TEST(IdentityReader, TakesAnswersApart) {
  struct Row {
    const char* pdu;
    const char* step;
  };
  const Row rows[] = {
      {"2B 0E 01 01 00 00 03 00 01 41 01 02 42 43 02 01 31", "A|BC|1"},
      {"2B 0E 01 81 00 00 03 02 01 31 00 01 41 01 01 42", "A|B|1"},  // in any order
      {"2B 0E 01 01 00 00 01 01 02 20 42", "|B|"},                   // blanks at the ends
      {"2B 0E 01 01 00 00 02 00 03 41 FF 0A 05 01 58", "A||"},       // what cannot be shown; an object beyond
      {"2B 0E 01 01 00 00 00", "||"},
      {"AB 01", "refused 1"},
      {"AB FF", "refused 255"},
      {"AB 00", "wrong"},
      {"83 02", "wrong"},  // another function's
      {"AB 01 00", "wrong"},
      {"AB", "wrong"},
      {"", "wrong"},
      {"2B", "wrong"},
      {"2B 0E 01 01 00 00", "wrong"},
      {"2B 0E 01 01 00 00 01", "wrong"},           // an object is missing
      {"2B 0E 01 01 00 00 01 00", "wrong"},        // half of it
      {"2B 0E 01 01 00 00 01 00 05 41", "wrong"},  // longer than what is there
      {"2B 0E 01 01 00 00 00 00", "wrong"},        // too much
      {"2B 0D 01 01 00 00 00", "wrong"},
      {"2B 0E 02 01 00 00 00", "wrong"},
      {"2B 0E 01 01 FF 00 00", "wrong"},  // more from where it began
      {"2B 0E 01 01 FF 01 01 00 01 41", "more from 1"},
      {"2B 0E 01 01 FF 03 01 00 01 41", "A||"},  // more, but nothing that is asked for
      {"11 00", "wrong"},
  };
  for (const Row& row : rows) {
    IdentityReader reader;
    EXPECT_EQ(StepText(reader, row.pdu), row.step) << row.pdu;
  }
}

TEST(IdentityReader, AsksOnAsLongAsMoreFollows) {
  IdentityReader reader;
  EXPECT_EQ(reader.Request(), (std::array<std::uint8_t, 4>{0x2B, 0x0E, 1, 0}));
  EXPECT_EQ(StepText(reader, "2B 0E 01 01 FF 01 01 00 01 41"), "more from 1");
  EXPECT_EQ(StepText(reader, "2B 0E 01 01 FF 02 01 01 01 42"), "more from 2");
  EXPECT_EQ(StepText(reader, "2B 0E 01 01 FF 01 01 02 01 43"), "wrong");  // and not round and round
}

TEST(RtuFrame, ItsCrcIsThatOfTheProtocol) {
  EXPECT_EQ(Crc16(FromHex("02 07")), 0x1241);
  EXPECT_EQ(Crc16(FromHex("01 04 02 FF FF")), 0x80B8);
}

TEST(RtuFrame, IsFoundAmongOtherBytes) {
  const Octets answer = WithCrc(FromHex("01 11 03 AA BB FF"));
  const Octets pdu(answer.begin() + 1, answer.end() - 2);
  const auto found = [](const Octets& bytes) {
    const auto inside = FindAnswer(bytes, 1, ReportServerId);
    return Octets(inside.begin(), inside.end());
  };
  EXPECT_EQ(found(answer), pdu);
  for (const char* before : {"FF", "01", "01 11", "01 11 FF", "01 03 02 00 07 F9 86", "01 11 00"}) {
    Octets bytes = FromHex(before);
    bytes.insert(bytes.end(), answer.begin(), answer.end());
    EXPECT_EQ(found(bytes), pdu) << before;
    bytes.push_back(1);
    EXPECT_EQ(found(bytes), pdu) << before;
    bytes.resize(bytes.size() - 2);
    EXPECT_EQ(found(bytes), Octets{}) << before;
  }
  for (std::size_t k = 0; k < answer.size(); ++k) {
    Octets changed = answer;
    changed[k] = static_cast<std::uint8_t>(changed[k] ^ 1);
    EXPECT_EQ(found(changed), Octets{}) << k;
  }
  EXPECT_EQ(found(WithCrc(FromHex("01 91 01"))), FromHex("91 01"));
  EXPECT_EQ(found(WithCrc(FromHex("02 11 00"))), Octets{});
  EXPECT_EQ(found(WithCrc(FromHex("01 83 02"))), Octets{});
}

}  // namespace orvo::modbus
