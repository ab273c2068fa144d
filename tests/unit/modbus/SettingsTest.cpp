#include "FailureText.h"
#include "modbus/Settings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvo::modbus {
namespace {

using std::chrono::milliseconds;

TEST(ModbusSettings, ATcpConnectionWithoutOptionsHasTheDefaults) {
  const Settings settings = Settings::Parse("tcp://192.168.0.7");
  EXPECT_EQ(settings.transport, Transport::Tcp);
  EXPECT_EQ(settings.host, "192.168.0.7");
  EXPECT_EQ(settings.port, 502);
  EXPECT_EQ(settings.unit, 1);
  EXPECT_EQ(settings.timeout, std::nullopt);
  EXPECT_EQ(settings.longs, std::nullopt);
  EXPECT_EQ(settings.words, PairOrder::ab);
  EXPECT_EQ(settings.text, PairOrder::ab);
  EXPECT_EQ(settings.gap, 16);
  EXPECT_EQ(settings.bits, BitWriting::Auto);
  EXPECT_TRUE(settings.blocks.empty());
}

TEST(ModbusSettings, EveryOptionOfATcpConnectionIsTaken) {
  const Settings settings = Settings::Parse(
      "tcp://"
      "localhost:1502?unit=255&timeout=32767&order=cdab&words=ba&text=ba&gap=124&bits=mask&block00=40001&"
      "block99=IFFFF");
  EXPECT_EQ(settings.host, "localhost");
  EXPECT_EQ(settings.port, 1502);
  EXPECT_EQ(settings.unit, 255);
  EXPECT_EQ(settings.timeout, milliseconds(32767));
  EXPECT_EQ(settings.longs, LongOrder::cdab);
  EXPECT_EQ(settings.words, PairOrder::ba);
  EXPECT_EQ(settings.text, PairOrder::ba);
  EXPECT_EQ(settings.gap, 124);
  EXPECT_EQ(settings.bits, BitWriting::Mask);
  EXPECT_EQ(settings.blocks,
            (RawBlocks{{0, {Area::HoldingRegisters, 0}}, {99, {Area::InputRegisters, 65535}}}));
}

TEST(ModbusSettings, EveryOptionOfASerialLineIsTaken) {
  const Settings settings =
      Settings::Parse("rtu:///dev/ttyUSB0?baud=19200&parity=odd&data=8&stop=2&unit=247&timeout=1&gap=0");
  EXPECT_EQ(settings.transport, Transport::Rtu);
  EXPECT_EQ(settings.device, "/dev/ttyUSB0");
  EXPECT_EQ(settings.baud, 19200);
  EXPECT_EQ(settings.parity, Parity::Odd);
  EXPECT_EQ(settings.dataBits, 8);
  EXPECT_EQ(settings.stopBits, 2);
  EXPECT_EQ(settings.unit, 247);
  EXPECT_EQ(settings.timeout, milliseconds(1));
  EXPECT_EQ(settings.gap, 0);
}

TEST(ModbusSettings, ASerialLineWithoutOptionsIsThatOfThePropertiesWithEvenParity) {
  const Settings settings = Settings::Parse("rtu:");
  EXPECT_EQ(settings.transport, Transport::Rtu);
  EXPECT_EQ(settings.device, "");
  EXPECT_EQ(settings.baud, std::nullopt);
  EXPECT_EQ(settings.parity, Parity::Even);
  EXPECT_EQ(settings.dataBits, 8);
  EXPECT_EQ(settings.stopBits, 1);
  EXPECT_EQ(settings.unit, 1);
}

TEST(ModbusSettings, WhetherAndHowLongADeviceIsAskedOrWaitedForIsTaken) {
  EXPECT_TRUE(Settings::Parse("rtu:").identify);
  EXPECT_EQ(Settings::Parse("rtu:").hold, std::nullopt);
  EXPECT_TRUE(Settings::Parse("tcp://127.0.0.1?identify=yes").identify);
  EXPECT_FALSE(Settings::Parse("tcp://127.0.0.1?identify=no").identify);
  const Settings settings = Settings::Parse("rtu:?identify=no&hold=100");
  EXPECT_FALSE(settings.identify);
  EXPECT_EQ(settings.hold, milliseconds(100));
  EXPECT_EQ(Settings::Parse("rtu:?hold=60000").hold, milliseconds(60000));
}

TEST(ModbusSettings, WithoutParityTwoStopBitsTakeItsPlaceUnlessGiven) {
  EXPECT_EQ(Settings::Parse("rtu:?parity=none").stopBits, 2);
  EXPECT_EQ(Settings::Parse("rtu:?parity=none&stop=1").stopBits, 1);
  EXPECT_EQ(Settings::Parse("rtu:?stop=1&parity=none").stopBits, 1);
  EXPECT_EQ(Settings::Parse("rtu:?parity=even&stop=2").stopBits, 2);
  EXPECT_EQ(Settings::Parse("rtu:?parity=odd").stopBits, 1);
}

struct PlaceOfConnection {
  const char* connection;
  const char* place;  // host and port, or device
};

TEST(ModbusSettings, EachWayToNameThePlaceIsTaken) {
  const std::vector<PlaceOfConnection> rows{
      {"tcp://127.0.0.1:502?unit=1", "127.0.0.1 502"},
      {"tcp://10.0.0.255:1", "10.0.0.255 1"},
      {"tcp://[::1]", "::1 502"},
      {"tcp://[::1]:65535", "::1 65535"},
      {"tcp://[fe80::1234:0]?unit=0", "fe80::1234:0 502"},
      {"tcp://[::ffff:10.0.0.1]:502", "::ffff:10.0.0.1 502"},
      {"tcp://localhost", "localhost 502"},
      {"rtu:", ""},
      {"rtu://", ""},
      {"rtu:?baud=9600", ""},
      {"rtu://?baud=9600", ""},
      {"rtu:/dev/ttyS0", "/dev/ttyS0"},
      {"rtu:///dev/ttyS0", "/dev/ttyS0"},
      {"rtu:///dev/serial/by-id/usb-1?unit=3", "/dev/serial/by-id/usb-1"},
      {"rtu:/dev/ttyS0?unit=3", "/dev/ttyS0"},
      {"rtu:///tmp/\xC3\xA4", "/tmp/\xC3\xA4"},
  };
  for (const PlaceOfConnection& row : rows) {
    SCOPED_TRACE(row.connection);
    Settings settings;
    EXPECT_EQ(FailureText([&] { settings = Settings::Parse(row.connection); }), "0:");
    const std::string place = settings.transport == Transport::Rtu
                                  ? settings.device
                                  : settings.host + ' ' + std::to_string(settings.port);
    EXPECT_EQ(place, row.place);
  }
}

struct WrongConnection {
  const char* connection;
  std::string text;
};

void ExpectRefusedConnections(const std::vector<WrongConnection>& rows) {
  for (const WrongConnection& row : rows)
    EXPECT_EQ(FailureText([&] { Settings::Parse(row.connection); }),
              "10:Connection '" + std::string(row.connection) + "': " + row.text);
}

TEST(ModbusSettings, AWrongBeginningIsRefused) {
  const std::string both = "; write it like tcp://127.0.0.1:502?unit=1 or rtu:///dev/ttyS0?baud=19200&unit=3";
  const std::string neither = "it begins with neither tcp:// nor rtu:" + both;
  ExpectRefusedConnections({
      {"", "it is empty" + both},
      {"tcp://127.0.0.1 ", "it has a blank, which has no place in it" + both},
      {"tcp://127.0.0.1\t", "it has a control character, which has no place in it" + both},
      {"rtu:///dev/tty%53",
       "it has a '%', but nothing in it is percent-encoded, and an address has no zone" + both},
      {"tcp://[fe80::1%eth0]",
       "it has a '%', but nothing in it is percent-encoded, and an address has no zone" + both},
      {"127.0.0.1:502", neither},
      {"/dev/ttyS0", neither},
      {"udp://127.0.0.1", neither},
      {"tcps://127.0.0.1", neither},
      {"?unit=1", neither},
      {"TCP://127.0.0.1", "'TCP' must be written tcp" + both},
      {"Rtu:///dev/ttyS0", "'Rtu' must be written rtu" + both},
  });
}

TEST(ModbusSettings, AWrongTcpAddressIsRefused) {
  ExpectRefusedConnections({
      {"tcp", "a ':' is missing behind 'tcp'; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp:", "'//' is missing behind 'tcp:'; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp:127.0.0.1", "'//' is missing behind 'tcp:'; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp:/127.0.0.1", "'//' is missing behind 'tcp:'; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://", "the host is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://?unit=1", "the host is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://:502", "the host is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp:///", "the host is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://plc.example:502",
       "the host 'plc.example' is no IPv4 address, no IPv6 address in brackets and not localhost (names are "
       "not looked up); write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://256.0.0.1",
       "the host '256.0.0.1' is no IPv4 address, no IPv6 address in brackets and not localhost (names are not "
       "looked up); write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://10.1",
       "the host '10.1' is no IPv4 address, no IPv6 address in brackets and not localhost (names are not "
       "looked up); write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://me@127.0.0.1",
       "the host 'me@127.0.0.1' is no IPv4 address, no IPv6 address in brackets and not localhost (names are "
       "not looked up); write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://::1", "an IPv6 address stands in brackets; write it like tcp://[::1]"},
      {"tcp://fe80::1?unit=1", "an IPv6 address stands in brackets; write it like tcp://[fe80::1]"},
      {"tcp://[::1", "the ']' behind the IPv6 address is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://[]", "'' in brackets is no IPv6 address; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://[127.0.0.1]",
       "'127.0.0.1' in brackets is no IPv6 address; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://[::1]502", "'502' behind the host is too much; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1/1", "'/1' behind the host is too much; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:", "the port is missing; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:0", "the port 0 is not within 1..65535; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:65536",
       "the port 65536 is not within 1..65535; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:000502",
       "the port '000502' has more than 5 digits; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:+502",
       "the port '+502' is no decimal number; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://127.0.0.1:502/",
       "the port '502/' is no decimal number; write it like tcp://127.0.0.1:502?unit=1"},
  });
}

TEST(ModbusSettings, AWrongSerialDeviceIsRefused) {
  ExpectRefusedConnections({
      {"rtu", "a ':' is missing behind 'rtu'; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu:ttyS0",
       "the device 'ttyS0' is no absolute path of a device; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu://dev/ttyS0",
       "the device 'dev/ttyS0' is no absolute path of a device; write it like "
       "rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu://localhost:502",
       "the device 'localhost:502' is no absolute path of a device; write it like "
       "rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu:///dev/",
       "the device '/dev/' is no absolute path of a device; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu:/",
       "the device '/' is no absolute path of a device; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
  });
}

TEST(ModbusSettings, AWrongOptionIsRefused) {
  constexpr const char* known =
      "there is no option 'Unit', only unit, timeout, order, words, text, gap, bits, identify, "
      "block00..block99; write "
      "it like tcp://127.0.0.1:502?unit=1";
  ExpectRefusedConnections({
      {"tcp://[::1]?", "an option is empty; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://[::1]?unit=1&", "an option is empty; write it like unit=1"},
      {"tcp://[::1]?unit=1&&gap=1", "an option is empty; write it like unit=1"},
      {"tcp://[::1]?=1", "the option '=1' has no name; write it like tcp://127.0.0.1:502?unit=1"},
      {"tcp://[::1]?unit", "the option unit has no '=' and no value; write it like unit=1"},
      {"tcp://[::1]?Unit=1", known},
      {"rtu:?slave=1",
       "there is no option 'slave', only unit, timeout, order, words, text, gap, bits, identify, baud, parity, "
       "data, stop, hold, block00..block99; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"tcp://[::1]?unit=1&gap=2&unit=1", "the option unit stands twice; write it like unit=1"},
      {"tcp://[::1]?block03=40001&block03=40002",
       "the option block03 stands twice; write it like block03=40100"},
      {"tcp://[::1]?baud=9600",
       "the option baud is for rtu only; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"tcp://[::1]?stop", "the option stop is for rtu only; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"tcp://[::1]?unit=", "the unit is missing; write it like unit=1"},
      {"tcp://[::1]?unit=-1", "the unit '-1' is no decimal number; write it like unit=1"},
      {"tcp://[::1]?unit=1=2", "the unit '1=2' is no decimal number; write it like unit=1"},
      {"tcp://[::1]?unit=1?gap=2", "the unit '1?gap=2' is no decimal number; write it like unit=1"},
      {"tcp://[::1]?unit=248", "the unit 248 is reserved, only 0..247 and 255 are taken; write it like unit=1"},
      {"tcp://[::1]?unit=254", "the unit 254 is reserved, only 0..247 and 255 are taken; write it like unit=1"},
      {"tcp://[::1]?unit=256", "the unit 256 is not within 0..255; write it like unit=1"},
      {"rtu:?unit=0", "the unit 0 is not within 1..247; write it like unit=1"},
      {"rtu:?unit=255", "the unit 255 is not within 1..247; write it like unit=1"},
      {"rtu:?timeout=0", "the timeout 0 is not within 1..32767; write it like timeout=1000"},
      {"rtu:?timeout=32768", "the timeout 32768 is not within 1..32767; write it like timeout=1000"},
      {"rtu:?timeout=1.5", "the timeout '1.5' is no decimal number; write it like timeout=1000"},
      {"rtu:?order=abdc", "the order 'abdc' is none of abcd, cdab, badc, dcba; write it like order=abcd"},
      {"rtu:?order=", "the order is missing; write it like order=abcd"},
      {"rtu:?order=ABCD", "the order 'ABCD' is none of abcd, cdab, badc, dcba; write it like order=abcd"},
      {"rtu:?words=abcd", "the order of words 'abcd' is none of ab, ba; write it like words=ab"},
      {"rtu:?text=a", "the order of text 'a' is none of ab, ba; write it like text=ab"},
      {"rtu:?gap=125", "the gap 125 is not within 0..124; write it like gap=16"},
      {"rtu:?bits=no", "the way of bits 'no' is none of auto, mask; write it like bits=auto"},
      {"rtu:?identify=maybe",
       "the word for identification 'maybe' is none of yes, no; write it like identify=yes"},
      {"tcp://[::1]?identify=", "the word for identification is missing; write it like identify=yes"},
      {"rtu:?hold=99", "the hold 99 is not within 100..60000; write it like hold=5000"},
      {"rtu:?hold=60001", "the hold 60001 is not within 100..60000; write it like hold=5000"},
      {"rtu:?hold=1s", "the hold '1s' is no decimal number; write it like hold=5000"},
      {"tcp://[::1]?hold=5000",
       "the option hold is for rtu only; write it like rtu:///dev/ttyS0?baud=19200&unit=3"},
      {"rtu:?baud=19201",
       "the baud rate 19201 is none of 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200; write it "
       "like baud=19200"},
      {"rtu:?baud=0",
       "the baud rate 0 is none of 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200; write it "
       "like baud=19200"},
      {"rtu:?parity=n", "the parity 'n' is none of none, even, odd; write it like parity=even"},
      {"rtu:?data=7", "7 data bits cannot carry the bytes of RTU, which have 8; write it like data=8"},
      {"rtu:?data=9", "the number of data bits 9 is not within 7..8; write it like data=8"},
      {"rtu:?stop=3", "the number of stop bits 3 is not within 1..2; write it like stop=1"},
  });
}

TEST(ModbusSettings, AWrongRawBlockIsRefused) {
  ExpectRefusedConnections({
      {"rtu:?block=40001", "the option block needs 2 digits behind 'block'; write it like block03=40100"},
      {"rtu:?block3=40001", "the option block3 needs 2 digits behind 'block'; write it like block03=40100"},
      {"rtu:?block003=40001", "the option block003 needs 2 digits behind 'block'; write it like block03=40100"},
      {"rtu:?block0x=40001", "the option block0x needs 2 digits behind 'block'; write it like block03=40100"},
      {"rtu:?block03=", "the reference is missing; write it like block03=40100"},
      {"rtu:?block03=0", "the reference '0' needs 5 or 6 digits, here 1; write it like block03=40100"},
      {"rtu:?block03=00100",
       "the reference '00100' names a coil, a raw block begins with a register; write it like block03=40100"},
      {"rtu:?block03=465537",
       "the number in the reference '465537' is not within 00001..65536; write it like block03=40100"},
      {"rtu:?block03=H00ff",
       "the hexadecimal digits of the reference 'H00ff' must be upper-case; write it like block03=40100"},
  });
}

TEST(ModbusSettings, TheCustomaryBaudRatesAreKnown) {
  for (const std::int32_t baud : {300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200})
    EXPECT_TRUE(IsBaudRate(baud)) << baud;
  for (const std::int32_t baud : {-9600, 0, 110, 299, 14400, 115201, 230400})
    EXPECT_FALSE(IsBaudRate(baud)) << baud;
}

TEST(ModbusSettings, EveryTextNearAConnectionIsTakenOrRefusedByName) {
  int taken = 0;
  int refused = 0;
  const auto attempt = [&](const std::string& text) {
    const std::string failure = FailureText([&] { Settings::Parse(text); });
    ++(failure == "0:" ? taken : refused);
    if (failure != "0:") {
      ASSERT_TRUE(failure.starts_with("10:Connection '" + text + "': ")) << failure;
    }
  };
  for (const std::string whole : {"tcp://127.0.0.1:502?unit=1&order=cdab&block03=40100",
                                  "tcp://[fe80::1]:502?gap=3", "rtu:///dev/ttyS0?baud=19200&parity=none"})
    for (std::size_t k = 0; k <= whole.size(); ++k) {
      attempt(whole.substr(0, k));
      for (const char c : std::string("0a:/[]?&=% .\0\xFF", 14)) {
        attempt(whole.substr(0, k) + c + whole.substr(k));
        if (k < whole.size()) attempt(whole.substr(0, k) + c + whole.substr(k + 1));
      }
    }
  EXPECT_GT(taken, 50);
  EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace orvo::modbus
