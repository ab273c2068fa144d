#include "values/DecimalDigits.h"
#include "values/NumberVisit.h"
#include "values/VariantConversion.h"

#include <cmath>
#include <compare>
#include <type_traits>
#include <utility>
#include <variant>

namespace orvo {

namespace {

using Number = std::variant<std::int64_t, std::uint64_t, double, DecimalDigits>;

struct ToNumber {
  template <class T>
  Number operator()(const T& value) const {
    if constexpr (std::is_same_v<T, bool>)
      return std::int64_t{value ? -1 : 0};
    else if constexpr (std::is_floating_point_v<T>)
      return double{value};
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
      return std::int64_t{value};
    else if constexpr (std::is_integral_v<T>)
      return std::uint64_t{value};
    else
      return DigitsOf(value);
  }
  Number operator()(const NumberText&) const = delete;  // a text compares as a text
};

Comparison Result(std::partial_ordering order) noexcept {
  if (order == std::partial_ordering::equivalent) return Comparison::Equal;
  if (order == std::partial_ordering::greater) return Comparison::Greater;
  return Comparison::Less;  // kept: NaN is less than everything it is compared with, so that it never is equal
}

template <class T>
DecimalDigits Exactly(const T& number) {
  if constexpr (std::is_same_v<T, DecimalDigits>)
    return number;
  else
    return DigitsOf(number);
}

template <class A, class B>
std::partial_ordering Order(const A& a, const B& b) {
  constexpr bool aIsDouble = std::is_same_v<A, double>;
  constexpr bool bIsDouble = std::is_same_v<B, double>;
  if constexpr (std::is_integral_v<A> && std::is_integral_v<B>) {
    if (std::cmp_less(a, b)) return std::partial_ordering::less;
    return std::cmp_equal(a, b) ? std::partial_ordering::equivalent : std::partial_ordering::greater;
  } else if constexpr (aIsDouble && bIsDouble) {
    return a <=> b;
  } else {
    // No exact number is infinite, so any stands for it against an infinity or NaN.
    if constexpr (aIsDouble) {
      if (!std::isfinite(a)) return a <=> 0.0;
    }
    if constexpr (bIsDouble) {
      if (!std::isfinite(b)) return 0.0 <=> b;
    }
    return CompareDigits(Exactly(a), Exactly(b));
  }
}

// Objects and arrays do not compare; error values compare with each other only.
bool IsComparable(const Variant& value, const Variant& other) noexcept {
  if (value.IsArray() || value.Is(VariantKind::Object)) return false;
  return !value.Is(VariantKind::Error) || other.Is(VariantKind::Error) || other.IsNull();
}

}  // namespace

Comparison Compare(const Variant& a, const Variant& b) {
  if (!IsComparable(a, b) || !IsComparable(b, a)) RaiseRuntimeError(RuntimeError::TypeMismatch);
  if (a.IsNull() || b.IsNull()) return Comparison::Null;
  if (a.Is(VariantKind::Error)) return Result(a.Get<ErrorCode>().code <=> b.Get<ErrorCode>().code);

  const bool aIsText = a.Is(VariantKind::String);
  const bool bIsText = b.Is(VariantKind::String);
  if ((aIsText || a.IsEmpty()) && (bIsText || b.IsEmpty()))
    return Result((aIsText ? a.Text() : "").compare(bIsText ? b.Text() : "") <=> 0);
  if (aIsText || bIsText) return aIsText ? Comparison::Greater : Comparison::Less;

  return Result(std::visit([](const auto& x, const auto& y) { return Order(x, y); }, VisitNumber(a, ToNumber{}),
                           VisitNumber(b, ToNumber{})));
}

}  // namespace orvo
