// A connection as the driver configuration file describes it: the text behind a device type's number.
//
//     tcp://127.0.0.1:502?unit=1&order=abcd
//     rtu:///dev/ttyS0?baud=19200&parity=even&unit=3
//
// Behind the "?" stand options, each name=value, separated by "&", each at most once:
//   unit=1..247 (TCP also 0 and 255)  the device's number on its line; 1. Never 0 on RTU: nobody answers that
//   timeout=1..32767                  ms that an answer may take; 1000
//   order=abcd|cdab|badc|dcba         bytes of 32-bit items; abcd
//   words=ab|ba                       bytes of 16-bit items; ab
//   text=ab|ba                        characters of a register; ab
//   gap=0..124                        registers (16 times as many bits) that a request may read in vain between
//                                     two items; 16
//   bits=auto|mask                    how one bit or byte of a register is written (Exchange.h); auto
//   identify=yes|no                   whether the device is asked what it is (function 43); yes
//   block00..block99=REFERENCE        the register with which this raw block begins, as in Reference.h
// and for rtu only
//   baud=300..115200                  a customary rate
//   parity=none|even|odd              even
//   data=8                            RTU knows no other
//   stop=1|2                          1; without parity 2
//   hold=100..60000                   ms that a late answer of a device is waited for which does not answer the
//                                     question that keeps in step (Link.h); what the link decides
// Anything else, blanks and '%' are refused.
// A TCP address is numbers (IPv4, or IPv6 in brackets) or localhost; names are not looked up, because a lookup
// has no time limit. Its port may be missing: 502. The device of rtu is an absolute path, or missing ("rtu:" or
// "rtu://"): then ComPortNumber n names /dev/ttyS(n - 1).
#pragma once

#include "modbus/ByteOrder.h"
#include "modbus/Reference.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvo::modbus {

enum class Transport : std::uint8_t { Tcp, Rtu };
enum class Parity : char { None = 'N', Even = 'E', Odd = 'O' };
enum class BitWriting : std::uint8_t { Auto, Mask };

// Registers at which raw blocks begin, by block number 0..99.
using RawBlock = Reference;
using RawBlocks = std::map<std::int32_t, RawBlock>;

// What is not in the text is empty where a property of the driver decides it, else the default.
struct Settings {
  Transport transport = Transport::Tcp;
  std::string host;  // Tcp: numbers, without brackets
  std::int32_t port = 502;
  std::string device;                // Rtu: path; empty: by ComPortNumber
  std::optional<std::int32_t> baud;  // Rtu
  Parity parity = Parity::Even;
  std::int32_t dataBits = 8;
  std::int32_t stopBits = 1;

  std::int32_t unit = 1;
  std::optional<std::chrono::milliseconds> timeout;
  std::optional<LongOrder> longs;
  PairOrder words = PairOrder::ab;
  PairOrder text = PairOrder::ab;
  std::int32_t gap = 16;  // registers
  BitWriting bits = BitWriting::Auto;
  bool identify = true;
  std::optional<std::chrono::milliseconds> hold;  // Rtu
  RawBlocks blocks;

  // Error 10 with a text that quotes `connection`, names the part that is wrong, and tells the right form.
  static Settings Parse(std::string_view connection);
};

// The customary rates from 300 to 115200.
bool IsBaudRate(std::int32_t baud) noexcept;

}  // namespace orvo::modbus
