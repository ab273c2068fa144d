// How items lie in the panel's memory: the values that reads answer, writes store and signals put.
#pragma once

#include "simulated/PanelAddress.h"
#include "simulated/PanelMemory.h"
#include "values/Variant.h"

#include <cstdint>

namespace orvo {

// The 2 * `dimension` bytes of memory from the item's word on, as a byte array: of a number (bit and byte
// included) in reverse, so that its least significant byte comes first; of a string or raw item as they lie.
// Error 10 when `dimension` is below 1 or the bytes reach past the memory.
Variant ReadPanelItem(const PanelMemory& memory, const PanelAddress& item, std::int32_t dimension);

// Stores a value. Empty and Null store zeros. On an error (10) the memory stays as it was.
//   bit          any number; stores 1 unless it is 0, and leaves the other bits of the word alone
//   byte         any number; stores its low 8 bits and leaves the other byte of the word alone
//   word, double word   any number; stores its low 16 or 32 bits, two's complement
//   single       any number within the single range
//   string, raw  a byte array of at most 2 * `dimension` bytes; bytes of the item beyond it are left alone
// A number is a scalar of a numeric or boolean kind (not a text, not a date); integer items round fractions to
// the nearest integer, halves to even.
void WritePanelItem(PanelMemory& memory, const PanelAddress& item, std::int32_t dimension,
                    const Variant& value);

// The item's own value out of `word`, the number decoded from the item's words: the bit or the byte that `item`
// names, as 16-bit integer. A byte at an even address is the high byte of its word.
std::int16_t BitOrByteOfWord(const PanelAddress& item, std::uint16_t word);

}  // namespace orvo
