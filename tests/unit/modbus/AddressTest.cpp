#include "modbus/Address.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace orvo::modbus {
namespace {

constexpr ItemKind AllKinds[] = {ItemKind::Bit,    ItemKind::Byte,   ItemKind::Word, ItemKind::DoubleWord,
                                 ItemKind::Single, ItemKind::String, ItemKind::Raw};
constexpr Area AllAreas[] = {Area::Coils, Area::DiscreteInputs, Area::InputRegisters, Area::HoldingRegisters};
constexpr std::int32_t EdgeAddresses[] = {0,      1,      0xFF,   0x100,  9998,   9999,
                                          0x7FFF, 0x8000, 0xAAAA, 0xFFFD, 0xFFFE, 0xFFFF};

// By the words of the header, not by the code.
bool MayExist(ItemKind kind, Area area, std::int32_t bit) {
  if (area == Area::Coils || area == Area::DiscreteInputs) return kind == ItemKind::Bit && bit == 0;
  if (kind == ItemKind::Bit) return true;
  if (kind == ItemKind::Byte) return bit == 0 || bit == 8;
  if (kind == ItemKind::String || kind == ItemKind::Raw) return bit == 0 || bit == 1;  // 1: of odd size
  return bit == 0;
}

TEST(ModbusAddress, TheCompiledFormIsAsDocumented) {
  EXPECT_EQ((Address{ItemKind::Bit, Area::Coils, 0, 0}.Encode()), 4194304.0);
  EXPECT_EQ((Address{ItemKind::Bit, Area::HoldingRegisters, 100, 3}.Encode()),
            100 + 3 * 65536 + 3 * 1048576 + 4194304);
  EXPECT_EQ((Address{ItemKind::Byte, Area::InputRegisters, 65535, 8}.Encode()),
            65535 + 8 * 65536 + 2 * 1048576 + 2 * 4194304);
  EXPECT_EQ((Address{ItemKind::Raw, Area::HoldingRegisters, 65535, 0}.Encode()),
            65535 + 3 * 1048576 + 7 * 4194304);
  EXPECT_EQ((Address{ItemKind::String, Area::HoldingRegisters, 9, 0, true}.Encode()),
            9 + 65536 + 3 * 1048576 + 6 * 4194304);
}

TEST(ModbusAddress, EveryAddressThatMayExistComesBackAndNoOtherDoes) {
  int existing = 0;
  for (const ItemKind kind : AllKinds)
    for (const Area area : AllAreas)
      for (std::int32_t bit = 0; bit < 16; ++bit)
        for (const std::int32_t address : EdgeAddresses) {
          const bool odd = bit == 1 && (kind == ItemKind::String || kind == ItemKind::Raw);
          const Address item{kind, area, address, odd ? 0 : bit, odd};
          const auto decoded = Address::Decode(item.Encode());
          ASSERT_LT(item.Encode(), 33554432.0);
          ASSERT_EQ(decoded.has_value(), MayExist(kind, area, bit)) << item.Encode();
          if (!decoded) continue;
          ++existing;
          ASSERT_EQ(*decoded, item) << item.Encode();
        }
  EXPECT_EQ(existing, 12 * (2 + 2 * 16 + 2 * 2 + 2 * 3 + 2 * 2 * 2));
}

TEST(ModbusAddress, FractionsAndExtremesDecodeToNothing) {
  const double word = Address{ItemKind::Word, Area::HoldingRegisters, 100, 0}.Encode();
  ASSERT_TRUE(Address::Decode(word));
  for (const double number :
       {0.0, -0.0, 1.0, 4194303.0, 33554432.0, word + 0.5, std::nextafter(word, 0.0), -word, 1e300, -1e300,
        5e-324, std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        2147483648.0, 4294967296.0 + word})
    EXPECT_FALSE(Address::Decode(number)) << number;
}

TEST(ModbusAddress, WhateverDecodesEncodesToTheSameNumber) {
  std::mt19937_64 random(7);
  int decoded = 0;
  const auto check = [&decoded](double number) {
    const auto address = Address::Decode(number);
    if (!address) return;
    ++decoded;
    ASSERT_EQ(address->Encode(), number);
    for (const std::int32_t dimension :
         {std::numeric_limits<std::int32_t>::min(), -1, 0, 1, 2, 123, 124, 65536})
      if (const auto place = address->Place(dimension)) {
        ASSERT_GE(place->start, 0);
        ASSERT_GE(place->count, 1);
        ASSERT_LE(place->End(), AreaSize);
      }
  };
  for (int k = 0; k < 20000; ++k) {
    const std::uint64_t bits = random();
    double anything = 0;
    std::memcpy(&anything, &bits, sizeof anything);
    check(anything);
    check(static_cast<double>(bits % 40000000));
  }
  EXPECT_GT(decoded, 1000);
}

struct PlaceRow {
  Address item;
  std::int32_t dimension;
  std::int32_t count;  // 0: no place
};

TEST(ModbusAddress, AnItemHasAPlaceForTheLengthsOfItsKindInsideTheArea) {
  constexpr Area holding = Area::HoldingRegisters;
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const std::vector<PlaceRow> rows{
      {{ItemKind::Bit, Area::Coils, 65535, 0}, 1, 1},
      {{ItemKind::Bit, Area::DiscreteInputs, 0, 0}, 1, 1},
      {{ItemKind::Bit, Area::Coils, 0, 0}, 2, 0},
      {{ItemKind::Bit, holding, 65535, 15}, 1, 1},
      {{ItemKind::Bit, holding, 5, 15}, 0, 0},
      {{ItemKind::Byte, holding, 5, 8}, 1, 1},
      {{ItemKind::Byte, holding, 5, 8}, 2, 0},
      {{ItemKind::Word, holding, 65535, 0}, 1, 1},
      {{ItemKind::Word, holding, 5, 0}, 2, 0},
      {{ItemKind::Word, holding, 5, 0}, -1, 0},
      {{ItemKind::DoubleWord, holding, 65534, 0}, 2, 2},
      {{ItemKind::DoubleWord, holding, 65535, 0}, 2, 0},
      {{ItemKind::DoubleWord, holding, 5, 0}, 1, 0},
      {{ItemKind::Single, Area::InputRegisters, 65534, 0}, 2, 2},
      {{ItemKind::Single, Area::InputRegisters, 5, 0}, 3, 0},
      {{ItemKind::String, holding, 5, 0}, 1, 1},
      {{ItemKind::String, holding, 5, 0}, 123, 123},
      {{ItemKind::String, holding, 5, 0}, 124, 0},
      {{ItemKind::String, holding, 5, 0}, 0, 0},
      {{ItemKind::Raw, holding, 65413, 0}, 123, 123},
      {{ItemKind::Raw, holding, 65414, 0}, 123, 0},
      {{ItemKind::Raw, holding, 65414, 0}, most, 0},
  };
  for (const PlaceRow& row : rows) {
    SCOPED_TRACE(std::to_string(row.item.Encode()) + " of " + std::to_string(row.dimension));
    const auto place = row.item.Place(row.dimension);
    ASSERT_EQ(place.has_value(), row.count != 0);
    if (place) {
      EXPECT_EQ(*place, (Span{row.item.area, row.item.address, row.count}));
    }
  }
}

}  // namespace
}  // namespace orvo::modbus
