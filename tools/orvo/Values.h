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
// A client value: numbers as they are, texts in quotation marks, control characters in them as \x0A, bytes in
// hexadecimal, "-" for Empty.
std::string ValueText(const Variant& value);
// The text with " / " in place of its line ends, CR LF or LF.
std::string OneLine(std::string_view text);
// The text with LF line ends.
std::string WithoutCarriageReturns(std::string text);
// Local time with milliseconds, "2026-11-21 12:00:03.250".
std::string TimeText(Date time);

}  // namespace orvo::client
