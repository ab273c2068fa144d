// A client value as the simulation compares it: numbers by their value, whatever kind of number carries them.
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <string>

namespace orvo::testing {

struct Reading {
  enum class Kind : std::uint8_t { Empty, Number, Text, Bytes, Other };
  Kind kind = Kind::Empty;
  double number = 0;
  std::string text;  // of bytes too

  friend bool operator==(const Reading&, const Reading&) = default;
};

Reading ReadingOf(const Variant& value);
std::string TextOf(const Reading& reading);

}  // namespace orvo::testing
