// Values as a person reads them.
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace orvo::client {

// "A0 A1 A2"
std::string Hexadecimal(std::span<const std::uint8_t> bytes);
// "0x80040009"
std::string Hexadecimal(std::uint32_t number);
// A text of a device, a driver or a file as it may reach a terminal: control characters (below U+0020, U+007F
// to U+009F) and bytes that are no UTF-8 and could be taken for them are \x0A. A text that went through it
// stays.
std::string Shown(std::string_view text);
// A client value: numbers as they are, texts Shown in quotation marks, bytes in hexadecimal, "-" for Empty.
std::string ValueText(const Variant& value);
// The text, Shown, with " / " in place of its line ends, CR LF or LF.
std::string OneLine(std::string_view text);
// The lines of the text, each Shown, with LF line ends.
std::string WithoutCarriageReturns(std::string_view text);
// Local time with milliseconds, "2026-11-21 12:00:03.250".
std::string TimeText(Date time);

}  // namespace orvo::client
