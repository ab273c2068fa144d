// Rows of conversions and the check that reports each row by itself.
#pragma once

#include "unit/values/RaisedNumber.h"
#include "values/VariantConversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace orvo::conversion {

using Kind = VariantKind;

// The same conversion by the function of the target's own name, where there is one.
inline std::optional<Variant> Direct(const Variant& value, Kind kind) {
  switch (kind) {
    case Kind::I2:
      return ToI2(value);
    case Kind::I4:
      return ToI4(value);
    case Kind::I8:
      return ToI8(value);
    case Kind::R4:
      return ToR4(value);
    case Kind::R8:
      return ToR8(value);
    case Kind::Boolean:
      return ToBoolean(value);
    case Kind::Currency:
      return ToCurrency(value);
    case Kind::Date:
      return ToDate(value);
    case Kind::String:
      return ToText(value);
    default:
      return std::nullopt;
  }
}

inline constexpr std::int64_t LeastI8 = std::numeric_limits<std::int64_t>::min();
inline constexpr std::int64_t MostI8 = std::numeric_limits<std::int64_t>::max();
inline constexpr std::uint64_t MostUI8 = std::numeric_limits<std::uint64_t>::max();
inline constexpr double Infinite = std::numeric_limits<double>::infinity();
inline constexpr Decimal MostDecimal{0, false, 0xFFFFFFFF, MostUI8};

inline std::int16_t I2(int value) {
  return static_cast<std::int16_t>(value);
}
inline std::int32_t I4(int value) {
  return value;
}

struct ValueRow {
  Variant from;
  Kind kind;
  Variant expected;  // an Error value stands for the number that is raised
};

inline constexpr ErrorCode Overflow{6};
inline constexpr ErrorCode Mismatch{13};

inline std::string Shown(const Variant& value) {
  const std::string kind = "kind " + std::to_string(static_cast<int>(value.Kind()));
  std::string text;
  return RaisedNumber([&] { text = ToText(value); }) == 0 ? kind + " '" + text + "'" : kind;
}

// The same content; a NaN, which equals nothing, counts as unchanged when it still is one.
inline bool IsUnchanged(const Variant& value, const Variant& before) {
  return value == before || (value.Kind() == before.Kind() && !(value == value) && !(before == before));
}

// Converts row by row, by ChangeKind and by the function of the kind's own name.
inline void Check(const std::vector<ValueRow>& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const ValueRow& row = rows[i];
    SCOPED_TRACE("row " + std::to_string(i) + ": " + Shown(row.from) + " to " + Shown(row.expected));
    const Variant before = row.from;
    if (row.expected.Is(Kind::Error)) {
      const std::int32_t number = row.expected.Get<ErrorCode>().code;
      EXPECT_EQ(RaisedNumber([&] { ChangeKind(row.from, row.kind); }), number);
      const bool hasDirect = row.kind == Kind::I2 || row.kind == Kind::I4 || row.kind == Kind::I8 ||
                             row.kind == Kind::R4 || row.kind == Kind::R8 || row.kind == Kind::Currency;
      if (hasDirect) {
        EXPECT_EQ(RaisedNumber([&] { Direct(row.from, row.kind); }), number);
      }
    } else {
      Variant result;
      EXPECT_EQ(RaisedNumber([&] { result = ChangeKind(row.from, row.kind); }), 0);
      EXPECT_EQ(result, row.expected) << "got " << Shown(result);
      if (const auto direct = Direct(row.from, row.kind)) {
        EXPECT_EQ(*direct, row.expected);
      }
    }
    EXPECT_TRUE(IsUnchanged(row.from, before)) << "the input has changed";
  }
}

}  // namespace orvo::conversion
