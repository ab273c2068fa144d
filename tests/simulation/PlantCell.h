// One place in the simulated panel's memory that items name, and what is read there: written anew, without any
// of the server's or the panel's own conversions.
//
// "Lying" bytes are those of the item's words as they lie in memory, numbers most significant byte first.
#pragma once

#include "simulated/PanelMemory.h"
#include "simulation/Dice.h"
#include "simulation/Reading.h"
#include "values/Variant.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace orvo::testing {

enum class CellKind : std::uint8_t { Bit, Byte, Word, DoubleWord, Single, Text, Raw };

struct PlantCell {
  CellKind kind = CellKind::Word;
  std::int32_t address = 0;  // of its first byte
  std::int32_t detail = 0;   // the bit; the characters or bytes of a text or raw item, an even number

  std::string Identifier() const;
  double CompiledAddress() const;
  std::int32_t Bytes() const noexcept;  // of its words
  std::int32_t WordAddress() const noexcept { return kind == CellKind::Byte ? address & ~1 : address; }
  bool IsNumber() const noexcept { return kind != CellKind::Text && kind != CellKind::Raw; }
  bool IsInteger() const noexcept { return IsNumber() && kind != CellKind::Single; }

  std::string Lying(const PanelMemory& memory) const;
  // What a driver delivers for these bytes, and back: numbers come least significant byte first.
  std::string Turned(std::string_view bytes) const;
  // The client value of lying bytes.
  Reading Read(std::string_view lying, bool isSigned) const;
  // A value that an item here takes, and what will be read of it then.
  Variant RandomValue(Dice& dice, bool isSigned) const;
  // The lying bytes that a whole group's image gets for a value.
  std::string Image(const Reading& value) const;
  // Puts something that is a value of the kind into the memory.
  void Move(PanelMemory& memory, Dice& dice) const;
};

}  // namespace orvo::testing
