#include "Items.h"

#include <array>
#include <bit>
#include <cstdio>

namespace orvo::bench {

namespace {

constexpr std::int32_t Integer = 0;
constexpr std::int32_t String = 1;
constexpr std::int32_t Float = 2;

constexpr std::array<ItemKind, KindCount> Kinds{{
    {"BI", 1, Integer, false, false},
    {"WO", 1, Integer, true, false},
    {"BY", 1, Integer, false, false},
    {"DW", 2, Integer, false, false},
    {"FL", 2, Float, false, false},
    {"WO", 1, Integer, false, false},
    {"ST", 10, String, false, false},
    {"WO", 1, Integer, false, true},
    {"DW", 2, Integer, true, false},
    {"BI", 1, Integer, false, false},
}};

// The bits of the item's number.
std::uint32_t Number(std::size_t index, int phase) {
  const ItemKind& kind = KindOfItem(index);
  if (kind.code[0] == 'B' && kind.code[1] == 'I')
    return (index / KindCount + static_cast<std::size_t>(phase)) % 2;
  const auto number = static_cast<std::uint32_t>((index + 1009 * static_cast<std::size_t>(phase)) % 9973);
  if (kind.type == Float) return std::bit_cast<std::uint32_t>(static_cast<float>(number) / 8.0F);
  return kind.code[1] == 'Y' ? number % 251 : number;
}

}  // namespace

const ItemKind& KindOfItem(std::size_t index) {
  return Kinds[index % KindCount];
}

std::string Identifier(std::size_t index, std::size_t number) {
  const ItemKind& kind = KindOfItem(index);
  std::array<char, 32> text{};
  const char* const tail = kind.type == String ? "20" : kind.code[1] == 'I' ? ".3" : "";
  std::snprintf(text.data(), text.size(), "%s%05u%s", kind.code, static_cast<unsigned>(number % 100000), tail);
  return text.data();
}

Image MakeImage(std::size_t first, std::size_t count, int phase, ByteOrder order) {
  Image image;
  for (std::size_t index = first; index < first + count; ++index) {
    const ItemKind& kind = KindOfItem(index);
    const auto length = static_cast<std::uint32_t>(2 * kind.words);
    image.offsets.push_back(static_cast<std::uint32_t>(image.bytes.size()));
    if (kind.type == String) {
      std::array<char, 24> text{};
      std::snprintf(text.data(), text.size(), "Recipe %c %-11u", phase == 0 ? 'A' : 'B',
                    static_cast<unsigned>(index % 100000));
      image.bytes.insert(image.bytes.end(), text.begin(), text.begin() + length);
      continue;
    }
    const std::uint32_t number = Number(index, phase);
    for (std::uint32_t k = 0; k < length; ++k)
      image.bytes.push_back(
          static_cast<std::uint8_t>(number >> 8 * (order == ByteOrder::LeastFirst ? k : length - 1 - k)));
  }
  return image;
}

}  // namespace orvo::bench
