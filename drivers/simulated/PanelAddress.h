// Where an item lies in the panel's memory, and the two forms in which it travels: identifier and compiled
// address.
//
// Identifiers (upper-case letters; addresses are byte addresses of 1 to 5 decimal digits, 0..65535):
//   BIa.b    BI100.3    bit b, 0..15, of the word at the even address a
//   BYa      BY101      the byte at a; its word is the one at a or a - 1, whichever is even: it is the high
//                       byte of that word when a is even, else the low byte
//   WOa      WO100      the word (16 bits) at the even address a
//   DWa      DW100      the double word (32 bits) at the even address a
//   FLa      FL100      the single at the even address a
//   STaaaaan ST0020010  the string of n characters, 1..255, at a: five digits, then n (10 characters at 200)
//   RAkkn    RA0316     n raw bytes, 1..256, of block kk: two digits, then n (16 bytes of block 3)
// Block kk begins at byte 32768 + 256 * kk. A string or raw item of odd size takes the whole of its last word.
// Everything lies inside the memory.
//
// The compiled address is address + 2^16 * bit + 2^20 * (kind + 1), a whole number below 2^23: every double
// holds it exactly, and 0 is the compiled address of nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvo {

enum class PanelItemKind : std::int32_t { Bit, Byte, Word, DoubleWord, Single, String, Raw };

struct PanelAddress {
  PanelItemKind kind = PanelItemKind::Word;
  std::int32_t address = 0;  // of the first byte that the item is read from: a bit's word, a byte itself
  std::int32_t bit = 0;      // 0 unless kind is Bit

  // Address of the first byte of the item's word: of the word that contains a byte, else `address`.
  std::int32_t WordAddress() const noexcept { return kind == PanelItemKind::Byte ? address & ~1 : address; }

  double Encode() const noexcept;
  // The address that encodes to `compiledAddress`; nothing when no address does.
  static std::optional<PanelAddress> Decode(double compiledAddress) noexcept;

  friend bool operator==(const PanelAddress&, const PanelAddress&) = default;
};

// An identifier taken apart.
struct PanelIdentifier {
  PanelAddress address;
  std::int32_t wordLength = 1;  // in 16-bit words
  std::int32_t itemType = 0;    // 0 integer, 1 string, 2 floating point, 3 raw

  // Error 10 when `itemId` is not of the forms above; the text names it, tells what is wrong and shows the
  // right form.
  static PanelIdentifier Parse(std::string_view itemId);
};

}  // namespace orvo
