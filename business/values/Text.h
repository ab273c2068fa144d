// Texts as automation counts and compares them: UTF-8 inside, lengths in UTF-16 units, device bytes in
// Windows-1252.
//
// Ill-formed UTF-8 is never an error: each offending byte counts as one unit and is carried along unchanged.
// No function depends on a locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvo {

// Whether every byte belongs to a well-formed UTF-8 character.
bool IsWellFormedUtf8(std::string_view text) noexcept;

// Length in UTF-16 units (a character outside the basic plane counts two).
std::size_t Utf16Length(std::string_view text) noexcept;

// The leftmost `units` UTF-16 units; a character whose second half would be cut off is left out.
// Error 5 for a negative count.
std::string_view LeftUnits(std::string_view text, std::int64_t units);

// The text from its `unit`-th UTF-16 unit on, counted from 1 (0 counts as 1); empty when the text is shorter. A
// character whose first half would be cut off is left out.
std::string_view FromUnit(std::string_view text, std::size_t unit) noexcept;

// The key under which names that differ only in case are the same: each character by the simple Unicode case
// fold.
std::string FoldCase(std::string_view text);

// Device bytes to text. The five codes that Windows-1252 leaves open map to the control characters of the same
// code.
void AppendWindows1252(std::string& text, std::uint8_t code);
std::string DecodeWindows1252(std::span<const std::uint8_t> bytes);
// Text to device bytes, one per UTF-16 unit (so a character outside the basic plane gives two); a character
// that Windows-1252 lacks becomes '?', a byte that is ill-formed UTF-8 stays itself.
std::vector<std::uint8_t> EncodeWindows1252(std::string_view text);

// Without the outer blanks and tabs.
std::string_view TrimBlanks(std::string_view text) noexcept;

// The leading decimal number of a text: leading blanks and tabs are skipped, then sign, digits, fraction and
// exponent (letter e or d, any case) are read as far as they make a number. 0 when there is none; infinite
// beyond the range of a double.
double LeadingNumber(std::string_view text) noexcept;

// The whole text, outer blanks aside, as a decimal number with optional sign, fraction and exponent; nothing
// otherwise. Infinite beyond the range of a double.
std::optional<double> ParseDecimal(std::string_view text) noexcept;

// Nearest integer, halves to even. Error 6 when it is outside 32 bits (NaN included).
std::int32_t RoundToI4(double value);

}  // namespace orvo
