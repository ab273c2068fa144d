// Conversions between kinds and the comparison of variants, by the automation rules and without a locale.
//
// Every function leaves its arguments alone. Errors: 13 (type mismatch) when there is no such conversion or a
// text is no number, 6 (overflow) when the value does not fit, 94 (invalid use of null) for Null. Rules: Empty
// is 0 or ""; true is -1; fractions round to the nearest integer, halves to even; an object or an array
// converts to nothing (13). Texts are read as decimal numbers with optional sign, fraction ("." only) and
// exponent, or "&H"/"&O" integers, outer blanks skipped; "True"/"False" (any case) convert to Boolean only.
// True has all bits set in an unsigned kind too. "&H"/"&O" digits spell the bits of an integer kind ("&HFFFF"
// is -1 as a 16-bit number) and a number of up to 64 bits for the other kinds. An error value converts to
// nothing (13).
#pragma once

#include "values/Variant.h"

#include <cstdint>
#include <string>

namespace orvo {

std::int16_t ToI2(const Variant& value);
std::int32_t ToI4(const Variant& value);
std::int64_t ToI8(const Variant& value);
float ToR4(const Variant& value);  // error 6 beyond the single range
double ToR8(const Variant& value);
bool ToBoolean(const Variant& value);
// Exact, then rounded to four decimals.
Currency ToCurrency(const Variant& value);
// Error 6 outside the years 100..9999. A text is read as a number of days, not as a calendar date.
Date ToDate(const Variant& value);
// Numbers as automation writes them: integers in decimal, doubles with up to 15 and singles with up to 7
// significant digits and no trailing zeros ("0.1", "1E+20", "-3.5"), booleans "True"/"False", currency with up
// to 4 decimals, dates "YYYY-MM-DD hh:mm:ss" (the date alone at midnight, the time alone on day 0), "nan",
// "inf" and "-inf".
std::string ToText(const Variant& value);

// `value` converted to a scalar `kind`; the same kind is returned as it is. Error 13 for the kinds that nothing
// else converts to: Empty, Null, Object, Error, Variant. A double gives a Decimal of its 15, a single of its 7
// leading digits.
Variant ChangeKind(const Variant& value, VariantKind kind);

// What comparing two variants with "=" or "<" in an automation language yields. Null when either is Null.
enum class Comparison { Less, Equal, Greater, Null };

// Empty equals 0 and ""; two texts compare by their characters (code points, exact case); a number and a text
// compare with the number first (a number is less than any text, as two variants compare); booleans are -1 and
// 0; numbers of any kind compare by value, 64-bit integers, currency and decimals exactly. NaN is equal to
// nothing: it gives Less on either side. Two error values compare by their codes. Error 13 for arrays and
// objects (before Null is looked at), and for an error value with anything but Null or another.
Comparison Compare(const Variant& a, const Variant& b);

}  // namespace orvo
