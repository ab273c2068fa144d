#include "simulation/PlantCell.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <vector>

namespace orvo::testing {

namespace {

constexpr std::int32_t RawStart = 32768;
constexpr std::int32_t RawBlock = 256;

std::string Digits(std::int32_t number, int width) {
  std::string digits = std::to_string(number);
  return std::string(static_cast<std::size_t>(width) - std::min(digits.size(), static_cast<std::size_t>(width)),
                     '0') +
         digits;
}

std::uint32_t BigEnd(std::string_view bytes) {
  std::uint32_t number = 0;
  for (const char byte : bytes)
    number = number << 8U | static_cast<std::uint8_t>(byte);
  return number;
}

std::string BigEndBytes(std::uint32_t number, std::int32_t count) {
  std::string bytes;
  for (std::int32_t k = count - 1; k >= 0; --k)
    bytes += static_cast<char>(static_cast<std::uint8_t>(number >> (8U * static_cast<std::uint32_t>(k))));
  return bytes;
}

// A zero byte is no character of a text, wherever it stands.
std::string WithoutZeros(std::string_view bytes) {
  std::string text(bytes);
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return text;
}

std::string RandomText(Dice& dice, std::int32_t count) {
  std::string text;
  for (std::int32_t k = 0; k < count; ++k)
    text += static_cast<char>('A' + dice.Below(26));
  return text;
}

// Neither zero nor anything that is no number: those compare otherwise than their bytes do.
float RandomSingle(Dice& dice) {
  return static_cast<float>(dice.Between(1, 1'000'000)) / 64.0F;
}

}  // namespace

std::string PlantCell::Identifier() const {
  switch (kind) {
    case CellKind::Bit:
      return "BI" + std::to_string(address) + '.' + std::to_string(detail);
    case CellKind::Byte:
      return "BY" + std::to_string(address);
    case CellKind::Word:
      return "WO" + std::to_string(address);
    case CellKind::DoubleWord:
      return "DW" + std::to_string(address);
    case CellKind::Single:
      return "FL" + std::to_string(address);
    case CellKind::Text:
      return "ST" + Digits(address, 5) + std::to_string(detail);
    default:
      return "RA" + Digits((address - RawStart) / RawBlock, 2) + std::to_string(detail);
  }
}

// address + 2^16 * bit + 2^20 * (kind + 1), as the panel's addresses are packed.
double PlantCell::CompiledAddress() const {
  const std::int32_t bit = kind == CellKind::Bit ? detail : 0;
  return address + 65536.0 * bit + 1048576.0 * (static_cast<std::int32_t>(kind) + 1);
}

std::int32_t PlantCell::Bytes() const noexcept {
  if (kind == CellKind::Text || kind == CellKind::Raw) return detail;
  return kind == CellKind::DoubleWord || kind == CellKind::Single ? 4 : 2;
}

std::string PlantCell::Lying(const PanelMemory& memory) const {
  const auto bytes = memory.Bytes(WordAddress(), Bytes());
  return {bytes.begin(), bytes.end()};
}

std::string PlantCell::Turned(std::string_view bytes) const {
  return IsNumber() ? std::string(bytes.rbegin(), bytes.rend()) : std::string(bytes);
}

Reading PlantCell::Read(std::string_view lying, bool isSigned) const {
  const auto number = [](double value) { return Reading{Reading::Kind::Number, value, {}}; };
  switch (kind) {
    case CellKind::Bit:
      return number(BigEnd(lying) >> static_cast<std::uint32_t>(detail) & 1U);
    case CellKind::Byte:
      return number(static_cast<std::uint8_t>(lying[address % 2 == 0 ? 0 : 1]));
    case CellKind::Word:
      return number(isSigned ? static_cast<double>(static_cast<std::int16_t>(BigEnd(lying))) : BigEnd(lying));
    case CellKind::DoubleWord:
      return number(isSigned ? static_cast<double>(static_cast<std::int32_t>(BigEnd(lying))) : BigEnd(lying));
    case CellKind::Single:
      return number(static_cast<double>(std::bit_cast<float>(BigEnd(lying))));
    case CellKind::Text:
      return {Reading::Kind::Text, 0, WithoutZeros(lying)};
    default:
      return {Reading::Kind::Bytes, 0, std::string(lying)};
  }
}

Variant PlantCell::RandomValue(Dice& dice, bool isSigned) const {
  switch (kind) {
    case CellKind::Bit:
      return static_cast<std::int16_t>(dice.Below(2));
    case CellKind::Byte:
      return static_cast<std::int16_t>(dice.Below(256));
    case CellKind::Word:
      return isSigned ? dice.Between(-32768, 32767) : dice.Below(65536);
    case CellKind::DoubleWord:
      if (isSigned) return static_cast<std::int32_t>(static_cast<std::uint32_t>(dice.Next()));
      return static_cast<double>(static_cast<std::uint32_t>(dice.Next()));
    case CellKind::Single:
      return RandomSingle(dice);
    case CellKind::Text:
      return Variant(RandomText(dice, detail));
    default: {
      std::vector<std::uint8_t> bytes(static_cast<std::size_t>(detail));
      for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(dice.Below(256));
      return Variant::OfBytes(bytes);
    }
  }
}

std::string PlantCell::Image(const Reading& value) const {
  if (!IsNumber()) return value.text;
  if (kind == CellKind::Single)
    return BigEndBytes(std::bit_cast<std::uint32_t>(static_cast<float>(value.number)), 4);
  return BigEndBytes(static_cast<std::uint32_t>(static_cast<std::int64_t>(value.number)), Bytes());
}

void PlantCell::Move(PanelMemory& memory, Dice& dice) const {
  std::string bytes;
  if (kind == CellKind::Single)
    bytes = BigEndBytes(std::bit_cast<std::uint32_t>(RandomSingle(dice)), 4);
  else if (kind == CellKind::Text)
    bytes = RandomText(dice, detail);
  else
    for (std::int32_t k = 0; k < Bytes(); ++k)
      bytes += static_cast<char>(static_cast<std::uint8_t>(dice.Below(256)));
  std::int32_t place = WordAddress();
  for (const char byte : bytes)
    memory.PutByte(place++, static_cast<std::uint8_t>(byte));
}

}  // namespace orvo::testing
