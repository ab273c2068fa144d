// What an item's check hands on for a client value, computed from the value, the item's type and its size
// alone: what KELDataItem::CheckClientValue is compared with.
#pragma once

#include "model/KELDataItem.h"
#include "values/Variant.h"

#include <cstdint>
#include <string>

namespace orvo::fuzz {

struct ForeseenCheck {
  std::int32_t refusal = 0;  // the number of the error; 0: taken
  Variant value;             // what is handed on when it is taken
};

// For an item of any type; fails as DataSize does. Of a text that is no UTF-8 it takes each byte that belongs
// to no character as one.
ForeseenCheck Foresee(const KELDataItem& item, const Variant& value);

// The single that is nearest, with NaN for every NaN.
bool IsSameSingle(float a, float b);
// The same kind and the same content; singles as above.
bool IsHandedOnAs(const Variant& checked, const Variant& foreseen);

// The beginning of a text, as far as `units` UTF-16 units go; no character is cut in two.
std::string Beginning(const std::string& text, std::int64_t units);

}  // namespace orvo::fuzz
