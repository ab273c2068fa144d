// The items that every benchmark works on: a mix of what plants read, ten kinds in turn.
#pragma once

#include "values/Variant.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvo::bench {

struct ItemKind {
  const char* code;  // of the identifier
  std::int32_t words;
  std::int32_t type;
  bool isSigned;
  bool bcd;
};

inline constexpr std::size_t KindCount = 10;
const ItemKind& KindOfItem(std::size_t index);
// "WO00120": the kind is that of `index`; `number`, below 100,000, tells the items of a kind apart.
std::string Identifier(std::size_t index, std::size_t number);

// The bytes of the items first .. first + count - 1 at one moment, in the order of the items.
struct Image {
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint32_t> offsets;
};
enum class ByteOrder { LeastFirst, MostFirst };
// Two phases differ in every item.
Image MakeImage(std::size_t first, std::size_t count, int phase, ByteOrder order);

}  // namespace orvo::bench
