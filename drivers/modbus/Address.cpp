#include "modbus/Address.h"

#include <utility>

namespace orvo::modbus {

namespace {

constexpr std::int32_t BitFactor = 1 << 16;
constexpr std::int32_t AreaFactor = 1 << 20;
constexpr std::int32_t KindFactor = 1 << 22;
constexpr std::int32_t KindCount = 7;
constexpr std::int32_t RegisterBits = 16;
constexpr std::int32_t HighByte = 8;  // its lowest bit

bool HoldsBytes(ItemKind kind) {
  return kind == ItemKind::String || kind == ItemKind::Raw;
}

bool HasBit(ItemKind kind, Area area, std::int32_t bit) {
  if (HoldsBits(area)) return kind == ItemKind::Bit && bit == 0;
  if (kind == ItemKind::Bit) return true;
  if (HoldsBytes(kind)) return bit <= 1;
  return bit == 0 || (kind == ItemKind::Byte && bit == HighByte);
}

bool HasDimension(ItemKind kind, std::int32_t dimension) {
  switch (kind) {
    case ItemKind::DoubleWord:
    case ItemKind::Single:
      return dimension == 2;
    case ItemKind::String:
    case ItemKind::Raw:
      return dimension >= 1 && dimension <= LongestItem;
    default:
      return dimension == 1;
  }
}

}  // namespace

double Address::Encode() const noexcept {
  return address + (odd ? 1 : bit) * BitFactor + static_cast<std::int32_t>(area) * AreaFactor +
         (static_cast<std::int32_t>(kind) + 1) * KindFactor;
}

std::optional<Address> Address::Decode(double compiledAddress) noexcept {
  if (!(compiledAddress >= KindFactor && compiledAddress < (KindCount + 1) * KindFactor)) return std::nullopt;
  const auto number = static_cast<std::int32_t>(compiledAddress);
  if (number != compiledAddress) return std::nullopt;

  Address decoded{static_cast<ItemKind>(number / KindFactor - 1),
                  static_cast<Area>(number / AreaFactor % (KindFactor / AreaFactor)), number % BitFactor,
                  number / BitFactor % RegisterBits, false};
  if (!HasBit(decoded.kind, decoded.area, decoded.bit)) return std::nullopt;
  if (HoldsBytes(decoded.kind)) decoded.odd = std::exchange(decoded.bit, 0) != 0;
  return decoded;
}

std::optional<Span> Address::Place(std::int32_t dimension) const noexcept {
  if (!HasDimension(kind, dimension) || address + dimension > AreaSize) return std::nullopt;
  return Span{area, address, dimension};
}

}  // namespace orvo::modbus
