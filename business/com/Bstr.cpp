#include "com/Bstr.h"

#include <cstdint>
#include <new>

namespace orvo::com {

namespace {

constexpr char32_t Replacement = 0xFFFD;

bool IsHigh(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLow(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf8(std::string& text, char32_t character) {
  const auto add = [&](char32_t byte) { text.push_back(static_cast<char>(static_cast<std::uint8_t>(byte))); };
  if (character < 0x80) {
    add(character);
  } else if (character < 0x800) {
    add(0xC0 | (character >> 6));
    add(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    add(0xE0 | (character >> 12));
    add(0x80 | ((character >> 6) & 0x3F));
    add(0x80 | (character & 0x3F));
  } else {
    add(0xF0 | (character >> 18));
    add(0x80 | ((character >> 12) & 0x3F));
    add(0x80 | ((character >> 6) & 0x3F));
    add(0x80 | (character & 0x3F));
  }
}

// Reads one character from `at` on and moves `at` behind it. Halves of surrogate pairs are let through: that is
// how they came in.
char32_t TakeCharacter(std::string_view text, std::size_t& at) {
  const auto byte = [&](std::size_t offset) -> char32_t {
    return at + offset < text.size() ? static_cast<std::uint8_t>(text[at + offset]) : 0U;
  };
  const auto continues = [&](std::size_t offset) { return (byte(offset) & 0xC0) == 0x80; };
  const char32_t first = byte(0);
  if (first < 0x80) {
    at += 1;
    return first;
  }
  if (first >= 0xC2 && first <= 0xDF && continues(1)) {
    const char32_t character = ((first & 0x1F) << 6) | (byte(1) & 0x3F);
    at += 2;
    return character;
  }
  if ((first & 0xF0) == 0xE0 && continues(1) && continues(2)) {
    const char32_t character = ((first & 0x0F) << 12) | ((byte(1) & 0x3F) << 6) | (byte(2) & 0x3F);
    if (character >= 0x800) {
      at += 3;
      return character;
    }
  }
  if (first >= 0xF0 && first <= 0xF4 && continues(1) && continues(2) && continues(3)) {
    const char32_t character =
        ((first & 0x07) << 18) | ((byte(1) & 0x3F) << 12) | ((byte(2) & 0x3F) << 6) | (byte(3) & 0x3F);
    if (character >= 0x10000 && character <= 0x10FFFF) {
      at += 4;
      return character;
    }
  }
  at += 1;
  return Replacement;
}

}  // namespace

std::string TextOf(std::wstring_view string) {
  std::string text;
  text.reserve(string.size());
  for (std::size_t i = 0; i < string.size(); ++i) {
    char32_t character = static_cast<std::uint16_t>(string[i]);
    if (IsHigh(character) && i + 1 < string.size() && IsLow(static_cast<std::uint16_t>(string[i + 1]))) {
      ++i;
      character = 0x10000 + ((character - 0xD800) << 10) + (static_cast<std::uint16_t>(string[i]) - 0xDC00U);
    }
    AppendUtf8(text, character);
  }
  return text;
}

std::string TextOf(BSTR string) {
  return string == nullptr ? std::string() : TextOf(std::wstring_view(string, SysStringLen(string)));
}

std::wstring WideOf(std::string_view text) {
  std::wstring string;
  string.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const char32_t character = TakeCharacter(text, at);
    if (character < 0x10000) {
      string.push_back(static_cast<wchar_t>(character));
    } else {
      string.push_back(static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10)));
      string.push_back(static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
  }
  return string;
}

BSTR NewBstr(std::string_view text) {
  const std::wstring wide = WideOf(text);
  BSTR string = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (string == nullptr) throw std::bad_alloc();
  return string;
}

}  // namespace orvo::com
